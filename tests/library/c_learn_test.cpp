// SPDX-License-Identifier: MIT
// Learning and golden models by the C interface, with progress.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "library/c_test_help.h"
#include <narvo/narvo_c.h>
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

struct Told
{
    std::vector<std::string> steps;
    std::size_t stopAt = 0; ///< calls; 0: never

    static std::int32_t Call(void* context, const char* step, std::int64_t, std::int64_t)
    {
        auto& self = *static_cast<Told*>(context);
        self.steps.emplace_back(step);
        return self.steps.size() == self.stopAt ? 0 : 1;
    }
};

std::string RecipeText(const narvo_recipe* recipe)
{
    std::int64_t length = 0;
    EXPECT_EQ(narvo_recipe_text(recipe, nullptr, 0, &length), NARVO_OK);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    EXPECT_EQ(narvo_recipe_text(recipe, text.data(), length + 1, &length), NARVO_OK);
    text.pop_back();
    return text;
}

} // namespace

TEST(CLearn, LearnsWhatTheCppInterfaceLearns)
{
    std::vector<Picture8> pictures;
    for (unsigned seed = 1; seed <= 3; ++seed)
        pictures.push_back(PeriodicPicture(384, 320, 24, 20, seed));
    Picture8 bad = PeriodicPicture(384, 320, 24, 20, 9);
    bad.Fill({100, 100, 106, 106}, 250);
    std::vector<narvo_image> good;
    std::vector<NamedImage> named;
    for (const Picture8& picture : pictures)
    {
        good.push_back(ImageOf(picture));
        named.push_back({"good " + std::to_string(good.size()), picture.Pixels()});
    }
    const narvo_image defective[2] = {ImageOf(bad), ImageOf(bad)};
    const std::int64_t counts[2] = {-1, 1};
    const narvo_box box = {sizeof(box), 98, 98, 108, 108};
    const LearnReport expected = LearnRecipe(
        named, "periodic", {{"false_rate", 0.2}},
        {{{"defective 1", bad.Pixels()}, false, {}}, {{"defective 2", bad.Pixels()}, true, {{98, 98, 108, 108}}}});

    const narvo_setting rate = {sizeof(rate), 0, "false_rate", 0.2};
    Told told;
    narvo_learn_input input = {};
    input.size = sizeof(input);
    input.good = good.data();
    input.good_count = 3;
    input.defective = defective;
    input.defective_count = 2;
    input.box_counts = counts;
    input.boxes = &box;
    input.mode = "periodic";
    input.settings = &rate;
    input.setting_count = 1;
    input.progress = &Told::Call;
    input.context = &told;
    narvo_learning* learning = nullptr;
    ASSERT_EQ(narvo_learn(&input, &learning), NARVO_OK) << CFields();
    EXPECT_GE(told.steps.size(), 6U);

    narvo_recipe* recipe = nullptr;
    ASSERT_EQ(narvo_learning_recipe(learning, &recipe), NARVO_OK);
    EXPECT_EQ(RecipeText(recipe), expected.recipe->Text());
    narvo_learnt learnt = {};
    learnt.size = sizeof(learnt);
    ASSERT_EQ(narvo_learning_get(learning, &learnt), NARVO_OK);
    ASSERT_EQ(learnt.reason_count, static_cast<std::int64_t>(expected.reasons.size()));
    EXPECT_EQ(learnt.warning_count, static_cast<std::int64_t>(expected.warnings.size()));
    EXPECT_EQ(learnt.false_bound, expected.falseBound);
    for (std::int64_t i = 0; i < learnt.reason_count; ++i)
    {
        const char* text = nullptr;
        ASSERT_EQ(narvo_learning_reason(learning, i, &text), NARVO_OK);
        EXPECT_EQ(text, expected.reasons[static_cast<std::size_t>(i)]);
    }
    narvo_learnt_image images[3] = {};
    std::int64_t count = 0;
    ASSERT_EQ(narvo_learning_images(learning, sizeof(narvo_learnt_image), images, 3, &count), NARVO_OK);
    ASSERT_EQ(count, 3);
    for (std::size_t i = 0; i < 3; ++i)
    {
        EXPECT_EQ(images[i].width, 384);
        EXPECT_EQ(images[i].score, expected.images[i].score);
        EXPECT_EQ(images[i].level, expected.images[i].level);
    }
    EXPECT_EQ(narvo_learning_free(learning), NARVO_OK);
    EXPECT_EQ(narvo_recipe_free(recipe), NARVO_OK);

    told = {{}, 2};
    EXPECT_EQ(narvo_learn(&input, &learning), NARVO_STOPPED);
    EXPECT_EQ(CFields(), "call");
    EXPECT_EQ(learning, nullptr);
    EXPECT_EQ(told.steps.size(), 2U);

    input.good_count = 0;
    EXPECT_EQ(narvo_learn(&input, &learning), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "good_count");
    input.good_count = 3;
    const narvo_box outside = {sizeof(outside), 98, 98, 1000, 108};
    input.boxes = &outside;
    EXPECT_EQ(narvo_learn(&input, &learning), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "defective[1].defects[0]");
    input.boxes = &box;
    const char* const names[3] = {"a", nullptr, "c"};
    input.good_names = names;
    EXPECT_EQ(narvo_learn(&input, &learning), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "good_names[1]");
    input.good_names = nullptr;
    input.mode = "colour";
    EXPECT_EQ(narvo_learn(&input, &learning), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "mode");
    EXPECT_EQ(narvo_learn(nullptr, &learning), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "input");
}

TEST(CLearn, LearnsTheColoursOfPictures)
{
    narvo_rules* each = nullptr;
    ASSERT_EQ(narvo_rules_from_text(R"({"channel": "each"})", nullptr, &each), NARVO_OK) << CFields();
    const ImageRules rules = ImageRules::FromText(R"({"channel": "each"})");
    std::vector<narvo_picture*> pictures;
    std::vector<NamedPicture> named;
    for (unsigned seed = 1; seed <= 3; ++seed)
    {
        const Picture8 picture = PeriodicPicture(384, 320, 24, 20, seed);
        std::vector<std::uint8_t> pixels;
        for (const std::uint8_t pixel : picture.pixels)
            pixels.insert(pixels.end(), 3, pixel);
        const narvo_pixel_array array = {sizeof(array), 384, 320, 3, 8, 0, pixels.data()};
        ASSERT_EQ(narvo_picture_from_pixels(&array, each, nullptr, &pictures.emplace_back()), NARVO_OK) << CFields();
        named.push_back({"good " + std::to_string(seed), Image::FromPixels({pixels.data(), 384, 320, 3}, rules)});
    }
    const LearnReport expected = LearnFromImages(named, "periodic", {{"false_rate", 0.2}}, "panel");
    const narvo_setting rate = {sizeof(rate), 0, "false_rate", 0.2};
    Told told;
    narvo_learning* learning = nullptr;
    const auto learn = [&](std::int64_t count, const char* const* names)
    {
        return narvo_learn_from_pictures(pictures.data(), names, count, "periodic", &rate, 1, "panel", &Told::Call,
                                         &told, &learning);
    };
    ASSERT_EQ(learn(3, nullptr), NARVO_OK) << CFields();
    EXPECT_GE(told.steps.size(), 6U);
    narvo_recipe* recipe = nullptr;
    ASSERT_EQ(narvo_learning_recipe(learning, &recipe), NARVO_OK);
    EXPECT_EQ(RecipeText(recipe), expected.recipe->Text());
    EXPECT_NE(RecipeText(recipe).find("\"each\""), std::string::npos);
    EXPECT_EQ(narvo_recipe_free(recipe), NARVO_OK);
    EXPECT_EQ(narvo_learning_free(learning), NARVO_OK);

    told = {{}, 2};
    EXPECT_EQ(learn(3, nullptr), NARVO_STOPPED);
    EXPECT_EQ(learning, nullptr);
    told = {};
    EXPECT_EQ(learn(0, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    EXPECT_EQ(learn(1001, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    const char* const names[3] = {"a", nullptr, "c"};
    EXPECT_EQ(learn(3, names), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "good_names[1]");
    EXPECT_EQ(narvo_picture_free(pictures[1]), NARVO_OK);
    EXPECT_EQ(learn(3, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "good[1]");
    EXPECT_EQ(narvo_picture_free(pictures[0]), NARVO_OK);
    EXPECT_EQ(narvo_picture_free(pictures[2]), NARVO_OK);
    EXPECT_EQ(narvo_rules_free(each), NARVO_OK);
}

TEST(CLearn, GoldenReferencesAreToldAndStopped)
{
    const Picture8 first = BoardPicture(320, 256);
    const Picture8 second = BoardPicture(320, 256, 2, 2);
    const Picture8 third = BoardPicture(320, 256, 3, 3);
    const narvo_image references[3] = {ImageOf(first), ImageOf(second), ImageOf(third)};
    Told told;
    narvo_golden* golden = nullptr;
    ASSERT_EQ(narvo_golden_create_told(references, 3, nullptr, 0, 1, &Told::Call, &told, &golden), NARVO_OK)
        << CFields();
    EXPECT_EQ(told.steps, (std::vector<std::string>{"registering references", "registering references"}));
    EXPECT_EQ(narvo_golden_free(golden), NARVO_OK);
    told = {{}, 1};
    EXPECT_EQ(narvo_golden_create_told(references, 3, nullptr, 0, 1, &Told::Call, &told, &golden), NARVO_STOPPED);
    EXPECT_EQ(golden, nullptr);
}

} // namespace narvo::test
