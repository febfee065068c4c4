// SPDX-License-Identifier: MIT
// A run that the tests of the live page make up.
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "host/image/grey_image.h"
#include "tools/live/live_state.h"

namespace narvo::test
{

/// Counts that a test sets and the state's readers get.
struct MadeUpCounts
{
    tools::LiveCounts Get() const
    {
        const std::scoped_lock lock(mutex);
        return counts;
    }
    void Set(const tools::LiveCounts& wanted)
    {
        const std::scoped_lock lock(mutex);
        counts = wanted;
    }

    mutable std::mutex mutex;
    tools::LiveCounts counts;
};

inline tools::LiveSetup MadeUpSetup()
{
    tools::LiveSetup setup;
    setup.source = "folder:in";
    setup.recipe = "panel.json";
    setup.cells = {{40.0, 0.0, 0.0, 50.0}};
    setup.queue = 16;
    setup.whenFull = "wait";
    setup.version = "1.2.3";
    setup.started = 1700000000000000000;
    return setup;
}

/// Adds an image of 64 by 48 pixels with that many defects along its middle row.
inline void AddImage(tools::LiveState& state, const std::string& name, int defects = 0,
                     tools::LiveOutcome outcome = tools::LiveOutcome_Pass)
{
    ImageResult result;
    result.name = name;
    result.width = 64;
    result.height = 48;
    result.regions.emplace_back();
    for (int i = 0; i < defects; ++i)
    {
        Blob blob{};
        blob.center = {i % 64, 24};
        blob.box = CRect(i % 64, 23, i % 64 + 2, 25);
        blob.area = 4;
        result.regions[0].blobs.push_back(blob);
    }
    tools::LiveVerdict head;
    head.name = name;
    head.acquired = 1700000000000000000;
    head.outcome = outcome;
    if (outcome == tools::LiveOutcome_Fail)
        head.failed = {"count>0"};
    const auto picture = std::make_shared<GreyImage>(64, 48);
    state.Add(head, result, picture);
}

} // namespace narvo::test
