// SPDX-License-Identifier: MIT
// Images from files and of colours by the C interface.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "library/c_test_help.h"
#include "library/host_pictures.h"
#include "support/test_folder.h"
#include <narvo/narvo_c.h>

namespace narvo::test
{

namespace
{

narvo_pixel_array ArrayOf(const void* pixels, int width, int height, int channels = 1, int bits = 8)
{
    return {sizeof(narvo_pixel_array), width, height, channels, bits, 0, pixels};
}

narvo_rules* RulesOf(const char* json)
{
    narvo_rules* rules = nullptr;
    EXPECT_EQ(narvo_rules_from_text(json, nullptr, &rules), NARVO_OK) << CFields();
    return rules;
}

/// The pixels of a channel, row by row.
std::vector<int> PixelsOf(const narvo_picture* picture, int channel = -1)
{
    narvo_image image = {};
    image.size = sizeof(image);
    EXPECT_EQ(narvo_picture_image(picture, channel, &image), NARVO_OK) << CFields();
    EXPECT_EQ(image.bits, 8);
    std::vector<int> values;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            values.push_back(static_cast<const std::uint8_t*>(image.pixels)[y * image.stride + x]);
    return values;
}

const std::uint8_t pColours[] = {10, 20, 30, 40, 50, 60};

} // namespace

TEST(CPictures, AFileComesBackAsItWasWritten)
{
    const TestFolder folder;
    const std::string file = (folder / "grey.png").string();
    const std::uint8_t pixels[] = {0, 50, 100, 150, 200, 255};
    const narvo_pixel_array array = ArrayOf(pixels, 3, 2);
    ASSERT_EQ(narvo_save_image(file.c_str(), &array), NARVO_OK) << CFields();
    narvo_picture* picture = nullptr;
    ASSERT_EQ(narvo_picture_from_file(file.c_str(), nullptr, 0, &picture), NARVO_OK) << CFields();
    EXPECT_EQ(PixelsOf(picture), (std::vector<int>{0, 50, 100, 150, 200, 255}));
    std::int32_t channels = 0;
    ASSERT_EQ(narvo_picture_channels(picture, &channels), NARVO_OK);
    EXPECT_EQ(channels, 1);
    std::int64_t notes = -1;
    ASSERT_EQ(narvo_picture_notes(picture, &notes), NARVO_OK);
    EXPECT_EQ(notes, 0);
    EXPECT_EQ(narvo_picture_free(picture), NARVO_OK);

    EXPECT_EQ(narvo_picture_from_file(file.c_str(), nullptr, 5, &picture), NARVO_REFUSED);
    EXPECT_EQ(picture, nullptr);
    EXPECT_NE(CFields().find("grey.png"), std::string::npos) << CFields();
    for (const std::int64_t limit : {std::int64_t{-1}, std::int64_t{1073741825}})
    {
        EXPECT_EQ(narvo_picture_from_file(file.c_str(), nullptr, limit, &picture), NARVO_REFUSED);
        EXPECT_EQ(CFields(), "max_pixels");
    }
    EXPECT_EQ(narvo_picture_from_file("no_such_folder/a.png", nullptr, 0, &picture), NARVO_REFUSED);
    EXPECT_NE(CFields().find("no_such_folder"), std::string::npos) << CFields();
    EXPECT_EQ(narvo_picture_from_file(nullptr, nullptr, 0, &picture), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "file");
}

TEST(CPictures, RulesChooseTheChannelOfColours)
{
    const narvo_pixel_array array = ArrayOf(pColours, 2, 1, 3);
    narvo_rules* green = RulesOf(R"({"channel": "green"})");
    narvo_picture* picture = nullptr;
    ASSERT_EQ(narvo_picture_from_pixels(&array, green, nullptr, &picture), NARVO_OK) << CFields();
    EXPECT_EQ(PixelsOf(picture), (std::vector<int>{20, 50}));
    narvo_image image = {};
    image.size = sizeof(image);
    EXPECT_EQ(narvo_picture_image(picture, 0, &image), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "channel");
    EXPECT_EQ(narvo_picture_free(picture), NARVO_OK);
    EXPECT_EQ(narvo_rules_free(green), NARVO_OK);

    narvo_rules* each = RulesOf(R"({"channel": "each"})");
    ASSERT_EQ(narvo_picture_from_pixels(&array, each, "camera", &picture), NARVO_OK) << CFields();
    std::int32_t channels = 0;
    ASSERT_EQ(narvo_picture_channels(picture, &channels), NARVO_OK);
    EXPECT_EQ(channels, 3);
    EXPECT_EQ(PixelsOf(picture, 0), (std::vector<int>{10, 40}));
    EXPECT_EQ(PixelsOf(picture, 2), (std::vector<int>{30, 60}));
    for (const int channel : {-2, 3})
    {
        EXPECT_EQ(narvo_picture_image(picture, channel, &image), NARVO_REFUSED);
        EXPECT_EQ(CFields(), "channel");
    }
    std::int32_t raw = -1;
    std::int32_t each_colour = -1;
    ASSERT_EQ(narvo_rules_get(each, &raw, &each_colour), NARVO_OK);
    EXPECT_EQ(raw, 0);
    EXPECT_EQ(each_colour, 1);
    EXPECT_EQ(narvo_picture_free(picture), NARVO_OK);
    EXPECT_EQ(narvo_rules_free(each), NARVO_OK);
}

TEST(CPictures, EachPictureTellsWhatItLost)
{
    const narvo_pixel_array array = ArrayOf(pColours, 2, 1, 3);
    for (int i = 0; i < 2; ++i)
    {
        narvo_picture* picture = nullptr;
        ASSERT_EQ(narvo_picture_from_pixels(&array, nullptr, "camera 7", &picture), NARVO_OK) << CFields();
        std::int64_t notes = 0;
        ASSERT_EQ(narvo_picture_notes(picture, &notes), NARVO_OK);
        ASSERT_EQ(notes, 1);
        const char* text = nullptr;
        ASSERT_EQ(narvo_picture_note(picture, 0, &text), NARVO_OK);
        EXPECT_NE(std::string(text).find("camera 7"), std::string::npos) << text;
        EXPECT_EQ(narvo_picture_note(picture, 1, &text), NARVO_REFUSED);
        EXPECT_EQ(text, nullptr);
        EXPECT_EQ(CFields(), "index");
        EXPECT_EQ(narvo_picture_free(picture), NARVO_OK);
    }
}

TEST(CPictures, FramesFollowThePackingOfTheirRules)
{
    narvo_rules* rules = RulesOf(R"({"raw": {"format": "Mono8", "width": 2, "height": 2, "offset": 1}})");
    std::int32_t raw = 0;
    std::int32_t each = -1;
    ASSERT_EQ(narvo_rules_get(rules, &raw, &each), NARVO_OK);
    EXPECT_EQ(raw, 1);
    EXPECT_EQ(each, 0);
    const std::uint8_t frame[] = {99, 1, 2, 3, 4};
    narvo_picture* picture = nullptr;
    ASSERT_EQ(narvo_picture_from_frame(frame, 5, rules, nullptr, &picture), NARVO_OK) << CFields();
    EXPECT_EQ(PixelsOf(picture), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(narvo_picture_free(picture), NARVO_OK);
    const auto refused = [&](const std::uint8_t* bytes, std::int64_t count, const narvo_rules* by, const char* field)
    {
        EXPECT_EQ(narvo_picture_from_frame(bytes, count, by, nullptr, &picture), NARVO_REFUSED);
        EXPECT_EQ(CFields(), field);
    };
    refused(frame, 4, rules, "frame");
    refused(frame, 0, rules, "frame");
    refused(frame, -1, rules, "count");
    refused(nullptr, 5, rules, "bytes");
    refused(frame, 5, nullptr, "rules");
    EXPECT_EQ(narvo_rules_free(rules), NARVO_OK);
    refused(frame, 5, rules, "rules");
}

TEST(CPictures, RulesOfARecipeAreItsSection)
{
    narvo_recipe* recipe = nullptr;
    ASSERT_EQ(narvo_recipe_from_text(R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24},
        "threshold": {"base": 25}, "image": {"channel": "blue"}})",
                                     nullptr, &recipe),
              NARVO_OK)
        << CFields();
    narvo_rules* rules = nullptr;
    ASSERT_EQ(narvo_rules_of(recipe, &rules), NARVO_OK) << CFields();
    const narvo_pixel_array array = ArrayOf(pColours, 2, 1, 3);
    narvo_picture* picture = nullptr;
    ASSERT_EQ(narvo_picture_from_pixels(&array, rules, nullptr, &picture), NARVO_OK) << CFields();
    EXPECT_EQ(PixelsOf(picture), (std::vector<int>{30, 60}));
    EXPECT_EQ(narvo_picture_free(picture), NARVO_OK);
    EXPECT_EQ(narvo_rules_free(rules), NARVO_OK);
    EXPECT_EQ(narvo_recipe_free(recipe), NARVO_OK);
    EXPECT_EQ(narvo_rules_of(recipe, &rules), NARVO_REFUSED);
    EXPECT_EQ(rules, nullptr);
    EXPECT_EQ(CFields(), "recipe");
    EXPECT_EQ(narvo_rules_from_text(R"({"channel": "infrared"})", nullptr, &rules), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image.channel");
    EXPECT_EQ(narvo_rules_from_text("[", nullptr, &rules), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image");
    EXPECT_EQ(narvo_rules_from_text(nullptr, nullptr, &rules), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "json");
}

TEST(CPictures, PixelsThatAreNoImageAreRefusedByField)
{
    narvo_picture* picture = nullptr;
    const auto fields = [&](narvo_pixel_array array)
    {
        EXPECT_EQ(narvo_picture_from_pixels(&array, nullptr, nullptr, &picture), NARVO_REFUSED);
        EXPECT_EQ(picture, nullptr);
        return CFields();
    };
    EXPECT_EQ(fields(ArrayOf(nullptr, 2, 1)), "pixels.pixels");
    EXPECT_EQ(fields(ArrayOf(pColours, 0, -1)), "pixels.width pixels.height");
    EXPECT_EQ(fields(ArrayOf(pColours, 2, 1, 2)), "pixels.channels");
    EXPECT_EQ(fields(ArrayOf(pColours, 2, 1, 1, 12)), "pixels.bits");
    narvo_pixel_array small = ArrayOf(pColours, 2, 1);
    small.size = 8;
    EXPECT_EQ(fields(small), "pixels.size");
    EXPECT_EQ(narvo_picture_from_pixels(nullptr, nullptr, nullptr, &picture), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "pixels");
    const narvo_pixel_array alpha = ArrayOf(pColours, 1, 1, 4);
    EXPECT_EQ(narvo_save_image("a.png", &alpha), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "pixels.channels");
    const narvo_pixel_array grey = ArrayOf(pColours, 2, 1);
    EXPECT_EQ(narvo_save_image("a.no_format", &grey), NARVO_REFUSED);
    EXPECT_EQ(narvo_save_image(nullptr, &grey), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "file");
    EXPECT_EQ(narvo_picture_channels(nullptr, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "channels");
}

TEST(CPictures, EachColourIsInspectedAndNamedWithItsDefects)
{
    const Picture8 pattern = PeriodicPicture(480, 360, 32, 24);
    std::vector<std::uint8_t> pixels;
    for (int y = 0; y < pattern.height; ++y)
        for (int x = 0; x < pattern.width; ++x)
            for (int channel = 0; channel < 3; ++channel)
            {
                const bool spot = channel == 2 && x >= 200 && x < 206 && y >= 120 && y < 126;
                const std::uint8_t value = pattern.pixels[static_cast<std::size_t>(y * pattern.width + x)];
                pixels.push_back(spot ? std::uint8_t{250} : value);
            }
    narvo_recipe* recipe = nullptr;
    ASSERT_EQ(narvo_recipe_from_text(R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24},
        "threshold": {"base": 25}, "image": {"channel": "each"}})",
                                     nullptr, &recipe),
              NARVO_OK)
        << CFields();
    narvo_rules* rules = nullptr;
    ASSERT_EQ(narvo_rules_of(recipe, &rules), NARVO_OK);
    const narvo_pixel_array array = ArrayOf(pixels.data(), pattern.width, pattern.height, 3);
    narvo_picture* picture = nullptr;
    ASSERT_EQ(narvo_picture_from_pixels(&array, rules, nullptr, &picture), NARVO_OK) << CFields();
    narvo_inspector* inspector = nullptr;
    ASSERT_EQ(narvo_inspector_create(1, &inspector), NARVO_OK);
    narvo_reports* reports = nullptr;
    ASSERT_EQ(narvo_inspect_picture(inspector, recipe, picture, 0, &reports), NARVO_OK) << CFields();
    std::int32_t colours[2] = {-1, -1};
    std::int64_t count = 0;
    ASSERT_EQ(narvo_reports_colours(reports, 0, colours, 2, &count), NARVO_OK) << CFields();
    EXPECT_EQ(count, 1);
    EXPECT_EQ(colours[0], 3) << "blue";
    EXPECT_EQ(colours[1], -1) << "nothing is written behind the last";
    EXPECT_EQ(narvo_reports_colours(reports, 0, nullptr, 1, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "colours");
    EXPECT_EQ(narvo_reports_colours(reports, 1, nullptr, 0, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "region");
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);

    // The view of a channel goes wherever an image goes; it is inspected as grey.
    narvo_image view = {};
    view.size = sizeof(view);
    ASSERT_EQ(narvo_picture_image(picture, 2, &view), NARVO_OK);
    ASSERT_EQ(narvo_inspect(inspector, recipe, &view, &reports), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_reports_colours(reports, 0, colours, 2, &count), NARVO_OK) << CFields();
    EXPECT_EQ(count, 1);
    EXPECT_EQ(colours[0], 0) << "grey";
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);

    EXPECT_EQ(narvo_inspect_picture(inspector, recipe, picture, 2, &reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "answers");
    EXPECT_EQ(narvo_picture_free(picture), NARVO_OK);
    EXPECT_EQ(narvo_inspect_picture(inspector, recipe, picture, 0, &reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "picture");
    EXPECT_EQ(narvo_inspector_free(inspector), NARVO_OK);
    EXPECT_EQ(narvo_rules_free(rules), NARVO_OK);
    EXPECT_EQ(narvo_recipe_free(recipe), NARVO_OK);
}

} // namespace narvo::test
