// SPDX-License-Identifier: MIT
// Whole results by the C interface: texts, pictures, values of recipes, places in golden references.
#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "library/c_test_help.h"
#include "library/host_pictures.h"
#include "support/test_folder.h"
#include <narvo/narvo_c.h>
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

constexpr const char* pRecipe =
    R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}})";

/// A text that a call hands out in a buffer of the caller's.
template <typename Call>
std::string TextOf(const Call& call)
{
    std::int64_t length = -1;
    EXPECT_EQ(call(nullptr, 0, &length), NARVO_OK) << CFields();
    std::string text(static_cast<std::size_t>(length < 0 ? 0 : length) + 1, '#');
    EXPECT_EQ(call(text.data(), length + 1, &length), NARVO_OK) << CFields();
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    return text;
}

class CResults : public testing::Test
{
protected:
    void SetUp() override
    {
        m_picture.Fill({200, 120, 206, 126}, 230);
        m_image = ImageOf(m_picture);
        ASSERT_EQ(narvo_recipe_from_text(pRecipe, nullptr, &m_recipe), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_inspector_create(1, &m_inspector), NARVO_OK) << CFields();
    }
    void TearDown() override
    {
        EXPECT_EQ(narvo_inspector_free(m_inspector), NARVO_OK);
        EXPECT_EQ(narvo_recipe_free(m_recipe), NARVO_OK);
    }

    narvo_reports* Inspect()
    {
        narvo_reports* reports = nullptr;
        EXPECT_EQ(narvo_inspect(m_inspector, m_recipe, &m_image, &reports), NARVO_OK) << CFields();
        return reports;
    }

    Picture8 m_picture = PeriodicPicture(512, 288, 32, 24);
    narvo_image m_image = {};
    narvo_recipe* m_recipe = nullptr;
    narvo_inspector* m_inspector = nullptr;
    const TestFolder m_folder;
    const std::string m_file = (m_folder / "c.png").string();
};

} // namespace

TEST_F(CResults, TextsAreThoseOfTheCppInterface)
{
    narvo_reports* reports = Inspect();
    FullReport expected = Inspector().InspectFully(m_picture.Pixels(), Recipe::FromText(pRecipe), false).at(0);
    ASSERT_EQ(expected.report.defects.size(), 1U);
    const char* text = nullptr;
    ASSERT_EQ(narvo_reports_json(reports, 0, &text), NARVO_OK) << CFields();
    FullReport read = ReportFromText(text);
    EXPECT_GT(read.answerCount, 0);
    for (FullReport* each : {&expected, &read}) // each inspection takes its own time
    {
        each->report.milliseconds = 0.0;
        each->inspectMilliseconds = each->defectMilliseconds = 0.0;
    }
    EXPECT_EQ(ReportText(read), ReportText(expected));
    const char* again = nullptr;
    ASSERT_EQ(narvo_reports_json(reports, 0, &again), NARVO_OK);
    EXPECT_EQ(again, text) << "the text stays where it is";
    ASSERT_EQ(narvo_reports_csv(reports, 0, &text), NARVO_OK) << CFields();
    EXPECT_EQ(text, DefectTable(expected));
    EXPECT_EQ(narvo_reports_json(reports, 1, &text), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "region");
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(narvo_reports_csv(reports, -1, &text), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "region");
    EXPECT_EQ(narvo_reports_csv(reports, 0, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "text");
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
    EXPECT_EQ(narvo_reports_json(reports, 0, &text), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "reports");
}

TEST_F(CResults, ManyThreadsAskForOneText)
{
    narvo_reports* reports = Inspect();
    std::vector<const char*> texts(4, nullptr);
    std::vector<std::thread> threads;
    for (const char*& text : texts)
        threads.emplace_back([&] { EXPECT_EQ(narvo_reports_json(reports, 0, &text), NARVO_OK); });
    for (std::thread& thread : threads)
        thread.join();
    for (const char* text : texts)
        EXPECT_EQ(text, texts.front());
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
}

TEST_F(CResults, TheJsonHoldsEveryWarning)
{
    m_image.width = 508; // the last columns are not inspected
    m_image.stride = 512;
    narvo_reports* reports = Inspect();
    const char* warning = nullptr;
    ASSERT_EQ(narvo_reports_warning(reports, 0, 0, &warning), NARVO_OK);
    const char* text = nullptr;
    ASSERT_EQ(narvo_reports_json(reports, 0, &text), NARVO_OK);
    EXPECT_EQ(ReportFromText(text).report.warnings, std::vector<std::string>{warning});
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
}

TEST_F(CResults, OverlaysAreWrittenAndRefusedByName)
{
    narvo_reports* reports = Inspect();
    ASSERT_EQ(narvo_reports_save_overlay(reports, 0, &m_image, m_file.c_str()), NARVO_OK) << CFields();
    const FullReport full = Inspector().InspectFully(m_picture.Pixels(), Recipe::FromText(pRecipe)).at(0);
    const std::string other = (m_folder / "cpp.png").string();
    SaveOverlay(other, m_picture.Pixels(), full);
    EXPECT_EQ(std::filesystem::file_size(m_file), std::filesystem::file_size(other));

    narvo_image smaller = m_image;
    smaller.height = 287;
    EXPECT_EQ(narvo_reports_save_overlay(reports, 0, &smaller, m_file.c_str()), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image");
    EXPECT_EQ(narvo_reports_save_overlay(reports, 0, nullptr, m_file.c_str()), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image");
    EXPECT_EQ(narvo_reports_save_overlay(reports, 0, &m_image, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "file");
    EXPECT_EQ(narvo_reports_save_overlay(reports, 2, &m_image, m_file.c_str()), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "region");
    EXPECT_EQ(narvo_reports_save_overlay(reports, 0, &m_image, "no_such_folder/a.png"), NARVO_REFUSED);
    EXPECT_NE(CFields().find("no_such_folder"), std::string::npos) << CFields();
    EXPECT_EQ(narvo_reports_save_overlay(reports, 0, &m_image, "a.no_format"), NARVO_REFUSED);
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
}

TEST_F(CResults, RecipesTellTheirValuesAndBecomeDrafts)
{
    const auto valueOf = [&](const char* field)
    {
        return TextOf([&](char* text, std::int64_t capacity, std::int64_t* length)
                      { return narvo_recipe_value(m_recipe, 0, field, text, capacity, length); });
    };
    const Recipe expected = Recipe::FromText(pRecipe);
    for (const char* field : {"pitch.x", "pitch", "mode", "keep_singles"})
        EXPECT_EQ(valueOf(field), expected.Value(field)) << field;
    EXPECT_EQ(TextOf([&](char* text, std::int64_t capacity, std::int64_t* length)
                     { return narvo_recipe_summary(m_recipe, 0, text, capacity, length); }),
              expected.Summary());
    std::int64_t length = -1;
    EXPECT_EQ(narvo_recipe_value(m_recipe, 0, "no.such", nullptr, 0, &length), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "field");
    EXPECT_EQ(narvo_recipe_value(m_recipe, 0, nullptr, nullptr, 0, &length), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "field");
    for (const std::int64_t region : {std::int64_t{1}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()})
    {
        EXPECT_EQ(narvo_recipe_value(m_recipe, region, "mode", nullptr, 0, &length), NARVO_REFUSED);
        EXPECT_EQ(CFields(), "region");
        EXPECT_EQ(narvo_recipe_summary(m_recipe, region, nullptr, 0, &length), NARVO_REFUSED);
        EXPECT_EQ(CFields(), "region");
    }

    narvo_draft* draft = nullptr;
    EXPECT_EQ(narvo_draft_from_recipe(m_recipe, 1, &draft), NARVO_REFUSED);
    EXPECT_EQ(draft, nullptr);
    ASSERT_EQ(narvo_draft_from_recipe(m_recipe, 0, &draft), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_draft_set_integer(draft, "threshold.base", 31), NARVO_OK);
    narvo_recipe* stricter = nullptr;
    ASSERT_EQ(narvo_draft_check(draft, &stricter), NARVO_OK) << CFields();
    EXPECT_EQ(TextOf([&](char* text, std::int64_t capacity, std::int64_t* own)
                     { return narvo_recipe_value(stricter, 0, "threshold.base", text, capacity, own); }),
              "31");
    EXPECT_EQ(valueOf("threshold.base"), "25");
    EXPECT_EQ(narvo_recipe_free(stricter), NARVO_OK);
    EXPECT_EQ(narvo_draft_free(draft), NARVO_OK);
}

TEST_F(CResults, ExplanationsHaveTheirNumbers)
{
    narvo_explainer* explainer = nullptr;
    ASSERT_EQ(narvo_explainer_create(&m_image, m_recipe, 0, &explainer), NARVO_OK) << CFields();
    narvo_explanation* explanation = nullptr;
    ASSERT_EQ(narvo_explain(explainer, 202, 122, &explanation), NARVO_OK) << CFields();
    const char* text = nullptr;
    ASSERT_EQ(narvo_explanation_json(explanation, &text), NARVO_OK) << CFields();
    EXPECT_EQ(text, Explainer(m_picture.Pixels(), Recipe::FromText(pRecipe)).ExplainFully(202, 122).json);
    narvo_reports* reports = nullptr;
    ASSERT_EQ(narvo_explainer_reports(explainer, &reports), NARVO_OK);
    EXPECT_EQ(narvo_reports_save_overlay(reports, 0, &m_image, m_file.c_str()), NARVO_OK) << CFields();
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
    EXPECT_EQ(narvo_explanation_free(explanation), NARVO_OK);
    EXPECT_EQ(narvo_explanation_json(explanation, &text), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "explanation");
    EXPECT_EQ(narvo_explainer_free(explainer), NARVO_OK);
}

TEST_F(CResults, GoldenReportsHaveTextsAndMapPlaces)
{
    narvo_golden* golden = nullptr;
    const Picture8 good = PeriodicPicture(512, 288, 32, 24);
    const narvo_image reference = ImageOf(good);
    ASSERT_EQ(narvo_golden_create(&reference, 1, nullptr, 0, 1, &golden), NARVO_OK) << CFields();
    narvo_reports* reports = nullptr;
    ASSERT_EQ(narvo_golden_inspect(golden, &m_image, &reports), NARVO_OK) << CFields();
    const GoldenFindings expected = GoldenModel({good.Pixels()}).InspectFully(m_picture.Pixels());
    const char* text = nullptr;
    ASSERT_EQ(narvo_reports_csv(reports, 0, &text), NARVO_OK);
    EXPECT_EQ(text, expected.Table());
    ASSERT_EQ(narvo_reports_json(reports, 0, &text), NARVO_OK);
    EXPECT_NE(std::string(text).find("registration"), std::string::npos) << text;
    double x = 0.0;
    double y = 0.0;
    ASSERT_EQ(narvo_reports_map(reports, 100.5, 60.25, &x, &y), NARVO_OK);
    EXPECT_EQ(x, expected.Registration().Map(100.5, 60.25).x);
    EXPECT_EQ(y, expected.Registration().Map(100.5, 60.25).y);
    EXPECT_EQ(narvo_reports_map(reports, 1.0, 1.0, nullptr, &y), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "reference_x");
    EXPECT_EQ(narvo_reports_save_overlay(reports, 0, &m_image, m_file.c_str()), NARVO_OK) << CFields();
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
    EXPECT_EQ(narvo_golden_free(golden), NARVO_OK);
    reports = Inspect();
    EXPECT_EQ(narvo_reports_map(reports, 1.0, 1.0, &x, &y), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "reports");
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
}

TEST_F(CResults, AnswersCanBeLeftOut)
{
    Inspector inspector;
    const Recipe recipe = Recipe::FromText(pRecipe);
    const FullReport with = inspector.InspectFully(m_picture.Pixels(), recipe, true).at(0);
    const FullReport without = inspector.InspectFully(m_picture.Pixels(), recipe, false).at(0);
    EXPECT_EQ(with.answers.size(), static_cast<std::size_t>(with.answerCount));
    EXPECT_TRUE(without.answers.empty());
    EXPECT_EQ(without.answerCount, with.answerCount);
    EXPECT_EQ(DefectTable(without), DefectTable(with));
}

} // namespace narvo::test
