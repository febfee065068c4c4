// SPDX-License-Identifier: MIT
// The parameter checks of the engine that are part of its interface. The checks that keep reads inside the image are in
// check_bounds.cpp.
#include "narvoassem/engine/check_fields.h"

#include <cstdint>

#include "narvoassem/narvoassem.h"

namespace narvo::engine
{

CRefusals CheckFields(const CConvParam& param, bool bVertical)
{
    constexpr int nWindowLimit = 1023;
    const std::int64_t nConvWidth = param.nConvWidth;
    const std::int64_t nConvHeight = param.nConvHeight;
    const bool bMapCorner = !bVertical && param.nInspectMode == 1 && param.pThresholdOffsetMap != nullptr;
    const double dPitch = bVertical ? param.GetRealScanPitch() : param.GetRealConvPitch();
    const int nExtent = bVertical ? param.rtInspect.Height() : param.rtInspect.Width();
    CRefusals refusals;
    refusals.AddIf(param.pImage == nullptr, Refusal::Image);
    // Conv pitch against the image's width for both directions.
    refusals.AddIf(param.GetRealConvPitch() * 3.0 > param.nImageWidth, Refusal::ImageWidth);
    refusals.AddIf(param.nImageHeight < 2 * nConvHeight, Refusal::ImageHeight);
    refusals.AddIf(param.rtInspect.Width() < 3 * nConvWidth, Refusal::RegionWidth);
    refusals.AddIf(param.rtInspect.Height() < 2 * nConvHeight, Refusal::RegionHeight);
    refusals.AddIf(nConvWidth < 1 || nConvWidth > nWindowLimit, Refusal::WindowWidth);
    refusals.AddIf(nConvHeight < 1 || nConvHeight > nWindowLimit, Refusal::WindowHeight);
    refusals.AddIf(dPitch * 3.0 > nExtent, Refusal::RegionPitch);
    refusals.AddIf(param.nCheckLimit1 < 10, Refusal::CheckLimit1);
    refusals.AddIf(param.nCheckLimit2 < 2, Refusal::CheckLimit2);
    refusals.AddIf(bMapCorner && param.nZoneMapLeft < 0, Refusal::MapLeft);
    refusals.AddIf(bMapCorner && param.nZoneMapTop < 0, Refusal::MapTop);
    refusals.AddIf(param.nThreshold < 1, Refusal::Threshold);
    return refusals;
}

} // namespace narvo::engine

namespace
{

int Check(CConvParam& param, bool bVertical)
{
    if (!narvo::engine::CheckFields(param, bVertical).IsEmpty())
        return InspectCode_BadParameter;
    if (param.nGrayLimit < 1)
        param.nGrayLimit = 1;
    else if (param.nGrayLimit > 255)
        param.nGrayLimit = 255;
    return InspectCode_Done;
}

} // namespace

int CNarvoAssem::CheckParameter(int& nCheck)
{
    nCheck = 0;
    return Check(ConvParam, false);
}

int CNarvoAssem::CheckParameter_Vert(int& nCheck)
{
    nCheck = 0;
    return Check(ConvParam, true);
}
