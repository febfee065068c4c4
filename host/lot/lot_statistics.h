// SPDX-License-Identifier: MIT
// All that is computed of a lot, and its text and JSON.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/lot/lot_charts.h"
#include "host/lot/lot_places.h"
#include "host/lot/lot_records.h"

namespace narvo
{

struct LotSettings : LotPlaceSettings
{
    std::size_t baseline =
        0; ///< images from the first on that give the charts' centre and limits; 0: all, or 2 or more
};

struct LotStatistics
{
    LotSettings settings;
    std::size_t images = 0;     ///< of the lot
    std::size_t refused = 0;    ///< of these
    std::size_t comparable = 0; ///< of one size with the same regions: those that places are looked for in
    std::size_t defects = 0;    ///< of all images
    std::vector<LotTest> tests; ///< by their kind
    std::vector<LotChart> charts;

    /// Places, columns, rows, areas and places in the cell together.
    std::size_t Found() const;
    /// Charts with a change of level that chance does not explain at the risk of the settings.
    std::size_t Changes() const;
};

/// @throws HostError with all settings that are outside their range
void CheckLotSettings(const LotSettings& settings);

/// @throws HostError as CheckLotSettings
LotStatistics MakeLotStatistics(const Lot& lot, const LotSettings& settings);

/// Where a find of a kind lies: "x 700 to 703, y 41", with its region where the lot has several. Printable.
std::string LotPlaceText(const Lot& lot, int kind, const LotPlace& place);

/// A figure with three digits.
std::string LotFigure(double value);

/// For a person: some lines for each test and chart. Names are as in the store, and made printable.
std::string LotText(const Lot& lot, const LotStatistics& statistics);

/// Everything, places and points of charts included.
nlohmann::ordered_json LotToJson(const Lot& lot, const LotStatistics& statistics);

} // namespace narvo
