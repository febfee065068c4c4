// SPDX-License-Identifier: MIT
// The C interface: what it finds, and that bad input comes back as a status with its reasons.
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "library/c_test_help.h"
#include "library/host_pictures.h"
#include <narvo/narvo_c.h>

namespace narvo::test
{

namespace
{

constexpr const char* pRecipe =
    R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}})";
constexpr int nWidth = 512;
constexpr int nHeight = 288;
constexpr Box square = {200, 120, 204, 124};

std::vector<narvo_defect> DefectsOf(const narvo_reports* reports, std::int64_t region = 0)
{
    std::int64_t count = -1;
    EXPECT_EQ(narvo_reports_defects(reports, region, sizeof(narvo_defect), nullptr, 0, &count), NARVO_OK) << CFields();
    std::vector<narvo_defect> defects(count < 0 ? 0U : static_cast<std::size_t>(count));
    EXPECT_EQ(narvo_reports_defects(reports, region, sizeof(narvo_defect), defects.data(), count, &count), NARVO_OK);
    return defects;
}

class CInterface : public testing::Test
{
protected:
    void SetUp() override
    {
        m_picture.Fill(square, 230);
        m_image = ImageOf(m_picture);
        ASSERT_EQ(narvo_recipe_from_text(pRecipe, nullptr, &m_recipe), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_inspector_create(2, &m_inspector), NARVO_OK) << CFields();
    }
    void TearDown() override
    {
        EXPECT_EQ(narvo_inspector_free(m_inspector), NARVO_OK);
        EXPECT_EQ(narvo_recipe_free(m_recipe), NARVO_OK);
    }

    Picture8 m_picture = PeriodicPicture(nWidth, nHeight, 32, 24);
    narvo_image m_image = {};
    narvo_recipe* m_recipe = nullptr;
    narvo_inspector* m_inspector = nullptr;
};

} // namespace

TEST_F(CInterface, ThreadsShareLanesAndARecipe)
{
    EXPECT_EQ(narvo_c_version(), NARVO_C_VERSION);
    std::vector<int> areas(4, 0);
    std::vector<std::thread> threads;
    for (int& area : areas)
        threads.emplace_back(
            [&]
            {
                narvo_reports* reports = nullptr;
                ASSERT_EQ(narvo_inspect(m_inspector, m_recipe, &m_image, &reports), NARVO_OK) << CFields();
                const std::vector<narvo_defect> defects = DefectsOf(reports);
                ASSERT_EQ(defects.size(), 1U);
                EXPECT_EQ(defects[0].size, sizeof(narvo_defect));
                EXPECT_EQ(defects[0].bright, 1);
                EXPECT_LE(defects[0].left, square.left + 1);
                EXPECT_GE(defects[0].bottom, square.bottom - 1);
                area = defects[0].area;
                EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
            });
    for (std::thread& thread : threads)
        thread.join();
    for (const int area : areas)
        EXPECT_GE(area, 9);
}

TEST_F(CInterface, ReportsAreThoseOfTheCppInterface)
{
    narvo_reports* reports = nullptr;
    m_image.width = 508; // a warning names the last columns
    m_image.stride = nWidth;
    ASSERT_EQ(narvo_inspect(m_inspector, m_recipe, &m_image, &reports), NARVO_OK) << CFields();
    const std::vector<Report> expected =
        Inspector().Inspect({m_picture.pixels.data(), 508, nHeight, nWidth}, Recipe::FromText(pRecipe));
    std::int64_t count = 0;
    ASSERT_EQ(narvo_reports_count(reports, &count), NARVO_OK);
    ASSERT_EQ(count, 1);
    narvo_report report = {};
    report.size = sizeof(report);
    ASSERT_EQ(narvo_reports_get(reports, 0, &report), NARVO_OK);
    EXPECT_EQ(report.code, 1);
    EXPECT_EQ(report.right, expected[0].region.right);
    EXPECT_EQ(report.bottom, expected[0].region.bottom);
    EXPECT_EQ(report.name, expected[0].name);
    ASSERT_EQ(report.warning_count, 1);
    const char* pText = nullptr;
    ASSERT_EQ(narvo_reports_warning(reports, 0, 0, &pText), NARVO_OK);
    EXPECT_EQ(pText, expected[0].warnings.at(0));
    const std::vector<narvo_defect> defects = DefectsOf(reports);
    ASSERT_EQ(defects.size(), expected[0].defects.size());
    ASSERT_EQ(defects.size(), 1U);
    const Defect& defect = expected[0].defects[0];
    EXPECT_EQ(defects[0].number, defect.number);
    EXPECT_EQ(defects[0].band, defect.band);
    EXPECT_EQ(defects[0].area, defect.area);
    EXPECT_EQ(defects[0].center_x, defect.centerX);
    EXPECT_EQ(defects[0].peak_y, defect.peakY);
    EXPECT_EQ(defects[0].mean_reference, defect.meanReference);
    EXPECT_EQ(defects[0].scale, defect.scale);
    EXPECT_EQ(defects[0].label, defect.label);
    EXPECT_EQ(defects[0].angle, defect.angle);
    EXPECT_EQ(defects[0].elongation, defect.elongation);
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
}

TEST_F(CInterface, DraftsTakeFieldsZonesAndLists)
{
    narvo_draft* draft = nullptr;
    ASSERT_EQ(narvo_draft_create(&draft), NARVO_OK);
    narvo_recipe* recipe = nullptr;
    EXPECT_EQ(narvo_draft_check(draft, &recipe), NARVO_REFUSED);
    EXPECT_NE(CFields(), "");
    EXPECT_EQ(narvo_draft_set_text(draft, "mode", "zone"), NARVO_OK);
    EXPECT_EQ(narvo_draft_set_number(draft, "pitch.x", 32.0), NARVO_OK);
    EXPECT_EQ(narvo_draft_set_integer(draft, "pitch.y", 24), NARVO_OK);
    EXPECT_EQ(narvo_draft_set_switch(draft, "blobs.merge", 2), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "blobs.merge");
    EXPECT_EQ(narvo_draft_set_json(draft, "zones.list", "[{"), NARVO_REFUSED);
    EXPECT_EQ(narvo_draft_set_json(draft, "zones.list", R"([{"index": 1, "offset": 25}, {"index": 2, "dead": true}])"),
              NARVO_OK);
    Picture8 cell(32, 24, 1);
    cell.Fill({0, 0, 32, 12}, 2);
    narvo_image zones = ImageOf(cell);
    zones.bits = 9;
    EXPECT_EQ(narvo_draft_set_zone_image(draft, &zones), NARVO_REFUSED);
    zones.bits = 8;
    EXPECT_EQ(narvo_draft_set_zone_image(draft, &zones), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_draft_check(draft, &recipe), NARVO_OK) << CFields();
    EXPECT_EQ(narvo_draft_free(draft), NARVO_OK);

    m_picture.Fill({300, 132, 304, 136}, 230); // in the lower half of a cell, as the other square is in the upper
    narvo_reports* reports = nullptr;
    ASSERT_EQ(narvo_inspect(m_inspector, recipe, &m_image, &reports), NARVO_OK) << CFields();
    const std::vector<narvo_defect> defects = DefectsOf(reports);
    ASSERT_EQ(defects.size(), 1U);
    EXPECT_EQ(defects[0].zone, 1);
    EXPECT_GT(defects[0].left, 290);
    narvo_reports_free(reports);
    narvo_recipe_free(recipe);
}

TEST_F(CInterface, DraftsTakeMapsOfTheRegionAndListsOfNumbers)
{
    narvo_draft* draft = nullptr;
    ASSERT_EQ(narvo_draft_create(&draft), NARVO_OK);
    narvo_draft_set_text(draft, "mode", "zone");
    narvo_draft_set_integer(draft, "pitch.x", 32);
    narvo_draft_set_integer(draft, "pitch.y", 24);
    std::vector<std::int16_t> offsets(static_cast<std::size_t>(nWidth) * nHeight, 25);
    narvo_map_values values = {sizeof(values), nWidth, nHeight, 0, 0, offsets.data()};
    EXPECT_EQ(narvo_draft_set_region_map(draft, NARVO_MAP_CLASS + 1, &values), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "map");
    values.stride = nWidth - 1;
    EXPECT_EQ(narvo_draft_set_region_map(draft, NARVO_MAP_OFFSET, &values), NARVO_REFUSED);
    values.stride = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(narvo_draft_set_region_map(draft, NARVO_MAP_OFFSET, &values), NARVO_REFUSED);
    values.stride = nWidth;
    values.values = nullptr;
    EXPECT_EQ(narvo_draft_set_region_map(draft, NARVO_MAP_OFFSET, &values), NARVO_REFUSED);
    values.values = offsets.data();
    const auto defectsWith = [&]
    {
        EXPECT_EQ(narvo_draft_set_region_map(draft, NARVO_MAP_OFFSET, &values), NARVO_OK) << CFields();
        narvo_recipe* recipe = nullptr;
        narvo_reports* reports = nullptr;
        EXPECT_EQ(narvo_draft_check(draft, &recipe), NARVO_OK) << CFields();
        EXPECT_EQ(narvo_inspect(m_inspector, recipe, &m_image, &reports), NARVO_OK) << CFields();
        const std::size_t count = DefectsOf(reports).size();
        narvo_reports_free(reports);
        narvo_recipe_free(recipe);
        return count;
    };
    EXPECT_EQ(defectsWith(), 1U);
    offsets.assign(offsets.size(), 256);
    EXPECT_EQ(defectsWith(), 0U) << "nothing passes such an offset";

    const double pitches[2] = {32.0, -1.0};
    EXPECT_EQ(narvo_draft_set_list(draft, "scan_pitches", pitches, -1), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    EXPECT_EQ(narvo_draft_set_list(draft, "scan_pitches", nullptr, 1), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "values");
    EXPECT_EQ(narvo_draft_set_list(draft, "scan_pitches", pitches, 2), NARVO_OK);
    narvo_recipe* recipe = nullptr;
    EXPECT_EQ(narvo_draft_check(draft, &recipe), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "scan_pitches");
    EXPECT_EQ(narvo_draft_free(draft), NARVO_OK);
}

TEST_F(CInterface, TextIsCutToTheBuffer)
{
    std::int64_t length = 0;
    ASSERT_EQ(narvo_recipe_text(m_recipe, nullptr, 0, &length), NARVO_OK);
    EXPECT_EQ(length, static_cast<std::int64_t>(Recipe::FromText(pRecipe).Text().size()));
    std::vector<char> text(static_cast<std::size_t>(length) + 2, '#');
    ASSERT_EQ(narvo_recipe_text(m_recipe, text.data(), length + 1, &length), NARVO_OK);
    EXPECT_EQ(text.data(), Recipe::FromText(pRecipe).Text());
    EXPECT_EQ(text.back(), '#');
    text.assign(text.size(), '#');
    ASSERT_EQ(narvo_recipe_text(m_recipe, text.data(), 3, &length), NARVO_OK);
    EXPECT_EQ(std::string(text.data(), 5), std::string("{\n\0##", 5));
    EXPECT_EQ(narvo_recipe_text(m_recipe, text.data(), -1, &length), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "capacity");
    EXPECT_EQ(narvo_recipe_text(m_recipe, nullptr, 3, &length), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "text");
}

TEST_F(CInterface, RefusesNullsAndSetsTheHandleToNull)
{
    narvo_recipe* recipe = m_recipe;
    EXPECT_EQ(narvo_recipe_from_text(nullptr, nullptr, &recipe), NARVO_REFUSED);
    EXPECT_EQ(recipe, nullptr);
    EXPECT_EQ(CFields(), "json");
    EXPECT_EQ(narvo_recipe_from_file(nullptr, &recipe), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "file");
    EXPECT_EQ(narvo_recipe_from_text(pRecipe, nullptr, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "recipe");
    narvo_reports* reports = nullptr;
    EXPECT_EQ(narvo_inspect(nullptr, m_recipe, &m_image, &reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "inspector");
    EXPECT_EQ(narvo_inspect(m_inspector, nullptr, &m_image, &reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "recipe");
    EXPECT_EQ(narvo_inspect(m_inspector, m_recipe, nullptr, &reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image");
    EXPECT_EQ(narvo_inspect(m_inspector, m_recipe, &m_image, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "reports");
    std::int64_t count = 0;
    EXPECT_EQ(narvo_reports_count(nullptr, &count), NARVO_REFUSED);
    EXPECT_EQ(narvo_recipe_regions(m_recipe, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    EXPECT_EQ(narvo_problem_get(0, nullptr), NARVO_REFUSED);
    for (const int status : {narvo_recipe_free(nullptr), narvo_draft_free(nullptr), narvo_inspector_free(nullptr),
                             narvo_reports_free(nullptr), narvo_proposal_free(nullptr), narvo_golden_free(nullptr)})
        EXPECT_EQ(status, NARVO_OK);
    EXPECT_EQ(CFields(), "count") << "to free is no reason to forget";
}

TEST_F(CInterface, RefusesFreedHandlesAndThoseOfAnotherKind)
{
    narvo_recipe* recipe = nullptr;
    ASSERT_EQ(narvo_recipe_from_text(pRecipe, nullptr, &recipe), NARVO_OK);
    ASSERT_EQ(narvo_recipe_free(recipe), NARVO_OK);
    EXPECT_EQ(narvo_recipe_free(recipe), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "recipe");
    narvo_reports* reports = nullptr;
    EXPECT_EQ(narvo_inspect(m_inspector, recipe, &m_image, &reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "recipe");
    auto* foreign = reinterpret_cast<narvo_recipe*>(m_inspector);
    EXPECT_EQ(narvo_inspect(m_inspector, foreign, &m_image, &reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "recipe");
    EXPECT_EQ(narvo_recipe_free(foreign), NARVO_REFUSED);
    EXPECT_EQ(narvo_recipe_free(reinterpret_cast<narvo_recipe*>(m_picture.pixels.data())), NARVO_REFUSED);
    narvo_recipe* next = nullptr;
    ASSERT_EQ(narvo_recipe_from_text(pRecipe, nullptr, &next), NARVO_OK);
    EXPECT_NE(next, recipe) << "a handle is never given out again";
    EXPECT_EQ(narvo_recipe_free(next), NARVO_OK);
}

TEST_F(CInterface, HandlesThatAreFreedDuringACallLastUntilItsEnd)
{
    for (int run = 0; run < 20; ++run)
    {
        narvo_inspector* inspector = nullptr;
        narvo_recipe* recipe = nullptr;
        ASSERT_EQ(narvo_inspector_create(1, &inspector), NARVO_OK);
        ASSERT_EQ(narvo_recipe_from_text(pRecipe, nullptr, &recipe), NARVO_OK);
        std::thread other(
            [&]
            {
                narvo_reports* reports = nullptr;
                if (narvo_inspect(inspector, recipe, &m_image, &reports) == NARVO_OK)
                {
                    EXPECT_EQ(DefectsOf(reports).size(), 1U);
                    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
                }
                else
                    EXPECT_TRUE(CFields() == "inspector" || CFields() == "recipe") << CFields();
            });
        EXPECT_EQ(narvo_inspector_free(inspector), NARVO_OK);
        EXPECT_EQ(narvo_recipe_free(recipe), NARVO_OK);
        other.join();
    }
}

TEST_F(CInterface, RefusesWrongRecordSizesAndIndices)
{
    narvo_reports* reports = nullptr;
    for (const std::uint32_t size : {0U, 4U, static_cast<std::uint32_t>(sizeof(narvo_image)) + 1U, 0xffffffffU})
    {
        m_image.size = size;
        EXPECT_EQ(narvo_inspect(m_inspector, m_recipe, &m_image, &reports), NARVO_REFUSED);
        EXPECT_EQ(CFields(), "image.size");
    }
    m_image.size = sizeof(m_image);
    ASSERT_EQ(narvo_inspect(m_inspector, m_recipe, &m_image, &reports), NARVO_OK) << CFields();
    EXPECT_EQ(narvo_problem_count(), 0);

    narvo_report report = {};
    EXPECT_EQ(narvo_reports_get(reports, 0, &report), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "report.size");
    report.size = sizeof(report);
    for (const std::int64_t region : {std::int64_t{-1}, std::int64_t{1}, std::numeric_limits<std::int64_t>::min()})
    {
        EXPECT_EQ(narvo_reports_get(reports, region, &report), NARVO_REFUSED);
        EXPECT_EQ(CFields(), "region");
    }
    std::int64_t count = 0;
    EXPECT_EQ(narvo_reports_defects(reports, 0, 8, nullptr, 0, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "record_size");
    EXPECT_EQ(narvo_reports_defects(reports, 0, sizeof(narvo_defect), nullptr, 1, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "defects");
    const char* pText = pRecipe;
    EXPECT_EQ(narvo_reports_warning(reports, 0, 0, &pText), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "index");
    EXPECT_EQ(pText, nullptr);
    narvo_registration registration = {};
    registration.size = sizeof(registration);
    EXPECT_EQ(narvo_reports_registration(reports, &registration), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "reports");

    narvo_problem problem = {};
    EXPECT_EQ(narvo_problem_get(0, &problem), NARVO_REFUSED) << "its size is 0";
    EXPECT_EQ(CFields(), "reports") << "reasons stay";
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
}

TEST_F(CInterface, RefusesImagesAndLanesOutOfRange)
{
    constexpr int nHuge = std::numeric_limits<int>::max();
    const auto refused = [&](const narvo_image& image)
    {
        auto* reports = reinterpret_cast<narvo_reports*>(m_recipe);
        EXPECT_EQ(narvo_inspect(m_inspector, m_recipe, &image, &reports), NARVO_REFUSED);
        EXPECT_EQ(reports, nullptr);
        return CFields();
    };
    narvo_image image = m_image;
    image.pixels = nullptr;
    EXPECT_EQ(refused(image), "image.pixels");
    for (const int side : {0, -1, nHuge})
    {
        image = m_image;
        image.width = image.height = side;
        EXPECT_EQ(refused(image), "image.width image.height");
    }
    for (const int bits : {0, 7, 17, -nHuge})
    {
        image = m_image;
        image.bits = bits;
        EXPECT_EQ(refused(image), "image.bits");
    }
    for (const std::int64_t stride :
         {std::int64_t{-1}, std::int64_t{nWidth - 1}, std::numeric_limits<std::int64_t>::max()})
    {
        image = m_image;
        image.stride = stride;
        EXPECT_EQ(refused(image), "image.stride");
    }
    for (const int lanes : {0, -1, 257, nHuge})
    {
        narvo_inspector* inspector = m_inspector;
        EXPECT_EQ(narvo_inspector_create(lanes, &inspector), NARVO_REFUSED);
        EXPECT_EQ(inspector, nullptr);
        EXPECT_EQ(narvo_problem_count(), 1);
    }
    EXPECT_EQ(narvo_recipe_check_size(m_recipe, nWidth, nHeight), NARVO_OK);
    EXPECT_EQ(narvo_recipe_check_size(m_recipe, 8, 8), NARVO_REFUSED);
    EXPECT_GE(narvo_problem_count(), 1);
}

TEST_F(CInterface, KeepsTheReasonsOfEachThreadApart)
{
    narvo_recipe* recipe = nullptr;
    EXPECT_EQ(narvo_recipe_from_text("{", nullptr, &recipe), NARVO_REFUSED);
    EXPECT_EQ(narvo_problem_count(), 1);
    std::int64_t other = -1;
    std::thread([&] { other = narvo_problem_count(); }).join();
    EXPECT_EQ(other, 0);
    EXPECT_EQ(narvo_recipe_from_file("no_such_file.json", &recipe), NARVO_REFUSED);
    EXPECT_EQ(narvo_problem_count(), 1);
}

TEST(CInterfaceDeath, WorksUntilTheProgramEnds)
{
    static narvo_recipe* last = nullptr;
    EXPECT_EXIT(
        {
            narvo_recipe_from_text(pRecipe, nullptr, &last);
            narvo_recipe* refused = nullptr;
            narvo_recipe_from_text("{", nullptr, &refused);
            std::atexit(
                []
                {
                    // The thread-local objects of this thread are gone by now.
                    const bool kept = narvo_recipe_check_size(last, 1, 1) == NARVO_REFUSED && !CFields().empty() &&
                                      narvo_recipe_free(last) == NARVO_OK;
                    std::_Exit(kept ? 7 : 8);
                });
            std::exit(0);
        },
        testing::ExitedWithCode(7), "");
}

TEST(CInterfacePitch, ProposesARecipeThatInspects)
{
    Picture8 picture = PeriodicPicture(nWidth, nHeight, 32, 24);
    const narvo_image image = ImageOf(picture);
    narvo_proposal* proposal = nullptr;
    ASSERT_EQ(narvo_propose(&image, nullptr, &proposal), NARVO_OK) << CFields();
    narvo_pitch_axis axis = {};
    axis.size = sizeof(axis);
    ASSERT_EQ(narvo_proposal_axis(proposal, 0, &axis), NARVO_OK);
    EXPECT_EQ(axis.found, 1);
    EXPECT_EQ(axis.pitch, 32.0);
    ASSERT_EQ(narvo_proposal_axis(proposal, 1, &axis), NARVO_OK);
    EXPECT_EQ(axis.pitch, 24.0);
    EXPECT_EQ(narvo_proposal_axis(proposal, 2, &axis), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "along");
    narvo_recipe* recipe = nullptr;
    ASSERT_EQ(narvo_proposal_recipe(proposal, &recipe), NARVO_OK);
    EXPECT_EQ(narvo_recipe_check_size(recipe, nWidth, nHeight), NARVO_OK) << CFields();
    std::int64_t notes = -1;
    ASSERT_EQ(narvo_proposal_notes(proposal, &notes), NARVO_OK);
    const char* pText = nullptr;
    EXPECT_EQ(narvo_proposal_note(proposal, notes, &pText), NARVO_REFUSED);
    EXPECT_EQ(narvo_proposal_free(proposal), NARVO_OK);
    EXPECT_EQ(narvo_recipe_free(recipe), NARVO_OK);

    const narvo_box outside = {sizeof(narvo_box), 0, 0, nWidth + 1, nHeight};
    EXPECT_EQ(narvo_propose(&image, &outside, &proposal), NARVO_REFUSED);
    EXPECT_EQ(proposal, nullptr);
    const Picture8 plain(128, 128, 90);
    const narvo_image empty = ImageOf(plain);
    ASSERT_EQ(narvo_propose(&empty, nullptr, &proposal), NARVO_OK) << CFields();
    recipe = reinterpret_cast<narvo_recipe*>(proposal);
    EXPECT_EQ(narvo_proposal_recipe(proposal, &recipe), NARVO_OK) << "no pattern is no failure";
    EXPECT_EQ(recipe, nullptr);
    EXPECT_EQ(narvo_proposal_free(proposal), NARVO_OK);
}

TEST(CInterfaceGolden, FindsTheDefectInTheImageAndInTheReference)
{
    const Picture8 good = BoardPicture(360, 300);
    Picture8 bad = BoardPicture(360, 300, 6, 2);
    bad.Fill({209, 145, 217, 153}, 0);
    const narvo_image reference = ImageOf(good);
    const narvo_image image = ImageOf(bad);
    const narvo_setting setting = {sizeof(narvo_setting), 0, "max_shift", 16.0};
    narvo_golden* golden = nullptr;
    ASSERT_EQ(narvo_golden_create(&reference, 1, &setting, 1, 1, &golden), NARVO_OK) << CFields();
    narvo_reports* reports = nullptr;
    ASSERT_EQ(narvo_golden_inspect(golden, &image, &reports), NARVO_OK) << CFields();
    const std::vector<narvo_defect> defects = DefectsOf(reports);
    ASSERT_EQ(defects.size(), 1U);
    EXPECT_NEAR(defects[0].center_x, 212.5, 1.5);
    narvo_registration registration = {};
    registration.size = sizeof(registration);
    ASSERT_EQ(narvo_reports_registration(reports, &registration), NARVO_OK) << CFields();
    EXPECT_STREQ(registration.model, "shift");
    EXPECT_NEAR(registration.shift_x, 6.0, 0.2);
    narvo_place place = {};
    std::int64_t count = 0;
    ASSERT_EQ(narvo_reports_places(reports, sizeof(place), &place, 1, &count), NARVO_OK) << CFields();
    EXPECT_EQ(count, 1);
    EXPECT_NEAR(place.center_x, 206.5, 1.5);
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);

    Picture8 painted(360, 300);
    painted.Fill({200, 139, 215, 155}, 1);
    narvo_image mask = ImageOf(painted);
    ASSERT_EQ(narvo_golden_set_mask(golden, &mask), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_golden_inspect(golden, &image, &reports), NARVO_OK);
    EXPECT_TRUE(DefectsOf(reports).empty());
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
    mask.height = 299;
    EXPECT_EQ(narvo_golden_set_mask(golden, &mask), NARVO_REFUSED);
    EXPECT_EQ(narvo_golden_set_mask(golden, nullptr), NARVO_OK);

    std::vector<std::uint8_t> mean(360U * 300U + 1U, 7);
    std::int32_t width = 0;
    std::int32_t height = 0;
    EXPECT_EQ(narvo_golden_picture(golden, 2, mean.data(), 1, &width, &height), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "which");
    ASSERT_EQ(narvo_golden_picture(golden, 0, mean.data(), 360 * 300, &width, &height), NARVO_OK);
    EXPECT_EQ(width, 360);
    EXPECT_EQ(height, 300);
    EXPECT_EQ(mean.back(), 7);
    EXPECT_NEAR(mean[0], good.pixels[0], 1);
    EXPECT_EQ(narvo_golden_free(golden), NARVO_OK);
}

TEST(CInterfaceGolden, RefusesArraysAndSettings)
{
    const Picture8 good = BoardPicture(360, 300);
    narvo_image references[2] = {ImageOf(good), ImageOf(good)};
    narvo_setting settings[2] = {{sizeof(narvo_setting), 0, "no_such", 1.0}, {sizeof(narvo_setting), 0, nullptr, 1.0}};
    narvo_golden* golden = nullptr;
    const auto refused = [&](std::int64_t count, std::int64_t settingCount)
    {
        EXPECT_EQ(narvo_golden_create(references, count, settings, settingCount, 1, &golden), NARVO_REFUSED);
        EXPECT_EQ(golden, nullptr);
        return CFields();
    };
    EXPECT_EQ(refused(0, 0), "count");
    EXPECT_EQ(refused(std::numeric_limits<std::int64_t>::max(), 0), "count");
    EXPECT_EQ(refused(1, -1), "setting_count");
    EXPECT_EQ(refused(1, 1), "no_such");
    EXPECT_EQ(refused(1, 2), "settings[1].name");
    EXPECT_EQ(narvo_golden_create(nullptr, 1, nullptr, 0, 1, &golden), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "references");
    references[1].size = 8;
    EXPECT_EQ(refused(2, 0), "references[1].size");
    references[1].size = sizeof(narvo_image);
    references[1].pixels = nullptr;
    EXPECT_EQ(refused(2, 0), "references[1].pixels");
}

} // namespace narvo::test
