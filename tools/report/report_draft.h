// SPDX-License-Identifier: MIT
// A report in the making: the page, and where each of its images came from.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/report/report_page.h"

namespace narvo::tools
{

/// Where an image of the page came from.
struct ReportSource
{
    std::string imageFile;                 ///< empty: not known
    int recipe = -1;                       ///< index into the page's recipes; -1: not known
    std::string region{};                  ///< its name, where the image has several
    std::vector<std::string> references{}; ///< files, of a golden inspection; empty: none or not there
};

struct ReportDraft
{
    ReportPage page;
    std::vector<ReportSource> sources; ///< for each image of the page

    /// What an image was inspected by; null where that is not known.
    const Recipe* RecipeOf(std::size_t image) const
    {
        const int index = sources[image].recipe;
        return index >= 0 ? &*page.recipes[static_cast<std::size_t>(index)].recipe : nullptr;
    }
};

/// "1 image", "2 images".
inline std::string CountText(std::size_t count, const char* one, const char* many)
{
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

} // namespace narvo::tools
