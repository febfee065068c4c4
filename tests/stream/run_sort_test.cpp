// SPDX-License-Identifier: MIT
// Sorting by runs against the standard library's stable sort.
#include "host/stream/run_sort.h"

#include <functional>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/random.h"
#include "support/seeds.h"

namespace narvo::test
{
namespace
{

using Entry = std::pair<int, int>; // a key and the place where it stood

bool KeyLess(const Entry& a, const Entry& b)
{
    return a.first < b.first;
}

TEST(SortByRuns, SortsAsAStableSortDoes)
{
    for (const std::uint64_t seed : CaseSeeds("sort by runs", 300))
    {
        CRandom random(seed);
        std::vector<Entry> values;
        const int count = random.Pick({0, 1, 2, 3, 50, 1000});
        const int stretch = random.Pick({1, 2, 10, 400, 2000});
        for (int i = 0, key = 0; i < count; ++i)
        {
            key = i % stretch == 0 ? random.Int(0, 100) : key + random.Int(0, 2);
            values.emplace_back(key, i);
        }
        std::vector<Entry> wanted = values;
        std::stable_sort(wanted.begin(), wanted.end(), KeyLess);
        std::vector<Entry> scratch(3, Entry(-1, -1));
        SortByRuns(values, scratch, KeyLess);
        EXPECT_EQ(values, wanted) << ReplayHint(seed);
    }
}

TEST(SortByRuns, TakesNoMemoryWhereTheScratchHasRoom)
{
    std::vector<int> values = {5, 6, 7, 1, 2, 3, 0};
    std::vector<int> scratch;
    scratch.reserve(values.size());
    const int* const places[] = {values.data(), scratch.data()};
    SortByRuns(values, scratch, std::less<>());
    EXPECT_EQ(values, std::vector<int>({0, 1, 2, 3, 5, 6, 7}));
    EXPECT_TRUE(values.data() == places[0] || values.data() == places[1]);
}

} // namespace
} // namespace narvo::test
