// SPDX-License-Identifier: MIT
// Where windows start and end, and which of their rows count.
#include "host/stream/strip_stream.h"

#include <algorithm>
#include <limits>
#include <string>

#include "host/problem.h"
#include "host/recipe/recipe_check.h"
#include "host/stream/row_window.h"
#include "host/stream/stream_band.h"
#include "host/stream/window_inspection.h"

namespace narvo
{

namespace
{

constexpr std::int64_t nGridRows = std::int64_t{1} << 22; // then zone cells are counted anew
constexpr std::int64_t nGridAlignment = 1 << 12;
constexpr int repairHops[] = {1, 4}; // rows that a repair looks at first, and then
constexpr std::int64_t nEndless = std::numeric_limits<std::int64_t>::max() / 4;

CheckedRecipe ForWindows(const CheckedRecipe& recipe, int width, const StreamSettings& settings)
{
    ThrowIfAny(CheckStream(recipe, width, settings));
    return recipe->scanPitches.empty() ? recipe : CheckedRecipe(WindowRecipe(recipe, nWindowRowLimit));
}

} // namespace

StripStream::StripStream(const CheckedRecipe& recipe, int width, const StreamSettings& settings, StreamSink& sink)
    : m_recipe(ForWindows(recipe, width, settings)), m_width(width), m_plan(PlanStream(recipe, width, settings)),
      m_sink(sink), m_rows(std::make_unique<RowWindow>(width, m_plan.windowRows)),
      m_inspection(std::make_unique<WindowInspection>(m_recipe, m_rows->Image(),
                                                      std::max(m_plan.windowRows, m_plan.MostInPlace())))
{
    for (int i = 0; i < m_inspection->Bands(); ++i)
        m_bands.push_back(std::make_unique<StreamBand>(m_recipe, settings, m_plan, m_inspection->Block(),
                                                       m_inspection->Left(i), m_sink, m_counts));
}

StripStream::~StripStream() = default;

std::int64_t StripStream::DelayRows() const
{
    return std::int64_t{m_plan.windowRows} + m_bands.front()->LargestBlob();
}

void StripStream::Push(const GreyView& rows)
{
    if (rows.Width() != m_width)
        throw HostError({{"rows", "of " + std::to_string(rows.Width()) + " pixels",
                          "of " + std::to_string(m_width) + " pixels, the width of the stream"}});
    Push(rows.Row(0), rows.Height(), rows.Stride());
}

void StripStream::Push(const std::uint8_t* rows, int count, std::ptrdiff_t stride)
{
    if (m_finished)
        throw HostError({{"rows", "after the end", "none: the stream is finished"}});
    const bool inPlace = m_width % nRowMultiple == 0 && stride == m_width;
    const std::int64_t first = m_counts.rows;
    const std::int64_t end = first + std::max(count, 0);
    // Rows of the next window that lie here: from half a window on they are inspected where they are.
    const auto rowsHere = [&]() -> std::int64_t
    {
        const std::int64_t here = inPlace && m_keep >= first ? end - m_keep : 0;
        return here >= m_plan.LeastInPlace() ? here : 0;
    };
    m_counts.rows = end;
    for (;;)
    {
        if (const std::int64_t here = rowsHere(); here > 0)
        {
            const std::int64_t windows = (here + m_plan.MostInPlace() - 1) / m_plan.MostInPlace();
            const std::int64_t taken = std::max<std::int64_t>(here / windows, m_plan.LeastInPlace());
            InspectWindow({rows + (m_keep - first) * stride, m_keep, m_keep + taken}, false);
            m_rows->Restart(m_keep);
            continue;
        }
        // Where these rows hold more windows, no more are copied than join them to those before.
        const std::int64_t next = m_rows->End();
        if (inPlace && m_keep < first && next == first && end - first >= m_plan.Bridge() + m_plan.LeastInPlace() &&
            next - m_keep + m_plan.Bridge() < m_plan.windowRows)
        {
            m_rows->Append(rows, m_plan.Bridge(), stride);
            InspectWindow(BufferedRows(), false);
            m_rows->Restart(m_keep);
            continue;
        }
        m_rows->Append(rows + (next - first) * stride, static_cast<int>(end - next), stride);
        if (!m_rows->IsFull())
            return;
        InspectWindow(BufferedRows(), false);
        if (rowsHere() > 0)
            m_rows->Restart(m_keep);
        else
            m_rows->DropBefore(m_keep);
    }
}

StripStream::Rows StripStream::BufferedRows() const
{
    return {m_rows->Image().Row(0), m_rows->First(), m_rows->End()};
}

void StripStream::Finish()
{
    if (m_finished)
        return;
    if (m_counts.rows == 0)
        throw HostError({{"rows", "0", "rows before the end of the stream"}});
    if (m_counts.windows == 0)
        ThrowIfAny(CheckRecipeForImage(m_recipe, m_width, static_cast<int>(m_counts.rows)));
    m_finished = true;
    InspectWindow(BufferedRows(), true);
}

/// The columns between which chains are open.
ColumnRange StripStream::OpenColumns() const
{
    ColumnRange columns{m_width, -1};
    for (const auto& band : m_bands)
    {
        const ColumnRange open = band->Seam().OpenColumns();
        columns = {std::min(columns.first, open.first), std::max(columns.last, open.last)};
    }
    return columns;
}

/// Inspects rows from `start` on; those from `end` on are not there.
void StripStream::Run(const Rows& rows, std::int64_t start, std::int64_t end, const ColumnRange& wanted)
{
    const WindowInspection::Outcome outcome =
        m_inspection->Inspect(rows.pixels + (start - rows.first) * RowLengthOf(m_width), static_cast<int>(end - start),
                              static_cast<int>(start - m_base), m_base, wanted);
    m_counts.overflows += outcome.overflowed ? 1 : 0;
    m_counts.shortMemory += outcome.shortMemory ? 1 : 0;
}

/// Inspects from `start` on once more, for chains that the first run did not join. Most end within a few hops, and a
/// run over these is enough. @return chains that this does not join
std::size_t StripStream::RepairFrom(const Rows& rows, std::int64_t start, std::int64_t end)
{
    const auto repair = [&](std::int64_t lastRow, std::int64_t until)
    {
        ++m_counts.repairs;
        Run(rows, start, lastRow, OpenColumns());
        ChainSeam::Repair all;
        for (std::size_t i = 0; i < m_bands.size(); ++i)
        {
            const ChainSeam::Repair one =
                m_bands[i]->Seam().TakeRepair(m_inspection->Pairs(static_cast<int>(i)), start, until);
            all.open += one.open;
            all.goesOn = all.goesOn || one.goesOn;
        }
        return all;
    };
    for (const int hops : repairHops)
    {
        const std::int64_t soon = m_counts.finalRows + std::int64_t{hops} * m_plan.hop;
        if (soon + m_plan.ahead < rows.end)
            if (const ChainSeam::Repair done = repair(soon + m_plan.ahead, soon); !done.goesOn)
                return done.open;
    }
    return repair(rows.end, end).open;
}

void StripStream::InspectWindow(const Rows& rows, bool last)
{
    if (rows.end - m_base > nGridRows)
        m_base = rows.first - rows.first % nGridAlignment;
    // The first window starts at the true start, with its edge band; others start in rows that are settled.
    const std::int64_t begin = m_counts.finalRows;
    const std::int64_t end = last ? nEndless : rows.end - m_plan.ahead;
    const std::int64_t highest = rows.first > 0 ? rows.first + m_plan.above : 0;
    std::int64_t start = std::max(highest, m_plan.AlignUp(std::max<std::int64_t>(begin - m_plan.back, 0)));
    ++m_counts.windows;
    Run(rows, start, rows.end, {0, m_width - 1});
    std::size_t open = 0;
    for (std::size_t i = 0; i < m_bands.size(); ++i)
    {
        m_bands[i]->Seam().Begin(begin);
        open += m_bands[i]->Seam().TakeFirst(m_inspection->Pairs(static_cast<int>(i)), start, end);
    }
    bool repaired = false;
    while (open > 0 && m_plan.RepairStart(start) >= highest)
    {
        start = m_plan.RepairStart(start);
        repaired = true;
        open = RepairFrom(rows, start, end);
    }
    m_counts.openChains += static_cast<std::int64_t>(open);
    const std::int64_t next = last ? nEndless : end;
    for (const auto& band : m_bands)
    {
        band->Seam().TakeRest();
        band->EndWindow(next, repaired || open > 0);
    }
    m_counts.finalRows = last ? m_counts.rows : next;
    if (!last)
        m_keep = std::max(m_keep,
                          m_plan.AlignUp(std::max<std::int64_t>(next - m_plan.back, 0)) - m_plan.spare - m_plan.above);
}

std::vector<std::string> StripStream::Warnings() const
{
    std::vector<std::string> warnings = NotesOf(m_recipe);
    const auto warn = [&](std::int64_t count, const char* what)
    {
        if (count > 0)
            warnings.push_back(std::to_string(count) + what);
    };
    warn(m_counts.cutBlobs, " blobs were perhaps cut: raise largest_blob");
    warn(m_counts.crowded, " times more pairs waited than max_open_pairs: blobs were cut; raise the thresholds");
    warn(m_counts.overflows, " windows had more pairs than the engine takes: some are missing; raise the thresholds");
    warn(m_counts.openChains, " columns have answers at every pitch over more rows than a window keeps: there a "
                              "defect may be reported a pitch away");
    warn(m_counts.shortMemory, " windows were not fully looked at: not enough memory");
    return warnings;
}

} // namespace narvo
