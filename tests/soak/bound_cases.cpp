// SPDX-License-Identifier: MIT
// See bound_cases.h. The order of the draws is part of the committed checksums: a change here changes them all.
#include "soak/bound_cases.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "narvoassem/fast/find/compare_pixel.h"
#include "narvoassem/fast/find/compare_sums.h"

namespace narvo::test
{

namespace
{

/// A base of thresholds: mostly a limit of the bound, otherwise at the ends of what is one, or none.
int PickBase(CCaseSource& source)
{
    if (source.OneIn(5))
        return source.Pick({1, 0, -1, 2, 254, 255, 256, 32512, 32513, 32767, -32768, 65537});
    return source.Int(1, 40);
}

/// A gain: none, usual ones, and those whose product wraps.
int PickGain(CCaseSource& source)
{
    if (source.OneIn(3))
        return source.Pick({-1, -20, 127, 128, 255, 256, 257, 300, 32767, -32768, 65535});
    return source.OneIn(3) ? 0 : source.Int(1, 60);
}

} // namespace

const CSoakCase& CBoundCaseMaker::Make(CCaseSource& source)
{
    m_case = m_maker.Make(source);
    SetMode(source);
    SetThresholds(source);
    m_case.eBound =
        source.Pick({engine::BoundUse::WherePaid, engine::BoundUse::WherePossible, engine::BoundUse::Never});
    if (m_case.param.pImage != nullptr)
        FillImage(source);
    return m_case;
}

/// Rectangles are inspected by pixel or zone kernels, or by float kernels.
void CBoundCaseMaker::SetMode(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    if (m_case.eCall != CaseCall::Rect)
        return;
    if (m_eCompared == Compared::Windows)
    {
        p.nInspectMode = 0;
        p.pThresholdOffsetMap = nullptr;
        p.nConvWidth = source.Pick({2, 3});
        p.nConvHeight = source.Pick({2, 3});
        // The rarer kernels would otherwise be most of the cases.
        if (!source.OneIn(4))
        {
            p.bZoneFlagged = 0;
            p.pConvPitchTable = nullptr;
        }
        // Larger windows are not compared with either.
        if (p.nConvWidth * p.nConvHeight > 4)
        {
            p.fVtdPitch = 0;
            p.pScanPitchTable = nullptr;
        }
        else if (source.OneIn(2))
            p.fVtdPitch = 0;
        else if (source.OneIn(2))
            p.fVtdPitch = std::trunc(p.fVtdPitch);
        return;
    }
    // Binarise mode has no grid of zone cells, which maps need.
    if (p.nInspectMode == 3)
        p.pThresholdOffsetMap = nullptr;
    if (p.pThresholdOffsetMap == nullptr)
        p.nInspectMode = 1;
}

void CBoundCaseMaker::SetThresholds(CCaseSource& source)
{
    CConvParam& p = m_case.param;
    p.nThreshold = PickBase(source);
    p.nThresholdGain = PickGain(source);
    p.nGrayLimit = source.OneIn(4) ? source.Pick({0, 1, 254, 256, 300, -1, 120}) : 255;
    p.nBlackFilterGray = source.OneIn(2) ? PickBase(source) : 0;
    p.nBlackFilterGain = PickGain(source);
    p.nTwiceThreshold = PickBase(source);
    p.nTwiceThresholdGain = PickGain(source);
}

/// The difference from nGrey that is the threshold of one of the sets, or one less or more; either sign.
int CBoundCaseMaker::PickStep(CCaseSource& source, int nGrey) const
{
    if (m_eCompared == Compared::Windows && m_case.eCall == CaseCall::Rect)
        return PickWindowStep(source, nGrey);
    const CConvParam& p = m_case.param;
    const int nSign = source.Pick({1, -1});
    // The offsets of most maps.
    if (p.pThresholdOffsetMap != nullptr)
        return nSign * source.Int(1, source.Pick({26, 62, 140, 255}));
    const bool bSecond = source.OneIn(4);
    const auto nBase = static_cast<std::uint16_t>(bSecond ? p.nBlackFilterGray : p.nThreshold);
    const auto nGain = static_cast<std::uint16_t>(bSecond ? p.nBlackFilterGain : p.nThresholdGain);
    int nStep = 0;
    while (nStep < 255 &&
           nStep <=
               engine::FormThreshold(static_cast<std::uint16_t>(std::max(nGrey + nSign * nStep, nGrey)), nGain, nBase))
        ++nStep;
    return nSign * (nStep + source.Int(-1, 1));
}

/// The same for the window that one pixel changes.
int CBoundCaseMaker::PickWindowStep(CCaseSource& source, int nGrey) const
{
    const CConvParam& p = m_case.param;
    const int nSign = source.Pick({1, -1});
    const bool bSecond = source.OneIn(4);
    const int nArea = p.nConvWidth * p.nConvHeight;
    const int nGreys = bSecond ? p.nBlackFilterGray : p.nThreshold / nArea;
    engine::CSumsRow row;
    row.nUnits = static_cast<std::uint16_t>(16 * nArea);
    row.nBase = static_cast<std::uint16_t>(nGreys);
    row.nGain = static_cast<std::uint16_t>(bSecond ? p.nBlackFilterGain : p.nThresholdGain);
    const int nWindow = row.nUnits * nGrey;
    const auto threshold = [&](int nStep)
    {
        return nArea == 4 ? engine::FormSumsThreshold<engine::SumsVariant::Larger>(
                                row, static_cast<std::uint16_t>(std::max(nWindow + nSign * 16 * nStep, nWindow)))
                          : engine::FormSumsThreshold<engine::SumsVariant::Source>(
                                row, static_cast<std::uint16_t>(nWindow + nSign * 16 * nStep));
    };
    int nStep = 0;
    while (nStep < 255 && 16 * nStep <= threshold(nStep))
        ++nStep;
    return nSign * (nStep + source.Int(-1, 1));
}

/// One grey value, or rows of neighbouring ones, with pixels that differ by about the threshold.
void CBoundCaseMaker::FillImage(CCaseSource& source)
{
    const CConvParam& p = m_case.param;
    const int nPixels = p.nImageWidth * p.nImageHeight;
    std::uint8_t* const pImage = m_image.Take(static_cast<std::size_t>(nPixels), false);
    const int nGrey = source.OneIn(3) ? source.Pick({0, 255}) : source.Int(0, 255);
    const int nRows = source.OneIn(3) ? source.Int(2, 3) : 1;
    for (int y = 0; y < p.nImageHeight; ++y)
        std::fill_n(pImage + static_cast<std::ptrdiff_t>(y) * p.nImageWidth, p.nImageWidth,
                    static_cast<std::uint8_t>(std::min(nGrey + y % nRows, 255)));
    const int nPixelsOfOne = source.Pick({400, 3000, 60, 8, 2});
    const int nOutliers = nPixels / nPixelsOfOne + source.Int(0, 3);
    for (int n = 0; n < nOutliers; ++n)
    {
        std::uint8_t& nPixel = pImage[source.Int(0, nPixels - 1)];
        nPixel = static_cast<std::uint8_t>(std::clamp(nGrey + PickStep(source, nGrey), 0, 255));
    }
    m_case.param.pImage = pImage;
}

} // namespace narvo::test
