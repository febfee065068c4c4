// SPDX-License-Identifier: MIT
// Results that are kept in a file and read back by the C interface.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "library/c_test_help.h"
#include "library/host_pictures.h"
#include "support/test_folder.h"
#include <narvo/narvo_c.h>

namespace narvo::test
{

namespace
{

class CStore : public testing::Test
{
protected:
    void SetUp() override
    {
        m_picture.Fill({200, 120, 206, 126}, 230);
        const narvo_image image = ImageOf(m_picture);
        ASSERT_EQ(narvo_recipe_from_text(
                      R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}})",
                      nullptr, &m_recipe),
                  NARVO_OK);
        narvo_inspector* inspector = nullptr;
        ASSERT_EQ(narvo_inspector_create(1, &inspector), NARVO_OK);
        ASSERT_EQ(narvo_inspect(inspector, m_recipe, &image, &m_reports), NARVO_OK) << CFields();
        EXPECT_EQ(narvo_inspector_free(inspector), NARVO_OK);
        ASSERT_EQ(narvo_store_open(m_place.c_str(), 1, &m_store), NARVO_OK) << CFields();
    }
    void TearDown() override
    {
        EXPECT_EQ(narvo_store_free(m_store), NARVO_OK);
        EXPECT_EQ(narvo_reports_free(m_reports), NARVO_OK);
        EXPECT_EQ(narvo_recipe_free(m_recipe), NARVO_OK);
    }

    std::int32_t Begin(const char* key, std::int32_t start, std::int64_t* run)
    {
        return narvo_store_begin(m_store, key, m_recipe, "panel", "test 1", start, run);
    }

    narvo_stored_image Inspected(const char* name) const
    {
        narvo_stored_image image = {};
        image.size = sizeof(image);
        image.name = name;
        image.inspected = 1700000000000000000;
        image.reports = m_reports;
        return image;
    }

    const TestFolder m_folder;
    const std::string m_place = (m_folder / "results.sqlite").string();
    Picture8 m_picture = PeriodicPicture(512, 288, 32, 24);
    narvo_recipe* m_recipe = nullptr;
    narvo_reports* m_reports = nullptr;
    narvo_store* m_store = nullptr;
};

/// What a call of narvo_store_images handed over.
struct Taken
{
    std::vector<std::string> lines;
    const narvo_reports* last = nullptr;
    std::size_t most = 100;

    static std::int32_t Take(void* context, const narvo_stored_image* image)
    {
        auto& self = *static_cast<Taken*>(context);
        std::string line = std::string(image->name) + ' ' + std::to_string(image->width) + ' ' +
                           std::to_string(image->height) + ' ' + std::to_string(image->inspected);
        for (std::int64_t i = 0; i < image->problem_count; ++i)
            line += std::string(" ") + image->problems[i].field + ' ' + image->problems[i].allowed;
        if (image->reports != nullptr)
        {
            narvo_report report = {};
            report.size = sizeof(report);
            EXPECT_EQ(narvo_reports_get(image->reports, 0, &report), NARVO_OK) << CFields();
            line += " defects " + std::to_string(report.defect_count);
            self.last = image->reports;
        }
        self.lines.push_back(line);
        return self.lines.size() < self.most ? 1 : 0;
    }
};

} // namespace

TEST_F(CStore, KeepsImagesWithReportsOrProblems)
{
    std::int64_t run = -1;
    ASSERT_EQ(Begin("lot", 0, &run), NARVO_OK) << CFields();
    const narvo_problem problem = {sizeof(problem), 0, "b.png", "no image", "PNG"};
    narvo_stored_image images[2] = {Inspected("a.png"), {}};
    images[1].size = sizeof(images[1]);
    images[1].name = "b.png";
    images[1].sequence = 1;
    images[1].problems = &problem;
    images[1].problem_count = 1;
    ASSERT_EQ(narvo_store_add(m_store, run, images, 2), NARVO_OK) << CFields();

    narvo_store* reader = nullptr;
    ASSERT_EQ(narvo_store_open(m_place.c_str(), 0, &reader), NARVO_OK) << CFields();
    std::int64_t count = 0;
    narvo_stored_run runs[2] = {};
    ASSERT_EQ(narvo_store_runs(reader, sizeof(narvo_stored_run), runs, 2, &count), NARVO_OK) << CFields();
    ASSERT_EQ(count, 1);
    EXPECT_EQ(runs[0].size, sizeof(narvo_stored_run));
    EXPECT_EQ(runs[0].number, run);
    EXPECT_EQ(runs[0].images, 2);
    EXPECT_EQ(runs[0].refused, 1);
    EXPECT_EQ(runs[0].defects, 1);
    EXPECT_STREQ(runs[0].key, "lot");
    EXPECT_STREQ(runs[0].recipe, "panel");
    EXPECT_STREQ(runs[0].program, "test 1");
    Taken taken;
    ASSERT_EQ(narvo_store_images(reader, run, Taken::Take, &taken), NARVO_OK) << CFields();
    ASSERT_EQ(taken.lines.size(), 2U);
    EXPECT_EQ(taken.lines[0], "a.png 512 288 1700000000000000000 defects 1");
    EXPECT_EQ(taken.lines[1], "b.png 0 0 0 b.png PNG");
    const char* text = nullptr;
    EXPECT_EQ(narvo_reports_json(taken.last, 0, &text), NARVO_REFUSED) << "reports last for the call alone";
    taken = {};
    taken.most = 1;
    EXPECT_EQ(narvo_store_images(reader, run, Taken::Take, &taken), NARVO_STOPPED);
    EXPECT_EQ(taken.lines.size(), 1U);
    taken = {};
    EXPECT_EQ(narvo_store_images(reader, run + 1, Taken::Take, &taken), NARVO_OK);
    EXPECT_TRUE(taken.lines.empty());
    EXPECT_NE(narvo_store_add(reader, run, images, 2), NARVO_OK) << "it was opened for reading";
    EXPECT_EQ(narvo_store_free(reader), NARVO_OK);
}

TEST_F(CStore, LotsAreMadeOfItsRuns)
{
    std::int64_t run = -1;
    narvo_lot* lot = nullptr;
    EXPECT_EQ(narvo_lot_from_store(m_store, nullptr, 0, &lot), NARVO_REFUSED) << "no run yet";
    for (const char* key : {"monday", "tuesday"})
    {
        ASSERT_EQ(Begin(key, 0, &run), NARVO_OK) << CFields();
        const narvo_stored_image images[2] = {Inspected("a.png"), Inspected("b.png")};
        ASSERT_EQ(narvo_store_add(m_store, run, images, 2), NARVO_OK) << CFields();
    }
    const char* const keys[] = {"monday", "no such run"};
    EXPECT_EQ(narvo_lot_from_store(m_store, keys, 2, &lot), NARVO_REFUSED);
    EXPECT_EQ(lot, nullptr);
    const auto imagesOf = [&lot]
    {
        std::int64_t images = 0;
        EXPECT_EQ(narvo_lot_images(lot, &images), NARVO_OK) << CFields();
        narvo_findings* findings = nullptr;
        EXPECT_EQ(narvo_lot_find(lot, nullptr, 0, &findings), NARVO_OK) << CFields();
        const char* text = "";
        EXPECT_EQ(narvo_findings_json(findings, &text), NARVO_OK);
        EXPECT_NE(std::string(text).find("a.png"), std::string::npos) << text;
        EXPECT_EQ(narvo_findings_free(findings), NARVO_OK);
        EXPECT_EQ(narvo_lot_free(lot), NARVO_OK);
        return images;
    };
    EXPECT_EQ(narvo_lot_from_store(m_store, keys, 1, &lot), NARVO_OK) << CFields();
    EXPECT_EQ(imagesOf(), 2);
    EXPECT_EQ(narvo_lot_from_store(m_store, nullptr, 0, &lot), NARVO_OK) << CFields();
    EXPECT_EQ(imagesOf(), 2);
    EXPECT_EQ(narvo_lot_of_latest_recipe(m_store, &lot), NARVO_OK) << CFields();
    EXPECT_EQ(imagesOf(), 4);
}

TEST_F(CStore, RunsBeginNewAfreshOrGoOn)
{
    std::int64_t run = -1;
    std::int64_t other = -1;
    ASSERT_EQ(Begin("lot", 0, &run), NARVO_OK) << CFields();
    EXPECT_EQ(Begin("lot", 0, &other), NARVO_REFUSED);
    EXPECT_EQ(Begin("lot", 2, &other), NARVO_OK) << CFields();
    EXPECT_EQ(other, run);
    EXPECT_EQ(Begin("lot", 1, &other), NARVO_OK) << CFields();
    EXPECT_EQ(Begin("lot", 3, &other), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "start");
    EXPECT_EQ(Begin("lot", -1, &other), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "start");
    EXPECT_EQ(Begin("", 0, &other), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "key");
    EXPECT_EQ(Begin(nullptr, 0, &other), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "key");
    EXPECT_EQ(Begin("lot2", 0, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "run");
}

TEST_F(CStore, RefusesWhatIsNoImageByItsPlace)
{
    std::int64_t run = -1;
    ASSERT_EQ(Begin("lot", 0, &run), NARVO_OK) << CFields();
    const auto refused = [&](const narvo_stored_image& image)
    {
        const narvo_stored_image images[2] = {Inspected("good"), image};
        EXPECT_EQ(narvo_store_add(m_store, run, images, 2), NARVO_REFUSED);
        return CFields();
    };
    narvo_stored_image image = Inspected(nullptr);
    EXPECT_EQ(refused(image), "images[1].name");
    EXPECT_EQ(refused(Inspected("")), "images[1].name");
    image = Inspected("a");
    image.size = 8;
    EXPECT_EQ(refused(image), "images[1].size");
    image = Inspected("a");
    image.reports = nullptr;
    EXPECT_EQ(refused(image), "images[1].reports");
    image.reports = reinterpret_cast<narvo_reports*>(m_store);
    EXPECT_EQ(refused(image), "images[1].reports");
    image = Inspected("a");
    image.problem_count = -1;
    EXPECT_EQ(refused(image), "images[1].problem_count");
    image.problem_count = 1;
    EXPECT_EQ(refused(image), "images[1].problems");
    narvo_problem problem = {sizeof(problem), 0, "a", nullptr, "b"};
    image.problems = &problem;
    EXPECT_EQ(refused(image), "images[1].problems[0].value");
    problem.value = "v";
    EXPECT_EQ(refused(image), "images[1].reports") << "reports beside problems";
    EXPECT_EQ(narvo_store_add(m_store, run, nullptr, 1), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "images");
    EXPECT_EQ(narvo_store_add(m_store, run, nullptr, -1), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "count");
    EXPECT_EQ(narvo_store_add(m_store, run, nullptr, 0), NARVO_OK);
    Taken taken;
    EXPECT_EQ(narvo_store_images(m_store, run, Taken::Take, &taken), NARVO_OK);
    EXPECT_TRUE(taken.lines.empty()) << "all of an array, or none";
    EXPECT_EQ(narvo_store_images(m_store, run, nullptr, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "take");
}

TEST_F(CStore, RefusesPlacesThatAreNone)
{
    narvo_store* store = m_store;
    EXPECT_EQ(narvo_store_open(nullptr, 0, &store), NARVO_REFUSED);
    EXPECT_EQ(store, nullptr);
    EXPECT_EQ(CFields(), "place");
    EXPECT_EQ(narvo_store_open(m_place.c_str(), 2, &store), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "writing");
    EXPECT_EQ(narvo_store_open("no_such_folder/none.sqlite", 0, &store), NARVO_REFUSED);
    EXPECT_GE(narvo_problem_count(), 1);
    EXPECT_EQ(narvo_store_open(m_place.c_str(), 0, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "store");
    std::int64_t count = 0;
    EXPECT_EQ(narvo_store_runs(m_store, 8, nullptr, 0, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "record_size");
    EXPECT_EQ(narvo_store_runs(nullptr, sizeof(narvo_stored_run), nullptr, 0, &count), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "store");
    EXPECT_EQ(narvo_store_free(nullptr), NARVO_OK);
    EXPECT_EQ(narvo_store_free(reinterpret_cast<narvo_store*>(m_recipe)), NARVO_REFUSED);
}

} // namespace narvo::test
