// SPDX-License-Identifier: MIT
// narvo export as a user runs it: every form from one image and from many, KLARF there and back, refusals.
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

/// Two panels that have been inspected: results.jsonl, and first.blobs.json of one of them.
void InspectTwoPanels(const TestFolder& folder)
{
    for (const char* seed : {"1", "2"})
        ASSERT_EQ(RunNarvo(folder, {"synth", "--width", "512", "--height", "400", "--defects", "4", "--seed", seed,
                                    "--output", std::string("panel") + seed})
                      .code,
                  0);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel1.png", "panel2.png", "-r", "panel1.recipe.json", "-q"}).code, 0);
    ASSERT_EQ(RunNarvo(folder, {"inspect", "panel1.png", "-r", "panel1.recipe.json", "-q", "-o", "first"}).code, 0);
}

} // namespace

TEST(NarvoExport, KlarfComesBackWithTheSameDefects)
{
    const TestFolder folder;
    InspectTwoPanels(folder);
    EXPECT_EQ(RunNarvo(folder, {"export", "results.jsonl", "-f", "csv", "-o", "direct.csv"}).code, 0);
    const auto boxes = [&](const char* file)
    {
        // Dies are called by their place instead of the image's name.
        std::string text = ReadText(folder / file);
        for (const char* name : {"panel1.png", "panel2.png", "die_0_0", "die_1_0"})
            for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name))
                text.replace(at, std::string(name).size(), "image");
        return text;
    };
    for (const char* version : {"klarf-1.2", "klarf-1.8"})
    {
        ASSERT_EQ(
            RunNarvo(folder, {"export", "results.jsonl", "-f", version, "-o", "lot.klarf", "--pixel-size", "3.5"}).code,
            0);
        const Outcome back =
            RunNarvo(folder, {"export", "lot.klarf", "-f", "csv", "-o", "back.csv", "--pixel-size", "3.5"});
        EXPECT_EQ(back.code, 0) << back.error;
        EXPECT_THAT(back.out, HasSubstr("back.csv: images 2, defects "));
        EXPECT_EQ(boxes("back.csv"), boxes("direct.csv"));
    }
}

TEST(NarvoExport, ARepeatedCallGivesTheSameBytes)
{
    const TestFolder folder;
    InspectTwoPanels(folder);
    for (const char* name : {"one", "two"})
        ASSERT_EQ(RunNarvo(folder, {"export", "results.jsonl", "-f", "klarf-1.8", "-o", name, "--time",
                                    "2026-01-02 03:04:05", "--lot", "7"})
                      .code,
                  0);
    EXPECT_EQ(ReadText(folder / "one"), ReadText(folder / "two"));
    EXPECT_THAT(ReadText(folder / "one"), HasSubstr("\"01-02-2026\", \"03:04:05\""));
}

TEST(NarvoExport, EvaluateReadsTheLabelsOfAFolder)
{
    const TestFolder folder;
    InspectTwoPanels(folder);
    for (const char* form : {"voc", "yolo"})
    {
        const std::string set = std::string(form) + "set";
        ASSERT_EQ(RunNarvo(folder, {"export", "results.jsonl", "-f", form, "-o", set}).code, 0);
        for (const char* image : {"panel1.png", "panel2.png"})
            std::filesystem::copy_file(folder / image, folder / (set + "/" + image));
        const Outcome measured = RunNarvo(folder, {"evaluate", set, "-r", "panel1.recipe.json"});
        EXPECT_EQ(measured.code, 0) << measured.error;
        EXPECT_THAT(measured.out, HasSubstr("1.000")); // what was reported is found again
    }
}

TEST(NarvoExport, OneImageTakesItsSizeFromTheImageFile)
{
    const TestFolder folder;
    InspectTwoPanels(folder);
    EXPECT_EQ(RunNarvo(folder, {"export", "first.blobs.json", "-f", "coco", "-o", "coco.json"}).code, 0);
    const auto document = nlohmann::json::parse(ReadText(folder / "coco.json"));
    EXPECT_EQ(document["images"][0]["width"], 512);
    EXPECT_EQ(document["images"][0]["height"], 400);
    std::filesystem::remove(folder / "panel1.png");
    const Outcome unsized = RunNarvo(folder, {"export", "first.blobs.json", "-f", "yolo", "-o", "labels"});
    EXPECT_EQ(unsized.code, 2);
    EXPECT_THAT(unsized.error, HasSubstr("size of panel1.png"));
    EXPECT_FALSE(std::filesystem::exists(folder / "labels"));
}

TEST(NarvoExport, KindsInOtherEncodingsReachEveryForm)
{
    const TestFolder folder;
    std::ofstream(folder / "other.klarf")
        << "FileVersion 1 2;\nDiePitch 100 50;\nClassLookup 1\n 1 \"Kr\xe4tzer\";\nDefectRecordSpec 6 XREL YREL XINDEX "
           "YINDEX DSIZE CLASSNUMBER;\nDefectList\n 10 10 0 0 3 1;\nEndOfFile;\n";
    for (const char* form : {"klarf-1.2", "klarf-1.8", "coco", "csv"})
    {
        const Outcome outcome = RunNarvo(folder, {"export", "other.klarf", "-f", form, "-o", "out"});
        EXPECT_EQ(outcome.code, 0) << outcome.error;
        EXPECT_THAT(ReadText(folder / "out"), HasSubstr("Kr%E4tzer")) << form;
    }
    EXPECT_EQ(RunNarvo(folder, {"export", "other.klarf", "-f", "voc", "-o", "voc"}).code, 0);
    EXPECT_THAT(ReadText(folder / "voc/die_0_0.xml"), HasSubstr("<name>Kr%E4tzer</name>"));
}

TEST(NarvoExport, RefusesBadCalls)
{
    const TestFolder folder;
    InspectTwoPanels(folder);
    EXPECT_EQ(RunNarvo(folder, {"export", "results.jsonl", "-f", "klarf", "-o", "a"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"export", "missing.jsonl", "-f", "csv", "-o", "a"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"export", "results.jsonl", "-f", "csv", "-o", "results.jsonl"}).code, 2);
    EXPECT_EQ(RunNarvo(folder, {"export", "panel1.png", "-f", "csv", "-o", "a"}).code, 2);
    const Outcome time =
        RunNarvo(folder, {"export", "results.jsonl", "-f", "klarf-1.2", "-o", "a", "--time", "yesterday"});
    EXPECT_EQ(time.code, 2);
    EXPECT_THAT(time.error, HasSubstr("time: yesterday; allowed: YYYY-MM-DD hh:mm:ss"));
    EXPECT_EQ(RunNarvo(folder, {"export", "results.jsonl", "-f", "csv", "-o", "/dev/full"}).code, 3);
    EXPECT_FALSE(std::filesystem::exists(folder / "a"));
}

} // namespace narvo::test
