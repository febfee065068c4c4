// SPDX-License-Identifier: MIT
// What many images have in common, by the installed headers.
#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <narvo/narvohost.h>

#include "library/problem_fields.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

Recipe LotRecipe()
{
    return RecipeDraft()
        .Set("mode", "pixel")
        .Set("pitch.x", 40.125)
        .Set("pitch.y", 52.25)
        .Set("threshold.base", 30)
        .Check();
}

/// A report of an image of 2000 by 1500 pixels with defects at places by chance.
FullReport ChanceReport(std::mt19937& random, int defects)
{
    FullReport full;
    full.width = 2000;
    full.height = 1500;
    full.answerCount = 20 * defects;
    full.report.name = "all";
    full.report.code = 1;
    full.report.region = {0, 0, 2000, 1500};
    for (int i = 0; i < defects; ++i)
    {
        Defect defect;
        defect.number = i + 1;
        defect.area = 12;
        defect.meanReference = 100;
        defect.meanDifference = 40;
        defect.centerX = static_cast<int>(random() % 2000);
        defect.centerY = static_cast<int>(random() % 1500);
        full.report.defects.push_back(defect);
    }
    return full;
}

/// 80 images: a spot at 700, 300 in each fourth, three times as many defects from the 41st on, one image refused.
std::vector<StoredImage> PlantedImages()
{
    std::mt19937 random(5);
    std::vector<StoredImage> images;
    for (int i = 0; i < 80; ++i)
    {
        StoredImage image;
        image.name = "p" + std::to_string(i);
        image.sequence = i;
        if (i == 7)
            image.problems = {{"p7", "no image", "PNG"}};
        else
            image.reports = {ChanceReport(random, i < 40 ? 6 : 18)};
        if (i % 4 == 0)
        {
            Defect spot = image.reports[0].report.defects[0];
            spot.centerX = 700 + i % 2;
            spot.centerY = 300;
            spot.number = static_cast<int>(image.reports[0].report.defects.size()) + 1;
            image.reports[0].report.defects.push_back(spot);
        }
        images.push_back(std::move(image));
    }
    return images;
}

Lot PlantedLot()
{
    Lot lot(LotRecipe(), "panel.json");
    for (const StoredImage& image : PlantedImages())
        lot.Add(image);
    return lot;
}

} // namespace

TEST(HostLot, FindsThePlaceAndTheChangeThatWerePlanted)
{
    const Lot lot = PlantedLot();
    EXPECT_EQ(lot.Images(), 80U);
    const LotReport report = lot.Find();
    EXPECT_EQ(report.store, "");
    EXPECT_THAT(report.runs, IsEmpty());
    EXPECT_EQ(report.recipe, "panel.json");
    ASSERT_THAT(report.images, SizeIs(80));
    EXPECT_EQ(report.images[7], "p7");
    EXPECT_EQ(report.refused, 1U);
    EXPECT_EQ(report.comparable, 79U);
    EXPECT_EQ(report.defects, 39U * 6 + 40U * 18 + 20U);
    ASSERT_THAT(report.regions, SizeIs(1));
    EXPECT_EQ(report.regions[0].name, "all");
    EXPECT_EQ(report.regions[0].box.right, 2000);
    EXPECT_EQ(report.regions[0].area, 3e6);
    EXPECT_EQ(report.regions[0].noCell, "");

    ASSERT_THAT(report.tests, SizeIs(LotTestKinds().size()));
    EXPECT_THAT(LotTestKinds(), ElementsAre("place", "column", "row", "area", "cell"));
    for (std::size_t i = 0; i < report.tests.size(); ++i)
    {
        EXPECT_EQ(report.tests[i].kind, LotTestKinds()[i]);
        EXPECT_GT(report.tests[i].windows, 0U) << report.tests[i].kind;
        EXPECT_EQ(report.tests[i].found, i == 0 ? 1U : 0U) << report.tests[i].kind;
    }
    const LotPlace& place = report.tests[0].places.at(0);
    EXPECT_EQ(place.region, 0U);
    EXPECT_GE(place.images, 20U);
    EXPECT_GE(place.defects, place.images);
    EXPECT_EQ(place.cells, 0U);
    EXPECT_LE(place.box.left, 700);
    EXPECT_GT(place.box.right, 700);
    EXPECT_LE(place.box.right - place.box.left, 8);
    EXPECT_LE(place.box.top, 300);
    EXPECT_GT(place.box.bottom, 300);
    EXPECT_LT(place.expected, 1.0);
    EXPECT_LT(place.probability, 1e-20);
    EXPECT_EQ(place.first, 0U);
    EXPECT_EQ(place.last, 76U);

    const auto defects = std::find_if(report.charts.begin(), report.charts.end(),
                                      [](const LotChart& chart) { return chart.name == "defects"; });
    ASSERT_NE(defects, report.charts.end());
    EXPECT_EQ(defects->unit, "a megapixel");
    EXPECT_EQ(defects->imagesAPoint, 1U);
    EXPECT_TRUE(defects->counts);
    EXPECT_FALSE(report.charts.back().counts) << report.charts.back().name;
    ASSERT_THAT(defects->points, SizeIs(79));
    EXPECT_THAT(defects->scores, SizeIs(79));
    EXPECT_EQ(defects->first[7], 8U); // the refused image has no point
    EXPECT_NEAR(defects->points[0], 7.0 / 3.0, 1e-12);
    EXPECT_FALSE(defects->alarms.empty());
    for (const LotAlarm& alarm : defects->alarms)
    {
        EXPECT_LT(alarm.point, defects->points.size());
        EXPECT_TRUE(alarm.rule >= 1 && alarm.rule <= 4) << alarm.rule;
        EXPECT_THAT(alarm.text, HasSubstr(alarm.above ? ", above" : ", below"));
    }
    EXPECT_NEAR(defects->alarmsByChance, 79 / 91.75, 1e-12);
    EXPECT_TRUE(defects->changes);
    EXPECT_EQ(defects->first[defects->change], 40U);
    EXPECT_EQ(defects->before, 2.0);
    EXPECT_EQ(defects->after, 6.0);
    EXPECT_LE(defects->probability, 0.01);
    EXPECT_THAT(report.text, HasSubstr("80 images, 974 defects; 79 of one size and its regions, 1 refused\n"));
    EXPECT_THAT(report.text, HasSubstr("1 place that comes back"));
}

TEST(HostLot, TakesMoreImagesBehindAFind)
{
    const std::vector<StoredImage> images = PlantedImages();
    Lot lot(LotRecipe(), "panel.json");
    lot.Add(images[0]).Add(images[1]);
    EXPECT_EQ(lot.Find().tests[0].found, 0U);
    for (std::size_t i = 2; i < images.size(); ++i)
        lot.Add(images[i]);
    const std::string all = lot.Find().text;
    EXPECT_EQ(all, PlantedLot().Find().text);
    EXPECT_EQ(all, lot.Find().text);
}

TEST(HostLot, SettingsAreThoseOfTheProgram)
{
    const Lot lot = PlantedLot();
    const LotReport plain = lot.Find();
    EXPECT_EQ(plain.text, lot.Find({{"distance", 4}, {"risk", 0.01}, {"baseline", 0}}).text);
    const LotReport coarse = lot.Find({{"distance", 16}});
    EXPECT_LT(coarse.tests[0].windows, plain.tests[0].windows);
    // Limits from the calm first half: every later point is far above them.
    const LotReport early = lot.Find({{"baseline", 30}});
    EXPECT_LT(early.charts[0].center, plain.charts[0].center);
    EXPECT_GT(early.charts[0].scores[60], plain.charts[0].scores[60]);
    EXPECT_EQ(early.charts[0].points, plain.charts[0].points);
}

TEST(HostLot, FinishGivesTheSameAndGivesUpTheImages)
{
    Lot lot = PlantedLot();
    std::string json;
    const LotReport plain = lot.Find({{"distance", 8}}, &json);
    EXPECT_EQ(json.substr(0, 17), "{\n  \"version\": 1,");
    EXPECT_NE(json.find("\"distance\": 8"), std::string::npos);
    EXPECT_NE(json.find("\"first_image\": \"p0\""), std::string::npos);
    EXPECT_THAT(FieldsOf(Attempt([&] { lot.Finish({{"distance", 0}}); })), ElementsAre("distance"));
    EXPECT_THAT(FieldsOf(Attempt([&] { lot.Finish({{"baseline", 1}}); })), ElementsAre("baseline"));
    EXPECT_EQ(lot.Images(), 80U);
    std::string again;
    EXPECT_EQ(lot.Finish({{"distance", 8}}, &again).text, plain.text);
    EXPECT_EQ(again, json);
    EXPECT_THAT(FieldsOf(Attempt([&] { lot.Images(); })), ElementsAre("lot"));
    ASSERT_EQ(Lot::Defaults().size(), 3U);
    EXPECT_EQ(PlantedLot().Find(Lot::Defaults()).text, PlantedLot().Find().text);
    EXPECT_TRUE(IsServerPlace("postgresql://a@b/c"));
    EXPECT_FALSE(IsServerPlace("results.sqlite"));
}

TEST(HostLot, NothingIsFoundInALotWithoutImages)
{
    const LotReport report = Lot(LotRecipe()).Find();
    EXPECT_THAT(report.images, IsEmpty());
    EXPECT_THAT(report.regions, IsEmpty());
    EXPECT_THAT(report.charts, IsEmpty());
    for (const LotTest& test : report.tests)
        EXPECT_EQ(test.found, 0U);
}

TEST(HostLot, SaysWhatIsWrongWithSettingsAndImages)
{
    Lot lot = PlantedLot();
    EXPECT_THAT(FieldsOf(Attempt(
                    [&] {
                        lot.Find({{"distance", 0}, {"risk", 0.5}});
                    })),
                ElementsAre("distance", "risk"));
    EXPECT_THAT(FieldsOf(Attempt([&] { lot.Find({{"distance", 65}}); })), ElementsAre("distance"));
    EXPECT_THAT(FieldsOf(Attempt([&] { lot.Find({{"distance", 2.5}}); })), ElementsAre("distance"));
    EXPECT_THAT(FieldsOf(Attempt([&] { lot.Find({{"reach", 4}}); })), ElementsAre("reach"));
    for (const double baseline : {-1.0, 1.0, 10000001.0})
    {
        const std::vector<Problem> problems = Attempt([&] { lot.Find({{"baseline", baseline}}); });
        ASSERT_THAT(FieldsOf(problems), ElementsAre("baseline")) << baseline;
        EXPECT_EQ(problems[0].allowed, "2 to 10000000 images, or 0: all");
    }
    StoredImage nameless = PlantedImages()[0];
    nameless.name.clear();
    EXPECT_THAT(FieldsOf(Attempt([&] { lot.Add(nameless); })), ElementsAre("image.name"));
    for (const Box& box : {Box{-1, 0, 10, 10}, Box{0, 0, 2147483647, 10}, Box{20, 0, 10, 10}, Box{0, 9, 10, 8}})
    {
        StoredImage strange = PlantedImages()[0];
        strange.reports[0].report.region = box;
        EXPECT_THAT(FieldsOf(Attempt([&] { lot.Add(strange); })), ElementsAre("region all of image p0"));
    }
    EXPECT_EQ(lot.Images(), 80U);
    EXPECT_EQ(lot.Find().text, PlantedLot().Find().text);
    const Lot moved = std::move(lot);
    EXPECT_THAT(FieldsOf(Attempt([&] { lot.Find(); })), ElementsAre("lot"));
    EXPECT_EQ(moved.Images(), 80U);
}

TEST(HostLot, DefectsOutsideTheirRegionCountAtItsBorder)
{
    Lot lot(LotRecipe());
    for (StoredImage image : PlantedImages())
    {
        for (FullReport& full : image.reports)
            for (Defect& defect : full.report.defects)
                defect.centerX = defect.number % 2 == 0 ? -2147483647 : 2147483647;
        lot.Add(image);
    }
    const LotReport report = lot.Find();
    for (const LotTest& test : report.tests)
        for (const LotPlace& place : test.places)
            EXPECT_TRUE(test.kind == "cell" || (place.box.left >= 0 && place.box.right <= 2000)) << test.kind;
    EXPECT_GT(report.tests[1].found, 0U); // both borders are columns that come back
}

} // namespace narvo::test
