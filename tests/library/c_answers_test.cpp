// SPDX-License-Identifier: MIT
// The answers that defects are made of, by the C interface.
#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
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

constexpr const char* pAnswersRecipe =
    R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}})";

class CAnswers : public testing::Test
{
protected:
    void SetUp() override
    {
        for (int i = 0; i < 5; ++i)
            m_picture.Fill({100 + 60 * i, 60 + 40 * i, 104 + 60 * i, 64 + 40 * i}, i % 2 == 0 ? 230 : 5);
        m_image = ImageOf(m_picture);
        ASSERT_EQ(narvo_recipe_from_text(pAnswersRecipe, nullptr, &m_recipe), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_inspector_create(1, &m_inspector), NARVO_OK) << CFields();
        m_expected = Inspector().InspectFully(m_picture.Pixels(), Recipe::FromText(pAnswersRecipe)).at(0);
        ASSERT_GE(m_expected.answers.size(), 5U);
    }
    void TearDown() override
    {
        EXPECT_EQ(narvo_reports_free(m_reports), NARVO_OK);
        EXPECT_EQ(narvo_inspector_free(m_inspector), NARVO_OK);
        EXPECT_EQ(narvo_recipe_free(m_recipe), NARVO_OK);
    }

    void ExpectTheAnswers()
    {
        const std::vector<Answer>& expected = m_expected.answers;
        std::int64_t count = 0;
        std::vector<narvo_answer> answers(expected.size() + 1);
        ASSERT_EQ(narvo_reports_answers(m_reports, 0, sizeof(narvo_answer), answers.data(),
                                        static_cast<std::int64_t>(answers.size()), &count),
                  NARVO_OK)
            << CFields();
        ASSERT_EQ(count, static_cast<std::int64_t>(expected.size()));
        EXPECT_EQ(answers.back().size, 0U) << "nothing is written behind the last";
        for (std::size_t i = 0; i < expected.size(); ++i)
        {
            const Answer& one = expected[i];
            const narvo_answer& got = answers[i];
            EXPECT_EQ(got.size, sizeof(narvo_answer));
            EXPECT_EQ(std::tie(got.x, got.y, got.band, got.origin, got.peak, got.grey, got.reference, got.threshold,
                               got.zone),
                      std::tie(one.x, one.y, one.band, one.origin, one.peak, one.grey, one.reference, one.threshold,
                               one.zone));
            EXPECT_EQ(got.bright, one.bright ? 1 : 0);
            EXPECT_EQ(got.removed, one.removed ? 1 : 0);
        }
    }

    Picture8 m_picture = PeriodicPicture(512, 288, 32, 24);
    narvo_image m_image = {};
    narvo_recipe* m_recipe = nullptr;
    narvo_inspector* m_inspector = nullptr;
    narvo_reports* m_reports = nullptr;
    FullReport m_expected;
};

} // namespace

TEST_F(CAnswers, AreThoseOfTheCppInterface)
{
    ASSERT_EQ(narvo_inspect_fully(m_inspector, m_recipe, &m_image, &m_reports), NARVO_OK) << CFields();
    ExpectTheAnswers();
    std::int64_t count = 0;
    EXPECT_EQ(narvo_reports_defects(m_reports, 0, sizeof(narvo_defect), nullptr, 0, &count), NARVO_OK);
    EXPECT_EQ(count, static_cast<std::int64_t>(m_expected.report.defects.size()));
}

TEST_F(CAnswers, OfAPictureAreKeptWhereThatIsAskedFor)
{
    const narvo_pixel_array array = {sizeof(array),          m_picture.width, m_picture.height, 1, 8, 0,
                                     m_picture.pixels.data()};
    narvo_picture* picture = nullptr;
    ASSERT_EQ(narvo_picture_from_pixels(&array, nullptr, nullptr, &picture), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_inspect_picture(m_inspector, m_recipe, picture, 1, &m_reports), NARVO_OK) << CFields();
    ExpectTheAnswers();
    narvo_reports* without = nullptr;
    ASSERT_EQ(narvo_inspect_picture(m_inspector, m_recipe, picture, 0, &without), NARVO_OK) << CFields();
    std::int64_t count = 7;
    EXPECT_EQ(narvo_reports_answers(without, 0, sizeof(narvo_answer), nullptr, 0, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "reports");
    EXPECT_EQ(count, 7);
    EXPECT_EQ(narvo_reports_free(without), NARVO_OK);
    EXPECT_EQ(narvo_picture_free(picture), NARVO_OK);
}

TEST_F(CAnswers, OfReportsThatKeepNoneAndOfWrongRoomsAreRefused)
{
    std::int64_t count = 0;
    ASSERT_EQ(narvo_inspect(m_inspector, m_recipe, &m_image, &m_reports), NARVO_OK) << CFields();
    EXPECT_EQ(narvo_reports_answers(m_reports, 0, sizeof(narvo_answer), nullptr, 0, &count), NARVO_REFUSED);
    narvo_problem problem = {};
    problem.size = sizeof(problem);
    ASSERT_EQ(narvo_problem_get(0, &problem), NARVO_OK);
    EXPECT_STREQ(problem.field, "reports");
    EXPECT_STREQ(problem.allowed, "reports of narvo_inspect_fully or narvo_inspect_picture");
    EXPECT_EQ(narvo_reports_free(m_reports), NARVO_OK);
    m_reports = nullptr;

    ASSERT_EQ(narvo_inspect_fully(m_inspector, m_recipe, &m_image, &m_reports), NARVO_OK) << CFields();
    narvo_answer one = {};
    EXPECT_EQ(narvo_reports_answers(m_reports, 0, 44, &one, 1, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "record_size");
    EXPECT_EQ(narvo_reports_answers(m_reports, 0, sizeof(one), nullptr, 1, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "answers");
    EXPECT_EQ(narvo_reports_answers(m_reports, 0, sizeof(one), &one, -1, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "capacity");
    for (const std::int64_t region : {-1, 1})
    {
        EXPECT_EQ(narvo_reports_answers(m_reports, region, sizeof(one), &one, 1, &count), NARVO_REFUSED);
        EXPECT_EQ(CFields(), "region");
    }
    EXPECT_EQ(narvo_reports_answers(m_reports, 0, sizeof(one), &one, 1, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    EXPECT_EQ(narvo_inspect_fully(m_inspector, m_recipe, nullptr, &m_reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image");
}

} // namespace narvo::test
