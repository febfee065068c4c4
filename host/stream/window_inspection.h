// SPDX-License-Identifier: MIT
// The engine's call for one window of rows, up to its filtered pairs: blobs are made from the pairs of several windows.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "host/image/grey_image.h"
#include "host/inspect/inspection_plan.h"
#include "host/recipe/checked_recipe.h"
#include "host/stream/chain_seam.h"
#include "host/zones/zone_tables.h"
#include "narvoassem/convparam.h"
#include "narvoassem/defectpair.h"

class CAssemControl;
class CNarvoAssem;

namespace narvo
{

/// Inspects stretches of rows as images of their own.
class WindowInspection
{
public:
    /// `rows` is as large as windows usually are, `mostRows` their largest number of rows.
    /// @throws HostError unless the recipe can inspect images of that size, or without memory for the engine
    WindowInspection(const CheckedRecipe& recipe, const GreyImage& rows, int mostRows);
    ~WindowInspection();
    WindowInspection(const WindowInspection&) = delete;
    WindowInspection& operator=(const WindowInspection&) = delete;

    /// What became of a window.
    struct Outcome
    {
        bool overflowed = false;
        bool shortMemory = false;
    };
    /// Inspects `count` rows that begin at `pixels`. Zone cells lie as in an image of which they are the rows from
    /// `top` on and which begins with row `base` of the stream; a row table begins with the stream. Outside the wanted
    /// columns, pairs may be missing.
    Outcome Inspect(const std::uint8_t* pixels, int count, int top, std::int64_t base, const ColumnRange& wanted);

    /// Bands of columns that the engine inspects by themselves.
    int Bands() const { return m_bands; }
    /// First column of a band.
    int Left(int band) const;
    /// The pairs of the last window, in the engine's order, rows counted from the window's first; valid until the
    /// next.
    std::span<const CDefectPair> Pairs(int band) const;
    /// The parameters without an image, for the making of blobs.
    const CConvParam& Block() const { return m_block; }

private:
    CNarvoAssem& Engine(int band) const;
    /// The part of the region whose inspection gives the same pairs in the wanted columns.
    CRect PartFor(const ColumnRange& wanted) const;

    /// Lays the grid of zone cells over the region.
    void MoveGrid(int top, std::int64_t base);
    /// Lays the row table beside the rows from `row` on.
    void MoveTable(std::int64_t row);

    InspectionPlan m_plan;
    CConvParam m_block;
    std::unique_ptr<CAssemControl> m_pool;
    std::optional<OriginTable> m_grid;
    std::vector<int> m_scanPitches; ///< the part of the row table beside the window; empty where there is none
    int m_bands = 1;
    bool m_split = false;
};

} // namespace narvo
