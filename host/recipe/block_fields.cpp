// SPDX-License-Identifier: MIT
// The table of the block's fields.
#include "host/recipe/block_fields.h"

namespace narvo
{

namespace
{

constexpr std::string_view szUnread = "read by no kernel: stays at its default";

constexpr BlockField blockFields[] = {
    {"nInspectMode", "mode filters.sample", "behind zone maps it says what the filters compare"},
    {"nDirection", "direction auto_direction", ""},
    {"nMaxReinspect", "max_reruns", "0 over polygons, whose passes cannot be gone on with"},
    {"bAverage2by2", "kernel.average_2by2", ""},
    {"bExtendedKernel", "kernel.extended", ""},
    {"bZoneFlagged", "zones.skip region", "1 where cells are skipped, and over polygons"},
    {"pImage", "", "the image's pixels"},
    {"nImageWidth", "", "the image's row length, a multiple of 4"},
    {"nImageHeight", "", "the image's height"},
    {"trapInspect", "region", "the trapezia that a convex polygon is cut into, one after the other"},
    {"rtInspect", "region", "the bounds of regions that are no rectangles"},
    {"rtMarginFrame", "margin_frame", ""},
    {"rtDeadZone", "dead_zones", ""},
    {"pFreeFormPoint", "region", "the polygon's corners"},
    {"nFreeFormPointCount", "", "their number"},
    {"nConvWidth", "window.width", ""},
    {"nConvHeight", "window.height", ""},
    {"dConvPitch", "pitch.x", ""},
    {"nConvMultiple", "multiple.x", ""},
    {"dScanPitch", "pitch.y", ""},
    {"nScanMultiple", "multiple.y", ""},
    {"fVtdPitch", "kernel.cross_shift", ""},
    {"dClassPitch", "kernel.class_pitch", ""},
    {"nThreshold", "threshold.base binarise.limit average.bright", "by mode"},
    {"nThresholdGain", "threshold.gain", ""},
    {"nGrayLimit", "grey_limit", ""},
    {"nBlackFilterGray", "kernel.dark_base average.dark", "by mode"},
    {"nBlackFilterGain", "kernel.dark_gain", ""},
    {"bBandThread", "band_split", ""},
    {"bUseLineBuffer", "kernel.line_buffer", ""},
    {"bAutoDirection", "auto_direction", ""},
    {"bKeepSingle", "keep_singles", ""},
    {"nPairSearchSlack", "", szUnread},
    {"nThresholdExtra", "threshold_extra", ""},
    {"pScanPitchTable", "tables.scan_pitch tables.column_pitch", "in 1/16 pixel; by columns for vertical trapezia"},
    {"pTiltScanTable", "tables.scan_tilt", "in 1/16 pixel"},
    {"pTiltConvTable", "tables.row_pitch", "in 1/16 pixel, for horizontal trapezia"},
    {"pConvPitchTable", "tables.conv_pitch",
     "horizontally whole pixels for each column; vertically 1/16 pixel for each 16 columns, for the verification"},
    {"pConvWeightNear", "tables.conv_pitch", "what is left of a pixel"},
    {"pConvWeightFar", "tables.conv_pitch", "the part of a pixel"},
    {"bTwoSegmentThreshold", "kernel.two_segment", ""},
    {"pZoneIndexMap", "zones.image zones.list.index", "the painted cell, continued periodically"},
    {"pThresholdOffsetMap", "zones.image zones.list.offset zones.list.dead", "likewise; dead zones pass no pixel"},
    {"pThresholdGainMap", "zones.image zones.list.gain", "likewise"},
    {"pThresholdOffsetMap2", "zones.image zones.list.upper.offset", "likewise"},
    {"pThresholdGainMap2", "zones.image zones.list.upper.gain", "likewise"},
    {"pThresholdKneeMap", "zones.image zones.list.upper.knee", "likewise"},
    {"pClassIdMap", "zones.class_image", "likewise"},
    {"nZoneMapStride", "", "the row length of the maps"},
    {"nZoneMapHeight", "", szUnread},
    {"nZoneMapLeft", "", "0, which the checks want"},
    {"nZoneMapTop", "", "0, which the checks want"},
    {"pZoneOriginTable", "zones.origin.x zones.origin.y zones.multiple.x zones.multiple.y zones.skip",
     "the corners of all cells over the region"},
    {"nZoneColumns", "", "the columns of that table"},
    {"nZoneConvMultiple", "zones.multiple.x", ""},
    {"nZoneScanMultiple", "zones.multiple.y", ""},
    {"pFilterOffset", "filters.zone_thresholds zones.list.filter.dark_offset", ""},
    {"pFilterGain", "filters.zone_thresholds zones.list.filter.dark_gain", ""},
    {"pFilterOffset1", "filters.zone_thresholds zones.list.filter.bright_offset", ""},
    {"pFilterGain1", "filters.zone_thresholds zones.list.filter.bright_gain", ""},
    {"pTspTable", "kernel.zone_tables zones.list.table.offset zones.list.dead", ""},
    {"pTspTable2", "kernel.zone_tables zones.list.table.gain", ""},
    {"nAverageParam1", "average.background", ""},
    {"nAverageParam2", "average.window", ""},
    {"nCheckLimit1", "", szUnread},
    {"nCheckLimit2", "", szUnread},
    {"bFalseFilter", "filters.enabled", ""},
    {"bMarginFilter", "filters.margin", ""},
    {"nFilterMode", "filters.test", ""},
    {"nFilterMode2", "filters.all_pairs", ""},
    {"nMergeDivision", "merge_distance", ""},
    {"dPixelSizeX", "pixel_size.y", "the block pairs its two sizes with the axes crosswise"},
    {"dPixelSizeY", "pixel_size.x", "the block pairs its two sizes with the axes crosswise"},
    {"nMultiType", "label", ""},
    {"bTwice", "twice.pitch", "1 where it is not 0"},
    {"nTwiceThreshold", "twice.base", ""},
    {"nTwiceThresholdGain", "twice.gain", ""},
    {"dTwicePitch", "twice.pitch", ""},
    {"pFreeFormMask", "region", "the polygon as a mask"},
    {"nFreeFormMaskParam", "", szUnread},
    {"nDarkGrayLimit", "zones.list.dark_grey_limit", ""},
    {"nBrightMinDiff", "zones.list.bright_min_difference", ""},
    {"dVeriPitchConv", "zones.list.verify.pitch.x", "times multiple.y, by which the engine divides it"},
    {"dVeriPitchScan", "zones.list.verify.pitch.y", "times multiple.y, by which the engine divides it"},
    {"pVeriPitchString", "zones.list.verify.mode zones.list.verify.checks", "one text for each zone"},
};

} // namespace

std::span<const BlockField> BlockFields()
{
    return blockFields;
}

std::string DescribeBlockFields()
{
    std::string text;
    for (const BlockField& field : blockFields)
        text += std::string(field.name) + ": " + (field.fields.empty() ? "by the host" : std::string(field.fields)) +
                (field.how.empty() ? "" : "; " + std::string(field.how)) + "\n";
    return text;
}

} // namespace narvo
