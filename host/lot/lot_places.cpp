// SPDX-License-Identifier: MIT
// The tests one behind the other, region by region, and what they found as places of the lot.
#include "host/lot/lot_places.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <tuple>
#include <unordered_set>
#include <utility>

#include "host/lot/cell_places.h"
#include "host/lot/lot_marks.h"
#include "host/lot/lot_windows.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

/// Marks of a region that are not explained yet.
struct OpenMarks
{
    std::vector<LotMark> marks;

    /// Takes away those of finds.
    template <typename Finds>
    void Remove(const Finds& finds)
    {
        std::vector<bool> gone(marks.size(), false);
        for (const auto& find : finds)
            for (const std::size_t mark : find.marks)
                gone[mark] = true;
        std::size_t kept = 0;
        for (std::size_t i = 0; i < marks.size(); ++i)
            if (!gone[i])
                marks[kept++] = marks[i];
        marks.resize(kept);
    }
};

class PlaceTester
{
public:
    PlaceTester(const Lot& lot, const LotPlaceSettings& settings) : m_lot(lot), m_settings(settings)
    {
        for (const LotImage& image : lot.images)
            m_images += image.comparable ? 1U : 0U;
        for (std::size_t i = 0; i < lot.regions.size(); ++i)
            m_open.push_back({MarksOf(lot, i, settings.distance)});
    }

    std::vector<LotTest> Run()
    {
        // The cell first: what comes back in each cell is no place, but its marks stay, since a place may well be one
        // where all cells show something now and then.
        std::vector<LotTest> tests(nLotTests);
        for (int kind = 0; kind < nLotTests; ++kind)
            tests[static_cast<std::size_t>(kind)].kind = kind;
        RunCell(tests[LotTest_Cell]);
        for (const int kind : {LotTest_Place, LotTest_Column, LotTest_Row, LotTest_Area})
            RunWindows(kind, tests[static_cast<std::size_t>(kind)]);
        for (LotTest& test : tests)
            Finish(test);
        return tests;
    }

private:
    WindowGrid GridOf(int kind, const LotRegion& region) const
    {
        const int side = m_settings.distance;
        const int width = std::max(1, region.box.right - region.box.left);
        const int height = std::max(1, region.box.bottom - region.box.top);
        switch (kind)
        {
        case LotTest_Place:
            return {side, side, true};
        case LotTest_Column:
            return {side, height, true};
        case LotTest_Row:
            return {width, side, true};
        default:
        {
            constexpr int nParts = 16;
            const int part = std::max(side, (std::max(width, height) + nParts - 1) / nParts);
            return {part, part, false};
        }
        }
    }

    void RunWindows(int kind, LotTest& test)
    {
        for (const LotRegion& region : m_lot.regions)
            test.windows += CountWindows(region, GridOf(kind, region));
        if (m_images < 2)
        {
            test.notes.emplace_back("not tested: the lot has fewer than two images that can be compared");
            return;
        }
        for (std::size_t i = 0; i < m_lot.regions.size(); ++i)
        {
            const LotRegion& region = m_lot.regions[i];
            std::vector<LotMark>& marks = m_open[i].marks;
            const WindowTest one = TestWindows(region, marks, m_images, GridOf(kind, region),
                                               m_settings.risk / static_cast<double>(test.windows));
            for (const WindowFind& find : one.found)
            {
                LotPlace place = PlaceOf(i, marks, find.marks);
                place.box = find.box;
                place.box.left += region.box.left;
                place.box.right += region.box.left;
                place.box.top += region.box.top;
                place.box.bottom += region.box.top;
                place.images = find.images;
                place.expected = find.expected;
                place.chance = std::min(1.0, find.tail * static_cast<double>(test.windows));
                test.places.push_back(place);
            }
            m_open[i].Remove(one.found);
        }
    }

    void RunCell(LotTest& test)
    {
        for (const LotRegion& region : m_lot.regions)
            test.windows += CountCellWindows(region, m_settings.distance);
        for (std::size_t i = 0; i < m_lot.regions.size(); ++i)
        {
            const LotRegion& region = m_lot.regions[i];
            const std::string where = m_lot.regions.size() > 1 ? "region " + region.name + ": " : std::string();
            if (!region.cell)
            {
                test.notes.push_back(where + "not tested: " + region.noCell);
                continue;
            }
            if (CountCellWindows(region, m_settings.distance) == 0)
            {
                test.notes.push_back(where + "not tested: the distance is not below half of the cell");
                continue;
            }
            const std::vector<LotMark>& marks = m_open[i].marks;
            const CellTest one =
                TestCell(region, marks, m_settings.distance, m_settings.risk / static_cast<double>(test.windows));
            for (const CellFind& find : one.found)
            {
                LotPlace place = PlaceOf(i, marks, find.marks);
                place.box = find.box;
                place.cells = find.cells;
                place.expected = find.expected;
                place.chance = std::min(1.0, find.tail * static_cast<double>(test.windows));
                test.places.push_back(place);
            }
        }
    }

    static LotPlace PlaceOf(std::size_t region, const std::vector<LotMark>& marks,
                            const std::vector<std::size_t>& members)
    {
        LotPlace place;
        place.region = static_cast<int>(region);
        place.defects = members.size();
        std::unordered_set<std::uint32_t> images;
        for (const std::size_t member : members)
            images.insert(marks[member].image);
        place.images = images.size();
        const auto [first, last] = std::minmax_element(images.begin(), images.end());
        place.first = *first;
        place.last = *last;
        return place;
    }

    static void Finish(LotTest& test)
    {
        std::stable_sort(test.places.begin(), test.places.end(),
                         [](const LotPlace& one, const LotPlace& other) { return one.chance < other.chance; });
        test.found = test.places.size();
        if (test.found <= nLotPlacesListed)
            return;
        test.places.resize(nLotPlacesListed);
        test.notes.push_back("the " + std::to_string(nLotPlacesListed) + " least probable of " +
                             std::to_string(test.found) + " are listed");
    }

    const Lot& m_lot;
    const LotPlaceSettings& m_settings;
    std::size_t m_images = 0; ///< that can be compared
    std::vector<OpenMarks> m_open;
};

} // namespace

const std::string& LotTestName(int kind)
{
    static const std::array<std::string, nLotTests> names = {"place", "column", "row", "area", "cell"};
    return names.at(static_cast<std::size_t>(kind));
}

std::vector<Problem> CheckPlaceSettings(const LotPlaceSettings& settings)
{
    std::vector<Problem> found;
    if (settings.distance < 1 || settings.distance > nLotDistanceHigh)
        found.push_back({"distance", std::to_string(settings.distance), "1 to " + std::to_string(nLotDistanceHigh)});
    if (!(settings.risk >= dLotRiskLow && settings.risk <= dLotRiskHigh))
        found.push_back(
            {"risk", FormatNumber(settings.risk), FormatNumber(dLotRiskLow) + " to " + FormatNumber(dLotRiskHigh)});
    return found;
}

std::vector<LotTest> TestLotPlaces(const Lot& lot, const LotPlaceSettings& settings)
{
    ThrowIfAny(CheckPlaceSettings(settings));
    return PlaceTester(lot, settings).Run();
}

} // namespace narvo
