// SPDX-License-Identifier: MIT
// See kernel_outcome.h.
#include "fast/kernel_outcome.h"

#include <algorithm>
#include <cstring>
#include <sstream>

namespace narvo::test
{

namespace
{

constexpr std::int64_t nSpareHits = 16;

template <typename T>
std::string ArrayDifference(const char* pName, const std::vector<T>& found, const std::vector<T>& expected)
{
    for (std::size_t i = 0; i < found.size() && i < expected.size(); i++)
        if (found[i] != expected[i])
            return std::string(pName) + "[" + std::to_string(i) + "] is " + std::to_string(found[i]) + ", expected " +
                   std::to_string(expected[i]);
    return found.size() == expected.size() ? "" : std::string(pName) + " has another size";
}

} // namespace

std::string PairText(const CDefectPair& pair)
{
    std::ostringstream out;
    out << "pos " << pair.nDefectPos << " pair " << pair.nDefectPair << " type " << pair.nDefectType << " peak "
        << pair.nPeak << " at " << pair.ptDefect.x << ',' << pair.ptDefect.y << " src " << pair.nSrcGray << " cmp "
        << pair.nCmpGray << " zone " << pair.nZoneIndex << " thr " << pair.nThreshold << " sub " << pair.nSubZone;
    return out.str();
}

void CKernelOutcome::Prepare(std::int64_t nHitSize, const std::vector<CStartHit>& aStartHits, std::int64_t nPairCount,
                             std::int64_t nPairSize)
{
    const auto nStart = static_cast<std::int64_t>(aStartHits.size());
    const auto nHitSpace = static_cast<std::size_t>(std::max({nHitSize, nStart, std::int64_t{0}}) + nSpareHits);
    for (std::vector<int>* pArray : {&aX, &aY, &aSrcGray, &aCmpGray, &aZoneIndex, &aThreshold})
        pArray->assign(nHitSpace, nUntouched);
    aType.assign(nHitSpace, nShortUntouched);
    aPeak.assign(nHitSpace, nShortUntouched);
    for (std::size_t i = 0; i < aStartHits.size(); i++)
    {
        const CStartHit& hit = aStartHits[i];
        aX[i] = hit.x;
        aY[i] = hit.y;
        aType[i] = hit.nType;
        aPeak[i] = hit.nPeak;
        aSrcGray[i] = hit.nSrcGray;
        aCmpGray[i] = hit.nCmpGray;
        aZoneIndex[i] = hit.nZoneIndex;
        aThreshold[i] = hit.nThreshold;
    }

    m_nPairCount = nPairCount;
    m_nPairSize = nPairSize;
    CDefectPair untouched;
    untouched.nDefectPos = untouched.nDefectPair = untouched.nDefectType = nUntouched;
    untouched.nPeak = untouched.ptDefect.x = untouched.ptDefect.y = untouched.nSrcGray = nUntouched;
    untouched.nCmpGray = untouched.nZoneIndex = untouched.nThreshold = untouched.nSubZone = nUntouched;
    aPairs.assign(static_cast<std::size_t>(std::max({nPairSize, nPairCount, std::int64_t{0}}) + 1), untouched);
    nReturned = nUntouched;
    nEndLine = nUntouched;
}

engine::CHitArrays CKernelOutcome::HitArrays(std::int64_t nSize, std::int64_t nCount)
{
    engine::CHitArrays hits;
    hits.nSize = nSize;
    hits.nCount = nCount;
    hits.pX = aX.data();
    hits.pY = aY.data();
    hits.pType = aType.data();
    hits.pPeak = aPeak.data();
    hits.pSrcGray = aSrcGray.data();
    hits.pCmpGray = aCmpGray.data();
    hits.pZoneIndex = aZoneIndex.data();
    hits.pThreshold = aThreshold.data();
    return hits;
}

engine::CPairSink CKernelOutcome::PairSink(std::int64_t nCount, std::int64_t nSize)
{
    return {aPairs.data(), nCount, nSize, sizeof(CDefectPair)};
}

std::string CKernelOutcome::DifferenceFrom(const CKernelOutcome& other) const
{
    if (nReturned != other.nReturned)
        return "returned " + std::to_string(nReturned) + ", expected " + std::to_string(other.nReturned);
    if (nEndLine != other.nEndLine)
        return "end line " + std::to_string(nEndLine) + ", expected " + std::to_string(other.nEndLine);
    for (std::size_t i = 0; i < aPairs.size() && i < other.aPairs.size(); i++)
        if (std::memcmp(&aPairs[i], &other.aPairs[i], sizeof(CDefectPair)) != 0)
            return "pair " + std::to_string(i) + " is " + PairText(aPairs[i]) + ", expected " +
                   PairText(other.aPairs[i]);
    std::string strFound;
    const auto look = [&strFound](const char* pName, const auto& found, const auto& expected)
    {
        if (strFound.empty() && found != expected)
            strFound = ArrayDifference(pName, found, expected);
    };
    look("x", aX, other.aX);
    look("y", aY, other.aY);
    look("type", aType, other.aType);
    look("peak", aPeak, other.aPeak);
    look("source value", aSrcGray, other.aSrcGray);
    look("compare value", aCmpGray, other.aCmpGray);
    look("zone", aZoneIndex, other.aZoneIndex);
    look("threshold", aThreshold, other.aThreshold);
    return strFound;
}

} // namespace narvo::test
