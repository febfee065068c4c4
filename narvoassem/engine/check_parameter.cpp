// SPDX-License-Identifier: MIT
// The parameter checks of the engine that are part of its interface. The checks that keep reads inside the image are in
// check_bounds.cpp.
#include "narvoassem/narvoassem.h"

#include <cstdint>

namespace
{

constexpr int nWindowLimit = 1023;

/// The checks that both directions share, in their order; dPitch and nExtent are the direction's own pair for the
/// three-pitch test of the region, bMapCorner adds the test of the map corners.
int Check(CConvParam& param, double dPitch, int nExtent, bool bMapCorner)
{
    const std::int64_t nConvWidth = param.nConvWidth;
    const std::int64_t nConvHeight = param.nConvHeight;
    if (param.pImage == nullptr)
        return InspectCode_BadParameter;
    // Conv pitch against the image's width for both directions.
    if (param.GetRealConvPitch() * 3.0 > param.nImageWidth)
        return InspectCode_BadParameter;
    if (param.nImageHeight < 2 * nConvHeight)
        return InspectCode_BadParameter;
    if (param.rtInspect.Width() < 3 * nConvWidth || param.rtInspect.Height() < 2 * nConvHeight)
        return InspectCode_BadParameter;
    if (nConvWidth < 1 || nConvWidth > nWindowLimit || nConvHeight < 1 || nConvHeight > nWindowLimit)
        return InspectCode_BadParameter;
    if (dPitch * 3.0 > nExtent)
        return InspectCode_BadParameter;
    if (param.nCheckLimit1 < 10 || param.nCheckLimit2 < 2)
        return InspectCode_BadParameter;
    if (bMapCorner && (param.nZoneMapLeft < 0 || param.nZoneMapTop < 0))
        return InspectCode_BadParameter;
    if (param.nThreshold < 1)
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
    const bool bMapCorner = ConvParam.nInspectMode == 1 && ConvParam.pThresholdOffsetMap != nullptr;
    return Check(ConvParam, ConvParam.GetRealConvPitch(), ConvParam.rtInspect.Width(), bMapCorner);
}

int CNarvoAssem::CheckParameter_Vert(int& nCheck)
{
    nCheck = 0;
    return Check(ConvParam, ConvParam.GetRealScanPitch(), ConvParam.rtInspect.Height(), false);
}
