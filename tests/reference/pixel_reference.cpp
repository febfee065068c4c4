// SPDX-License-Identifier: MIT
// Plain scalar pixel kernels. Speed does not matter here; every rule is where a reader would look for it.
#include "reference/pixel_reference.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

#include "reference/scalar.h"

namespace narvo::test::reference
{
namespace
{

using std::int16_t;
using std::int64_t;
using std::uint16_t;

/// What distinguishes a kernel from the plain one of its direction.
struct CVariant
{
    bool bHorizontal = false;
    bool bConvTable = false;    ///< displacement and weights per 16 columns
    bool bStrip = true;         ///< vertical, through the strip buffer: one row less
    bool bRowTable = false;     ///< a pitch per 16 rows
    bool bShifted = false;      ///< compare position shifted along x
    bool bMasked = false;       ///< source pixels under a mask alone
    bool bMember = false;       ///< no start count of hits, no peaks written
    bool bSmallerOfTwo = false; ///< hits exceed the smaller of both sets; each record its polarity's set
    bool bDarkRetest = false;   ///< dark records are tested again with the second set
    bool bDeadZones = false;    ///< dead zones of the engine drop records
    bool bRecordPeak = false;   ///< nPeak of a record is |src - cmp| - threshold
    bool bOwnHits = false;      ///< hit storage of its own, without a limit
    bool bWritesEndLine = true;
};

CVariant VariantOf(PixelKernel eKernel)
{
    CVariant v;
    switch (eKernel)
    {
    case PixelKernel::Hori:
        v.bHorizontal = true;
        break;
    case PixelKernel::HoriTable:
        v.bHorizontal = true;
        v.bConvTable = true;
        break;
    case PixelKernel::HoriIntrin:
        v.bHorizontal = true;
        v.bMember = true;
        break;
    case PixelKernel::VertDirect:
        v.bStrip = false;
        v.bWritesEndLine = false;
        break;
    case PixelKernel::Vert:
        break;
    case PixelKernel::Vert2:
        v.bDarkRetest = true;
        break;
    case PixelKernel::Vtds:
        v.bRowTable = true;
        break;
    case PixelKernel::Vtds2:
        v.bRowTable = true;
        v.bDarkRetest = true;
        break;
    case PixelKernel::VertIntrin:
        v.bMember = true;
        v.bSmallerOfTwo = true;
        v.bDeadZones = true;
        break;
    case PixelKernel::VtdsIntrin:
        v.bRowTable = true;
        v.bMember = true;
        v.bSmallerOfTwo = true;
        v.bDeadZones = true;
        break;
    case PixelKernel::VertWide:
        v.bMember = true;
        v.bSmallerOfTwo = true;
        v.bShifted = true;
        v.bOwnHits = true;
        break;
    case PixelKernel::VtdsWide:
        v.bRowTable = true;
        v.bMember = true;
        v.bSmallerOfTwo = true;
        break;
    case PixelKernel::VertMask:
        v.bMember = true;
        v.bSmallerOfTwo = true;
        v.bShifted = true;
        v.bMasked = true;
        v.bRecordPeak = true;
        break;
    case PixelKernel::Count:
        break;
    }
    return v;
}

class CPixelReference
{
public:
    CPixelReference(const CVariant& variant, const engine::CPixelCall& pixelCall, const engine::CHitArrays& hitArrays)
        : v(variant), call(pixelCall), rt(pixelCall.region), hits(hitArrays)
    {
        nPitchInt = call.nPitch16 >> 4;
        nPitchFrac = call.nPitch16 & 15;
        nHop = nPitchInt + (nPitchFrac >= 8 ? 1 : 0);
        nCmpInt = nPitchInt;
        nCmpFrac = nPitchFrac;
        nHits = v.bMember ? 0 : hits.nCount;
        nPairs = call.pairs.nCount;

        const bool bSecondSet = call.second.nBase >= 1;
        nBase2 = bSecondSet ? call.second.nBase : call.first.nBase;
        nGain2 = bSecondSet ? call.second.nGain : call.first.nGain;
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
    const engine::CPixelCall& call;
    const engine::CRegion& rt;
    const engine::CHitArrays& hits;

    int64_t nPitchInt; ///< from the argument pitch: loop ends and bands
    int64_t nPitchFrac;
    int64_t nHop;    ///< distance at which the second hit is searched
    int64_t nCmpInt; ///< where the compare value is read; a row table changes it
    int64_t nCmpFrac;
    int64_t nBase2; ///< second threshold set; the first where none is in force
    int64_t nGain2;

    int64_t nHits;
    int64_t nPairs;

    // ---- reads ----

    int Pixel(int64_t x, int64_t y) const { return ReadPixel(call.image, x, y); }

    /// A sample of a strip: rows outside the strip count as 0.
    int StripPixel(int64_t x, int64_t y) const
    {
        if (v.bStrip && (y < rt.nTop || y >= rt.nBottom))
            return 0;
        return Pixel(x, y);
    }

    /// The value of row y at the compare position of column x.
    int CmpRowValue(int64_t x, int64_t y) const
    {
        if (!v.bShifted || call.nVtdPitch16 == 0)
            return StripPixel(x, y);
        const int64_t nShiftInt = call.nVtdPitch16 >> 4;
        const int64_t nShiftFrac = call.nVtdPitch16 & 15;
        const int64_t nNear = StripPixel(x + nShiftInt, y) * (16 - nShiftFrac);
        const int64_t nFar = nShiftFrac != 0 ? StripPixel(x + nShiftInt + 1, y) * nShiftFrac : 0;
        return static_cast<int>((nNear + nFar) >> 4);
    }

    /// q of a horizontal compare. nBlockX is the first column of the pixel's block of 16.
    uint16_t CmpHori(int64_t x, int64_t y, int64_t nBlockX) const
    {
        int64_t nPlace = x + nPitchInt;
        int64_t nNearWeight = 16 - nPitchFrac;
        int64_t nFarWeight = nPitchFrac;
        if (v.bConvTable)
        {
            const int64_t nColumn = FloorTo16(nBlockX);
            nPlace = x + static_cast<int16_t>(call.pConvPitchTable[nColumn]);
            nNearWeight = call.pConvWeightNear[nColumn + (x - nBlockX) % 8];
            nFarWeight = call.pConvWeightFar[nColumn + (x - nBlockX) % 8];
        }
        const int64_t nNear = nNearWeight != 0 ? Pixel(nPlace, y) * nNearWeight : 0;
        const int64_t nFar = nFarWeight != 0 ? Pixel(nPlace + 1, y) * nFarWeight : 0;
        return static_cast<uint16_t>(Low16(nNear + nFar) >> 4);
    }

    uint16_t CmpVert(int64_t x, int64_t y) const
    {
        const int64_t nNear = CmpRowValue(x, y + nCmpInt) * (16 - nCmpFrac);
        const int64_t nFar = nCmpFrac != 0 ? CmpRowValue(x, y + nCmpInt + 1) * nCmpFrac : 0;
        return static_cast<uint16_t>(Low16(nNear + nFar) >> 4);
    }

    // ---- comparison ----

    static int16_t LaneThreshold(uint16_t nGrayMax, int64_t nBase, int64_t nGain)
    {
        return Signed16((Low16(int64_t{nGrayMax} * Low16(nGain)) >> 8) + Low16(nBase));
    }

    /// Compares one source pixel with q and notes a hit.
    void Compare(int64_t x, int64_t y, uint16_t q)
    {
        if (v.bMasked && call.pMask != nullptr &&
            ReadPixel({call.pMask, call.image.nStride, call.image.nRows}, x, y) == 0)
            return;

        const uint16_t nLimit = Low16(call.nGrayLimit);
        const uint16_t nSrc = std::min(Low16(Pixel(x, y)), nLimit);
        const uint16_t nCmp = std::min(q, nLimit);
        const uint16_t nGrayMax = std::max(nSrc, nCmp);

        int16_t nThresholdHit = LaneThreshold(nGrayMax, call.first.nBase, call.first.nGain);
        if (v.bSmallerOfTwo)
            nThresholdHit = std::min(nThresholdHit, LaneThreshold(nGrayMax, nBase2, nGain2));

        const int nDiff = nSrc - nCmp;
        if (!(Signed16(std::abs(nDiff)) > nThresholdHit))
            return;

        hits.pX[nHits] = static_cast<int>(x);
        hits.pY[nHits] = static_cast<int>(y);
        hits.pSrcGray[nHits] = nSrc;
        hits.pCmpGray[nHits] = nCmp;
        hits.pZoneIndex[nHits] = 0;
        hits.pThreshold[nHits] = nThresholdHit;
        hits.pType[nHits] = nDiff > 0 ? 1 : 0;
        if (!v.bMember)
            hits.pPeak[nHits] = Signed16(std::abs(nDiff) - nThresholdHit);
        nHits++;
    }

    bool HitsAreFull() const { return nHits >= hits.nSize; }

    // ---- horizontal ----

    /// Columns from left that are compared: whole blocks of 16 that keep one pitch off the right side.
    int64_t ComparedWidth() const { return FloorTo16(rt.nRight - rt.nLeft - nPitchInt); }

    void WalkRows()
    {
        for (int64_t y = rt.nTop; y < rt.nBottom; y++)
        {
            CompareRow(y);
            if (!PairRow(y))
                return;
            nHits = 0;
        }
        *call.pEndLine = static_cast<int>(rt.nBottom + 1);
    }

    void CompareRow(int64_t y)
    {
        for (int64_t nBlockX = rt.nLeft; nBlockX < rt.nLeft + ComparedWidth(); nBlockX += nStripWidth)
            for (int64_t nHalfX = nBlockX; nHalfX < nBlockX + nStripWidth; nHalfX += nGroupWidth)
            {
                for (int64_t x = nHalfX; x < nHalfX + nGroupWidth; x++)
                    Compare(x, y, CmpHori(x, y, nBlockX));
                if (HitsAreFull())
                    return;
            }
    }

    /// @return false when the pair array is full
    bool PairRow(int64_t y)
    {
        const int64_t nLeftBandEnd = rt.nLeft + nPitchInt;
        const int64_t nRightBandStart = rt.nLeft + ComparedWidth() - nPitchInt;

        for (int64_t i = 0; i < nHits; i++)
        {
            if (nPairs >= call.pairs.nSize)
            {
                *call.pEndLine = static_cast<int>(y + 1);
                return false;
            }
            if (hits.pType[i] >= nTypeUnusable)
                continue;

            const int64_t x = hits.pX[i];
            const int64_t nTarget = x + nHop;
            const bool bLeftBand = x < nLeftBandEnd;
            if (!bLeftBand && x > nRightBandStart)
            {
                if (KeepsSingles())
                    WriteMirrored(i, nTarget, hits.pY[i]);
                continue;
            }

            int64_t nPartner = -1;
            for (int64_t j = i + 1; j < nHits && hits.pX[j] <= nTarget; j++)
            {
                if (hits.pX[j] == nTarget && hits.pType[j] < nTypeUnusable && hits.pType[j] != hits.pType[i])
                {
                    nPartner = j;
                    break;
                }
            }

            if (nPartner >= 0)
                WritePair(nPartner, nTarget, hits.pY[i], bLeftBand ? DefectPos_First : DefectPos_Middle);
            else if (bLeftBand && KeepsSingles())
                WriteFirstSingle(i);
        }
        return true;
    }

    // ---- vertical ----

    /// Rows that the row loop and the bottom band keep off the bottom, beyond the pitch.
    int64_t RowsLess() const { return v.bStrip ? 2 : 1; }

    void WalkStrips()
    {
        const int64_t nStripsEnd = rt.nLeft + FloorTo16(rt.nRight - rt.nLeft);
        int64_t x = rt.nLeft;
        while (x < nStripsEnd)
        {
            const int64_t nStripX = x;
            x += nStripWidth + CompareStrip(nStripX);
            if (!PairStrip(nStripX))
                return;
            nHits = 0;
        }
        if (v.bWritesEndLine)
            *call.pEndLine = static_cast<int>(x + nStripWidth);
    }

    /// Compares the 16 columns from x on. @return how much further the next strip starts: 0, or 8 or 16 when the left
    /// or the right half filled the hit arrays
    int64_t CompareStrip(int64_t x)
    {
        for (int64_t y = rt.nTop; y < rt.nBottom - nPitchInt - RowsLess(); y++)
        {
            if (v.bRowTable && call.pScanPitchTable != nullptr)
            {
                const int64_t nPitch16 = call.pScanPitchTable[rt.nTop / 16 + (y - rt.nTop) / 16];
                nCmpInt = nPitch16 >> 4;
                nCmpFrac = nPitch16 & 15;
            }
            for (int64_t nHalf = 0; nHalf < nStripWidth; nHalf += nGroupWidth)
            {
                for (int64_t k = nHalf; k < nHalf + nGroupWidth; k++)
                    Compare(x + k, y, CmpVert(x + k, y));
                if (HitsAreFull())
                    return nHalf + nGroupWidth;
            }
        }
        return 0;
    }

    /// @return false when the pair array is full
    bool PairStrip(int64_t nStripX)
    {
        const int64_t nTopBandEnd = rt.nTop + nPitchInt;
        const int64_t nBottomBandStart = rt.nBottom - 2 * nPitchInt - RowsLess();

        for (int64_t i = 0; i < nHits; i++)
        {
            if (nPairs >= call.pairs.nSize)
            {
                if (v.bWritesEndLine)
                    *call.pEndLine = static_cast<int>(nStripX + nStripWidth);
                return false;
            }
            if (hits.pType[i] >= nTypeUnusable)
                continue;

            const int64_t y = hits.pY[i];
            const int64_t nTarget = y + nHop;
            const bool bTopBand = y < nTopBandEnd;
            if (!bTopBand && y > nBottomBandStart)
            {
                if (KeepsSingles())
                    WriteMirrored(i, hits.pX[i], nTarget);
                continue;
            }

            int64_t nFound = -1; // the first hit of the target row in the same column, of any polarity
            for (int64_t j = i + 1; j < nHits && hits.pY[j] <= nTarget; j++)
            {
                if (hits.pY[j] == nTarget && hits.pX[j] == hits.pX[i])
                {
                    nFound = j;
                    break;
                }
            }

            if (nFound >= 0)
            {
                if (hits.pType[nFound] < nTypeUnusable && hits.pType[nFound] != hits.pType[i])
                    WritePair(nFound, hits.pX[nFound], hits.pY[nFound], bTopBand ? DefectPos_First : DefectPos_Middle);
            }
            else if (bTopBand && KeepsSingles())
                WriteFirstSingle(i);
        }
        return true;
    }

    // ---- records ----

    bool KeepsSingles() const { return v.bSmallerOfTwo ? call.bKeepSingle == 1 : call.bKeepSingle != 0; }

    /// The record of a pair carries the partner's values; the partner is consumed.
    void WritePair(int64_t nPartner, int64_t x, int64_t y, DefectPos ePos)
    {
        const int nType = hits.pType[nPartner];
        if (!v.bSmallerOfTwo)
            hits.pType[nPartner] = nTypeConsumed; // even when a dark record is refused
        const bool bWritten =
            Write(nPartner, x, y, ePos, DefectPair_Paired, nType, hits.pSrcGray[nPartner], hits.pCmpGray[nPartner]);
        if (v.bSmallerOfTwo && bWritten)
            hits.pType[nPartner] = nTypeConsumed;
    }

    void WriteFirstSingle(int64_t i)
    {
        Write(i, hits.pX[i], hits.pY[i], DefectPos_First, DefectPair_Single, hits.pType[i], hits.pSrcGray[i],
              hits.pCmpGray[i]);
    }

    /// A hit of the last band represents its unseen partner: polarity flipped, values swapped.
    void WriteMirrored(int64_t i, int64_t x, int64_t y)
    {
        Write(i, x, y, DefectPos_Last, DefectPair_Single, (hits.pType[i] + 1) & 1, hits.pCmpGray[i], hits.pSrcGray[i]);
    }

    /// Judges and writes a record with the values of a hit. @return whether it was written
    bool Write(int64_t nHit, int64_t x, int64_t y, DefectPos ePos, DefectPair ePair, int nType, int nSrc, int nCmp)
    {
        const int nX = static_cast<int>(x);
        const int nY = static_cast<int>(y);
        if (v.bDeadZones && call.pParam != nullptr && IsInDeadZone(*call.pParam, nX, nY))
            return false;
        if (v.bSmallerOfTwo && !PassesItsSet(nHit, nSrc, nCmp))
            return false;
        if (v.bDarkRetest && call.second.nBase > 0 && nType == 0 && !PassesDarkRetest(nHit))
            return false;

        CDefectPair& pair = call.pairs.At(nPairs);
        pair.nDefectPos = ePos;
        pair.nDefectPair = ePair;
        pair.nDefectType = nType;
        pair.ptDefect.x = nX;
        pair.ptDefect.y = nY;
        pair.nSrcGray = nSrc;
        pair.nCmpGray = nCmp;
        pair.nZoneIndex = hits.pZoneIndex[nHit];
        pair.nThreshold = hits.pThreshold[nHit];
        if (!v.bMember)
            pair.nPeak = hits.pPeak[nHit];
        if (v.bRecordPeak)
            pair.nPeak = std::abs(nSrc - nCmp) - hits.pThreshold[nHit];
        nPairs++;
        return true;
    }

    /// Bright records are judged by the first set, dark ones by the second; the hit takes the threshold either way.
    bool PassesItsSet(int64_t nHit, int nSrc, int nCmp)
    {
        const int nThreshold = nSrc <= nCmp ? Wrap32(Wrap32(nCmp * nGain2) / 256 + nBase2)
                                            : Wrap32(Wrap32(nSrc * call.first.nGain) / 256 + call.first.nBase);
        hits.pThreshold[nHit] = nThreshold;
        return std::abs(nSrc - nCmp) > nThreshold;
    }

    /// The second set can only narrow what the first let through; threshold and peak of a hit that passes follow it.
    bool PassesDarkRetest(int64_t nHit)
    {
        const int nLarger = std::max(hits.pSrcGray[nHit], hits.pCmpGray[nHit]);
        const int nThreshold = Wrap32((Wrap32(nLarger * call.second.nGain) >> 8) + call.second.nBase);
        const int16_t nMagnitude = Signed16(int64_t{hits.pThreshold[nHit]} + hits.pPeak[nHit]);
        if (Signed16(nThreshold) >= nMagnitude)
            return false;
        hits.pThreshold[nHit] = nThreshold;
        hits.pPeak[nHit] = Signed16(int64_t{nMagnitude} - nThreshold);
        return true;
    }
};

} // namespace

int RunPixelKernel(PixelKernel eKernel, const engine::CPixelCall& call)
{
    const CVariant v = VariantOf(eKernel);
    if (!v.bOwnHits)
        return CPixelReference(v, call, call.hits).Run();

    const int64_t nRows = std::max<int64_t>(call.region.nBottom - call.region.nTop, 0);
    const std::size_t nMost = static_cast<std::size_t>(nRows * nStripWidth); // every pixel of a strip
    std::vector<int> aX(nMost), aY(nMost), aSrc(nMost), aCmp(nMost), aZone(nMost), aThreshold(nMost);
    std::vector<short> aType(nMost), aPeak(nMost);
    engine::CHitArrays hits;
    hits.nSize = std::numeric_limits<int64_t>::max();
    hits.pX = aX.data();
    hits.pY = aY.data();
    hits.pType = aType.data();
    hits.pPeak = aPeak.data();
    hits.pSrcGray = aSrc.data();
    hits.pCmpGray = aCmp.data();
    hits.pZoneIndex = aZone.data();
    hits.pThreshold = aThreshold.data();
    return CPixelReference(v, call, hits).Run();
}

} // namespace narvo::test::reference
