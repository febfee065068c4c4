// SPDX-License-Identifier: MIT
// What many images have in common, by the C interface.
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/c_test_help.h"
#include "library/host_pictures.h"
#include <narvo/narvo_c.h>
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

constexpr const char* pLotRecipe =
    R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}})";

/// Images of which every third has a spot at one place, and all have one elsewhere.
class CLot : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(narvo_recipe_from_text(pLotRecipe, nullptr, &m_recipe), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_lot_create(m_recipe, "panel", &m_lot), NARVO_OK) << CFields();
        for (int i = 0; i < 2; ++i)
        {
            narvo_inspector* inspector = nullptr;
            ASSERT_EQ(narvo_inspector_create(1, &inspector), NARVO_OK);
            Picture8 picture = PeriodicPicture(512, 288, 32, 24);
            if (i == 1)
                picture.Fill({200, 120, 206, 126}, 230);
            const narvo_image image = ImageOf(picture);
            ASSERT_EQ(narvo_inspect(inspector, m_recipe, &image, &m_reports[i]), NARVO_OK) << CFields();
            EXPECT_EQ(narvo_inspector_free(inspector), NARVO_OK);
        }
    }
    void TearDown() override
    {
        EXPECT_EQ(narvo_findings_free(m_findings), NARVO_OK);
        EXPECT_EQ(narvo_lot_free(m_lot), NARVO_OK);
        for (narvo_reports* reports : m_reports)
            EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
        EXPECT_EQ(narvo_recipe_free(m_recipe), NARVO_OK);
    }

    static narvo_stored_image Named(const std::string& name, const narvo_reports* reports)
    {
        narvo_stored_image image = {};
        image.size = sizeof(image);
        image.name = name.c_str();
        image.reports = reports;
        return image;
    }

    std::int32_t Find(const std::vector<narvo_setting>& settings)
    {
        EXPECT_EQ(narvo_findings_free(m_findings), NARVO_OK);
        return narvo_lot_find(m_lot, settings.data(), static_cast<std::int64_t>(settings.size()), &m_findings);
    }

    narvo_recipe* m_recipe = nullptr;
    narvo_reports* m_reports[2] = {};
    narvo_lot* m_lot = nullptr;
    narvo_findings* m_findings = nullptr;
};

} // namespace

TEST_F(CLot, FindsWhatTheCppInterfaceFinds)
{
    Lot expected(Recipe::FromText(pLotRecipe), "panel");
    Inspector inspector;
    Picture8 spotted = PeriodicPicture(512, 288, 32, 24);
    spotted.Fill({200, 120, 206, 126}, 230);
    const std::vector<FullReport> found = inspector.InspectFully(spotted.Pixels(), Recipe::FromText(pLotRecipe));
    const std::vector<FullReport> none =
        inspector.InspectFully(PeriodicPicture(512, 288, 32, 24).Pixels(), Recipe::FromText(pLotRecipe));
    for (int i = 0; i < 40; ++i)
    {
        const std::string name = 'p' + std::to_string(i);
        const bool spot = i % 3 == 0;
        const narvo_stored_image image = Named(name, m_reports[spot ? 1 : 0]);
        ASSERT_EQ(narvo_lot_add(m_lot, &image), NARVO_OK) << CFields();
        StoredImage same;
        same.name = name;
        same.width = 512;
        same.height = 288;
        same.reports = spot ? found : none;
        expected.Add(same);
    }
    const narvo_problem problem = {sizeof(problem), 0, "gone.png", "no image", "PNG"};
    narvo_stored_image refused = Named("gone.png", nullptr);
    refused.problems = &problem;
    refused.problem_count = 1;
    ASSERT_EQ(narvo_lot_add(m_lot, &refused), NARVO_OK) << CFields();
    StoredImage gone;
    gone.name = "gone.png";
    gone.problems = {{"gone.png", "no image", "PNG"}};
    expected.Add(gone);
    std::int64_t images = 0;
    ASSERT_EQ(narvo_lot_images(m_lot, &images), NARVO_OK);
    EXPECT_EQ(images, 41);

    const narvo_setting distance = {sizeof(distance), 0, "distance", 6.0};
    ASSERT_EQ(Find({distance}), NARVO_OK) << CFields();
    std::string json;
    const LotReport report = expected.Find({{"distance", 6.0}}, &json);
    ASSERT_EQ(report.tests.at(0).kind, "place");
    EXPECT_EQ(report.tests.at(0).found, 1U) << "the spot comes back";
    const char* text = nullptr;
    ASSERT_EQ(narvo_findings_json(m_findings, &text), NARVO_OK);
    EXPECT_EQ(text, json);
    EXPECT_THAT(text, HasSubstr("\"p0\""));
    ASSERT_EQ(narvo_findings_text(m_findings, &text), NARVO_OK);
    EXPECT_EQ(text, report.text);
}

TEST_F(CLot, BadInputIsRefusedByField)
{
    narvo_lot* lot = m_lot;
    EXPECT_EQ(narvo_lot_create(nullptr, nullptr, &lot), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "recipe");
    EXPECT_EQ(lot, nullptr);
    EXPECT_EQ(narvo_lot_create(m_recipe, nullptr, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "lot");
    EXPECT_EQ(narvo_lot_from_store(nullptr, nullptr, 0, &lot), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "store");
    EXPECT_EQ(narvo_lot_from_store(nullptr, nullptr, 1, &lot), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "runs");
    EXPECT_EQ(narvo_lot_from_store(nullptr, nullptr, -1, &lot), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    const char* const none[] = {nullptr};
    EXPECT_EQ(narvo_lot_from_store(nullptr, none, 1, &lot), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "runs[0]");
    EXPECT_EQ(narvo_lot_of_latest_recipe(nullptr, &lot), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "store");

    EXPECT_EQ(narvo_lot_add(m_lot, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image");
    narvo_stored_image image = Named("a", m_reports[0]);
    EXPECT_EQ(narvo_lot_add(nullptr, &image), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "lot");
    image.size = 8;
    EXPECT_EQ(narvo_lot_add(m_lot, &image), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image.size");
    image = Named("a", nullptr);
    EXPECT_EQ(narvo_lot_add(m_lot, &image), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image.reports");
    image = Named("", m_reports[0]);
    EXPECT_EQ(narvo_lot_add(m_lot, &image), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image.name");
    std::int64_t images = -1;
    EXPECT_EQ(narvo_lot_images(m_lot, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    EXPECT_EQ(narvo_lot_images(nullptr, &images), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "lot");
    EXPECT_EQ(narvo_lot_images(m_lot, &images), NARVO_OK);
    EXPECT_EQ(images, 0) << "what is refused is not in the lot";

    const auto wrong = [&](const char* name, double value)
    {
        EXPECT_EQ(Find({{sizeof(narvo_setting), 0, name, value}}), NARVO_REFUSED);
        EXPECT_EQ(m_findings, nullptr);
        return CFields();
    };
    EXPECT_EQ(wrong("distance", 65), "distance");
    EXPECT_EQ(wrong("risk", std::numeric_limits<double>::quiet_NaN()), "risk");
    EXPECT_EQ(wrong("baseline", 1), "baseline");
    EXPECT_EQ(wrong(nullptr, 1), "settings[0].name");
    EXPECT_EQ(wrong("no_such", 1), "no_such");
    EXPECT_EQ(narvo_lot_find(m_lot, nullptr, 1, &m_findings), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "settings");
    EXPECT_EQ(narvo_lot_find(m_lot, nullptr, 0, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "findings");
    EXPECT_EQ(narvo_lot_find(nullptr, nullptr, 0, &m_findings), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "lot");
    const char* text = "";
    EXPECT_EQ(narvo_findings_json(nullptr, &text), NARVO_REFUSED);
    EXPECT_EQ(text, nullptr);
    EXPECT_EQ(CFields(), "findings");
    EXPECT_EQ(narvo_findings_text(reinterpret_cast<narvo_findings*>(m_lot), &text), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "findings");
    ASSERT_EQ(Find({}), NARVO_OK) << CFields();
    EXPECT_EQ(narvo_findings_json(m_findings, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "text");
    EXPECT_EQ(narvo_findings_free(reinterpret_cast<narvo_findings*>(m_lot)), NARVO_REFUSED);
    EXPECT_EQ(narvo_lot_free(reinterpret_cast<narvo_lot*>(m_recipe)), NARVO_REFUSED);
    EXPECT_EQ(narvo_lot_free(nullptr), NARVO_OK);
}

} // namespace narvo::test
