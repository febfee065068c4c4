// SPDX-License-Identifier: MIT
// Why a block is refused: field, value and what is allowed, for each of the engine's reasons.
#include "host/check/block_words.h"

#include <cmath>

namespace narvo
{

namespace
{

using engine::Refusal;

std::string Number(double value)
{
    return FormatNumber(value);
}

std::string Sides(const CRect& rect)
{
    return std::to_string(rect.left) + ", " + std::to_string(rect.top) + ", " + std::to_string(rect.right) + ", " +
           std::to_string(rect.bottom);
}

std::string ImageSize(const CConvParam& param)
{
    return std::to_string(param.nImageWidth) + " by " + std::to_string(param.nImageHeight);
}

/// A distance is the period times the multiple.
Problem Distance(const CConvParam& param, bool along, const std::string& allowed)
{
    if (along)
        return {"dScanPitch * nScanMultiple",
                Number(param.dScanPitch) + " * " + std::to_string(param.nScanMultiple) + " = " +
                    Number(param.GetRealScanPitch()),
                allowed};
    return {"dConvPitch * nConvMultiple",
            Number(param.dConvPitch) + " * " + std::to_string(param.nConvMultiple) + " = " +
                Number(param.GetRealConvPitch()),
            allowed};
}

std::string ThirdOf(const char* what, int extent)
{
    return "at most " + Number(std::floor(extent / 3.0 * 1000.0) / 1000.0) + ", a third of " + what + " of " +
           std::to_string(extent) + " pixels";
}

Problem Integer(const char* field, int value, const std::string& allowed)
{
    return {field, std::to_string(value), allowed};
}

Problem TooShort(const CConvParam& param, bool vertical)
{
    return Distance(param, vertical,
                    vertical ? ThirdOf("rtInspect's height", param.rtInspect.Height())
                             : ThirdOf("rtInspect's width", param.rtInspect.Width()));
}

const char* const usablePitch = "a number of pixels from -67108864 to 67108864";
const char* const comparablePitch = "a number of pixels from 0 to 67108864, in the direction compared along";

Problem WordPool(const CConvParam& param, Refusal reason)
{
    switch (reason)
    {
    case Refusal::AverageBright:
        return Integer("nThreshold", param.nThreshold, "any level but 0, of bright defects in average mode");
    case Refusal::AverageDark:
        return Integer("nBlackFilterGray", param.nBlackFilterGray, "any level but 0, of dark defects in average mode");
    case Refusal::UnderWindow:
        return {"rtInspect",
                std::to_string(param.rtInspect.Width()) + " by " + std::to_string(param.rtInspect.Height()) + " pixels",
                "at least nAverageParam1, " + std::to_string(param.nAverageParam1) + ", each way"};
    case Refusal::Under3PitchesX:
        return TooShort(param, false);
    case Refusal::Under3PitchesY:
        return TooShort(param, true);
    default:
        return {"rtInspect",
                std::to_string(param.rtInspect.Width()) + " by " + std::to_string(param.rtInspect.Height()) + " pixels",
                "three compare distances (" + Number(param.GetRealConvPitch()) + " along x, " +
                    Number(param.GetRealScanPitch()) + " along y) in one direction at least"};
    }
}

Problem WordField(const CConvParam& param, Refusal reason)
{
    switch (reason)
    {
    case Refusal::Image:
        return {"pImage", "null", "the image"};
    case Refusal::ImageWidth:
        return Distance(param, false, ThirdOf("the image's width", param.nImageWidth) + ", in either direction");
    case Refusal::ImageHeight:
        return Integer("nImageHeight", param.nImageHeight,
                       "at least two windows: 2 * nConvHeight, " + std::to_string(2 * std::int64_t{param.nConvHeight}));
    case Refusal::RegionWidth:
        return Integer("rtInspect's width", param.rtInspect.Width(),
                       "at least three windows: 3 * nConvWidth, " + std::to_string(3 * std::int64_t{param.nConvWidth}));
    case Refusal::RegionHeight:
        return Integer("rtInspect's height", param.rtInspect.Height(),
                       "at least two windows: 2 * nConvHeight, " + std::to_string(2 * std::int64_t{param.nConvHeight}));
    case Refusal::WindowWidth:
        return Integer("nConvWidth", param.nConvWidth,
                       "1 to 1023 pixels; 1 in pixel and zone mode, 2 or 3 in float mode");
    case Refusal::WindowHeight:
        return Integer("nConvHeight", param.nConvHeight,
                       "1 to 1023 pixels; 1 in pixel and zone mode, 2 or 3 in float mode");
    case Refusal::RegionPitch:
        return TooShort(param, param.nDirection == 1);
    case Refusal::CheckLimit1:
        return Integer("nCheckLimit1", param.nCheckLimit1, "at least 10");
    case Refusal::CheckLimit2:
        return Integer("nCheckLimit2", param.nCheckLimit2, "at least 2");
    case Refusal::MapLeft:
        return Integer("nZoneMapLeft", param.nZoneMapLeft, "at least 0 in pixel mode with maps");
    case Refusal::MapTop:
        return Integer("nZoneMapTop", param.nZoneMapTop, "at least 0 in pixel mode with maps");
    default:
        return Integer("nThreshold", param.nThreshold, "at least 1, also where maps give the thresholds");
    }
}

Problem WordBound(const CConvParam& param, Refusal reason, bool vertical)
{
    switch (reason)
    {
    case Refusal::RegionOutside:
        return {"rtInspect", Sides(param.rtInspect), "sides inside the image of " + ImageSize(param) + " pixels"};
    case Refusal::CornersOutside:
        return {"trapInspect", "a corner outside the image",
                "corners inside the image of " + ImageSize(param) + " pixels"};
    case Refusal::PitchAlong:
        return Distance(param, vertical, comparablePitch);
    case Refusal::PitchAcross:
        return Distance(param, !vertical,
                        usablePitch + std::string(": the cross filter and vertical trapezia read it"));
    case Refusal::TwicePitch:
        return {"dTwicePitch", Number(param.dTwicePitch), comparablePitch};
    case Refusal::ColumnTables:
        return {"pConvWeightNear, pConvWeightFar", "null",
                "both weight tables with pConvPitchTable, or none of the three"};
    case Refusal::OriginTable:
        return {"pZoneOriginTable", "null", "the grid of cell origins, with pThresholdOffsetMap"};
    case Refusal::ZoneColumns:
        return Integer("nZoneColumns", param.nZoneColumns, "at least 0 records in a grid row");
    case Refusal::MapStride:
        return Integer("nZoneMapStride", param.nZoneMapStride, "at least 0 elements in a map line");
    case Refusal::CellWidth:
        return {"dConvPitch * nZoneConvMultiple", Number(param.GetZoneConvPitch()),
                "a cell at least a pixel wide, or a grid row of a record for each 16 columns and two more"};
    default:
        return {"dScanPitch * nZoneScanMultiple", Number(param.GetZoneScanPitch()), "a cell at least a pixel high"};
    }
}

Problem WordRefusal(const CConvParam& param, Refusal reason, bool vertical)
{
    if (reason <= Refusal::Under3PitchesBoth)
        return WordPool(param, reason);
    if (reason <= Refusal::Threshold)
        return WordField(param, reason);
    return WordBound(param, reason, vertical);
}

} // namespace

std::vector<Problem> WordRefusals(const CConvParam& param, engine::CRefusals refusals, bool vertical)
{
    std::vector<Problem> problems;
    for (int i = 0; i < static_cast<int>(Refusal::Count); ++i)
    {
        if (!refusals.Has(static_cast<Refusal>(i)))
            continue;
        Problem problem = WordRefusal(param, static_cast<Refusal>(i), vertical);
        // The pool and the engine both ask for three pitches.
        if (problems.empty() || !(problems.front() == problem))
            problems.push_back(std::move(problem));
    }
    return problems;
}

} // namespace narvo
