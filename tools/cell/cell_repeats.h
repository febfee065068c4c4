// SPDX-License-Identifier: MIT
// Where images differ from a golden cell, over many images.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "narvo/host_cell.h"

namespace narvo::tools
{

/// A place at which images differ from the golden cell.
struct CellRepeat
{
    std::size_t region = 0;
    v1::CellPlace most;     ///< in the image that shows it most clearly
    std::size_t images = 0; ///< that show it
    std::string first;      ///< names of images
    std::string last;
};

/// Counts the images that differ at a place. Places of two images are one where they overlap or touch, also across the
/// edge of the cell, and both are brighter or both darker than the golden cell. Of more than nMostPlaces the rest is
/// counted only.
class CellRepeats
{
public:
    static constexpr std::size_t nMostPlaces = 1000;

    /// The next image, one report for each region.
    void Add(const std::string& image, const std::vector<v1::CellReport>& reports);

    std::size_t Images() const { return m_images; }
    std::size_t Different() const { return m_different; } ///< images with a place that differs
    std::size_t LeftOut() const { return m_leftOut; }     ///< places beyond nMostPlaces
    /// Those that most images show first, the more certain of as many.
    std::vector<CellRepeat> Places() const;

private:
    std::vector<CellRepeat> m_places;
    std::vector<std::size_t> m_shown; ///< of each place, the number of the latest image that shows it
    std::size_t m_images = 0;
    std::size_t m_different = 0;
    std::size_t m_leftOut = 0;
};

/// "x 12 to 15, y 3 to 4", pixels from the corner of the cell.
std::string CellPlaceText(const v1::CellPlace& place);

/// A place as the pages take it; `regions` are names.
nlohmann::ordered_json CellRepeatToJson(const CellRepeat& repeat, const std::vector<std::string>& regions);

} // namespace narvo::tools
