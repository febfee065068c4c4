// SPDX-License-Identifier: MIT
// The horizontal trapezium kernel: rows between two slanted sides, each compared along itself.
#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/source/sum_source.h"
#include "narvoassem/fast/trapezium/trapezium_rule.h"

namespace narvo::engine
{

namespace
{

using CHoriRule = CTrapeziumRule<true>;

class CTrapeziumRows : public CRowWalk, public CSumSource<CHoriRule>
{
public:
    CTrapeziumRows(const CTrapeziumHoriCall& call, const CHoriRule& rule)
        : CRowWalk({0, call.nTop, 0, call.nBottom}, CPitch16(call.nPitch16), 0), CSumSource(rule), m_call(call)
    {
        // Without a table the partner's distance is not rounded by the fraction.
        m_pitch.nHop = m_pitch.nWhole + (call.nPitchRound >= 8 ? 1 : 0);
    }

    /// Advances to the next row that is long enough. The top row is not tested, even where the bottom lies above
    /// it. @return false at the end, and for a row of excessive length
    bool Enter()
    {
        const std::int64_t nHeight = m_call.nBottom - m_call.nTop;
        for (; nHeight != 0 && (m_nRow == m_call.nTop || m_nRow < m_call.nBottom); ++m_nRow)
        {
            if (m_call.pPitchTable != nullptr && (m_nRow - m_call.nTop) % 16 == 0)
                m_pitch = CPitch16(m_call.pPitchTable[std::min(m_nRow >> 4, m_call.nLastEntry)]);
            m_x = SideAt(m_nRow - m_call.nTop, nHeight, m_call.nLeftTop, m_call.nLeftBottom);
            const std::int64_t nRight = SideAt(m_nRow - m_call.nTop, nHeight, m_call.nRightTop, m_call.nRightBottom);
            m_nWidth = RoundDownTo16(nRight - m_x);
            m_nColumns = (m_nWidth - m_pitch.nWhole - 1) & ~std::int64_t{7};
            if (m_nColumns >= ShortestUseful(3 * m_pitch.nWhole))
                return Before() + Behind() <= kColumnLimit;
        }
        return false;
    }

    CScanUnit Unit() const
    {
        CScanUnit unit = CRowWalk::Unit();
        --unit.bands.nLastStart;
        return unit;
    }

    bool BeginTile(std::int64_t nRows)
    {
        BeginRows(nRows);
        const std::int64_t nColumns = Behind();
        return ReserveRow(nColumns / kStripWidth + 1) &&
               m_scratch.lineSums[0].Reserve(static_cast<std::size_t>(Before() + nColumns));
    }

    bool NextRow(CMarkedRow& row)
    {
        if (!StepRow(row.y))
            return false;
        FormSums(row.y);
        SetWeights(m_row, m_pitch);
        m_row.pNear = m_row.pSrc + m_pitch.nWhole;
        m_row.pFar = m_row.pNear + 1;
        return Find(row, 0, m_nColumns / kGroupWidth);
    }

private:
    /// Longest row that is compared; longer ones result only from pitches of excessive size.
    static constexpr std::int64_t kColumnLimit = std::int64_t{1} << 26;

    /// Columns outside the row's width are not summed and count as 0; a negative pitch reaches them on both sides.
    std::int64_t Before() const { return std::max<std::int64_t>(-m_pitch.nWhole, 0) + 1; }
    std::int64_t Behind() const { return std::max(m_nColumns, m_nWidth) + kStripWidth; }

    /// Window sums of the row. The windows at its ends hold only one column.
    void FormSums(std::int64_t y)
    {
        const CSourceRows rows = ReadRows(m_call.image, m_x, y, 2, m_nWidth, m_scratch.rowCopy);
        const auto column = [&](std::int64_t n)
        { return static_cast<std::uint16_t>(rows.pRow[0][n] + rows.pRow[1][n]); };
        std::uint16_t* const pSums = m_scratch.lineSums[0].Data() + Before();
        const std::int64_t nLast = m_nWidth - 1;
        MakeSumRow(rows, 2, 2, nLast, pSums);
        pSums[nLast] = column(nLast);
        std::fill(pSums + m_nWidth, pSums + Behind(), std::uint16_t{0});
        std::fill(pSums - Before(), pSums, std::uint16_t{0});
        pSums[-1] = column(0);
        m_row.pSrc = pSums;
    }

    const CTrapeziumHoriCall& m_call;
    std::int64_t m_nWidth = 0; ///< columns of the current row for which sums are formed
};

} // namespace

int RunTrapeziumHori(const CTrapeziumHoriCall& call)
{
    CHoriRule rule(call);
    CTrapeziumRows rows(call, rule);
    return CScan(rows, rule).Run();
}

} // namespace narvo::engine
