// SPDX-License-Identifier: MIT
// The vertical trapezium kernel: blocks of 16 columns between two slanted sides, each compared down its columns, its
// left half first.
#include <algorithm>
#include <cstdint>

#include "narvoassem/fast/source/sum_source.h"
#include "narvoassem/fast/trapezium/trapezium_rule.h"

namespace narvo::engine
{

namespace
{

using CVertRule = CTrapeziumRule<false>;

/// Rows of one block: those of its tighter end.
struct CBlockRows
{
    std::int64_t nTop = 0;    ///< first row compared
    std::int64_t nBottom = 0; ///< last row that sums are formed of
    std::int64_t nEnd = 0;    ///< end of the compared rows

    bool Compares(std::int64_t y) const { return nTop <= y && y < nEnd; }
};

class CTrapeziumStrips : public CSumSource<CVertRule>
{
public:
    static constexpr bool kHorizontal = false;
    static constexpr int kChains = 2;

    CTrapeziumStrips(const CTrapeziumVertCall& call, const CVertRule& rule)
        : CSumSource(rule), m_call(call), m_image(call.image), m_pitch(call.nPitch16),
          m_nShortest(ShortestUseful(2 * (call.nConvPitch16 >> 4) + m_pitch.nWhole)),
          m_nStripEnd(call.nLeft + RoundDownTo16(call.nRight - call.nLeft)), m_x(call.nLeft)
    {
    }

    /// Advances to the next column from which on a block is long enough. @return false if there is none
    bool Enter()
    {
        if (m_x < m_nStripEnd && m_call.pPitchTable != nullptr)
            m_pitch = CPitch16(m_call.pPitchTable[m_x >> 4]);
        while (m_x < m_nStripEnd && !IsLong(RowsAt(m_x)))
        {
            if (m_call.nTopRight - m_call.nTopLeft >= m_call.nBottomRight - m_call.nBottomLeft)
                return false; // narrowing: it stays too short
            ++m_x;
        }
        return m_x < m_nStripEnd;
    }

    /// Blocks that are long enough and compared at one pitch.
    std::int64_t CountUnits(std::int64_t nMost) const
    {
        if (ReachesOutside())
            return 1;
        nMost = std::min({nMost, kTileBlocks, m_scratch.sums.StripsFor(m_pitch.nWhole)});
        std::int64_t nBlocks = 1;
        for (std::int64_t x = m_x + kStripWidth; nBlocks < nMost && x < m_nStripEnd && IsLong(RowsAt(x));
             x += kStripWidth)
            ++nBlocks;
        return nBlocks;
    }

    bool BeginTile(std::int64_t nBlocks)
    {
        m_nBlocks = nBlocks;
        m_rows = RowsAt(m_x);
        for (std::int64_t nBlock = 0; nBlock < nBlocks; ++nBlock)
        {
            const CBlockRows rows = m_blocks[nBlock] = RowsAt(m_x + nBlock * kStripWidth);
            m_rows.nTop = std::min(m_rows.nTop, rows.nTop);
            m_rows.nEnd = std::max(m_rows.nEnd, rows.nEnd);
        }
        if (ReachesOutside())
        {
            m_image.nFilledTop = m_rows.nTop - 1;
            m_image.nFilledBottom = m_rows.nBottom + 1;
        }
        m_nRow = m_rows.nTop;
        return ReserveRow(nBlocks) && m_scratch.chains.Begin(2 * nBlocks, m_rows.nEnd - m_rows.nTop) &&
               m_scratch.sums.Begin(m_pitch.nWhole + 1, nBlocks * kStripWidth);
    }

    CScanUnit Unit() const
    {
        const CBlockRows rows = RowsAt(m_x);
        return {.nPosition = m_x,
                .nFirstLine = m_rows.nTop,
                .bands = {rows.nTop + m_pitch.nWhole, rows.nEnd - m_pitch.nWhole, m_pitch.nHop}};
    }
    std::int64_t EndPosition() const { return m_x; }

    bool NextRow(CMarkedRow& row)
    {
        for (; m_nRow < m_rows.nEnd; ++m_nRow)
        {
            // Between the rows of the source and those of the reference everything is 0.
            if (m_pitch.nWhole < 0 && m_call.nThreshold16 >= 0 && m_nRow > m_rows.nBottom + 1)
                m_nRow = std::max(m_nRow, m_rows.nTop - 3 - m_pitch.nWhole);
            // Both sides are straight, so the blocks that a row crosses are neighbours.
            std::int64_t nFirst = 0;
            std::int64_t nEnd = m_nBlocks;
            while (nFirst < nEnd && !m_blocks[nFirst].Compares(m_nRow))
                ++nFirst;
            while (nFirst < nEnd && !m_blocks[nEnd - 1].Compares(m_nRow))
                --nEnd;
            if (nFirst == nEnd)
                continue;
            m_nFirstBlock = nFirst;
            PlaceRows(row.y = m_nRow++);
            return Find(row, 2 * nFirst, 2 * (nEnd - nFirst));
        }
        return false;
    }
    bool Compare(std::int64_t nColumn, CFoundHit& hit) const
    {
        return m_blocks[m_nFirstBlock + nColumn / kStripWidth].Compares(hit.Line()) &&
               CSumSource::Compare(nColumn, hit);
    }

    /// Where the hit arrays were full, the half that filled them is read again, unless that could not add any.
    bool Leave(const CHitsTaken& taken)
    {
        if (!taken.bFull)
        {
            m_x += kStripWidth;
            return true;
        }
        m_x += taken.bRecorded && taken.nGroup % 2 == 0 ? 0 : kGroupWidth;
        return false;
    }

private:
    static constexpr std::int64_t kTileBlocks = 256;

    CBlockRows RowsAt(std::int64_t x) const
    {
        const std::int64_t nWidth = m_call.nRight - m_call.nLeft;
        const bool bTopFalls = m_call.nTopRight > m_call.nTopLeft;
        const bool bBottomRises = m_call.nBottomRight - m_call.nBottomLeft < 0;
        const std::int64_t nStep = x - m_call.nLeft;
        CBlockRows rows;
        rows.nTop = SideAt(nStep + (bTopFalls ? kStripWidth : 0), nWidth, m_call.nTopLeft, m_call.nTopRight);
        rows.nBottom =
            SideAt(nStep + (bBottomRises ? kStripWidth : 0), nWidth, m_call.nBottomLeft, m_call.nBottomRight);
        rows.nEnd = rows.nBottom - m_pitch.nWhole - 1;
        return rows;
    }

    bool IsLong(const CBlockRows& rows) const { return rows.nEnd - rows.nTop >= m_nShortest; }

    /// Windows of a block may lie outside the rows that it forms sums of, where they find 0. A pitch that is not
    /// negative keeps them inside.
    bool ReachesOutside() const { return m_call.pPitchTable != nullptr || m_pitch.nWhole < 0; }

    void PlaceRows(std::int64_t y)
    {
        const std::int64_t nColumns = m_nBlocks * kStripWidth;
        const auto sums = [&](std::int64_t nRow, int nSpare)
        {
            const auto make = [&](std::int64_t nMade, std::uint16_t* pOut)
            { MakeSumRow(ReadRows(m_image, m_x, nMade, 2, nColumns + 1, m_scratch.rowCopy), 2, 2, nColumns, pOut); };
            return m_scratch.sums.Get(nRow, y, nSpare, make) + m_nFirstBlock * kStripWidth;
        };
        SetWeights(m_row, m_pitch);
        m_row.pSrc = sums(y, 0);
        m_row.pBack = sums(y - 1, 0);
        m_row.pNear = sums(y + m_pitch.nWhole, 0);
        m_row.pFar = sums(y + m_pitch.nWhole + 1, 1);
    }

    const CTrapeziumVertCall& m_call;
    CImageView m_image;
    CPitch16 m_pitch;
    std::int64_t m_nShortest;
    std::int64_t m_nStripEnd;
    std::int64_t m_x;               ///< of the current block
    std::int64_t m_nBlocks = 0;     ///< of the tile in hand
    std::int64_t m_nRow = 0;        ///< next row of the tile
    std::int64_t m_nFirstBlock = 0; ///< of the current row
    CBlockRows m_rows;              ///< of all blocks of the tile
    CBlockRows m_blocks[kTileBlocks];
};

} // namespace

int RunTrapeziumVert(const CTrapeziumVertCall& call)
{
    CVertRule rule(call);
    CTrapeziumStrips strips(call, rule);
    return CScan(strips, rule).Run();
}

} // namespace narvo::engine
