// The vertical trapezium kernel: blocks of 16 columns between two slanted sides, each compared down its columns, its
// left half first.
#include <algorithm>
#include <bit>
#include <cstdint>

#include "narvoassem/fast/derive_rows.h"
#include "narvoassem/fast/image_rows.h"
#include "narvoassem/fast/row_cache.h"
#include "narvoassem/fast/trapezium_scan.h"
#include "narvoassem/memory_shortage.h"

namespace narvo
{

namespace
{

/// Rows of one block: those of its tighter end.
struct CBlockRows
{
    std::int64_t nTop = 0;    ///< first row compared
    std::int64_t nBottom = 0; ///< last row that sums are formed of
    std::int64_t nEnd = 0;    ///< end of the compared rows

    bool Compares(std::int64_t y) const { return nTop <= y && y < nEnd; }
};

class CVertScan : CTrapeziumScan
{
    using CSumCache = CRowCache<std::uint16_t>;

public:
    explicit CVertScan(const CTrapeziumVertCall& call) : CTrapeziumScan(call, 0), m_call(call), m_image(call.image)
    {
        SetPitch(call.nPitch16);
        m_nShortest = ShortestUseful(2 * (call.nConvPitch16 >> 4) + m_pitch.nWhole);
        m_nEnd = call.nLeft + RoundDownTo16(call.nRight - call.nLeft);
    }

    /// @return the new pair count
    int Run()
    {
        std::int64_t nTileBlocks = kTileBlocks;
        std::int64_t x = m_call.nLeft;
        while (x < m_nEnd)
        {
            if (m_call.pPitchTable != nullptr)
                SetPitch(m_call.pPitchTable[x >> 4]);
            if (!FindLongBlock(x))
                break;
            const std::int64_t nBlocks = CountBlocks(x, nTileBlocks);
            if (!FindTile(x, nBlocks))
            {
                // Too many hits to hold, or no memory: look at fewer blocks at once.
                if (nBlocks == 1)
                {
                    NoteMemoryShortage();
                    break;
                }
                nTileBlocks = nBlocks / 2;
                continue;
            }
            for (std::int64_t nBlock = 0; nBlock < nBlocks; ++nBlock)
            {
                const std::int64_t nBefore = m_records.Count();
                const CBlockRows rows = RowsAt(x);
                const std::int64_t nFinished = AppendBlock(x, nBlock);
                const CBands bands = {.nFirstEnd = rows.nTop + m_pitch.nWhole,
                                      .nLastStart = rows.nEnd - m_pitch.nWhole,
                                      .nHop = m_pitch.nHop};
                if (Pair<kPairing>(bands) == PairingEnd::PairsFull)
                    return static_cast<int>(m_records.Count());
                if (nFinished == kStripWidth)
                {
                    x += kStripWidth;
                    continue;
                }
                // The hit arrays were full: the half that filled them is read again, unless that could not do more.
                x += m_records.Count() == nBefore ? kGroupWidth : nFinished;
                break;
            }
        }
        return static_cast<int>(m_records.Count());
    }

private:
    static constexpr CPairingTraits kPairing = {.eAxis = PairAxis::Y, .bLastBandFirst = true};
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

    /// Moves x to the next column from which on a block is long enough. @return false where there is none
    bool FindLongBlock(std::int64_t& x) const
    {
        while (!IsLong(RowsAt(x)))
        {
            if (m_call.nTopRight - m_call.nTopLeft >= m_call.nBottomRight - m_call.nBottomLeft)
                return false; // narrowing: it stays too short
            if (++x >= m_nEnd)
                return false;
        }
        return true;
    }

    /// Windows of a block may lie outside the rows that it forms sums of, where they find 0. A pitch that is not
    /// negative keeps them inside.
    bool ReachesOutside() const { return m_call.pPitchTable != nullptr || m_pitch.nWhole < 0; }

    /// Blocks from x on that are long enough and compared at one pitch; nMost at the most.
    std::int64_t CountBlocks(std::int64_t x, std::int64_t nMost) const
    {
        if (ReachesOutside())
            return 1;
        const std::int64_t nFit = std::max<std::int64_t>(CSumCache::ColumnsFor(m_pitch.nWhole) / kStripWidth, 32);
        nMost = std::min(nMost, nFit);
        std::int64_t nBlocks = 1;
        for (x += kStripWidth; nBlocks < nMost && x < m_nEnd && IsLong(RowsAt(x)); x += kStripWidth)
            ++nBlocks;
        return nBlocks;
    }

    /// Finds the hits of nBlocks blocks from column x on. @return false when they cannot be held
    bool FindTile(std::int64_t x, std::int64_t nBlocks)
    {
        CBlockRows all = RowsAt(x);
        for (std::int64_t nBlock = 0; nBlock < nBlocks; ++nBlock)
        {
            const CBlockRows rows = m_blocks[nBlock] = RowsAt(x + nBlock * kStripWidth);
            all.nTop = std::min(all.nTop, rows.nTop);
            all.nEnd = std::max(all.nEnd, rows.nEnd);
        }
        if (ReachesOutside())
        {
            m_image.nFilledTop = all.nTop - 1;
            m_image.nFilledBottom = all.nBottom + 1;
        }
        if (!m_scratch.ReserveRow(nBlocks) || !m_scratch.chains.Begin(2 * nBlocks, all.nEnd - all.nTop) ||
            !m_scratch.sums.Begin(m_pitch.nWhole + 1, nBlocks * kStripWidth))
            return false;
        m_row.pMask = reinterpret_cast<std::uint8_t*>(m_scratch.mask.Data());
        for (std::int64_t y = all.nTop; y < all.nEnd; ++y)
        {
            // Between the rows of the source and those that the reference looks back on there is nothing but 0.
            if (m_pitch.nWhole < 0 && m_call.nThreshold16 >= 0 && y > all.nBottom + 1)
                y = std::max(y, all.nTop - 3 - m_pitch.nWhole);
            // Both sides are straight, so the blocks that a row crosses are neighbours.
            std::int64_t nFirst = 0;
            std::int64_t nLast = nBlocks - 1;
            while (nFirst <= nLast && !m_blocks[nFirst].Compares(y))
                ++nFirst;
            while (nFirst <= nLast && !m_blocks[nLast].Compares(y))
                --nLast;
            if (nFirst <= nLast && !FindLine(x, y, nFirst, nLast + 1, nBlocks))
                return false;
        }
        return true;
    }

    /// Finds the hits of row y in the blocks nFirst .. nEnd - 1 of a tile at column x.
    bool FindLine(std::int64_t x, std::int64_t y, std::int64_t nFirst, std::int64_t nEnd, std::int64_t nBlocks)
    {
        const auto sums = [&](std::int64_t nRow, int nSpare)
        {
            return m_scratch.sums.Get(nRow, y, nSpare,
                                      [&](std::int64_t nMade, std::uint16_t* pOut)
                                      { MakeSums(x, nMade, nBlocks * kStripWidth, pOut); }) +
                   nFirst * kStripWidth;
        };
        m_row.pSrc = sums(y, 0);
        m_row.pBack = sums(y - 1, 0);
        m_row.pNear = sums(y + m_pitch.nWhole, 0);
        m_row.pFar = sums(y + m_pitch.nWhole + 1, 1);
        m_row.nGroups = 2 * (nEnd - nFirst);
        FindSums(SumsVariant::PlainWitness, m_row);
        for (std::int64_t nGroup = NextMarked(m_row.pMask, 0, m_row.nGroups); nGroup < m_row.nGroups;
             nGroup = NextMarked(m_row.pMask, nGroup + 1, m_row.nGroups))
        {
            if (!m_blocks[nFirst + nGroup / 2].Compares(y))
                continue;
            for (unsigned nBits = m_row.pMask[nGroup]; nBits != 0; nBits &= nBits - 1)
                if (!AppendFound(y, 2 * nFirst + nGroup, nGroup, std::countr_zero(nBits)))
                    return false;
        }
        return true;
    }

    /// Window sums at row y and the row below.
    void MakeSums(std::int64_t x, std::int64_t y, std::int64_t nColumns, std::uint16_t* pOut)
    {
        CSourceRows rows;
        rows.nPrefetch = m_image.nStride;
        for (int nLine = 0; nLine < 2; ++nLine)
            rows.pRow[nLine] = ReadRow(m_image, x, y + nLine, nColumns + 1, m_scratch.rowCopy[nLine].Data());
        MakeSumRow(rows, 2, 2, nColumns, pOut);
    }

    /// Puts a found pixel into its chain: source and reference, and in place of a class which polarities the witness
    /// agrees to.
    bool AppendFound(std::int64_t y, std::int64_t nChain, std::int64_t nGroup, int nColumn)
    {
        const std::int64_t n = nGroup * kGroupWidth + nColumn;
        const CPlainSums sums = ComparePlainSums(m_row, n);
        const CPlainSums witness = WitnessSums(m_row, n);
        CFoundHit hit(y, nColumn);
        hit.nSrc = sums.nSrc;
        hit.nCmp = sums.nCmp;
        hit.SetClassId((witness.DarkDifference() > m_call.nThreshold16 ? kDarkAgrees : 0) |
                       (witness.BrightDifference() > m_call.nThreshold16 ? kBrightAgrees : 0));
        return m_scratch.chains.Append(nChain, hit);
    }

    /// Fills the hit arrays from the chains of one block. Before each row the arrays must have room.
    /// @return columns finished: 16, or 0 or 8 when they were full in the left or the right half
    std::int64_t AppendBlock(std::int64_t x, std::int64_t nBlock)
    {
        for (std::int64_t nHalf = 0; nHalf < 2; ++nHalf)
        {
            CHitChains::CCursor hit = m_scratch.chains.Hits(2 * nBlock + nHalf);
            while (hit)
            {
                if (m_nHits >= m_call.hits.nSize)
                    return nHalf * kGroupWidth;
                const std::int64_t nColumn = x + nHalf * kGroupWidth;
                const CHitChains::CCursor next = AppendRow(hit, nColumn, DefectType_Dark, kDarkAgrees);
                AppendRow(hit, nColumn, DefectType_Bright, kBrightAgrees);
                hit = next;
            }
            // The row behind the last one is tested for room as well.
            if (m_nHits >= m_call.hits.nSize)
                return nHalf * kGroupWidth;
        }
        return kStripWidth;
    }

    /// Appends the hits of one polarity in the row that `hit` begins. @return the first hit behind that row
    CHitChains::CCursor AppendRow(CHitChains::CCursor hit, std::int64_t x, DefectType eType, int nAgrees)
    {
        const std::int64_t nRow = hit->Row();
        for (; hit && hit->Row() == nRow; ++hit)
        {
            const CPlainSums sums = {hit->nSrc, hit->nCmp};
            const int nDiff = eType == DefectType_Dark ? sums.DarkDifference() : sums.BrightDifference();
            if (nDiff > m_call.nThreshold16 && (hit->ClassId() & nAgrees) != 0)
                AppendHit(x + hit->Column(), nRow, eType, nDiff);
        }
        return hit;
    }

    static constexpr int kDarkAgrees = 1;
    static constexpr int kBrightAgrees = 2;

    const CTrapeziumVertCall& m_call;
    CImageView m_image;
    CBlockRows m_blocks[kTileBlocks]; ///< of the tile in hand
    std::int64_t m_nShortest = 0;
    std::int64_t m_nEnd = 0; ///< end of the scan
};

} // namespace

int RunTrapeziumVert(const CTrapeziumVertCall& call)
{
    return CVertScan(call).Run();
}

} // namespace narvo
