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
    CRect box;        ///< pixels; right and bottom exclusive
    double area = 0;  ///< pixels; 0 where it is not known
    std::string kind; ///< UTF-8
    bool operator==(const ListedDefect& other) const = default;
};

/// One image with its defects.
struct DefectList
{
    std::string image; ///< name of its file
    int width = 0;     ///< pixels; 0 where it is not known
    int height = 0;
    std::vector<ListedDefect> defects;
};

/// Highest side of an image, and of a place in it to either side.
constexpr int nListedPixels = 1000000000;
constexpr double dListedArea = 1e18; ///< pixels

/// All kinds, each once, by name.
std::vector<std::string> KindsOf(const std::vector<DefectList>& images);

/// @throws HostError where a list holds what no file of another program can: empty boxes, places and sizes beyond the
/// limits, names that are none, naming it as images[0].defects[2].box
void CheckDefectLists(const std::vector<DefectList>& images);

} // namespace narvo
