// SPDX-License-Identifier: MIT
// The pitch search on made-up patterns with noise and drift of brightness, and on images that have no period.
#include "host/pitch/pitch_search.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <numbers>
#include <random>

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

/// A periodic step between 0 and 1 as lens and pixel see it: `share` of the period is 1 from `start` on.
class Stripe
{
public:
    Stripe(double pitch, double start, double share) : m_pitch(pitch), m_start(start), m_share(share) {}

    double operator()(double x) const
    {
        // Whole periods on both sides of the pixel, for pitches near the blur's width.
        const double phase = x / m_pitch - m_start;
        const double first = phase - std::floor(phase);
        double sum = 0.0;
        for (int k = -1; k <= 1; ++k)
            sum += Edge((first + k) * m_pitch) - Edge((first + k - m_share) * m_pitch);
        return sum;
    }

private:
    /// A step blurred over about two pixels.
    static double Edge(double x) { return 0.5 + 0.5 * std::erf(x / 0.9); }

    double m_pitch;
    double m_start;
    double m_share;
};

/// One rectangle of the pattern's cell, in shares of the pitch.
struct Patch
{
    double x, wide, y, high, level;
};

using Random = std::mt19937_64;

double Real(Random& random, double low, double high)
{
    return low + (high - low) * (static_cast<double>(random() >> 11) / 9007199254740992.0);
}

/// Teeth of equal width with strong contrast, one of which differs: the strongest change repeats in a fraction of the
/// pitch.
void AddTeeth(Random& random, std::vector<Patch>& patches)
{
    const bool across = (random() & 1U) != 0;
    const int teeth = 2 + static_cast<int>(random() % 3);
    const int odd = static_cast<int>(random() % static_cast<unsigned>(teeth));
    for (int i = 0; i < teeth; ++i)
    {
        const double place = (i + 0.2) / teeth;
        const double wide = 0.55 / teeth;
        const double level = 70.0 + (i == odd ? Real(random, 18.0, 40.0) : 0.0);
        patches.push_back(across ? Patch{place, wide, 0.1, 0.62, level} : Patch{0.1, 0.62, place, wide, level});
    }
}

struct TestPanel
{
    GreyImage image;
    double pitchX;
    double pitchY;
};

TestPanel MakeTestPanel(std::uint64_t seed)
{
    constexpr int nSide = 1600;
    constexpr double dNoise = 3.0;
    constexpr double dDrift = 0.05;
    Random random(seed);
    const auto pitch = [&] { return static_cast<double>(5 * 16 + random() % (295 * 16 + 1)) / 16.0; };
    TestPanel panel{GreyImage(nSide, nSide), pitch(), pitch()};

    std::vector<Patch> patches;
    if (seed % 2 == 0)
        AddTeeth(random, patches);
    else
        for (int i = 0; i < 3; ++i)
            patches.push_back({Real(random, 0.0, 1.0), Real(random, 0.2, 0.5), Real(random, 0.0, 1.0),
                               Real(random, 0.2, 0.5), Real(random, 20.0, 50.0)});
    // Something that both axes see once per period.
    patches.push_back({Real(random, 0.0, 1.0), 0.3, Real(random, 0.0, 1.0), 0.3, 30.0});

    std::vector<std::vector<double>> alongX;
    std::vector<std::vector<double>> alongY;
    for (const Patch& patch : patches)
    {
        const Stripe x(panel.pitchX, patch.x, patch.wide);
        const Stripe y(panel.pitchY, patch.y, patch.high);
        alongX.emplace_back();
        alongY.emplace_back();
        for (int i = 0; i < nSide; ++i)
        {
            alongX.back().push_back(x(i));
            alongY.back().push_back(patch.level * y(i));
        }
    }
    const double phaseX = Real(random, 0.0, 6.28);
    const double phaseY = Real(random, 0.0, 6.28);
    std::normal_distribution<float> normal(0.0F, static_cast<float>(dNoise));
    std::minstd_rand fast(static_cast<unsigned>(seed) + 1);
    std::vector<double> drift(nSide);
    for (int x = 0; x < nSide; ++x)
        drift[static_cast<std::size_t>(x)] = 0.5 * dDrift * std::sin(phaseX + 5.0 * x / nSide);
    for (int y = 0; y < nSide; ++y)
    {
        std::vector<double> row(nSide, 50.0);
        for (std::size_t k = 0; k < patches.size(); ++k)
            for (std::size_t x = 0; x < row.size(); ++x)
                row[x] += alongX[k][x] * alongY[k][static_cast<std::size_t>(y)];
        const double down = 1.0 + 0.5 * dDrift * std::sin(phaseY + 4.0 * y / nSide);
        for (std::size_t x = 0; x < row.size(); ++x)
            panel.image.Row(y)[x] =
                static_cast<std::uint8_t>(std::clamp(std::lround(row[x] * (down + drift[x]) + normal(fast)), 0L, 255L));
    }
    return panel;
}

PitchResult SearchAll(const GreyImage& image)
{
    return SearchPitch(image, {0, 0, image.Width(), image.Height()});
}

/// Pitches to try: NARVO_PITCHES, or a share for everyday runs.
int PitchCount()
{
    const char* text = std::getenv("NARVO_PITCHES");
    const int count = text != nullptr ? std::atoi(text) : 0;
    return count > 0 ? count : 60;
}

TEST(PitchSearch, RandomPitchesAreFoundWithinASixteenth)
{
    const int panels = (PitchCount() + 1) / 2;
    int good = 0;
    double worst = 0.0;
    for (int i = 0; i < panels; ++i)
    {
        const TestPanel panel = MakeTestPanel(static_cast<std::uint64_t>(i));
        const PitchResult result = SearchAll(panel.image);
        const auto judge = [&](const char* name, const AxisPitch& axis, double pitch)
        {
            const double error = std::fabs(axis.sixteenths / 16.0 - pitch);
            if (axis.found && error <= 1.0 / 16.0)
            {
                ++good;
                worst = std::max(worst, std::fabs(axis.pitch - pitch));
            }
            else
                std::cout << "panel " << i << ", " << name << ": pitch " << pitch << ", found " << axis.pitch
                          << ", confidence " << axis.confidence << '\n';
        };
        judge("x", result.x, panel.pitchX);
        judge("y", result.y, panel.pitchY);
    }
    std::cout << good << " of " << 2 * panels << " pitches within 1/16 pixel; largest error of those " << worst
              << " pixels\n";
    EXPECT_GE(good, std::ceil(0.995 * 2 * panels));
}

GreyImage MakeNoise(int width, int height, double sigma, unsigned seed)
{
    GreyImage image(width, height);
    std::minstd_rand random(seed);
    std::normal_distribution<double> normal(128.0, sigma);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < image.Stride(); ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(std::clamp(std::lround(normal(random)), 0L, 255L));
    return image;
}

TEST(PitchSearch, NoiseHasNoPeriod)
{
    for (unsigned seed = 1; seed <= 20; ++seed)
    {
        const PitchResult result = SearchAll(MakeNoise(seed % 2 == 0 ? 64 : 500, 300, 20.0, seed));
        EXPECT_FALSE(result.x.found) << "seed " << seed << ", " << result.x.pitch;
        EXPECT_FALSE(result.y.found) << "seed " << seed << ", " << result.y.pitch;
    }
}

TEST(PitchSearch, EvenImageAndPureDriftHaveNoPeriod)
{
    GreyImage image(400, 300, 90);
    EXPECT_FALSE(SearchAll(image).x.found);
    EXPECT_FALSE(SearchAll(image).y.found);
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < 400; ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(60 + x / 4 + y / 5);
    EXPECT_FALSE(SearchAll(image).x.found);
    EXPECT_FALSE(SearchAll(image).y.found);
}

TEST(PitchSearch, BlotsAtRandomPlacesHaveNoPeriod)
{
    for (unsigned seed = 1; seed <= 8; ++seed)
    {
        GreyImage image(600, 600, 60);
        std::minstd_rand random(seed);
        for (int blot = 0; blot < 150; ++blot)
        {
            const int left = static_cast<int>(random() % 570);
            const int top = static_cast<int>(random() % 570);
            for (int y = top; y < top + 30; ++y)
                std::fill(image.Row(y) + left, image.Row(y) + left + 30, static_cast<std::uint8_t>(140));
        }
        const PitchResult result = SearchAll(image);
        EXPECT_FALSE(result.x.found) << "seed " << seed << ", " << result.x.pitch << ", " << result.x.confidence;
        EXPECT_FALSE(result.y.found) << "seed " << seed << ", " << result.y.pitch << ", " << result.y.confidence;
    }
}

TEST(PitchSearch, StripesHaveAPeriodAcrossThemOnly)
{
    GreyImage image = MakeNoise(500, 400, 3.0, 7);
    const Stripe stripe(23.4375, 0.3, 0.4);
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(image.Row(y)[x] - std::lround(50.0 * stripe(x)));
    const PitchResult result = SearchAll(image);
    ASSERT_TRUE(result.x.found);
    EXPECT_EQ(result.x.sixteenths, 375);
    EXPECT_GT(result.x.confidence, 0.9);
    EXPECT_FALSE(result.y.found);
}

TEST(PitchSearch, TeethThatDifferSlightlyMakeTheFractionTheRunnerUp)
{
    GreyImage image = MakeNoise(600, 400, 3.0, 3);
    constexpr double dPitch = 60.75;
    const Stripe teeth(dPitch / 3.0, 0.2, 0.5);
    const Stripe odd(dPitch, 0.2 / 3.0, 0.5 / 3.0);
    for (int y = 0; y < image.Height(); ++y)
        for (int x = 0; x < image.Width(); ++x)
            image.Row(y)[x] = static_cast<std::uint8_t>(image.Row(y)[x] - std::lround(60.0 * teeth(x) + 15.0 * odd(x)));
    const AxisPitch axis = SearchAll(image).x;
    ASSERT_TRUE(axis.found);
    EXPECT_EQ(axis.sixteenths, 972);
    EXPECT_NEAR(axis.runnerUp.pitch, dPitch / 3.0, 0.5);
    EXPECT_GT(axis.runnerUp.strength, 0.8);
    EXPECT_LT(axis.runnerUp.strength, axis.confidence);
}

TEST(PitchSearch, RegionAtTheImagesFarCornerIsSearchedAlone)
{
    GreyImage image = MakeNoise(512, 512, 2.0, 5);
    const Stripe x(17.25, 0.1, 0.5);
    const Stripe y(21.0, 0.1, 0.5);
    for (int row = 212; row < 512; ++row)
        for (int column = 192; column < 512; ++column)
            image.Row(row)[column] =
                static_cast<std::uint8_t>(image.Row(row)[column] - std::lround(60.0 * x(column) * y(row)));
    const PitchResult result = SearchPitch(image, {192, 212, 512, 512});
    ASSERT_TRUE(result.x.found && result.y.found);
    EXPECT_NEAR(result.x.pitch, 17.25, 1.0 / 16.0);
    EXPECT_NEAR(result.y.pitch, 21.0, 1.0 / 16.0);
    EXPECT_FALSE(SearchPitch(image, {0, 0, 512, 200}).y.found);
}

TEST(PitchSearch, RegionOutsideTheImageOrTooSmallIsNamed)
{
    const GreyImage image(200, 100, 10);
    EXPECT_THAT(ProblemsOf(
                    [&] {
                        SearchPitch(image, {-1, 0, 201, 100});
                    }),
                testing::ElementsAre(IsProblem("region.left", "-1", "0 to 199 pixels"),
                                     IsProblem("region.right", "201", "1 to 200 pixels")));
    EXPECT_THAT(ProblemsOf(
                    [&] {
                        SearchPitch(image, {0, 90, 63, 40});
                    }),
                testing::ElementsAre(IsProblem("region's width", "63 pixels", "at least 64 pixels"),
                                     IsProblem("region's height", "-50 pixels", "at least 64 pixels")));
    EXPECT_NO_THROW(SearchPitch(image, {136, 36, 200, 100}));
}

} // namespace

} // namespace narvo::test
