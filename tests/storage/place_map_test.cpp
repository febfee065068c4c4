// SPDX-License-Identifier: MIT
// The map of places stays within the memory that it says it needs, and shows what a walk over all members finds.
#include "narvoassem/storage/blobs/place_map.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

#include "support/random.h"
#include "support/seeds.h"

namespace
{

using namespace narvo::engine;
using narvo::test::CaseSeeds;
using narvo::test::CRandom;
using narvo::test::ReplayHint;

TEST(PlaceMap, StaysWithinItsWordsAndShowsTheLaterMembersInReachThatAreLeft)
{
    constexpr int kReach = 3;
    constexpr int nGuard = 0x5A5A5A5A;
    for (const std::uint64_t seed : CaseSeeds("place map", 200))
    {
        CRandom random(seed);
        const int nMembers = random.Int(1, 300);
        const int nSide = random.Pick({5, 40, 3000});
        std::vector<SGroupMember> members(static_cast<std::size_t>(nMembers));
        for (SGroupMember& member : members)
            member.pt = CPoint(random.Int(-nSide, nSide), random.Int(-nSide, nSide));
        const std::size_t nWords = CPlaceMap<kReach>::GetWords(nMembers);
        std::vector<int> words(nWords + 4 * static_cast<std::size_t>(nMembers) + 64, nGuard);
        CPlaceMap<kReach> map(members.data(), nMembers, words.data());
        std::vector<bool> claimed(members.size());
        for (int i = 0; i < nMembers; ++i)
        {
            std::vector<int> shown;
            map.Show(i,
                     [&](int nMember)
                     {
                         shown.push_back(nMember);
                         return EClaim::Claimed;
                     });
            std::vector<int> wanted;
            const CPoint& own = members[static_cast<std::size_t>(i)].pt;
            for (int j = i + 1; j < nMembers; ++j)
                if (const CPoint& pt = members[static_cast<std::size_t>(j)].pt; std::abs(pt.x - own.x) <= kReach &&
                                                                                std::abs(pt.y - own.y) <= kReach &&
                                                                                !claimed[static_cast<std::size_t>(j)])
                    wanted.push_back(j);
            std::sort(shown.begin(), shown.end());
            ASSERT_EQ(shown, wanted) << i << ' ' << ReplayHint(seed);
            for (const int nMember : shown)
                claimed[static_cast<std::size_t>(nMember)] = true;
        }
        EXPECT_TRUE(std::all_of(words.begin() + static_cast<std::ptrdiff_t>(nWords), words.end(),
                                [](int nWord) { return nWord == nGuard; }))
            << ReplayHint(seed);
    }
}

} // namespace
