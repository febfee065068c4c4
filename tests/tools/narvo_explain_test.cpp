// SPDX-License-Identifier: MIT
// narvo explain as a user runs it: text, JSON, several pixels, and its problems.
#include "tools/run_narvo.h"

#include "host/result/result_reader.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

TEST(NarvoExplain, AgreesWithInspectAndSaysWhy)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "-q"}).code, 0);
    const std::vector<SavedResult> saved = LoadResults(folder / "panel.blobs.json");
    ASSERT_EQ(saved.size(), 1U);
    ASSERT_FALSE(saved[0].result.blobs.empty());
    const Blob& blob = saved[0].result.blobs.front();
    const std::string place = std::to_string(blob.peakPlace.x) + "," + std::to_string(blob.peakPlace.y);

    const Outcome text = RunNarvo(folder, {"explain", "panel.png", "-r", "panel.recipe.json", "--at", place});
    EXPECT_EQ(text.code, 0) << text.error;
    EXPECT_THAT(text.out, HasSubstr("reported, defect " + std::to_string(blob.number)));

    const Outcome several =
        RunNarvo(folder, {"explain", "panel.png", "-r", "panel.recipe.json", "--at", place, "--at", "0,0", "--json"});
    EXPECT_EQ(several.code, 0);
    const nlohmann::json document = nlohmann::json::parse(several.out);
    ASSERT_EQ(document.size(), 2U);
    EXPECT_EQ(document[0]["defect"], blob.number);
    EXPECT_EQ(document[0]["outcome"], "reported");
    EXPECT_EQ(document[1]["x"], 0);
}

TEST(NarvoExplain, ProblemsAreReportedInOneLineEach)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    const Outcome outside = RunNarvo(folder, {"explain", "panel.png", "-r", "panel.recipe.json", "--at", "512,3"});
    EXPECT_EQ(outside.code, 2);
    EXPECT_EQ(outside.error, "narvo: place: 512, 3; allowed: inside the image, 0, 0 to 511, 639\n");
    const Outcome missing = RunNarvo(folder, {"explain", "no.png", "-r", "no.json", "--at", "1,2"});
    EXPECT_EQ(missing.code, 2);
    EXPECT_THAT(missing.error, HasSubstr("no.png"));
    EXPECT_THAT(missing.error, HasSubstr("no.json"));
    EXPECT_EQ(RunNarvo(folder, {"explain", "panel.png", "-r", "panel.recipe.json", "--at", "12"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"explain", "panel.png", "-r", "panel.recipe.json"}).code, 2);
}

} // namespace

} // namespace narvo::test
