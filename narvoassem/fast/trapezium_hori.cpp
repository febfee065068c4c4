// The horizontal trapezium kernel: rows between two slanted sides, each compared along itself.
#include <algorithm>
#include <bit>
#include <cstdint>

#include "narvoassem/fast/derive_rows.h"
#include "narvoassem/fast/image_rows.h"
#include "narvoassem/fast/trapezium_scan.h"
#include "narvoassem/memory_shortage.h"

namespace narvo
{

namespace
{

class CHoriScan : CTrapeziumScan
{
public:
    explicit CHoriScan(const CTrapeziumHoriCall& call) : CTrapeziumScan(call, call.pairs.nCount), m_call(call)
    {
        SetPitch(call.nPitch16);
        // Without a table the partner's distance is not rounded by the fraction.
        m_pitch.nHop = m_pitch.nWhole + (call.nPitchRound >= 8 ? 1 : 0);
    }

    /// @return the new pair count
    int Run()
    {
        const std::int64_t nHeight = m_call.nBottom - m_call.nTop;
        if (nHeight == 0)
            return static_cast<int>(m_records.Count());
        // The top row comes without a test, even where the bottom lies above it.
        for (std::int64_t y = m_call.nTop; y == m_call.nTop || y < m_call.nBottom; ++y)
        {
            if (m_call.pPitchTable != nullptr && (y - m_call.nTop) % 16 == 0)
                SetPitch(m_call.pPitchTable[y >> 4]);
            m_nLeft = SideAt(y - m_call.nTop, nHeight, m_call.nLeftTop, m_call.nLeftBottom);
            const std::int64_t nRight = SideAt(y - m_call.nTop, nHeight, m_call.nRightTop, m_call.nRightBottom);
            m_nWidth = RoundDownTo16(nRight - m_nLeft);
            m_nCompared = (m_nWidth - m_pitch.nWhole - 1) & ~std::int64_t{7};
            if (m_nCompared < ShortestUseful(3 * m_pitch.nWhole))
                continue;
            if (!FindHits(y))
                break;
            const CBands bands = {.nFirstEnd = m_nLeft + m_pitch.nWhole,
                                  .nLastStart = m_nLeft + m_nCompared - m_pitch.nWhole - 1,
                                  .nHop = m_pitch.nHop};
            if (Pair<kPairing>(bands) == PairingEnd::PairsFull)
                break;
        }
        return static_cast<int>(m_records.Count());
    }

private:
    /// Longest row that is looked at; none is that does not come from a pitch out of all measure.
    static constexpr std::int64_t kColumnLimit = std::int64_t{1} << 26;
    static constexpr CPairingTraits kPairing = {
        .eAxis = PairAxis::X, .bLastBandFirst = false, .bPassUnusable = true, .bAnyAcross = true};

    /// @return false without memory, and for a row out of all measure
    bool FindHits(std::int64_t y)
    {
        // Columns outside the row's width are not summed and count as 0; a negative pitch reaches them on both sides.
        const std::int64_t nBefore = std::max<std::int64_t>(-m_pitch.nWhole, 0) + 1;
        const std::int64_t nColumns = std::max(m_nCompared, m_nWidth) + kStripWidth;
        if (nBefore + nColumns > kColumnLimit)
            return false;
        if (!m_scratch.ReserveRow(nColumns / kStripWidth + 1) ||
            !m_scratch.lineSums[0].Reserve(static_cast<std::size_t>(nBefore + nColumns)))
        {
            NoteMemoryShortage();
            return false;
        }
        FormSums(y, nBefore, nColumns);
        m_row.nGroups = m_nCompared / kGroupWidth;
        m_row.pMask = reinterpret_cast<std::uint8_t*>(m_scratch.mask.Data());
        m_row.pNear = m_row.pSrc + m_pitch.nWhole;
        m_row.pFar = m_row.pNear + 1;
        FindSums(SumsVariant::Plain, m_row);
        AppendRow(y);
        return true;
    }

    /// Window sums of the row, behind nBefore elements. The windows at its ends hold one column alone.
    void FormSums(std::int64_t y, std::int64_t nBefore, std::int64_t nColumns)
    {
        CSourceRows rows;
        rows.nPrefetch = m_call.image.nStride;
        for (int nLine = 0; nLine < 2; ++nLine)
            rows.pRow[nLine] = ReadRow(m_call.image, m_nLeft, y + nLine, m_nWidth, m_scratch.rowCopy[nLine].Data());
        const auto column = [&](std::int64_t n)
        { return static_cast<std::uint16_t>(rows.pRow[0][n] + rows.pRow[1][n]); };
        std::uint16_t* pSums = m_scratch.lineSums[0].Data() + nBefore;
        const std::int64_t nLast = m_nWidth - 1;
        MakeSumRow(rows, 2, 2, nLast, pSums);
        pSums[nLast] = column(nLast);
        std::fill(pSums + m_nWidth, pSums + nColumns, std::uint16_t{0});
        std::fill(pSums - nBefore, pSums, std::uint16_t{0});
        pSums[-1] = column(0);
        m_row.pSrc = pSums;
    }

    /// Group by group: first the hits whose reference is the brighter, then the others. The group that leaves fewer
    /// than 16 places is the last of its row, marked or not.
    void AppendRow(std::int64_t y)
    {
        const auto isFull = [&] { return m_nHits >= m_call.hits.nSize - 16; };
        const std::int64_t nGroups = m_row.nGroups;
        for (std::int64_t nGroup = NextMarked(m_row.pMask, 0, nGroups); nGroup < nGroups;
             nGroup = NextMarked(m_row.pMask, nGroup + 1, nGroups))
        {
            if (isFull() && nGroup != 0)
                return;
            for (const DefectType eType : {DefectType_Dark, DefectType_Bright})
                for (unsigned nBits = m_row.pMask[nGroup]; nBits != 0; nBits &= nBits - 1)
                {
                    const std::int64_t nColumn = nGroup * kGroupWidth + std::countr_zero(nBits);
                    const CPlainSums sums = ComparePlainSums(m_row, nColumn);
                    const std::int64_t nDiff = eType == DefectType_Dark ? sums.nCmp - sums.nSrc : sums.nSrc - sums.nCmp;
                    if (nDiff > m_call.nThreshold16)
                        AppendHit(m_nLeft + nColumn, y, eType, nDiff);
                }
        }
    }

    const CTrapeziumHoriCall& m_call;
    std::int64_t m_nLeft = 0;     ///< first column of the row in hand
    std::int64_t m_nWidth = 0;    ///< columns that it forms sums of
    std::int64_t m_nCompared = 0; ///< columns compared
};

} // namespace

int RunTrapeziumHori(const CTrapeziumHoriCall& call)
{
    return CHoriScan(call).Run();
}

} // namespace narvo
