// A scan of one region, the same for all kernels of the zone and pixel families: the finder answers one bit a pixel
// over whole rows, the few hits are computed again while their row is in the cache, and are paired in the kernel's own
// order, strip by strip (vertical) or row by row (horizontal). Capacity rules live in the last step alone.
//
// What differs between kernels comes from a rule, a class with
//   kScan            its CScanTraits
//   SetUpRow(row)    fills the thresholds, maps and weights that stay the same for all rows
//   records          asked by the pairing walk (band_pairing.h); Count() gives the pairs held
//   hits             the hit arrays
//   Compare(pitch, x, y, nElement, nColumn)  the found hit at (x, y); nElement is its map element, nColumn its column
//                    within its strip
//   Inspects(x, y)   false drops what the finder marked there
//   Store(nIndex, x, hit)  puts a hit of the strip at column x into the arrays; false without memory
//   MapRow(y)        distance of row y from row 0 in map elements
//   BeginScan(nEnd), BeginTile(x, nStrips), EnterStrip(x), StepRuns(list, x, y, nStrips)  the walk over the maps
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>

#include "narvoassem/fast/band_pairing.h"
#include "narvoassem/fast/find_row.h"
#include "narvoassem/fast/hit_chains.h"
#include "narvoassem/fast/image_rows.h"
#include "narvoassem/fast/kernel_call.h"
#include "narvoassem/fast/pitch16.h"
#include "narvoassem/fast/scan_scratch.h"
#include "narvoassem/fast/scan_traits.h"
#include "narvoassem/memory_shortage.h"

namespace narvo
{

/// The runs of a row as they are listed: neighbours whose map elements follow one another become one. With column
/// tables a run ends where the displacement changes, too.
class CRunList
{
public:
    explicit CRunList(CScanScratch& scratch) : m_scratch(scratch) {}

    void Clear() { m_nCount = 0; }
    /// From now on strip n of a row is compared with what lies pDisplacements[n] bytes on.
    void Displace(const std::int64_t* pDisplacements) { m_pDisplacements = pDisplacements; }
    void Add(std::int64_t nFirstStrip, std::int64_t nStripCount, std::int64_t nMapBase)
    {
        if (m_pDisplacements == nullptr)
            return AddAlike({nFirstStrip, nStripCount, nMapBase, 0});
        for (std::int64_t n = 0; n < nStripCount; ++n)
            AddAlike({nFirstStrip + n, 1, nMapBase + n * kStripWidth, m_pDisplacements[nFirstStrip + n]});
    }
    void PutInto(CFindRow& row)
    {
        row.pRuns = m_scratch.runs.Data();
        row.nRunCount = m_nCount;
    }

private:
    void AddAlike(const CStripRun& run)
    {
        if (m_nCount > 0)
        {
            CStripRun& last = m_scratch.runs[m_nCount - 1];
            if (last.nFirstStrip + last.nStripCount == run.nFirstStrip &&
                last.nMapBase + last.nStripCount * kStripWidth == run.nMapBase &&
                last.nDisplacement == run.nDisplacement)
            {
                last.nStripCount += run.nStripCount;
                return;
            }
        }
        m_scratch.runs[m_nCount++] = run;
    }

    CScanScratch& m_scratch;
    const std::int64_t* m_pDisplacements = nullptr;
    std::size_t m_nCount = 0;
};

/// What both directions share.
template <class TRule>
class CScan
{
protected:
    static constexpr CScanTraits kScan = TRule::kScan;
    static constexpr CPairingTraits kPairing = {.eAxis = kScan.bHorizontal ? PairAxis::X : PairAxis::Y,
                                                .bLastBandFirst = kScan.bLastBandFirst,
                                                .bPassUnusable = kScan.bHorizontal,
                                                .bAnyAcross = kScan.bAnyRow};

    CScan(const CKernelCall& call, TRule& rule)
        : m_call(call), m_rule(rule), m_pitch(call.nPitch16), m_scratch(GetScanScratch()), m_runs(m_scratch),
          m_nHits(rule.hits.nCount)
    {
        m_row.nPrefetch = call.image.nStride;
        m_row.nWeightRight = static_cast<std::uint16_t>(call.nVtdPitch16 & 15);
        m_row.nWeightLeft = static_cast<std::uint16_t>(16 - m_row.nWeightRight);
        m_row.nGrayLimit = static_cast<std::uint16_t>(call.nGrayLimit);
        SetWeights(m_pitch);
        rule.SetUpRow(m_row);
    }

    void SetWeights(const CPitch16& pitch)
    {
        m_row.nWeightFar = static_cast<std::uint16_t>(pitch.nFraction);
        m_row.nWeightNear = static_cast<std::uint16_t>(16 - pitch.nFraction);
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

    /// Lists the runs of the rows from y on. @return the next row at which they change
    std::int64_t StepRuns(std::int64_t x, std::int64_t y, std::int64_t nStrips)
    {
        std::fill_n(m_row.pMask, nStrips + kSpareMasks, std::uint16_t{0});
        m_runs.Clear();
        const std::int64_t nNextStep = m_rule.StepRuns(m_runs, x, y, nStrips);
        m_runs.PutInto(m_row);
        return nNextStep;
    }

    /// Calls onHit(nStrip, hit) for each hit that the finder marked in the row, left to right, until it gives false.
    /// x is the row's first column. @return false if it was stopped
    template <class TOnHit>
    bool ForEachHit(std::int64_t x, std::int64_t y, const CPitch16& pitch, std::int64_t nStrips, TOnHit&& onHit)
    {
        const CStripRun* pRun = m_row.pRuns;
        for (std::int64_t nStrip = NextMarked(m_row.pMask, 0, nStrips); nStrip < nStrips;
             nStrip = NextMarked(m_row.pMask, nStrip + 1, nStrips))
        {
            while (nStrip >= pRun->nFirstStrip + pRun->nStripCount)
                ++pRun;
            const std::int64_t nFirst = nStrip * kStripWidth;
            const std::int64_t nElement = m_row.nMapRow + pRun->nMapBase + nFirst - pRun->nFirstStrip * kStripWidth;
            for (unsigned nBits = m_row.pMask[nStrip]; nBits != 0; nBits &= nBits - 1)
            {
                const int nColumn = std::countr_zero(nBits);
                const std::int64_t nX = x + nFirst + nColumn;
                if (m_rule.Inspects(nX, y) && !onHit(nStrip, m_rule.Compare(pitch, nX, y, nElement + nColumn, nColumn)))
                    return false;
            }
        }
        return true;
    }

    /// Appends a hit of the strip or block at column x to the arrays. nGroup counts the groups of 8 from 0 in each
    /// strip or row: the group that reaches the capacity is taken whole, and so is group 0. @return false when the hit
    /// lies beyond
    bool AppendHit(std::int64_t x, const CFoundHit& hit, std::int64_t nGroup)
    {
        if (nGroup != m_nGroup)
        {
            if (IsCut())
                return false;
            m_nGroup = nGroup;
        }
        if (!m_rule.Store(m_nHits, x, hit))
        {
            NoteMemoryShortage();
            return false;
        }
        ++m_nHits;
        return true;
    }

    /// The hit array has been filled.
    bool IsCut() const { return m_nHits >= m_rule.hits.nSize; }
    /// The group that filled it.
    std::int64_t CutGroup() const { return m_nGroup; }

    /// Pairs the hits held and empties the list.
    PairingEnd Pair(const CBands& bands)
    {
        const CHitList list = {&m_rule.hits, m_nHits};
        m_nHits = 0;
        m_nGroup = 0;
        return PairHits<kPairing>(list, bands, m_rule.records);
    }

    /// Ends the scan in front of nLine.
    int EndWithoutMemory(std::int64_t nLine)
    {
        NoteMemoryShortage();
        return End(nLine);
    }
    int End(std::int64_t nLine)
    {
        if (kScan.bEndLine)
            *m_call.pEndLine = static_cast<int>(nLine);
        return static_cast<int>(m_rule.records.Count());
    }

    const CKernelCall& m_call;
    TRule& m_rule;
    CPitch16 m_pitch;
    CScanScratch& m_scratch;
    CRunList m_runs;
    std::int64_t m_nHits;
    std::int64_t m_nGroup = 0; ///< the group that the last hit lay in
    CFindRow m_row;
};

} // namespace narvo
