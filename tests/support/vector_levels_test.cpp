// SPDX-License-Identifier: MIT
// That a test which goes through the vector levels meets each of them.
#include <gtest/gtest.h>

#include "narvoassem/fast/find/find_row.h"
#include "support/vector_levels.h"

namespace narvo::test
{
namespace
{

TEST(VectorLevels, AForcedLevelRunsAndTheListStaysWhole)
{
    const std::vector<std::int64_t> aLevels = VectorLevels();
    ASSERT_FALSE(aLevels.empty());
    CForcedLevel forced(aLevels.back());
    EXPECT_EQ(VectorLevels(), aLevels);
    for (const std::int64_t nLevel : VectorLevels())
    {
        forced.Change(nLevel);
        EXPECT_EQ(engine::GetVectorTargetName(), LevelName(nLevel));
    }
}

} // namespace
} // namespace narvo::test
