// SPDX-License-Identifier: MIT
// Golden models of pictures by the C interface, what they know of their references, and what images were compared with.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "library/c_test_help.h"
#include "library/host_pictures.h"
#include <narvo/narvo_c.h>
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

/// Red, green and blue of each pixel; only blue shows the spot.
std::vector<std::uint8_t> ColoursOf(const Picture8& picture, const Box& spot)
{
    std::vector<std::uint8_t> pixels;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            for (int channel = 0; channel < 3; ++channel)
            {
                const bool inside = x >= spot.left && x < spot.right && y >= spot.top && y < spot.bottom;
                const std::uint8_t value = picture.pixels[static_cast<std::size_t>(y * picture.width + x)];
                pixels.push_back(channel == 2 && inside ? std::uint8_t{0} : value);
            }
    return pixels;
}

class CGolden : public testing::Test
{
protected:
    CGolden() { m_bad.Fill(m_spot, 0); }
    void TearDown() override
    {
        for (narvo_picture* picture : m_pictures)
            EXPECT_EQ(narvo_picture_free(picture), NARVO_OK);
        EXPECT_EQ(narvo_reports_free(m_reports), NARVO_OK);
        EXPECT_EQ(narvo_golden_free(m_golden), NARVO_OK);
        EXPECT_EQ(narvo_rules_free(m_each), NARVO_OK);
    }

    const narvo_picture* PictureOf(const Picture8& picture)
    {
        return Kept({sizeof(narvo_pixel_array), picture.width, picture.height, 1, 8, 0, picture.pixels.data()},
                    nullptr);
    }
    const narvo_picture* ColourPictureOf(const Picture8& picture, const Box& spot = {})
    {
        if (m_each == nullptr)
        {
            EXPECT_EQ(narvo_rules_from_text(R"({"channel": "each"})", nullptr, &m_each), NARVO_OK) << CFields();
        }
        const std::vector<std::uint8_t> pixels = ColoursOf(picture, spot);
        return Kept({sizeof(narvo_pixel_array), picture.width, picture.height, 3, 8, 0, pixels.data()}, m_each);
    }

    std::int32_t Make(const std::vector<const narvo_picture*>& references)
    {
        return narvo_golden_from_pictures(references.data(), static_cast<std::int64_t>(references.size()), nullptr, 0,
                                          1, nullptr, nullptr, &m_golden);
    }

    std::int64_t DefectCount() const
    {
        std::int64_t count = -1;
        EXPECT_EQ(narvo_reports_defects(m_reports, 0, sizeof(narvo_defect), nullptr, 0, &count), NARVO_OK);
        return count;
    }

    const Box m_spot = {209, 145, 217, 153};
    const Picture8 m_good = BoardPicture(360, 300);
    const Picture8 m_shifted = BoardPicture(360, 300, 4, 3);
    Picture8 m_bad = BoardPicture(360, 300, 6, 2);
    narvo_golden* m_golden = nullptr;
    narvo_reports* m_reports = nullptr;

private:
    const narvo_picture* Kept(const narvo_pixel_array& pixels, const narvo_rules* rules)
    {
        narvo_picture* picture = nullptr;
        EXPECT_EQ(narvo_picture_from_pixels(&pixels, rules, nullptr, &picture), NARVO_OK) << CFields();
        m_pictures.push_back(picture);
        return picture;
    }

    narvo_rules* m_each = nullptr;
    std::vector<narvo_picture*> m_pictures;
};

/// The picture's pixels as bytes.
std::vector<std::uint8_t> BytesOfPicture(const narvo_picture* picture)
{
    narvo_image view = {};
    view.size = sizeof(view);
    EXPECT_EQ(narvo_picture_image(picture, -1, &view), NARVO_OK) << CFields();
    std::vector<std::uint8_t> bytes;
    for (int y = 0; y < view.height; ++y)
    {
        const auto* row = static_cast<const std::uint8_t*>(view.pixels) + y * view.stride;
        bytes.insert(bytes.end(), row, row + view.width);
    }
    return bytes;
}

std::vector<std::uint8_t> BytesOfImage(const Image& image)
{
    const ImagePixels view = image.Pixels();
    std::vector<std::uint8_t> bytes;
    for (int y = 0; y < view.height; ++y)
    {
        const auto* row = static_cast<const std::uint8_t*>(view.pixels) + y * view.stride;
        bytes.insert(bytes.end(), row, row + view.width);
    }
    return bytes;
}

} // namespace

TEST_F(CGolden, OfPicturesFindsWhatTheCppInterfaceFindsAndShowsWhatItComparedWith)
{
    ASSERT_EQ(Make({PictureOf(m_good), PictureOf(m_shifted)}), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_golden_inspect_picture(m_golden, PictureOf(m_bad), 1, &m_reports), NARVO_OK) << CFields();
    const GoldenModel model({m_good.Pixels(), m_shifted.Pixels()});
    const GoldenFindings expected = model.InspectFully(m_bad.Pixels());
    ASSERT_EQ(expected.Summary().report.defects.size(), 1U);
    const char* text = nullptr;
    ASSERT_EQ(narvo_reports_csv(m_reports, 0, &text), NARVO_OK);
    EXPECT_EQ(text, expected.Table());
    for (const int which : {0, 1})
    {
        narvo_picture* kept = nullptr;
        ASSERT_EQ(narvo_reports_golden_picture(m_reports, which, &kept), NARVO_OK) << CFields();
        EXPECT_EQ(BytesOfPicture(kept), BytesOfImage(which == 0 ? expected.Reference() : expected.Threshold()));
        EXPECT_EQ(narvo_picture_free(kept), NARVO_OK);
    }
    narvo_picture* none = nullptr;
    EXPECT_EQ(narvo_reports_golden_picture(m_reports, 2, &none), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "which");
}

TEST_F(CGolden, ComparesEachColourOfPictures)
{
    ASSERT_EQ(Make({ColourPictureOf(m_good)}), NARVO_OK) << CFields();
    const Picture8 clean = BoardPicture(360, 300, 6, 2);
    ASSERT_EQ(narvo_golden_inspect_picture(m_golden, ColourPictureOf(clean, m_spot), 0, &m_reports), NARVO_OK)
        << CFields();
    EXPECT_EQ(DefectCount(), 1);
    std::int32_t colour = -1;
    std::int64_t count = 0;
    ASSERT_EQ(narvo_reports_colours(m_reports, 0, &colour, 1, &count), NARVO_OK) << CFields();
    EXPECT_EQ(colour, 3) << "blue";
    narvo_picture* kept = nullptr;
    EXPECT_EQ(narvo_reports_golden_picture(m_reports, 0, &kept), NARVO_REFUSED) << "they were not asked for";
    EXPECT_EQ(CFields(), "reports");
    EXPECT_EQ(narvo_reports_free(m_reports), NARVO_OK);
    m_reports = nullptr;
    ASSERT_EQ(narvo_golden_inspect_picture(m_golden, PictureOf(m_bad), 0, &m_reports), NARVO_OK) << CFields();
    EXPECT_EQ(DefectCount(), 1);
    ASSERT_EQ(narvo_reports_colours(m_reports, 0, &colour, 1, &count), NARVO_OK) << CFields();
    EXPECT_EQ(colour, 0) << "a grey picture is compared in grey";
}

TEST_F(CGolden, KnowsHowItsFirstReferenceLiesOnTheOthers)
{
    ASSERT_EQ(Make({PictureOf(m_good), PictureOf(m_shifted)}), NARVO_OK) << CFields();
    const std::vector<RegistrationMap> expected = GoldenModel({m_good.Pixels(), m_shifted.Pixels()}).Registrations();
    ASSERT_EQ(expected.size(), 1U);
    narvo_registration registrations[2] = {};
    std::int64_t count = 0;
    ASSERT_EQ(narvo_golden_registrations(m_golden, sizeof(narvo_registration), registrations, 2, &count), NARVO_OK)
        << CFields();
    ASSERT_EQ(count, 1);
    EXPECT_EQ(registrations[0].model, expected[0].Numbers().model);
    EXPECT_EQ(registrations[0].shift_x, expected[0].Numbers().shiftX);
    EXPECT_EQ(registrations[0].shift_y, expected[0].Numbers().shiftY);
    EXPECT_EQ(registrations[0].threshold, 0);
    EXPECT_EQ(registrations[1].size, 0U) << "nothing is written behind the last";
    double x = 0.0;
    double y = 0.0;
    ASSERT_EQ(narvo_golden_map(m_golden, 0, 100.0, 80.5, &x, &y), NARVO_OK) << CFields();
    EXPECT_EQ(x, expected[0].Map(100.0, 80.5).x);
    EXPECT_EQ(y, expected[0].Map(100.0, 80.5).y);
    EXPECT_NEAR(x, 104.0, 0.2);
    EXPECT_EQ(narvo_golden_map(m_golden, 1, 100.0, 80.5, &x, &y), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "index");
    EXPECT_EQ(narvo_golden_map(m_golden, 0, 100.0, 80.5, &x, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "reference_y");
    EXPECT_EQ(narvo_golden_registrations(m_golden, 8, registrations, 2, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "record_size");
}

TEST_F(CGolden, SharedOnesHaveTheMaskOfTheirTime)
{
    ASSERT_EQ(Make({PictureOf(m_good)}), NARVO_OK) << CFields();
    Picture8 painted(360, 300);
    painted.Fill({195, 130, 225, 165}, 1);
    const narvo_image mask = ImageOf(painted);
    ASSERT_EQ(narvo_golden_set_mask(m_golden, &mask), NARVO_OK) << CFields();
    narvo_golden* shared = nullptr;
    ASSERT_EQ(narvo_golden_share(m_golden, 2, &shared), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_golden_set_mask(m_golden, nullptr), NARVO_OK) << CFields();
    const narvo_picture* bad = PictureOf(m_bad);
    ASSERT_EQ(narvo_golden_inspect_picture(shared, bad, 0, &m_reports), NARVO_OK) << CFields();
    EXPECT_EQ(DefectCount(), 0) << "masked";
    EXPECT_EQ(narvo_reports_free(m_reports), NARVO_OK);
    ASSERT_EQ(narvo_golden_inspect_picture(m_golden, bad, 0, &m_reports), NARVO_OK) << CFields();
    EXPECT_EQ(DefectCount(), 1);
    EXPECT_EQ(narvo_golden_free(shared), NARVO_OK);
    for (const int lanes : {0, 257})
    {
        EXPECT_EQ(narvo_golden_share(m_golden, lanes, &shared), NARVO_REFUSED);
        EXPECT_EQ(shared, nullptr);
        EXPECT_EQ(CFields(), "lanes");
    }
}

TEST_F(CGolden, DefaultsAreListedByTheirNames)
{
    std::int64_t count = 0;
    ASSERT_EQ(narvo_golden_defaults(sizeof(narvo_setting), nullptr, 0, &count), NARVO_OK) << CFields();
    const Settings& expected = GoldenModel::Defaults();
    ASSERT_EQ(count, static_cast<std::int64_t>(expected.size()));
    std::vector<narvo_setting> settings(expected.size());
    ASSERT_EQ(narvo_golden_defaults(sizeof(narvo_setting), settings.data(), count, &count), NARVO_OK);
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        EXPECT_EQ(settings[i].size, sizeof(narvo_setting));
        EXPECT_EQ(settings[i].name, expected[i].name);
        EXPECT_EQ(settings[i].value, expected[i].value);
    }
    // They are what a model takes.
    const narvo_image reference = ImageOf(m_good);
    EXPECT_EQ(narvo_golden_create(&reference, 1, settings.data(), count, 1, &m_golden), NARVO_OK) << CFields();
    EXPECT_EQ(narvo_golden_defaults(8, nullptr, 0, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "record_size");
}

TEST_F(CGolden, ReferencesThatAreNoPicturesAreRefusedByTheirPlace)
{
    const narvo_picture* good = PictureOf(m_good);
    EXPECT_EQ(Make({good, nullptr}), NARVO_REFUSED);
    EXPECT_EQ(m_golden, nullptr);
    EXPECT_EQ(CFields(), "references[1]");
    EXPECT_EQ(Make({}), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    EXPECT_EQ(narvo_golden_from_pictures(nullptr, 1, nullptr, 0, 1, nullptr, nullptr, &m_golden), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "references");
    EXPECT_EQ(narvo_golden_from_pictures(&good, 1, nullptr, 0, 0, nullptr, nullptr, &m_golden), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "lanes");
    narvo_setting half = {sizeof(half), 0, "min_pixels", 2.5};
    EXPECT_EQ(narvo_golden_from_pictures(&good, 1, &half, 1, 1, nullptr, nullptr, &m_golden), NARVO_REFUSED);
    narvo_problem problem = {};
    problem.size = sizeof(problem);
    ASSERT_EQ(narvo_problem_get(0, &problem), NARVO_OK);
    EXPECT_STREQ(problem.field, "min_pixels");
    EXPECT_STREQ(problem.allowed, "a whole number, 1 to 1000000 pixels");
    ASSERT_EQ(Make({good}), NARVO_OK) << CFields();
    EXPECT_EQ(narvo_golden_inspect_picture(m_golden, nullptr, 0, &m_reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "picture");
    EXPECT_EQ(narvo_golden_inspect_picture(m_golden, good, -1, &m_reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "pictures");
}

} // namespace narvo::test
