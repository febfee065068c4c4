// SPDX-License-Identifier: MIT
// Whole results: what they add to reports, their text, table and picture, and what is refused.
#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <narvo/narvohost.h>

#include "library/host_pictures.h"
#include "library/problem_fields.h"
#include "support/test_folder.h"

namespace narvo::test
{

namespace
{

constexpr int nWide = 320;
constexpr int nHigh = 240;

Picture8 Flawed()
{
    Picture8 picture = PeriodicPicture(nWide, nHigh, 32, 24);
    picture.Fill({100, 60, 106, 66}, 250);
    picture.Fill({200, 150, 204, 156}, 0);
    return picture;
}

Recipe Periodic(const char* direction = "vertical")
{
    return RecipeDraft()
        .Set("mode", "pixel")
        .Set("name", "panel")
        .Set("pitch.x", 32)
        .Set("pitch.y", 24)
        .Set("threshold.base", 40)
        .Set("direction", direction)
        .Check();
}

FullReport FullOf(const Picture8& picture, const Recipe& recipe = Periodic())
{
    Inspector inspector;
    std::vector<FullReport> reports = inspector.InspectFully(picture.Pixels(), recipe);
    return reports.at(0);
}

bool AreEqual(const Defect& a, const Defect& b)
{
    return a.number == b.number && a.bright == b.bright && a.area == b.area && a.box.left == b.box.left &&
           a.box.bottom == b.box.bottom && a.peakX == b.peakX && a.meanReference == b.meanReference &&
           a.zone == b.zone && a.band == b.band && a.single == b.single && a.scale == b.scale && a.label == b.label &&
           a.angle == b.angle && a.elongation == b.elongation && a.circularity == b.circularity;
}

} // namespace

TEST(HostResult, HoldsTheReportAndTheAnswersBehindIt)
{
    const Picture8 picture = Flawed();
    Inspector inspector(2);
    for (const char* direction : {"vertical", "horizontal"})
    {
        const Recipe recipe = Periodic(direction);
        const FullReport full = inspector.InspectFully(picture.Pixels(), recipe).at(0);
        const Report report = inspector.Inspect(picture.Pixels(), recipe).at(0);
        ASSERT_GE(report.defects.size(), 2U);
        ASSERT_EQ(full.report.defects.size(), report.defects.size());
        for (std::size_t i = 0; i < report.defects.size(); ++i)
            EXPECT_TRUE(AreEqual(full.report.defects[i], report.defects[i]));
        EXPECT_EQ(full.report.vertical, report.vertical);
        EXPECT_EQ(full.colours.size(), report.defects.size());
        EXPECT_EQ(full.width, nWide);
        EXPECT_EQ(full.height, nHigh);
        EXPECT_EQ(static_cast<std::size_t>(full.answerCount), full.answers.size());
        // Each pixel of a defect is an answer inside its box.
        for (const Defect& defect : report.defects)
        {
            const auto inside = std::count_if(full.answers.begin(), full.answers.end(),
                                              [&](const Answer& answer)
                                              {
                                                  return !answer.removed && answer.bright == defect.bright &&
                                                         answer.x >= defect.box.left && answer.x < defect.box.right &&
                                                         answer.y >= defect.box.top && answer.y < defect.box.bottom;
                                              });
            EXPECT_GE(inside, defect.area);
        }
    }
}

TEST(HostResult, SaysApartWhichColumnsNoComparisonReaches)
{
    const Picture8 picture = PeriodicPicture(nWide + 5, nHigh, 32, 24);
    Inspector inspector;
    const FullReport full = inspector.InspectFully(picture.Pixels(), Periodic()).at(0);
    const Report report = inspector.Inspect(picture.Pixels(), Periodic()).at(0);
    ASSERT_FALSE(full.unseen.empty());
    EXPECT_EQ(full.report.warnings.size() + 1, report.warnings.size());
    EXPECT_EQ(report.warnings.back(), full.unseen);
    EXPECT_TRUE(FullOf(Flawed()).unseen.empty());
}

TEST(HostResult, OutlinesAreThoseOfThePolygon)
{
    const Recipe recipe = RecipeDraft::Of(Periodic())
                              .Set("mode", "float")
                              .SetJson("region", R"({"shape": "polygon", "points": [[10, 8], [300, 8], [160, 220]]})")
                              .Check();
    const FullReport full = FullOf(Flawed(), recipe);
    ASSERT_FALSE(full.outlines.empty());
    for (const std::vector<Corner>& outline : full.outlines)
        EXPECT_GE(outline.size(), 3U);
}

TEST(HostResult, TextReadsBackAlike)
{
    const FullReport full = FullOf(Flawed());
    const std::string text = ReportText(full);
    const FullReport read = ReportFromText(text);
    EXPECT_EQ(ReportText(read), text);
    ASSERT_EQ(read.report.defects.size(), full.report.defects.size());
    for (std::size_t i = 0; i < read.report.defects.size(); ++i)
        EXPECT_TRUE(AreEqual(read.report.defects[i], full.report.defects[i]));
    EXPECT_EQ(read.report.name, "panel");
    EXPECT_EQ(read.answerCount, full.answerCount);
    EXPECT_EQ(read.width, 0);
    const auto lines = DefectTable(full);
    EXPECT_EQ(static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n')), full.report.defects.size() + 1);

    FullReport coloured = full;
    coloured.colours.assign(full.report.defects.size(), DefectColour::Blue);
    EXPECT_NE(ReportText(coloured).find(R"("channel":"blue")"), std::string::npos);
    EXPECT_EQ(ReportFromText(ReportText(coloured)).colours.front(), DefectColour::Blue);
    coloured.report.name = "\xff";
    EXPECT_EQ(ReportFromText(ReportText(coloured)).report.name, "\xef\xbf\xbd");
}

TEST(HostResult, TextThatIsNoneIsRefusedByField)
{
    EXPECT_FALSE(Attempt([] { ReportFromText("{"); }).empty());
    EXPECT_FALSE(Attempt([] { ReportFromText("[]"); }).empty());
    const std::vector<std::string> missing = FieldsOf(Attempt([] { ReportFromText("{}"); }));
    EXPECT_NE(std::find(missing.begin(), missing.end(), "report, code"), missing.end());
    std::string text = ReportText(FullOf(Flawed()));
    const std::string area = R"("area":)";
    text.insert(text.find(area) + area.size(), "\"much\",\"areas\":");
    EXPECT_EQ(FieldsOf(Attempt([&] { ReportFromText(text); })), std::vector<std::string>{"report, blobs[0].area"});
}

TEST(HostResult, PictureFramesWhatWasFound)
{
    const Picture8 picture = Flawed();
    const FullReport full = FullOf(picture);
    const std::vector<std::uint8_t> drawn = DrawOverlay(picture.Pixels(), full, {{20, 100, 40, 120}});
    ASSERT_EQ(drawn.size(), static_cast<std::size_t>(nWide) * nHigh * 3);
    const auto at = [&](int x, int y)
    {
        const std::size_t place = 3 * (static_cast<std::size_t>(y) * nWide + static_cast<std::size_t>(x));
        return std::vector<int>{drawn[place], drawn[place + 1], drawn[place + 2]};
    };
    for (const Defect& defect : full.report.defects)
        EXPECT_EQ(at(defect.box.left - 5, (defect.box.top + defect.box.bottom) / 2),
                  defect.bright ? (std::vector<int>{255, 130, 0}) : (std::vector<int>{0, 220, 255}));
    EXPECT_EQ(at(15, 110), (std::vector<int>{255, 0, 255}));
    EXPECT_EQ(at(0, 50), (std::vector<int>{0, 160, 0}));
    EXPECT_EQ(at(50, 50), std::vector<int>(3, picture.pixels[50U * nWide + 50]));

    const Image image = Image::FromPixels({picture.pixels.data(), nWide, nHigh});
    EXPECT_EQ(DrawOverlay(image, full, {{20, 100, 40, 120}}), drawn);
    // Boxes out of all reach are no fault.
    FullReport wild = full;
    wild.report.defects.front().box = {-2147483647 - 1, -2147483647 - 1, 2147483647, 2147483647};
    EXPECT_EQ(DrawOverlay(image, wild, {wild.report.defects.front().box}).size(), drawn.size());
}

TEST(HostResult, PictureOfAnotherSizeOrPlaceIsRefused)
{
    const FullReport full = FullOf(Flawed());
    const Picture8 other(nWide, nHigh - 1);
    EXPECT_EQ(FieldsOf(Attempt([&] { DrawOverlay(other.Pixels(), full); })), std::vector<std::string>{"image"});
    EXPECT_EQ(FieldsOf(Attempt([&] { DrawOverlay(ImagePixels(), full); })).front(), "image.pixels");
    const Picture8 picture = Flawed();
    EXPECT_EQ(FieldsOf(Attempt([&] { SaveOverlay("overlay.png", picture.Pixels(), full, {}, 0); })),
              std::vector<std::string>{"mostPixels"});
    EXPECT_EQ(Attempt([&] { SaveOverlay("no/such/folder/o.png", picture.Pixels(), full); }).size(), 1U);
    FullReport wrong = full;
    wrong.colours.front() = static_cast<DefectColour>(9);
    EXPECT_EQ(FieldsOf(Attempt([&] { ReportText(wrong); })), std::vector<std::string>{"colours[0]"});
}

TEST(HostResult, SavedPictureIsTheDrawnOneOrSmaller)
{
    const Picture8 picture = Flawed();
    const FullReport full = FullOf(picture);
    const TestFolder folder;
    const std::filesystem::path file = folder / "overlay.png";
    SaveOverlay(file, picture.Pixels(), full);
    const Image whole = Image::FromFile(file, ImageRules::FromText(R"({"channel": "green"})"));
    const std::vector<std::uint8_t> drawn = DrawOverlay(picture.Pixels(), full);
    EXPECT_EQ(static_cast<const std::uint8_t*>(whole.Pixels().pixels)[51], drawn[3 * 51 + 1]);
    SaveOverlay(file, picture.Pixels(), full, {}, nWide * nHigh / 3);
    EXPECT_EQ(Image::FromFile(file, ImageRules::FromText(R"({"channel": "green"})")).Width(), nWide / 2);
}

TEST(HostResult, RoomForDefectsIsBounded)
{
    const Picture8 picture = Flawed();
    Inspector small(1, 10);
    const Recipe recipe = RecipeDraft::Of(Periodic()).Set("max_blobs", 11).Check();
    EXPECT_EQ(FieldsOf(Attempt([&] { small.Inspect(picture.Pixels(), recipe); })),
              std::vector<std::string>{"max_blobs"});
    EXPECT_GE(small.InspectFully(picture.Pixels(), RecipeDraft::Of(recipe).Set("max_blobs", 10).Check())
                  .at(0)
                  .report.defects.size(),
              2U);
    for (const int wrong : {0, HighestDefects + 1})
        EXPECT_FALSE(Attempt([&] { Inspector(1, wrong); }).empty());
    EXPECT_FALSE(Attempt([&] { Inspector(HighestLanes + 1, 1); }).empty());
}

TEST(HostResult, ColoursAreInspectedOneByOne)
{
    Picture8 grey = PeriodicPicture(nWide, nHigh, 32, 24);
    std::vector<std::uint8_t> rgb;
    for (const std::uint8_t pixel : grey.pixels)
        rgb.insert(rgb.end(), {pixel, pixel, pixel});
    for (int y = 60; y < 66; ++y)
        for (int x = 100; x < 106; ++x)
            rgb[3 * (static_cast<std::size_t>(y) * nWide + static_cast<std::size_t>(x)) + 2] = 255;
    const Recipe recipe = RecipeDraft::Of(Periodic()).Set("image.channel", "each").Check();
    const Image image = Image::FromPixels({rgb.data(), nWide, nHigh, 3}, ImageRules::Of(recipe));
    Inspector inspector;
    const FullReport full = inspector.InspectFully(image, recipe).at(0);
    ASSERT_FALSE(full.colours.empty());
    EXPECT_EQ(full.colours.front(), DefectColour::Blue);
    EXPECT_FALSE(Attempt([&] { inspector.InspectFully(image, Periodic()); }).empty());
}

TEST(HostResult, ExplanationsHaveTheirNumbersAsJson)
{
    const Picture8 picture = Flawed();
    const Explainer explainer(picture.Pixels(), Periodic());
    const FullReport full = explainer.FullResult();
    ASSERT_EQ(full.report.defects.size(), explainer.Result().defects.size());
    EXPECT_EQ(full.width, nWide);
    const Defect& defect = full.report.defects.front();
    const FullExplanation told = explainer.ExplainFully(defect.peakX, defect.peakY);
    EXPECT_EQ(told.explanation.text, explainer.Explain(defect.peakX, defect.peakY).text);
    EXPECT_EQ(told.explanation.defect, defect.number);
    EXPECT_EQ(told.json.front(), '{');
    EXPECT_NE(told.json.find(R"("outcome":"reported")"), std::string::npos) << told.json;
    EXPECT_FALSE(Attempt([&] { explainer.ExplainFully(-1, 0); }).empty());
}

TEST(HostResult, PrintableTextShowsWhatItIs)
{
    EXPECT_EQ(Printable("a\nb\x1b"), "a\\nb\\x1b");
    EXPECT_EQ(Printable("\xc3\xa4"), "\xc3\xa4");
}

} // namespace narvo::test
