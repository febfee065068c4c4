// SPDX-License-Identifier: MIT
// Calls of an engine that has no room for blobs, so that it stops behind the pair filters.
#include "host/stream/window_inspection.h"

#include <algorithm>

#include "host/problem.h"
#include "host/recipe/recipe_check.h"
#include "narvoassem/narvoassem.h"

namespace narvo
{

namespace
{

constexpr int nColumnsPerBand = 2000; // at least, in a band of the engine
constexpr int nBandAlignment = 64;
constexpr int nColumnBlock = 64; // kernels take columns in steps of which it is a multiple
constexpr int nTableSpare = 2;   // entries: of a last part of 16 rows, and one that kernels fetch ahead

void LeaveOutBlobs(CNarvoAssem& engine)
{
    if (engine.pPixelX == nullptr || engine.pPair == nullptr || engine.pBlob == nullptr)
        throw HostError({{"memory", "not enough for an engine", "more memory"}});
    engine.InitBlobStorage(0);
}

} // namespace

WindowInspection::WindowInspection(const CheckedRecipe& recipe, const GreyImage& rows, int mostRows)
    : m_plan(recipe, rows.Width(), rows.Height()), m_block(m_plan.BlockFor(rows)),
      m_pool(std::make_unique<CAssemControl>())
{
    if (recipe->GetKind() == Kind_Zone)
    {
        // One cell more than the most rows touch, so that moving the grid takes no memory.
        const CellGeometry cell = CellOf(recipe);
        const int rowsWithSpare = mostRows + static_cast<int>(2.0 * cell.height) + 2;
        m_grid.emplace(cell, CRect(0, 0, rows.Width(), rowsWithSpare), recipe->skippedCells);
    }
    if (!recipe->scanPitches.empty())
        m_scanPitches.resize(static_cast<std::size_t>(mostRows / nTableGroup + nTableSpare));
    m_block.nMaxReinspect = 0; // pairs of earlier passes would be lost
    if (m_pool->InitAssemControl(1, 1) != 1)
        throw HostError({{"memory", "not enough for an engine", "more memory"}});
    CNarvoAssem& lane = *m_pool->GetNarvoAssem(0);
    LeaveOutBlobs(lane);
    const int engines = lane.pThreadControl == nullptr ? 0 : lane.pThreadControl->GetCount();
    for (int i = 0; i < engines; ++i)
        LeaveOutBlobs(*lane.pThreadControl->GetAssem(i));
    const int bands = std::min(m_block.rtInspect.Width() / nColumnsPerBand, engines);
    m_split = m_block.bBandThread != 0 && m_plan.GetDirection() == Direction_Vertical && bands > 0;
    m_bands = m_split ? bands : 1;
}

WindowInspection::~WindowInspection() = default;

CNarvoAssem& WindowInspection::Engine(int band) const
{
    CNarvoAssem& lane = *m_pool->GetNarvoAssem(0);
    return m_split ? *lane.pThreadControl->GetAssem(band) : lane;
}

void WindowInspection::MoveGrid(int top, std::int64_t base)
{
    if (!m_grid)
        return;
    CellGeometry cell = CellOf(m_plan.GetRecipe());
    cell.originY -= static_cast<double>(base);
    CRect region = m_block.rtInspect;
    region.OffsetRect(0, top);
    m_grid->Move(cell, region, top);
    m_block.pZoneOriginTable = m_grid->Entry(m_plan.GetDirection() == Direction_Vertical);
    m_block.nZoneColumns = m_grid->Columns();
}

void WindowInspection::MoveTable(std::int64_t row)
{
    if (m_scanPitches.empty())
        return;
    for (std::size_t i = 0; i < m_scanPitches.size(); ++i)
        m_scanPitches[i] =
            TableEntry(m_plan.GetRecipe()->scanPitches, row / nTableGroup + static_cast<std::int64_t>(i));
    m_block.pScanPitchTable = m_scanPitches.data();
}

/// Bands and zone cells go by the whole region. Otherwise columns are compared by themselves: kernels step from the
/// left on, and cut their last step at the right end, which a block to spare keeps away from the wanted ones.
CRect WindowInspection::PartFor(const ColumnRange& wanted) const
{
    CRect part = m_block.rtInspect;
    if (m_split || m_grid || m_plan.GetDirection() != Direction_Vertical)
        return part;
    const int first = std::max((wanted.first - part.left) / nColumnBlock - 1, 0);
    const int end = (wanted.last - part.left) / nColumnBlock + 2;
    part.right = std::min(part.right, part.left + end * nColumnBlock);
    part.left += first * nColumnBlock;
    return part;
}

WindowInspection::Outcome WindowInspection::Inspect(const std::uint8_t* pixels, int count, int top, std::int64_t base,
                                                    const ColumnRange& wanted)
{
    m_block.pImage = const_cast<unsigned char*>(pixels);
    m_block.nImageHeight = count;
    m_block.rtInspect.bottom = count;
    MoveGrid(top, base);
    MoveTable(base + top);
    CConvParam block = m_block;
    block.rtInspect = PartFor(wanted);
    const int code = m_pool->Inspect_Rect(0, &block, 0);
    if (code != InspectCode_Done && code != InspectCode_Partial)
        throw HostError({{"inspection", "refused by the engine with code " + std::to_string(code),
                          "a recipe that passes the engine's checks"}});
    Outcome outcome;
    for (int i = 0; i < m_bands; ++i)
    {
        const CNarvoAssem& engine = Engine(i);
        const int limit = m_plan.GetDirection() == Direction_Vertical
                              ? std::min(engine.nPairSize - 1, CNarvoAssem::nVerticalPairLimit)
                              : engine.nPairSize - 1;
        outcome.overflowed = outcome.overflowed || engine.nPairCount > limit;
    }
    outcome.shortMemory = code == InspectCode_Partial && !outcome.overflowed;
    return outcome;
}

int WindowInspection::Left(int band) const
{
    // As the engine divides the width, in single precision.
    const auto columns = static_cast<int>(static_cast<float>(m_block.rtInspect.Width()) / static_cast<float>(m_bands));
    return band * (columns / nBandAlignment * nBandAlignment);
}

std::span<const CDefectPair> WindowInspection::Pairs(int band) const
{
    const CNarvoAssem& engine = Engine(band);
    return {engine.pPair, static_cast<std::size_t>(std::clamp(engine.nPairCount, 0, engine.nPairSize))};
}

} // namespace narvo
