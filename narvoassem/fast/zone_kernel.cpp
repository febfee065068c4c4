// The zone kernels: one text, stamped out once for each public kernel. A region is walked twice: the finder answers
// one bit a pixel over whole rows, then the few hits are computed again and paired in the kernel's own order, strip
// by strip (vertical) or row by row (horizontal). Capacity rules live in the second walk alone.
#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>

#include "narvoassem/fast/band_pairing.h"
#include "narvoassem/fast/cell_walk.h"
#include "narvoassem/fast/find_row.h"
#include "narvoassem/fast/image_rows.h"
#include "narvoassem/fast/kernel_call.h"
#include "narvoassem/fast/pitch16.h"
#include "narvoassem/fast/scan_scratch.h"
#include "narvoassem/fast/zone_compare.h"
#include "narvoassem/fast/zone_records.h"
#include "narvoassem/fast/zone_traits.h"

namespace narvo
{

namespace
{

CZoneGrid MakeGrid(const CZoneCall& call, bool bFlagged)
{
    return {reinterpret_cast<const std::byte*>(call.pOriginTable), call.nRowBytes, call.nCellWidth, call.nCellHeight,
            bFlagged};
}

/// What both scan directions share: the call, its pitch, the hit list in the caller's arrays, the records.
template <CZoneTraits kTraits>
class CZoneScan
{
protected:
    static constexpr CPairingTraits kPairing = {.eAxis = kTraits.bHorizontal ? PairAxis::X : PairAxis::Y,
                                                .bLastBandFirst = !kTraits.bHorizontal,
                                                .bPassUnusable = kTraits.bHorizontal};

    explicit CZoneScan(const CZoneCall& call)
        : m_call(call), m_pitch(call.nPitch16), m_grid(MakeGrid(call, kTraits.bFlagged)), m_records(call),
          m_nFloor(m_records.Tsp().Floor()), m_scratch(GetScanScratch()), m_nHits(call.hits.nCount)
    {
        const auto nFar = static_cast<std::uint16_t>(m_pitch.nFraction);
        m_row.nWeightFar = nFar;
        m_row.nWeightNear = static_cast<std::uint16_t>(16 - nFar);
        m_row.nWeightRight = static_cast<std::uint16_t>(call.nVtdPitch16 & 15);
        m_row.nWeightLeft = static_cast<std::uint16_t>(16 - m_row.nWeightRight);
        m_row.nPrefetch = call.image.nStride;
        m_row.nGrayLimit = static_cast<std::uint16_t>(call.nGrayLimit);
        m_row.nBase = static_cast<std::uint16_t>(m_nFloor);
        m_row.pOffsetMap = call.pOffsetMap;
        m_row.pGainMap = call.pGainMap;
        m_row.pKneeMap = call.pKneeMap;
        m_row.pOffsetMap2 = call.pOffsetMap2;
        m_row.pGainMap2 = call.pGainMap2;
    }

    /// Room for rows of nStrips strips; the row description points into it from here on.
    bool ReserveRow(std::int64_t nStrips)
    {
        if (!m_scratch.ReserveRow(nStrips))
            return false;
        m_row.pMask = m_scratch.mask.Data();
        m_row.pZeroMap = m_scratch.zeroMap.Data();
        return true;
    }

    /// Adds a run to the row's list; joins it to the run before where their map elements follow one another.
    void AddRun(std::int64_t nFirstStrip, std::int64_t nStripCount, std::int64_t nMapBase)
    {
        if (m_row.nRunCount > 0)
        {
            CStripRun& last = m_scratch.runs[m_row.nRunCount - 1];
            if (last.nFirstStrip + last.nStripCount == nFirstStrip &&
                last.nMapBase + last.nStripCount * kStripWidth == nMapBase)
            {
                last.nStripCount += nStripCount;
                return;
            }
        }
        m_scratch.runs[m_row.nRunCount++] = {nFirstStrip, nStripCount, nMapBase};
        m_row.pRuns = m_scratch.runs.Data();
    }

    /// Calls onHit(nStrip, hit) for each hit that the finder marked in the row, left to right, until it gives false.
    /// x is the row's first column. @return false if it was stopped
    template <class TOnHit>
    bool ForEachHit(std::int64_t x, std::int64_t y, const CPitch16& pitch, std::int64_t nStrips, TOnHit&& onHit)
    {
        const CStripRun* pRun = m_row.pRuns;
        for (std::int64_t nStrip = NextMarkedStrip(m_row.pMask, 0, nStrips); nStrip < nStrips;
             nStrip = NextMarkedStrip(m_row.pMask, nStrip + 1, nStrips))
        {
            while (nStrip >= pRun->nFirstStrip + pRun->nStripCount)
                ++pRun;
            const std::int64_t nElement = m_row.nMapRow + pRun->nMapBase + (nStrip - pRun->nFirstStrip) * kStripWidth;
            for (unsigned nBits = m_row.pMask[nStrip]; nBits != 0; nBits &= nBits - 1)
            {
                const int nColumn = std::countr_zero(nBits);
                if (!onHit(nStrip, CompareZonePixel<kTraits>(m_call, pitch, x + nStrip * kStripWidth + nColumn, y,
                                                             nElement + nColumn, m_nFloor, nColumn)))
                    return false;
            }
        }
        return true;
    }

    /// Appends a hit of the strip or block at column x to the caller's arrays. The group of 8 that reaches the capacity
    /// is taken whole, and so is the first group of a strip or row. @return false when the hit is beyond
    bool AppendHit(std::int64_t x, const CFoundHit& hit, std::int64_t nGroup)
    {
        if (nGroup != m_nGroup)
        {
            if (m_nHits >= m_call.hits.nSize && nGroup != 0)
                return false;
            m_nGroup = nGroup;
        }
        if (kTraits.bClassId)
        {
            const auto nIndex = static_cast<std::size_t>(m_nHits);
            if (nIndex >= m_scratch.classId.Capacity() && !m_scratch.classId.Reserve(2 * nIndex + 64))
                return false;
            m_scratch.classId[nIndex] = hit.nClassId;
        }
        StoreZoneHit<kTraits>(m_call.hits, m_nHits++, x, hit);
        return true;
    }

    /// Pairs the hits held and empties the list.
    PairingEnd Pair(const CBands& bands)
    {
        m_records.SetClassIds(m_scratch.classId.Data());
        // Hits that the caller put in front are in an order of their own.
        const CHitList list = {&m_call.hits, m_nHits, m_bSorted};
        m_nHits = 0;
        m_nGroup = 0;
        m_bSorted = true;
        return PairHits<kPairing>(list, bands, m_records);
    }

    int End(std::int64_t nLine)
    {
        *m_call.pEndLine = static_cast<int>(nLine);
        return static_cast<int>(m_records.Count());
    }

    const CZoneCall& m_call;
    CPitch16 m_pitch;
    CZoneGrid m_grid;
    CZoneRecords<kTraits> m_records;
    int m_nFloor;
    CScanScratch& m_scratch;
    std::int64_t m_nHits;
    std::int64_t m_nGroup = 0; ///< the group that the last hit lay in, counted from 0 in each strip or row
    bool m_bSorted = m_nHits == 0;
    CFindRow m_row;
};

/// Vertical scan: strips of 16 columns from left to right, each top down.
template <CZoneTraits kTraits>
class CZoneStrips : CZoneScan<kTraits>
{
    using CBase = CZoneScan<kTraits>;
    using CBase::m_call, CBase::m_pitch, CBase::m_grid, CBase::m_scratch, CBase::m_row;

public:
    explicit CZoneStrips(const CZoneCall& call)
        : CBase(call), m_nStripEnd(call.region.nLeft + RoundDownTo16(call.region.nRight - call.region.nLeft)),
          m_nRowEnd(call.region.nBottom - kTraits.nFreeRows - m_pitch.nWhole)
    {
    }

    int Run()
    {
        const CRegion& region = m_call.region;
        if (region.nLeft >= m_nStripEnd)
            return this->End(m_nStripEnd + kStripWidth);
        const CBands bands = {.nFirstEnd = region.nTop + m_pitch.nWhole,
                              .nLastStart = region.nBottom - kTraits.nFreeRows - 2 * m_pitch.nWhole,
                              .nHop = m_pitch.nHop};
        CStripCursor cursor(m_grid, m_nStripEnd);
        std::int64_t nTileStrips = kTileStrips;
        for (std::int64_t x = region.nLeft; x < m_nStripEnd;)
        {
            const std::int64_t nStrips = std::min((m_nStripEnd - x) / kStripWidth, nTileStrips);
            if (!FindTile(cursor, x, nStrips))
            {
                // Too many hits to hold, or no memory: look at fewer strips at once.
                if (nStrips == 1)
                    return this->End(x);
                nTileStrips = nStrips / 2;
                continue;
            }
            for (std::int64_t nStrip = 0; nStrip < nStrips; ++nStrip, x += kStripWidth)
            {
                if (x != region.nLeft)
                    cursor.Enter(x);
                AppendStrip(x, nStrip);
                if (this->Pair(bands) == PairingEnd::PairsFull)
                    return this->End(x + kStripWidth);
            }
        }
        return this->End(m_nStripEnd + kStripWidth);
    }

private:
    /// Strips of a tile at the most: long rows suit the prefetcher.
    static constexpr std::int64_t kTileStrips = 4096;

    /// Finds the hits of nStrips strips from column x on. cursor is as it stands before the first of them.
    /// @return false when they cannot be held
    bool FindTile(CStripCursor cursor, std::int64_t x, std::int64_t nStrips)
    {
        const std::int64_t nTop = m_call.region.nTop;
        if (!this->ReserveRow(nStrips) || !m_scratch.chains.Begin(nStrips, m_nRowEnd - nTop))
            return false;
        const std::size_t nWalks = StartWalks(cursor, x, nStrips);
        std::int64_t nNextStep = nTop;
        for (std::int64_t y = nTop; y < m_nRowEnd; ++y)
        {
            if (y >= nNextStep)
                nNextStep = StepWalks(nWalks, x, y, nStrips);
            SetRow(x, y, nStrips);
            FindRow(kTraits.eFind, m_row);
            if (!this->ForEachHit(x, y, PitchAt(y), nStrips,
                                  [&](std::int64_t nStrip, const CFoundHit& hit)
                                  { return m_scratch.chains.Append(nStrip, hit); }))
                return false;
        }
        return true;
    }

    /// Groups the strips that walk their cells alike. @return the number of groups
    std::size_t StartWalks(CStripCursor cursor, std::int64_t x, std::int64_t nStrips)
    {
        std::size_t nWalks = 0;
        bool bAfterFresh = true;
        for (std::int64_t nStrip = 0; nStrip < nStrips; ++nStrip, x += kStripWidth)
        {
            if (x != m_call.region.nLeft)
                cursor.Enter(x);
            if (nStrip == 0 || cursor.IsFresh() || bAfterFresh)
                m_scratch.walks[nWalks++] = {CCellRows(cursor, m_call.region.nTop, m_call.region.nBottom), nStrip, 0};
            ++m_scratch.walks[nWalks - 1].nStripCount;
            bAfterFresh = cursor.IsFresh();
        }
        return nWalks;
    }

    /// Advances all groups to row y and lists the runs anew. @return the next row at which a cell changes
    std::int64_t StepWalks(std::size_t nWalks, std::int64_t x, std::int64_t y, std::int64_t nStrips)
    {
        std::int64_t nNextStep = std::numeric_limits<std::int64_t>::max();
        m_row.nRunCount = 0;
        std::fill_n(m_row.pMask, nStrips + 8, std::uint16_t{0});
        for (std::size_t n = 0; n < nWalks; ++n)
        {
            CRunWalk& walk = m_scratch.walks[n];
            walk.rows.Advance(y);
            nNextStep = std::min(nNextStep, walk.rows.NextStep());
            if (walk.rows.Origin().nSkip == 0)
                this->AddRun(walk.nFirstStrip, walk.nStripCount,
                             walk.rows.Origin().MapElement(x + walk.nFirstStrip * kStripWidth, 0, m_call.nMapStride));
        }
        return nNextStep;
    }

    void SetRow(std::int64_t x, std::int64_t y, std::int64_t nStrips)
    {
        const auto read = [&](std::int64_t nRow, int nCopy)
        {
            constexpr bool bPlain = kTraits.eFind != FindVariant::MeanMap && kTraits.eFind != FindVariant::BilinearMap;
            return ReadRow(m_call.image, x, nRow, nStrips * kStripWidth + (bPlain ? 0 : 1),
                           m_scratch.rowCopy[nCopy].Data());
        };
        const CPitch16 pitch = PitchAt(y);
        m_row.nMapRow = y * m_call.nMapStride;
        m_row.nWeightFar = static_cast<std::uint16_t>(pitch.nFraction);
        m_row.nWeightNear = static_cast<std::uint16_t>(16 - pitch.nFraction);
        m_row.pSrc = read(y, 0);
        m_row.pNear = read(y + pitch.nWhole, 1);
        m_row.pFar = read(y + pitch.nWhole + 1, 2);
        if constexpr (kTraits.eFind == FindVariant::MeanMap)
        {
            m_row.pSrcBelow = read(y + 1, 3);
            m_row.pFarBelow = read(y + pitch.nWhole + 2, 4);
        }
    }

    /// The pitch that places the comparison of row y. A row table is entered at the region's top and read on every 16
    /// rows counted from there; pairing keeps the pitch of the call.
    CPitch16 PitchAt(std::int64_t y) const
    {
        if (!kTraits.bRowTable || m_call.pScanPitchTable == nullptr)
            return m_pitch;
        return CPitch16(m_call.pScanPitchTable[(m_call.region.nTop >> 4) + (y - m_call.region.nTop) / 16]);
    }

    /// Fills the hit arrays from the chain of one strip, up to their capacity.
    void AppendStrip(std::int64_t x, std::int64_t nStrip)
    {
        CHitChains& chains = m_scratch.chains;
        for (const CFoundHit* pHit = chains.First(nStrip); pHit != nullptr; pHit = chains.Next(pHit))
            if (!this->AppendHit(x, *pHit, 2 * (pHit->nRow - m_call.region.nTop) + pHit->nColumn / kGroupWidth))
                return;
    }

    std::int64_t m_nStripEnd;
    std::int64_t m_nRowEnd;
};

/// Horizontal scan: rows top down, each from left to right.
template <CZoneTraits kTraits>
class CZoneRows : CZoneScan<kTraits>
{
    using CBase = CZoneScan<kTraits>;
    using CBase::m_call, CBase::m_pitch, CBase::m_grid, CBase::m_scratch, CBase::m_row;

public:
    explicit CZoneRows(const CZoneCall& call)
        : CBase(call),
          m_nScanEnd(call.region.nLeft + RoundDownTo16(call.region.nRight - call.region.nLeft - m_pitch.nWhole)),
          m_nStrips(std::max<std::int64_t>(m_nScanEnd - call.region.nLeft, 0) / kStripWidth)
    {
    }

    int Run()
    {
        const CRegion& region = m_call.region;
        if (region.nTop >= region.nBottom)
            return this->End(region.nBottom + 1);
        if (!this->ReserveRow(m_nStrips) || !PrepareColumns())
            return this->End(region.nTop);
        const CBands bands = {.nFirstEnd = region.nLeft + m_pitch.nWhole,
                              .nLastStart = m_nScanEnd - m_pitch.nWhole,
                              .nHop = m_pitch.nHop};
        CRowCursor cursor(m_grid, region.nBottom);
        for (std::int64_t y = region.nTop; y < region.nBottom; ++y)
        {
            if (y == region.nTop || cursor.Enter(y))
                ListRuns(cursor);
            SetRow(y);
            FindRow(kTraits.eFind, m_row);
            this->ForEachHit(region.nLeft, y, m_pitch, m_nStrips,
                             [&](std::int64_t nStrip, const CFoundHit& hit) {
                                 return this->AppendHit(region.nLeft + nStrip * kStripWidth, hit,
                                                        2 * nStrip + hit.nColumn / kGroupWidth);
                             });
            if (this->Pair(bands) == PairingEnd::PairsFull)
                return this->End(y + 1);
        }
        return this->End(region.nBottom + 1);
    }

private:
    void ListRuns(const CRowCursor& cursor)
    {
        m_row.nRunCount = 0;
        CCellColumns columns(cursor, m_nScanEnd);
        for (std::int64_t nStrip = 0; nStrip < m_nStrips; ++nStrip)
        {
            const std::int64_t x = m_call.region.nLeft + nStrip * kStripWidth;
            columns.Enter(x);
            this->AddRun(nStrip, 1, columns.Origin().MapElement(x, 0, m_call.nMapStride));
        }
        std::fill_n(m_row.pMask, m_nStrips + 8, std::uint16_t{0});
    }

    /// Column tables, spread to one weight a column.
    bool PrepareColumns()
    {
        if constexpr (kTraits.eFind == FindVariant::ColumnMap)
        {
            const auto nColumns = static_cast<std::size_t>(m_nStrips * kStripWidth);
            if (!m_scratch.columnNear.Reserve(nColumns) || !m_scratch.columnFar.Reserve(nColumns))
                return false;
            for (std::size_t n = 0; n < nColumns; ++n)
            {
                const std::int64_t nWeight = ColumnWeightIndex(m_call.region.nLeft, static_cast<std::int64_t>(n));
                m_scratch.columnNear[n] = m_call.pConvWeightNear[nWeight];
                m_scratch.columnFar[n] = m_call.pConvWeightFar[nWeight];
            }
            m_row.pColumnNear = m_scratch.columnNear.Data();
            m_row.pColumnFar = m_scratch.columnFar.Data();
        }
        return true;
    }

    void SetRow(std::int64_t y)
    {
        const CImageView& image = m_call.image;
        const std::int64_t nLeft = m_call.region.nLeft;
        const std::int64_t nColumns = m_nStrips * kStripWidth;
        m_row.nMapRow = y * m_call.nMapStride;
        m_row.pSrc = ReadRow(image, nLeft, y, nColumns, m_scratch.rowCopy[0].Data());
        if constexpr (kTraits.eFind == FindVariant::ColumnMap)
            GatherReference(y);
        else
        {
            m_row.pNear = ReadRow(image, nLeft + m_pitch.nWhole, y, nColumns, m_scratch.rowCopy[1].Data());
            // Without a fraction the far sample has no weight and need not exist.
            m_row.pFar = m_pitch.nFraction == 0
                             ? m_row.pNear
                             : ReadRow(image, nLeft + m_pitch.nWhole + 1, y, nColumns, m_scratch.rowCopy[2].Data());
        }
    }

    /// Lays the displaced blocks of a row side by side.
    void GatherReference(std::int64_t y)
    {
        std::uint8_t* pNear = m_scratch.rowCopy[1].Data();
        std::uint8_t* pFar = m_scratch.rowCopy[2].Data();
        for (std::int64_t nStrip = 0; nStrip < m_nStrips; ++nStrip)
        {
            const std::int64_t x = m_call.region.nLeft + nStrip * kStripWidth;
            const std::int64_t nAt = x + m_call.pConvPitchTable[RoundDownTo16(x)];
            std::uint8_t copy[kStripWidth + 1];
            const std::uint8_t* pBlock = ReadRow(m_call.image, nAt, y, kStripWidth + 1, copy);
            std::memcpy(pNear + nStrip * kStripWidth, pBlock, kStripWidth);
            std::memcpy(pFar + nStrip * kStripWidth, pBlock + 1, kStripWidth);
        }
        m_row.pNear = pNear;
        m_row.pFar = pFar;
    }

    std::int64_t m_nScanEnd;
    std::int64_t m_nStrips;
};

template <ZoneKernel kKernel>
int Run(const CZoneCall& call)
{
    constexpr CZoneTraits kTraits = GetZoneTraits(kKernel);
    if constexpr (kTraits.bHorizontal)
        return CZoneRows<kTraits>(call).Run();
    else
        return CZoneStrips<kTraits>(call).Run();
}

} // namespace

int RunZoneKernel(ZoneKernel eKernel, const CZoneCall& call)
{
    switch (eKernel)
    {
    case ZoneKernel::Vert:
        return Run<ZoneKernel::Vert>(call);
    case ZoneKernel::VertDirect:
        return Run<ZoneKernel::VertDirect>(call);
    case ZoneKernel::Vert2by2:
        return Run<ZoneKernel::Vert2by2>(call);
    case ZoneKernel::VertFlag:
        return Run<ZoneKernel::VertFlag>(call);
    case ZoneKernel::VertFlag2by2:
        return Run<ZoneKernel::VertFlag2by2>(call);
    case ZoneKernel::VertKnee:
        return Run<ZoneKernel::VertKnee>(call);
    case ZoneKernel::Vtd:
        return Run<ZoneKernel::Vtd>(call);
    case ZoneKernel::Hori:
        return Run<ZoneKernel::Hori>(call);
    case ZoneKernel::HoriTable:
        return Run<ZoneKernel::HoriTable>(call);
    case ZoneKernel::Vert2S:
        return Run<ZoneKernel::Vert2S>(call);
    case ZoneKernel::Vert2STsp:
        return Run<ZoneKernel::Vert2STsp>(call);
    case ZoneKernel::Vert2SBlack:
        return Run<ZoneKernel::Vert2SBlack>(call);
    case ZoneKernel::VtdIntrin:
        return Run<ZoneKernel::VtdIntrin>(call);
    case ZoneKernel::ClassId:
        return Run<ZoneKernel::ClassId>(call);
    case ZoneKernel::ClassIdTable:
        return Run<ZoneKernel::ClassIdTable>(call);
    }
    return static_cast<int>(call.pairs.nCount);
}

} // namespace narvo
