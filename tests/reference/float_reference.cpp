// SPDX-License-Identifier: MIT
// Plain scalar float kernels. Speed does not matter here; every rule is where a reader would look for it.
#include "reference/float_reference.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "reference/scalar.h"

namespace narvo::test::reference
{
namespace
{

using std::int16_t;
using std::int64_t;
using std::uint16_t;

/// What distinguishes a kernel.
struct CVariant
{
    int nArea = 4;
    bool bHorizontal = false;
    bool bConvTable = false; ///< displacement and weights per 16 columns
    bool bVtd = false;       ///< reference displaced along x, row table
    bool bMember = false;    ///< smaller of two thresholds, dead zones, each record judged by its polarity's set
    bool bRegion = false;    ///< region form: singles always, and each must pass the jump filter
};

CVariant VariantOf(FloatKernel eKernel)
{
    CVariant v;
    switch (eKernel)
    {
    case FloatKernel::Hori4:
        v.bHorizontal = true;
        break;
    case FloatKernel::Hori6:
        v.bHorizontal = true;
        v.nArea = 6;
        break;
    case FloatKernel::Hori9:
        v.bHorizontal = true;
        v.nArea = 9;
        break;
    case FloatKernel::HoriTable4:
        v.bHorizontal = true;
        v.bConvTable = true;
        break;
    case FloatKernel::HoriTable6:
        v.bHorizontal = true;
        v.bConvTable = true;
        v.nArea = 6;
        break;
    case FloatKernel::Vert4:
        break;
    case FloatKernel::Vert6:
        v.nArea = 6;
        break;
    case FloatKernel::Vert9:
        v.nArea = 9;
        break;
    case FloatKernel::Vtd:
        v.bVtd = true;
        break;
    case FloatKernel::VertIntrin:
        v.bMember = true;
        break;
    case FloatKernel::VtdIntrin:
        v.bMember = true;
        v.bVtd = true;
        break;
    case FloatKernel::VertRegion:
        v.bMember = true;
        v.bRegion = true;
        break;
    case FloatKernel::Count:
        break;
    }
    return v;
}

/// Smallest quantity of the lanes: a grey level is this many units.
int UnitsPerGrey(int nArea)
{
    return 16 * nArea;
}

/// Differences of two unsigned lanes, stopped at 0.
uint16_t Above(uint16_t a, uint16_t b)
{
    return a > b ? static_cast<uint16_t>(a - b) : uint16_t{0};
}

class CFloatReference
{
public:
    CFloatReference(const CVariant& variant, const engine::CFloatCall& floatCall,
                    const std::function<int(CDefectPair*, CRect)>& fnJump, const CRect& rtJump)
        : v(variant), call(floatCall), rt(floatCall.region), hits(floatCall.hits), fnJumpFilter(fnJump),
          rtJumpArea(rtJump)
    {
        nPitchInt = call.nPitch16 >> 4;
        nPitchFrac = call.nPitch16 & 15;
        nHop = nPitchInt + (nPitchFrac >= 8 ? 1 : 0);
        nCmpInt = nPitchInt;
        nCmpFrac = nPitchFrac;
        nHits = hits.nCount;
        nPairs = call.pairs.nCount;

        nBase2 = call.first.nBase;
        nGain2 = call.first.nGain;
        if (v.bMember && call.pParam->nBlackFilterGray >= 1)
        {
            nBase2 = int64_t{call.pParam->nBlackFilterGray} * 4; // grey levels to quarters
            nGain2 = call.pParam->nBlackFilterGain;
        }
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
    const engine::CFloatCall& call;
    const engine::CRegion& rt;
    const engine::CHitArrays& hits;
    const std::function<int(CDefectPair*, CRect)>& fnJumpFilter;
    const CRect rtJumpArea;

    int64_t nPitchInt; ///< from the argument pitch: loop ends and bands
    int64_t nPitchFrac;
    int64_t nHop;    ///< distance at which the second hit is searched
    int64_t nCmpInt; ///< where the compare window starts; a row table changes it
    int64_t nCmpFrac;
    int64_t nLastEntry = 0; ///< of the row table, for the whole call
    int64_t nBase2;
    int64_t nGain2;

    int64_t nHits;
    int64_t nPairs;

    int Pixel(int64_t x, int64_t y) const { return ReadPixel(call.image, x, y); }

    // ---- comparison of two windows ----

    /// Threshold of a comparison on the lanes' scale.
    int16_t LaneThreshold(uint16_t s, uint16_t c, int64_t nBase, int64_t nGain) const
    {
        if (v.nArea == 4)
        {
            const uint16_t nMean = static_cast<uint16_t>(std::max(s, c) >> 6);
            const int nScaled = Low16(int64_t{nMean} * Low16(nGain)) >> 8;
            const int nBaseGrey = Low16(nBase * 16) >> 6;
            return Signed16(int64_t{Low16(nScaled + nBaseGrey)} << 6);
        }
        // The gain applies to the source alone, on three quarters of its mean.
        const int nScaled = Low16(int64_t{s >> 7} * Low16(nGain)) >> 8;
        const int64_t nSum = nScaled + nBase / v.nArea;
        return Signed16((nSum * v.nArea) << 4);
    }

    int16_t PeakOf(uint16_t nDifference) const
    {
        const int nSigned = static_cast<int16_t>(nDifference);
        return static_cast<int16_t>(v.nArea == 4 ? nSigned >> 6 : nSigned / UnitsPerGrey(v.nArea));
    }

    /// One pixel's two windows as 16-bit lanes, before the limit.
    struct CWindows
    {
        uint16_t nSource = 0;
        uint16_t nCompare = 0;
    };

    /// Compares a group of 8 pixels from x on in row y: first the lanes whose compare window is the brighter, then
    /// those whose source window is. fnWindows gives the windows of lane k.
    template <typename TWindows>
    void CompareGroup(int64_t x, int64_t y, const TWindows& fnWindows)
    {
        const uint16_t nLimit = Low16(call.nGrayLimit * UnitsPerGrey(v.nArea));
        for (int nPolarity = 0; nPolarity < 2; nPolarity++)
        {
            for (int64_t k = 0; k < nGroupWidth; k++)
            {
                const CWindows windows = fnWindows(k);
                const uint16_t s = std::min(windows.nSource, nLimit);
                const uint16_t c = std::min(windows.nCompare, nLimit);
                int16_t t = LaneThreshold(s, c, call.first.nBase, call.first.nGain);
                if (v.bMember)
                    t = std::min(t, LaneThreshold(s, c, nBase2, nGain2));

                const uint16_t nDifference = nPolarity == 0 ? Above(c, s) : Above(s, c);
                if (!(static_cast<int16_t>(nDifference) > t))
                    continue;
                hits.pX[nHits] = static_cast<int>(x + k);
                hits.pY[nHits] = static_cast<int>(y);
                hits.pType[nHits] = static_cast<short>(nPolarity);
                hits.pPeak[nHits] = PeakOf(nDifference);
                hits.pSrcGray[nHits] = s;
                hits.pCmpGray[nHits] = c;
                hits.pThreshold[nHits] = t;
                nHits++;
            }
        }
    }

    bool HitsAreFull() const { return nHits >= hits.nSize; }

    // ---- horizontal ----

    /// End of the compared columns, counted from left.
    int64_t ComparedWidth() const { return FloorTo8(FloorTo16(rt.nRight - rt.nLeft) - nPitchInt - 1); }

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

    /// Sum down the lines of a row's window at column x; sums beyond those that a row forms count as 0.
    int64_t DownSum(int64_t x, int64_t y) const
    {
        const int64_t nFormed = ((rt.nRight - rt.nLeft) / 16 + 1) * 16;
        if (x < rt.nLeft || x >= rt.nLeft + nFormed)
            return 0;
        const int nLines = v.nArea == 9 ? 3 : 2;
        int64_t nSum = 0;
        for (int nLine = 0; nLine < nLines; nLine++)
            nSum += Pixel(x, y + nLine);
        return nSum;
    }

    void CompareRow(int64_t y)
    {
        for (int64_t nGroupX = rt.nLeft; nGroupX < rt.nLeft + ComparedWidth(); nGroupX += nGroupWidth)
        {
            const int64_t nBlockX = rt.nLeft + FloorTo16(nGroupX - rt.nLeft);
            CompareGroup(nGroupX, y, [&](int64_t k) { return HoriWindows(nGroupX + k, y, k, nBlockX); });
            if (HitsAreFull())
                return;
        }
    }

    CWindows HoriWindows(int64_t x, int64_t y, int64_t k, int64_t nBlockX) const
    {
        int64_t nPlace = x + nPitchInt;
        int64_t nNearWeight = 16 - nPitchFrac;
        int64_t nFarWeight = nPitchFrac;
        if (v.bConvTable)
        {
            const int64_t nColumn = FloorTo16(nBlockX);
            nPlace = x + call.pConvPitchTable[nColumn];
            nNearWeight = call.pConvWeightNear[nColumn + k];
            nFarWeight = call.pConvWeightFar[nColumn + k];
        }

        const int64_t nMiddle = 16 * DownSum(nPlace + 1, y);
        if (v.nArea == 4)
            return {Low16(16 * (DownSum(x, y) + DownSum(x + 1, y))),
                    Low16(nNearWeight * DownSum(nPlace, y) + nMiddle + nFarWeight * DownSum(nPlace + 2, y))};
        return {Low16(16 * (DownSum(x, y) + DownSum(x + 1, y) + DownSum(x + 2, y))),
                Low16(nNearWeight * DownSum(nPlace, y) + nMiddle + 16 * DownSum(nPlace + 2, y) +
                      nFarWeight * DownSum(nPlace + 3, y))};
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
            else if (bLeftBand)
                WriteFirstSingle(i);
        }
        return true;
    }

    // ---- vertical ----

    /// Strips of 16 columns. A cut strip leaves x at the start of the half that was cut while the image moves on by
    /// 16, so positions lag behind the image from there on.
    void WalkStrips()
    {
        const int64_t nStripsEnd = rt.nLeft + FloorTo16(rt.nRight - rt.nLeft);
        int64_t x = rt.nLeft;
        int64_t nImageX = rt.nLeft;
        while (x < nStripsEnd)
        {
            const int64_t nStripX = x;
            x += CompareStrip(nStripX, nImageX);
            if (!PairStrip(nStripX))
                return;
            nHits = 0;
            if (x == nStripX && nImageX >= call.image.nStride)
                break; // past the end of the image's row without having advanced by a column
            nImageX += nStripWidth;
        }
        *call.pEndLine = static_cast<int>(x + nStripWidth);
    }

    /// Compares 16 image columns from nImageX on, noted from x on. @return columns finished: 16, or 0 or 8 when the
    /// left or the right half filled the hit arrays
    int64_t CompareStrip(int64_t x, int64_t nImageX)
    {
        for (int64_t nHalf = 0; nHalf < nStripWidth; nHalf += nGroupWidth)
            for (int64_t y = rt.nTop; y < rt.nBottom - nPitchInt - 2; y++)
            {
                ReadRowTable(y);
                CompareGroup(x + nHalf, y, [&](int64_t k) { return VertWindows(nImageX + nHalf + k, y); });
                if (HitsAreFull())
                    return nHalf;
            }
        return nStripWidth;
    }

    void ReadRowTable(int64_t y)
    {
        if (!v.bVtd || call.pScanPitchTable == nullptr)
            return;
        const int64_t nEntry = call.pScanPitchTable[y >> 4];
        if (nEntry == nLastEntry)
            return;
        nLastEntry = nEntry;
        nCmpInt = nEntry >> 4;
        nCmpFrac = nEntry & 15;
    }

    /// The buffers hold the rows of the rectangle; any other row counts as 0.
    bool IsFilled(int64_t y) const { return rt.nTop <= y && y < rt.nBottom; }

    int64_t AcrossSum(int64_t x, int64_t y) const
    {
        if (!IsFilled(y))
            return 0;
        return Pixel(x, y) + Pixel(x + 1, y) + (v.nArea == 9 ? Pixel(x + 2, y) : 0);
    }

    /// Sum across in the compare position, displaced along the row.
    int64_t CmpAcrossSum(int64_t x, int64_t y) const
    {
        if (!v.bVtd)
            return AcrossSum(x, y);
        if (!IsFilled(y))
            return 0;
        const int64_t nShiftInt = call.nVtdPitch16 >> 4;
        const int64_t nShiftFrac = call.nVtdPitch16 & 15;
        const int64_t nPlace = x + nShiftInt;
        const int64_t nFar = nShiftFrac != 0 ? Pixel(nPlace + 2, y) * nShiftFrac : 0;
        return ((Pixel(nPlace, y) * (16 - nShiftFrac) + nFar) >> 4) + Pixel(nPlace + 1, y);
    }

    CWindows VertWindows(int64_t x, int64_t y) const
    {
        const int64_t f = nCmpFrac;
        if (v.nArea == 4)
        {
            const int64_t nPlace = y + nCmpInt;
            return {Low16(16 * (AcrossSum(x, y) + AcrossSum(x, y + 1))),
                    Low16((16 - f) * CmpAcrossSum(x, nPlace) + 16 * CmpAcrossSum(x, nPlace + 1) +
                          f * CmpAcrossSum(x, nPlace + 2))};
        }
        const int64_t nPlace = y - 1 + nCmpInt;
        return {Low16(16 * (AcrossSum(x, y - 1) + AcrossSum(x, y) + AcrossSum(x, y + 1))),
                Low16((16 - f) * CmpAcrossSum(x, nPlace) + 16 * CmpAcrossSum(x, nPlace + 1) +
                      16 * CmpAcrossSum(x, nPlace + 2) + f * CmpAcrossSum(x, nPlace + 3))};
    }

    /// @return false when the pair array is full
    bool PairStrip(int64_t nStripX)
    {
        const int64_t nTopBandEnd = rt.nTop + nPitchInt;
        const int64_t nBottomBandStart = rt.nBottom - 2 * nPitchInt - 2;

        for (int64_t i = 0; i < nHits; i++)
        {
            if (nPairs >= call.pairs.nSize)
            {
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

    bool KeepsSingles() const { return !v.bMember || v.bRegion || call.pParam->bKeepSingle != 0; }

    /// The record of a pair carries the partner's values; the partner is consumed when the record stands.
    void WritePair(int64_t nPartner, int64_t x, int64_t y, DefectPos ePos)
    {
        if (Write(nPartner, x, y, ePos, DefectPair_Paired, hits.pType[nPartner], hits.pSrcGray[nPartner],
                  hits.pCmpGray[nPartner]))
            hits.pType[nPartner] = nTypeConsumed;
    }

    void WriteFirstSingle(int64_t i)
    {
        if (Write(i, hits.pX[i], hits.pY[i], DefectPos_First, DefectPair_Single, hits.pType[i], hits.pSrcGray[i],
                  hits.pCmpGray[i]))
            FilterSingle();
    }

    /// A hit of the last band represents its unseen partner: polarity flipped, values swapped.
    void WriteMirrored(int64_t i, int64_t x, int64_t y)
    {
        if (Write(i, x, y, DefectPos_Last, DefectPair_Single, (hits.pType[i] + 1) & 1, hits.pCmpGray[i],
                  hits.pSrcGray[i]))
            FilterSingle();
    }

    void FilterSingle()
    {
        if (!v.bRegion)
            return;
        CDefectPair& pair = call.pairs.At(nPairs - 1);
        if (fnJumpFilter(&pair, rtJumpArea) == 0)
            pair.nDefectType = DefectType_Removed;
    }

    /// Judges and writes a record with the values of a hit. @return whether it was written
    bool Write(int64_t nHit, int64_t x, int64_t y, DefectPos ePos, DefectPair ePair, int nType, int nSrc, int nCmp)
    {
        const int nX = static_cast<int>(x);
        const int nY = static_cast<int>(y);
        if (v.bMember)
        {
            if (IsInDeadZone(*call.pParam, nX, nY))
                return false;
            const int nThreshold = nSrc <= nCmp ? Wrap32(Wrap32(nCmp * nGain2) / 256 + nBase2 * 16)
                                                : Wrap32(Wrap32(nSrc * call.first.nGain) / 256 + call.first.nBase * 16);
            hits.pThreshold[nHit] = nThreshold;
            if (std::abs(nSrc - nCmp) <= nThreshold)
                return false;
        }

        const int nUnits = UnitsPerGrey(v.nArea);
        CDefectPair& pair = call.pairs.At(nPairs);
        pair.nDefectPos = ePos;
        pair.nDefectPair = ePair;
        pair.nDefectType = nType;
        pair.nPeak = hits.pPeak[nHit];
        pair.ptDefect.x = nX;
        pair.ptDefect.y = nY;
        pair.nSrcGray = nSrc / nUnits;
        pair.nCmpGray = nCmp / nUnits;
        pair.nThreshold = hits.pThreshold[nHit] / nUnits;
        nPairs++;
        return true;
    }
};

// ---- the plain region form ----

class CFloatRegionPlain
{
public:
    explicit CFloatRegionPlain(const CFloatRegionCall& regionCall)
        : call(regionCall), param(*regionCall.pParam), rt(regionCall.rtRegion), hits(regionCall.hits)
    {
        const double dPitch = param.dScanPitch * param.nScanMultiple;
        nPitchInt = static_cast<int>(dPitch);
        nHop = static_cast<int>(dPitch + 0.5);
        dFar = dPitch - nPitchInt;
        dNear = 1.0 - dFar;

        nFillEnd = rt.bottom - 1;
        nScanEnd = nFillEnd - nPitchInt - 2;

        nBase2 = param.nThreshold;
        nGain2 = param.nThresholdGain;
        if (param.nBlackFilterGray >= 1)
        {
            nBase2 = param.nBlackFilterGray * 4;
            nGain2 = param.nBlackFilterGain;
        }
        nPairs = call.pairs.nCount;
    }

    int Run()
    {
        if (HasNoRoom())
            return static_cast<int>(nPairs);
        for (int x = rt.left; x < rt.right; x++)
        {
            nHits = 0;
            CompareColumn(x);
            if (!PairColumn())
            {
                *call.pEndLine = x + 1;
                return static_cast<int>(nPairs);
            }
        }
        *call.pEndLine = rt.right + 1;
        return static_cast<int>(nPairs);
    }

private:
    const CFloatRegionCall& call;
    const CConvParam& param;
    const CRect rt;
    const engine::CHitArrays& hits;

    int nPitchInt;
    int nHop;
    double dNear;
    double dFar;
    int nFillEnd; ///< across-sums exist for the rows above this one
    int nScanEnd; ///< rows compared end above this one
    int nBase2;
    int nGain2;
    int64_t nHits = 0;
    int64_t nPairs;

    bool HasNoRoom() const { return nPairs >= call.pairs.nSize - 1; }

    int AcrossSum(int x, int y) const
    {
        if (y < rt.top || y >= nFillEnd)
            return 0;
        const engine::CImageView image{param.pImage, param.nImageWidth, param.nImageHeight};
        return ReadPixel(image, x, y) + ReadPixel(image, x + 1, y);
    }

    void CompareColumn(int x)
    {
        const int nLimit = param.nGrayLimit * 4;
        for (int y = rt.top; y < nScanEnd; y++)
        {
            const int s = std::min(AcrossSum(x, y) + AcrossSum(x, y + 1), nLimit);
            const double dFirst = dNear * AcrossSum(x, y + nPitchInt);
            const double dLast = dFar * AcrossSum(x, y + nPitchInt + 2);
            const int c = std::min(static_cast<int>((dFirst + AcrossSum(x, y + nPitchInt + 1)) + dLast), nLimit);

            const int nLarger = std::max(s, c);
            const int t1 = Wrap32(Wrap32(int64_t{nLarger} * param.nThresholdGain) / 256 + int64_t{param.nThreshold});
            const int t2 = Wrap32(Wrap32(int64_t{nLarger} * nGain2) / 256 + int64_t{nBase2});
            const int t = std::min(t1, t2);
            const int nMagnitude = std::abs(s - c);
            if (!(t < nMagnitude))
                continue;

            hits.pX[nHits] = x;
            hits.pY[nHits] = y;
            hits.pSrcGray[nHits] = s;
            hits.pCmpGray[nHits] = c;
            hits.pThreshold[nHits] = t;
            hits.pPeak[nHits] = Signed16(int64_t{nMagnitude} - t);
            hits.pType[nHits] = s - c > 0 ? 1 : 0;
            nHits++;
            if (nHits >= hits.nSize - 1)
                return;
        }
    }

    /// @return false when the pair array is full
    bool PairColumn()
    {
        for (int64_t i = 0; i < nHits; i++)
        {
            if (hits.pType[i] >= nTypeUnusable)
                continue;
            const int y = hits.pY[i];
            const bool bTopBand = y < rt.top + nPitchInt;
            const bool bBottomBand = !bTopBand && y > nScanEnd - nPitchInt;
            if (bBottomBand)
            {
                if (WriteMirrored(i) && HasNoRoom())
                    return false;
            }
            else if (!(bTopBand ? PairTopHit(i) : PairMiddleHit(i)))
                return false;
        }
        return true;
    }

    /// The hit of the target row, or the first beyond it, or nHits.
    int64_t FindTarget(int64_t i) const
    {
        int64_t j = i + 1;
        while (j < nHits && hits.pY[j] < hits.pY[i] + nHop)
            j++;
        return j;
    }

    bool IsAtTarget(int64_t i, int64_t j) const { return j < nHits && hits.pY[j] == hits.pY[i] + nHop; }

    bool CanPair(int64_t i, int64_t j) const { return hits.pType[j] < nTypeUnusable && hits.pType[j] != hits.pType[i]; }

    bool PairMiddleHit(int64_t i)
    {
        const int64_t j = FindTarget(i);
        if (!IsAtTarget(i, j) || !CanPair(i, j))
            return true;
        return !(WritePair(j, DefectPos_Middle) && HasNoRoom());
    }

    /// After a written pair the search continues: a later hit, which lies beyond the target, gives a single as well.
    bool PairTopHit(int64_t i)
    {
        const int64_t j = FindTarget(i);
        if (IsAtTarget(i, j))
        {
            if (!CanPair(i, j))
                return true;
            if (WritePair(j, DefectPos_First))
            {
                if (HasNoRoom())
                    return false;
                const bool bLaterHit = j + 1 < nHits;
                if (!bLaterHit)
                    return true;
            }
        }
        return !(WriteFirstSingle(i) && HasNoRoom());
    }

    bool WritePair(int64_t j, DefectPos ePos)
    {
        if (!Write(j, hits.pY[j], ePos, DefectPair_Paired, hits.pType[j], hits.pSrcGray[j], hits.pCmpGray[j]))
            return false;
        hits.pType[j] = nTypeConsumed;
        return true;
    }

    bool WriteFirstSingle(int64_t i)
    {
        return Write(i, hits.pY[i], DefectPos_First, DefectPair_Single, hits.pType[i], hits.pSrcGray[i],
                     hits.pCmpGray[i]) &&
               FilterSingle();
    }

    bool WriteMirrored(int64_t i)
    {
        return Write(i, hits.pY[i] + nHop, DefectPos_Last, DefectPair_Single, (hits.pType[i] + 1) & 1, hits.pCmpGray[i],
                     hits.pSrcGray[i]) &&
               FilterSingle();
    }

    bool FilterSingle()
    {
        CDefectPair& pair = call.pairs.At(nPairs - 1);
        if (call.fnJumpFilter(&pair, rt) == 0)
            pair.nDefectType = DefectType_Removed;
        return true;
    }

    bool Write(int64_t nHit, int y, DefectPos ePos, DefectPair ePair, int nType, int nSrc, int nCmp)
    {
        const int t = nSrc <= nCmp
                          ? Wrap32(Wrap32(int64_t{nCmp} * nGain2) / 256 + int64_t{nBase2})
                          : Wrap32(Wrap32(int64_t{nSrc} * param.nThresholdGain) / 256 + int64_t{param.nThreshold});
        hits.pThreshold[nHit] = t;
        if (std::abs(nSrc - nCmp) <= t)
            return false;

        CDefectPair& pair = call.pairs.At(nPairs);
        pair.nDefectPos = ePos;
        pair.nDefectPair = ePair;
        pair.nDefectType = nType;
        pair.nPeak = hits.pPeak[nHit] / 4;
        pair.ptDefect.x = hits.pX[nHit];
        pair.ptDefect.y = y;
        pair.nSrcGray = nSrc / 4;
        pair.nCmpGray = nCmp / 4;
        pair.nThreshold = t / 4;
        nPairs++;
        return true;
    }
};

} // namespace

int RunFloatKernel(FloatKernel eKernel, const engine::CFloatCall& call)
{
    return CFloatReference(VariantOf(eKernel), call, nullptr, CRect()).Run();
}

int RunFloatRegionIntrin(const CFloatRegionCall& regionCall)
{
    const CConvParam& param = *regionCall.pParam;
    engine::CFloatCall call;
    call.image = {param.pImage, param.nImageWidth, param.nImageHeight};
    call.region = {regionCall.rtRegion.left, regionCall.rtRegion.top, regionCall.rtRegion.right,
                   regionCall.rtRegion.bottom};
    call.hits = regionCall.hits;
    call.hits.nCount = 0;
    call.pairs = regionCall.pairs;
    call.nPitch16 = static_cast<std::int64_t>(param.dScanPitch * param.nScanMultiple * 16.0 + 0.5);
    call.nGrayLimit = param.nGrayLimit;
    call.pEndLine = regionCall.pEndLine;
    call.pParam = &param;
    call.first.nBase = param.nThreshold;
    call.first.nGain = param.nThresholdGain;

    return CFloatReference(VariantOf(FloatKernel::VertRegion), call, regionCall.fnJumpFilter, regionCall.rtRegion)
        .Run();
}

int RunFloatRegionCpp(const CFloatRegionCall& call)
{
    return CFloatRegionPlain(call).Run();
}

} // namespace narvo::test::reference
