// SPDX-License-Identifier: MIT
// Results in the public form.
#include "host/library/public_report.h"

#include <utility>

namespace narvo::library
{

v1::Defect PublicDefect(const Blob& blob)
{
    v1::Defect defect;
    defect.number = blob.number;
    defect.bright = blob.bright;
    defect.band = blob.band;
    defect.single = blob.single;
    defect.area = blob.area;
    defect.box = PublicBox(blob.box);
    defect.centerX = blob.center.x;
    defect.centerY = blob.center.y;
    defect.peakX = blob.peakPlace.x;
    defect.peakY = blob.peakPlace.y;
    defect.peak = blob.peak;
    defect.maxDifference = blob.maxDifference;
    defect.meanDifference = blob.meanDifference;
    defect.meanGrey = blob.meanGrey;
    defect.meanReference = blob.meanReference;
    defect.zone = blob.zone;
    defect.scale = blob.scale;
    defect.label = blob.label;
    defect.diameter = blob.diameter;
    defect.angle = blob.angle;
    defect.majorAxis = blob.majorAxis;
    defect.minorAxis = blob.minorAxis;
    defect.circularity = blob.circularity;
    defect.elongation = blob.elongation;
    return defect;
}

v1::Box PublicBox(const CRect& rect)
{
    return {rect.left, rect.top, rect.right, rect.bottom};
}

v1::Report PublicReport(InspectionResult result)
{
    v1::Report report;
    report.name = std::move(result.name);
    report.code = result.code;
    report.vertical = result.direction == Direction_Vertical;
    report.region = PublicBox(result.region);
    report.overflowed = result.overflowed;
    report.milliseconds = result.totalMilliseconds;
    report.warnings = std::move(result.warnings);
    report.defects.reserve(result.blobs.size());
    for (const Blob& blob : result.blobs)
        report.defects.push_back(PublicDefect(blob));
    return report;
}

} // namespace narvo::library
