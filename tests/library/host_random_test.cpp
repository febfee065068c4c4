// SPDX-License-Identifier: MIT
// Random use of the whole host library; the fuzz target host_interface draws the same from its bytes.
#include <cstdint>

#include <gtest/gtest.h>

#include "fuzz/require.h"
#include "library/host_calls.h"
#include "support/seeds.h"

namespace narvo::test
{

TEST(HostRandom, EveryCallAnswersOrSaysWhatIsWrong)
{
    HostAnswers all;
    for (const std::uint64_t seed : CaseSeeds("HostRandom", 200))
    {
        RequireContext() = ReplayHint(seed);
        CNumberedSource source(seed);
        all.Add(MakeHostCalls(source, 8));
    }
    RequireContext().clear();
    RecordProperty("inspections", all.inspections.answered);
    // Not everything may be refused, nor everything taken.
    if (CaseShare() > 10)
        return;
    for (const CallAnswers& one : {all.inspections, all.drafts, all.models, all.streams})
    {
        EXPECT_GT(one.answered, one.asked / 20) << one.asked;
        EXPECT_LT(one.answered, one.asked * 95 / 100) << one.asked;
    }
}

} // namespace narvo::test
