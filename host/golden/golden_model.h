// SPDX-License-Identifier: MIT
// The golden model: what a good board looks like, and how far a good one may stray from it pixel by pixel. Made once
// from one or more references, used for many images.
#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "host/golden/registration.h"
#include "host/image/grey_image.h"
#include "host/reference/edge_tolerance.h"

namespace narvo
{

/// What an engineer sets for a golden inspection. Registration's limits hold for further references too.
struct GoldenSettings
{
    RegistrationSettings registration;
    double edgeTolerance = 2.0; ///< pixels by which an edge may lie elsewhere without being a difference; less where
                                ///< the pattern is narrow
    int threshold = 0;          ///< grey levels above what the model lets pass; 0: from the noise of each image
    int minPixels = 5;          ///< smaller blobs are not reported
    int maxBlobs = 20000;
};

constexpr double dEdgeToleranceHigh = 16.0;
constexpr int nGoldenThresholdHigh = 255;
constexpr int nMinPixelsHigh = 1000000;
constexpr int nMaxBlobsHigh = 1000000;
constexpr int nReferenceHigh = 1000;

/// Ranges of all settings. @return what is wrong, each with field, value and range
std::vector<Problem> CheckGoldenSettings(const GoldenSettings& settings);

/// Called before each further reference is registered, with how many are done and how many there are, channels counted
/// one by one. What it throws ends the making of the model.
using OnReference = std::function<void(std::size_t done, std::size_t total)>;

/// Mean and range of the references, in the first one's place.
class GoldenModel
{
public:
    /// Registers the further references to the first, brings them to its light, and takes mean, darkest and brightest
    /// of every pixel; the range of a pixel goes from the darkest to the brightest within the edge tolerance.
    /// @throws HostError when settings or references are not valid, naming the reference
    GoldenModel(const std::vector<GreyImage>& references, const GoldenSettings& settings,
                const OnReference& progress = {});

    int Width() const { return m_mean.Width(); }
    int Height() const { return m_mean.Height(); }
    const GoldenSettings& Settings() const { return m_settings; }
    /// Of every pixel over all references.
    const GreyImage& Mean() const { return m_mean; }
    /// The levels that a good board may show.
    const GreyRange& Range() const { return m_range; }
    /// Grey levels that a good board may differ from the mean, to the side on which it may differ more.
    GreyImage Tolerance() const;
    /// 255 where an edge is so close that what a camera's or a file's processing leaves around edges may show.
    const GreyImage& NearEdge() const { return m_nearEdge; }
    /// How the first reference lies on the second and further ones, one for each of these.
    const std::vector<Registration>& Registrations() const { return m_registrations; }

    /// Models of red, green and blue where all references have them (GreyImage::Channels); empty otherwise.
    const std::vector<GoldenModel>& Channels() const { return m_channels; }

private:
    void AddReferences(const std::vector<GreyImage>& references, const OnReference& progress);
    void Finish(const GreyRange& range);

    GoldenSettings m_settings;
    GreyImage m_mean;
    GreyRange m_range;
    GreyImage m_nearEdge;
    std::vector<Registration> m_registrations;
    std::vector<GoldenModel> m_channels;
};

} // namespace narvo
