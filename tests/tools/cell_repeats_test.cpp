// SPDX-License-Identifier: MIT
// Places of a cell that differ, put together over images.
#include "tools/cell/cell_repeats.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace narvo::test
{

namespace
{

using tools::CellPlaceText;
using tools::CellRepeat;
using tools::CellRepeats;

v1::CellPlace Place(int left, int top, int right, int bottom, double difference = 8.0, double errors = 10.0)
{
    v1::CellPlace place;
    place.box = {left, top, right, bottom};
    place.difference = difference;
    place.standardErrors = errors;
    return place;
}

/// A report of a cell of 40 by 30 places.
v1::CellReport Report(std::vector<v1::CellPlace> places)
{
    v1::CellReport report;
    report.width = 40;
    report.height = 30;
    report.places = std::move(places);
    return report;
}

TEST(CellRepeats, CountTheImagesThatShowAPlace)
{
    CellRepeats repeats;
    repeats.Add("a", {Report({Place(10, 10, 14, 14), Place(30, 5, 31, 6)})});
    repeats.Add("b", {Report({})});
    repeats.Add("c", {Report({Place(13, 13, 16, 16, 9.0, 20.0)})});
    EXPECT_EQ(repeats.Images(), 3U);
    EXPECT_EQ(repeats.Different(), 2U);
    const std::vector<CellRepeat> places = repeats.Places();
    ASSERT_EQ(places.size(), 2U);
    EXPECT_EQ(places[0].images, 2U);
    EXPECT_EQ(places[0].first, "a");
    EXPECT_EQ(places[0].last, "c");
    EXPECT_EQ(places[0].most.standardErrors, 20.0);
    EXPECT_EQ(places[0].most.box.left, 13);
    EXPECT_EQ(places[1].images, 1U);
}

TEST(CellRepeats, BrightAndDarkAndRegionsStayApart)
{
    CellRepeats repeats;
    repeats.Add("a",
                {Report({Place(10, 10, 14, 14, 8.0), Place(10, 10, 14, 14, -8.0)}), Report({Place(10, 10, 14, 14)})});
    EXPECT_EQ(repeats.Places().size(), 3U);
    EXPECT_EQ(repeats.Different(), 1U);
}

TEST(CellRepeats, PlacesMeetAcrossTheEdgeOfTheCell)
{
    CellRepeats repeats;
    repeats.Add("a", {Report({Place(37, 28, 42, 32)})}); // ends 2 places beyond both edges
    repeats.Add("b", {Report({Place(1, 1, 3, 3)})});
    repeats.Add("c", {Report({Place(-3, -2, 0, 0)})});
    repeats.Add("d", {Report({Place(4, 4, 6, 6)})});
    const std::vector<CellRepeat> places = repeats.Places();
    ASSERT_EQ(places.size(), 2U);
    EXPECT_EQ(places[0].images, 3U);
}

TEST(CellRepeats, AnImageWithTwoPartsOfAPlaceCountsOnce)
{
    CellRepeats repeats;
    repeats.Add("a", {Report({Place(10, 10, 20, 11)})});
    repeats.Add("b", {Report({Place(10, 10, 12, 11), Place(15, 10, 17, 11)})});
    const std::vector<CellRepeat> places = repeats.Places();
    ASSERT_EQ(places.size(), 1U);
    EXPECT_EQ(places[0].images, 2U);
}

TEST(CellRepeats, SoManyPlacesAreKept)
{
    CellRepeats repeats;
    std::vector<v1::CellPlace> many;
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 60; ++x)
            many.push_back(Place(3 * x, 3 * y, 3 * x + 1, 3 * y + 1));
    v1::CellReport report = Report(many);
    report.width = report.height = 180;
    repeats.Add("a", {report});
    EXPECT_EQ(repeats.Places().size(), CellRepeats::nMostPlaces);
    EXPECT_EQ(repeats.LeftOut(), 3600 - CellRepeats::nMostPlaces);
}

TEST(CellRepeats, PlacesAreToldByTheirPixels)
{
    EXPECT_EQ(CellPlaceText(Place(12, 3, 16, 4)), "x 12 to 15, y 3");
}

} // namespace

} // namespace narvo::test
