// The golden model: what a good board looks like, and how far a good one may stray from it pixel by pixel. Made once
// from one or more references, used for many images.
#pragma once

#include <vector>

#include "host/golden/registration.h"
#include "host/image/grey_image.h"

namespace narvo
{

/// What an engineer sets for a golden inspection. Registration's limits hold for further references too.
struct GoldenSettings
{
    RegistrationSettings registration;
    double edgeTolerance = 2.0; ///< pixels by which an edge may lie elsewhere without being a difference
    int threshold = 40;         ///< grey levels above what the model lets pass
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

/// Mean and tolerance of the references, in the first one's place.
class GoldenModel
{
public:
    /// Registers the further references to the first and takes mean, darkest and brightest of every pixel; the
    /// tolerance of a pixel is how far the mean there is from the darkest and the brightest within the edge tolerance.
    /// @throws HostError when settings or references are not valid, naming the reference
    GoldenModel(const std::vector<GreyImage>& references, const GoldenSettings& settings);

    int Width() const { return m_mean.Width(); }
    int Height() const { return m_mean.Height(); }
    const GoldenSettings& Settings() const { return m_settings; }
    /// Of every pixel over all references.
    const GreyImage& Mean() const { return m_mean; }
    /// Grey levels that a good board may differ from the mean.
    const GreyImage& Tolerance() const { return m_tolerance; }
    /// How the first reference lies on the second and further ones, one for each of these.
    const std::vector<Registration>& Registrations() const { return m_registrations; }

private:
    GoldenSettings m_settings;
    GreyImage m_mean;
    GreyImage m_tolerance;
    std::vector<Registration> m_registrations;
};

} // namespace narvo
