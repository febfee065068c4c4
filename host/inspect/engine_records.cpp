// SPDX-License-Identifier: MIT
// Copies of the engine's records.
#include "host/inspect/engine_records.h"

#include <algorithm>
#include <iterator>

namespace narvo
{

Blob CopyBlob(const CDefectBlob& source)
{
    Blob blob{};
    blob.bright = source.nDefectType == DefectType_Bright;
    blob.band = source.nDefectPos;
    blob.single = source.nDefectPair == DefectPair_Single;
    blob.area = source.nPairCount;
    blob.box = source.rtDefect;
    blob.center = source.ptCenter;
    blob.peakPlace = source.ptPeak;
    blob.peak = source.nMaxPeak;
    blob.maxDifference = source.nMaxDiff;
    blob.meanDifference = source.nAvgDiff;
    blob.meanGrey = source.nAvgSrcGray;
    blob.meanReference = source.nAvgCmpGray;
    blob.zone = static_cast<int>(std::distance(
        std::begin(source.nZoneCount), std::max_element(std::begin(source.nZoneCount), std::end(source.nZoneCount))));
    blob.scale = 1;
    blob.channel = Channel_Auto;
    blob.label = source.nMultiType;
    blob.diameter = source.nRScale;
    blob.angle = source.dAngle;
    blob.majorAxis = source.dMajorAxis;
    blob.minorAxis = source.dMinorAxis;
    blob.circularity = source.dCircularity;
    blob.elongation = source.dElongation;
    return blob;
}

Pair CopyPair(const CDefectPair& source)
{
    return {source.ptDefect,
            source.nDefectType == DefectType_Bright,
            source.nDefectType == DefectType_Removed,
            source.nDefectPos,
            source.nDefectPair,
            source.nPeak,
            source.nSrcGray,
            source.nCmpGray,
            source.nThreshold,
            source.nZoneIndex};
}

} // namespace narvo
