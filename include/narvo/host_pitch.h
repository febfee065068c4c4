// SPDX-License-Identifier: MIT
// The period of a pattern, found in an image with no starting value, and a first recipe that follows from it.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "narvo/host_inspector.h"

namespace narvo::v1
{

/// What was found along one axis.
struct PitchAxis
{
    bool found = false;         ///< a period was found; otherwise the rest is 0
    double pitch = 0.0;         ///< to the nearest 1/16 pixel, which recipes take; pixels
    double measured = 0.0;      ///< as measured, pixels
    int periods = 0;            ///< periods that the measured length spans
    double confidence = 0.0;    ///< least correlation of the image with itself at one, two and three pitches, 0 .. 1
    double otherPitch = 0.0;    ///< strongest other period that is no multiple, pixels; 0: there is none
    double otherStrength = 0.0; ///< correlation of the image with itself there, up to 1
};

/// What a search proposes.
struct PitchProposal
{
    PitchAxis x; ///< along x
    PitchAxis y; ///< along y
    /// None where the region shows no pattern that repeats: zone mode with zones and thresholds from the
    /// image where an axis has a period; lattice mode where the pattern is turned, or too large for three periods.
    std::optional<Recipe> recipe;
    std::vector<std::string> notes; ///< sentences: what to know before relying on it; none where all is well
};

/// Searches the whole image, whose sides are 64 pixels or more; periods from 3 pixels to a third of a side. Of images
/// of more than 8 bits, the whole range that `bits` says becomes 8-bit grey, as the proposed recipe does it.
/// @throws Error when the image is not valid or too small
NARVOHOST_API PitchProposal ProposeRecipe(const ImagePixels& image);
/// The same in a part of the image, whose sides are 64 pixels or more. The recipe inspects whole images.
/// @throws Error also when the region is not inside the image
NARVOHOST_API PitchProposal ProposeRecipe(const ImagePixels& image, const Box& region);

/// What a search finds along one axis, in full.
struct AxisSearch
{
    bool found = false;         ///< a period was found; otherwise what follows is the best there was
    double measured = 0.0;      ///< pixels
    int sixteenths = 0;         ///< to the nearest 1/16 pixel, in these
    int periods = 0;            ///< periods that the measured length spans
    double confidence = 0.0;    ///< least correlation of the image with itself at one, two and three pitches, 0 .. 1
    double otherPitch = 0.0;    ///< strongest other period that is no multiple, pixels
    double otherStrength = 0.0; ///< correlation of the image with itself there, up to 1; 0: there is none
    /// Of displacements in steps of 1/16 pixel from 0 on: 0 the same, 1 unrelated, 2 the opposite.
    std::vector<float> cost;
};

/// Periods that a search found. Nothing changes it: copies share it, and any number of threads may use it. One that was
/// moved from refuses every call with Error.
class NARVOHOST_API FoundPitch
{
public:
    /// Searches a part of the image, as ProposeRecipe does. @throws Error as ProposeRecipe
    static FoundPitch Search(const ImagePixels& image, const Box& region);
    /// Along x; valid as long as an object that shares it exists.
    const AxisSearch& X() const;
    /// Along y; the same.
    const AxisSearch& Y() const;
    /// A recipe in zone mode for a region, with zones and thresholds from what good places leave as differences there.
    /// The image may be another one. @throws Error without a period along either axis, or as Search
    Recipe MakeRecipe(const ImagePixels& image, const Box& region) const;

    struct Content; ///< of the library

private:
    const Content& Own() const;
    std::shared_ptr<const Content> m_content;
};

/// A displacement at which a pattern repeats.
struct LatticeOffset
{
    double x = 0.0; ///< pixels
    double y = 0.0; ///< pixels
};

/// The lattice of a pattern that is turned, oblique, or too large for three periods. As FoundPitch.
class NARVOHOST_API FoundLattice
{
public:
    /// Searches a part of the image, whose sides are 64 pixels or more. A vector must fit once and most of a second
    /// time. @throws Error when the image is not valid or the region not inside it
    static FoundLattice Search(const ImagePixels& image, const Box& region);
    /// One or two; empty: none was found.
    const std::vector<LatticeOffset>& Vectors() const;
    /// Correlation of the image with itself one vector on, the lower of two.
    double Strength() const;
    /// The vectors in words.
    const std::string& Text() const;
    /// A recipe in lattice mode for a region, with a threshold from each image's noise.
    /// @throws Error where no lattice was found, or as Search
    Recipe MakeRecipe(const ImagePixels& image, const Box& region) const;

    struct Content; ///< of the library

private:
    const Content& Own() const;
    std::shared_ptr<const Content> m_content;
};

} // namespace narvo::v1
