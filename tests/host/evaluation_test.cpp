// SPDX-License-Identifier: MIT
// Figures of made-up sets whose answers are known, and the layouts of sets.
#include "host/evaluate/evaluation.h"

#include <algorithm>
#include <fstream>
#include <random>

#include <opencv2/imgcodecs.hpp>

#include "host/evaluate/baselines.h"
#include "host/host_test_help.h"
#include "host/inspect/inspector.h"
#include "host/recipe/recipe_file.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

/// Scores of a made-up image: 0 everywhere, `value` in a rectangle, which is a blob at factors up to it.
ImageScores ScoresWith(int width, int height, const std::vector<std::pair<CRect, float>>& spots)
{
    ImageScores scores;
    scores.scores.width = width;
    scores.scores.height = height;
    scores.scores.values.assign(static_cast<std::size_t>(width) * height, 0.0F);
    for (const auto& [box, value] : spots)
        for (int y = box.top; y < box.bottom; ++y)
            for (int x = box.left; x < box.right; ++x)
                scores.scores.values[static_cast<std::size_t>(y) * width + x] = value;
    scores.blobs = BlobsOf(scores.scores);
    return scores;
}

ImageMeasure MeasureBoxes(const ImageScores& scores, const std::vector<TrueBox>& boxes, const ScoringRules& rules = {})
{
    return MeasureImage(scores, TruthOfBoxes(boxes, {scores.scores.width, scores.scores.height}), rules);
}

void SaveGrey(const std::filesystem::path& file, int value = 90)
{
    std::filesystem::create_directories(file.parent_path());
    ASSERT_TRUE(cv::imwrite(file.string(), cv::Mat(20, 30, CV_8UC1, cv::Scalar(value))));
}

void SaveText(const std::filesystem::path& file, const std::string& text)
{
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

} // namespace

TEST(Curves, AurocIsTheShareOfPairsInOrder)
{
    // Good 1, 2, 3 and defective 2, 4: of six pairs four are in order, one tied, one not.
    const std::vector<ScoredUnit> units = {{1, false}, {2, false}, {3, false}, {2, true}, {4, true}};
    EXPECT_DOUBLE_EQ(*UnitAuroc(units), 4.5 / 6.0);
    EXPECT_FALSE(UnitAuroc({{1, false}}).has_value());
    EXPECT_FALSE(UnitAuroc({{1, true}}).has_value());
    // At 2 and above: both defective ones and two good ones.
    EXPECT_DOUBLE_EQ(*BestUnitF1(units), 2.0 * 2.0 / (2.0 + 2.0 + 2.0));
    EXPECT_DOUBLE_EQ(*UnitAuroc({{5, false}, {1, true}}), 0.0);
}

TEST(Curves, BinsAscendWithScores)
{
    EXPECT_EQ(BinOf(0.0F), 0);
    EXPECT_EQ(BinOf(-1.0F), 0);
    int last = 0;
    for (float score = 0.02F; score < 900.0F; score *= 1.003F)
    {
        const int bin = BinOf(score);
        EXPECT_GE(bin, last);
        EXPECT_LE(ScoreOfBin(bin), score);
        EXPECT_GT(ScoreOfBin(bin) * 1.01, score);
        last = bin;
    }
    EXPECT_EQ(BinOf(1e9F), nScoreBins - 1);
}

TEST(Measures, PixelFiguresAreThoseOfTheCounts)
{
    // 100 pixels, 10 of them in the box; scores 2 on half of the box and on 9 good pixels, 1 on the rest of the box.
    const ImageScores scores =
        ScoresWith(10, 10, {{CRect(0, 0, 5, 1), 2.0F}, {CRect(5, 0, 10, 1), 1.0F}, {CRect(0, 5, 9, 6), 2.0F}});
    const ImageMeasure measure = MeasureBoxes(scores, {{"a", CRect(0, 0, 10, 1)}});
    PixelCounts counts;
    counts.Add(measure);
    // Of 10 by 90 pairs: 5 lie above 81 and level with 9, 5 lie above 81.
    EXPECT_DOUBLE_EQ(*PixelAuroc(counts), (5 * (81 + 4.5) + 5 * 81) / 900.0);
    EXPECT_DOUBLE_EQ(*BestPixelF1(counts), 2.0 * 10 / (9 + 10 + 10));
    // The curve goes 0,0 - 0.1,0.5 - 0.1,1 - 1,1: below 0.3 that is 0.1 * 0.25 + 0.2.
    EXPECT_NEAR(*RegionOverlap(counts), (0.1 * 0.25 + 0.2) / 0.3, 1e-12);
}

TEST(Measures, BlobFindsWhatItTouchesWithinTheMargin)
{
    const TrueBox box{"a", CRect(40, 40, 50, 50)};
    const auto measureAt = [&](const CRect& blob, int margin)
    {
        ScoringRules rules;
        rules.margin = margin;
        return MeasureBoxes(ScoresWith(100, 100, {{blob, 1.5F}}), {box}, rules);
    };
    EXPECT_TRUE(measureAt(CRect(52, 40, 56, 44), 3).regions[0].found[nFactorOne]);
    EXPECT_EQ(measureAt(CRect(52, 40, 56, 44), 3).falseBlobs[nFactorOne], 0);
    EXPECT_FALSE(measureAt(CRect(53, 40, 57, 44), 3).regions[0].found[nFactorOne]);
    EXPECT_EQ(measureAt(CRect(53, 40, 57, 44), 3).falseBlobs[nFactorOne], 1);
    // Reported at factors up to 1.5 only.
    EXPECT_FALSE(measureAt(CRect(42, 40, 46, 44), 3).regions[0].found[nFactorOne - 4]);
    EXPECT_TRUE(measureAt(CRect(42, 40, 46, 44), 3).regions[0].found[nFactorOne - 2]);
}

TEST(Measures, BoxBehindAnotherIsFound)
{
    const TrueBox box{"a", CRect(40, 40, 50, 50)};
    const TrueBox same{"b", CRect(40, 40, 50, 50)};
    const ImageMeasure measure = MeasureBoxes(ScoresWith(100, 100, {{CRect(42, 42, 46, 46), 1.5F}}), {box, same});
    EXPECT_TRUE(measure.regions[0].found[nFactorOne]);
    EXPECT_TRUE(measure.regions[1].found[nFactorOne]);
}

TEST(Measures, GiantBlobGetsNoCredit)
{
    const TrueBox box{"a", CRect(40, 40, 44, 44)};
    // 16 pixels: a blob of 320 pixels finds it, one of 324 does not.
    const ImageMeasure fits = MeasureBoxes(ScoresWith(100, 100, {{CRect(38, 38, 58, 54), 1.0F}}), {box});
    EXPECT_TRUE(fits.regions[0].found[nFactorOne]);
    EXPECT_EQ(fits.falseBlobs[nFactorOne], 0);
    const ImageMeasure giant = MeasureBoxes(ScoresWith(100, 100, {{CRect(38, 38, 56, 56), 1.0F}}), {box});
    EXPECT_FALSE(giant.regions[0].found[nFactorOne]);
    EXPECT_EQ(giant.falseBlobs[nFactorOne], 1);
}

TEST(Measures, MaskIsTakenByItsConnectedParts)
{
    cv::Mat mask = cv::Mat::zeros(40, 40, CV_8UC1);
    mask(cv::Rect(2, 3, 5, 6)).setTo(255);
    mask(cv::Rect(20, 20, 3, 3)).setTo(200);
    mask.at<std::uint8_t>(39, 39) = 90; // what a codec leaves
    const ImageTruth truth = TruthOfMask(mask, "hole");
    ASSERT_EQ(truth.regions.size(), 2U);
    EXPECT_EQ(truth.regions[0].box, CRect(2, 3, 7, 9));
    EXPECT_EQ(truth.regions[0].area, 30);
    EXPECT_EQ(truth.regions[1].kind, "hole");
    EXPECT_TRUE(truth.defective);
    cv::Mat ones = cv::Mat::zeros(9, 9, CV_8UC1);
    ones.at<std::uint8_t>(4, 4) = 1;
    EXPECT_EQ(TruthOfMask(ones, "").regions.size(), 1U);
    EXPECT_FALSE(TruthOfMask(cv::Mat::zeros(9, 9, CV_8UC1), "").defective);
}

TEST(Measures, PatchesCountAsImages)
{
    ScoringRules rules;
    rules.patch = 16;
    const ImageMeasure measure =
        MeasureBoxes(ScoresWith(40, 32, {{CRect(0, 0, 4, 4), 0.5F}}), {{"a", CRect(17, 17, 19, 19)}}, rules);
    ASSERT_EQ(measure.units.size(), 4U); // what is left at the right is no patch
    EXPECT_EQ(measure.units[0].score, 0.5);
    EXPECT_FALSE(measure.units[0].defective);
    EXPECT_TRUE(measure.units[3].defective);
    EXPECT_EQ(measure.units[3].score, 0.0);
}

TEST(Evaluation, FiguresComeWithTheirRangeForAnyNumberOfLanes)
{
    EvaluationSet set;
    for (int i = 0; i < 40; ++i)
    {
        SetImage image;
        image.name = std::to_string(i);
        image.defective = i % 2 == 0;
        if (image.defective)
            image.boxes = {{i % 4 == 0 ? "scratch" : "spot", CRect(5, 5, 9, 9)}};
        set.images.push_back(image);
    }
    const TruthOfImage truth = [](const SetImage& image) { return TruthOfBoxes(image.boxes, {30, 30}); };
    const ScoreOfImage score = [](const SetImage& image, int)
    {
        const int number = std::stoi(image.name);
        if (number == 7)
            throw HostError({{"image 7", "torn", "whole"}});
        // Scratches are found, spots are not; one good image in five has a false blob.
        return ScoresWith(30, 30,
                          number % 4 == 0    ? std::vector<std::pair<CRect, float>>{{CRect(5, 5, 9, 9), 2.0F}}
                          : number % 10 == 1 ? std::vector<std::pair<CRect, float>>{{CRect(20, 20, 23, 23), 1.0F}}
                                             : std::vector<std::pair<CRect, float>>{});
    };
    const MethodResult one = EvaluateMethod("m", set, truth, score, {}, 1);
    EXPECT_EQ(one.kinds.at("scratch").found, 10);
    EXPECT_EQ(one.kinds.at("spot").found, 0);
    EXPECT_DOUBLE_EQ(*one.found.value, 0.5);
    EXPECT_DOUBLE_EQ(*one.falseAnImage.value, 4.0 / 40.0);
    EXPECT_LT(one.found.low, 0.5);
    EXPECT_GT(one.found.high, 0.5);
    EXPECT_DOUBLE_EQ(*one.imageF1.value, 2.0 * 10 / (14 + 20));
    EXPECT_EQ(one.refused, 1);
    EXPECT_EQ(one.images[7].problems.front().value, "torn");
    const MethodResult four = EvaluateMethod("m", set, truth, score, {}, 4);
    EXPECT_EQ(EvaluationToJson("s", "l", {}, {}, {one}).dump(), EvaluationToJson("s", "l", {}, {}, {four}).dump());
}

TEST(Evaluation, TruthOfAnotherSizeIsRefused)
{
    EvaluationSet set;
    set.images.resize(1);
    set.images[0].mask = "mask.png";
    const TruthOfImage truth = [](const SetImage&) { return TruthOfMask(cv::Mat(40, 50, CV_8UC1, 255.0), ""); };
    const auto found = ProblemsOf(
        [&]
        {
            EvaluateMethod(
                "m", set, truth, [](const SetImage&, int) { return ScoresWith(50, 30, {}); }, {}, 1);
        });
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].field, "mask mask.png");
    EXPECT_EQ(found[0].value, "50 by 40 pixels");
    EXPECT_EQ(found[0].allowed, "the 50 by 30 pixels of the image");
}

TEST(ThresholdSweep, ScoreIsHowFarTheDifferenceLiesAboveItsThreshold)
{
    // A grating with spots of known contrast, compared pixel by pixel with a threshold of 20.
    GreyImage image(240, 240);
    for (int y = 0; y < 240; ++y)
        for (int x = 0; x < 240; ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(x % 20 < 10 ? 80 : 120);
    const auto spot = [&](int left, int top, int contrast)
    {
        for (int y = top; y < top + 5; ++y)
            for (int x = left; x < left + 5; ++x)
                image.Row(y)[x] = static_cast<std::uint8_t>(image.Row(y)[x] + contrast);
    };
    spot(100, 100, 60);
    spot(160, 150, 30);
    spot(60, 60, 10);
    const CheckedRecipe recipe = ParseRecipe({{"version", 1},
                                              {"mode", "pixel"},
                                              {"direction", "horizontal"},
                                              {"pitch", {{"x", 20}, {"y", 20}}},
                                              {"threshold", {{"base", 20}}},
                                              {"filters", {{"enabled", false}}}},
                                             {});
    Inspector inspector(1, 20000);
    const ImageScores scores = SweepThresholds(inspector, 0, image, recipe);
    EXPECT_NEAR(scores.scores.At(102, 102), 3.0, 0.3);
    EXPECT_NEAR(scores.scores.At(162, 152), 1.5, 0.2);
    EXPECT_NEAR(scores.scores.At(62, 62), 0.5, 0.1);
    EXPECT_EQ(scores.scores.At(30, 200), 0.0F);
    EXPECT_EQ(scores.blobs[nFactorOne].size(), 2U);
    EXPECT_EQ(scores.blobs[0].size(), 0U);
}

TEST(ThresholdSweep, RegionsJoinWhateverTheSizeOfTheirPlaces)
{
    // Places of texture mode are as many pixels wide as its finest measure folds.
    std::mt19937 random(3);
    GreyImage image(203, 190);
    for (int y = 0; y < 190; ++y)
        for (int x = 0; x < 203; ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>((x % 20 < 10 ? 80 : 120) + random() % 9);
    for (int y = 90; y < 110; ++y)
        for (int x = 90; x < 110; ++x)
            image.Row(y)[x] = 220;
    const auto texture = [](int fold)
    {
        const nlohmann::json limits = {{"typical", 2.0}, {"limit", 4.0}};
        return ParseRecipe(
            {{"version", 1},
             {"mode", "texture"},
             {"texture", {{"features", {{{"fold", fold}, {"size", 2}, {"bright", limits}, {"dark", limits}}}}}}},
            {});
    };
    const CheckedRecipe pixel = ParseRecipe(
        {{"version", 1}, {"mode", "pixel"}, {"pitch", {{"x", 20}, {"y", 20}}}, {"threshold", {{"base", 20}}}}, {});
    const std::vector<CheckedRecipe> regions = {texture(4), pixel, texture(2), texture(4)};
    Inspector inspector(1, 20000);
    const ImageScores joined = SweepRegions(inspector, 0, image, regions);
    std::vector<ImageScores> alone;
    std::size_t blobs = 0;
    for (const CheckedRecipe& region : regions)
    {
        alone.push_back(SweepThresholds(inspector, 0, image, region));
        blobs += alone.back().blobs[nFactorOne].size();
    }
    EXPECT_EQ(alone[0].scores.step, 4);
    EXPECT_EQ(joined.scores.step, 1);
    EXPECT_EQ(joined.blobs[nFactorOne].size(), blobs);
    for (int y = 0; y < 190; ++y)
        for (int x = 0; x < 203; ++x)
        {
            float highest = 0.0F;
            for (const ImageScores& one : alone)
                highest = std::max(highest, one.scores.At(x, y));
            ASSERT_EQ(joined.scores.At(x, y), highest) << x << ' ' << y;
        }
    EXPECT_EQ(SweepRegions(inspector, 0, image, {regions[0], regions[3]}).scores.step, 4);
}

TEST(ThresholdSweep, ScaledRecipesAreValidInEveryMode)
{
    for (const char* mode : {"zone", "pixel", "float", "binarise", "average", "asg"})
        for (const double factor : SweepFactors())
            EXPECT_NO_THROW(CheckedRecipe(ScaleThresholds(*ParseRecipe(SmallestRecipe(mode), {}), factor)))
                << mode << " at " << factor;
}

TEST(Baselines, DifferenceIsOpenedAndDeviationIsLocal)
{
    GreyImage good(64, 64, 100);
    GreyImage image(64, 64, 100);
    image.Row(10)[10] = 200; // a single pixel goes
    for (int y = 30; y < 34; ++y)
        for (int x = 30; x < 34; ++x)
            image.Row(y)[x] = 164;
    const ImageScores difference = ScoreByDifference(image, good);
    EXPECT_EQ(difference.scores.At(10, 10), 0.0F);
    EXPECT_EQ(difference.scores.At(31, 31), 2.0F);
    ASSERT_EQ(difference.blobs[nFactorOne].size(), 1U);
    EXPECT_EQ(difference.blobs[nFactorOne][0].box, CRect(30, 30, 34, 34));
    EXPECT_EQ(ScoreByDisplacement(image, 0, 20).scores.At(31, 31), 2.0F);
    const ImageScores deviation = ScoreByDeviation(image);
    EXPECT_GT(deviation.scores.At(31, 31), 3.0F * deviation.scores.At(50, 10));
}

TEST(EvaluationSet, MasksAreReadByKind)
{
    const TestFolder folder;
    SaveGrey(folder / "good/a.png");
    SaveGrey(folder / "defective/b.png");
    SaveGrey(folder / "mask/b.png", 0);
    SaveGrey(folder / "defective/hole/c.png");
    SaveGrey(folder / "mask/hole/c.png", 255);
    const EvaluationSet set = ReadEvaluationSet(folder.Path());
    ASSERT_EQ(set.images.size(), 3U);
    EXPECT_EQ(set.images[0].name, "good/a.png");
    EXPECT_FALSE(set.images[0].defective);
    EXPECT_EQ(set.images[1].kind, "defective");
    EXPECT_EQ(set.images[2].kind, "hole");
    EXPECT_EQ(set.images[2].mask, folder / "mask/hole/c.png");
}

TEST(EvaluationSet, PairsAreReadWithTheirBoxes)
{
    const TestFolder folder;
    SaveGrey(folder / "x_temp.png");
    SaveGrey(folder / "x_test.png");
    SaveText(folder / "x.txt", "1 2 5 6 open\n3,4,9,8,short\n");
    const EvaluationSet set = ReadEvaluationSet(folder.Path());
    ASSERT_EQ(set.images.size(), 1U);
    EXPECT_EQ(set.images[0].reference, folder / "x_temp.png");
    ASSERT_EQ(set.images[0].boxes.size(), 2U);
    EXPECT_EQ(set.images[0].boxes[1].kind, "short");
    EXPECT_EQ(set.images[0].boxes[1].box, CRect(3, 4, 9, 8));
    SaveText(folder / "x.txt", "5 2 1 6 open\n");
    EXPECT_THAT(ProblemsOf([&] { ReadEvaluationSet(folder.Path()); }).front().field, HasSubstr("x.txt, line 1"));
}

TEST(EvaluationSet, CocoVocYoloAndTextGiveTheSameBox)
{
    for (const std::string kind : {"coco", "voc", "yolo", "text"})
    {
        const TestFolder folder;
        SaveGrey(folder / "images/a.png"); // 30 by 20
        SaveGrey(folder / "images/b.png");
        if (kind == "coco")
            SaveText(folder / "annotations/all.json",
                     R"({"images": [{"id": 7, "file_name": "a.png"}, {"id": 8, "file_name": "b.png"}],
                         "annotations": [{"id": 1, "image_id": 7, "category_id": 2, "bbox": [6, 4, 12, 8]}],
                         "categories": [{"id": 2, "name": "hole"}]})");
        if (kind == "voc")
        {
            SaveText(folder / "annotations/a.xml",
                     "<annotation><filename>a.png</filename><object><name>hole</name><bndbox><xmin>7</xmin><ymin>5"
                     "</ymin><xmax>18</xmax><ymax>12</ymax></bndbox></object></annotation>");
            SaveText(folder / "annotations/b.xml", "<annotation><filename>b.png</filename></annotation>");
        }
        if (kind == "yolo")
        {
            SaveText(folder / "labels/a.txt", "1 0.4 0.4 0.4 0.4\n");
            SaveText(folder / "labels/b.txt", "");
            SaveText(folder / "classes.txt", "scratch\nhole\n");
        }
        if (kind == "text")
            SaveText(folder / "labels/a.txt", "6 4 18 12 hole\n");
        const EvaluationSet set = ReadEvaluationSet(folder.Path());
        ASSERT_EQ(set.images.size(), 2U) << kind;
        ASSERT_EQ(set.images[0].boxes.size(), 1U) << kind;
        EXPECT_EQ(set.images[0].boxes[0].kind, "hole") << kind;
        EXPECT_EQ(set.images[0].boxes[0].box, CRect(6, 4, 18, 12)) << kind;
        EXPECT_TRUE(set.images[0].defective);
        EXPECT_FALSE(set.images[1].defective) << kind;
    }
}

TEST(EvaluationSet, BoxesOfATestedImageNeedNoReference)
{
    const TestFolder folder;
    SaveGrey(folder / "7_test.png");
    SaveGrey(folder / "8_test.png");
    SaveText(folder / "7.txt", "1 2 5 6 open\n");
    SaveText(folder / "8.txt", "");
    const EvaluationSet set = ReadEvaluationSet(folder.Path());
    ASSERT_EQ(set.images.size(), 2U);
    EXPECT_EQ(set.images[0].boxes.size(), 1U);
    EXPECT_FALSE(set.images[1].defective);
}

TEST(EvaluationSet, UnknownFoldersAreRefusedInWords)
{
    const TestFolder folder;
    SaveGrey(folder / "a.png");
    EXPECT_THAT(ProblemsOf([&] { ReadEvaluationSet(folder.Path()); }),
                testing::ElementsAre(testing::Field(&Problem::value, "no known layout")));
    EXPECT_THAT(ProblemsOf([&] { ReadEvaluationSet(folder / "nowhere"); }),
                testing::ElementsAre(testing::Field(&Problem::value, "no such folder")));
    SaveText(folder / "a.xml", "<annotation><object><name>hole</name></object></annotation>");
    EXPECT_THAT(ProblemsOf([&] { ReadEvaluationSet(folder.Path()); }),
                testing::ElementsAre(testing::Field(&Problem::value, "no bndbox")));
    SaveText(folder / "a.json", R"({"images": [{"id": 1, "file_name": "a.png"}], "annotations": [{"image_id": 2}]})");
    EXPECT_THAT(ProblemsOf([&] { ReadEvaluationSet(folder.Path()); }),
                testing::ElementsAre(testing::Field(&Problem::allowed, "the id of an image")));
}

TEST(EvaluationSet, DamagedJsonIsSaidToBeAndAnImageHasOneFile)
{
    const TestFolder folder;
    SaveGrey(folder / "a.png");
    SaveText(folder / "a.json", R"({"images": [{"id": 1,)");
    EXPECT_THAT(
        ProblemsOf([&] { ReadEvaluationSet(folder.Path()); }),
        ElementsAre(testing::AllOf(testing::Field(&Problem::field, HasSubstr("a.json")),
                                   testing::Field(&Problem::value, testing::Not(HasSubstr("no known layout"))))));
    const char* coco = R"({"images": [{"id": 1, "file_name": "a.png"}], "annotations": []})";
    SaveText(folder / "a.json", coco);
    EXPECT_EQ(ReadEvaluationSet(folder.Path()).images.size(), 1U);
    SaveText(folder / "b.json", coco);
    EXPECT_THAT(
        ProblemsOf([&] { ReadEvaluationSet(folder.Path()); }),
        ElementsAre(IsProblem("boxes " + (folder / "b.json").string(),
                              "image a.png is also in " + (folder / "a.json").string(), "each image in one file")));
}

/// The one problem of a set of one image, 30 by 20 pixels, with that file beside it.
Problem ProblemWith(const std::string& name, const std::string& text)
{
    const TestFolder folder;
    SaveGrey(folder / "a.png");
    SaveText(folder / name, text);
    const auto found = ProblemsOf([&] { ReadEvaluationSet(folder.Path()); });
    EXPECT_EQ(found.size(), 1U) << text.substr(0, 100);
    return found.empty() ? Problem() : found[0];
}

TEST(EvaluationSet, OneLineDoesNotChangeWhatTheOthersMean)
{
    const TestFolder folder;
    SaveGrey(folder / "images/a.png");
    SaveGrey(folder / "images/b.png");
    SaveText(folder / "labels/a.txt", "1 0.4 0.4 0.4 0.4\n");
    for (const std::string empty : {"", "\n", " \n\n"})
    {
        SaveText(folder / "labels/b.txt", empty);
        const EvaluationSet set = ReadEvaluationSet(folder.Path());
        ASSERT_EQ(set.images.size(), 2U);
        EXPECT_EQ(set.images[0].boxes[0].box, CRect(6, 4, 18, 12));
        EXPECT_FALSE(set.images[1].defective);
    }
    SaveText(folder / "labels/b.txt", "0 0.5 0.5 1.0002 0.5\n");
    EXPECT_EQ(ReadEvaluationSet(folder.Path()).images[1].boxes.size(), 1U) << "rounded up by the tool that wrote it";
    for (const std::string line : {"0 .1 .1 .3 .1 .3 .4\n", "0 0.5 0.5 1.2 0.5\n", "0 5 6 20 18\n", "-1 .5 .5 .1 .1\n"})
    {
        SaveText(folder / "labels/b.txt", line);
        const auto found = ProblemsOf([&] { ReadEvaluationSet(folder.Path()); });
        ASSERT_EQ(found.size(), 1U) << line;
        EXPECT_THAT(found[0].field, HasSubstr("b.txt, line 1"));
        EXPECT_THAT(found[0].allowed, HasSubstr("shares of the image"));
    }
    SaveText(folder / "labels/b.txt", "0 .5 .5 .1 .1\n");
    SaveText(folder / "classes.txt", "hole\n");
    EXPECT_THAT(ProblemsOf([&] { ReadEvaluationSet(folder.Path()); }),
                testing::ElementsAre(testing::Field(&Problem::value, "class 1")));
}

TEST(EvaluationSet, VocIsReadAsXmlIs)
{
    const TestFolder folder;
    SaveGrey(folder / "a.png");
    const std::string box = "<bndbox><xmin>7</xmin><ymin>5</ymin><xmax>18</xmax><ymax>12</ymax></bndbox>";
    SaveText(folder / "a.xml", "<?xml version=\"1.0\"?><annotation\t><filename>a.png</filename>"
                               "<!-- <object><name>no</name>" +
                                   box + "</object> --><object\t><name>&lt;b&amp;</name>" + box +
                                   "</object></annotation>");
    const EvaluationSet set = ReadEvaluationSet(folder.Path());
    ASSERT_EQ(set.images.size(), 1U);
    ASSERT_EQ(set.images[0].boxes.size(), 1U);
    EXPECT_EQ(set.images[0].boxes[0].kind, "<b&");
    EXPECT_EQ(set.images[0].boxes[0].box, CRect(6, 4, 18, 12));
    EXPECT_EQ(ProblemWith("a.xml", "<annotation><object><name>hole</name>" + box + "</annotation>").value,
              "<object> without an end");
    EXPECT_EQ(ProblemWith("a.xml", "<annotation><object>").value, "<annotation> without an end");
    EXPECT_EQ(ProblemWith("a.xml", "<project/>").value, "no annotation");
}

TEST(EvaluationSet, DeepAndAmbiguousCocoIsRefusedInAShortLine)
{
    const std::string deep = std::string(10, '[') + std::string(10, ']');
    const std::string deeper = std::string(200000, '[') + std::string(200000, ']');
    const auto coco = [](const std::string& images, const std::string& annotations)
    { return R"({"images": [)" + images + R"(], "annotations": [)" + annotations + "]}"; };
    const std::string image = R"({"id": 1, "file_name": "a.png"})";
    EXPECT_EQ(ProblemWith("a.json", coco(image, R"({"image_id": 1, "bbox": )" + deep + "}")).value, "an array");
    EXPECT_EQ(ProblemWith("a.json", coco(image, R"({"image_id": )" + deep + "}")).value, "an array");
    EXPECT_EQ(ProblemWith("a.json", coco(image, R"({"image_id": )" + deeper + "}")).value, "nested more than 16 deep");
    EXPECT_EQ(ProblemWith("a.json", coco(image + ", " + image, "")).value, "id 1 given twice");
    EXPECT_EQ(ProblemWith("a.json", coco(R"({"id": 18446744073709551615, "file_name": "a.png"})", "")).value,
              "18446744073709551615");
    EXPECT_EQ(ProblemWith("a.json", coco(R"({"id": 1, "file_name": "../a.png"})", "")).value,
              "image ../a.png is not there");
}

TEST(EvaluationSet, FirstGoodImagesByNameAreTaken)
{
    EvaluationSet set;
    for (const char* name : {"d.png", "b.png", "c.png", "a.png"})
    {
        SetImage& image = set.images.emplace_back();
        image.name = image.file = name;
        image.defective = image.name == "a.png";
    }
    EXPECT_THAT(ProblemsOf([&] { TakeGoodImages(set, 4, "--learn"); }),
                ElementsAre(IsProblem("--learn", "4", "1 to 3, since the set has 3 good images of 4")));
    EXPECT_THAT(ProblemsOf([&] { TakeGoodImages(set, 0, "--learn"); }), testing::SizeIs(1));
    ASSERT_EQ(set.images.size(), 4U);
    const std::vector<SetImage> taken = TakeGoodImages(set, 2, "--learn");
    ASSERT_EQ(taken.size(), 2U);
    EXPECT_EQ(taken[0].name, "b.png");
    EXPECT_EQ(taken[1].name, "c.png");
    ASSERT_EQ(set.images.size(), 2U);
    EXPECT_EQ(set.images[0].name, "d.png");
    EXPECT_EQ(set.images[1].name, "a.png");
    // The last good one may go, as long as something is left to measure.
    EXPECT_EQ(TakeGoodImages(set, 1, "--learn")[0].name, "d.png");
    EXPECT_THAT(ProblemsOf([&] { TakeGoodImages(set, 1, "--learn"); }),
                ElementsAre(IsProblem("--learn", "1", "a set with good images and others to measure")));
}

TEST(Measures, BoxOutsideItsImageIsRefused)
{
    const auto found = ProblemsOf([] { MeasureBoxes(ScoresWith(30, 20, {}), {{"hole", CRect(30, 0, 40, 9)}}); });
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].value, "30 0 40 9");
    EXPECT_EQ(found[0].allowed, "in the image of 30 by 20 pixels");
}

} // namespace narvo::test
