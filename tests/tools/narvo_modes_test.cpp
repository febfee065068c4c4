// SPDX-License-Identifier: MIT
// Inspection in every mode and over a polygon, from files to files.
#include <cmath>
#include <numbers>

#include "host/image/grey_image.h"
#include "tools/run_narvo.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;

constexpr int nWidth = 480;
constexpr int nHeight = 360;
constexpr double dPitchX = 40.5;
constexpr double dPitchY = 30.25;

/// pattern.png with a bright square round (300, 200) and a dark one round (120, 150).
void WritePattern(const TestFolder& folder)
{
    GreyImage image(nWidth, nHeight);
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth; ++x)
        {
            const double value = 110.0 + 40.0 * std::sin(2.0 * std::numbers::pi * x / dPitchX) *
                                             std::sin(2.0 * std::numbers::pi * y / dPitchY);
            const bool bright = std::abs(x - 300) <= 3 && std::abs(y - 200) <= 3;
            const bool dark = std::abs(x - 120) <= 3 && std::abs(y - 150) <= 3;
            image.Row(y)[x] = static_cast<std::uint8_t>(std::lround(value) + (bright ? 70 : dark ? -65 : 0));
        }
    SaveGreyImage(folder / "pattern.png", image);
}

/// field.png, flat, with the same squares.
void WriteField(const TestFolder& folder)
{
    GreyImage image(nWidth, nHeight, 120);
    for (int i = -3; i <= 3; ++i)
        for (int j = -3; j <= 3; ++j)
        {
            image.Row(200 + i)[300 + j] = 220;
            image.Row(150 + i)[120 + j] = 20;
        }
    SaveGreyImage(folder / "field.png", image);
}

json Recipe(const char* mode)
{
    return {{"version", 1}, {"mode", mode}, {"pitch", {{"x", dPitchX}, {"y", dPitchY}}}};
}

/// The blobs that the program writes for `image` and `recipe`.
json BlobsOf(const TestFolder& folder, const char* image, const json& recipe)
{
    std::ofstream(folder / "recipe.json") << recipe;
    const Outcome outcome = RunNarvo(folder, {"inspect", image, "-r", "recipe.json", "-o", "out"});
    EXPECT_EQ(outcome.code, 0) << outcome.error;
    EXPECT_TRUE(std::filesystem::exists(folder / "out.overlay.png"));
    const std::string text = ReadText(folder / "out.blobs.json");
    return text.empty() ? json::object() : json::parse(text);
}

bool Covers(const json& blob, int x, int y)
{
    return blob["left"] <= x && x < blob["right"] && blob["top"] <= y && y < blob["bottom"];
}

void ExpectBothSquares(const json& result)
{
    ASSERT_EQ(result["blobs"].size(), 2U) << result["blobs"];
    for (const json& blob : result["blobs"])
        EXPECT_TRUE(blob["polarity"] == "bright" ? Covers(blob, 300, 200) : Covers(blob, 120, 150)) << blob;
}

void ExpectBrightSquare(const json& result)
{
    ASSERT_EQ(result["blobs"].size(), 1U) << result["blobs"];
    EXPECT_TRUE(Covers(result["blobs"][0], 300, 200)) << result["blobs"][0];
}

TEST(NarvoModes, ZonePixelFloatAndAsgFindTheSquaresOfAPattern)
{
    const TestFolder folder;
    WritePattern(folder);
    ExpectBothSquares(BlobsOf(folder, "pattern.png", Recipe("zone")));
    ExpectBothSquares(BlobsOf(folder, "pattern.png", Recipe("asg")));
    json recipe = Recipe("pixel");
    recipe["threshold"] = {{"base", 15}, {"gain", 10}};
    ExpectBothSquares(BlobsOf(folder, "pattern.png", recipe));
    recipe["mode"] = "float";
    recipe["threshold"]["base"] = 60;
    ExpectBothSquares(BlobsOf(folder, "pattern.png", recipe));
    recipe["direction"] = "horizontal";
    recipe["window"] = {{"width", 3}, {"height", 2}};
    recipe["threshold"]["base"] = 90;
    ExpectBothSquares(BlobsOf(folder, "pattern.png", recipe));
}

TEST(NarvoModes, BinariseFindsTheDarkSquareAndAverageBoth)
{
    const TestFolder folder;
    WriteField(folder);
    const json dark =
        BlobsOf(folder, "field.png", {{"version", 1}, {"mode", "binarise"}, {"binarise", {{"limit", 60}}}});
    ASSERT_EQ(dark["blobs"].size(), 1U);
    EXPECT_EQ(dark["blobs"][0]["area"], 49);
    EXPECT_TRUE(Covers(dark["blobs"][0], 120, 150));
    ExpectBothSquares(
        BlobsOf(folder, "field.png",
                {{"version", 1}, {"mode", "average"}, {"average", {{"bright", 20}, {"dark", 20}, {"window", 5}}}}));
}

TEST(NarvoModes, PolygonKeepsOneSquareAndIsWrittenWithTheResult)
{
    const TestFolder folder;
    WritePattern(folder);
    json recipe = Recipe("float");
    recipe["threshold"]["base"] = 20;
    recipe["region"] = {{"shape", "polygon"}, {"points", {{480, 0}, {480, 360}, {180, 360}, {240, 180}, {180, 0}}}};
    const json result = BlobsOf(folder, "pattern.png", recipe);
    ExpectBrightSquare(result);
    ASSERT_EQ(result["outlines"].size(), 1U);
    EXPECT_EQ(result["outlines"][0], recipe["region"]["points"]);
    EXPECT_EQ(result["region"]["left"], 180);
}

TEST(NarvoModes, TrapeziumRegionIsCutAndKeepsOneSquare)
{
    const TestFolder folder;
    WritePattern(folder);
    json recipe = Recipe("float");
    recipe["threshold"]["base"] = 60;
    recipe["region"] = {{"shape", "trapezium"},
                        {"points", {{480, 0}, {480, 180}, {480, 180}, {480, 360}, {200, 360}, {160, 200}, {200, 0}}}};
    const json result = BlobsOf(folder, "pattern.png", recipe);
    ExpectBrightSquare(result);
    EXPECT_EQ(result["outlines"].size(), 2U);
}

TEST(NarvoModes, FieldsOfAnotherModeAreNamed)
{
    const TestFolder folder;
    WritePattern(folder);
    json recipe = Recipe("pixel");
    recipe["zones"]["origin"]["x"] = 3;
    std::ofstream(folder / "recipe.json") << recipe;
    const Outcome outcome = RunNarvo(folder, {"inspect", "pattern.png", "-r", "recipe.json", "-q"});
    EXPECT_EQ(outcome.code, 2);
    EXPECT_EQ(outcome.error, "narvo: threshold.base: missing; allowed: whole number, 1 to 255 grey levels\n"
                             "narvo: zones.origin.x: 3; allowed: left out in pixel mode, which does not read it\n");
}

} // namespace

} // namespace narvo::test
