// SPDX-License-Identifier: MIT
// A stream reports what one call for the whole image reports, however the rows are cut into pieces.
#include <gtest/gtest.h>

#include "host/problem.h"
#include "stream/stream_help.h"
#include "support/seeds.h"

namespace narvo::test
{
namespace
{

/// Lines that only one of both has, for a failure's message.
std::string Difference(const std::vector<std::string>& whole, const std::vector<std::string>& stream)
{
    std::vector<std::string> missing;
    std::vector<std::string> added;
    std::set_difference(whole.begin(), whole.end(), stream.begin(), stream.end(), std::back_inserter(missing));
    std::set_difference(stream.begin(), stream.end(), whole.begin(), whole.end(), std::back_inserter(added));
    std::string text = std::to_string(missing.size()) + " missing, " + std::to_string(added.size()) + " added\n";
    for (std::size_t i = 0; i < std::min<std::size_t>(missing.size(), 5); ++i)
        text += "  missing " + missing[i] + "\n";
    for (std::size_t i = 0; i < std::min<std::size_t>(added.size(), 5); ++i)
        text += "  added   " + added[i] + "\n";
    return text;
}

TEST(StreamRandom, ReportsWhatOneCallForTheWholeImageReports)
{
    const char* const count = std::getenv("NARVO_STREAM_CASES");
    int compared = 0;
    int inexact = 0;
    std::int64_t windows = 0;
    std::int64_t blobs = 0;
    std::int64_t repairs = 0;
    int byRowTable = 0;
    int byColumnTable = 0;
    const std::vector<std::uint64_t> seeds = CaseSeeds("streams", count != nullptr ? std::atoi(count) : 150);
    for (const std::uint64_t seed : seeds)
    {
        CRandom random(seed);
        const StreamCase one = RandomStreamCase(random);
        bool complete = false;
        const StreamLines whole = InspectWhole(one, complete);
        StreamCounts counts;
        const StreamLines stream = InspectStream(one, counts);
        ASSERT_EQ(counts.rows, one.image.Height()) << ReplayHint(seed);
        ASSERT_EQ(counts.finalRows, one.image.Height()) << ReplayHint(seed);
        if (!complete || !counts.IsExact())
        {
            ++inexact;
            continue;
        }
        ++compared;
        windows += counts.windows;
        blobs += counts.blobs;
        repairs += counts.repairs;
        byRowTable += one.recipe.scanPitches.size() > 1 ? 1 : 0;
        byColumnTable += one.recipe.convPitches.empty() ? 0 : 1;
        ASSERT_EQ(whole.pairs == stream.pairs, true) << ReplayHint(seed) << "\n"
                                                     << Difference(whole.pairs, stream.pairs);
        ASSERT_EQ(whole.blobs == stream.blobs, true) << ReplayHint(seed) << "\n"
                                                     << Difference(whole.blobs, stream.blobs);
    }
    RecordProperty("compared", compared);
    std::printf("%d streams compared, %d by row tables, %d by column tables, %lld windows, %lld blobs, %lld repairs; "
                "%d not exact\n",
                compared, byRowTable, byColumnTable, static_cast<long long>(windows), static_cast<long long>(blobs),
                static_cast<long long>(repairs), inexact);
    // A share of the cases need not reach all of this.
    if (seeds.size() > 1 && CaseShare() == 1)
    {
        EXPECT_GT(compared, 3 * static_cast<int>(seeds.size()) / 4);
        EXPECT_GT(windows, 2 * compared);
        EXPECT_GT(repairs, 0);
        EXPECT_GT(byRowTable, 0);
        EXPECT_GT(byColumnTable, 0);
    }
}

/// Specks that come near each other, over a wide image: so few that most are complete by the rows between them, so
/// many that they are not, and more than are built at once.
TEST(StreamRandom, ReportsTheSameOfFewAndManySpecksInWideImages)
{
    for (const std::uint64_t seed : CaseSeeds("stream specks", 6))
    {
        CRandom random(seed);
        for (const int specks : {100, 2000, 8000})
        {
            StreamCase one;
            one.recipe.mode = Mode_Pixel;
            one.recipe.direction = random.OneIn(4) ? Direction_Horizontal : Direction_Vertical;
            one.recipe.pitchX = 16.25;
            one.recipe.pitchY = 20.5;
            one.recipe.thresholdBase = 20;
            one.recipe.mergeDistance = random.Pick({1, 4, 9});
            one.settings.withPairs = true;
            one.image = GreyImage(1600, 6000, 100);
            for (int i = 0; i < specks; ++i)
            {
                const int x = random.Int(0, one.image.Width() - 3);
                const int y = random.Int(0, one.image.Height() - 3);
                for (int row = 0; row < 3; ++row)
                    if (!random.OneIn(3))
                        one.image.Row(y + row)[x + random.Int(0, 2)] = random.OneIn(2) ? 30 : 170;
            }
            one.pieces = random.OneIn(2) ? std::vector<int>{6000} : std::vector<int>{100, 1500, 1, 2999, 1400};
            bool complete = false;
            const StreamLines whole = InspectWhole(one, complete);
            StreamCounts counts;
            const StreamLines stream = InspectStream(one, counts);
            ASSERT_TRUE(complete && counts.IsExact()) << ReplayHint(seed);
            ASSERT_GT(stream.blobs.size(), static_cast<std::size_t>(specks / 2)) << ReplayHint(seed);
            ASSERT_EQ(whole.pairs == stream.pairs, true) << ReplayHint(seed) << "\n"
                                                         << Difference(whole.pairs, stream.pairs);
            ASSERT_EQ(whole.blobs == stream.blobs, true) << ReplayHint(seed) << "\n"
                                                         << Difference(whole.blobs, stream.blobs);
        }
    }
}

} // namespace
} // namespace narvo::test
