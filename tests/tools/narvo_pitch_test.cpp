// SPDX-License-Identifier: MIT
// The pitch search from files to files, and the way from a made-up panel over its pitch to its defects.
#include <algorithm>
#include <cmath>
#include <random>
#include <utility>

#include <opencv2/imgcodecs.hpp>

#include "host/image/grey_image.h"
#include "tools/run_narvo.h"
#include "tools/truth/truth.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::HasSubstr;

TEST(NarvoPitch, PitchConfidenceAndRunnerUpArePrintedForBothAxes)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const Outcome outcome = RunNarvo(folder, {"pitch", "panel.png"});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_THAT(outcome.out, testing::ContainsRegex("x: pitch 40.5 pixels \\(measured 40.[0-9]+ over [0-9]+ "
                                                    "periods\\), confidence 0.[0-9]+, runner-up [0-9.]+ "
                                                    "\\([0-9.]+\\)\ny: pitch 48.25 pixels "));
}

TEST(NarvoPitch, RegionLimitsTheSearch)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const Outcome outcome =
        RunNarvo(folder, {"pitch", "panel.png", "--region", "101,87,405,500", "--recipe", "found.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("x: pitch 40.5 pixels"));
    const json recipe = json::parse(ReadText(folder / "found.json"));
    EXPECT_EQ(recipe["region"]["left"], 101);
    EXPECT_EQ(recipe["region"]["bottom"], 500);
    EXPECT_EQ(RunNarvo(folder, {"inspect", "panel.png", "--recipe", "found.json", "--quiet"}).code, 0);
}

TEST(NarvoPitch, PlotShowsBothCurvesInColour)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    ASSERT_EQ(RunNarvo(folder, {"pitch", "panel.png", "--plot", "cost.png"}).code, 0);
    const cv::Mat plot = cv::imread((folder / "cost.png").string());
    ASSERT_FALSE(plot.empty());
    for (const cv::Mat& half : {plot.rowRange(0, plot.rows / 2), plot.rowRange(plot.rows / 2, plot.rows)})
    {
        int coloured = 0;
        for (auto pixel = half.begin<cv::Vec3b>(); pixel != half.end<cv::Vec3b>(); ++pixel)
            coloured += (*pixel)[0] > (*pixel)[2] + 40 ? 1 : 0; // the curve is blue
        EXPECT_GT(coloured, 500);
    }
}

/// Rectangles of 40 % by 50 % of a cell with hard edges, on whole pixels, inside `area`.
GreyImage MakeDrawing(double pitchX, double pitchY, int width, int height, const CRect& area)
{
    GreyImage image(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.Row(y)[x] =
                area.PtInRect(CPoint(x, y)) && std::fmod(x / pitchX, 1.0) < 0.4 && std::fmod(y / pitchY, 1.0) < 0.5
                    ? 200
                    : 60;
    return image;
}

TEST(NarvoPitch, DrawingsWithHardEdgesGiveTheirPitchNotAMultiple)
{
    const TestFolder folder;
    const std::pair<double, double> pitches[] = {{21.4375, 17.625}, {12.3125, 14.375}, {31.6875, 25.3125}};
    for (const auto& [pitchX, pitchY] : pitches)
    {
        SaveGreyImage(folder / "drawing.png", MakeDrawing(pitchX, pitchY, 800, 600, CRect(0, 0, 800, 600)));
        const Outcome outcome = RunNarvo(folder, {"pitch", "drawing.png"});
        EXPECT_THAT(outcome.out, HasSubstr("x: pitch " + FormatNumber(pitchX) + " pixels"));
        EXPECT_THAT(outcome.out, HasSubstr("y: pitch " + FormatNumber(pitchY) + " pixels"));
        EXPECT_THAT(outcome.out, testing::Not(HasSubstr("note:")));
    }
}

TEST(NarvoPitch, BlankSidesAreNamedWithTheRegionThatLeavesThemOut)
{
    const TestFolder folder;
    SaveGreyImage(folder / "drawing.png", MakeDrawing(32.0, 25.0, 800, 600, CRect(128, 100, 672, 500)));
    EXPECT_THAT(RunNarvo(folder, {"pitch", "drawing.png"}).out,
                testing::ContainsRegex(
                    "note:   the sides of the image show no pattern: --region (9|12)[0-9],100,6[67][0-9],500 leaves "
                    "them out"));
}

TEST(NarvoPitch, ARecipeThatFloodsItsOwnImageSaysSo)
{
    const TestFolder folder;
    // Edges on whole pixels differ in some of the cells only, which the thresholds of places do not see.
    SaveGreyImage(folder / "fine.png", MakeDrawing(12.29, 14.4, 800, 600, CRect(0, 0, 800, 600)));
    const Outcome outcome = RunNarvo(folder, {"pitch", "fine.png", "--recipe", "fine.json"});
    ASSERT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("of the image that it was made from"));
}

TEST(NarvoPitch, ImageWithoutPeriodIsSaidSoAndExitsWithFive)
{
    const TestFolder folder;
    GreyImage image(300, 200);
    std::minstd_rand random(1);
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(random() % 256);
    SaveGreyImage(folder / "noise.png", image);
    const Outcome outcome = RunNarvo(folder, {"pitch", "noise.png", "--recipe", "r.json"});
    EXPECT_EQ(outcome.code, 5);
    EXPECT_THAT(outcome.error, HasSubstr("narvo: no period found along x or y, and no lattice; "));
    EXPECT_THAT(outcome.out, testing::ContainsRegex("^x: no period .*\ny: no period "));
    EXPECT_FALSE(std::filesystem::exists(folder / "r.json"));
}

TEST(NarvoPitch, TwoAndAHalfPeriodsGetARecipeOfLatticeMode)
{
    const TestFolder folder;
    GreyImage image(400, 400, 60);
    std::minstd_rand random(3);
    for (int i = 0; i < 60; ++i)
    {
        const int left = static_cast<int>(random() % 360);
        const int top = static_cast<int>(random() % 150);
        const int right = std::min(400, left + 6 + static_cast<int>(random() % 30));
        const int bottom = top + 6 + static_cast<int>(random() % 20);
        for (int times = -1; times < 3; ++times)
            for (int y = std::max(0, top + 165 * times); y < std::min(400, bottom + 165 * times); ++y)
                std::fill(image.Row(y) + left, image.Row(y) + right, static_cast<std::uint8_t>(190));
    }
    for (int y = 190; y < 198; ++y)
        std::fill_n(image.Row(y) + 200, 8, static_cast<std::uint8_t>(image.Row(190)[200] > 100 ? 60 : 190));
    SaveGreyImage(folder / "tall.png", image);
    const Outcome outcome = RunNarvo(folder, {"pitch", "tall.png", "--recipe", "r.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out,
                testing::ContainsRegex("lattice: the pattern repeats after \\(-?0[0-9.]*, 16[45][0-9.]*\\) "
                                       "pixels, correlation 0.9[0-9]+; modes that compare at a pitch"));
    EXPECT_THAT(outcome.out, HasSubstr("recipe: r.json"));
    EXPECT_EQ(json::parse(ReadText(folder / "r.json"))["mode"], "lattice");
    ASSERT_EQ(RunNarvo(folder, {"inspect", "tall.png", "--recipe", "r.json", "--quiet"}).code, 0);
    // A square across an edge of the pattern differs to both sides.
    const json blobs = json::parse(ReadText(folder / "tall.blobs.json"))["blobs"];
    EXPECT_FALSE(blobs.empty());
    for (const json& blob : blobs)
        EXPECT_TRUE(CRect(195, 185, 213, 203).PtInRect(CPoint(blob["peak_x"], blob["peak_y"]))) << blob;
}

TEST(NarvoPitch, StripesAreInspectedAcrossThemselves)
{
    const TestFolder folder;
    GreyImage image(500, 300);
    std::minstd_rand random(2);
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(90 + (x % 11 < 5 ? 60 : 0) + random() % 5);
    for (int y = 140; y < 148; ++y)
        for (int x = 240; x < 244; ++x)
            image.Row(y)[x] = 30;
    SaveGreyImage(folder / "stripes.png", image);
    const Outcome outcome = RunNarvo(folder, {"pitch", "stripes.png", "--recipe", "r.json"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_THAT(outcome.out, HasSubstr("x: pitch 11 pixels"));
    EXPECT_THAT(outcome.out, HasSubstr("y: no period"));
    ASSERT_EQ(RunNarvo(folder, {"inspect", "stripes.png", "--recipe", "r.json", "--quiet"}).code, 0);
    const json result = json::parse(ReadText(folder / "stripes.blobs.json"));
    EXPECT_EQ(result["blobs"].size(), 1U);
}

TEST(NarvoPitch, BadInputIsNamedAndExitsWithTwo)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    const auto expect = [&](std::initializer_list<std::string> arguments, const std::string& error)
    {
        const Outcome outcome = RunNarvo(folder, arguments);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_THAT(outcome.error, HasSubstr(error));
        EXPECT_EQ(outcome.out, "");
    };
    expect({"pitch", "nowhere.png"}, "narvo: image nowhere.png: no such file; allowed: ");
    expect({"pitch", "panel.png", "--region", "0,0,513,640"}, "narvo: region.right: 513; allowed: 1 to 512 pixels\n");
    expect({"pitch", "panel.png", "--region", "0,0,40,640"},
           "narvo: region's width: 40 pixels; allowed: at least 64 pixels\n");
    expect({"pitch", "panel.png", "--region", "0,0,40"}, "--region");
    expect({"pitch", "panel.png", "--region", "a,0,40,50"}, "--region");
    expect({"pitch"}, "image");
}

TEST(NarvoPitch, UnwritablePlacesExitWithThree)
{
    const TestFolder folder;
    ASSERT_EQ(MakeSmallPanel(folder).code, 0);
    for (const char* option : {"--plot", "--recipe"})
    {
        const Outcome outcome = RunNarvo(folder, {"pitch", "panel.png", option, "nowhere/file.png"});
        EXPECT_EQ(outcome.code, 3);
        EXPECT_THAT(outcome.error, HasSubstr("cannot be written"));
    }
}

struct Pipeline
{
    const char* width;
    const char* pitchX;
    const char* pitchY;
    const char* defects;
    const char* seed;
};

void PrintTo(const Pipeline& pipeline, std::ostream* out)
{
    *out << pipeline.pitchX << " by " << pipeline.pitchY;
}

class NarvoPipeline : public testing::TestWithParam<Pipeline>
{
};

/// The recipe comes from the image alone.
TEST_P(NarvoPipeline, DefectsAreFoundByTheRecipeThatThePitchSearchWrote)
{
    const Pipeline& p = GetParam();
    const TestFolder folder;
    ASSERT_EQ(RunNarvo(folder, {"synth", "--width", p.width, "--height", p.width, "--pitch-x", p.pitchX, "--pitch-y",
                                p.pitchY, "--defects", p.defects, "--seed", p.seed, "--quiet"})
                  .code,
              0);
    const Outcome pitch = RunNarvo(folder, {"pitch", "panel.png", "--recipe", "found.json"});
    ASSERT_EQ(pitch.code, 0) << pitch.error;
    EXPECT_THAT(pitch.out, HasSubstr(std::string("x: pitch ") + p.pitchX + " pixels"));
    EXPECT_THAT(pitch.out, HasSubstr(std::string("y: pitch ") + p.pitchY + " pixels"));
    const Outcome inspect =
        RunNarvo(folder, {"inspect", "panel.png", "--recipe", "found.json", "--truth", "panel.truth.json"});
    ASSERT_EQ(inspect.code, 0) << inspect.error;

    const json result = json::parse(ReadText(folder / "panel.blobs.json"));
    const std::vector<tools::TruthDefect> truth = tools::LoadTruth(folder / "panel.truth.json");
    std::vector<Blob> blobs;
    for (const json& entry : result["blobs"])
    {
        Blob blob{};
        blob.box = CRect(entry["left"], entry["top"], entry["right"], entry["bottom"]);
        blobs.push_back(blob);
    }
    const tools::TruthScore score = tools::CompareWithTruth(truth, blobs);
    std::cout << pitch.out << inspect.out;
    RecordProperty("recall", std::to_string(score.Recall()));
    RecordProperty("false_blobs", score.FalseCount());
    EXPECT_GE(score.Recall(), 0.95);
    EXPECT_LE(score.FalseCount(), 2);
}

INSTANTIATE_TEST_SUITE_P(Panels, NarvoPipeline,
                         testing::Values(Pipeline{"2048", "60.4375", "75.3125", "60", "1"},
                                         Pipeline{"1500", "24", "31.5", "40", "2"},
                                         Pipeline{"2400", "180.5625", "240.125", "30", "3"}));

} // namespace

} // namespace narvo::test
