// SPDX-License-Identifier: MIT
// Explanations by the C interface.
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "library/c_test_help.h"
#include <narvo/narvo_c.h>
#include <narvo/narvohost.h>

namespace narvo::test
{

TEST(CExplain, SaysWhatTheCppInterfaceSays)
{
    constexpr const char* pText =
        R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}})";
    Picture8 picture = PeriodicPicture(512, 288, 32, 24);
    picture.Fill({200, 120, 206, 126}, 230);
    const narvo_image image = ImageOf(picture);
    narvo_recipe* recipe = nullptr;
    ASSERT_EQ(narvo_recipe_from_text(pText, nullptr, &recipe), NARVO_OK) << CFields();
    narvo_explainer* explainer = nullptr;
    EXPECT_EQ(narvo_explainer_create(&image, recipe, 1, &explainer), NARVO_REFUSED);
    EXPECT_EQ(narvo_explainer_create(&image, recipe, -1, &explainer), NARVO_REFUSED);
    ASSERT_EQ(narvo_explainer_create(&image, recipe, 0, &explainer), NARVO_OK) << CFields();
    narvo_reports* reports = nullptr;
    ASSERT_EQ(narvo_explainer_reports(explainer, &reports), NARVO_OK);
    std::int64_t count = 0;
    EXPECT_EQ(narvo_reports_count(reports, &count), NARVO_OK);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);

    const Explainer expected(picture.Pixels(), Recipe::FromText(pText));
    std::vector<std::thread> threads;
    for (const int x : {202, 40})
        threads.emplace_back(
            [&, x, told = expected.Explain(x, 122)]
            {
                narvo_explanation* explanation = nullptr;
                ASSERT_EQ(narvo_explain(explainer, x, 122, &explanation), NARVO_OK) << CFields();
                narvo_pixel_way way = {};
                way.size = sizeof(way);
                ASSERT_EQ(narvo_explanation_get(explanation, &way), NARVO_OK);
                EXPECT_EQ(way.x, x);
                EXPECT_EQ(way.y, 122);
                EXPECT_EQ(way.value, told.value);
                EXPECT_EQ(way.defect, told.defect);
                EXPECT_EQ(way.outcome, told.outcome);
                EXPECT_EQ(way.text, told.text);
                std::string why;
                for (const std::string& sentence : told.why)
                    why += (why.empty() ? "" : "\n") + sentence;
                EXPECT_EQ(way.why, why);
                EXPECT_EQ(narvo_explanation_free(explanation), NARVO_OK);
            });
    for (std::thread& thread : threads)
        thread.join();
    narvo_explanation* outside = nullptr;
    EXPECT_EQ(narvo_explain(explainer, 512, 0, &outside), NARVO_REFUSED);
    EXPECT_EQ(outside, nullptr);
    EXPECT_EQ(narvo_explainer_free(explainer), NARVO_OK);
    EXPECT_EQ(narvo_recipe_free(recipe), NARVO_OK);
}

} // namespace narvo::test
