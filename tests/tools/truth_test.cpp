// SPDX-License-Identifier: MIT
// Scoring against ground truth.
#include "tools/truth/truth.h"

#include <fstream>

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

Blob BlobAt(const CRect& box)
{
    Blob blob{};
    blob.box = box;
    return blob;
}

TEST(Truth, BlobThatTouchesTheBoxGrownByThreeCounts)
{
    const std::vector<tools::TruthDefect> truth = {{"dot", false, CRect(100, 100, 110, 110), 50.0}};
    const auto found = [&](const CRect& box) -> bool { return tools::CompareWithTruth(truth, {BlobAt(box)}).found[0]; };
    EXPECT_TRUE(found(CRect(112, 100, 115, 103)));
    EXPECT_FALSE(found(CRect(113, 100, 115, 103)));
    EXPECT_TRUE(found(CRect(90, 90, 98, 98)));
    EXPECT_FALSE(found(CRect(90, 90, 97, 98)));
}

TEST(Truth, BlobThatTouchesNoBoxIsFalse)
{
    const std::vector<tools::TruthDefect> truth = {{"dot", false, CRect(100, 100, 110, 110), 50.0},
                                                   {"line", true, CRect(300, 100, 310, 110), 50.0}};
    const tools::TruthScore score = tools::CompareWithTruth(
        truth, {BlobAt(CRect(104, 104, 106, 106)), BlobAt(CRect(200, 200, 201, 201)), BlobAt(CRect(99, 99, 101, 101))});
    EXPECT_THAT(score.found, ElementsAre(true, false));
    EXPECT_THAT(score.falseBlobs, ElementsAre(false, true, false));
    EXPECT_EQ(score.FoundCount(), 1);
    EXPECT_EQ(score.FalseCount(), 1);
    EXPECT_EQ(score.Recall(), 0.5);
    EXPECT_EQ(tools::DescribeScore(truth, score), "  dot: 1 of 1\n  line: 0 of 1\n");
}

TEST(Truth, NothingToFindIsFullRecall)
{
    EXPECT_EQ(tools::CompareWithTruth({}, {}).Recall(), 1.0);
}

TEST(Truth, WrittenTruthReadsBackTheSame)
{
    const TestFolder folder;
    tools::SaveTruth(folder / "t.json", "a.png", {{"dot", true, CRect(1, 2, 3, 4), 25.5}});
    const auto truth = tools::LoadTruth(folder / "t.json");
    ASSERT_THAT(truth, SizeIs(1));
    EXPECT_EQ(truth[0].kind, "dot");
    EXPECT_TRUE(truth[0].bright);
    EXPECT_EQ(truth[0].box, CRect(1, 2, 3, 4));
    EXPECT_EQ(truth[0].contrast, 25.5);
}

TEST(Truth, LinesOfBoxesAreReadAsDefects)
{
    const TestFolder folder;
    std::ofstream(folder / "t.txt") << "1 2 5 6 open\n\n3,4,9,8,short\n";
    const auto truth = tools::LoadTruth(folder / "t.txt");
    ASSERT_THAT(truth, SizeIs(2));
    EXPECT_EQ(truth[0].kind, "open");
    EXPECT_EQ(truth[0].box, CRect(1, 2, 5, 6));
    EXPECT_EQ(truth[1].kind, "short");
    EXPECT_EQ(truth[1].box, CRect(3, 4, 9, 8));
    std::ofstream(folder / "t.txt") << "1 2 5 6 open\n5 2 1 6 open\n";
    const auto found = ProblemsOf([&] { tools::LoadTruth(folder / "t.txt"); });
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_THAT(found[0].field, HasSubstr("t.txt, line 2"));
    std::ofstream(folder / "t.txt") << "";
    EXPECT_THAT(tools::LoadTruth(folder / "t.txt"), SizeIs(0));
    // JSON under another name, and an empty file that should be JSON.
    std::ofstream(folder / "t.truth")
        << R"({"version": 1, "defects": [{"left": 1, "top": 2, "right": 3, "bottom": 4}]})";
    EXPECT_THAT(tools::LoadTruth(folder / "t.truth"), SizeIs(1));
    std::ofstream(folder / "t.json") << "";
    EXPECT_THAT(ProblemsOf([&] { tools::LoadTruth(folder / "t.json"); }), SizeIs(1));
}

TEST(Truth, FilesOfTheWrongFormAreRefusedWithAllProblems)
{
    const TestFolder folder;
    const auto problems = [&](const char* text)
    {
        std::ofstream(folder / "t.json") << text;
        return ProblemsOf([&] { tools::LoadTruth(folder / "t.json"); });
    };
    EXPECT_THAT(problems("not json"), SizeIs(1));
    EXPECT_THAT(problems("{}"), SizeIs(1));
    const auto found = problems(R"({"defects": [{"left": 1, "top": "x", "right": 3}, 7]})");
    ASSERT_THAT(found, SizeIs(3));
    EXPECT_THAT(found[0].field, HasSubstr("defects[0].top"));
    EXPECT_EQ(found[0].value, "\"x\"");
    EXPECT_THAT(found[1].field, HasSubstr("defects[0].bottom"));
    EXPECT_EQ(found[1].value, "missing");
    EXPECT_THAT(found[2].field, HasSubstr("defects[1]"));
    EXPECT_THAT(ProblemsOf([&] { tools::LoadTruth(folder / "none.json"); }), SizeIs(1));
}

} // namespace

} // namespace narvo::test
