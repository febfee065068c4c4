// SPDX-License-Identifier: MIT
// The runs of a row of strips, listed for the finder.
#pragma once

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

} // namespace narvo::engine
