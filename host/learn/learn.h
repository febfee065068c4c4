// SPDX-License-Identifier: MIT
// A recipe from good images alone: which way of inspecting suits them, with which settings, and limits that leave them
// empty.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/inspect/batch.h"
#include "host/recipe/recipe.h"
#include "narvoassem/platform.h"

namespace narvo
{

/// Which recipes are considered.
enum LearnMode : int
{
    LearnMode_Auto = 0,     ///< whichever finds more of the defects that are planted for a trial
    LearnMode_Texture = 1,  ///< measures of brightness and contrast, without a period
    LearnMode_Periodic = 2, ///< a comparison at the pattern's pitch
    LearnMode_Lattice = 3   ///< a comparison with the median of several lattice neighbours
};

struct LearnSettings
{
    int mode = LearnMode_Auto;
    double falseRate = 0.1; ///< false blobs an image that the limits aim at
    std::string name;       ///< of the recipe
    /// Images have colours of which each is inspected by itself (GreyImage::Channels): limits are learnt from all
    /// channels, for a third of the rate each. Grey images among them count as three equal channels.
    bool eachChannel = false;
};

constexpr double dFalseRateLow = 0.001;
constexpr double dFalseRateHigh = 10.0;
constexpr std::size_t nLearnImageLimit = 1000;

/// One of the good images.
struct LearnImage
{
    std::string name;
    int width = 0;
    int height = 0;
    double area = 1.0;          ///< share that shows pattern
    double level = 0.0;         ///< mean grey there
    double contrast = 0.0;      ///< standard deviation of grey there
    double highest = 0.0;       ///< highest score by limits learnt without it: above 1 it would have had a false blob
    std::size_t falseBlobs = 0; ///< places above 1 by these limits
};

/// An image with defects. Nothing is learnt from it but which way of inspecting finds more.
struct LearnDefective
{
    BatchImage image;
    std::optional<std::vector<CRect>> defects; ///< right and bottom exclusive; nothing: not known where
};

/// What a recipe finds in such an image.
struct LearnFinds
{
    std::string name;
    std::size_t blobs = 0;
    bool known = false; ///< where the defects are; otherwise the rest is 0
    std::size_t defects = 0;
    std::size_t found = 0;      ///< defects that a blob touches within 3 pixels
    std::size_t falseBlobs = 0; ///< that touch none
};

/// A way of inspecting that was tried.
struct LearnCandidate
{
    std::string description;
    double found = -1.0;          ///< share of the planted spots that it found; below 0: not tried
    std::size_t defectsFound = 0; ///< of the known defects
    bool chosen = false;
};

/// Spots of one kind that were planted in good images, and how many of them the recipe found.
struct LearnSpots
{
    int side = 0;     ///< pixels across
    int contrast = 0; ///< grey levels, brighter and darker ones together
    std::size_t planted = 0;
    std::size_t found = 0;
};

struct LearnResult
{
    Recipe recipe;
    std::vector<std::string> reasons;  ///< sentences, why the recipe is as it is and what to expect
    std::vector<std::string> warnings; ///< sentences
    std::vector<LearnImage> images;
    std::vector<LearnCandidate> candidates;
    std::vector<LearnSpots> spots; ///< found by the recipe, by side and contrast
    std::vector<LearnFinds> finds; ///< of the recipe in the images with defects
    std::size_t defects = 0;       ///< known in these
    std::size_t falseBlobs = 0;    ///< in images whose limits were learnt without them
    double falseBound = 0.0;       ///< false blobs an image, upper bound at 95 % confidence from these
};

/// Called before each image is read, with what is being done and the images that were read before, one call at a time
/// on any thread. What it throws ends the learning and comes out of it.
using OnLearning = std::function<void(const char* step, std::size_t imagesRead)>;

/// Learns from one image or more on `threads` threads, whose number changes nothing in the result. Images are loaded
/// one by one, several times. Of several ways of inspecting the one is taken that finds more of the known defects;
/// where these do not decide, more of planted spots.
/// @throws HostError when settings or images are not valid, naming the image
LearnResult LearnRecipe(const std::vector<BatchImage>& good, const LearnSettings& settings, int threads,
                        const std::vector<LearnDefective>& defective = {}, const OnLearning& progress = {});

} // namespace narvo
