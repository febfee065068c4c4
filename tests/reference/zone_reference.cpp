// SPDX-License-Identifier: MIT
// Plain scalar zone kernels. Speed does not matter here; every rule is where a reader would look for it.
#include "reference/zone_reference.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

namespace narvo::test::reference
{
namespace
{

using std::int16_t;
using std::int32_t;
using std::int64_t;
using std::uint16_t;
using std::uint32_t;

constexpr int64_t nStripWidth = 16;
constexpr int64_t nGroupWidth = 8;
constexpr int nTypeUnusable = 3; ///< hits of this type or more take no further part
constexpr short nTypeConsumed = 4;

uint16_t Low16(int64_t nValue)
{
    return static_cast<uint16_t>(static_cast<std::uint64_t>(nValue) & 0xFFFFU);
}

int16_t AsSigned(uint16_t nValue)
{
    return static_cast<int16_t>(nValue);
}

int32_t Wrap32(int64_t nValue)
{
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<std::uint64_t>(nValue)));
}

int64_t FloorTo16(int64_t nValue)
{
    return nValue & ~static_cast<int64_t>(15);
}

/// What distinguishes a kernel from the plain vertical one.
struct CVariant
{
    bool bHorizontal = false;
    bool b2by2 = false;       ///< samples are 2 by 2 means
    bool bFlagged = false;    ///< origin records have a third int: skip
    bool bKnee = false;       ///< two-segment threshold
    bool bBilinear = false;   ///< reference between four pixels, row table
    bool bConvTable = false;  ///< displacement and weights per group of columns
    bool bMember = false;     ///< dead zones; no peaks
    bool bTsp = false;        ///< thresholds by zone, tested in the pairing pass
    bool bBlack = false;      ///< dark records are tested again
    bool bClassId = false;    ///< nSubZone is written
    bool bPeakTested = false; ///< a single's peak must exceed nThresholdExtra
    int nRowsLess = 2;        ///< rows that the row loop and the right band keep off bottom
};

CVariant VariantOf(ZoneKernel eKernel)
{
    CVariant v;
    switch (eKernel)
    {
    case ZoneKernel::Vert:
        v.bPeakTested = true;
        break;
    case ZoneKernel::VertDirect:
        v.nRowsLess = 1;
        break;
    case ZoneKernel::Vert2by2:
        v.b2by2 = true;
        v.nRowsLess = 1;
        v.bPeakTested = true;
        break;
    case ZoneKernel::VertFlag:
        v.bFlagged = true;
        v.nRowsLess = 1;
        v.bPeakTested = true;
        break;
    case ZoneKernel::VertFlag2by2:
        v.bFlagged = true;
        v.b2by2 = true;
        v.nRowsLess = 1;
        v.bPeakTested = true;
        break;
    case ZoneKernel::VertKnee:
        v.bKnee = true;
        break;
    case ZoneKernel::Vtd:
        v.bBilinear = true;
        v.bPeakTested = true;
        break;
    case ZoneKernel::Hori:
        v.bHorizontal = true;
        break;
    case ZoneKernel::HoriTable:
        v.bHorizontal = true;
        v.bConvTable = true;
        break;
    case ZoneKernel::Vert2S:
        v.bMember = true;
        break;
    case ZoneKernel::Vert2STsp:
        v.bMember = true;
        v.bTsp = true;
        break;
    case ZoneKernel::Vert2SBlack:
        v.bMember = true;
        v.bBlack = true;
        break;
    case ZoneKernel::VtdIntrin:
        v.bMember = true;
        v.bBilinear = true;
        break;
    case ZoneKernel::ClassId:
        v.bClassId = true;
        v.bPeakTested = true;
        break;
    case ZoneKernel::ClassIdTable:
        v.bClassId = true;
        v.bBilinear = true;
        v.bPeakTested = true;
        break;
    case ZoneKernel::Count:
        break;
    }
    return v;
}

/// One record of the origin table.
struct CCell
{
    int64_t x0 = 0;
    int64_t y0 = 0;
    int nSkip = 0;
};

class CZoneReference
{
public:
    CZoneReference(const CVariant& variant, const engine::CZoneCall& zoneCall) : v(variant), call(zoneCall)
    {
        nPitchInt = call.nPitch16 >> 4;
        nPitchFrac = call.nPitch16 & 15;
        nHop = nPitchInt + (nPitchFrac >= 8 ? 1 : 0);
        nRefInt = nPitchInt;
        nRefFrac = nPitchFrac;
        nHits = call.hits.nCount;
        nPairs = call.pairs.nCount;
        aClassOfHit.assign(static_cast<std::size_t>(std::max<int64_t>(nHits, 0)), 0);
        if (v.bMember)
            nDeadZones = CountDeadZones();
        if (v.bTsp)
            nTspMin = FindTspMin();
    }

    int Run()
    {
        if (v.bHorizontal)
            WalkRows();
        else
            WalkStrips();
        return static_cast<int>(nPairs);
    }

private:
    const CVariant v;
    const engine::CZoneCall& call;

    int64_t nPitchInt; ///< from the argument pitch: row limits, bands
    int64_t nPitchFrac;
    int64_t nHop;    ///< distance at which the second hit is searched
    int64_t nRefInt; ///< where the reference is read; a row table changes it
    int64_t nRefFrac;

    int64_t nHits;
    int64_t nPairs;
    std::vector<int> aClassOfHit; ///< class id at the place of each hit; 0 for hits that were there before

    int nDeadZones = 0;
    int nTspMin = 256;

    // ---- set-up of the members ----

    int CountDeadZones() const
    {
        for (int i = 0; i < CConvParam::nDeadZoneLimit; i++)
            if (call.pParam->rtDeadZone[i].IsRectEmpty())
                return i;
        return 0;
    }

    int FindTspMin() const
    {
        int nMin = 256;
        for (int i = 0; i < CConvParam::nZoneLimit; i++)
        {
            const int nEntry = TspEntry(call.pParam->pTspTable, i);
            if (nEntry != 0 && nEntry < nMin)
                nMin = nEntry;
        }
        return nMin;
    }

    static int TspEntry(const int* pTable, int nZone)
    {
        if (pTable == nullptr || nZone < 0 || nZone >= CConvParam::nZoneLimit)
            return 0;
        return pTable[nZone];
    }

    // ---- image ----

    int Pixel(int64_t x, int64_t y) const
    {
        const engine::CImageView& image = call.image;
        if (image.nRows <= 0)
            return image.pPixels[y * image.nStride + x];
        y = std::clamp<int64_t>(y, 0, image.nRows - 1);
        const int64_t nFlat = std::clamp<int64_t>(y * image.nStride + x, 0, image.nRows * image.nStride - 1);
        return image.pPixels[nFlat];
    }

    int Sample(int64_t x, int64_t y) const
    {
        if (!v.b2by2)
            return Pixel(x, y);
        return (Pixel(x, y) + Pixel(x + 1, y) + Pixel(x, y + 1) + Pixel(x + 1, y + 1)) >> 2;
    }

    /// Sample between two pixels of a row, at a fraction of 1/16 pixel. A sample of weight 0 is not read.
    int RowValue(int64_t x, int64_t y, int64_t nFrac) const
    {
        const int64_t nNear = Pixel(x, y) * (16 - nFrac);
        const int64_t nFar = nFrac != 0 ? Pixel(x + 1, y) * nFrac : 0;
        return static_cast<int>((nNear + nFar) >> 4);
    }

    /// The value that pixel (x, y) is compared with. nGroupX is the first column of the pixel's 16 (table kernel).
    int Reference(int64_t x, int64_t y, int64_t nGroupX) const
    {
        if (v.bConvTable)
        {
            const int64_t nDisp = call.pConvPitchTable[FloorTo16(nGroupX)];
            const int64_t nWeight = (nGroupX >> 4) * 16 + (x - nGroupX) % 8;
            const int nNear = call.pConvWeightNear[nWeight];
            const int nFar = call.pConvWeightFar[nWeight];
            const int nNearPixel = nNear != 0 ? Pixel(x + nDisp, y) : 0;
            const int nFarPixel = nFar != 0 ? Pixel(x + nDisp + 1, y) : 0;
            return Low16(int64_t{nNearPixel} * nNear + int64_t{nFarPixel} * nFar) >> 4;
        }
        if (v.bHorizontal)
            return RowValue(x + nRefInt, y, nRefFrac);
        if (v.bBilinear)
        {
            const bool bShifted = !v.bClassId;
            const int64_t nShift = bShifted ? call.nVtdPitch16 & 15 : 0;
            const int64_t nFirst = RowValue(x, y + nRefInt, nShift) * (16 - nRefFrac);
            const int64_t nSecond = nRefFrac != 0 ? RowValue(x, y + nRefInt + 1, nShift) * nRefFrac : 0;
            return static_cast<int>((nFirst + nSecond) >> 4);
        }
        const int64_t nFirst = Sample(x, y + nRefInt) * (16 - nRefFrac);
        const int64_t nSecond = nRefFrac != 0 ? Sample(x, y + nRefInt + 1) * nRefFrac : 0;
        return static_cast<int>((nFirst + nSecond) >> 4);
    }

    // ---- origin table and maps ----

    CCell CellAt(int64_t nGridRow, int64_t nGridColumn) const
    {
        const int64_t nRecordBytes = v.bFlagged ? 12 : 8;
        const char* pBytes = reinterpret_cast<const char*>(call.pOriginTable);
        const int* pRecord =
            reinterpret_cast<const int*>(pBytes + nGridRow * call.nRowBytes + nGridColumn * nRecordBytes);
        return {pRecord[0], pRecord[1], v.bFlagged ? pRecord[2] : 0};
    }

    int64_t MapIndex(const CCell& cell, int64_t x, int64_t y) const
    {
        return (y - cell.y0) * call.nMapStride + (x - cell.x0);
    }

    static int MapValue(const int16_t* pMap, int64_t nIndex) { return pMap != nullptr ? pMap[nIndex] : 0; }

    // ---- comparison ----

    /// ((value x gain, low 16 bits) >> 8, logical) + offset, low 16 bits, read as signed.
    static int16_t LaneThreshold(int nValue, int nGain, int nOffset)
    {
        const uint16_t nScaled = static_cast<uint16_t>(Low16(int64_t{nValue} * nGain) >> 8);
        return AsSigned(Low16(nScaled + nOffset));
    }

    /// Compares one pixel and notes a hit.
    void ComparePixel(int64_t x, int64_t y, int64_t nGroupX, int64_t nMapIndex)
    {
        uint16_t a = Low16(Sample(x, y));
        uint16_t b = Low16(Reference(x, y, nGroupX));
        if (!v.bKnee)
        {
            const uint16_t nLimit = Low16(call.nGrayLimit);
            a = std::min(a, nLimit);
            b = std::min(b, nLimit);
        }

        int16_t nThr = 0;
        if (v.bTsp)
            nThr = AsSigned(Low16(nTspMin));
        else if (v.bKnee)
        {
            const int16_t nLarger = std::max(AsSigned(a), AsSigned(b));
            if (nLarger > MapValue(call.pKneeMap, nMapIndex))
                nThr =
                    LaneThreshold(nLarger, MapValue(call.pGainMap2, nMapIndex), MapValue(call.pOffsetMap2, nMapIndex));
            else
                nThr = LaneThreshold(nLarger, MapValue(call.pGainMap, nMapIndex), MapValue(call.pOffsetMap, nMapIndex));
        }
        else
            nThr =
                LaneThreshold(std::max(a, b), MapValue(call.pGainMap, nMapIndex), MapValue(call.pOffsetMap, nMapIndex));

        const int nDiff = std::clamp(AsSigned(a) - AsSigned(b), -32768, 32767);
        const int16_t nMagnitude = AsSigned(Low16(std::abs(nDiff)));
        if (!(nMagnitude > nThr))
            return;

        const engine::CHitArrays& hits = call.hits;
        hits.pX[nHits] = static_cast<int>(x);
        hits.pY[nHits] = static_cast<int>(y);
        hits.pSrcGray[nHits] = a;
        hits.pCmpGray[nHits] = b;
        hits.pZoneIndex[nHits] = MapValue(call.pZoneIndexMap, nMapIndex);
        hits.pThreshold[nHits] = nThr;
        hits.pType[nHits] = nDiff >= 1 ? 1 : 0;
        if (!v.bMember)
            hits.pPeak[nHits] = AsSigned(Low16(nMagnitude - nThr));
        aClassOfHit.push_back(v.bClassId ? MapValue(call.pClassIdMap, nMapIndex) & 15 : 0);
        nHits++;
    }

    /// Compares 16 pixels of a row from x on, in two groups of 8. nMapIndex is the place of the first.
    /// @return false when the hit arrays are full, and the rest of the strip or row is dropped
    bool CompareSixteen(int64_t x, int64_t y, int64_t nMapIndex, bool bSkipped)
    {
        for (int64_t nGroup = 0; nGroup < nStripWidth; nGroup += nGroupWidth)
        {
            for (int64_t k = nGroup; k < nGroup + nGroupWidth && !bSkipped; k++)
                ComparePixel(x + k, y, x, nMapIndex + k);
            if (nHits >= call.hits.nSize)
                return false;
        }
        return true;
    }

    void StartHitList()
    {
        nHits = 0;
        aClassOfHit.clear();
    }

    // ---- vertical walk ----

    void WalkStrips()
    {
        const engine::CRegion& rt = call.region;
        const int64_t nStripEnd = FloorTo16(rt.nRight - rt.nLeft) + rt.nLeft;
        const int64_t nRowEnd = rt.nBottom - v.nRowsLess - nPitchInt;

        int64_t nGridColumn = 0;
        int64_t nGridRow = 1;                        // the first used row lies a whole grid row below the table's start
        CCell first = CellAt(nGridRow, nGridColumn); // record of the first used row in the present column
        int64_t nFirstBottom = first.y0 + call.nCellHeight;
        int64_t nCellRight = first.x0 + call.nCellWidth;

        for (int64_t x = rt.nLeft; x < nStripEnd; x += nStripWidth)
        {
            if (x >= nCellRight)
            {
                nGridColumn++;
                nGridRow = 1;
                first = CellAt(nGridRow, nGridColumn);
                nFirstBottom = first.y0 + call.nCellHeight;
                nCellRight = first.x0 + call.nCellWidth;
                if (first.x0 + 2 * call.nCellWidth >= nStripEnd)
                    nCellRight = first.x0 + 2 * call.nCellWidth;
                if (v.bFlagged && CellAt(nGridRow, nGridColumn + 1).nSkip == 1)
                    nCellRight = first.x0 + call.nCellWidth - 16;
            }

            CCell cell = first;
            int64_t nCellBottom = nFirstBottom;
            for (int64_t y = rt.nTop; y < nRowEnd; y++)
            {
                if (y >= nCellBottom)
                {
                    nGridRow++;
                    cell = CellAt(nGridRow, nGridColumn);
                    nCellBottom = cell.y0 + call.nCellHeight;
                    if (cell.y0 + 2 * call.nCellHeight >= rt.nBottom - 1)
                        nCellBottom = cell.y0 + 2 * call.nCellHeight;
                }
                if (v.bBilinear && call.pScanPitchTable != nullptr && (y - rt.nTop) % 16 == 0)
                {
                    const int64_t nPitch16 = call.pScanPitchTable[(rt.nTop >> 4) + (y - rt.nTop) / 16];
                    nRefInt = nPitch16 >> 4;
                    nRefFrac = nPitch16 & 15;
                }
                if (!CompareSixteen(x, y, MapIndex(cell, x, y), cell.nSkip != 0))
                    break;
            }

            if (!PairStrip(x))
                return;
            StartHitList();
            nGridRow = 0; // the lag: the row of the table's start, not the first used one
        }
        *call.pEndLine = static_cast<int>(nStripEnd + 16);
    }

    /// The pairing pass of one strip. @return false when the pair array is full
    bool PairStrip(int64_t x)
    {
        const engine::CHitArrays& hits = call.hits;
        const int64_t nBandLeftEnd = call.region.nTop + nPitchInt;
        const int64_t nBandRightStart = call.region.nBottom - v.nRowsLess - 2 * nPitchInt;

        for (int64_t i = 0; i < nHits; i++)
        {
            if (nPairs >= call.pairs.nSize)
            {
                *call.pEndLine = static_cast<int>(x + 16);
                return false;
            }
            if (hits.pType[i] >= nTypeUnusable)
                continue;

            const int px = hits.pX[i];
            const int py = hits.pY[i];
            if (py > nBandRightStart)
            {
                if (SingleStands(i))
                    WriteMirrored(i, px, static_cast<int>(py + nHop));
                continue;
            }

            int64_t nPartner = -1;
            for (int64_t j = i + 1; j < nHits; j++)
            {
                if (hits.pY[j] < py + nHop)
                    continue;
                if (hits.pY[j] > py + nHop)
                    break;
                if (hits.pX[j] == px)
                {
                    nPartner = j;
                    break;
                }
            }

            const bool bMiddle = py >= nBandLeftEnd;
            if (nPartner >= 0)
            {
                if (hits.pType[nPartner] >= nTypeUnusable || hits.pType[nPartner] == hits.pType[i])
                    continue;
                if (WriteOwn(nPartner, hits.pX[nPartner], hits.pY[nPartner],
                             bMiddle ? DefectPos_Middle : DefectPos_First, DefectPair_Paired))
                    hits.pType[nPartner] = nTypeConsumed;
            }
            else if (!bMiddle && SingleStands(i))
                WriteOwn(i, px, py, DefectPos_First, DefectPair_Single);
        }
        return true;
    }

    // ---- horizontal walk ----

    void WalkRows()
    {
        const engine::CRegion& rt = call.region;
        const int64_t nScanEnd = FloorTo16(rt.nRight - rt.nLeft - nPitchInt) + rt.nLeft;

        int64_t nGridRow = 0;
        CCell first = CellAt(nGridRow, 0); // record of the first used column in the present row
        int64_t nFirstRight = first.x0 + call.nCellWidth;
        int64_t nCellBottom = first.y0 + call.nCellHeight;

        for (int64_t y = rt.nTop; y < rt.nBottom; y++)
        {
            if (y >= nCellBottom)
            {
                nGridRow++;
                first = CellAt(nGridRow, 0);
                nFirstRight = first.x0 + call.nCellWidth;
                nCellBottom = first.y0 + call.nCellHeight;
                if (first.y0 + 2 * call.nCellHeight > rt.nBottom)
                    nCellBottom = first.y0 + 2 * call.nCellHeight;
            }

            int64_t nGridColumn = 0;
            CCell cell = first;
            int64_t nCellRight = nFirstRight;
            for (int64_t x = rt.nLeft; x < nScanEnd; x += nStripWidth)
            {
                if (x >= nCellRight)
                {
                    nGridColumn++;
                    cell = CellAt(nGridRow, nGridColumn);
                    nCellRight = cell.x0 + call.nCellWidth;
                    if (cell.x0 + 2 * call.nCellWidth >= nScanEnd)
                        nCellRight = cell.x0 + 2 * call.nCellWidth;
                }
                if (!CompareSixteen(x, y, MapIndex(cell, x, y), false))
                    break;
            }

            if (!PairRow(y, nScanEnd))
                return;
            StartHitList();
        }
        *call.pEndLine = static_cast<int>(rt.nBottom + 1);
    }

    /// The pairing pass of one row. @return false when the pair array is full
    bool PairRow(int64_t y, int64_t nScanEnd)
    {
        const engine::CHitArrays& hits = call.hits;
        const int64_t nBandLeftEnd = call.region.nLeft + nPitchInt;
        const int64_t nBandRightStart = nScanEnd - nPitchInt;

        for (int64_t i = 0; i < nHits; i++)
        {
            if (nPairs >= call.pairs.nSize)
            {
                *call.pEndLine = static_cast<int>(y + 1);
                return false;
            }
            if (hits.pType[i] >= nTypeUnusable)
                continue;

            const int px = hits.pX[i];
            const int py = hits.pY[i];
            const bool bLeft = px < nBandLeftEnd;
            if (!bLeft && px > nBandRightStart)
            {
                if (SingleStands(i))
                    WriteMirrored(i, static_cast<int>(px + nHop), py);
                continue;
            }

            int64_t nPartner = -1;
            for (int64_t j = i + 1; j < nHits; j++)
            {
                if (hits.pX[j] < px + nHop)
                    continue;
                if (hits.pX[j] > px + nHop)
                    break;
                const bool bUsable = hits.pType[j] < nTypeUnusable && hits.pType[j] != hits.pType[i];
                if (hits.pY[j] == py && bUsable)
                {
                    nPartner = j;
                    break;
                }
            }

            if (nPartner >= 0)
            {
                if (WriteOwn(nPartner, static_cast<int>(px + nHop), hits.pY[nPartner],
                             bLeft ? DefectPos_First : DefectPos_Middle, DefectPair_Paired))
                    hits.pType[nPartner] = nTypeConsumed;
            }
            else if (bLeft && SingleStands(i))
                WriteOwn(i, px, py, DefectPos_First, DefectPair_Single);
        }
        return true;
    }

    // ---- records ----

    bool SingleStands(int64_t i) const
    {
        if (call.bKeepSingle != 1)
            return false;
        return !v.bPeakTested || call.hits.pPeak[i] > call.nThresholdExtra;
    }

    /// A record with a hit's own polarity and values. @return whether it was written
    bool WriteOwn(int64_t nHit, int x, int y, DefectPos ePos, DefectPair ePair)
    {
        const engine::CHitArrays& hits = call.hits;
        return Write(nHit, x, y, ePos, ePair, hits.pType[nHit], hits.pSrcGray[nHit], hits.pCmpGray[nHit]);
    }

    /// A hit of the right band represents its unseen partner: polarity flipped, values swapped.
    void WriteMirrored(int64_t nHit, int x, int y)
    {
        const engine::CHitArrays& hits = call.hits;
        Write(nHit, x, y, DefectPos_Last, DefectPair_Single, (hits.pType[nHit] + 1) & 1, hits.pCmpGray[nHit],
              hits.pSrcGray[nHit]);
    }

    bool Write(int64_t nHit, int x, int y, DefectPos ePos, DefectPair ePair, int nType, int nSrc, int nCmp)
    {
        const engine::CHitArrays& hits = call.hits;
        const int nZone = hits.pZoneIndex[nHit];
        int nThreshold = hits.pThreshold[nHit];

        for (int k = 0; k < nDeadZones; k++)
        {
            const CRect& rt = call.pParam->rtDeadZone[k];
            if (rt.left <= x && x < rt.right && rt.top <= y && y < rt.bottom)
                return false;
        }
        if (v.bTsp)
        {
            const int nProduct = Wrap32(int64_t{std::max(nSrc, nCmp)} * TspEntry(call.pParam->pTspTable2, nZone));
            const int nThr = Wrap32(int64_t{nProduct >> 8} + TspEntry(call.pParam->pTspTable, nZone));
            if (Wrap32(std::abs(int64_t{nSrc} - nCmp)) <= nThr)
                return false;
            nThreshold = nThr;
        }
        if (v.bBlack && nSrc < nCmp)
        {
            const int nProduct = Wrap32(int64_t{nCmp} * call.pParam->nBlackFilterGain);
            const int nThr = Wrap32(int64_t{nProduct / 256} + call.pParam->nBlackFilterGray);
            if (Wrap32(std::abs(int64_t{nSrc} - nCmp)) <= nThr)
                return false;
            hits.pThreshold[nHit] = nThr;
            nThreshold = nThr;
        }

        CDefectPair& pair = call.pairs.At(nPairs);
        pair.nDefectPos = ePos;
        pair.nDefectPair = ePair;
        pair.nDefectType = nType;
        if (!v.bMember)
            pair.nPeak = hits.pPeak[nHit];
        pair.ptDefect.x = x;
        pair.ptDefect.y = y;
        pair.nSrcGray = nSrc;
        pair.nCmpGray = nCmp;
        pair.nZoneIndex = nZone;
        pair.nThreshold = nThreshold;
        if (v.bClassId && call.pClassIdMap != nullptr)
            pair.nSubZone = aClassOfHit[static_cast<std::size_t>(nHit)];
        nPairs++;
        return true;
    }
};

} // namespace

int RunZoneKernel(ZoneKernel eKernel, const engine::CZoneCall& call)
{
    return CZoneReference(VariantOf(eKernel), call).Run();
}

} // namespace narvo::test::reference
