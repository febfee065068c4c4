// SPDX-License-Identifier: MIT
// Golden inspection by the public headers.
#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/host_pictures.h"
#include "library/problem_fields.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::Field;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int nWidth = 360;
constexpr int nHeight = 300;
constexpr Box spot = {203, 142, 211, 150};

/// The board with a spot that is as dark as nothing else there.
Picture8 DefectiveBoard(int shift = 0)
{
    Picture8 board = BoardPicture(nWidth, nHeight, shift, 2);
    board.Fill({spot.left + shift, spot.top + shift / 2, spot.right + shift, spot.bottom + shift / 2}, 0);
    return board;
}

} // namespace

TEST(HostGolden, FindsTheDefectInTheImageAndInTheReference)
{
    const Picture8 good = BoardPicture(nWidth, nHeight);
    const GoldenModel model({good.Pixels()});
    const GoldenReport found = model.Inspect(DefectiveBoard(6).Pixels());
    EXPECT_EQ(found.report.code, 1);
    ASSERT_THAT(found.report.defects, SizeIs(1));
    ASSERT_THAT(found.places, SizeIs(1));
    EXPECT_FALSE(found.report.defects[0].bright);
    EXPECT_NEAR(found.report.defects[0].centerX, spot.left + 6 + 3.5, 1.5);
    EXPECT_NEAR(found.places[0].centerX, spot.left + 3.5, 1.5);
    EXPECT_NEAR(found.places[0].centerY, spot.top + 3.5, 1.5);
    EXPECT_NEAR(found.registration.shiftX, 6.0, 0.2);
    EXPECT_NEAR(found.registration.shiftY, 3.0, 0.2);
    EXPECT_EQ(found.registration.model, "shift");
    EXPECT_GT(found.registration.correlation, 0.9);
    EXPECT_GT(found.compared, 0.9);
    EXPECT_GT(found.threshold, 0);
    EXPECT_EQ(found.masked, 0);
    EXPECT_THAT(model.Inspect(good.Pixels()).report.defects, IsEmpty());
}

TEST(HostGolden, SettingsAreTakenByTheirNames)
{
    const Picture8 good = BoardPicture(nWidth, nHeight);
    EXPECT_THAT(GoldenModel({good.Pixels()}, {{"threshold", 200}}).Inspect(DefectiveBoard().Pixels()).report.defects,
                IsEmpty());
    EXPECT_EQ(GoldenModel({good.Pixels()}, {{"threshold", 77}, {"threshold", 33}}).Inspect(good.Pixels()).threshold,
              33);
    const auto fieldsOf = [&](const Settings& settings)
    { return FieldsOf(Attempt([&] { GoldenModel({good.Pixels()}, settings); })); };
    EXPECT_THAT(fieldsOf({{"no_such", 1}, {"threshold", 2.5}}), testing::ElementsAre("no_such", "threshold"));
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (const char* name : {"max_shift", "max_rotation", "max_scale", "mesh_spacing", "min_correlation",
                             "edge_tolerance", "threshold", "min_pixels", "max_blobs"})
        for (const double value : {-1.0, 1e9, 1e300, nan, -nan})
            EXPECT_THAT(fieldsOf({{name, value}}), SizeIs(1)) << name << ' ' << value;
}

TEST(HostGolden, MasksLieInTheReference)
{
    const Picture8 good = BoardPicture(nWidth, nHeight);
    GoldenModel model({good.Pixels()});
    Picture8 mask(nWidth, nHeight);
    mask.Fill({spot.left - 2, spot.top - 2, spot.right + 2, spot.bottom + 2}, 1);
    model.SetMask(mask.Pixels());
    GoldenReport found = model.Inspect(DefectiveBoard(6).Pixels());
    EXPECT_THAT(found.report.defects, IsEmpty());
    EXPECT_THAT(found.places, IsEmpty());
    EXPECT_EQ(found.masked, 1);
    model.SetMask({});
    EXPECT_THAT(model.Inspect(DefectiveBoard(6).Pixels()).report.defects, SizeIs(1));
    EXPECT_THAT(FieldsOf(Attempt([&] { model.SetMask(Picture8(nWidth, nHeight - 1).Pixels()); })),
                testing::ElementsAre("mask"));
}

TEST(HostGolden, RefusesWhatCannotBeRegistered)
{
    const Picture8 good = BoardPicture(nWidth, nHeight);
    const GoldenModel model({good.Pixels(), BoardPicture(nWidth, nHeight, 3, 5).Pixels()});
    EXPECT_THROW(model.Inspect(Picture8(nWidth, nHeight, 99).Pixels()), Error);
    EXPECT_THROW(model.Inspect({}), Error);
    EXPECT_THROW(model.Inspect(Picture8(1, 1).Pixels()), Error);
    EXPECT_THROW(GoldenModel({}), Error);
    EXPECT_THAT(FieldsOf(Attempt([&] { GoldenModel({good.Pixels(), {}}); })), Contains("references[1].pixels"));
    EXPECT_THROW(GoldenModel({good.Pixels()}, {}, 0), Error);
    EXPECT_THROW(GoldenModel({good.Pixels()}, {}, 257), Error);
    EXPECT_EQ(model.Mean().width, nWidth);
    EXPECT_THAT(model.Tolerance().pixels, SizeIs(nWidth * nHeight));
}

TEST(HostGolden, ModelsThatWereMovedFromRefuse)
{
    const Picture8 good = BoardPicture(nWidth, nHeight);
    GoldenModel model({good.Pixels()});
    const GoldenModel taken = std::move(model);
    EXPECT_THROW(model.Inspect(good.Pixels()), Error);
    EXPECT_THROW(model.Mean(), Error);
    EXPECT_THROW(model.SetMask({}), Error);
    EXPECT_THAT(taken.Inspect(good.Pixels()).report.defects, IsEmpty());
}

TEST(HostGolden, ThreadsShareAModel)
{
    const Picture8 good = BoardPicture(nWidth, nHeight);
    GoldenModel model({good.Pixels()}, {}, 2);
    const Picture8 image = DefectiveBoard(2);
    std::vector<std::size_t> found(3);
    std::vector<std::thread> threads;
    for (std::size_t& count : found)
        threads.emplace_back([&] { count = model.Inspect(image.Pixels()).report.defects.size(); });
    model.SetMask({});
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(found, testing::Each(1U));
}

TEST(HostGolden, FindingsHoldAllThatTheReportSumsUp)
{
    const Picture8 reference = BoardPicture(320, 240);
    const Picture8 second = BoardPicture(320, 240, 4, 2);
    Picture8 flawed = BoardPicture(320, 240, 6, 3);
    flawed.Fill({150, 100, 162, 112}, 250);
    const auto picture = [](const Picture8& of) { return Image::FromPixels({of.pixels.data(), of.width, of.height}); };
    const GoldenModel model = GoldenModel::FromImages({picture(reference), picture(second)}, {{"min_pixels", 9}});
    const GoldenReport report = model.Inspect(flawed.Pixels());
    ASSERT_FALSE(report.report.defects.empty());
    const GoldenFindings found = model.InspectFully(picture(flawed));
    const GoldenReport summary = found.Summary();
    ASSERT_EQ(summary.report.defects.size(), report.report.defects.size());
    EXPECT_EQ(summary.registration.shiftX, report.registration.shiftX);
    EXPECT_EQ(summary.places.front().centerX, report.places.front().centerX);
    EXPECT_EQ(found.Inspection().report.defects.size(), report.report.defects.size());
    EXPECT_EQ(found.Inspection().width, 320);

    // The map leads from a defect to its place in the reference, six pixels to the left and three up.
    const Defect& defect = report.report.defects.front();
    const RealPlace place = found.Registration().Map(defect.centerX, defect.centerY);
    EXPECT_NEAR(place.x, report.places.front().centerX, 1e-9);
    EXPECT_NEAR(place.x, defect.centerX - 6, 1.0);
    EXPECT_NEAR(place.y, defect.centerY - 3, 1.0);
    EXPECT_EQ(found.Registration().Numbers().shiftX, report.registration.shiftX);
    ASSERT_EQ(model.Registrations().size(), 1U);
    EXPECT_NEAR(std::abs(model.Registrations().front().Numbers().shiftX), 4.0, 0.5);

    const Image threshold = found.Threshold();
    const Image expected = found.Reference();
    EXPECT_EQ(threshold.Width(), 320);
    const auto at = [](const Image& image, int x, int y)
    { return static_cast<const std::uint8_t*>(image.Pixels().pixels)[y * image.Pixels().stride + x]; };
    EXPECT_GT(flawed.At(defect.peakX, defect.peakY) - at(expected, defect.peakX, defect.peakY),
              at(threshold, defect.peakX, defect.peakY));
    EXPECT_NE(found.Text().find("\"registration\""), std::string::npos);
    const std::string table = found.Table();
    EXPECT_EQ(static_cast<std::size_t>(std::count(table.begin(), table.end(), '\n')), report.report.defects.size() + 1);
    EXPECT_NE(table.find("reference_center_x"), std::string::npos);

    const GoldenModel shared = model.Share(2);
    EXPECT_EQ(shared.InspectFully(flawed.Pixels()).Table(), table);
    EXPECT_FALSE(Attempt([&] { model.Share(0); }).empty());
    EXPECT_EQ(GoldenModel::Defaults().size(), 9U);
    EXPECT_TRUE(Attempt([&] { GoldenModel({reference.Pixels()}, GoldenModel::Defaults()); }).empty());
}

TEST(HostGolden, SharedModelsHaveMasksOfTheirOwn)
{
    const Picture8 reference = BoardPicture(320, 240);
    Picture8 flawed = BoardPicture(320, 240, 0, 3);
    flawed.Fill({150, 100, 162, 112}, 250);
    GoldenModel model({reference.Pixels()});
    const Picture8 everywhere(320, 240, 255);
    model.SetMask(everywhere.Pixels());
    GoldenModel shared = model.Share();
    EXPECT_GE(shared.Inspect(flawed.Pixels()).masked, 1);
    shared.SetMask({});
    EXPECT_FALSE(shared.Inspect(flawed.Pixels()).report.defects.empty());
    EXPECT_TRUE(model.Inspect(flawed.Pixels()).report.defects.empty());
}

} // namespace narvo::test
