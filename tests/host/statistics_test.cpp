// SPDX-License-Identifier: MIT
// Bounds of counts, and the size found with 90 % probability.
#include "host/statistics/detection_fit.h"

#include <algorithm>
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/statistics/count_bounds.h"
#include "host/statistics/mixed_numbers.h"
#include "host/statistics/robust.h"
#include "support/seeds.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;
using testing::StartsWith;

TEST(CountBounds, PoissonBoundIsThatOfTheTables)
{
    EXPECT_NEAR(PoissonBound(0), 2.996, 0.001);
    EXPECT_NEAR(PoissonBound(1), 4.744, 0.001);
    EXPECT_NEAR(PoissonBound(5), 10.513, 0.001);
    // Half of the quantile 0.95 of chi-squared with 2002 and 20002 degrees of freedom.
    EXPECT_NEAR(PoissonBound(1000), 1053.6, 0.5);
    EXPECT_NEAR(PoissonBound(10000), 10166.3, 2.0);
}

TEST(CountBounds, ShareOfNoneIsThatOfTheBinomialDistribution)
{
    EXPECT_EQ(ShareBoundOfNone(0), 1.0);
    EXPECT_NEAR(ShareBoundOfNone(1), 0.95, 1e-12);
    EXPECT_NEAR(ShareBoundOfNone(29), 0.0981, 0.0001);
}

TEST(CountBounds, LowerBoundOfAShareIsThatOfTheTables)
{
    EXPECT_EQ(LowerShareBound(0, 10), 0.0);
    EXPECT_NEAR(LowerShareBound(10, 10), std::pow(0.05, 0.1), 1e-9);
    EXPECT_NEAR(LowerShareBound(5, 10), 0.2224, 0.0001);
    EXPECT_LT(LowerShareBound(44, 45), 0.9); // one miss needs 46 trials
    EXPECT_GE(LowerShareBound(45, 46), 0.9);
    EXPECT_LT(LowerShareBound(28, 28), 0.9);
    EXPECT_GE(LowerShareBound(29, 29), 0.9);
    EXPECT_NEAR(LowerShareBound(30000, 32000), 0.9352, 0.0005);
}

TEST(Robust, MedianOfAnEvenNumberIsTheMeanOfTheMiddleTwo)
{
    std::vector<double> values = {4.0, 1.0, 3.0, 9.0};
    EXPECT_EQ(MedianOf(values), 3.5);
    values = {};
    EXPECT_EQ(MedianOf(values), 0.0);
}

TEST(DetectionFit, CurveIsTheMaximumOfTheLikelihood)
{
    // Two sizes, overlapping: the curve passes through both shares.
    const DetectionFit two = FitDetection({{2, 10, 2}, {8, 10, 9}});
    ASSERT_EQ(two.outcome, Fit_Curve);
    EXPECT_NEAR(two.ProbabilityAt(2), 0.2, 1e-9);
    EXPECT_NEAR(two.ProbabilityAt(8), 0.9, 1e-9);
    EXPECT_EQ(two.a90.place, SizeFigure::Within);
    EXPECT_NEAR(two.a90.high, 8.0, 1e-6);
    EXPECT_EQ(two.a9095.place, SizeFigure::Above);
    EXPECT_THAT(DescribeFit(two, {{2, 10, 2}, {8, 10, 9}}), HasSubstr("60 trials or more are wanted; there were 20."));

    // At the maximum, counts and expected counts agree in number and in their mean logarithm of the size.
    const std::vector<SizeCount> counts = {{2, 30, 1}, {3, 30, 4}, {4, 30, 11}, {6, 30, 22}, {8, 30, 28}, {12, 30, 30}};
    const DetectionFit fit = FitDetection(counts);
    ASSERT_EQ(fit.outcome, Fit_Curve);
    double rest = 0.0;
    double restByLog = 0.0;
    for (const SizeCount& count : counts)
    {
        const double difference =
            static_cast<double>(count.found) - static_cast<double>(count.planted) * fit.ProbabilityAt(count.size);
        rest += difference;
        restByLog += difference * std::log(count.size);
    }
    EXPECT_NEAR(rest, 0.0, 1e-6);
    EXPECT_NEAR(restByLog, 0.0, 1e-6);
    EXPECT_TRUE(fit.suitsCounts);
    EXPECT_NEAR(fit.ProbabilityAt(fit.a90.high), 0.9, 1e-9);
    EXPECT_EQ(fit.a9095.place, SizeFigure::Within);
    EXPECT_GT(fit.a9095.high, fit.a90.high);
    EXPECT_LT(fit.a9095.high, 10.0);
    EXPECT_EQ(DescribeFit(fit, counts), "90 % are found at " + SizeText(fit.a90) +
                                            " pixels; at 95 % confidence, 90 % or more are found from " +
                                            SizeText(fit.a9095) + " pixels on.");
}

TEST(DetectionFit, MoreTrialsBringTheBoundCloser)
{
    double last = 1e9;
    for (const std::size_t times : {1U, 3U, 10U, 100U})
    {
        const DetectionFit fit = FitDetection({{2, 30 * times, 2 * times},
                                               {4, 30 * times, 14 * times},
                                               {8, 30 * times, 28 * times},
                                               {16, 30 * times, 30 * times}});
        ASSERT_EQ(fit.a9095.place, SizeFigure::Within);
        EXPECT_LT(fit.a9095.high, last);
        EXPECT_GT(fit.a9095.high, fit.a90.high);
        last = fit.a9095.high;
    }
}

TEST(DetectionFit, BoundHoldsInAboutNinetyFiveOfAHundredRuns)
{
    const int nRuns = std::max(1000 / CaseShare(), 50);
    const double slack = 15.0 * std::sqrt(nRuns / 1000.0);       // two standard deviations
    const double true90 = std::exp((std::log(9.0) + 5.0) / 3.0); // of intercept -5 and slope 3: 11.0 pixels
    MixedNumbers numbers(3);
    int covered = 0;
    for (int run = 0; run < nRuns; ++run)
    {
        std::vector<SizeCount> counts;
        for (const int size : {2, 3, 4, 6, 8, 12, 16, 24, 32})
        {
            SizeCount& count = counts.emplace_back();
            count.size = size;
            count.planted = 30;
            const double probability = 1.0 / (1.0 + std::exp(5.0 - 3.0 * std::log(size)));
            for (int i = 0; i < 30; ++i)
                count.found += static_cast<double>(numbers.Below(1000000)) < probability * 1e6 ? 1 : 0;
        }
        const DetectionFit fit = FitDetection(counts);
        covered += fit.a9095.place == SizeFigure::Above || fit.a9095.high >= true90 ? 1 : 0;
    }
    EXPECT_GE(covered, 0.95 * nRuns - slack);
    EXPECT_LE(covered, 0.95 * nRuns + slack);
}

TEST(DetectionFit, NothingFoundIsSaidWithTheLargestShareThatAgrees)
{
    const std::vector<SizeCount> counts = {{4, 40, 0}, {8, 29, 0}};
    const DetectionFit fit = FitDetection(counts);
    EXPECT_EQ(fit.outcome, Fit_NothingFound);
    EXPECT_EQ(SizeText(fit.a90), "above 8");
    EXPECT_EQ(SizeText(fit.a9095), "above 8");
    EXPECT_EQ(DescribeFit(fit, counts),
              "None of 69 was found: at 95 % confidence, at most 9.8 % of those of 8 pixels are.");
}

TEST(DetectionFit, EverythingFoundNeedsTwentyNineWithoutAMiss)
{
    const std::vector<SizeCount> counts = {{4, 20, 20}, {6, 20, 20}, {8, 20, 20}};
    const DetectionFit fit = FitDetection(counts);
    EXPECT_EQ(fit.outcome, Fit_EverythingFound);
    EXPECT_EQ(SizeText(fit.a90), "up to 4");
    EXPECT_EQ(SizeText(fit.a9095), "6");
    EXPECT_EQ(DescribeFit(fit, counts),
              "All 60 were found, so the size found with 90 % probability may lie anywhere up to 4 pixels; at 95 % "
              "confidence, 90 % or more are found from 6 pixels on.");
    EXPECT_EQ(SizeText(FitDetection({{4, 29, 29}, {6, 1, 1}}).a9095), "up to 4");
    EXPECT_EQ(SizeText(FitDetection({{4, 28, 28}}).a9095), "above 4");
    EXPECT_THAT(DescribeFit(FitDetection({{4, 28, 28}}), {{4, 28, 28}}),
                HasSubstr("the trials do not show at 95 % confidence"));
}

TEST(DetectionFit, StepHasNoCurve)
{
    const std::vector<SizeCount> apart = {{2, 30, 0}, {4, 30, 0}, {6, 30, 30}, {8, 30, 30}};
    EXPECT_EQ(FitDetection(apart).outcome, Fit_Step);
    EXPECT_EQ(SizeText(FitDetection(apart).a90), "4 to 6");
    EXPECT_EQ(SizeText(FitDetection(apart).a9095), "6");
    EXPECT_THAT(DescribeFit(FitDetection(apart), apart),
                StartsWith("All were found from 6 pixels on, none up to 4: no curve is determined between the two; "));
    const std::vector<SizeCount> some = {{2, 30, 21}, {4, 30, 30}, {6, 30, 30}};
    EXPECT_THAT(DescribeFit(FitDetection(some), some),
                StartsWith("All were found from 4 pixels on, 21 of 30 of 2 pixels: no curve is determined"));
    const DetectionFit mixed = FitDetection({{2, 30, 0}, {4, 30, 17}, {6, 20, 20}, {8, 20, 20}});
    EXPECT_EQ(mixed.outcome, Fit_Step);
    EXPECT_EQ(SizeText(mixed.a90), "4 to 6");
    EXPECT_EQ(SizeText(mixed.a9095), "8");
    const std::vector<SizeCount> last = {{2, 30, 0}, {4, 30, 17}};
    EXPECT_EQ(SizeText(FitDetection(last).a90), "above 4");
    EXPECT_EQ(SizeText(FitDetection(last).a9095), "above 4");
    EXPECT_THAT(DescribeFit(FitDetection(last), last), HasSubstr("Only some of the largest, of 4 pixels, were found"));
}

TEST(DetectionFit, CurvesThatDoNotGrowOrDoNotSuitAreSaidToBe)
{
    const std::vector<SizeCount> falling = {{2, 30, 25}, {8, 30, 10}};
    EXPECT_EQ(FitDetection(falling).outcome, Fit_NotGrowing);
    EXPECT_EQ(SizeText(FitDetection(falling).a9095), "-");
    EXPECT_EQ(DescribeFit(FitDetection(falling), falling),
              "Larger ones were not found more often than smaller ones: 35 of 60 in all; no size is found with 90 % "
              "probability.");
    // A single miss among large ones says little: all sizes have one share.
    const std::vector<SizeCount> once = {{2, 30, 30}, {4, 30, 30}, {8, 30, 29}};
    EXPECT_EQ(FitDetection(once).outcome, Fit_NotGrowing);
    EXPECT_EQ(SizeText(FitDetection(once).a90), "up to 2");
    EXPECT_EQ(SizeText(FitDetection(once).a9095), "up to 2");
    EXPECT_EQ(DescribeFit(FitDetection(once), once),
              "Larger ones were not found more often than smaller ones: 89 of 90 in all; at 95 % confidence, 90 % or "
              "more are found from 2 pixels on.");
    // Even ones, of which half is found: the curve neither grows nor falls.
    EXPECT_EQ(SizeText(FitDetection({{2, 30, 15}, {8, 30, 15}}).a90), "-");
    const std::vector<SizeCount> flat = {{2, 60, 0}, {4, 60, 48}, {8, 60, 47}, {16, 60, 49}, {32, 60, 48}};
    EXPECT_FALSE(FitDetection(flat).suitsCounts);
    EXPECT_THAT(DescribeFit(FitDetection(flat), flat), HasSubstr("The counts do not follow the curve"));
    // A curve may reach 90 % beyond all sizes only.
    const std::vector<SizeCount> weak = {{2, 60, 5}, {4, 60, 12}, {8, 60, 25}};
    EXPECT_EQ(SizeText(FitDetection(weak).a90), "above 8");
    EXPECT_THAT(DescribeFit(FitDetection(weak), weak), HasSubstr("only above 8 pixels, the largest size"));
}

TEST(DetectionFit, SizesThatWereNotPlantedDoNotCount)
{
    EXPECT_EQ(FitDetection({{2, 0, 0}}).outcome, Fit_NoTrials);
    EXPECT_EQ(SizeText(FitDetection({}).a90), "-");
    EXPECT_EQ(SizeText(FitDetection({{2, 30, 0}, {4, 30, 30}, {8, 0, 0}}).a90), "2 to 4");
}

} // namespace

} // namespace narvo::test
