// SPDX-License-Identifier: MIT
// Going on behind lines that were damaged, edited or made by something else, in whatever order, and with names of any
// bytes.
#include <algorithm>
#include <functional>

#include "host/image/grey_image.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

namespace fs = std::filesystem;
using nlohmann::ordered_json;
using testing::HasSubstr;

constexpr int nImages = 4;

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

class NarvoResume : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(MakeSmallPanel(folder).code, 0);
        fs::create_directory(folder / "images");
        const GreyImage panel = LoadGreyImage(folder / "panel.png");
        for (int i = 0; i < nImages; ++i)
        {
            GreyImage image = panel;
            std::fill_n(image.Row(200) + 100 + 20 * i, 9, std::uint8_t{255});
            SaveGreyImage(folder / ("images/i" + std::to_string(i) + ".pgm"), image);
        }
        ASSERT_EQ(Run("-o results").code, 0);
        lines = ReadText(folder / "results.jsonl");
        table = ReadText(folder / "results.csv");
    }

    Outcome Run(const std::string& options) const
    {
        return RunLine(folder, "narvo inspect images -r panel.recipe.json " + options);
    }

    /// The first results with one line in place of another.
    void WriteWith(std::size_t number, const std::string& line) const
    {
        std::vector<std::string> all = LinesOf(lines);
        all[number] = line;
        std::ofstream out(folder / "results.jsonl");
        for (const std::string& one : all)
            out << one << '\n';
    }

    TestFolder folder;
    std::string lines;
    std::string table;
};

TEST_F(NarvoResume, DamagedLineIsReportedAndDoneAgainInItsPlace)
{
    const std::string line = LinesOf(lines)[1];
    const auto edited = [&](const std::function<void(ordered_json&)>& edit)
    {
        ordered_json document = ordered_json::parse(line);
        edit(document);
        return document.dump();
    };
    const std::vector<std::string> damaged = {
        "[5]",
        line.substr(0, line.size() / 2),
        edited([](auto& d) { d["regions"] = ordered_json::array({ordered_json::object()}); }),
        edited([](auto& d) { d["regions"].push_back(d["regions"][0]); }),
        edited([](auto& d) { d["regions"][0]["blobs"] = 5; }),
        edited([](auto& d) { d["status"] = "unknown"; }),
    };
    for (const std::string& one : damaged)
    {
        WriteWith(1, one);
        const Outcome outcome = Run("--resume");
        EXPECT_EQ(outcome.code, 0) << one << '\n' << outcome.error;
        EXPECT_THAT(outcome.error, HasSubstr("narvo: warning: file results.jsonl, line 2")) << one;
        EXPECT_THAT(outcome.out, HasSubstr("images: 1 to inspect, 3 done before, 1 earlier results no longer hold\n"));
        EXPECT_EQ(ReadText(folder / "results.jsonl"), lines) << one;
        EXPECT_EQ(ReadText(folder / "results.csv"), table) << one;
    }
}

TEST_F(NarvoResume, ForeignFileIsRefusedAndLeftAsItIs)
{
    ordered_json other = ordered_json::parse(LinesOf(lines)[1]);
    other["version"] = 99;
    WriteWith(1, other.dump());
    const std::string newer = ReadText(folder / "results.jsonl");
    const Outcome version = Run("--resume");
    EXPECT_EQ(version.code, 2);
    EXPECT_THAT(version.error, HasSubstr("narvo: file results.jsonl, line 2, version: 99; allowed: 1"));
    EXPECT_EQ(ReadText(folder / "results.jsonl"), newer);

    for (const char* text : {"{\"name\": 1}\n{\"name\": 2}\n", "a text\n", "{\"version\":1,\"name\":2}", "a text"})
    {
        std::ofstream(folder / "results.jsonl") << text;
        const Outcome outcome = Run("--resume");
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.error, HasSubstr("file results.jsonl: no line in it is a result; allowed: "));
        EXPECT_EQ(ReadText(folder / "results.jsonl"), text);
    }
    fs::remove(folder / "results.jsonl");
    const Outcome alone = Run("--resume");
    EXPECT_EQ(alone.code, 2);
    EXPECT_THAT(alone.error, HasSubstr("file results.csv: exists already"));
    EXPECT_FALSE(fs::exists(folder / "results.jsonl"));
}

TEST_F(NarvoResume, OrderIsThatOfTheImagesWithAnyLinesThere)
{
    const std::vector<std::string> all = LinesOf(lines);
    for (const std::vector<int>& kept : std::vector<std::vector<int>>{{3, 2, 1, 0}, {1}, {3}, {2, 0}, {0, 0, 3, 1}})
    {
        std::ofstream out(folder / "results.jsonl");
        for (const int number : kept)
            out << all[static_cast<std::size_t>(number)] << '\n';
        out.close();
        EXPECT_EQ(Run("--resume -q").code, 0);
        EXPECT_EQ(ReadText(folder / "results.jsonl"), lines);
        EXPECT_EQ(ReadText(folder / "results.csv"), table);
    }
    EXPECT_FALSE(fs::exists(folder / "results.jsonl.part"));
    EXPECT_FALSE(fs::exists(folder / "results.csv.part"));
}

TEST_F(NarvoResume, LinesOfOtherImagesStandFirst)
{
    fs::copy_file(folder / "images/i3.pgm", folder / "apart.pgm");
    ASSERT_EQ(RunLine(folder, "narvo inspect apart.pgm images/i2.pgm -r panel.recipe.json -q --overwrite").code, 0);
    const std::string apart = LinesOf(ReadText(folder / "results.jsonl"))[0];
    EXPECT_EQ(Run("--resume -q").code, 0);
    EXPECT_EQ(ReadText(folder / "results.jsonl"), apart + '\n' + lines);
}

TEST_F(NarvoResume, TouchedImageKeepsItsResultUnderItsNewTime)
{
    fs::last_write_time(folder / "images/i1.pgm", fs::file_time_type::clock::now() - std::chrono::hours(1));
    const Outcome outcome = Run("--resume");
    EXPECT_THAT(outcome.out, HasSubstr("images: 0 to inspect, 4 done before\n"));
    EXPECT_EQ(Run("-o whole -q").code, 0);
    EXPECT_EQ(ReadText(folder / "results.jsonl"), ReadText(folder / "whole.jsonl"));
}

TEST_F(NarvoResume, NamesOfAnyBytesAreWrittenAndFoundAgain)
{
    const std::vector<std::pair<std::string, std::string>> names = {
        {"images/a\xFF.pgm", "images/a%FF.pgm"},
        {"images/a%FF.pgm", "images/a%25FF.pgm"},
        {"images/b\xC3\xA4.pgm", "images/b\xC3\xA4.pgm"},
        {"images/c\xC3.pgm", "images/c%C3.pgm"},
        {"images/d 100%, \"x\"\n.pgm", "images/d 100%, \"x\"\n.pgm"},
    };
    for (const auto& [name, text] : names)
        fs::copy_file(folder / "images/i0.pgm", folder / name);
    std::ofstream(folder / "images/broken\xFE.pgm") << "none";
    const Outcome first = Run("--overwrite");
    EXPECT_EQ(first.code, 7) << first.error;
    const std::string whole = ReadText(folder / "results.jsonl");
    std::vector<std::string> written;
    for (const std::string& line : LinesOf(whole))
        written.push_back(ordered_json::parse(line)["image"]);
    for (const auto& [name, text] : names)
        EXPECT_THAT(written, testing::Contains(text));
    EXPECT_THAT(written, testing::Contains("images/broken%FE.pgm"));
    EXPECT_THAT(ReadText(folder / "results.csv"), HasSubstr("\nimages/a%FF.pgm,,1,"));

    const Outcome again = Run("--resume");
    EXPECT_EQ(again.code, 0) << again.error;
    EXPECT_THAT(again.out, HasSubstr("images: 0 to inspect, 10 done before\n"));
    EXPECT_EQ(ReadText(folder / "results.jsonl"), whole);
    EXPECT_EQ(RunLine(folder, "narvo report results.jsonl -r panel.recipe.json -q").error, "");

    const Outcome single = RunLine(folder, "narvo inspect $'images/a\\xFF.pgm' -r panel.recipe.json -q -o $'one\\xFF'");
    EXPECT_EQ(single.code, 0) << single.error;
    EXPECT_EQ(ordered_json::parse(ReadText(folder / "one\xFF.blobs.json"))["image"], "images/a%FF.pgm");
    const Outcome recipe = RunLine(folder, "narvo pitch panel.png --recipe $'r\\xFF.json'");
    EXPECT_EQ(recipe.code, 3);
    EXPECT_THAT(recipe.error, HasSubstr("JSON cannot hold the name; allowed: names in UTF-8\n"));
    EXPECT_EQ(RunLine(folder, "narvo report $'one\\xFF.blobs.json' -q").error, "");
}

} // namespace

} // namespace narvo::test
