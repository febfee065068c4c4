// SPDX-License-Identifier: MIT
// What was learnt as one HTML page: the recipe's reasons, what to expect of it, and how each image fared.
#pragma once

#include <string>

#include "host/learn/learn.h"

namespace narvo::tools
{

/// The page, which needs no other file. `title` names it.
std::string LearnPage(const LearnResult& result, const std::string& title);

/// "2 of 2 images with defects have blobs.", and of known defects how many are found. Empty without such images.
std::string DescribeFinds(const LearnResult& result);

} // namespace narvo::tools
