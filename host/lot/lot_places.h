// SPDX-License-Identifier: MIT
// Places that come back beyond chance: in the image, in the pattern's cell, in columns, rows and parts of the image.
//
// The hypothesis of chance: the defects of an image, as many as it has, lie anywhere in their region with equal
// probability and independently of those of other images. It is tested in windows that are laid down before anything is
// counted, two squares of a grid wide and high, one square from the next. What is counted in a window is the images
// that show more there than chance gives to half of them: for small windows, one defect or more. By chance each image
// does so with a probability of its own, and the sum's tail is not above that of the binomial distribution with their
// mean (W. Hoeffding, On the distribution of the number of successes in independent trials, Annals of Mathematical
// Statistics 27, 1956, p. 713), from one above the mean on. This tail times the number of windows is the probability
// that chance shows the like anywhere (Bonferroni); a window is reported where that is not above the risk.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/lot/lot_records.h"
#include "host/problem.h"

namespace narvo
{

/// What windows a test looks into.
enum LotTestKind : int
{
    LotTest_Place = 0, ///< small squares of the image
    LotTest_Column,    ///< strips along y: streaks along a web that runs that way
    LotTest_Row,       ///< strips along x
    LotTest_Area,      ///< squares of a sixteenth of the region's longer side
    LotTest_Cell,      ///< small parts of the pattern's cell
    nLotTests
};

/// "place", "column", ...
const std::string& LotTestName(int kind);

/// Something that chance does not explain.
struct LotPlace
{
    int region = 0;
    CRect box;               ///< of the defects' centres, right and bottom exclusive; of a cell, pixels from its corner
    std::size_t images = 0;  ///< that show it
    std::size_t defects = 0; ///< in them
    std::size_t cells = 0;   ///< of a place in the cell: how many different cells of the pattern show it
    double expected = 0.0;   ///< images, or cells, that chance explains
    double chance = 0.0;     ///< probability that chance alone shows the like anywhere in the lot
    std::size_t first = 0;   ///< image that shows it first, place in Lot::images
    std::size_t last = 0;
};

constexpr std::size_t nLotPlacesListed = 1000;
constexpr int nLotDistanceHigh = 64;
constexpr double dLotRiskLow = 1e-9;
constexpr double dLotRiskHigh = 0.1;

struct LotTest
{
    int kind = LotTest_Place;
    std::size_t windows = 0; ///< tried, of all regions
    std::size_t found = 0;
    std::vector<LotPlace> places;   ///< the least probable first, at most nLotPlacesListed
    std::vector<std::string> notes; ///< what was not tested, and why
};

struct LotPlaceSettings
{
    int distance =
        4; ///< pixels within which defects are at the same place, 1 to nLotDistanceHigh: side of a square of the grid
    double risk = 0.01; ///< of each test, that chance alone makes it report something; dLotRiskLow to dLotRiskHigh
};

/// All settings that are outside their range.
std::vector<Problem> CheckPlaceSettings(const LotPlaceSettings& settings);

/// All tests, by their kind. What places, columns and rows have found is left out of those behind them. @throws
/// HostError for settings outside their range
std::vector<LotTest> TestLotPlaces(const Lot& lot, const LotPlaceSettings& settings);

} // namespace narvo
