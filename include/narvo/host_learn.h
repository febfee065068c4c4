// SPDX-License-Identifier: MIT
// A recipe from good images alone, and what a recipe finds of planted defects. docs/learn.md and docs/capability.md
// explain both.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "narvo/host_images.h"
#include "narvo/host_inspector.h"
#include "narvo/host_progress.h"
#include "narvo/host_setting.h"

namespace narvo::v1
{

/// An image with a name, by which sentences and problems speak of it.
struct NamedImage
{
    std::string name;   ///< UTF-8
    ImagePixels pixels; ///< 8 to 16 bits, of which the whole range becomes 8-bit grey; read during the call alone
};

/// An image with defects.
struct DefectiveImage
{
    NamedImage image;         ///< as a good one
    bool known = false;       ///< `defects` are all that it has; false: it is not known where they are
    std::vector<Box> defects; ///< around each defect
};

/// One of the good images.
struct LearntImage
{
    std::string name;           ///< as given
    double area = 1.0;          ///< share that shows pattern
    double level = 0.0;         ///< mean grey there
    double contrast = 0.0;      ///< standard deviation of grey there
    double score = 0.0;         ///< highest by limits learnt without it: above 1 it would have had a false defect
    std::size_t falseBlobs = 0; ///< places above 1 by these limits
    int width = 0;              ///< pixels
    int height = 0;             ///< pixels
};

/// A way of inspecting that was tried.
struct LearntWay
{
    std::string description;      ///< a sentence
    double found = -1.0;          ///< share of the planted spots that it found; below 0: not tried
    std::size_t defectsFound = 0; ///< of the known defects
    bool chosen = false;          ///< the recipe takes this way
};

/// What the recipe finds in an image with defects.
struct LearntFinds
{
    std::string name;           ///< as given
    std::size_t blobs = 0;      ///< reported
    bool known = false;         ///< it is known where the defects are; otherwise the rest is 0
    std::size_t defects = 0;    ///< that it has
    std::size_t found = 0;      ///< defects that a reported one touches within 3 pixels
    std::size_t falseBlobs = 0; ///< reported ones that touch none
};

/// Spots of one kind that were planted in good images for a trial, and how many of them the recipe found.
struct LearntSpots
{
    int side = 0;            ///< pixels across
    int contrast = 0;        ///< grey levels, brighter and darker ones together
    std::size_t planted = 0; ///< how many
    std::size_t found = 0;   ///< of these
};

/// What came of learning.
struct LearnReport
{
    std::optional<Recipe> recipe;      ///< always there
    std::vector<std::string> reasons;  ///< sentences: why the recipe is as it is, and what to expect of it
    std::vector<std::string> warnings; ///< sentences: where images disagree, or are too few
    std::vector<LearntImage> images;   ///< in the order of the good images
    std::vector<LearntWay> ways;       ///< one for each that was considered
    std::vector<LearntFinds> finds;    ///< in the order of the images with defects
    std::size_t falseBlobs = 0;        ///< in images whose limits were learnt without them
    double falseBound = 0.0;           ///< false defects an image: upper bound at 95 % confidence from these
    std::vector<LearntSpots> spots;    ///< by side and contrast
};

/// Learns from one good image or more, 1000 at most; six from different times are better than one. Nothing is learnt
/// from images with defects but which way of inspecting finds more. Settings: `false_rate`, false defects an image that
/// the limits aim at, 0.001 .. 10, default 0.1; `threads`, whole, 1 .. 256, default 1, which changes nothing in the
/// result. `mode` is "auto", "texture", "periodic" or "lattice": which ways are considered. All images have one depth.
/// @throws Error when settings or images are not valid, naming the image, or no recipe suits them
NARVOHOST_API LearnReport LearnRecipe(const std::vector<NamedImage>& good, const std::string& mode = "auto",
                                      const Settings& settings = {}, const std::vector<DefectiveImage>& defective = {});

/// The same, telling `progress` of each image that is read, several times each; their number is not known before.
/// @throws Error as the other, Stopped where `progress` asks for it
NARVOHOST_API LearnReport LearnRecipe(const std::vector<NamedImage>& good, const std::string& mode,
                                      const Settings& settings, const std::vector<DefectiveImage>& defective,
                                      const OnProgress& progress);

/// The same of images that were read from files or made of colours: where they have colours, limits are learnt from
/// each, and the recipe inspects each. `name` becomes the recipe's.
/// @throws Error as LearnRecipe, and for images of which some are grey and some have colours
NARVOHOST_API LearnReport LearnFromImages(const std::vector<NamedPicture>& good, const std::string& mode = "auto",
                                          const Settings& settings = {}, const std::string& name = {});

/// The same, telling `progress` as LearnRecipe does. @throws Error as the other, Stopped where `progress` asks for it
NARVOHOST_API LearnReport LearnFromImages(const std::vector<NamedPicture>& good, const std::string& mode,
                                          const Settings& settings, const std::string& name,
                                          const OnProgress& progress);

} // namespace narvo::v1
