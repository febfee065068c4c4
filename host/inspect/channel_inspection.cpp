// SPDX-License-Identifier: MIT
// One inspection for each channel, and their results as one.
#include "host/inspect/channel_inspection.h"

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>

#include "host/image/image_reading.h"

namespace narvo
{

InspectionResult JoinChannels(std::vector<InspectionResult> byChannel)
{
    std::vector<std::vector<Blob>> blobs;
    for (std::size_t i = 0; i < byChannel.size(); ++i)
    {
        for (Blob& blob : byChannel[i].blobs)
            blob.channel = inspectedChannels[i];
        for (std::string& warning : byChannel[i].warnings)
            warning.insert(0, std::string(ChannelName(inspectedChannels[i])) + ": ");
        blobs.push_back(std::move(byChannel[i].blobs));
    }
    InspectionResult joined = std::move(byChannel.front());
    for (std::size_t i = 1; i < byChannel.size(); ++i)
    {
        InspectionResult& one = byChannel[i];
        joined.code = std::max(joined.code, one.code);
        joined.pairs += one.pairs;
        joined.overflowed = joined.overflowed || one.overflowed;
        joined.reruns += one.reruns;
        joined.inspectMilliseconds += one.inspectMilliseconds;
        joined.blobMilliseconds += one.blobMilliseconds;
        joined.totalMilliseconds += one.totalMilliseconds;
        joined.deadBlobs += one.deadBlobs;
        joined.warnings.insert(joined.warnings.end(), one.warnings.begin(), one.warnings.end());
        joined.pairRecords.insert(joined.pairRecords.end(), one.pairRecords.begin(), one.pairRecords.end());
    }
    joined.blobs = JoinFound(blobs, [](const Blob& a, const Blob& b)
                             { return std::tuple(a.peak, a.area) > std::tuple(b.peak, b.area); });
    for (std::size_t i = 0; i < joined.blobs.size(); ++i)
        joined.blobs[i].number = static_cast<int>(i) + 1;
    return joined;
}

InspectionResult InspectChannels(Inspector& inspector, int lane, const std::vector<GreyImage>& channels,
                                 const InspectionPlan& plan, bool withPairs)
{
    std::vector<InspectionResult> results;
    for (const GreyImage& channel : channels)
        results.push_back(inspector.Inspect(lane, channel, plan, withPairs));
    return JoinChannels(std::move(results));
}

} // namespace narvo
