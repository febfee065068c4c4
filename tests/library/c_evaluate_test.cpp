// SPDX-License-Identifier: MIT
// How well known defects are found, by the C interface.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
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

using testing::EndsWith;

constexpr const char* pEvaluateRecipe =
    R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 40}})";
constexpr narvo_true_box trueSpot = {sizeof(trueSpot), 200, 120, 206, 126, 0, "spot"};

class CEvaluate : public testing::Test
{
protected:
    void SetUp() override
    {
        m_bad.Fill({200, 120, 206, 126}, 230);
        const narvo_pixel_array array = {sizeof(array), 480, 360, 1, 8, 0, m_bad.pixels.data()};
        ASSERT_EQ(narvo_picture_from_pixels(&array, nullptr, nullptr, &m_picture), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_recipe_from_text(pEvaluateRecipe, nullptr, &m_recipe), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_truth_of_boxes(&trueSpot, 1, 480, 360, &m_truth), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_truth_of_boxes(nullptr, 0, 480, 360, &m_good), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_evaluation_create(nullptr, 0, 1, &m_evaluation), NARVO_OK) << CFields();
    }
    void TearDown() override
    {
        EXPECT_EQ(narvo_findings_free(m_findings), NARVO_OK);
        EXPECT_EQ(narvo_evaluation_free(m_evaluation), NARVO_OK);
        EXPECT_EQ(narvo_truth_free(m_truth), NARVO_OK);
        EXPECT_EQ(narvo_truth_free(m_good), NARVO_OK);
        EXPECT_EQ(narvo_recipe_free(m_recipe), NARVO_OK);
        EXPECT_EQ(narvo_picture_free(m_picture), NARVO_OK);
    }
    std::int64_t Images() const
    {
        std::int64_t images = -1;
        EXPECT_EQ(narvo_evaluation_images(m_evaluation, &images), NARVO_OK) << CFields();
        return images;
    }

    Picture8 m_bad = PeriodicPicture(480, 360, 32, 24);
    narvo_picture* m_picture = nullptr;
    narvo_recipe* m_recipe = nullptr;
    narvo_truth* m_truth = nullptr;
    narvo_truth* m_good = nullptr;
    narvo_evaluation* m_evaluation = nullptr;
    narvo_findings* m_findings = nullptr;
};

} // namespace

TEST_F(CEvaluate, MeasuresWhatTheCppInterfaceMeasures)
{
    const Picture8 good = PeriodicPicture(480, 360, 32, 24);
    narvo_golden* golden = nullptr;
    const narvo_image reference = ImageOf(good);
    ASSERT_EQ(narvo_golden_create(&reference, 1, nullptr, 0, 1, &golden), NARVO_OK) << CFields();
    const std::vector<float> scores(480 * 360, 0.25F);
    const narvo_problem problem = {sizeof(problem), 0, "d.png", "no image", "PNG"};
    ASSERT_EQ(narvo_evaluation_measure(m_evaluation, "a", m_picture, m_recipe, m_truth), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_evaluation_measure_golden(m_evaluation, "b", m_picture, golden, m_truth), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_evaluation_measure_scores(m_evaluation, "c", scores.data(), 480, 360, m_good), NARVO_OK)
        << CFields();
    ASSERT_EQ(narvo_evaluation_refuse(m_evaluation, "d", &problem, 1, m_truth), NARVO_OK) << CFields();
    EXPECT_EQ(Images(), 4);
    EXPECT_EQ(narvo_golden_free(golden), NARVO_OK);

    Evaluation expected;
    const ImageTruth truth = ImageTruth::OfBoxes({{"spot", {200, 120, 206, 126}}}, 480, 360);
    expected.Measure("a", m_bad.Pixels(), Recipe::FromText(pEvaluateRecipe), truth);
    expected.Measure("b", m_bad.Pixels(), GoldenModel({good.Pixels()}), truth);
    expected.Measure("c", ScoreMap{scores.data(), 480, 360}, ImageTruth::OfBoxes({}, 480, 360));
    expected.Refuse("d", {{"d.png", "no image", "PNG"}}, truth);
    std::string json;
    const EvaluationReport report = expected.Report(json);
    ASSERT_EQ(narvo_evaluation_report(m_evaluation, &m_findings), NARVO_OK) << CFields();
    const char* text = nullptr;
    ASSERT_EQ(narvo_findings_json(m_findings, &text), NARVO_OK);
    EXPECT_EQ(text, json);
    const nlohmann::json found = nlohmann::json::parse(text);
    ASSERT_EQ(found["images"].size(), 4U);
    EXPECT_EQ(found["images"][0]["found"], 1) << "the recipe finds the spot";
    EXPECT_EQ(found["images"][2]["score"], 0.25);
    EXPECT_EQ(found["refused"], 1);
    EXPECT_FALSE(found.contains("name"));
    ASSERT_EQ(narvo_findings_text(m_findings, &text), NARVO_OK);
    EXPECT_EQ(text, report.text);
}

TEST_F(CEvaluate, TruthsComeOfBoxesMasksAndSets)
{
    const TestFolder folder;
    for (const char* name : {"good", "defective", "mask"})
        std::filesystem::create_directory(folder / name);
    const Picture8 plain(60, 40, 90);
    Picture8 mask(60, 40, 0);
    mask.Fill({6, 4, 18, 12}, 255);
    SaveImage(folder / "good/a.png", {plain.pixels.data(), 60, 40});
    SaveImage(folder / "defective/b.png", {plain.pixels.data(), 60, 40});
    SaveImage(folder / "mask/b.png", {mask.pixels.data(), 60, 40});
    narvo_image_set* set = nullptr;
    ASSERT_EQ(narvo_image_set_read(folder.Path().string().c_str(), &set), NARVO_OK) << CFields();
    narvo_set_image images[3] = {};
    std::int64_t count = 0;
    ASSERT_EQ(narvo_image_set_images(set, sizeof(narvo_set_image), images, 3, &count), NARVO_OK) << CFields();
    ASSERT_EQ(count, 2);
    EXPECT_EQ(images[2].size, 0U) << "nothing is written behind the last";
    EXPECT_STREQ(images[0].name, "good/a.png");
    EXPECT_EQ(images[0].defective, 0);
    EXPECT_STREQ(images[0].mask, "");
    EXPECT_EQ(images[1].defective, 1);
    EXPECT_THAT(images[1].file, EndsWith("defective/b.png"));
    EXPECT_THAT(images[1].mask, EndsWith("mask/b.png"));
    EXPECT_STREQ(images[1].reference, "");

    const narvo_image maskImage = ImageOf(mask);
    narvo_truth* truths[2] = {};
    ASSERT_EQ(narvo_truth_of_set(set, 1, 0, &truths[0]), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_truth_of_mask(&maskImage, "hole", &truths[1]), NARVO_OK) << CFields();
    for (narvo_truth* truth : truths)
    {
        std::int32_t defective = 0;
        narvo_true_box boxes[2] = {};
        ASSERT_EQ(narvo_truth_get(truth, &defective), NARVO_OK);
        EXPECT_EQ(defective, 1);
        ASSERT_EQ(narvo_truth_boxes(truth, sizeof(narvo_true_box), boxes, 2, &count), NARVO_OK);
        ASSERT_EQ(count, 1);
        EXPECT_EQ(boxes[0].size, sizeof(narvo_true_box));
        EXPECT_EQ(boxes[0].left, 6);
        EXPECT_EQ(boxes[0].bottom, 12);
        EXPECT_STREQ(boxes[0].kind, truth == truths[1] ? "hole" : "defective");
        EXPECT_EQ(narvo_truth_free(truth), NARVO_OK);
    }
    narvo_truth* made = nullptr;
    ASSERT_EQ(narvo_truth_of_defective(&made), NARVO_OK);
    ASSERT_EQ(narvo_truth_boxes(made, sizeof(narvo_true_box), nullptr, 0, &count), NARVO_OK);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(narvo_truth_free(made), NARVO_OK);
    EXPECT_EQ(narvo_truth_of_set(set, 2, 0, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "index");
    EXPECT_EQ(narvo_truth_of_set(set, 0, -1, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "max_pixels");
    EXPECT_EQ(narvo_image_set_images(set, 8, images, 3, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "record_size");
    EXPECT_EQ(narvo_image_set_images(set, sizeof(narvo_set_image), nullptr, 1, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "images");
    EXPECT_EQ(narvo_image_set_images(set, sizeof(narvo_set_image), nullptr, 0, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    EXPECT_EQ(narvo_image_set_free(set), NARVO_OK);
}

TEST_F(CEvaluate, BadInputIsRefusedByField)
{
    narvo_truth* truth = m_truth;
    narvo_true_box box = trueSpot;
    const auto ofBox = [&](std::int64_t count, std::int32_t width)
    {
        EXPECT_EQ(narvo_truth_of_boxes(&box, count, width, 360, &truth), NARVO_REFUSED);
        EXPECT_EQ(truth, nullptr);
        return CFields();
    };
    EXPECT_EQ(ofBox(-1, 480), "count");
    EXPECT_EQ(ofBox(65537, 480), "count");
    EXPECT_EQ(ofBox(1, 0), "width");
    box.kind = nullptr;
    EXPECT_EQ(ofBox(1, 480), "boxes[0].kind");
    box.kind = "spot";
    box.right = box.left;
    EXPECT_EQ(ofBox(1, 480), "boxes[0]");
    box.size = 8;
    EXPECT_EQ(ofBox(1, 480), "boxes.size");
    EXPECT_EQ(narvo_truth_of_boxes(nullptr, 1, 480, 360, &truth), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "boxes");
    EXPECT_EQ(narvo_truth_of_boxes(nullptr, 0, 480, 360, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "truth");
    EXPECT_EQ(narvo_truth_of_mask(nullptr, nullptr, &truth), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "mask");
    EXPECT_EQ(narvo_truth_of_set(nullptr, 0, 0, &truth), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "set");
    EXPECT_EQ(narvo_truth_of_defective(nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "truth");
    EXPECT_EQ(narvo_truth_get(m_truth, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "defective");
    std::int64_t count = 0;
    EXPECT_EQ(narvo_truth_boxes(m_truth, 8, nullptr, 0, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "record_size");
    EXPECT_EQ(narvo_truth_boxes(nullptr, sizeof(narvo_true_box), nullptr, 0, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "truth");
    narvo_image_set* set = nullptr;
    EXPECT_EQ(narvo_image_set_read(nullptr, &set), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "folder");
    EXPECT_EQ(narvo_image_set_read("no such folder", &set), NARVO_REFUSED);
    EXPECT_GE(narvo_problem_count(), 1);

    narvo_evaluation* made = m_evaluation;
    for (const std::int32_t lanes : {0, 257})
    {
        EXPECT_EQ(narvo_evaluation_create(nullptr, 0, lanes, &made), NARVO_REFUSED);
        EXPECT_EQ(made, nullptr);
        EXPECT_EQ(CFields(), "lanes");
    }
    const narvo_setting margin = {sizeof(margin), 0, "margin", 1001.0};
    EXPECT_EQ(narvo_evaluation_create(&margin, 1, 1, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "margin");
    EXPECT_EQ(narvo_evaluation_create(nullptr, 0, 1, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "evaluation");

    const auto measuring = [&](narvo_evaluation* evaluation, const char* name, const narvo_picture* picture,
                               const narvo_recipe* recipe, const narvo_truth* known)
    {
        EXPECT_EQ(narvo_evaluation_measure(evaluation, name, picture, recipe, known), NARVO_REFUSED);
        return CFields();
    };
    EXPECT_EQ(measuring(nullptr, "a", m_picture, m_recipe, m_truth), "evaluation");
    EXPECT_EQ(measuring(m_evaluation, nullptr, m_picture, m_recipe, m_truth), "name");
    EXPECT_EQ(measuring(m_evaluation, "", m_picture, m_recipe, m_truth), "name");
    EXPECT_EQ(measuring(m_evaluation, "a", nullptr, m_recipe, m_truth), "picture");
    EXPECT_EQ(measuring(m_evaluation, "a", m_picture, nullptr, m_truth), "recipe");
    EXPECT_EQ(measuring(m_evaluation, "a", m_picture, m_recipe, nullptr), "truth");
    EXPECT_EQ(narvo_evaluation_measure_golden(m_evaluation, "a", m_picture, nullptr, m_truth), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "golden");
    EXPECT_EQ(narvo_evaluation_measure_scores(m_evaluation, "a", nullptr, 480, 360, m_truth), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "scores.scores");
    const float scores[4] = {0.0F, std::numeric_limits<float>::quiet_NaN(), 0.0F, 0.0F};
    EXPECT_EQ(narvo_evaluation_measure_scores(m_evaluation, "a", scores, 2, 2, m_truth), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "scores[1]");
    EXPECT_EQ(narvo_evaluation_measure_scores(m_evaluation, "a", scores, 1, 1, m_truth), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "truth") << "of another size";
    const narvo_problem problem = {sizeof(problem), 0, "d.png", nullptr, "PNG"};
    EXPECT_EQ(narvo_evaluation_refuse(m_evaluation, "a", &problem, 1, m_truth), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "problems[0].value");
    EXPECT_EQ(narvo_evaluation_refuse(m_evaluation, "a", &problem, 0, m_truth), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    EXPECT_EQ(narvo_evaluation_refuse(m_evaluation, "a", nullptr, 1, m_truth), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "problems");
    EXPECT_EQ(Images(), 0) << "what is refused is not measured";
    EXPECT_EQ(narvo_evaluation_report(m_evaluation, &m_findings), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "images");
    EXPECT_EQ(narvo_evaluation_report(nullptr, &m_findings), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "evaluation");
    EXPECT_EQ(narvo_evaluation_report(m_evaluation, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "findings");
    EXPECT_EQ(narvo_evaluation_images(m_evaluation, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    EXPECT_EQ(narvo_evaluation_free(reinterpret_cast<narvo_evaluation*>(m_recipe)), NARVO_REFUSED);
    EXPECT_EQ(narvo_truth_free(reinterpret_cast<narvo_truth*>(m_recipe)), NARVO_REFUSED);
    EXPECT_EQ(narvo_image_set_free(reinterpret_cast<narvo_image_set*>(m_recipe)), NARVO_REFUSED);
    EXPECT_EQ(narvo_image_set_free(nullptr), NARVO_OK);
}

} // namespace narvo::test
