// SPDX-License-Identifier: MIT
// What the ways of learning a recipe have in common.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/inspect/batch.h"
#include "host/learn/learn.h"
#include "host/recipe/recipe.h"

namespace narvo
{

/// A learnt recipe with its grounds.
struct Candidate
{
    Recipe recipe;
    std::string description;
    std::vector<std::string> reasons;
    std::vector<std::string> warnings;
    std::vector<LearnImage> images; ///< by image, learnt without it
    bool crossValidated = true;     ///< false: only by places within one image, or not at all
};

/// Groups of images that are left out together: as many groups as images, but ten at most.
/// The three channels of an image stay together.
/// @return the group of each image
std::vector<std::size_t> LeaveOutGroups(std::size_t images, bool eachChannel);

/// What the images are that a candidate is learnt from, in a sentence.
inline const char* ImageNoun(const LearnSettings& settings)
{
    return settings.eachChannel ? "channel" : "image";
}

/// Texture mode. @throws HostError where an image is too small or shows too little of a pattern
Candidate LearnTexture(const std::vector<BatchImage>& good, const LearnSettings& settings, int threads);

/// A comparison at the pitch. Without one that holds in all images the description is empty, and the reasons say why.
Candidate LearnPeriodic(const std::vector<BatchImage>& good, const LearnSettings& settings, int threads);

/// A comparison with lattice neighbours. Where the images show no common lattice, or none that leaves them empty, the
/// description is empty, and the reasons say why.
Candidate LearnLattice(const std::vector<BatchImage>& good, const LearnSettings& settings, int threads);

/// Number with two decimals at most, for sentences.
std::string Rounded(double value);

} // namespace narvo
