// SPDX-License-Identifier: MIT
// Places are matched one by one; there are few.
#include "tools/cell/cell_repeats.h"

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

#include "host/file/name_text.h"

namespace narvo::tools
{

namespace
{

/// Whether [left, right) and [otherLeft, otherRight) overlap or touch on a circle of `length` places.
bool MeetOnCircle(int left, int right, int otherLeft, int otherRight, int length)
{
    for (const int turn : {-length, 0, length})
        if (left + turn <= otherRight && otherLeft <= right + turn)
            return true;
    return false;
}

bool AreOne(const v1::CellPlace& a, const v1::CellPlace& b, const v1::CellReport& cell)
{
    return (a.difference > 0.0) == (b.difference > 0.0) &&
           MeetOnCircle(a.box.left, a.box.right, b.box.left, b.box.right, cell.width) &&
           MeetOnCircle(a.box.top, a.box.bottom, b.box.top, b.box.bottom, cell.height);
}

} // namespace

void CellRepeats::Add(const std::string& image, const std::vector<v1::CellReport>& reports)
{
    ++m_images;
    bool differs = false;
    for (std::size_t region = 0; region < reports.size(); ++region)
        for (const v1::CellPlace& place : reports[region].places)
        {
            differs = true;
            auto known = std::find_if(m_places.begin(), m_places.end(),
                                      [&](const CellRepeat& one)
                                      { return one.region == region && AreOne(one.most, place, reports[region]); });
            if (known == m_places.end())
            {
                if (m_places.size() == nMostPlaces)
                {
                    ++m_leftOut;
                    continue;
                }
                known = m_places.insert(known, {region, place, 0, image, image});
                m_shown.push_back(0);
            }
            std::size_t& shown = m_shown[static_cast<std::size_t>(known - m_places.begin())];
            if (shown != m_images)
                ++known->images;
            shown = m_images;
            known->last = image;
            if (place.standardErrors > known->most.standardErrors)
                known->most = place;
        }
    if (differs)
        ++m_different;
}

std::vector<CellRepeat> CellRepeats::Places() const
{
    std::vector<CellRepeat> places = m_places;
    std::stable_sort(places.begin(), places.end(),
                     [](const CellRepeat& a, const CellRepeat& b) {
                         return a.images != b.images ? a.images > b.images
                                                     : a.most.standardErrors > b.most.standardErrors;
                     });
    return places;
}

std::string CellPlaceText(const v1::CellPlace& place)
{
    const auto range = [](int from, int to)
    { return std::to_string(from) + (to - from > 1 ? " to " + std::to_string(to - 1) : ""); };
    return "x " + range(place.box.left, place.box.right) + ", y " + range(place.box.top, place.box.bottom);
}

nlohmann::ordered_json CellRepeatToJson(const CellRepeat& repeat, const std::vector<std::string>& regions)
{
    const auto hundredths = [](double value) { return std::round(value * 100.0) / 100.0; };
    return {{"region", repeat.region < regions.size() ? NameToText(regions[repeat.region]) : ""},
            {"where", CellPlaceText(repeat.most)},
            {"difference", hundredths(repeat.most.difference)},
            {"standard_errors", hundredths(repeat.most.standardErrors)},
            {"images", repeat.images},
            {"first", repeat.first},
            {"last", repeat.last}};
}

} // namespace narvo::tools
