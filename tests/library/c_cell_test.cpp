// SPDX-License-Identifier: MIT
// Golden cells by the C interface.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "library/c_test_help.h"
#include "library/host_pictures.h"
#include "support/test_folder.h"
#include <narvo/narvo_c.h>
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

constexpr const char* pCellRecipe =
    R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 40}})";

/// The pattern with a spot in each cell.
Picture8 SpottedPicture()
{
    Picture8 picture = PeriodicPicture(480, 360, 32, 24);
    for (int top = 5; top < 360; top += 24)
        for (int left = 6; left < 480; left += 32)
            picture.Fill({left, top, left + 3, top + 3}, 170);
    return picture;
}

class CCell : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(narvo_recipe_from_text(pCellRecipe, nullptr, &m_recipe), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_cell_learn(m_recipe, &m_goodImage, 1, &m_cell), NARVO_OK) << CFields();
    }
    void TearDown() override
    {
        EXPECT_EQ(narvo_findings_free(m_findings), NARVO_OK);
        EXPECT_EQ(narvo_cell_free(m_cell), NARVO_OK);
        EXPECT_EQ(narvo_recipe_free(m_recipe), NARVO_OK);
    }

    const Picture8 m_good = PeriodicPicture(480, 360, 32, 24);
    const Picture8 m_bad = SpottedPicture();
    const narvo_image m_goodImage = ImageOf(m_good);
    const narvo_image m_badImage = ImageOf(m_bad);
    narvo_recipe* m_recipe = nullptr;
    narvo_cell* m_cell = nullptr;
    narvo_findings* m_findings = nullptr;
};

} // namespace

TEST_F(CCell, FindsWhatTheCppInterfaceFinds)
{
    const Recipe recipe = Recipe::FromText(pCellRecipe);
    const GoldenCell expected = GoldenCell::Learn(recipe, {m_good.Pixels()});
    std::string json;
    const std::vector<CellReport> reports = expected.Compare(m_bad.Pixels(), recipe, {{"certainty", 7.0}}, json);
    ASSERT_EQ(reports.size(), 1U);
    ASSERT_EQ(reports[0].places.size(), 1U);
    const narvo_setting certainty = {sizeof(certainty), 0, "certainty", 7.0};
    ASSERT_EQ(narvo_cell_compare(m_cell, &m_badImage, m_recipe, &certainty, 1, &m_findings), NARVO_OK) << CFields();
    const char* text = nullptr;
    ASSERT_EQ(narvo_findings_json(m_findings, &text), NARVO_OK);
    EXPECT_EQ(text, json);
    const nlohmann::json found = nlohmann::json::parse(text);
    ASSERT_EQ(found["regions"].size(), 1U);
    ASSERT_EQ(found["regions"][0]["places"].size(), 1U);
    EXPECT_EQ(found["regions"][0]["places"][0]["left"], reports[0].places[0].box.left);
    EXPECT_EQ(found["regions"][0]["places"][0]["area"], reports[0].places[0].area);
    ASSERT_EQ(narvo_findings_text(m_findings, &text), NARVO_OK);
    EXPECT_EQ(text, reports[0].text);

    std::int64_t regions = 0;
    std::int64_t images = 0;
    ASSERT_EQ(narvo_cell_get(m_cell, &regions, &images), NARVO_OK);
    EXPECT_EQ(regions, 1);
    EXPECT_EQ(images, 1);
    std::vector<float> values(32 * 24 + 1, -1.0F);
    std::int32_t width = 0;
    std::int32_t height = 0;
    ASSERT_EQ(narvo_cell_mean(m_cell, 0, values.data(), 32 * 24 + 1, &width, &height), NARVO_OK);
    EXPECT_EQ(width, 32);
    EXPECT_EQ(height, 24);
    EXPECT_EQ(values.back(), -1.0F) << "nothing is written behind the last";
    values.pop_back();
    EXPECT_EQ(values, expected.Mean());
    ASSERT_EQ(narvo_cell_mean(m_cell, 0, nullptr, 0, &width, &height), NARVO_OK);
}

TEST_F(CCell, ComesBackFromItsFile)
{
    const TestFolder folder;
    const std::string file = (folder / "cell.json").string();
    ASSERT_EQ(narvo_cell_save(m_cell, file.c_str()), NARVO_OK) << CFields();
    narvo_cell* read = nullptr;
    ASSERT_EQ(narvo_cell_from_file(file.c_str(), &read), NARVO_OK) << CFields();
    std::string texts[2];
    for (std::size_t i = 0; i < 2; ++i)
    {
        ASSERT_EQ(narvo_cell_compare(i == 0 ? m_cell : read, &m_badImage, m_recipe, nullptr, 0, &m_findings), NARVO_OK);
        const char* text = nullptr;
        ASSERT_EQ(narvo_findings_text(m_findings, &text), NARVO_OK);
        texts[i] = text;
        EXPECT_EQ(narvo_findings_free(m_findings), NARVO_OK);
        m_findings = nullptr;
    }
    EXPECT_EQ(texts[0], texts[1]);
    EXPECT_EQ(narvo_cell_free(read), NARVO_OK);
}

TEST_F(CCell, BadInputIsRefusedByField)
{
    const Picture8 flat(480, 360, 90);
    narvo_image images[2] = {m_goodImage, ImageOf(flat)};
    narvo_cell* made = m_cell;
    EXPECT_EQ(narvo_cell_learn(m_recipe, images, 2, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "images[1]");
    EXPECT_EQ(made, nullptr);
    images[1].size = 8;
    EXPECT_EQ(narvo_cell_learn(m_recipe, images, 2, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "images[1].size");
    EXPECT_EQ(narvo_cell_learn(m_recipe, nullptr, 1, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "images");
    for (const std::int64_t count : {0, -1, 1001})
    {
        EXPECT_EQ(narvo_cell_learn(m_recipe, images, count, &made), NARVO_REFUSED);
        EXPECT_EQ(CFields(), "count");
    }
    EXPECT_EQ(narvo_cell_learn(nullptr, images, 1, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "recipe");
    EXPECT_EQ(narvo_cell_learn(m_recipe, images, 1, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "cell");

    EXPECT_EQ(narvo_cell_from_file(nullptr, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "file");
    EXPECT_EQ(narvo_cell_from_file("no such file.json", &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "recipe no such file.json");
    EXPECT_EQ(narvo_cell_save(m_cell, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "file");
    EXPECT_EQ(narvo_cell_save(m_cell, "no such folder/c.json"), NARVO_REFUSED);
    EXPECT_EQ(narvo_cell_save(nullptr, "c.json"), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "cell");

    std::int64_t number = 0;
    EXPECT_EQ(narvo_cell_get(nullptr, &number, &number), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "cell");
    EXPECT_EQ(narvo_cell_get(m_cell, nullptr, &number), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "regions");
    EXPECT_EQ(narvo_cell_get(m_cell, &number, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "images");
    std::int32_t side = 0;
    for (const std::int64_t region : {1, -1})
    {
        EXPECT_EQ(narvo_cell_mean(m_cell, region, nullptr, 0, &side, &side), NARVO_REFUSED);
        EXPECT_EQ(CFields(), "region");
    }
    EXPECT_EQ(narvo_cell_mean(m_cell, 0, nullptr, 1, &side, &side), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "values");
    EXPECT_EQ(narvo_cell_mean(m_cell, 0, nullptr, -1, &side, &side), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "capacity");
    EXPECT_EQ(narvo_cell_mean(m_cell, 0, nullptr, 0, nullptr, &side), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "width");
    EXPECT_EQ(narvo_cell_mean(m_cell, 0, nullptr, 0, &side, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "height");

    const auto refused = [&](const narvo_image* image, const narvo_recipe* recipe, const char* name, double value)
    {
        const narvo_setting setting = {sizeof(setting), 0, name, value};
        EXPECT_EQ(narvo_cell_compare(m_cell, image, recipe, &setting, 1, &m_findings), NARVO_REFUSED);
        EXPECT_EQ(m_findings, nullptr);
        return CFields();
    };
    const narvo_image flatImage = ImageOf(flat);
    EXPECT_EQ(refused(&flatImage, m_recipe, "certainty", 6), "image");
    EXPECT_EQ(refused(nullptr, m_recipe, "certainty", 6), "image");
    EXPECT_EQ(refused(&m_goodImage, nullptr, "certainty", 6), "recipe");
    EXPECT_EQ(refused(&m_goodImage, m_recipe, "certainty", 2), "certainty");
    EXPECT_EQ(refused(&m_goodImage, m_recipe, nullptr, 2), "settings[0].name");
    EXPECT_EQ(narvo_cell_compare(nullptr, &m_goodImage, m_recipe, nullptr, 0, &m_findings), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "cell");
    EXPECT_EQ(narvo_cell_compare(m_cell, &m_goodImage, m_recipe, nullptr, 0, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "findings");
    EXPECT_EQ(narvo_cell_free(reinterpret_cast<narvo_cell*>(m_recipe)), NARVO_REFUSED);
    EXPECT_EQ(narvo_cell_free(nullptr), NARVO_OK);
}

} // namespace narvo::test
