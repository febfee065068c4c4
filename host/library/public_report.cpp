// SPDX-License-Identifier: MIT
// Results in the public form, and back.
#include "host/library/public_report.h"

#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include "host/problem.h"

namespace narvo::library
{

namespace
{

Blob LayerBlob(const v1::Defect& defect)
{
    Blob blob{};
    blob.number = defect.number;
    blob.bright = defect.bright;
    blob.band = defect.band;
    blob.single = defect.single;
    blob.area = defect.area;
    blob.box = LayerRect(defect.box);
    blob.center = CPoint(defect.centerX, defect.centerY);
    blob.peakPlace = CPoint(defect.peakX, defect.peakY);
    blob.peak = defect.peak;
    blob.maxDifference = defect.maxDifference;
    blob.meanDifference = defect.meanDifference;
    blob.meanGrey = defect.meanGrey;
    blob.meanReference = defect.meanReference;
    blob.zone = defect.zone;
    blob.scale = defect.scale;
    blob.label = defect.label;
    blob.diameter = defect.diameter;
    blob.angle = defect.angle;
    blob.majorAxis = defect.majorAxis;
    blob.minorAxis = defect.minorAxis;
    blob.circularity = defect.circularity;
    blob.elongation = defect.elongation;
    return blob;
}

// In the order of DefectColour.
constexpr std::array channelOfColour = {Channel_Auto, Channel_Red, Channel_Green, Channel_Blue};

v1::DefectColour PublicColour(int channel)
{
    for (std::size_t i = 0; i < channelOfColour.size(); ++i)
        if (channelOfColour[i] == channel)
            return static_cast<v1::DefectColour>(i);
    return v1::DefectColour::Grey;
}

v1::Answer PublicAnswer(const Pair& pair)
{
    return {pair.place.x, pair.place.y, pair.bright,    pair.removed,   pair.band, pair.origin,
            pair.peak,    pair.grey,    pair.reference, pair.threshold, pair.zone};
}

Pair LayerPair(const v1::Answer& answer)
{
    return {CPoint(answer.x, answer.y),
            answer.bright,
            answer.removed,
            answer.band,
            answer.origin,
            answer.peak,
            answer.grey,
            answer.reference,
            answer.threshold,
            answer.zone};
}

} // namespace

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

CRect LayerRect(const v1::Box& box)
{
    return {box.left, box.top, box.right, box.bottom};
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

v1::FullReport PublicFullReport(InspectionResult result, int width, int height)
{
    v1::FullReport full;
    full.width = width;
    full.height = height;
    for (const std::vector<CPoint>& outline : result.outlines)
    {
        std::vector<v1::Corner>& corners = full.outlines.emplace_back();
        for (const CPoint& corner : outline)
            corners.push_back({corner.x, corner.y});
    }
    full.answerCount = result.pairs;
    full.reruns = result.reruns;
    full.deadDefects = result.deadBlobs;
    full.light = result.drift.light;
    full.noise = result.drift.noise;
    full.pitchX = result.drift.pitchX;
    full.pitchY = result.drift.pitchY;
    full.inspectMilliseconds = result.inspectMilliseconds;
    full.defectMilliseconds = result.blobMilliseconds;
    full.colours.reserve(result.blobs.size());
    for (const Blob& blob : result.blobs)
        full.colours.push_back(PublicColour(blob.channel));
    full.answers.reserve(result.pairRecords.size());
    for (const Pair& pair : result.pairRecords)
        full.answers.push_back(PublicAnswer(pair));
    full.report = PublicReport(std::move(result));
    return full;
}

InspectionResult LayerResult(const v1::FullReport& report)
{
    const v1::Report& summary = report.report;
    InspectionResult result;
    result.name = summary.name;
    result.code = summary.code;
    result.direction = summary.vertical ? Direction_Vertical : Direction_Horizontal;
    result.region = LayerRect(summary.region);
    for (const std::vector<v1::Corner>& outline : report.outlines)
    {
        std::vector<CPoint>& corners = result.outlines.emplace_back();
        for (const v1::Corner& corner : outline)
            corners.emplace_back(corner.x, corner.y);
    }
    result.pairs = report.answerCount;
    result.overflowed = summary.overflowed;
    result.reruns = report.reruns;
    result.inspectMilliseconds = report.inspectMilliseconds;
    result.blobMilliseconds = report.defectMilliseconds;
    result.totalMilliseconds = summary.milliseconds;
    result.deadBlobs = report.deadDefects;
    result.drift = {report.light, report.noise, report.pitchX, report.pitchY};
    result.warnings = summary.warnings;
    for (const v1::Defect& defect : summary.defects)
        result.blobs.push_back(LayerBlob(defect));
    for (std::size_t i = 0; i < report.colours.size() && i < result.blobs.size(); ++i)
    {
        const auto colour = static_cast<std::size_t>(report.colours[i]);
        if (colour >= channelOfColour.size())
            throw HostError({{"colours[" + std::to_string(i) + "]", std::to_string(static_cast<int>(report.colours[i])),
                              "one of DefectColour"}});
        result.blobs[i].channel = channelOfColour[colour];
    }
    for (const v1::Answer& answer : report.answers)
        result.pairRecords.push_back(LayerPair(answer));
    return result;
}

} // namespace narvo::library
