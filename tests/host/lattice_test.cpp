// SPDX-License-Identifier: MIT
// Lattice mode on made-up patterns whose lattice and defects are known: the search, vectors that change over the image,
// references from several neighbours, and what is found.
#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include <opencv2/core.hpp>

#include "host/evaluate/threshold_sweep.h"
#include "host/host_test_help.h"
#include "host/inspect/inspection_plan.h"
#include "host/inspect/inspector.h"
#include "host/inspect/lattice_inspection.h"
#include "host/lattice/lattice.h"
#include "host/lattice/lattice_field.h"
#include "host/lattice/lattice_reference.h"
#include "host/lattice/lattice_search.h"
#include "host/learn/learn.h"
#include "host/statistics/mixed_numbers.h"

namespace narvo::test
{

namespace
{

using nlohmann::json;
using testing::Contains;
using testing::IsEmpty;
using testing::SizeIs;

/// A dot with a bar beside it, once in every cell of two vectors; positions are shares of the vectors.
double CellValue(double u, double v)
{
    u -= std::floor(u);
    v -= std::floor(v);
    const auto bump = [&](double u0, double v0, double wide, double high)
    {
        const double du = std::remainder(u - u0, 1.0) / wide;
        const double dv = std::remainder(v - v0, 1.0) / high;
        return std::exp(-du * du - dv * dv);
    };
    return 70.0 + 110.0 * bump(0.3, 0.4, 0.16, 0.2) + 60.0 * bump(0.75, 0.7, 0.1, 0.14);
}

/// A pattern over two vectors, with noise. `stretch` lengthens the first vector along x from 1 on the left to
/// 1 + stretch on the right.
GreyImage MakeLattice(int width, int height, const LatticeVector& a, const LatticeVector& b, double noise = 2.0,
                      double stretch = 0.0, std::uint64_t seed = 1)
{
    MixedNumbers random(seed);
    GreyImage image(width, height);
    const double area = a.x * b.y - a.y * b.x;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
        {
            // The place at which the pitch, integrated from the left, is the same.
            const double px = stretch == 0.0 ? x : width / stretch * std::log1p(stretch * x / width);
            const double u = (px * b.y - y * b.x) / area;
            const double v = (y * a.x - px * a.y) / area;
            double sum = 0.0; // of twelve even numbers: nearly normal
            for (int i = 0; i < 12; ++i)
                sum += static_cast<double>(random.Next() >> 11) / 9007199254740992.0;
            image.Row(y)[x] =
                static_cast<std::uint8_t>(std::clamp(std::lround(CellValue(u, v) + noise * (sum - 6.0)), 0L, 255L));
        }
    image.FillUpRows();
    return image;
}

/// Marks that repeat along y alone, two and a half times.
GreyImage MakeTall()
{
    MixedNumbers random(9);
    std::vector<CRect> marks;
    for (int i = 0; i < 60; ++i)
    {
        const int x = static_cast<int>(random.Below(360));
        const int y = static_cast<int>(random.Below(150));
        marks.push_back({x, y, x + 6 + static_cast<int>(random.Below(30)), y + 6 + static_cast<int>(random.Below(20))});
    }
    GreyImage image(400, 400, 60);
    for (const CRect& mark : marks)
        for (int times = -1; times < 3; ++times)
            for (int y = std::max(0, mark.top + 165 * times); y < std::min(400, mark.bottom + 165 * times); ++y)
                for (int x = mark.left; x < std::min<int>(400, mark.right); ++x)
                    image.Row(y)[x] = 190;
    image.FillUpRows();
    return image;
}

void Add(GreyImage& image, const CRect& box, int step)
{
    for (int y = std::max(0, box.top); y < std::min(image.Height(), box.bottom); ++y)
        for (int x = std::max(0, box.left); x < std::min(image.Width(), box.right); ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(std::clamp(image.Row(y)[x] + step, 0, 255));
}

/// Whether the lattice has a point there.
bool HasPoint(const Lattice& lattice, const LatticeVector& at, double within)
{
    for (int i = -4; i <= 4; ++i)
        for (int k = -4; k <= 4; ++k)
            if (const LatticeVector point = DisplacementOf(lattice, {i, lattice.vectors.size() > 1 ? k : 0});
                std::hypot(point.x - at.x, point.y - at.y) <= within)
                return true;
    return false;
}

double AreaOf(const Lattice& lattice)
{
    const LatticeVector& a = lattice.vectors[0];
    const LatticeVector& b = lattice.vectors[1];
    return std::abs(a.x * b.y - a.y * b.x);
}

Recipe LatticeRecipe(const json& fields = json::object())
{
    json document = {{"version", 1}, {"mode", "lattice"}, {"min_area", 5}};
    if (!fields.empty())
        document["lattice"] = fields;
    return ParseRecipe(document, {});
}

InspectionResult InspectBy(const GreyImage& image, const Recipe& recipe = LatticeRecipe())
{
    Inspector inspector(1, recipe.maxBlobs);
    return inspector.Inspect(0, image, CheckedRecipe(recipe));
}

/// Every blob touches the box, and they cover this share of it.
void ExpectCovered(const InspectionResult& result, const CRect& box, double share)
{
    int covered = 0;
    for (int y = box.top; y < box.bottom; ++y)
        for (int x = box.left; x < box.right; ++x)
            covered += std::any_of(result.blobs.begin(), result.blobs.end(),
                                   [&](const Blob& blob) { return blob.box.PtInRect(CPoint(x, y)); })
                           ? 1
                           : 0;
    EXPECT_GE(covered, share * box.Width() * box.Height());
    for (const Blob& blob : result.blobs)
        EXPECT_TRUE(blob.box.left < box.right + 3 && blob.box.right > box.left - 3 && blob.box.top < box.bottom + 3 &&
                    blob.box.bottom > box.top - 3)
            << blob.box.left << ", " << blob.box.top << ", area " << blob.area;
}

struct Shape
{
    const char* name;
    LatticeVector a;
    LatticeVector b;
};

const Shape shapes[] = {
    {"square", {24.0, 0.0}, {0.0, 24.0}},      {"rectangular between pixels", {31.4, 0.0}, {0.0, 18.7}},
    {"turned", {23.0, 6.2}, {-6.2, 23.0}},     {"oblique", {27.5, 2.0}, {9.3, 19.6}},
    {"hexagonal", {22.0, 0.0}, {11.0, 19.05}}, {"fine", {8.3, 0.7}, {-1.1, 7.2}}};

} // namespace

TEST(Lattice, ReductionFindsTheShortestVectorsOfTheSameLattice)
{
    const Lattice reduced = Reduced({{{31.0, 7.0}, {84.0, 26.0}}});
    EXPECT_NEAR(AreaOf(reduced), std::abs(31.0 * 26.0 - 7.0 * 84.0), 1e-9);
    EXPECT_LE(reduced.vectors[0].Length(), reduced.vectors[1].Length() + 1e-9);
    EXPECT_GE(AngleShare(reduced.vectors[0], reduced.vectors[1]), std::sqrt(0.75) - 0.01);
    EXPECT_TRUE(HasPoint(reduced, {31.0, 7.0}, 1e-6));
}

TEST(Lattice, NearestStepsAreInOrderAndLeaveOutTheOriginAndWhatIsTooFar)
{
    const Lattice lattice{{{10.0, 0.0}, {0.0, 20.0}}};
    const std::vector<LatticeStep> steps = NearestSteps(lattice, 8, 25.0, 100.0);
    ASSERT_THAT(steps, SizeIs(8));
    double before = 0.0;
    for (const LatticeStep& step : steps)
    {
        const LatticeVector at = DisplacementOf(lattice, step);
        EXPECT_GE(at.Length(), before);
        EXPECT_LT(std::abs(at.x), 25.0);
        before = at.Length();
    }
    EXPECT_EQ(before, std::hypot(10.0, 20.0));
}

TEST(Lattice, SearchFindsTheLatticeOfEveryShape)
{
    for (const Shape& shape : shapes)
    {
        const LatticeSearch found = SearchLattice(MakeLattice(400, 300, shape.a, shape.b));
        ASSERT_THAT(found.lattice.vectors, SizeIs(2)) << shape.name;
        EXPECT_GT(found.strength, 0.8) << shape.name;
        EXPECT_NEAR(AreaOf(found.lattice), std::abs(shape.a.x * shape.b.y - shape.a.y * shape.b.x),
                    0.03 * AreaOf(found.lattice))
            << shape.name;
        EXPECT_TRUE(HasPoint(found.lattice, shape.a, 0.15)) << shape.name << ": " << LatticeText(found.lattice);
        EXPECT_TRUE(HasPoint(found.lattice, shape.b, 0.15)) << shape.name << ": " << LatticeText(found.lattice);
    }
}

TEST(Lattice, SearchFindsNothingWhereNothingRepeats)
{
    MixedNumbers random(3);
    GreyImage noise(200, 150);
    for (int y = 0; y < noise.Height(); ++y)
        for (int x = 0; x < noise.Width(); ++x)
            noise.Row(y)[x] = static_cast<std::uint8_t>(random.Next() >> 56);
    EXPECT_THAT(SearchLattice(noise).lattice.vectors, IsEmpty());
    EXPECT_THAT(SearchLattice(GreyImage(200, 150, 90)).lattice.vectors, IsEmpty());
    EXPECT_THAT(SearchLattice(GreyImage(20, 20, 90)).lattice.vectors, IsEmpty());
}

TEST(Lattice, VectorsAreFollowedWhereTheyChangeOverTheImage)
{
    const double stretch = 0.06;
    const LatticeVector a{16.0, 0.0};
    const LatticeVector b{0.0, 14.0};
    const GreyImage image = MakeLattice(1024, 256, a, b, 2.0, stretch);
    const LatticeField field(image, {{{16.5, 0.0}, {0.0, 14.0}}}, 64, 2);
    for (const int x : {100, 512, 900})
        EXPECT_NEAR(field.Displacement(x - 8.0, 128.0, {1, 0}).x, 16.0 * (1.0 + stretch * x / 1024.0), 0.08) << x;
    EXPECT_NEAR(field.Displacement(300.0, 128.0, {0, 2}).y, 28.0, 0.1);
    EXPECT_THAT(InspectBy(image).blobs, IsEmpty());
}

TEST(Lattice, MedianAndTrimmedMeanLeaveOutADefectInANeighbour)
{
    GreyImage image = MakeLattice(240, 240, {24.0, 0.0}, {0.0, 24.0}, 0.0);
    const GreyImage good = image;
    Add(image, {96, 96, 102, 102}, 60);
    const LatticeField field(image, {{{24.0, 0.0}, {0.0, 24.0}}}, 0, 0);
    for (const LatticeJoin join : {LatticeJoin_Median, LatticeJoin_TrimmedMean})
    {
        const LatticeReference reference = FormReference(image, CRect(0, 0, 240, 240), 0, field, 8, join);
        for (int y = 0; y < image.Height(); ++y)
            for (int x = 0; x < image.Width(); ++x)
            {
                EXPECT_NEAR(reference.middle.Row(y)[x], good.Row(y)[x], 1) << x << ", " << y;
                EXPECT_GE(reference.count.Row(y)[x], 8);
            }
    }
}

TEST(Lattice, GoodImagesOfEveryShapeStayEmpty)
{
    for (const Shape& shape : shapes)
        EXPECT_THAT(InspectBy(MakeLattice(400, 300, shape.a, shape.b)).blobs, IsEmpty()) << shape.name;
}

TEST(Lattice, DefectsAreFoundOnceInTheMiddleAndAtEveryBorder)
{
    for (const Shape& shape : shapes)
        for (const CRect& box : {CRect(200, 150, 208, 158), CRect(0, 140, 8, 148), CRect(190, 0, 198, 8),
                                 CRect(392, 120, 400, 128), CRect(210, 292, 218, 300), CRect(0, 0, 8, 8)})
        {
            GreyImage image = MakeLattice(400, 300, shape.a, shape.b);
            Add(image, box, 60);
            const InspectionResult result = InspectBy(image);
            EXPECT_THAT(result.blobs, SizeIs(1)) << shape.name << " " << box.left << ", " << box.top;
            ExpectCovered(result, box, 0.7);
        }
}

TEST(Lattice, ADefectLongerThanAPitchIsFoundOverItsWholeLength)
{
    GreyImage image = MakeLattice(400, 300, {24.0, 0.0}, {0.0, 24.0});
    const CRect line(60, 140, 300, 144);
    Add(image, line, -50);
    const InspectionResult result = InspectBy(image);
    ExpectCovered(result, line, 0.9);
    EXPECT_THAT(result.blobs, Contains(testing::Field(&Blob::bright, false)));
}

TEST(Lattice, TwoAndAHalfPeriodsAreEnough)
{
    const GreyImage image = MakeTall();
    const LatticeSearch found = SearchLattice(image);
    ASSERT_THAT(found.lattice.vectors, SizeIs(1));
    EXPECT_NEAR(found.lattice.vectors[0].x, 0.0, 0.2);
    EXPECT_NEAR(found.lattice.vectors[0].y, 165.0, 0.2);
    EXPECT_THAT(InspectBy(image).blobs, IsEmpty());
    // With two neighbours, above and below, and with two above.
    for (const CRect& box : {CRect(200, 190, 208, 198), CRect(120, 372, 128, 380)})
    {
        GreyImage bad = image;
        Add(bad, box, image.Row(box.top)[box.left] > 100 ? -120 : 120);
        const InspectionResult result = InspectBy(bad);
        EXPECT_THAT(result.blobs, SizeIs(1)) << box.top;
        ExpectCovered(result, box, 0.5);
    }
    // With one neighbour the other place may be reported too, as single; it does not come alone.
    GreyImage bad = image;
    Add(bad, {200, 100, 208, 108}, image.Row(100)[200] > 100 ? -120 : 120);
    const InspectionResult result = InspectBy(bad);
    EXPECT_THAT(result.blobs, Contains(testing::Field(&Blob::center, testing::Field(&CPoint::y, testing::Le(110)))));
    EXPECT_LE(result.blobs.size(), 2U);
}

TEST(Lattice, VectorsOfTheRecipeHoldWhereTheImageShowsNone)
{
    const GreyImage flat(200, 160, 90);
    const auto problems = ProblemsOf([&] { InspectBy(flat); });
    ASSERT_THAT(problems, SizeIs(1));
    EXPECT_EQ(problems[0].field, "lattice");
    EXPECT_THAT(problems[0].allowed, testing::HasSubstr("or lattice.a and lattice.b"));
    GreyImage bad = flat;
    Add(bad, {80, 80, 88, 88}, 40);
    const InspectionResult result =
        InspectBy(bad, LatticeRecipe({{"a", {{"x", 20.0}, {"y", 0.0}}}, {"b", {{"x", 0.0}, {"y", 20.0}}}}));
    EXPECT_THAT(result.blobs, SizeIs(1));
    ExpectCovered(result, {80, 80, 88, 88}, 0.9);
}

TEST(Lattice, TheRegionAloneIsLookedAtAndBlobsLieInTheImage)
{
    GreyImage image = MakeLattice(400, 300, {24.0, 0.0}, {0.0, 24.0});
    Add(image, {250, 200, 258, 208}, 60);
    Add(image, {20, 20, 28, 28}, 60);
    Recipe recipe = LatticeRecipe();
    recipe.region = CRect(100, 80, 380, 280);
    const InspectionResult result = InspectBy(image, recipe);
    EXPECT_THAT(result.blobs, SizeIs(1));
    ExpectCovered(result, {250, 200, 258, 208}, 0.7);
    EXPECT_EQ(result.region, CRect(100, 80, 380, 280));
}

TEST(Lattice, WhatDoesNotBelongToThePatternAtABorderIsLeftOutAndSaid)
{
    GreyImage image = MakeTall();
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < image.Stride(); ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(x / 40 % 2 == 0 ? 220 : 20);
    const CRect box(200, 240, 208, 248);
    Add(image, box, image.Row(240)[200] > 100 ? -120 : 120);
    const InspectionResult result = InspectBy(image);
    EXPECT_THAT(result.blobs, SizeIs(1));
    ExpectCovered(result, box, 0.5);
    EXPECT_THAT(result.warnings,
                Contains(testing::ContainsRegex("^rows 0 to 3[0-9] do not show the pattern: they were not inspected")));
    const InspectionResult all = InspectBy(image, LatticeRecipe({{"margins", false}}));
    EXPECT_GT(all.blobs.size(), 1U);
}

TEST(Lattice, FlatteningTakesChangesOfLightOut)
{
    GreyImage image = MakeLattice(512, 256, {12.0, 0.0}, {0.0, 12.0}, 2.0);
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(image.Row(y)[x] * (0.4 + 0.6 * x / 512.0));
    GreyImage bad = image;
    Add(bad, {60, 100, 68, 108}, 25);
    const Recipe recipe = LatticeRecipe({{"flatten", 97}});
    EXPECT_THAT(InspectBy(image, recipe).blobs, IsEmpty());
    ExpectCovered(InspectBy(bad, recipe), {60, 100, 68, 108}, 0.5);
    EXPECT_FALSE(InspectBy(bad, recipe).blobs.empty());
}

TEST(Lattice, VectorsThatSpanNoLatticeAreRefused)
{
    const auto problems = [](const json& fields) {
        return ParseProblems({{"version", 1}, {"mode", "lattice"}, {"lattice", fields}});
    };
    EXPECT_THAT(problems({{"a", {{"x", 1.0}, {"y", 1.0}}}}),
                testing::ElementsAre(IsProblem("lattice.a", "1, 1", "0, 0, or a length of at least 3 pixels")));
    EXPECT_THAT(
        problems({{"b", {{"x", 10.0}, {"y", 0.0}}}}),
        testing::ElementsAre(IsProblem("lattice.b", "10, 0", "0, 0 where lattice.a is 0, 0: both are measured then")));
    EXPECT_THAT(
        problems({{"a", {{"x", 10.0}, {"y", 0.0}}}, {"b", {{"x", 20.0}, {"y", 0.1}}}}),
        testing::ElementsAre(IsProblem("lattice.b", "20, 0.1", "a direction other than that of lattice.a, 10, 0")));
    EXPECT_THAT(problems({{"strip", 8}}),
                testing::ElementsAre(IsProblem("lattice.strip", "8", "0, or 16 pixels or more")));
    EXPECT_THAT(problems({{"flatten", 4}}),
                testing::ElementsAre(IsProblem("lattice.flatten", "4", "0, or 9 pixels or more")));
    const auto small = ProblemsOf([] { InspectBy(GreyImage(31, 40, 9)); });
    EXPECT_THAT(small, testing::ElementsAre(
                           IsProblem("region's width", "31 pixels", "at least 32 pixels, the least of lattice mode")));
    const auto far = ProblemsOf(
        [] {
            InspectBy(GreyImage(64, 64, 9), LatticeRecipe({{"a", {{"x", 70.0}, {"y", 0.0}}}}));
        });
    EXPECT_THAT(far, testing::ElementsAre(IsProblem("lattice.a.x", "70", "less than the region's width, 64 pixels")));
}

TEST(Lattice, ScoresRiseAboveOneWhereBlobsAre)
{
    GreyImage image = MakeLattice(400, 300, {24.0, 0.0}, {0.0, 24.0});
    Add(image, {200, 150, 208, 158}, 60);
    Inspector inspector(1, 1000);
    const ImageScores scores = SweepThresholds(inspector, 0, image, CheckedRecipe(LatticeRecipe()));
    EXPECT_GT(scores.scores.At(204, 154), 1.0F);
    EXPECT_LT(scores.scores.At(100, 100), 1.0F);
    EXPECT_THAT(scores.blobs[nFactorOne], SizeIs(1));
}

TEST(Lattice, NeighboursAreSortedAndCountedOverTheWholeImage)
{
    const GreyImage image = MakeLattice(200, 180, {24.0, 0.0}, {0.0, 24.0}, 0.0);
    const LatticeField field(image, {{{0.0, 72.0}}}, 0, 0);
    const LatticeReference reference = FormReference(image, CRect(0, 0, 200, 180), 3, field, 8, LatticeJoin_Median);
    ASSERT_EQ(reference.count.Width(), 206);
    ASSERT_EQ(reference.count.Height(), 186);
    // Above and below, and two on one side, as far as they lie in the image.
    EXPECT_EQ(reference.count.Row(3 + 20)[100], 2);
    EXPECT_EQ(reference.count.Row(3 + 60)[100], 1);
    EXPECT_EQ(reference.count.Row(3 + 90)[100], 2);
    EXPECT_EQ(reference.count.Row(3 + 160)[100], 2);
    EXPECT_EQ(reference.count.Row(1)[100], 2);
    EXPECT_EQ(reference.count.Row(100)[1], 0);
}

TEST(Lattice, LearningTakesVectorsAndThresholdFromGoodImages)
{
    std::vector<BatchImage> good;
    for (std::uint64_t seed = 1; seed <= 4; ++seed)
        good.push_back({"good " + std::to_string(seed), [seed] {
                            return std::make_shared<const GreyImage>(
                                MakeLattice(256, 256, {23.0, 6.2}, {-6.2, 23.0}, 3.0, 0.0, seed));
                        }});
    LearnSettings settings;
    settings.mode = LearnMode_Lattice;
    const LearnResult learnt = LearnRecipe(good, settings, 1);
    EXPECT_EQ(learnt.recipe.mode, Mode_Lattice);
    EXPECT_TRUE(HasPoint(
        {{{learnt.recipe.latticeAX, learnt.recipe.latticeAY}, {learnt.recipe.latticeBX, learnt.recipe.latticeBY}}},
        {23.0, 6.2}, 0.3));
    EXPECT_GT(learnt.recipe.latticeThreshold, 5);
    EXPECT_LT(learnt.recipe.latticeThreshold, 60);
    GreyImage bad = MakeLattice(256, 256, {23.0, 6.2}, {-6.2, 23.0}, 3.0, 0.0, 9);
    EXPECT_THAT(InspectBy(bad, learnt.recipe).blobs, IsEmpty());
    Add(bad, {100, 120, 110, 130}, 50);
    ExpectCovered(InspectBy(bad, learnt.recipe), {100, 120, 110, 130}, 0.5);
    EXPECT_FALSE(InspectBy(bad, learnt.recipe).blobs.empty());
    EXPECT_EQ(RecipeToJson(LearnRecipe(good, settings, 3).recipe), RecipeToJson(learnt.recipe));
    good[2].load = [] { return std::make_shared<const GreyImage>(MakeLattice(256, 256, {30.0, 0.0}, {0.0, 30.0})); };
    const auto problems = ProblemsOf([&] { LearnRecipe(good, settings, 1); });
    ASSERT_THAT(problems, SizeIs(1));
    EXPECT_THAT(problems[0].value, testing::HasSubstr("There is no common lattice: the lattice goes from"));
}

TEST(Lattice, TheNumberOfThreadsChangesNothing)
{
    GreyImage image = MakeLattice(500, 400, {27.5, 2.0}, {9.3, 19.6}, 6.0);
    Add(image, {200, 150, 208, 158}, 60);
    const auto inspect = [&](int threads)
    {
        cv::setNumThreads(threads);
        const CheckedRecipe recipe(LatticeRecipe());
        const LatticeComparison compared = CompareLattice(image, InspectionPlan(recipe, image.Width(), image.Height()));
        cv::setNumThreads(-1);
        return compared;
    };
    const LatticeComparison one = inspect(1);
    const LatticeComparison three = inspect(3);
    EXPECT_EQ(LatticeText(one.lattice), LatticeText(three.lattice));
    for (int y = 0; y < image.Height(); ++y)
    {
        EXPECT_TRUE(std::equal(one.reference.Row(y), one.reference.Row(y) + image.Width(), three.reference.Row(y)));
        EXPECT_TRUE(std::equal(one.threshold.Row(y), one.threshold.Row(y) + image.Width(), three.threshold.Row(y)));
    }
}

} // namespace narvo::test
