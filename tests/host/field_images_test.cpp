// SPDX-License-Identifier: MIT
// Flat and dark fields: the correction against its definition, places that cannot be corrected, fields in recipes, and
// fields made from frames.
#include "host/image/field_images.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>

#include <opencv2/imgcodecs.hpp>

#include "host/file/output_file.h"
#include "host/host_test_help.h"
#include "host/image/conversion_notes.h"
#include "host/image/field_mean.h"
#include "host/image/grey_image.h"
#include "host/recipe/image_section.h"
#include "host/result/digest.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;

template <typename T>
cv::Mat_<T> Picture(int width, int height, const std::function<int(int, int)>& value)
{
    cv::Mat_<T> picture(height, width);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture(y, x) = static_cast<T>(value(x, y));
    return picture;
}

/// Light that falls off to the sides, as under a lens.
double LightAt(int x)
{
    return 1.0 - 0.00012 * (x - 40) * (x - 40);
}

int DarkAt(int x)
{
    return 10 + x % 3;
}

/// Reads `file` by fields of `folder`, of which either may be empty.
GreyImage Corrected(const TestFolder& folder, const std::string& file, const std::string& flat, const std::string& dark,
                    json section = json::object(), ConversionNotes* notes = nullptr)
{
    if (!flat.empty())
        section["flat_field"] = flat;
    if (!dark.empty())
        section["dark_field"] = dark;
    return LoadGreyImage(folder / file, ParseImageSection(section, folder.Path()), notes);
}

std::vector<Problem> Refusals(const TestFolder& folder, const std::string& file, const std::string& flat,
                              const std::string& dark, const json& section = json::object())
{
    return ProblemsOf([&] { Corrected(folder, file, flat, dark, section); });
}

} // namespace

TEST(FieldImages, OneRowMakesEveryRowOfALineCameraEven)
{
    const TestFolder folder;
    const auto seen = [](double scene, int x) { return static_cast<int>(std::lround(scene * LightAt(x))) + DarkAt(x); };
    cv::imwrite(folder / "flat.png", Picture<std::uint8_t>(96, 1, [&](int x, int) { return seen(200, x); }));
    cv::imwrite(folder / "dark.png", Picture<std::uint8_t>(96, 1, [&](int x, int) { return DarkAt(x); }));
    cv::imwrite(folder / "a.png", Picture<std::uint8_t>(96, 20, [&](int x, int y) { return seen(80 + 5 * y, x); }));
    const GreyImage even = Corrected(folder, "a.png", "flat.png", "dark.png");
    for (int y = 0; y < 20; ++y)
        for (int x = 1; x < 96; ++x)
            EXPECT_NEAR(even.Row(y)[x], even.Row(y)[0], 2) << x << ", " << y;
    EXPECT_EQ(LoadGreyImage(folder / "a.png").Row(10)[95], seen(130, 95)) << "nothing is corrected without fields";
}

TEST(FieldImages, ValuesAreThoseOfTheDefinition)
{
    const TestFolder folder;
    const auto flatAt = [](int x, int y) { return 30000 + 97 * x - 53 * y; };
    const auto darkAt = [](int x, int y) { return 500 + x + 2 * y; };
    const auto valueAt = [](int x, int y) { return 400 + 613 * x + 211 * y; };
    cv::imwrite(folder / "flat.png", Picture<std::uint16_t>(48, 24, flatAt));
    cv::imwrite(folder / "dark.png", Picture<std::uint16_t>(48, 24, darkAt));
    cv::imwrite(folder / "a.png", Picture<std::uint16_t>(48, 24, valueAt));
    double mean = 0.0;
    for (int y = 0; y < 24; ++y)
        for (int x = 0; x < 48; ++x)
            mean += (flatAt(x, y) - darkAt(x, y)) / (24.0 * 48.0);
    // Levels show the corrected 16-bit values one by one.
    for (const int low : {0, 9000, 20000})
    {
        const GreyImage found =
            Corrected(folder, "a.png", "flat.png", "dark.png", {{"levels", {{"low", low}, {"high", low + 255}}}});
        for (int y = 0; y < 24; ++y)
            for (int x = 0; x < 48; ++x)
            {
                const double wanted = (valueAt(x, y) - darkAt(x, y)) * mean / (flatAt(x, y) - darkAt(x, y));
                const double level = std::clamp(std::floor(wanted + 0.5) - low, 0.0, 255.0);
                const double distance = std::abs(wanted + 0.5 - std::round(wanted + 0.5));
                EXPECT_NEAR(found.Row(y)[x], level, distance < 0.01 ? 1.0 : 0.0) << x << ", " << y;
            }
    }
}

TEST(FieldImages, SixteenBitFieldsOfEightBitImagesAreInParts)
{
    const TestFolder folder;
    cv::imwrite(folder / "flat.png",
                Picture<std::uint16_t>(40, 1, [](int x, int) { return 256 * 100 + 128 * (x % 2); }));
    cv::imwrite(folder / "dark.png", Picture<std::uint16_t>(40, 1, [](int, int) { return 256 * 20 + 64; }));
    cv::imwrite(folder / "a.png", Picture<std::uint8_t>(40, 4, [](int, int) { return 200; }));
    const GreyImage found = Corrected(folder, "a.png", "flat.png", "dark.png");
    // Lights of 79.75 and 80.25, mean 80.
    EXPECT_EQ(found.Row(1)[0], std::lround(179.75 * 80.0 / 79.75));
    EXPECT_EQ(found.Row(1)[1], std::lround(179.75 * 80.0 / 80.25));
}

TEST(FieldImages, DarkFieldAloneIsTakenOff)
{
    const TestFolder folder;
    cv::imwrite(folder / "dark.png", Picture<std::uint8_t>(40, 1, [](int x, int) { return x; }));
    cv::imwrite(folder / "a.png", Picture<std::uint8_t>(40, 4, [](int, int) { return 30; }));
    const GreyImage found = Corrected(folder, "a.png", "", "dark.png");
    EXPECT_EQ(found.Row(2)[0], 30);
    EXPECT_EQ(found.Row(2)[20], 10);
    EXPECT_EQ(found.Row(2)[39], 0) << "values are cut, not wrapped";
}

TEST(FieldImages, LightlessPixelsBecomeTheMeanOfTheirNeighbours)
{
    const TestFolder folder;
    const auto flatAt = [](int x, int) { return x == 0 || x == 10 || x == 11 ? 12 : 200; };
    cv::imwrite(folder / "flat.png", Picture<std::uint8_t>(40, 1, flatAt));
    cv::imwrite(folder / "dark.png", Picture<std::uint8_t>(40, 1, [](int, int) { return 8; }));
    cv::imwrite(folder / "a.png", Picture<std::uint8_t>(40, 3, [](int x, int) { return 28 + 2 * x; }));
    ConversionNotes notes;
    const GreyImage found = Corrected(folder, "a.png", "flat.png", "dark.png", json::object(), &notes);
    for (int y = 0; y < 3; ++y)
    {
        EXPECT_EQ(found.Row(y)[9], 38);
        EXPECT_EQ(found.Row(y)[10], 41) << "the mean of columns 9 and 12, 38 and 44";
        EXPECT_EQ(found.Row(y)[11], 41);
        EXPECT_EQ(found.Row(y)[0], found.Row(y)[1]) << "at the border the one neighbour";
    }
    EXPECT_THAT(notes.Take(), testing::ElementsAre(testing::HasSubstr("3 values of image.flat_field")));
}

TEST(FieldImages, NeighboursInAMosaicLieUnderTheSameFilterAndColoursStay)
{
    const TestFolder folder;
    const auto filterAt = [](int x, int y) { return y % 2 == 0 && x % 2 == 0 ? 60 : 180; };
    const auto flatAt = [&](int x, int y) { return x == 10 ? 0 : filterAt(x, y); };
    cv::imwrite(folder / "flat.png", Picture<std::uint8_t>(32, 16, flatAt));
    cv::imwrite(folder / "a.png", Picture<std::uint8_t>(32, 16, filterAt));
    const GreyImage found = Corrected(folder, "a.png", "flat.png", "", {{"bayer", "rggb"}, {"demosaic", "off"}});
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 32; ++x)
            EXPECT_EQ(found.Row(y)[x], filterAt(x, y)) << x << ", " << y;
    EXPECT_THAT(ProblemsOf(
                    [&]
                    {
                        cv::imwrite(folder / "row.png", Picture<std::uint8_t>(32, 1, flatAt));
                        Corrected(folder, "a.png", "row.png", "", {{"bayer", "rggb"}});
                    }),
                testing::ElementsAre(IsAbout("image.flat_field")));
}

TEST(FieldImages, ChannelsOfColoursHaveGainsOfTheirOwnAndAlphaStays)
{
    const TestFolder folder;
    cv::Mat flat(1, 20, CV_8UC3, cv::Scalar(50, 100, 200));
    flat.at<cv::Vec3b>(0, 7) = cv::Vec3b(25, 100, 200); // half the blue
    cv::imwrite(folder / "flat.png", flat);
    cv::Mat picture(4, 20, CV_8UC4, cv::Scalar(40, 90, 150, 99));
    picture.at<cv::Vec4b>(2, 7) = cv::Vec4b(20, 90, 150, 99);
    cv::imwrite(folder / "a.png", picture);
    const GreyImage blue = Corrected(folder, "a.png", "flat.png", "", {{"channel", "blue"}});
    EXPECT_NEAR(blue.Row(2)[7], blue.Row(2)[8], 1) << "corrected";
    EXPECT_NEAR(blue.Row(2)[8], 40, 2) << "colours keep their values";
    EXPECT_NEAR(Corrected(folder, "a.png", "flat.png", "", {{"channel", "red"}}).Row(2)[7], 150, 1);
    // A grey field stands for all colours.
    cv::imwrite(folder / "grey.png", Picture<std::uint8_t>(20, 1, [](int x, int) { return x == 7 ? 100 : 200; }));
    const GreyImage green = Corrected(folder, "a.png", "grey.png", "", {{"channel", "green"}});
    EXPECT_NEAR(green.Row(0)[7], 2 * green.Row(0)[6], 2);
}

TEST(FieldImages, SaturatedPixelsAreCutAndNoted)
{
    const TestFolder folder;
    cv::imwrite(folder / "flat.png", Picture<std::uint8_t>(40, 1, [](int x, int) { return x < 20 ? 105 : 255; }));
    cv::imwrite(folder / "a.png", Picture<std::uint8_t>(40, 4, [](int, int y) { return y == 0 ? 255 : 90; }));
    ConversionNotes notes;
    const GreyImage found = Corrected(folder, "a.png", "flat.png", "", json::object(), &notes);
    EXPECT_EQ(found.Row(0)[0], 255) << "cut, not wrapped";
    EXPECT_EQ(found.Row(0)[30], 180);
    EXPECT_THAT(notes.Take(), testing::ElementsAre(testing::HasSubstr("20 values of image.flat_field are the largest"),
                                                   testing::HasSubstr("40 pixels are at the largest value, 255")));
}

TEST(FieldImages, RawFramesAreCutAtTheirOwnFullScale)
{
    const TestFolder folder;
    cv::imwrite(folder / "flat.png", Picture<std::uint16_t>(16, 1, [](int x, int) { return x < 8 ? 1000 : 3000; }));
    std::vector<std::uint16_t> frame(16 * 2, 1500);
    const auto write = [&]
    {
        std::ofstream(folder / "a.raw", std::ios::binary)
            .write(reinterpret_cast<const char*>(frame.data()), static_cast<std::streamsize>(2 * frame.size()));
    };
    write();
    const json raw = {{"raw", {{"format", "Mono12"}, {"width", 16}, {"height", 2}}},
                      {"levels", {{"low", 0}, {"high", 8190}}}};
    const GreyImage found = Corrected(folder, "a.raw", "flat.png", "", raw);
    EXPECT_EQ(found.Row(1)[12], std::lround(1000.0 * 255 / 8190));
    EXPECT_EQ(found.Row(1)[2], std::lround(3000.0 * 255 / 8190));
    std::fill(frame.begin(), frame.end(), std::uint16_t{4000});
    write();
    EXPECT_EQ(Corrected(folder, "a.raw", "flat.png", "", raw).Row(1)[2], std::lround(4095.0 * 255 / 8190));
}

TEST(FieldImages, WhatDoesNotFitIsRefusedByNameValueAndRange)
{
    const TestFolder folder;
    const auto even = [](int, int) { return 100; };
    cv::imwrite(folder / "a.png", Picture<std::uint8_t>(40, 6, even));
    cv::imwrite(folder / "wide.png", Picture<std::uint16_t>(40, 6, even));
    cv::imwrite(folder / "narrow.png", Picture<std::uint8_t>(39, 1, even));
    cv::imwrite(folder / "low.png", Picture<std::uint8_t>(40, 5, even));
    cv::imwrite(folder / "row.png", Picture<std::uint8_t>(40, 1, even));
    cv::imwrite(folder / "colour.png", cv::Mat(1, 40, CV_8UC3, cv::Scalar(90, 100, 110)));
    cv::imwrite(folder / "black.png", Picture<std::uint8_t>(40, 1, [](int, int) { return 0; }));
    const std::string name = "image " + (folder / "a.png").string();
    EXPECT_THAT(Refusals(folder, "a.png", "narrow.png", ""),
                testing::ElementsAre(IsProblem("image.flat_field, image.dark_field", "39 by 1 pixels",
                                               "40 by 6 or by 1 pixels, as " + name + " has")));
    EXPECT_THAT(Refusals(folder, "a.png", "low.png", ""), testing::SizeIs(1));
    EXPECT_THAT(Refusals(folder, "wide.png", "row.png", ""), testing::SizeIs(1)) << "8 bits for 16";
    EXPECT_THAT(Refusals(folder, "a.png", "colour.png", ""), testing::SizeIs(1));
    EXPECT_THAT(Refusals(folder, "a.png", "row.png", "narrow.png"),
                testing::ElementsAre(
                    IsProblem("image.dark_field", "39 by 1 pixels", "40 by 1 pixels, as image.flat_field has")));
    EXPECT_THAT(Refusals(folder, "a.png", "row.png", "colour.png"), testing::ElementsAre(IsAbout("image.dark_field")));
    EXPECT_THAT(Refusals(folder, "a.png", "row.png", "wide.png"), testing::ElementsAre(IsAbout("image.dark_field")));
    EXPECT_THAT(Refusals(folder, "a.png", "black.png", ""), testing::ElementsAre(IsAbout("image.flat_field")));
    EXPECT_THAT(Refusals(folder, "a.png", "row.png", "row.png"), testing::ElementsAre(IsAbout("image.flat_field")))
        << "no light above the dark field";
    EXPECT_THAT(Refusals(folder, "a.png", "none.png", ""), testing::ElementsAre(IsAbout("image.flat_field")));
}

TEST(FieldImages, RecipesReadThemBesideThemselvesShareThemAndKeepThem)
{
    const TestFolder folder;
    const auto row = [](int x, int) { return 100 + x; };
    cv::imwrite(folder / "flat.png", Picture<std::uint16_t>(40, 1, row));
    json document = SmallestRecipe();
    document["image"] = {{"flat_field", "flat.png"}};
    document["regions"] = {{{"name", "a"}}, {{"name", "b"}}};
    const std::vector<CheckedRecipe> recipes = ParseRecipes(document, folder.Path());
    ASSERT_EQ(recipes.size(), 2U);
    ASSERT_FALSE(recipes[0]->fields.IsEmpty());
    EXPECT_EQ(&recipes[0]->fields.Tables(), &recipes[1]->fields.Tables()) << "one copy for all regions";

    const std::string digest = DigestOfRecipes(recipes);
    EXPECT_EQ(DigestOfRecipes(ParseRecipes(document, folder.Path())), digest);
    cv::imwrite(folder / "flat.png", Picture<std::uint16_t>(40, 1, [](int x, int) { return 101 + x; }));
    EXPECT_NE(DigestOfRecipes(ParseRecipes(document, folder.Path())), digest) << "the same name, another field";

    SaveRecipeWithImages(folder / "kept.json", *recipes[0]);
    const CheckedRecipe kept = LoadRecipe(folder / "kept.json");
    EXPECT_EQ(kept->flatFieldFile, "kept.flat_field.png");
    EXPECT_TRUE(kept->fields == recipes[0]->fields);

    document["image"]["flat_field"] = "none.png";
    EXPECT_THAT(ProblemsOf([&] { ParseRecipes(document, folder.Path()); }),
                testing::ElementsAre(IsAbout("image.flat_field")));
    Recipe unread = *recipes[0];
    unread.fields = {};
    EXPECT_THAT(ProblemsOf([&] { CheckedRecipe{unread}; }), testing::ElementsAre(IsAbout("image.flat_field")));
}

TEST(FieldMean, IsTheMeanOfTheFramesOrOfTheirRows)
{
    const TestFolder folder;
    const auto frame = [](int number) { return [number](int x, int y) { return 100 + x + 2 * y + number; }; };
    std::vector<std::filesystem::path> files;
    for (int i = 0; i < 3; ++i)
    {
        files.push_back(folder / ("f" + std::to_string(i) + ".png"));
        cv::imwrite(files.back(), Picture<std::uint8_t>(20, 4, frame(i)));
    }
    const MeanField whole = MeanOfFrames(files, {}, false);
    EXPECT_EQ(whole.image.height, 4);
    EXPECT_EQ(whole.image.bytesPerChannel, 2);
    std::uint16_t value = 0;
    std::memcpy(&value, whole.image.pixels.data() + 2 * (20 * 3 + 7), sizeof value);
    EXPECT_EQ(value, nFieldSteps * (100 + 7 + 6 + 1));
    const MeanField line = MeanOfFrames({files[2], files[0], files[1]}, {}, true);
    EXPECT_EQ(line.image.height, 1);
    std::memcpy(&value, line.image.pixels.data() + 2 * 7, sizeof value);
    EXPECT_EQ(value, nFieldSteps * (100 + 7 + 3 + 1));
    EXPECT_DOUBLE_EQ(line.low, 104.0);
    EXPECT_DOUBLE_EQ(line.high, 123.0);
    EXPECT_EQ(line.saturated, 0);

    SaveFieldImage(folder / "flat.png", line.image);
    EXPECT_TRUE(LoadFieldImage(folder / "flat.png", "field") == line.image);
    // Formats of 8 bits would cut the values off.
    for (const char* name : {"flat.jpg", "flat.bmp", "flat.webp", "flat"})
    {
        EXPECT_THROW(SaveFieldImage(folder / name, line.image), WriteError) << name;
        EXPECT_FALSE(std::filesystem::exists(folder / name)) << name;
    }
    for (const char* name : {"flat.TIF", "flat.pgm"})
    {
        SaveFieldImage(folder / name, line.image);
        EXPECT_TRUE(LoadFieldImage(folder / name, "field") == line.image) << name;
    }

    cv::imwrite(folder / "other.png", Picture<std::uint8_t>(21, 4, frame(0)));
    EXPECT_THAT(ProblemsOf([&] { MeanOfFrames({files[0], folder / "other.png"}, {}, true); }), testing::SizeIs(1));
    cv::imwrite(folder / "white.png", Picture<std::uint8_t>(20, 4, [](int x, int) { return x < 3 ? 255 : 9; }));
    EXPECT_EQ(MeanOfFrames({folder / "white.png"}, {}, true).saturated, 12);
}

} // namespace narvo::test
