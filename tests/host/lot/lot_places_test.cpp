// SPDX-License-Identifier: MIT
// What is planted in lots is found, and little else.
#include "host/lot/lot_places.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/host_test_help.h"
#include "host/lot/made_up_lot.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

LotPlaceSettings AtRisk(double risk)
{
    LotPlaceSettings settings;
    settings.risk = risk;
    return settings;
}

const LotTest& TestOf(const std::vector<LotTest>& tests, LotTestKind kind)
{
    return tests.at(static_cast<std::size_t>(kind));
}

bool Holds(const CRect& box, int x, int y)
{
    return x >= box.left && x < box.right && y >= box.top && y < box.bottom;
}

std::string Described(const std::vector<LotTest>& tests)
{
    std::string text;
    for (const LotTest& test : tests)
        for (const LotPlace& place : test.places)
            text += LotTestName(test.kind) + " " + std::to_string(place.box.left) + " " +
                    std::to_string(place.box.top) + " " + std::to_string(place.box.right) + " " +
                    std::to_string(place.box.bottom) + " " + std::to_string(place.images) + " " +
                    std::to_string(place.cells) + " " + FormatNumber(place.chance) + "\n";
    return text;
}

TEST(LotPlaces, FindPlacesThatComeBackAndNothingElse)
{
    Lot lot = MakeUp({});
    MixedNumbers numbers(5);
    // Two pixels off at most, in some of the images.
    const auto plant = [&](int x, int y, double share)
    {
        for (std::uint32_t i = 0; i < lot.images.size(); ++i)
            if (Uniform(numbers) < share)
                Plant(lot, i, x + static_cast<int>(numbers.Below(5)) - 2, y + static_cast<int>(numbers.Below(5)) - 2);
    };
    plant(700, 300, 0.9);
    plant(1203, 901, 0.3);
    plant(3, 1490, 0.12);
    Order(lot);
    const std::vector<LotTest> tests = TestLotPlaces(lot, {});
    const LotTest& places = TestOf(tests, LotTest_Place);
    ASSERT_THAT(places.places, SizeIs(3)) << Described(tests);
    EXPECT_TRUE(Holds(places.places[0].box, 700, 300));
    EXPECT_TRUE(Holds(places.places[1].box, 1203, 901));
    EXPECT_TRUE(Holds(places.places[2].box, 3, 1490));
    EXPECT_GE(places.places[0].images, 80U);
    EXPECT_LT(places.places[0].expected, 0.1);
    EXPECT_LT(places.places[0].chance, 1e-100);
    EXPECT_EQ(places.windows, 499U * 374U);
    for (const LotTestKind kind : {LotTest_Column, LotTest_Row, LotTest_Area, LotTest_Cell})
        EXPECT_THAT(TestOf(tests, kind).places, IsEmpty()) << Described(tests);
}

TEST(LotPlaces, FindStreaksAlongAndAcrossTheWeb)
{
    Lot lot = MakeUp({});
    MixedNumbers numbers(6);
    for (std::uint32_t i = 0; i < lot.images.size(); ++i)
    {
        if (i % 2 == 0)
            Plant(lot, i, 811 + static_cast<int>(numbers.Below(3)), static_cast<int>(numbers.Below(1500)));
        if (i % 3 == 0)
            Plant(lot, i, static_cast<int>(numbers.Below(2000)), 1102);
    }
    Order(lot);
    const std::vector<LotTest> tests = TestLotPlaces(lot, {});
    ASSERT_THAT(TestOf(tests, LotTest_Column).places, SizeIs(1)) << Described(tests);
    ASSERT_THAT(TestOf(tests, LotTest_Row).places, SizeIs(1)) << Described(tests);
    EXPECT_TRUE(Holds(TestOf(tests, LotTest_Column).places[0].box, 812, 700));
    EXPECT_TRUE(Holds(TestOf(tests, LotTest_Row).places[0].box, 900, 1102));
    EXPECT_THAT(TestOf(tests, LotTest_Place).places, IsEmpty()) << Described(tests);
}

TEST(LotPlaces, FindAPlaceOfTheCellAtAFractionalPitch)
{
    // After 49 cells of 40.125 pixels a pitch of 40 would be 6 pixels off.
    Lot lot = MakeUp({});
    MixedNumbers numbers(7);
    for (std::uint32_t i = 0; i < lot.images.size(); ++i)
        for (int k = 0; k < 2; ++k)
            Plant(lot, i, static_cast<int>(std::floor(3.0 + 40.125 * static_cast<double>(numbers.Below(49)) + 17.0)),
                  static_cast<int>(std::floor(5.0 + 52.3 * static_cast<double>(numbers.Below(28)) + 51.0)));
    Order(lot);
    const std::vector<LotTest> tests = TestLotPlaces(lot, {});
    const LotTest& cell = TestOf(tests, LotTest_Cell);
    ASSERT_THAT(cell.places, SizeIs(1)) << Described(tests);
    EXPECT_TRUE(Holds(cell.places[0].box, 16, 51)) << Described(tests);
    EXPECT_GT(cell.places[0].cells, 150U);
    EXPECT_LT(cell.places[0].expected, 60.0);
    // What comes back in the cell explains that it comes back in some cells more than once.
    EXPECT_THAT(TestOf(tests, LotTest_Place).places, IsEmpty()) << Described(tests);
}

TEST(LotPlaces, FindAPlaceOfALatticeCellWhoseVectorsAreTilted)
{
    Lot lot = MakeUp({});
    const LatticeVector a{35.3, 4.25};
    const LatticeVector b{-11.5, 41.75};
    lot.regions[0].cell = PatternCell{{{a, b}}, 0.0, 0.0};
    MixedNumbers numbers(8);
    for (std::uint32_t i = 0; i < lot.images.size(); ++i)
        for (int tries = 0, planted = 0; tries < 100 && planted < 2; ++tries)
        {
            const double stepsA = static_cast<double>(numbers.Below(70)) + 0.4;
            const double stepsB = static_cast<double>(numbers.Below(40)) + 0.7;
            const auto x = static_cast<int>(std::lround(stepsA * a.x + stepsB * b.x));
            const auto y = static_cast<int>(std::lround(stepsA * a.y + stepsB * b.y));
            if (x < 0 || x >= 2000 || y < 0 || y >= 1500)
                continue;
            Plant(lot, i, x, y);
            ++planted;
        }
    Order(lot);
    const LotTest cell = TestOf(TestLotPlaces(lot, {}), LotTest_Cell);
    ASSERT_THAT(cell.places, SizeIs(1));
    EXPECT_TRUE(Holds(cell.places[0].box, static_cast<int>(0.4 * a.Length()), static_cast<int>(0.7 * b.Length())));
}

TEST(LotPlaces, CountAnImageOnceWhoseDefectBrokeIntoMany)
{
    Lot lot = MakeUp({.defects = 3.0});
    for (int i = 0; i < 500; ++i)
        Plant(lot, 40, 900 + i % 30, 600 + i / 30);
    Order(lot);
    const std::vector<LotTest> tests = TestLotPlaces(lot, {});
    EXPECT_EQ(Described(tests), "");
}

TEST(LotPlaces, TellADenseAreaFromPlacesThatComeBack)
{
    // Sixty times as dense in a part of 300 by 300 pixels: an area that stands out, no places.
    Lot lot = MakeUp({});
    MixedNumbers numbers(9);
    for (std::uint32_t i = 0; i < lot.images.size(); ++i)
        for (int k = 0; k < 18; ++k)
            Plant(lot, i, 500 + static_cast<int>(numbers.Below(300)), 700 + static_cast<int>(numbers.Below(300)));
    Order(lot);
    const std::vector<LotTest> tests = TestLotPlaces(lot, {});
    EXPECT_THAT(TestOf(tests, LotTest_Place).places, IsEmpty()) << Described(tests);
    EXPECT_GE(TestOf(tests, LotTest_Area).found, 1U);
    EXPECT_TRUE(Holds(TestOf(tests, LotTest_Area).places.at(0).box, 650, 850)) << Described(tests);
}

TEST(LotPlaces, RandomLotsAlarmAtMostAtTheStatedRate)
{
    constexpr double dRisk = 0.1;
    constexpr int nLots = 400;
    std::vector<int> alarms(nLotTests, 0);
    for (int i = 0; i < nLots; ++i)
    {
        MixedNumbers numbers(static_cast<std::uint64_t>(i) + 1000);
        MadeUpLot made;
        made.images = 2 + static_cast<int>(numbers.Below(80));
        made.defects = std::exp(std::log(0.5) + Uniform(numbers) * std::log(100.0));
        made.width = 100 + static_cast<int>(numbers.Below(900));
        made.height = 100 + static_cast<int>(numbers.Below(900));
        made.pitchX = 15.0 + 50.0 * Uniform(numbers);
        made.pitchY = 15.0 + 50.0 * Uniform(numbers);
        made.seed = numbers.Next();
        for (const LotTest& test : TestLotPlaces(MakeUp(made), AtRisk(dRisk)))
            alarms[static_cast<std::size_t>(test.kind)] += test.found > 0 ? 1 : 0;
    }
    for (int kind = 0; kind < nLotTests; ++kind)
    {
        // At the stated rate, more than 58 come once in a thousand times.
        EXPECT_LE(alarms[static_cast<std::size_t>(kind)], 58) << LotTestName(kind);
        RecordProperty(LotTestName(kind), alarms[static_cast<std::size_t>(kind)]);
    }
    EXPECT_GT(std::accumulate(alarms.begin(), alarms.end(), 0), 10) << "far below the rate: little would be found";
}

TEST(LotPlaces, AreTheSameInWhateverOrderTheDefectsOfAnImageCome)
{
    Lot lot = MakeUp({.images = 50, .defects = 20.0, .width = 300, .height = 200});
    for (std::uint32_t i = 0; i < 50; i += 3)
        Plant(lot, i, 100 + static_cast<int>(i % 3), 100);
    Order(lot);
    const std::string before = Described(TestLotPlaces(lot, AtRisk(0.1)));
    EXPECT_NE(before, "");
    std::reverse(lot.defects.begin(), lot.defects.end());
    EXPECT_EQ(Described(TestLotPlaces(lot, AtRisk(0.1))), before);
}

TEST(LotPlaces, SayWhyALotIsTooSmall)
{
    for (const int images : {0, 1})
    {
        Lot lot = MakeUp({.images = images, .defects = 200.0});
        const std::vector<LotTest> tests = TestLotPlaces(lot, {});
        ASSERT_THAT(tests, SizeIs(nLotTests));
        for (const LotTestKind kind : {LotTest_Place, LotTest_Column, LotTest_Row, LotTest_Area})
        {
            EXPECT_THAT(TestOf(tests, kind).places, IsEmpty());
            ASSERT_THAT(TestOf(tests, kind).notes, SizeIs(1));
            EXPECT_THAT(TestOf(tests, kind).notes[0], HasSubstr("fewer than two images"));
        }
    }
    EXPECT_EQ(Described(TestLotPlaces(Lot(), {})), "");
}

TEST(LotPlaces, SayWhyACellIsNotTested)
{
    Lot lot = MakeUp({});
    lot.regions[0].cell.reset();
    lot.regions[0].noCell = "some reason";
    EXPECT_THAT(TestOf(TestLotPlaces(lot, {}), LotTest_Cell).notes, testing::ElementsAre("not tested: some reason"));
    lot = MakeUp({.pitchX = 6.0, .pitchY = 7.0});
    EXPECT_THAT(TestOf(TestLotPlaces(lot, {}), LotTest_Cell).notes.at(0), HasSubstr("not below half of the cell"));
}

TEST(LotPlaces, HandleRegionsWithoutAreaAndDefectsOutside)
{
    Lot lot = MakeUp({.images = 10});
    LotRegion& empty = lot.regions.emplace_back();
    empty.name = "empty";
    empty.noCell = "none";
    for (std::uint32_t i = 0; i < 10; ++i)
    {
        lot.defects.push_back({i, 1, 5, 5});
        lot.defects.push_back({i, 0, -1000000, 2000000000});
    }
    Order(lot);
    const std::vector<LotTest> tests = TestLotPlaces(lot, {});
    ASSERT_THAT(TestOf(tests, LotTest_Place).places, SizeIs(1)) << Described(tests);
    EXPECT_TRUE(Holds(TestOf(tests, LotTest_Place).places[0].box, 0, 1499));
}

TEST(LotPlaces, RefuseSettingsOutsideTheirRange)
{
    LotPlaceSettings settings;
    settings.distance = 0;
    settings.risk = 0.5;
    try
    {
        TestLotPlaces(MakeUp({.images = 3}), settings);
        FAIL();
    }
    catch (const HostError& error)
    {
        EXPECT_THAT(error.Problems(),
                    testing::ElementsAre(Problem{"distance", "0", "1 to 64"}, Problem{"risk", "0.5", "1e-09 to 0.1"}));
    }
    settings = AtRisk(std::nan(""));
    EXPECT_THROW(TestLotPlaces(Lot(), settings), HostError);
}

TEST(LotPlaces, TakeLargeLotsWhetherTheirDefectsAreScatteredOrInOnePlace)
{
    Lot lot = MakeUp({.images = 2000, .defects = 250.0, .width = 8000, .height = 8000});
    for (std::uint32_t i = 0; i < 500000; ++i)
        Plant(lot, i % 2000, 4000 + static_cast<int>(i % 3), 4000);
    Order(lot);
    ASSERT_GT(lot.defects.size(), 990000U);
    const std::vector<LotTest> tests = TestLotPlaces(lot, {});
    ASSERT_THAT(TestOf(tests, LotTest_Place).places, SizeIs(1)) << Described(tests);
    EXPECT_EQ(TestOf(tests, LotTest_Place).places[0].images, 2000U);
    EXPECT_EQ(TestOf(tests, LotTest_Cell).found, 0U) << Described(tests);
}

} // namespace

} // namespace narvo::test
