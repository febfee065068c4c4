// SPDX-License-Identifier: MIT
// See soak_coverage.h.
#include "soak/soak_coverage.h"

#include <iomanip>
#include <stdexcept>

namespace narvo::test
{

namespace
{

std::string NameZoneKernel(const CConvParam& p)
{
    if (p.nDirection == 0)
        return p.pConvPitchTable != nullptr ? "zone along x, column tables" : "zone along x, plain";
    const bool bExtended = p.bExtendedKernel != 0;
    if (p.pScanPitchTable != nullptr)
        return bExtended ? "zone along y 1, row table, extended" : "zone along y 2, row table";
    if (p.fVtdPitch != 0.0F)
        return bExtended ? "zone along y 3, shift, extended" : "zone along y 4, shift";
    if (p.bUseLineBuffer == 0)
        return "zone along y 5, direct";
    if (p.bTwoSegmentThreshold != 0 && p.pThresholdKneeMap != nullptr)
        return "zone along y 6, knee";
    if (p.bZoneFlagged != 0)
        return p.bAverage2by2 != 0 ? "zone along y 7, flagged, means" : "zone along y 8, flagged";
    if (p.bAverage2by2 != 0)
        return "zone along y 9, means";
    if (!bExtended)
        return "zone along y 14, plain";
    if (p.pTspTable != nullptr)
        return "zone along y 10, zone tables";
    if (p.nBlackFilterGray > 0)
        return "zone along y 11, black filter";
    return p.dClassPitch != 0.0 ? "zone along y 12, class id, doubles" : "zone along y 13, class id, integers";
}

std::string NameAsgKernel(const CConvParam& p)
{
    if (p.nDirection == 0)
        return p.pConvPitchTable != nullptr ? "asg zone along x, column tables" : "asg zone along x, plain";
    if (p.bUseLineBuffer == 0)
        return "asg zone along y, direct";
    if (p.bTwoSegmentThreshold != 0 && p.pThresholdKneeMap != nullptr)
        return "asg zone along y, knee";
    return p.bAverage2by2 != 0 ? "asg zone along y, means" : "asg zone along y, plain";
}

std::string NamePixelKernel(const CConvParam& p)
{
    const bool bExtended = p.bExtendedKernel != 0;
    if (p.nDirection != 1)
    {
        if (p.pConvPitchTable != nullptr)
            return "pixel along x, column tables";
        if (!bExtended)
            return "pixel along x, plain";
        return p.bTwice != 0 ? "pixel along x, extended, twice" : "pixel along x, extended";
    }
    const bool bSecond = p.nBlackFilterGray > 0;
    if (p.pScanPitchTable != nullptr)
    {
        if (bExtended)
            return "pixel along y 1, row table, extended";
        return bSecond ? "pixel along y 2, row table, two sets" : "pixel along y 3, row table";
    }
    if (p.bUseLineBuffer == 0)
        return "pixel along y 4, direct";
    if (!bExtended)
        return bSecond ? "pixel along y 8, two sets" : "pixel along y 9, plain";
    if (p.bTwice != 0)
        return "pixel along y 5, extended, twice";
    return p.dClassPitch != 0.0 ? "pixel along y 6, wide, doubles" : "pixel along y 7, wide, integers";
}

std::string NameFloatKernel(const CConvParam& p)
{
    const std::int64_t nArea = std::int64_t{p.nConvWidth} * p.nConvHeight;
    const bool bExtended = p.bExtendedKernel != 0;
    if (p.nDirection != 1)
    {
        if (p.pConvPitchTable != nullptr)
            return nArea == 4 ? "float along x, column tables, area 4" : "float along x, column tables, area 6";
        return nArea == 4 ? "float along x, area 4" : nArea == 6 ? "float along x, area 6" : "float along x, area 9";
    }
    if (p.fVtdPitch != 0.0F || p.pScanPitchTable != nullptr)
    {
        if (nArea != 4)
            return "float along y 3, shift of a larger window: nothing";
        return bExtended ? "float along y 1, shift, extended" : "float along y 2, shift";
    }
    if (nArea == 4)
    {
        if (p.bZoneFlagged != 0)
            return "float along y 4, free form";
        return bExtended ? "float along y 5, extended" : "float along y 6, area 4";
    }
    return nArea == 6 ? "float along y 7, area 6" : "float along y 8, area 9";
}

std::string NameTrapezium(const CConvParam& p)
{
    if (p.nDirection == 1)
        return p.pScanPitchTable != nullptr ? "trapezium along y, table" : "trapezium along y, plain";
    if (p.trapInspect.ptCorner[0].y == p.trapInspect.ptCorner[3].y)
        return "trapezium along x, of no height";
    return p.pTiltConvTable != nullptr ? "trapezium along x, table" : "trapezium along x, plain";
}

} // namespace

std::string NameKernel(CaseCall eCall, const CConvParam& p)
{
    if (eCall == CaseCall::Trapezium)
        return NameTrapezium(p);
    if (eCall != CaseCall::Rect)
        return p.pThresholdOffsetMap != nullptr ? NameAsgKernel(p) : std::string("asg ").append(NamePixelKernel(p));
    if (p.nInspectMode == 3)
        return "average";
    if (p.pThresholdOffsetMap != nullptr)
        return NameZoneKernel(p);
    switch (p.nInspectMode)
    {
    case 0:
        return NameFloatKernel(p);
    case 1:
        return NamePixelKernel(p);
    case 2:
        return "binarise";
    default:
        return "no mode";
    }
}

CSoakCoverage::CSoakCoverage()
{
    for (const char* szName : {"zone along x, column tables",
                               "zone along x, plain",
                               "zone along y 1, row table, extended",
                               "zone along y 2, row table",
                               "zone along y 3, shift, extended",
                               "zone along y 4, shift",
                               "zone along y 5, direct",
                               "zone along y 6, knee",
                               "zone along y 7, flagged, means",
                               "zone along y 8, flagged",
                               "zone along y 9, means",
                               "zone along y 10, zone tables",
                               "zone along y 11, black filter",
                               "zone along y 12, class id, doubles",
                               "zone along y 13, class id, integers",
                               "zone along y 14, plain",
                               "asg zone along x, column tables",
                               "asg zone along x, plain",
                               "asg zone along y, direct",
                               "asg zone along y, knee",
                               "asg zone along y, means",
                               "asg zone along y, plain"})
        List(szName);
    const char* const aPixel[] = {"pixel along x, column tables",
                                  "pixel along x, plain",
                                  "pixel along x, extended",
                                  "pixel along x, extended, twice",
                                  "pixel along y 1, row table, extended",
                                  "pixel along y 2, row table, two sets",
                                  "pixel along y 3, row table",
                                  "pixel along y 4, direct",
                                  "pixel along y 5, extended, twice",
                                  "pixel along y 6, wide, doubles",
                                  "pixel along y 7, wide, integers",
                                  "pixel along y 8, two sets",
                                  "pixel along y 9, plain"};
    for (const char* szName : aPixel)
        List(szName);
    for (const char* szName : aPixel)
        List(std::string("asg ").append(szName));
    for (const char* szName :
         {"float along x, column tables, area 4", "float along x, column tables, area 6", "float along x, area 4",
          "float along x, area 6", "float along x, area 9", "float along y 1, shift, extended",
          "float along y 2, shift", "float along y 4, free form", "float along y 5, extended",
          "float along y 6, area 4", "float along y 7, area 6", "float along y 8, area 9", "binarise", "average",
          "trapezium along x, plain", "trapezium along x, table", "trapezium along y, plain",
          "trapezium along y, table"})
        List(szName);
    for (const char* szName : {"float along y 3, shift of a larger window: nothing", "trapezium along x, of no height",
                               "no mode", "result code 8", "result code 64", "direction swapped"})
        List(szName, false);
    for (const char* szName :
         {"result code 1", "result code 16", "one band", "two bands", "three bands or more", "region across a split",
          "region across a split, quiet seams", "one re-run", "more re-runs", "pair store full", "blob store full",
          "more than 100000 pairs along y", "region flush with all borders", "pairs removed", "blobs merged",
          "removed along x", "removed along y"})
        List(szName);
}

void CSoakCoverage::List(const std::string& strName, bool bFinds)
{
    m_aIndex[strName] = m_aEntries.size();
    m_aEntries.push_back({strName, bFinds, {}});
}

void CSoakCoverage::Reach(const std::string& strName, const CCaseResult& result)
{
    const auto it = m_aIndex.find(strName);
    if (it == m_aIndex.end())
        throw std::logic_error("a coverage entry without a name in the list: " + strName);
    CReached& reached = m_aEntries[it->second].reached;
    ++reached.nCases;
    reached.nWithPairs += result.nPairs > 0 ? 1 : 0;
    reached.nWithBlobs += result.nBlobs > 0 ? 1 : 0;
}

void CSoakCoverage::Count(CSoakPlayer& player, const CCaseResult& result)
{
    const CSoakCase& soakCase = player.Case();
    const CConvParam& p = player.Runner().Param();
    const CNarvoAssem& lane = player.Runner().Lane();
    Reach("result code " + std::to_string(result.nCode), result);
    if (p.nDirection != soakCase.param.nDirection)
        Reach("direction swapped", result);
    if (result.nCode != 1 && result.nCode != 16)
        return;

    Reach(NameKernel(soakCase.eCall, p), result);
    if (p.rtInspect == CRect(0, 0, p.nImageWidth, p.nImageHeight))
        Reach("region flush with all borders", result);
    if (result.bBands)
    {
        const int nBands = player.Runner().CountBands();
        Reach(nBands == 1 ? "one band" : nBands == 2 ? "two bands" : "three bands or more", result);
    }
    if (soakCase.eSplit == CaseSplit::Open)
        Reach("region across a split", result);
    if (soakCase.eSplit == CaseSplit::Quiet)
        Reach("region across a split, quiet seams", result);
    if (result.nReruns > 0)
        Reach(result.nReruns == 1 ? "one re-run" : "more re-runs", result);
    if (p.nDirection == 1 && result.nPairs > 100000)
        Reach("more than 100000 pairs along y", result);
    if (!result.bBands && result.nPairs >= soakCase.nPairSize)
        Reach("pair store full", result);
    if (result.nBlobs >= soakCase.nBlobSize)
        Reach("blob store full", result);
    if (result.bBands)
        return;
    if (lane.nRemovedPair > 0)
        Reach("pairs removed", result);
    if (lane.nMergedBlob > 0)
        Reach("blobs merged", result);
    if (lane.nRemovedConv > 0)
        Reach("removed along x", result);
    if (lane.nRemovedScan > 0)
        Reach("removed along y", result);
}

void CSoakCoverage::Print(std::ostream& out) const
{
    out << std::left << std::setw(52) << "reached" << std::right << std::setw(10) << "cases" << std::setw(12)
        << "with pairs" << std::setw(12) << "with blobs" << '\n';
    for (const CEntry& entry : m_aEntries)
        out << std::left << std::setw(52) << entry.strName << std::right << std::setw(10) << entry.reached.nCases
            << std::setw(12) << entry.reached.nWithPairs << std::setw(12) << entry.reached.nWithBlobs << '\n';
}

} // namespace narvo::test
