// SPDX-License-Identifier: MIT
// Colour images channel by channel: red, green and blue are inspected by the same recipe, and their blobs come as one
// list.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "host/boxes.h"
#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "narvoassem/platform.h"

namespace narvo
{

class InspectionPlan;

/// What several channels found, as one list in the order of the channels: of what different channels found in one place
/// (boxes that overlap), the strongest stands, and its box grows to hold the others. `stronger(a, b)` is a strict
/// order; of equals the first channel's stands. The entries have a `box`.
template <typename Found, typename Stronger>
std::vector<Found> JoinFound(const std::vector<std::vector<Found>>& byChannel, Stronger stronger)
{
    struct Entry
    {
        const Found* found;
        std::size_t channel;
        Found joined;
    };
    std::vector<Entry> entries;
    for (std::size_t channel = 0; channel < byChannel.size(); ++channel)
        for (const Found& found : byChannel[channel])
            entries.push_back({&found, channel, found});
    std::vector<Entry*> ordered;
    for (Entry& entry : entries)
        ordered.push_back(&entry);
    std::stable_sort(ordered.begin(), ordered.end(),
                     [&](const Entry* a, const Entry* b) { return stronger(*a->found, *b->found); });
    std::vector<Entry*> kept;
    for (Entry* entry : ordered)
    {
        // Grown boxes do not decide, so that no chain of small blobs becomes one.
        const auto first =
            std::find_if(kept.begin(), kept.end(),
                         [&](const Entry* other)
                         { return other->channel != entry->channel && Overlap(other->found->box, entry->found->box); });
        if (first == kept.end())
        {
            kept.push_back(entry);
            continue;
        }
        CRect& box = (*first)->joined.box;
        const CRect& more = entry->found->box;
        box = CRect(std::min(box.left, more.left), std::min(box.top, more.top), std::max(box.right, more.right),
                    std::max(box.bottom, more.bottom));
    }
    // In the order of the list: pointers into one array.
    std::sort(kept.begin(), kept.end());
    std::vector<Found> joined;
    for (Entry* entry : kept)
        joined.push_back(std::move(entry->joined));
    return joined;
}

/// The results of the channels as one. Blobs say which channel shows them most: in which they rise furthest above the
/// threshold. Counts and times are sums, warnings name their channel.
InspectionResult JoinChannels(std::vector<InspectionResult> byChannel);

/// Inspects each channel on a lane. @throws HostError as Inspector::Inspect
InspectionResult InspectChannels(Inspector& inspector, int lane, const std::vector<GreyImage>& channels,
                                 const InspectionPlan& plan, bool withPairs);

} // namespace narvo
