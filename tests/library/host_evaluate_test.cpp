// SPDX-License-Identifier: MIT
// Evaluation by the installed headers.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/host_pictures.h"
#include "library/problem_fields.h"
#include "support/test_folder.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

/// Scores of an image of 60 by 40 pixels: `value` in a box, 0 elsewhere.
struct Scores
{
    std::vector<float> values = std::vector<float>(60 * 40, 0.0F);

    Scores& Set(const Box& box, float value)
    {
        for (int y = box.top; y < box.bottom; ++y)
            for (int x = box.left; x < box.right; ++x)
                values[static_cast<std::size_t>(y * 60 + x)] = value;
        return *this;
    }
    ScoreMap Map() const { return {values.data(), 60, 40}; }
};

ImageTruth TruthWith(const std::vector<TrueBox>& boxes)
{
    return ImageTruth::OfBoxes(boxes, 60, 40);
}

Recipe GridRecipe()
{
    return RecipeDraft().Set("mode", "pixel").Set("pitch.x", 32).Set("pitch.y", 24).Set("threshold.base", 40).Check();
}

/// Fields of what a call refuses.
template <typename Call>
std::vector<std::string> RefusedFields(Call call)
{
    return FieldsOf(Attempt(call));
}

} // namespace

TEST(HostEvaluate, FiguresOfKnownScores)
{
    Evaluation evaluation({{"margin", 2}});
    // Found at its threshold, with a false blob beside it.
    evaluation.Measure("b", Scores().Set({10, 10, 16, 16}, 2.0F).Set({40, 30, 44, 34}, 1.5F).Map(),
                       TruthWith({{"spot", {10, 10, 16, 16}}}));
    // Missed at its threshold, found at three quarters of it.
    evaluation.Measure("a", Scores().Set({20, 20, 24, 24}, 0.8F).Map(), TruthWith({{"line", {19, 19, 25, 25}}}));
    evaluation.Measure("c", Scores().Map(), TruthWith({}));
    evaluation.Refuse("d", {{"image", "gone", "an image"}}, TruthWith({{"spot", {1, 1, 5, 5}}}));
    EXPECT_EQ(evaluation.Images(), 4U);
    const EvaluationReport report = evaluation.Report();
    ASSERT_THAT(report.images, SizeIs(4));
    EXPECT_EQ(report.images[0].name, "a");
    EXPECT_FLOAT_EQ(static_cast<float>(report.images[0].score), 0.8F);
    EXPECT_EQ(report.images[0].defects, 1U);
    EXPECT_EQ(report.images[0].found, 0U);
    EXPECT_TRUE(report.images[0].defective);
    EXPECT_EQ(report.images[1].found, 1U);
    EXPECT_EQ(report.images[1].falseBlobs, 1U);
    EXPECT_FALSE(report.images[2].defective);
    EXPECT_THAT(FieldsOf(report.images[3].problems), ElementsAre("image"));
    EXPECT_EQ(report.refused, 1U);
    ASSERT_TRUE(report.found.value.has_value());
    EXPECT_DOUBLE_EQ(*report.found.value, 1.0 / 3.0);
    EXPECT_LE(report.found.low, *report.found.value);
    EXPECT_GE(report.found.high, *report.found.value);
    EXPECT_DOUBLE_EQ(*report.falseAnImage.value, 0.25);
    // Defective images score 2, 0.8 and 0, the good one 0, which ties with one.
    EXPECT_DOUBLE_EQ(*report.imageAuroc.value, 2.5 / 3.0);
    EXPECT_DOUBLE_EQ(*report.imageF1.value, 2.0 / (1.0 + 3.0));
    ASSERT_THAT(report.kinds, SizeIs(2));
    EXPECT_EQ(report.kinds[1].kind, "spot");
    EXPECT_EQ(report.kinds[1].defects, 2U);
    EXPECT_EQ(report.kinds[1].found, 1U);
    ASSERT_THAT(report.factors, SizeIs(25));
    EXPECT_DOUBLE_EQ(report.factors.front().factor, 8.0);
    EXPECT_DOUBLE_EQ(*report.factors.front().found, 0.0);
    EXPECT_DOUBLE_EQ(report.factors.back().factor, 0.125);
    EXPECT_DOUBLE_EQ(*report.factors.back().found, 2.0 / 3.0);
    EXPECT_FALSE(report.overlapCurve.empty());
    EXPECT_THAT(report.text, HasSubstr("  spot: 1 of 2\n"));
    EXPECT_THAT(report.text, HasSubstr("found           0.333 ("));
}

TEST(HostEvaluate, WithoutPlacesImagesCount)
{
    Evaluation evaluation;
    evaluation.Measure("bad", Scores().Set({5, 5, 9, 9}, 3.0F).Map(), ImageTruth::Defective());
    evaluation.Measure("missed", Scores().Map(), ImageTruth::Defective());
    const EvaluationReport report = evaluation.Report();
    EXPECT_FALSE(report.imageAuroc.value.has_value()); // no good image
    EXPECT_FALSE(report.pixelAuroc.value.has_value());
    EXPECT_DOUBLE_EQ(*report.found.value, 0.5);
    EXPECT_FALSE(report.factors[0].found.has_value());
    EXPECT_THAT(report.kinds, IsEmpty());
}

TEST(HostEvaluate, TruthComesFromBoxesMasksAndSets)
{
    const ImageTruth boxes = TruthWith({{"hole", {-5, 30, 8, 60}}});
    EXPECT_TRUE(boxes.IsDefective());
    ASSERT_THAT(boxes.Defects(), SizeIs(1));
    EXPECT_EQ(boxes.Defects()[0].kind, "hole");
    EXPECT_EQ(boxes.Defects()[0].box.left, 0);
    EXPECT_EQ(boxes.Defects()[0].box.bottom, 40);
    EXPECT_FALSE(TruthWith({}).IsDefective());
    EXPECT_TRUE(ImageTruth::Defective().IsDefective());
    EXPECT_THAT(ImageTruth::Defective().Defects(), IsEmpty());

    Picture8 mask(60, 40);
    mask.Fill({10, 10, 14, 12}, 200);
    mask.Fill({30, 20, 33, 30}, 255);
    mask.Fill({50, 1, 52, 3}, 100); // below half
    const ImageTruth painted = ImageTruth::OfMask(mask.Pixels(), "scratch");
    ASSERT_THAT(painted.Defects(), SizeIs(2));
    EXPECT_EQ(painted.Defects()[1].box.right, 33);
    EXPECT_EQ(painted.Defects()[1].kind, "scratch");
    EXPECT_FALSE(ImageTruth::OfMask(Picture8(60, 40).Pixels()).IsDefective());

    const TestFolder folder;
    for (const char* name : {"good", "defective", "mask"})
        std::filesystem::create_directory(folder / name);
    const Picture8 plain(60, 40, 90);
    SaveImage(folder / "good/a.png", {plain.pixels.data(), 60, 40});
    SaveImage(folder / "defective/b.png", {plain.pixels.data(), 60, 40});
    SaveImage(folder / "mask/b.png", {mask.pixels.data(), 60, 40});
    SaveImage(folder / "defective/c.png", {plain.pixels.data(), 60, 40});
    const EvaluationSet set = ReadEvaluationSet(folder.Path());
    EXPECT_THAT(set.layout, HasSubstr("mask"));
    ASSERT_THAT(set.images, SizeIs(3));
    EXPECT_EQ(set.images[0].name, "good/a.png");
    EXPECT_FALSE(ImageTruth::OfLabelled(set.images[0]).IsDefective());
    EXPECT_THAT(ImageTruth::OfLabelled(set.images[1]).Defects(), SizeIs(2));
    EXPECT_TRUE(ImageTruth::OfLabelled(set.images[2]).IsDefective());
    EXPECT_THAT(ImageTruth::OfLabelled(set.images[2]).Defects(), IsEmpty());
    EXPECT_THAT(RefusedFields([&] { ImageTruth::OfLabelled(set.images[1], 100); }), SizeIs(1));
    EXPECT_THAT(RefusedFields([&] { ImageTruth::OfLabelled(set.images[0], 0); }), SizeIs(1));
    LabelledImage gone;
    gone.file = folder / "gone.png";
    EXPECT_THAT(RefusedFields([&] { ImageTruth::OfLabelled(gone); }), ElementsAre("image " + gone.file.string()));
    EXPECT_THAT(RefusedFields([&] { ReadEvaluationSet(folder / "mask"); }), SizeIs(1));
}

TEST(HostEvaluate, LabelsOfTheExchangeAreRead)
{
    // What MakeExchangeFiles writes is what ReadEvaluationSet reads.
    for (const auto& [form, output] :
         {std::pair(ExchangeForm::Voc, ""), std::pair(ExchangeForm::Yolo, ""), std::pair(ExchangeForm::Coco, "c.json")})
    {
        const TestFolder folder;
        const Picture8 plain(60, 40, 90);
        SaveImage(folder / "a.png", {plain.pixels.data(), 60, 40});
        SaveExchangeFiles(MakeExchangeFiles(
            *output != '\0' ? folder / output : folder.Path(),
            {{"a.png", 60, 40, {{{6, 4, 18, 12}, 50, "hole"}, {{30, 10, 31, 40}, 30, "line"}}}}, form));
        const EvaluationSet set = ReadEvaluationSet(folder.Path());
        ASSERT_THAT(set.images, SizeIs(1));
        ASSERT_THAT(set.images[0].boxes, SizeIs(2));
        EXPECT_EQ(set.images[0].boxes[0].kind, "hole");
        EXPECT_EQ(set.images[0].boxes[0].box.right, 18);
        EXPECT_EQ(set.images[0].boxes[1].box.left, 30);
        EXPECT_EQ(set.images[0].boxes[1].box.bottom, 40);
    }
}

TEST(HostEvaluate, RecipesAreMeasuredByAnyThreadsAlike)
{
    const Recipe recipe = GridRecipe();
    const auto fill = [&](Evaluation& evaluation, int first, int step)
    {
        for (int i = first; i < 6; i += step)
        {
            Picture8 picture = PeriodicPicture(320, 240, 32, 24, static_cast<unsigned>(i + 1));
            const Box box{100, 60, 106, 66};
            if (i % 2 != 0)
                picture.Fill(box, 250);
            const std::vector<TrueBox> boxes =
                i % 2 != 0 ? std::vector<TrueBox>{{"spot", box}} : std::vector<TrueBox>();
            evaluation.Measure("image" + std::to_string(i), picture.Pixels(), recipe,
                               ImageTruth::OfBoxes(boxes, 320, 240));
        }
    };
    Evaluation one;
    fill(one, 0, 1);
    const EvaluationReport report = one.Report();
    EXPECT_DOUBLE_EQ(*report.found.value, 1.0);
    EXPECT_DOUBLE_EQ(*report.falseAnImage.value, 0.0);
    EXPECT_DOUBLE_EQ(*report.imageAuroc.value, 1.0);
    EXPECT_GT(*report.pixelAuroc.value, 0.8);

    Evaluation two({}, 2);
    std::thread odd([&] { fill(two, 1, 2); });
    fill(two, 0, 2);
    odd.join();
    EXPECT_EQ(two.Report().text, report.text);

    // The same images read as Image.
    const Picture8 picture = PeriodicPicture(320, 240, 32, 24);
    Evaluation images;
    images.Measure("a", Image::FromPixels({picture.pixels.data(), 320, 240}), recipe,
                   ImageTruth::OfBoxes({}, 320, 240));
    EXPECT_EQ(images.Report().images[0].falseBlobs, 0U);
}

TEST(HostEvaluate, GoldenModelsAreMeasured)
{
    const Picture8 good = BoardPicture(400, 300);
    GoldenModel model({good.Pixels()});
    Picture8 bad = BoardPicture(400, 300, 3, 9);
    bad.Fill({200, 150, 212, 162}, 250);
    Evaluation evaluation;
    evaluation.Measure("bad", bad.Pixels(), model, ImageTruth::OfBoxes({{"spot", {200, 150, 212, 162}}}, 400, 300));
    const Picture8 other = BoardPicture(400, 300, 2, 5);
    evaluation.Measure("good", Image::FromPixels({other.pixels.data(), 400, 300}), model,
                       ImageTruth::OfBoxes({}, 400, 300));
    const EvaluationReport report = evaluation.Report();
    EXPECT_DOUBLE_EQ(*report.found.value, 1.0);
    EXPECT_GT(report.images[0].score, report.images[1].score);
    const Picture8 mask(400, 300, 1);
    model.SetMask(mask.Pixels());
    EXPECT_THAT(RefusedFields([&] { evaluation.Measure("x", bad.Pixels(), model, ImageTruth::Defective()); }),
                ElementsAre("model"));
}

TEST(HostEvaluate, WhatIsWrongIsNamedAndNothingIsAdded)
{
    const auto settings = [](const char* name, double value) {
        return RefusedFields([&] { Evaluation evaluation({{name, value}}); });
    };
    EXPECT_THAT(settings("margin", -1), ElementsAre("margin"));
    EXPECT_THAT(settings("margin", 1001), ElementsAre("margin"));
    EXPECT_THAT(settings("margin", 1.5), ElementsAre("margin"));
    EXPECT_THAT(settings("smallest", 0), ElementsAre("smallest"));
    EXPECT_THAT(settings("patch", 15), ElementsAre("patch"));
    EXPECT_THAT(settings("patch", 65537), ElementsAre("patch"));
    EXPECT_THAT(settings("patch", 16), IsEmpty());
    EXPECT_THAT(settings("edge", 1), SizeIs(1));
    EXPECT_THAT(RefusedFields([] { Evaluation evaluation({}, 0); }), SizeIs(1));
    EXPECT_THAT(RefusedFields([] { Evaluation evaluation({}, 257); }), SizeIs(1));

    EXPECT_THAT(RefusedFields([] { ImageTruth::OfBoxes({}, 0, 1048577); }), ElementsAre("width", "height"));
    EXPECT_THAT(RefusedFields([] { ImageTruth::OfBoxes({}, 1048576, 1048576); }), ElementsAre("width"));
    EXPECT_THAT(RefusedFields([] { TruthWith({{"a", {1, 1, 2, 2}}, {"b", {2, 2, 2, 3}}}); }), ElementsAre("boxes[1]"));
    EXPECT_THAT(RefusedFields(
                    [] {
                        TruthWith({{"a", {1, 1, std::numeric_limits<int>::max(), 2}}});
                    }),
                ElementsAre("boxes[0]"));
    EXPECT_THAT(RefusedFields([] { TruthWith({{"a", {60, 1, 70, 2}}}); }), ElementsAre("box"));
    EXPECT_THAT(RefusedFields([] { ImageTruth::OfMask(ImagePixels()); }), testing::Not(IsEmpty()));
    const std::vector<std::uint16_t> deep(60 * 40);
    EXPECT_THAT(RefusedFields([&] { ImageTruth::OfMask({deep.data(), 60, 40}); }), testing::Not(IsEmpty()));

    Evaluation evaluation;
    EXPECT_THAT(RefusedFields([&] { evaluation.Report(); }), ElementsAre("images"));
    evaluation.Measure("a", Scores().Map(), TruthWith({}));
    const auto measure = [&](const std::string& name, const ScoreMap& map, const ImageTruth& truth = TruthWith({}))
    { return RefusedFields([&] { evaluation.Measure(name, map, truth); }); };
    EXPECT_THAT(measure("a", Scores().Map()), ElementsAre("name"));
    EXPECT_THAT(measure("", Scores().Map()), ElementsAre("name"));
    EXPECT_THAT(measure("b", {}), ElementsAre("scores.width", "scores.height", "scores.scores"));
    EXPECT_THAT(measure("b", Scores().Set({3, 0, 4, 1}, -1.0F).Map()), ElementsAre("scores[3]"));
    EXPECT_THAT(measure("b", Scores().Set({3, 1, 4, 2}, std::numeric_limits<float>::quiet_NaN()).Map()),
                ElementsAre("scores[63]"));
    EXPECT_THAT(measure("b", Scores().Set({3, 1, 4, 2}, std::numeric_limits<float>::infinity()).Map()),
                ElementsAre("scores[63]"));
    EXPECT_THAT(measure("b", Scores().Map(), ImageTruth::OfBoxes({}, 60, 41)), ElementsAre("truth"));
    const Picture8 picture = PeriodicPicture(320, 240, 32, 24);
    EXPECT_THAT(RefusedFields([&] { evaluation.Measure("b", picture.Pixels(), GridRecipe(), TruthWith({})); }),
                ElementsAre("truth"));
    EXPECT_THAT(RefusedFields([&] { evaluation.Measure("b", ImagePixels(), GridRecipe(), TruthWith({})); }),
                testing::Not(IsEmpty()));
    const Picture8 small(20, 20);
    EXPECT_THAT(RefusedFields([&] { evaluation.Measure("b", small.Pixels(), GridRecipe(), ImageTruth::Defective()); }),
                testing::Not(IsEmpty()));
    EXPECT_THAT(RefusedFields([&] { evaluation.Refuse("b", {}, TruthWith({})); }), ElementsAre("problems"));
    EXPECT_THAT(RefusedFields([&] { evaluation.Refuse("a", {{"f", "v", "a"}}, TruthWith({})); }), ElementsAre("name"));
    EXPECT_EQ(evaluation.Images(), 1U);
    evaluation.Measure("b", Scores().Map(), TruthWith({}));

    ImageTruth truth = TruthWith({});
    const ImageTruth moved = std::move(truth);
    EXPECT_THAT(RefusedFields([&] { truth.IsDefective(); }), ElementsAre("truth")); // NOLINT: that is what is tested
    EXPECT_THAT(measure("c", Scores().Map(), truth), ElementsAre("truth"));         // NOLINT: likewise
    Evaluation other = std::move(evaluation);
    EXPECT_THAT(RefusedFields([&] { evaluation.Images(); }), ElementsAre("evaluation")); // NOLINT: likewise
    EXPECT_EQ(other.Images(), 2U);
}

} // namespace narvo::test
