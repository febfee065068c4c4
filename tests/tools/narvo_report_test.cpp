// SPDX-License-Identifier: MIT
// narvo report as a user runs it: from results and from images, its notes, its exit codes.
#include "tools/run_narvo.h"

#include "host/result/result_reader.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::HasSubstr;

/// A small panel that has been inspected: panel.blobs.json and its like.
TestFolder& InspectSmallPanel(TestFolder& folder)
{
    EXPECT_EQ(MakeSmallPanel(folder).code, 0);
    EXPECT_EQ(RunNarvo(folder, {"inspect", "panel.png", "-r", "panel.recipe.json", "-q"}).code, 0);
    return folder;
}

/// Pages are too long to be shown where a match fails.
bool Contains(const std::filesystem::path& file, const std::string& part)
{
    return ReadText(file).find(part) != std::string::npos;
}

TEST(NarvoReport, ResultAndImageGiveTheSameDefects)
{
    TestFolder folder;
    InspectSmallPanel(folder);
    const Outcome result = RunNarvo(folder, {"report", "panel.blobs.json"});
    EXPECT_EQ(result.code, 0) << result.error;
    EXPECT_THAT(result.out, HasSubstr("report: panel.report.html, 1 image"));
    const Outcome image = RunNarvo(folder, {"report", "panel.png", "-r", "panel.recipe.json", "-o", "image.html"});
    EXPECT_EQ(image.code, 0) << image.error;
    const auto rows = [&](const char* file)
    {
        const std::string text = ReadText(folder / file);
        EXPECT_TRUE(text.find("data:image/jpeg;base64,") != std::string::npos);
        const std::size_t start = text.find("\"blobs\":[");
        return text.substr(start, text.find("</script>", start) - start);
    };
    EXPECT_EQ(rows("panel.report.html"), rows("image.html"));
    EXPECT_GT(rows("image.html").size(), 200U);
}

TEST(NarvoReport, ThumbnailsBeyondTheLimitAreSaidToBeMissing)
{
    TestFolder folder;
    InspectSmallPanel(folder);
    const Outcome few = RunNarvo(folder, {"report", "panel.blobs.json", "--thumbnails", "3"});
    EXPECT_EQ(few.code, 0);
    EXPECT_THAT(few.error, HasSubstr("defects the 3 largest dark and bright ones come with thumbnails"));
    EXPECT_TRUE(Contains(folder / "panel.report.html", "the 3 largest dark and bright ones come with thumbnails"));
}

TEST(NarvoReport, GoldenResultsComeWithCropsOfReferenceAndDifference)
{
    TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"board", "--output", "board", "--shift-x", "4.5", "-q"}).code, 0);
    ASSERT_EQ(RunNarvo(folder, {"golden", "board.good.png", "board.png", "-q"}).code, 0);
    EXPECT_EQ(RunNarvo(folder, {"report", "board.blobs.json", "-o", "with.html"}).code, 0);
    EXPECT_TRUE(Contains(folder / "with.html", "\"parts\":3")) << "crops of reference and difference";
    EXPECT_FALSE(Contains(folder / "with.html", "its recipe is not there"));
    std::filesystem::remove(folder / "board.good.png");
    EXPECT_EQ(RunNarvo(folder, {"report", "board.blobs.json", "-o", "without.html"}).code, 0);
    EXPECT_TRUE(Contains(folder / "without.html", "references that it names are not there"));
    EXPECT_TRUE(Contains(folder / "without.html", "\"parts\":1"));
    std::ofstream(folder / "odd.json") << R"({"version": 1, "blobs": [], "references": [3]})";
    EXPECT_THAT(RunNarvo(folder, {"report", "odd.json"}).error, HasSubstr("a list of file names"));
}

TEST(NarvoReport, ImagesAreHeldAgainstAGoldenCell)
{
    TestFolder folder;
    InspectSmallPanel(folder);
    ASSERT_EQ(RunNarvo(folder, {"cell", "panel.png", "-r", "panel.recipe.json", "--learn", "cell.json", "-q"}).code, 0);
    // The golden cell darker at one place: the image is brighter there in every cell.
    json cell = json::parse(ReadText(folder / "cell.json"));
    for (std::size_t y = 20; y < 24; ++y)
        for (std::size_t x = 30; x < 34; ++x)
            cell["regions"][0]["mean"][y][x] = cell["regions"][0]["mean"][y][x].get<double>() - 25.0;
    std::ofstream(folder / "cell.json") << cell;
    const Outcome outcome =
        RunNarvo(folder, {"report", "panel.blobs.json", "-r", "panel.recipe.json", "--cell", "cell.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_TRUE(Contains(folder / "panel.report.html", R"("cell":{"images":1,"different":1,"found":1)"));
    EXPECT_TRUE(Contains(folder / "panel.report.html", R"("where":"x 29 to 32, y 20 to 23","difference":2)"));
    EXPECT_TRUE(Contains(folder / "panel.report.html", R"("drawn":"panel.png")"));

    EXPECT_THAT(RunNarvo(folder, {"report", "panel.blobs.json", "--cell", "cell.json"}).error, HasSubstr("--recipe"));
    const Outcome bad =
        RunNarvo(folder, {"report", "panel.blobs.json", "-r", "panel.recipe.json", "--cell", "panel.png"});
    EXPECT_EQ(bad.code, 2);
    EXPECT_THAT(bad.error, HasSubstr("panel.png"));
    json recipe = json::parse(ReadText(folder / "panel.recipe.json"));
    recipe["pitch"]["x"] = 40.0;
    std::ofstream(folder / "other.json") << recipe;
    EXPECT_THAT(RunNarvo(folder, {"report", "panel.blobs.json", "-r", "other.json", "--cell", "cell.json"}).error,
                HasSubstr("the golden cell's"));
}

TEST(NarvoReport, MissingImageIsANoteAndLeavesTheTable)
{
    TestFolder folder;
    InspectSmallPanel(folder);
    std::filesystem::remove(folder / "panel.png");
    const Outcome outcome = RunNarvo(folder, {"report", "panel.blobs.json"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_THAT(outcome.error, HasSubstr("without pictures"));
    EXPECT_FALSE(Contains(folder / "panel.report.html", "data:image/jpeg"));
    EXPECT_TRUE(Contains(folder / "panel.report.html", "\"blobs\":[["));
}

TEST(NarvoReport, ModesWithoutAReferenceShowTheImageAlone)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    std::ofstream(folder / "dark.json") << R"({"version": 1, "mode": "binarise", "binarise": {"limit": 30}})";
    const Outcome outcome = RunNarvo(folder, {"report", "panel.png", "-r", "dark.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_TRUE(Contains(folder / "panel.report.html", "\"parts\":1"));
}

TEST(NarvoReport, ManyImagesComeFromOneFileOfLines)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    std::filesystem::copy_file(folder / "panel.png", folder / "again.png");
    ASSERT_EQ(
        RunNarvo(folder, {"inspect", "panel.png", "again.png", "-r", "panel.recipe.json", "-q", "-o", "many"}).code, 0);
    const Outcome lines = RunNarvo(folder, {"report", "many.jsonl", "-r", "panel.recipe.json"});
    EXPECT_EQ(lines.code, 0) << lines.error;
    EXPECT_THAT(lines.out, HasSubstr("report: many.report.html, 2 images"));
    EXPECT_TRUE(Contains(folder / "many.report.html", "\"name\":\"again.png\",\"width\":512,\"height\":640"));
    EXPECT_TRUE(Contains(folder / "many.report.html", "\"parts\":3"));
    const Outcome images = RunNarvo(folder, {"report", "panel.png", "again.png", "-r", "panel.recipe.json"});
    EXPECT_THAT(images.out, HasSubstr("panel.report.html, 2 images"));
}

TEST(NarvoReport, RegionsOfAnImageAreKeptApart)
{
    TestFolder folder;
    MakeSmallPanel(folder);
    nlohmann::json recipe = nlohmann::json::parse(ReadText(folder / "panel.recipe.json"));
    nlohmann::json regions = {{"version", 1}, {"regions", nlohmann::json::array()}};
    for (const char* name : {"upper", "lower"})
    {
        nlohmann::json region = recipe;
        region.erase("version");
        region["name"] = name;
        const int top = std::string(name) == "upper" ? 0 : 320;
        region["region"] = {{"left", 0}, {"top", top}, {"right", 512}, {"bottom", top + 320}};
        regions["regions"].push_back(region);
    }
    std::ofstream(folder / "two.json") << regions;
    const Outcome outcome = RunNarvo(folder, {"report", "panel.png", "-r", "two.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_TRUE(Contains(folder / "panel.report.html", "\"name\":\"panel.png, upper\""));
    EXPECT_TRUE(Contains(folder / "panel.report.html", "\"name\":\"panel.png, lower\""));
    EXPECT_TRUE(Contains(folder / "panel.report.html", "\"name\":\"two.json, lower\""));
}

TEST(NarvoReport, EveryProblemIsReportedAndNothingWritten)
{
    TestFolder folder;
    std::ofstream(folder / "no.json") << "{}";
    std::ofstream(folder / "bad.json") << R"({"blobs": [{"number": "one"}], "code": 1})";
    const Outcome outcome = RunNarvo(folder, {"report", "no.json", "bad.json", "gone.png", "-o", "page.html"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_THAT(outcome.error, HasSubstr("--recipe"));
    EXPECT_THAT(outcome.error, HasSubstr("no.json"));
    EXPECT_THAT(outcome.error, HasSubstr("bad.json, blobs[0].number"));
    EXPECT_THAT(outcome.error, HasSubstr("gone.png"));
    EXPECT_FALSE(std::filesystem::exists(folder / "page.html"));
    EXPECT_EQ(RunNarvo(folder, {"report"}).code, 2);
}

TEST(NarvoReport, EditedResultsAreShownOrRefusedAndCrashNothing)
{
    TestFolder folder;
    InspectSmallPanel(folder);
    const nlohmann::json well = nlohmann::json::parse(ReadText(folder / "panel.blobs.json"));
    const auto report = [&](const char* pointer, const nlohmann::json& value)
    {
        nlohmann::json edited = well;
        edited[nlohmann::json::json_pointer(pointer)] = value;
        std::ofstream(folder / "edited.json") << edited;
        return RunNarvo(folder, {"report", "edited.json"});
    };
    for (const int far : {-2147483647 - 1, -100000, 100000, 2147483647})
        for (const char* side : {"left", "top", "right", "bottom"})
            EXPECT_EQ(report((std::string("/blobs/0/") + side).c_str(), far).code, 0) << side << far;
    for (const char* pointer : {"/blobs/0/area", "/region/left", "/code", "/width"})
        EXPECT_EQ(report(pointer, 5000000000).code, 2) << pointer;
    for (const char* pointer : {"/blobs", "/outlines", "/warnings", "/direction", "/blobs/0", "/name"})
        EXPECT_EQ(report(pointer, 5).code, 2) << pointer;
    const Outcome version = report("/version", 99);
    EXPECT_EQ(version.code, 2);
    EXPECT_THAT(version.error, HasSubstr("edited.json, version: 99; allowed: 1\n"));
}

TEST(NarvoReport, PageThatCannotBeWrittenIsAnExitCodeOfItsOwn)
{
    TestFolder folder;
    InspectSmallPanel(folder);
    EXPECT_EQ(RunNarvo(folder, {"report", "panel.blobs.json", "-o", "none/page.html"}).code, 3);
}

TEST(ResultReader, ReadsWhatInspectWrites)
{
    TestFolder folder;
    InspectSmallPanel(folder);
    const std::vector<SavedResult> all = LoadResults(folder / "panel.blobs.json");
    ASSERT_EQ(all.size(), 1U);
    const SavedResult& saved = all[0];
    EXPECT_EQ(saved.image, "panel.png");
    EXPECT_EQ(saved.recipe, "panel.recipe.json");
    EXPECT_EQ(saved.result.code, 1);
    EXPECT_EQ(saved.result.region, CRect(0, 0, 512, 640));
    ASSERT_FALSE(saved.result.blobs.empty());
    EXPECT_EQ(saved.result.blobs[0].number, 1);
    EXPECT_GT(saved.result.blobs[0].area, 0);
}

} // namespace

} // namespace narvo::test
