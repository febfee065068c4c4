// SPDX-License-Identifier: MIT
// The outcome of a kernel call: hit arrays, pair array, end line and count. All are
// set to a pattern first, which shows entries that were not written.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "narvoassem/defectpair.h"
#include "narvoassem/fast/call/kernel_call.h"

namespace narvo::test
{

constexpr int nUntouched = 0x5A5A5A5A;
constexpr short nShortUntouched = 0x5A5A;

/// A hit that is in the arrays before the kernel starts.
struct CStartHit
{
    int x = 0;
    int y = 0;
    short nType = 0;
    short nPeak = 0;
    int nSrcGray = 0;
    int nCmpGray = 0;
    int nZoneIndex = 0;
    int nThreshold = 0;
};

class CKernelOutcome
{
public:
    int nReturned = 0;
    int nEndLine = 0;
    std::vector<int> aX, aY, aSrcGray, aCmpGray, aZoneIndex, aThreshold;
    std::vector<short> aType, aPeak;
    std::vector<CDefectPair> aPairs;

    /// Pairs beyond those from before the call.
    std::int64_t NewPairs() const { return nReturned - m_nPairCount; }
    bool IsFull() const { return nReturned >= m_nPairSize; }

    /// Sizes the arrays by the capacities (16 hits and one record more), sets the pattern and the hits at the
    /// start.
    void Prepare(std::int64_t nHitSize, const std::vector<CStartHit>& aStartHits, std::int64_t nPairCount,
                 std::int64_t nPairSize);
    engine::CHitArrays HitArrays(std::int64_t nSize, std::int64_t nCount);
    engine::CPairSink PairSink(std::int64_t nCount, std::int64_t nSize);
    /// The first place where the two differ, in words; empty when nothing does.
    std::string DifferenceFrom(const CKernelOutcome& other) const;

private:
    std::int64_t m_nPairCount = 0;
    std::int64_t m_nPairSize = 0;
};

std::string PairText(const CDefectPair& pair);

} // namespace narvo::test
