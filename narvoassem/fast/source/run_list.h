// SPDX-License-Identifier: MIT
// The runs of a row of strips, listed for the finder.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "narvoassem/fast/find/find_row.h"
#include "narvoassem/fast/scan/scan_scratch.h"

namespace narvo::engine
{

/// Neighbours with consecutive map elements become one run. With column tables a run also ends where the
/// displacement changes.
class CRunList
{
public:
    explicit CRunList(CScanScratch& scratch) : m_scratch(scratch) {}

    void Clear() { m_nCount = 0; }
    /// From now on strip n of a row is compared with the pixels pDisplacements[n] bytes further.
    void Displace(const std::int64_t* pDisplacements) { m_pDisplacements = pDisplacements; }
    void Add(std::int64_t nFirstStrip, std::int64_t nStripCount, std::int64_t nMapBase)
    {
        if (m_pDisplacements == nullptr)
            return AddAlike({nFirstStrip, nStripCount, nMapBase, 0});
        for (std::int64_t n = 0; n < nStripCount; ++n)
            AddAlike({nFirstStrip + n, 1, nMapBase + n * kStripWidth, m_pDisplacements[nFirstStrip + n]});
    }
    /// The list is complete, for rows of nStrips strips.
    void PutInto(CFindRow& row, std::int64_t nStrips)
    {
        row.pRuns = m_scratch.runs.Data();
        row.nRunCount = m_nCount;
        std::fill_n(m_scratch.runOfStrip.Data(), nStrips, nNoRun);
        for (std::size_t n = 0; n < m_nCount; ++n)
            std::fill_n(m_scratch.runOfStrip.Data() + row.pRuns[n].nFirstStrip, row.pRuns[n].nStripCount,
                        static_cast<int>(n));
    }
    /// The run of a strip; null where there is none.
    const CStripRun* Find(std::int64_t nStrip) const
    {
        const int nRun = m_scratch.runOfStrip[static_cast<std::size_t>(nStrip)];
        return nRun == nNoRun ? nullptr : &m_scratch.runs[static_cast<std::size_t>(nRun)];
    }

private:
    static constexpr int nNoRun = -1;

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

} // namespace narvo::engine
