// SPDX-License-Identifier: MIT
// `narvo cell`: golden cells from good images, and images held against them.
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/host_test_help.h"
#include "host/image/grey_image.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr int nPitchX = 32;
constexpr int nPitchY = 24;

/// Cells of 32 by 24 pixels; a spot of 3 by 3 pixels at 20, 10 of each, brighter by `spot`.
GreyImage Panel(int spot, int first)
{
    GreyImage image(480, 360, 60);
    int noise = first;
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
        {
            const int u = x % nPitchX;
            const int v = y % nPitchY;
            int value = u >= 4 && u < 26 && v >= 4 && v < 18 ? 140 : 60;
            if (u >= 19 && u < 22 && v >= 9 && v < 12)
                value += spot;
            noise = (noise * 1103 + 12345) % 65521;
            image.Row(y)[x] = static_cast<std::uint8_t>(value + noise % 9);
        }
    image.FillUpRows();
    return image;
}

void WritePanels(const TestFolder& folder)
{
    std::filesystem::create_directory(folder / "good");
    for (int i = 0; i < 3; ++i)
        SaveGreyImage(folder / ("good/g" + std::to_string(i) + ".png"), Panel(0, 100 + i));
    SaveGreyImage(folder / "later.png", Panel(0, 200));
    SaveGreyImage(folder / "bad.png", Panel(12, 300));
    std::ofstream(folder / "r.json") << R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24},
        "threshold": {"base": 30}})";
}

Outcome Learn(const TestFolder& folder)
{
    return RunNarvo(folder, {"cell", "good", "-r", "r.json", "--learn", "cell.json"});
}

TEST(NarvoCell, FindsWhatEveryCellHasAndAComparisonWithItselfDoesNot)
{
    const TestFolder folder;
    WritePanels(folder);
    const Outcome learnt = Learn(folder);
    ASSERT_EQ(learnt.code, 0) << learnt.error;
    EXPECT_THAT(learnt.out, HasSubstr("a cell of 32 by 24 places, (32, 0) and (0, 24), from 3 images"));
    const Outcome inspected = RunNarvo(folder, {"inspect", "bad.png", "-r", "r.json", "-o", "b"});
    EXPECT_THAT(inspected.out, HasSubstr("blobs:  0 "));

    const Outcome compared = RunNarvo(folder, {"cell", "later.png", "bad.png", "-r", "r.json", "--golden", "cell.json",
                                               "--json", "found.json", "--picture", "found.png"});
    ASSERT_EQ(compared.code, 0) << compared.error;
    EXPECT_THAT(compared.out, HasSubstr("later.png: like the golden cell"));
    EXPECT_THAT(compared.out, HasSubstr("bad.png: 1 place of the cell differs"));
    EXPECT_THAT(compared.out, HasSubstr("x 19 to 21, y 9 to 11"));
    const nlohmann::json found = nlohmann::json::parse(std::ifstream(folder / "found.json"));
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0]["image"], "later.png");
    EXPECT_TRUE(found[0]["regions"][0]["places"].empty());
    EXPECT_NEAR(found[1]["regions"][0]["places"][0]["difference"].get<double>(), 12.0, 1.5);
    EXPECT_GT(LoadGreyImage(folder / "found.png").Width(), 900);

    const Outcome quiet = RunNarvo(folder, {"cell", "bad.png", "-r", "r.json", "--golden", "cell.json", "-q"});
    EXPECT_EQ(quiet.code, 0);
    EXPECT_THAT(quiet.out, IsEmpty());
    const Outcome least =
        RunNarvo(folder, {"cell", "bad.png", "-r", "r.json", "--golden", "cell.json", "--least", "15"});
    EXPECT_THAT(least.out, HasSubstr("bad.png: like the golden cell"));
}

TEST(NarvoCell, TellsImagesThatDoNotFitAndGoesOn)
{
    const TestFolder folder;
    WritePanels(folder);
    ASSERT_EQ(Learn(folder).code, 0);
    SaveGreyImage(folder / "flat.png", GreyImage(480, 360, 80));
    std::ofstream(folder / "none.png") << "no image";
    const Outcome some =
        RunNarvo(folder, {"cell", "flat.png", "none.png", "bad.png", "-r", "r.json", "--golden", "cell.json"});
    EXPECT_EQ(some.code, 7);
    EXPECT_THAT(some.out, HasSubstr("bad.png: 1 place"));
    EXPECT_THAT(some.error, HasSubstr("flat.png: a pattern that does not resemble the cell"));
    EXPECT_THAT(some.error, HasSubstr("none.png"));
    const Outcome all = RunNarvo(folder, {"cell", "flat.png", "-r", "r.json", "--learn", "other.json"});
    EXPECT_EQ(all.code, 2);
    EXPECT_FALSE(std::filesystem::exists(folder / "other.json"));
}

TEST(NarvoCell, RefusesWhatDoesNotGoTogether)
{
    const TestFolder folder;
    WritePanels(folder);
    ASSERT_EQ(Learn(folder).code, 0);
    const auto refused = [&](std::vector<std::string> arguments, const std::string& wanted)
    {
        arguments.insert(arguments.begin(), "cell");
        const Outcome outcome = RunNarvo(folder, arguments);
        EXPECT_EQ(outcome.code, 2) << outcome.out;
        EXPECT_THAT(outcome.error, HasSubstr(wanted));
    };
    refused({"bad.png", "-r", "r.json"}, "--learn or --golden");
    refused({"bad.png", "-r", "r.json", "--learn", "a.json", "--golden", "cell.json"}, "excludes");
    refused({"bad.png", "-r", "r.json", "--golden", "cell.json", "--certainty", "nan"}, "--certainty");
    refused({"bad.png", "-r", "r.json", "--golden", "none.json"}, "none.json");
    refused({"bad.png", "-r", "r.json", "--golden", "r.json"}, "golden_cell");
    refused({"bad.png", "-r", "r.json", "--learn", "r.json"}, "r.json");
    refused({"bad.png", "-r", "r.json", "--golden", "cell.json", "--channel", "each"}, "one channel");
    std::ofstream(folder / "two.json") << R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24},
        "threshold": {"base": 30}, "regions": [{"name": "a"}, {"name": "b"}]})";
    refused({"bad.png", "-r", "two.json", "--golden", "cell.json"}, "1 regions");
    std::ofstream(folder / "texture.json")
        << R"({"version": 1, "mode": "average", "average": {"bright": 9, "dark": 9}})";
    refused({"bad.png", "-r", "texture.json", "--learn", "a.json"}, "the recipe's mode has no pitch");
}

} // namespace

} // namespace narvo::test
