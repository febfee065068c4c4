// SPDX-License-Identifier: MIT
// What a recipe can find, by the C interface.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "library/c_test_help.h"
#include "library/host_pictures.h"
#include <narvo/narvo_c.h>
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

constexpr const char* pCapabilityRecipe = R"({"version": 1, "name": "panel", "mode": "pixel",
    "direction": "horizontal", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 24}})";
constexpr std::int32_t pSizes[] = {2, 12};
constexpr std::int32_t pContrasts[] = {-60, 60};
constexpr const char* pShapes[] = {"spot"};
constexpr const char* pPlaces[] = {"inside"};

class CCapability : public testing::Test
{
protected:
    void SetUp() override
    {
        const narvo_pixel_array array = {sizeof(array),          m_picture.width, m_picture.height, 1, 8, 0,
                                         m_picture.pixels.data()};
        ASSERT_EQ(narvo_picture_from_pixels(&array, nullptr, nullptr, &m_good), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_recipe_from_text(pCapabilityRecipe, nullptr, &m_recipe), NARVO_OK) << CFields();
        m_pictures[0] = m_good;
        m_input.size = sizeof(m_input);
        m_input.count = 8;
        m_input.good = m_pictures;
        m_input.good_count = 1;
        m_input.sizes = pSizes;
        m_input.size_count = 2;
        m_input.contrasts = pContrasts;
        m_input.contrast_count = 2;
        m_input.shapes = pShapes;
        m_input.shape_count = 1;
        m_input.places = pPlaces;
        m_input.place_count = 1;
        m_input.seed = 3;
    }
    void TearDown() override
    {
        EXPECT_EQ(narvo_capability_free(m_capability), NARVO_OK);
        EXPECT_EQ(narvo_recipe_free(m_recipe), NARVO_OK);
        EXPECT_EQ(narvo_picture_free(m_good), NARVO_OK);
    }

    std::string Refused()
    {
        narvo_capability* made = m_capability;
        EXPECT_EQ(narvo_capability_measure(m_recipe, &m_input, &made), NARVO_REFUSED);
        EXPECT_EQ(made, nullptr);
        return CFields();
    }

    const Picture8 m_picture = PeriodicPicture(480, 360, 32, 24);
    narvo_picture* m_good = nullptr;
    const narvo_picture* m_pictures[1] = {};
    narvo_recipe* m_recipe = nullptr;
    narvo_capability* m_capability = nullptr;
    narvo_capability_input m_input = {};
};

struct Listened
{
    std::string step;
    std::int64_t total = 0;
    std::int32_t answer = 1;

    static std::int32_t Call(void* context, const char* step, std::int64_t, std::int64_t total)
    {
        auto& self = *static_cast<Listened*>(context);
        self.step = step;
        self.total = total;
        return self.answer;
    }
};

} // namespace

TEST_F(CCapability, CountsWhatTheCppInterfaceCounts)
{
    CapabilityPlan plan;
    plan.SetSizes({2, 12}).SetContrasts({-60, 60}).SetShapes({"spot"}).SetPlaces({"inside"}).SetCount(8).SetSeed(3);
    const CapabilityReport expected =
        MeasureCapability(Recipe::FromText(pCapabilityRecipe),
                          {{"good 1", Image::FromPixels({m_picture.pixels.data(), 480, 360})}}, plan);
    m_input.threads = 2;
    ASSERT_EQ(narvo_capability_measure(m_recipe, &m_input, &m_capability), NARVO_OK) << CFields();
    const char* text = nullptr;
    ASSERT_EQ(narvo_capability_json(m_capability, &text), NARVO_OK);
    EXPECT_EQ(text, expected.text);
    narvo_planted counts[5] = {};
    std::int64_t count = 0;
    ASSERT_EQ(narvo_capability_counts(m_capability, sizeof(narvo_planted), counts, 5, &count), NARVO_OK) << CFields();
    ASSERT_EQ(count, 4);
    EXPECT_EQ(counts[4].size, 0U) << "nothing is written behind the last";
    for (std::size_t i = 0; i < 4; ++i)
    {
        const PlantedCurve& curve = expected.curves[i / 2];
        EXPECT_EQ(counts[i].size, sizeof(narvo_planted));
        EXPECT_EQ(counts[i].shape, curve.shape);
        EXPECT_EQ(counts[i].place, curve.place);
        EXPECT_EQ(counts[i].contrast, curve.contrast);
        EXPECT_EQ(counts[i].pixels, curve.counts[i % 2].size);
        EXPECT_EQ(counts[i].planted, 8);
        EXPECT_EQ(counts[i].found, static_cast<std::int64_t>(curve.counts[i % 2].found));
    }
    EXPECT_EQ(counts[3].found, 8) << "12 pixels at 60 grey levels are found";
    narvo_capability_figures figures = {};
    figures.size = sizeof(figures);
    ASSERT_EQ(narvo_capability_get(m_capability, &figures), NARVO_OK);
    EXPECT_EQ(figures.false_defects, static_cast<std::int64_t>(expected.falseBlobs));
    EXPECT_EQ(figures.megapixels, expected.megapixels);
    EXPECT_EQ(figures.false_rate, expected.falseRate);
    EXPECT_EQ(figures.false_bound, expected.falseBound);
    ASSERT_EQ(figures.warning_count, static_cast<std::int64_t>(expected.warnings.size()));
    for (std::int64_t i = 0; i < figures.warning_count; ++i)
    {
        ASSERT_EQ(narvo_capability_warning(m_capability, i, &text), NARVO_OK);
        EXPECT_EQ(text, expected.warnings[static_cast<std::size_t>(i)]);
    }
    EXPECT_EQ(narvo_capability_warning(m_capability, figures.warning_count, &text), NARVO_REFUSED);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(narvo_capability_counts(m_capability, 8, counts, 5, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "record_size");
}

TEST_F(CCapability, ListsThatAreLeftOutAreThoseOfTheProgram)
{
    m_input.size_count = m_input.contrast_count = m_input.shape_count = m_input.place_count = 0;
    m_input.sizes = m_input.contrasts = nullptr;
    m_input.shapes = m_input.places = nullptr;
    m_input.count = 1;
    ASSERT_EQ(narvo_capability_measure(m_recipe, &m_input, &m_capability), NARVO_OK) << CFields();
    std::int64_t count = 0;
    ASSERT_EQ(narvo_capability_counts(m_capability, sizeof(narvo_planted), nullptr, 0, &count), NARVO_OK);
    EXPECT_EQ(count, 8 * 4 * 3 * 2) << "sizes, contrasts, shapes, places";
}

TEST_F(CCapability, TellsItsProgressWhichCanStopIt)
{
    Listened listened;
    m_input.progress = Listened::Call;
    m_input.context = &listened;
    narvo_capability* made = nullptr;
    ASSERT_EQ(narvo_capability_measure(m_recipe, &m_input, &made), NARVO_OK) << CFields();
    EXPECT_EQ(narvo_capability_free(made), NARVO_OK);
    EXPECT_EQ(listened.step, "planting defects");
    EXPECT_EQ(listened.total, 8 * 2 * 2) << "of each of two sizes and contrasts";
    listened.answer = 0;
    EXPECT_EQ(narvo_capability_measure(m_recipe, &m_input, &m_capability), NARVO_STOPPED);
    EXPECT_EQ(m_capability, nullptr);
}

TEST_F(CCapability, BadInputIsRefusedByField)
{
    const narvo_capability_input good = m_input;
    const auto with = [&](auto change)
    {
        m_input = good;
        change(m_input);
        return Refused();
    };
    const std::int32_t zero[] = {0, 600};
    const char* const none[] = {nullptr};
    const char* const strange[] = {"dot"};
    const narvo_picture* const freed[] = {nullptr};
    using Input = narvo_capability_input;
    EXPECT_EQ(with([](Input& input) { input.size = 8; }), "input.size");
    EXPECT_EQ(with([](Input& input) { input.count = 1001; }), "count");
    EXPECT_EQ(with([](Input& input) { input.count = -1; }), "count");
    EXPECT_EQ(with([](Input& input) { input.good_count = 0; }), "good_count");
    EXPECT_EQ(with([](Input& input) { input.good_count = 1001; }), "good_count");
    EXPECT_EQ(with([](Input& input) { input.good = nullptr; }), "good");
    EXPECT_EQ(with([&](Input& input) { input.good = freed; }), "good[0]");
    EXPECT_EQ(with([&](Input& input) { input.good_names = none; }), "good_names[0]");
    EXPECT_EQ(with([](Input& input) { input.sizes = nullptr; }), "sizes");
    EXPECT_EQ(with([](Input& input) { input.size_count = 33; }), "size_count");
    EXPECT_EQ(with([](Input& input) { input.contrast_count = -1; }), "contrast_count");
    EXPECT_EQ(with([&](Input& input) { input.contrasts = zero; }).substr(0, 9), "contrasts");
    EXPECT_EQ(with([&](Input& input) { input.sizes = zero; }).substr(0, 5), "sizes");
    EXPECT_EQ(with([&](Input& input) { input.shapes = none; }), "shapes[0]");
    EXPECT_EQ(with([&](Input& input) { input.shapes = strange; }), "shapes");
    EXPECT_EQ(with([&](Input& input) { input.places = strange; }), "places");
    EXPECT_EQ(with([](Input& input) { input.threads = -1; }), "threads");
    EXPECT_EQ(with([](Input& input) { input.threads = 257; }), "threads");
    EXPECT_EQ(narvo_capability_measure(nullptr, &good, &m_capability), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "recipe");
    EXPECT_EQ(narvo_capability_measure(m_recipe, nullptr, &m_capability), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "input");
    EXPECT_EQ(narvo_capability_measure(m_recipe, &good, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "capability");
}

} // namespace narvo::test
