// SPDX-License-Identifier: MIT
// The line of one image: every line comes back as it was written, and nothing else counts as one.
#include "host/result/image_line.h"

#include <cmath>
#include <functional>

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using nlohmann::ordered_json;

ImageLine SomeLine()
{
    ImageLine line;
    line.result.name = "a\xFF.png";
    line.result.width = 640;
    line.result.height = 480;
    line.identity = {12345, 1700000000123456789, "0123456789abcdef"};
    line.recipe = "fedcba9876543210";
    InspectionResult& region = line.result.regions.emplace_back();
    region.name = "left";
    region.code = 16;
    region.direction = Direction_Horizontal;
    region.region = CRect(1, 2, 300, 400);
    region.outlines = {{{1, 2}, {3, 4}, {-5, 6}}};
    region.pairs = 7;
    region.reruns = 2;
    region.deadBlobs = 3;
    region.drift = {100.25, 1.0 / 3.0, DriftMeasures::dNone, 20.5};
    region.warnings = {"a warning"};
    Blob blob{};
    blob.number = 1;
    blob.bright = true;
    blob.box = CRect(10, 20, 30, 40);
    blob.angle = -0.1;
    blob.majorAxis = 1e-7;
    blob.circularity = 1.0 / 3.0;
    region.blobs = {blob, blob};
    return line;
}

std::string TextOf(const ImageLine& line)
{
    return ImageLineText(ImageLineToJson(line));
}

TEST(ImageLine, ComesBackAsItWasWritten)
{
    const ImageLine line = SomeLine();
    const ImageLine back = ReadImageLine(TextOf(line), "line");
    EXPECT_EQ(TextOf(back), TextOf(line));
    EXPECT_EQ(back.result.name, line.result.name);
    EXPECT_EQ(back.identity.modified, line.identity.modified);
    EXPECT_EQ(back.recipe, line.recipe);
    ASSERT_EQ(back.result.regions.size(), 1U);
    EXPECT_EQ(back.result.regions[0].outlines, line.result.regions[0].outlines);
    EXPECT_EQ(back.result.regions[0].blobs[1].circularity, 1.0 / 3.0);
    const DriftMeasures& drift = back.result.regions[0].drift;
    EXPECT_EQ(drift.light, 100.25);
    EXPECT_EQ(drift.noise, 1.0 / 3.0);
    EXPECT_TRUE(std::isnan(drift.pitchX));
    EXPECT_EQ(drift.pitchY, 20.5);

    ImageLine refused;
    refused.result.name = "none%FF.png";
    refused.result.problems = {{"image none\xFE.png", "no such file", "a file, 100 %"}};
    EXPECT_EQ(ReadImageLine(TextOf(refused), "line").result.problems, refused.result.problems);
}

TEST(ImageLine, AnythingElseIsDamaged)
{
    const std::string line = TextOf(SomeLine());
    const auto edited = [&](const std::function<void(ordered_json&)>& edit)
    {
        ordered_json document = ordered_json::parse(line);
        edit(document);
        return document.dump();
    };
    for (const std::string& damaged :
         std::vector<std::string>{
             "",
             "[5]",
             "5",
             "null",
             "{}",
             "no JSON",
             line.substr(0, line.size() / 2),
             line + " ",
             std::string(100000, '['),
             edited([](auto& d) { d["regions"] = ordered_json::array({ordered_json::object()}); }),
             edited([](auto& d) { d["regions"] = ordered_json::array({5}); }),
             edited([](auto& d) { d["regions"][0]["blobs"] = 5; }),
             edited([](auto& d) { d["regions"][0]["blobs"][0] = 5; }),
             edited([](auto& d) { d["regions"][0]["blobs"][0]["area"] = "5"; }),
             edited([](auto& d) { d["regions"][0]["blobs"][0]["area"] = 5000000000; }),
             edited([](auto& d) { d["regions"][0]["blobs"][0].erase("label"); }),
             edited([](auto& d) { d["regions"][0]["blobs"][0]["polarity"] = "grey"; }),
             edited([](auto& d) { d["regions"][0]["blobs"].clear(); }),
             edited([](auto& d) { d["regions"][0]["warnings"] = {5}; }),
             edited(
                 [](auto& d) {
                     d["regions"][0]["outlines"] = {{"x", 5}};
                 }),
             edited([](auto& d) { d["status"] = "unknown"; }),
             edited([](auto& d) { d["status"] = "refused"; }),
             edited([](auto& d) { d["version"] = "1"; }),
             edited([](auto& d) { d["blob_count"] = 0; }),
             edited(
                 [](auto& d) {
                     d["problems"] = {{{"field", 1}}};
                 }),
             edited([](auto& d) { d["bytes"] = -1; }),
             edited([](auto& d) { d["more"] = 1; }),
             edited([](auto& d) { d.erase("width"); }),
         })
        EXPECT_FALSE(ProblemsOf([&] { ReadImageLine(damaged, "line"); }).empty()) << damaged;
    for (std::size_t cut = 0; cut < line.size(); ++cut)
        ASSERT_FALSE(ProblemsOf([&] { ReadImageLine(line.substr(0, cut), "line"); }).empty()) << cut;
    for (std::size_t place = 0; place < line.size(); place += 3)
    {
        std::string changed = line;
        changed[place] = '[';
        ASSERT_FALSE(ProblemsOf([&] { ReadImageLine(changed, "line"); }).empty() && changed != line &&
                     TextOf(ReadImageLine(changed, "line")) != changed)
            << place;
    }
}

TEST(ImageLine, OtherVersionIsAnErrorOfItsOwn)
{
    ordered_json document = ImageLineToJson(SomeLine());
    document["version"] = 99;
    EXPECT_THROW(ReadImageLine(document.dump(), "line"), OtherVersionError);
    document["version"] = "1";
    EXPECT_THAT(ProblemsOf([&] { ReadImageLine(document.dump(), "line"); }), testing::Not(testing::IsEmpty()));
}

} // namespace

} // namespace narvo::test
