// SPDX-License-Identifier: MIT
// The arc tangent of the blobs' axis: true to half a unit in the last place, and the same on every processor.
#include "narvoassem/storage/stores/polar_angle.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>

#include <gtest/gtest.h>

#include "support/random.h"

namespace
{

using narvo::engine::PolarAngle;

TEST(PolarAngle, IsTheSameToTheBitOnEveryProcessor)
{
    // Second moments of blobs: multiples of 1/64, and now and then a twelfth. The mathematics library gives another sum
    // on processors without fused multiplication.
    std::uint64_t nHash = 0;
    for (int a = -150; a <= 150; ++a)
        for (int b = -700; b <= 700; ++b)
        {
            const double dAngle = PolarAngle(a / 32.0, b / 64.0 + (a % 3 == 0 ? 1.0 / 12.0 : 0.0));
            std::uint64_t nBits = 0;
            std::memcpy(&nBits, &dAngle, sizeof nBits);
            nHash = (nHash ^ nBits) * 0x9E3779B97F4A7C15U;
            nHash ^= nHash >> 29;
        }
    EXPECT_EQ(nHash, 9927107637761759403U);
}

TEST(PolarAngle, LiesWithinHalfAUnitInTheLastPlace)
{
    narvo::test::CRandom random(5);
    for (int i = 0; i < 20000; ++i)
    {
        const double dY = static_cast<double>(random.Range(-1000000, 1000000)) / random.Pick({1.0, 64.0, 12.0, 1e9});
        const double dX = static_cast<double>(random.Range(-1000000, 1000000)) / random.Pick({1.0, 64.0, 12.0, 1e9});
        const double dAngle = PolarAngle(dY, dX);
        const long double dTrue = std::atan2(static_cast<long double>(dY), static_cast<long double>(dX));
        const double dUnit = std::nextafter(std::fabs(dAngle), 10.0) - std::fabs(dAngle);
        EXPECT_LE(std::fabs(static_cast<double>(dAngle - dTrue)), 0.502 * dUnit) << dY << ' ' << dX;
    }
}

TEST(PolarAngle, OfTheAxesAndDiagonalsIsTheNearestNumberToTheTrueOne)
{
    constexpr double dPi = std::numbers::pi;
    EXPECT_EQ(PolarAngle(0.0, 0.0), 0.0);
    EXPECT_EQ(PolarAngle(0.0, 3.5), 0.0);
    EXPECT_EQ(PolarAngle(0.0, -3.5), dPi);
    EXPECT_EQ(PolarAngle(7.0, 0.0), dPi / 2.0);
    EXPECT_EQ(PolarAngle(-7.0, 0.0), -dPi / 2.0);
    EXPECT_EQ(PolarAngle(0.3, 0.3), dPi / 4.0);
    EXPECT_EQ(PolarAngle(-0.3, 0.3), -dPi / 4.0);
    EXPECT_EQ(PolarAngle(1e18, -1e18), 0.75 * dPi);
    EXPECT_EQ(PolarAngle(-1e-12, -1e-12), -0.75 * dPi);
}

TEST(PolarAngle, TurnsEvenlyFromEighthToEighth)
{
    double dLast = -4.0;
    for (int i = -4000; i <= 4000; ++i)
    {
        const double dAngle = PolarAngle(i, 1000.0);
        EXPECT_GT(dAngle, dLast) << i;
        EXPECT_EQ(PolarAngle(-i, 1000.0), -dAngle) << i;
        dLast = dAngle;
    }
}

} // namespace
