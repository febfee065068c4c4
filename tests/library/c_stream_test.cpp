// SPDX-License-Identifier: MIT
// Rows without end by the C interface.
#include <algorithm>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "library/c_test_help.h"
#include <narvo/narvo_c.h>

namespace narvo::test
{

namespace
{

constexpr const char* pStreamRecipe =
    R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}})";

/// What says which defect it is: row, column, area, peak.
using DefectKey = std::tuple<std::int64_t, std::int32_t, std::int32_t, std::int32_t>;

class CStream : public testing::Test
{
protected:
    void SetUp() override
    {
        for (int i = 0; i < 40; ++i)
            m_picture.Fill({20 + 9 * i, 30 + 23 * i, 24 + 9 * i, 34 + 23 * i}, i % 2 == 0 ? 230 : 5);
        ASSERT_EQ(narvo_recipe_from_text(pStreamRecipe, nullptr, &m_recipe), NARVO_OK) << CFields();
    }
    void TearDown() override { EXPECT_EQ(narvo_recipe_free(m_recipe), NARVO_OK); }

    narvo_image Rows(int first, int count)
    {
        return {sizeof(narvo_image), m_picture.width, count, 8, 0, &m_picture.At(0, first)};
    }

    Picture8 m_picture = PeriodicPicture(512, 1000, 32, 24);
    narvo_recipe* m_recipe = nullptr;
};

} // namespace

TEST_F(CStream, HandsOutTheDefectsOfTheWholeImageWhileItRuns)
{
    narvo_inspector* inspector = nullptr;
    ASSERT_EQ(narvo_inspector_create(1, &inspector), NARVO_OK);
    narvo_reports* reports = nullptr;
    const narvo_image whole = ImageOf(m_picture);
    ASSERT_EQ(narvo_inspect(inspector, m_recipe, &whole, &reports), NARVO_OK) << CFields();
    std::vector<narvo_defect> expected(1000);
    std::int64_t count = 0;
    ASSERT_EQ(narvo_reports_defects(reports, 0, sizeof(narvo_defect), expected.data(), 1000, &count), NARVO_OK);
    expected.resize(static_cast<std::size_t>(count));
    ASSERT_GT(count, 30);
    std::vector<DefectKey> keys;
    for (const narvo_defect& defect : expected)
        keys.emplace_back(defect.top, defect.left, defect.area, defect.peak);

    const narvo_setting window = {sizeof(window), 0, "window_rows", 300};
    narvo_stream* stream = nullptr;
    ASSERT_EQ(narvo_stream_create(m_recipe, 512, &window, 1, &stream), NARVO_OK) << CFields();
    std::vector<DefectKey> found;
    bool early = false;
    for (int row = 0; row <= 1000; row += 25)
    {
        if (row < 1000)
        {
            const narvo_image rows = Rows(row, 25);
            ASSERT_EQ(narvo_stream_push(stream, &rows), NARVO_OK) << CFields();
        }
        else
            ASSERT_EQ(narvo_stream_finish(stream), NARVO_OK) << CFields();
        narvo_defect defects[3] = {};
        std::int64_t places[3] = {};
        do
        {
            ASSERT_EQ(narvo_stream_take(stream, sizeof(narvo_defect), defects, places, 3, &count), NARVO_OK);
            for (std::int64_t i = 0; i < count; ++i)
                found.emplace_back(places[i], defects[i].left, defects[i].area, defects[i].peak);
            early = early || (count > 0 && row < 800);
        } while (count == 3);
    }
    EXPECT_TRUE(early) << "defects come before the end";
    narvo_stream_counts counts = {};
    counts.size = sizeof(counts);
    ASSERT_EQ(narvo_stream_get(stream, &counts), NARVO_OK);
    EXPECT_EQ(counts.exact, 1);
    EXPECT_EQ(counts.rows, 1000);
    EXPECT_EQ(counts.final_rows, 1000);
    EXPECT_EQ(counts.waiting, 0);
    EXPECT_EQ(counts.defects, static_cast<std::int64_t>(found.size()));
    std::int64_t warnings = -1;
    EXPECT_EQ(narvo_stream_warnings(stream, &warnings), NARVO_OK);
    EXPECT_EQ(warnings, 0);
    std::sort(keys.begin(), keys.end());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, keys);
    EXPECT_EQ(narvo_stream_free(stream), NARVO_OK);
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
    EXPECT_EQ(narvo_inspector_free(inspector), NARVO_OK);
}

TEST_F(CStream, RefusesWithReasonsAndStaysUsable)
{
    narvo_stream* stream = nullptr;
    EXPECT_EQ(narvo_stream_create(m_recipe, 0, nullptr, 0, &stream), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "width");
    EXPECT_EQ(stream, nullptr);
    const narvo_setting wrong = {sizeof(wrong), 0, "largest_blob", 0};
    EXPECT_EQ(narvo_stream_create(m_recipe, 512, &wrong, 1, &stream), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "largest_blob");
    ASSERT_EQ(narvo_stream_create(m_recipe, 512, nullptr, 0, &stream), NARVO_OK);
    EXPECT_EQ(narvo_stream_finish(stream), NARVO_REFUSED) << "no rows yet";
    EXPECT_EQ(CFields(), "rows");
    narvo_image rows = Rows(0, 200);
    rows.width = 500;
    EXPECT_EQ(narvo_stream_push(stream, &rows), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "rows.width");
    rows = Rows(0, 200);
    EXPECT_EQ(narvo_stream_push(stream, &rows), NARVO_OK);
    std::int64_t count = -1;
    EXPECT_EQ(narvo_stream_take(stream, sizeof(narvo_defect), nullptr, nullptr, 1, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "defects");
    EXPECT_EQ(narvo_stream_take(stream, sizeof(narvo_defect), nullptr, nullptr, 0, &count), NARVO_OK);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(narvo_stream_finish(stream), NARVO_OK);
    EXPECT_EQ(narvo_stream_finish(stream), NARVO_OK);
    EXPECT_EQ(narvo_stream_push(stream, &rows), NARVO_REFUSED);
    EXPECT_EQ(narvo_stream_free(stream), NARVO_OK);
    EXPECT_EQ(narvo_stream_push(stream, &rows), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "stream");
    EXPECT_EQ(narvo_stream_free(nullptr), NARVO_OK);
}

} // namespace narvo::test
