// SPDX-License-Identifier: MIT
// Defects of images in the terms that the files of other programs share: a box, an area, a kind.
#pragma once

#include <string>
#include <vector>

#include "narvoassem/platform.h"

namespace narvo
{

struct ListedDefect
{
    CRect box;       ///< pixels; right and bottom exclusive
    double area = 0; ///< pixels
    std::string kind;
    bool operator==(const ListedDefect& other) const = default;
};

/// One image with its defects.
struct DefectList
{
    std::string image; ///< name of its file
    int width = 0;     ///< pixels
    int height = 0;
    std::vector<ListedDefect> defects;
};

/// All kinds, each once, by name.
std::vector<std::string> KindsOf(const std::vector<DefectList>& images);

} // namespace narvo
