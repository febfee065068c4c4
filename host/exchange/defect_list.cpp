// SPDX-License-Identifier: MIT
// The kinds of all defects, and what is wrong with lists of them.
#include "host/exchange/defect_list.h"

#include <set>
#include <utility>

#include "host/file/name_text.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

bool IsPlace(int pixels)
{
    return pixels >= -nListedPixels && pixels <= nListedPixels;
}

void CheckDefect(std::vector<Problem>& found, const std::string& name, const ListedDefect& defect)
{
    const CRect& box = defect.box;
    if (!IsPlace(box.left) || !IsPlace(box.top) || !IsPlace(box.right) || !IsPlace(box.bottom) ||
        box.left >= box.right || box.top >= box.bottom)
        found.push_back({name + ".box",
                         std::to_string(box.left) + ", " + std::to_string(box.top) + ", " + std::to_string(box.right) +
                             ", " + std::to_string(box.bottom),
                         "left below right and top below bottom, each from -" + std::to_string(nListedPixels) + " to " +
                             std::to_string(nListedPixels)});
    if (!(defect.area >= 0.0 && defect.area <= dListedArea))
        found.push_back({name + ".area", FormatNumber(defect.area), "0 to 1e18 pixels"});
    if (!IsUtf8(defect.kind))
        found.push_back({name + ".kind", defect.kind, "UTF-8"});
}

} // namespace

std::vector<std::string> KindsOf(const std::vector<DefectList>& images)
{
    std::set<std::string> kinds;
    for (const DefectList& image : images)
        for (const ListedDefect& defect : image.defects)
            kinds.insert(defect.kind);
    return {kinds.begin(), kinds.end()};
}

void CheckDefectLists(const std::vector<DefectList>& images)
{
    std::vector<Problem> found;
    for (std::size_t i = 0; i < images.size(); ++i)
    {
        const DefectList& image = images[i];
        const std::string name = "images[" + std::to_string(i) + "]";
        if (image.image.empty() || image.image.find('\0') != std::string::npos)
            found.push_back({name + ".image", image.image.empty() ? "empty" : "a text with bytes 0", "a name without"});
        for (const auto& [side, pixels] : {std::pair(".width", image.width), std::pair(".height", image.height)})
            if (pixels < 0 || pixels > nListedPixels)
                found.push_back({name + side, std::to_string(pixels),
                                 "0 to " + std::to_string(nListedPixels) + " pixels; 0 where it is not known"});
        for (std::size_t k = 0; k < image.defects.size(); ++k)
            CheckDefect(found, name + ".defects[" + std::to_string(k) + "]", image.defects[k]);
    }
    ThrowIfAny(std::move(found));
}

} // namespace narvo
