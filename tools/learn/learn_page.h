// SPDX-License-Identifier: MIT
// What was learnt as one HTML page: the recipe's reasons, what to expect of it, and how each image fared.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/learn/learn.h"

namespace narvo::tools
{

/// Images with defects, inspected by the learnt recipe.
struct LearnBad
{
    std::vector<std::string> names;
    std::vector<std::size_t> blobs; ///< by image

    std::size_t HitCount() const;
};

/// The page, which needs no other file. `title` names it.
std::string LearnPage(const LearnResult& result, const std::optional<LearnBad>& bad, const std::string& title);

} // namespace narvo::tools
