// SPDX-License-Identifier: MIT
// The pair filters: each compares a pair's pixel once more with another reference and returns 1 when the pair is real,
// 0 when it is false. The walks mark false pairs; nothing is deleted here.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "narvoassem/base/pixel_read.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/pairstorage.h"
#include "narvoassem/storage/filters/convolution_difference.h"
#include "narvoassem/storage/filters/filter_walk.h"

using namespace narvo::engine;

namespace narvo::engine
{

namespace
{

enum class EAxis
{
    X,
    Y
};

bool IsPixelInspection(const CConvParam& param)
{
    return param.nInspectMode == 1;
}

// The limit of a pixel inspection: from the zone tables where both of the pair's polarity are given, otherwise the
// pair's own.
int GetPixelLimit(const CConvParam& param, const CDefectPair& pair)
{
    const bool bBright = pair.nDefectType == DefectType_Bright;
    const bool bTables = param.pFilterOffset != nullptr &&
                         (bBright ? param.pFilterOffset1 : param.pFilterOffset) != nullptr &&
                         (bBright ? param.pFilterGain1 : param.pFilterGain) != nullptr;
    if (!bTables || pair.nZoneIndex < 0 || pair.nZoneIndex >= CConvParam::nZoneLimit)
        return pair.nThreshold;
    return param.GetFilterThreshold(pair.nZoneIndex, std::max(pair.nSrcGray, pair.nCmpGray),
                                    static_cast<DefectType>(pair.nDefectType));
}

// nAdd raises the threshold: per pixel, so that a window's limit takes it once for each of its pixels.
int GetLimit(const CConvParam& param, const CDefectPair& pair, int nAdd)
{
    if (IsPixelInspection(param))
        return WrapAdd(GetPixelLimit(param, pair), nAdd);
    return WrapMul(WrapMul(WrapAdd(pair.nThreshold, nAdd), param.nConvWidth), param.nConvHeight);
}

int GetValue(const CConvParam& param, EAxis eAxis, int x, int y, double dPitch)
{
    const CNarvoBufferSudo view(param.pImage, param.nImageWidth, param.nImageHeight);
    if (IsPixelInspection(param))
        return TruncateToInt(eAxis == EAxis::X ? ConvDiffHori1x1(view, x, y, dPitch)
                                               : ConvDiffVert1x1(view, x, y, dPitch));
    return TruncateToInt(eAxis == EAxis::X ? ConvDiffHori2x2(view, x, y, dPitch) : ConvDiffVert2x2(view, x, y, dPitch));
}

int Exceeds(int nValue, int nLimit)
{
    return std::abs(static_cast<std::int64_t>(nValue)) > nLimit ? 1 : 0;
}

int TestAcross(const CConvParam& param, const CDefectPair& pair, EAxis eAxis, double dPitch)
{
    return Exceeds(GetValue(param, eAxis, pair.ptDefect.x, pair.ptDefect.y, dPitch), GetLimit(param, pair, 0));
}

// dPitch reversed when its whole pixels, started at nPos, come within nReach of nEnd.
double TurnAtEnd(double dPitch, int nPos, int nReach, int nEnd)
{
    return static_cast<std::int64_t>(nPos) + TruncateToInt(dPitch) + nReach >= nEnd ? -dPitch : dPitch;
}

// Where and how far a pair of an edge band is tested.
struct SEdgeTest
{
    int nPos;      ///< position along the axis of the source block
    double dPitch; ///< distance of the reference
    int nAdd;      ///< added to the threshold
    int nSign;     ///< -1 where the reference block represents the pair's own pixel
};

// The compare of an edge band looked one way only; the test looks the other way past the pair, or, where the span has
// no room for that, back again at a raised threshold. Returns false for the middle band.
bool FindEdgeTest(const CConvParam& param, int nDefectPos, int nPos, double dPitch, int nSpanStart, int nSpanEnd,
                  SEdgeTest& test)
{
    test = {nPos, dPitch, 0, 1};
    if (nDefectPos == DefectPos_Last)
    {
        if (nPos + dPitch + 3.0 > nSpanEnd)
        {
            test.dPitch = -dPitch;
            test.nAdd = param.nThresholdExtra;
        }
        return true;
    }
    if (nDefectPos != DefectPos_First)
        return false;
    test.nSign = -1;
    if (nSpanStart > nPos - dPitch - 3.0)
    {
        test.nPos = TruncateToInt(nPos + dPitch + 0.5);
        test.dPitch = -dPitch;
        test.nAdd = param.nThresholdExtra;
    }
    else
        test.nPos = WrapSub(nPos, TruncateToInt(dPitch + 0.5));
    return true;
}

/// A jump filter along y after the margin filter.
int JumpAlongY(const CConvParam& param, const CDefectPair& pair)
{
    const CRect& rtInspect = param.rtInspect;
    const int y = pair.ptDefect.y;
    const double dPitch = TurnAtEnd(2.0 * param.GetRealScanPitch(), y, 1, rtInspect.bottom);
    const int nTarget = TruncateToInt(y + dPitch);
    // A jump beyond the region keeps the pair here, and removes it along x.
    if (nTarget < rtInspect.top || nTarget > rtInspect.bottom)
        return 1;
    return TestAcross(param, pair, EAxis::Y, dPitch);
}

/// A cross filter along x after the margin filter.
int CrossAlongX(const CConvParam& param, const CDefectPair& pair)
{
    const double dPitch = param.GetRealConvPitch();
    if (2.0 * dPitch > param.rtInspect.Width())
        return JumpAlongY(param, pair);
    return TestAcross(param, pair, EAxis::X, TurnAtEnd(dPitch, pair.ptDefect.x, 1, param.rtInspect.right));
}

void FilterAll(CPairStorage& store, bool bVertical)
{
    for (int i = 0; i < store.nPairCount; ++i)
        if (!AskPairFilters(store, store.pPair[i], bVertical))
            store.pPair[i].nDefectType = DefectType_Removed;
}

} // namespace

bool AskPairFilters(CPairStorage& store, CDefectPair& pair, bool bVertical, CFilterTrail* pTrail)
{
    const CConvParam& param = store.ConvParam;
    const bool bFalseFilter = param.bFalseFilter != 0;
    const bool bAsked = param.nFilterMode2 == 1 || pair.nDefectPair == DefectPair_Single;
    // Without the false filter a vertical build applies only the margin filter, to every pair.
    if (bFalseFilter ? !bAsked : !bVertical)
        return true;
    const auto ask = [pTrail](PairFilter eFilter, int bStands)
    {
        if (pTrail != nullptr)
            pTrail->answers[pTrail->nCount++] = {eFilter, bStands != 0};
        return bStands != 0;
    };
    if (!ask(PairFilter::Margin, bVertical ? store.OneFilter_Vert(&pair) : store.MarginFilter_Hori(&pair)))
        return false;
    if (!bFalseFilter)
        return true;
    if (param.nFilterMode == 1)
        return ask(PairFilter::Jump, bVertical ? JumpAlongY(param, pair) : store.JumpFilter_Hori(&pair));
    return ask(PairFilter::Cross, bVertical ? CrossAlongX(param, pair) : store.CrossFilter_Vert(&pair));
}

} // namespace narvo::engine

void CPairStorage::CorrectDefGray()
{
    if (ConvParam.pImage == nullptr)
        return;
    const CPixelReader reader(ConvParam);
    constexpr int nAhead = 16; // pairs lie far apart: each is a miss of its own
    for (int i = 0; i < nPairCount; ++i)
    {
        if (i + nAhead < nPairCount)
            reader.Prefetch(pPair[i + nAhead].ptDefect.x, pPair[i + nAhead].ptDefect.y);
        CDefectPair& pair = pPair[i];
        pair.nPeak = WrapSub(WrapAbs(WrapSub(pair.nSrcGray, pair.nCmpGray)), WrapAbs(pair.nThreshold));
        pair.nSrcGray = reader.Read(pair.ptDefect.x, pair.ptDefect.y);
    }
}

void CPairStorage::Filtering_Vert()
{
    FilterAll(*this, true);
}

void CPairStorage::Filtering_Hori()
{
    FilterAll(*this, false);
}

void CPairStorage::Filtering_Vert_Temp()
{
}

int CPairStorage::CrossFilter_Hori(CDefectPair* pDefect)
{
    return OneFilter_Vert(pDefect) != 0 ? CrossAlongX(ConvParam, *pDefect) : 0;
}

int CPairStorage::CrossFilter_Vert(CDefectPair* pDefect)
{
    const double dPitch = ConvParam.GetRealScanPitch();
    if (2.0 * dPitch > ConvParam.rtInspect.Height())
        return JumpFilter_Hori(pDefect);
    return TestAcross(ConvParam, *pDefect, EAxis::Y,
                      TurnAtEnd(dPitch, pDefect->ptDefect.y, 2, ConvParam.rtInspect.bottom));
}

int CPairStorage::JumpFilter_Hori(CDefectPair* pDefect)
{
    const CRect& rtInspect = ConvParam.rtInspect;
    const int x = pDefect->ptDefect.x;
    const double dPitch = TurnAtEnd(2.0 * ConvParam.GetRealConvPitch(), x, 1, rtInspect.right);
    const int nTarget = TruncateToInt(x + dPitch);
    if (nTarget < rtInspect.left || nTarget > rtInspect.right)
        return 0;
    return TestAcross(ConvParam, *pDefect, EAxis::X, dPitch);
}

int CPairStorage::JumpFilter_Vert(CDefectPair* pDefect)
{
    return OneFilter_Vert(pDefect) != 0 ? JumpAlongY(ConvParam, *pDefect) : 0;
}

int CPairStorage::JumpFilter_Vert2by2(CDefectPair* pDefect, CRect rtArea)
{
    const int y = pDefect->ptDefect.y;
    const double dPitch = TurnAtEnd(2.0 * ConvParam.GetRealScanPitch(), y, 2, rtArea.bottom);
    if (rtArea.top > y + dPitch - 2.0 || y + dPitch + 2.0 > rtArea.bottom)
        return 1;
    const CNarvoBufferSudo view(ConvParam.pImage, ConvParam.nImageWidth, ConvParam.nImageHeight);
    const int nLimit = WrapMul(WrapMul(pDefect->nThreshold, ConvParam.nConvWidth), ConvParam.nConvHeight);
    return Exceeds(TruncateToInt(ConvDiffVert2x2(view, pDefect->ptDefect.x, y, dPitch)), nLimit);
}

int CPairStorage::MarginFilter_Hori(CDefectPair* pDefect)
{
    if (ConvParam.bMarginFilter == 0)
        return 1;
    const bool bFrame = ConvParam.rtMarginFrame.Height() >= 1;
    const int nSpanStart = bFrame ? ConvParam.rtMarginFrame.left : 0;
    const int nSpanEnd = bFrame ? ConvParam.rtMarginFrame.right : ConvParam.nImageWidth;
    SEdgeTest test;
    if (!FindEdgeTest(ConvParam, pDefect->nDefectPos, pDefect->ptDefect.x, ConvParam.GetRealConvPitch(), nSpanStart,
                      nSpanEnd, test))
        return 1;

    const std::int64_t nLimit = GetLimit(ConvParam, *pDefect, test.nAdd);
    const std::int64_t nValue = static_cast<std::int64_t>(test.nSign) *
                                GetValue(ConvParam, EAxis::X, test.nPos, pDefect->ptDefect.y, test.dPitch);
    return (pDefect->nDefectType != DefectType_Dark ? nValue : -nValue) > nLimit ? 1 : 0;
}

int CPairStorage::OneFilter_Vert(CDefectPair* pDefect)
{
    const int y = pDefect->ptDefect.y;
    const CRect& rtSpan = ConvParam.rtMarginFrame.Height() >= 1 ? ConvParam.rtMarginFrame : ConvParam.rtInspect;
    const double dPitch = ConvParam.pScanPitchTable != nullptr
                              ? ReadPer16(ConvParam.pScanPitchTable, y, ConvParam.nImageHeight) / 16.0
                              : ConvParam.GetRealScanPitch();
    SEdgeTest test;
    if (!FindEdgeTest(ConvParam, pDefect->nDefectPos, y, dPitch, rtSpan.top, rtSpan.bottom, test))
        return 1;
    return Exceeds(GetValue(ConvParam, EAxis::Y, pDefect->ptDefect.x, test.nPos, test.dPitch),
                   GetLimit(ConvParam, *pDefect, test.nAdd));
}

void CPairStorage::ShadowFly()
{
    for (int i = 0; i < nPairCount; ++i)
    {
        if (pPair[i].nDefectPair == DefectPair_Single)
            pPair[i].nDefectType = DefectType_Removed;
    }
}

int CPairStorage::FalseFilter_Vert()
{
    return 0;
}

int CPairStorage::FalseFilter_Hori()
{
    return 0;
}
