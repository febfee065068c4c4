// SPDX-License-Identifier: MIT
// Boards and golden inspection from files to files, measurement on a folder of pairs, and bad input.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

/// board.png with its truth, and as many good boards as asked for.
Outcome MakeSmallBoard(const TestFolder& folder, const std::string& output, const std::string& seed,
                       const std::string& references = "1")
{
    return RunNarvo(folder, {"board", "--width", "300", "--height", "280", "--defects", "5", "--seed", seed,
                             "--shift-x", "4.3", "--rotation", "0.4", "--references", references, "--output", output});
}

TEST(NarvoGolden, BoardIsInspectedToItsTruth)
{
    const TestFolder folder;
    const Outcome made = MakeSmallBoard(folder, "board", "4");
    ASSERT_EQ(made.code, 0) << made.error;
    EXPECT_THAT(made.out, HasSubstr("defects placed: 5 of 5"));
    const Outcome outcome =
        RunNarvo(folder, {"golden", "board.good.png", "board.png", "--truth", "board.truth.json", "--steps"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_THAT(outcome.out, HasSubstr("recall: 1.000 (5 of 5)\nfalse blobs: 0\n"));
    for (const char* ending : {".blobs.csv", ".overlay.png", ".reference.png", ".threshold.png"})
        EXPECT_TRUE(std::filesystem::exists(folder / ("board" + std::string(ending)))) << ending;
    const json document = json::parse(ReadText(folder / "board.blobs.json"));
    EXPECT_EQ(document["references"], json({"board.good.png"}));
    EXPECT_NEAR(document["registration"]["rotation"].get<double>(), 0.4, 0.03);
    EXPECT_FALSE(document.contains("drift")); // of what is compared, not of the image
    EXPECT_GE(document["blobs"].size(), 5U);  // a defect across an edge may show in two pieces
}

TEST(NarvoGolden, SeveralReferencesServeSeveralImages)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallBoard(folder, "board", "4", "2").code, 0);
    const Outcome outcome =
        RunNarvo(folder, {"golden", "--reference", "board.good.png", "--reference", "board.good2.png", "board.png",
                          "board.good.png", "--output", "run-", "--max-shift", "20"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_GE(json::parse(ReadText(folder / "run-board.blobs.json"))["blobs"].size(), 5U);
    EXPECT_TRUE(json::parse(ReadText(folder / "run-board.good.blobs.json"))["blobs"].empty());
}

TEST(NarvoGolden, AStrangeImageIsRefusedAndTheOthersAreInspected)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallBoard(folder, "board", "4").code, 0);
    ASSERT_EQ(MakeSmallBoard(folder, "other", "5").code, 0);
    const Outcome outcome = RunNarvo(folder, {"golden", "board.good.png", "other.png", "board.png", "--quiet"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("narvo: image other.png: "));
    EXPECT_FALSE(std::filesystem::exists(folder / "other.blobs.json"));
    EXPECT_TRUE(std::filesystem::exists(folder / "board.blobs.json"));
}

TEST(NarvoGolden, EveryValueOutOfRangeIsNamed)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallBoard(folder, "board", "4").code, 0);
    const Outcome outcome = RunNarvo(folder, {"golden", "board.good.png", "board.png", "--max-rotation", "11",
                                              "--threshold", "256", "--edge-tolerance", "-1", "--mesh", "8"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("max_rotation: 11; allowed: 0 to 10 degrees"));
    EXPECT_THAT(outcome.error, HasSubstr("threshold: 256; allowed: 0 to 255 grey levels"));
    EXPECT_THAT(outcome.error, HasSubstr("edge_tolerance: -1; allowed: 0 to 16 pixels"));
    EXPECT_THAT(outcome.error, HasSubstr("mesh_spacing: 8; allowed: 16 to 1024 pixels, or 0 for no mesh"));
}

TEST(NarvoGolden, MissingImagesAreNamed)
{
    const TestFolder folder;
    EXPECT_THAT(RunNarvo(folder, {"golden"}).error, HasSubstr("images: no reference"));
    EXPECT_THAT(RunNarvo(folder, {"golden", "a.png"}).error, HasSubstr("images: no image to inspect"));
    const Outcome outcome = RunNarvo(folder, {"golden", "a.png", "b.png"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("image a.png: no such file"));
}

TEST(NarvoGolden, AFolderIsStreamedTheSameByAnyNumberOfLanes)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallBoard(folder, "board", "4").code, 0);
    ASSERT_EQ(MakeSmallBoard(folder, "other", "5").code, 0);
    std::filesystem::create_directory(folder / "boards");
    for (const char* name : {"board.png", "board.good.png", "other.png"})
        std::filesystem::rename(folder / name, folder / "boards" / name);
    const auto run = [&](const std::string& lanes, const std::string& output) {
        return RunNarvo(folder, {"golden", "boards/board.good.png", "boards", "--lanes", lanes, "--output", output});
    };
    // The reference is in the folder too, and is not inspected; the strange board is refused.
    const Outcome one = run("1", "one");
    EXPECT_EQ(one.code, 7) << one.error;
    EXPECT_THAT(one.out, HasSubstr("images: 2 (1 inspected, 1 refused, 0 with warnings)\n"));
    EXPECT_THAT(one.error, HasSubstr("narvo: boards/other.png: image: "));
    EXPECT_EQ(run("3", "three").code, 7);
    EXPECT_EQ(ReadText(folder / "one.jsonl"), ReadText(folder / "three.jsonl"));
    const std::string table = ReadText(folder / "one.csv");
    EXPECT_EQ(table, ReadText(folder / "three.csv"));

    // The blobs are those of an image that is named.
    ASSERT_EQ(RunNarvo(folder, {"golden", "boards/board.good.png", "boards/board.png", "-o", "single"}).code, 0);
    const json blobs = json::parse(ReadText(folder / "single.blobs.json"))["blobs"];
    EXPECT_GE(blobs.size(), 5U);
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), static_cast<std::ptrdiff_t>(blobs.size()) + 1);
}

TEST(NarvoGolden, AListIsResumedAndOtherReferencesRefuseThat)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallBoard(folder, "board", "4", "2").code, 0);
    const auto list = [&](const std::string& names) { std::ofstream(folder / "list.txt") << names; };
    const auto run = [&](const std::string& reference) {
        return RunNarvo(folder, {"golden", reference, "--list", "list.txt", "--resume"});
    };
    list("board.png\n");
    ASSERT_EQ(RunNarvo(folder, {"golden", "board.good.png", "--list", "list.txt"}).code, 0);
    const std::string first = ReadText(folder / "results.jsonl");
    list("board.png\nboard.good2.png\n");
    const Outcome resumed = run("board.good.png");
    EXPECT_EQ(resumed.code, 0) << resumed.error;
    EXPECT_THAT(resumed.out, HasSubstr("images: 1 to inspect, 1 done before\n"));
    EXPECT_EQ(ReadText(folder / "results.jsonl").substr(0, first.size()), first);

    const Outcome other = run("board.good2.png");
    EXPECT_EQ(other.code, 2);
    EXPECT_THAT(other.error, HasSubstr("made by another recipe"));
}

TEST(NarvoGolden, AFolderOfPairsIsNoRunOverManyImages)
{
    const TestFolder folder;
    const Outcome outcome = RunNarvo(folder, {"golden", "--truth", ".", "--lanes", "2"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("a folder of pairs alone, without --lanes"));
}

TEST(NarvoGolden, ColourImagesOfTheSimplestFormatAreFoundInFolders)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallBoard(folder, "board", "4").code, 0);
    std::filesystem::create_directory(folder / "images");
    const GreyImage image = LoadGreyImage(folder / "board.png");
    std::ofstream file(folder / "images/a.ppm", std::ios::binary);
    file << "P6\n" << image.Width() << ' ' << image.Height() << "\n255\n";
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            for (int channel = 0; channel < 3; ++channel)
                file.put(static_cast<char>(image.Row(y)[x]));
    file.close();
    const Outcome outcome = RunNarvo(folder, {"golden", "board.good.png", "images", "--output", "run"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(ReadText(folder / "run.jsonl"), HasSubstr("images/a.ppm"));
}

TEST(NarvoGolden, PairsOfAFolderAreMeasured)
{
    const TestFolder folder;
    std::filesystem::create_directory(folder / "pairs");
    for (const std::string seed : {"4", "5"})
    {
        ASSERT_EQ(MakeSmallBoard(folder, "board", seed).code, 0);
        std::filesystem::rename(folder / "board.good.png", folder / ("pairs/" + seed + "_temp.png"));
        std::filesystem::rename(folder / "board.png", folder / ("pairs/" + seed + "_test.png"));
        std::ofstream boxes(folder / ("pairs/" + seed + ".txt"));
        const json truth = json::parse(ReadText(folder / "board.truth.json"));
        for (const json& defect : truth["defects"])
            boxes << defect["left"] << ' ' << defect["top"] << ' ' << defect["right"] << ' ' << defect["bottom"]
                  << " 1\n";
    }
    const Outcome plain = RunNarvo(folder, {"golden", "--truth", "pairs", "--displace", "5"});
    EXPECT_EQ(plain.code, 0) << plain.error;
    EXPECT_THAT(plain.out, HasSubstr("2 pairs, found 10 of 10 (1.0000), false 0 (0.00 an image)"));

    const Outcome checked = RunNarvo(folder, {"golden", "--truth", "pairs", "--cross-check", "--quiet"});
    EXPECT_EQ(checked.code, 0) << checked.error;
    EXPECT_THAT(checked.out, HasSubstr("chosen on half 1: "));
    EXPECT_THAT(checked.out, HasSubstr("both halves by the choice of the other: 2 pairs, found 10 of 10"));

    // The ends of a pair's names need not agree, and a pair that cannot be read leaves the others.
    std::filesystem::copy(folder / "pairs/5_test.png", folder / "pairs/6_test.png");
    std::ofstream(folder / "pairs/6_temp.tif") << "no image";
    std::ofstream(folder / "pairs/4.txt") << "10 10 5 20 1\n";
    const Outcome bad = RunNarvo(folder, {"golden", "--truth", "pairs"});
    EXPECT_EQ(bad.code, 2);
    EXPECT_THAT(bad.error, HasSubstr("4.txt, line 1: 10 10 5 20 1"));
    EXPECT_THAT(bad.error, HasSubstr("6_temp.tif"));
    EXPECT_THAT(bad.error, HasSubstr("2 of 3 pairs could not be read"));
    EXPECT_THAT(bad.out, HasSubstr("1 pairs, found 5 of 5"));
    EXPECT_THAT(RunNarvo(folder, {"golden", "--truth", "."}).error, HasSubstr("no pairs"));
}

TEST(NarvoBoard, NamesEveryNumberOutOfRange)
{
    const TestFolder folder;
    const Outcome outcome = RunNarvo(folder, {"board", "--width", "100", "--sway", "9", "--scale-x", "2"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("--width: 100; allowed: 256 to 8192 pixels"));
    EXPECT_THAT(outcome.error, HasSubstr("--sway: 9; allowed: 0 to 8 pixels"));
    EXPECT_THAT(outcome.error, HasSubstr("--scale-x: 2; allowed: 0.8 to 1.2"));
    EXPECT_THAT(outcome.error, Not(HasSubstr("--height")));
}

} // namespace

} // namespace narvo::test
