// SPDX-License-Identifier: MIT
// Defects in the files of other programs, by the C interface.
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "library/c_test_help.h"
#include "library/host_pictures.h"
#include "support/test_folder.h"
#include <narvo/narvo_c.h>
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

using testing::HasSubstr;
using testing::StartsWith;

std::string Contents(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class CExchange : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(narvo_exchange_create(&m_exchange), NARVO_OK) << CFields(); }
    void TearDown() override { EXPECT_EQ(narvo_exchange_free(m_exchange), NARVO_OK); }

    /// The images of TwoImages in C++.
    void AddTwoImages()
    {
        const narvo_listed_defect defects[2] = {{sizeof(narvo_listed_defect), 10, 20, 14, 26, 0, 17.0, "dark"},
                                                {sizeof(narvo_listed_defect), 99, 79, 100, 80, 0, 1.0, "bright"}};
        ASSERT_EQ(narvo_exchange_add_defects(m_exchange, "a.png", 100, 80, defects, 2), NARVO_OK) << CFields();
        ASSERT_EQ(narvo_exchange_add_defects(m_exchange, "b.png", 100, 80, nullptr, 0), NARVO_OK) << CFields();
    }
    static std::vector<DefectList> TwoImages()
    {
        return {{"a.png", 100, 80, {{{10, 20, 14, 26}, 17, "dark"}, {{99, 79, 100, 80}, 1, "bright"}}},
                {"b.png", 100, 80, {}}};
    }
    std::string Named(const char* name) const { return (m_folder / name).string(); }
    static nlohmann::json JsonOf(const narvo_exchange* exchange)
    {
        std::int64_t length = 0;
        EXPECT_EQ(narvo_exchange_json(exchange, nullptr, 0, &length), NARVO_OK) << CFields();
        std::string text(static_cast<std::size_t>(length) + 1, 'x');
        EXPECT_EQ(narvo_exchange_json(exchange, text.data(), length + 1, &length), NARVO_OK);
        EXPECT_EQ(text.back(), '\0');
        text.pop_back();
        return nlohmann::json::parse(text);
    }

    const TestFolder m_folder;
    narvo_exchange* m_exchange = nullptr;
};

} // namespace

TEST_F(CExchange, EachFormIsWrittenAsByTheCppInterface)
{
    AddTwoImages();
    const std::pair<const char*, ExchangeForm> forms[] = {
        {"klarf-1.2", ExchangeForm::Klarf12}, {"klarf-1.8", ExchangeForm::Klarf18}, {"coco", ExchangeForm::Coco},
        {"voc", ExchangeForm::Voc},           {"yolo", ExchangeForm::Yolo},         {"csv", ExchangeForm::Table}};
    for (const auto& [name, form] : forms)
    {
        const std::string output = Named(name);
        ASSERT_EQ(narvo_exchange_save(m_exchange, name, output.c_str(), nullptr), NARVO_OK) << CFields();
        const ExchangeFiles expected = MakeExchangeFiles(output, TwoImages(), form);
        for (const ExchangeFile& file : expected.files)
            EXPECT_EQ(Contents(file.name.string()), file.text) << file.name;
    }
    EXPECT_THAT(Contents(Named("csv")), HasSubstr("a.png,100,80,dark,10,20,14,26,17"));
}

TEST_F(CExchange, KlarfComesBackWithItsHead)
{
    AddTwoImages();
    narvo_klarf_head head = {};
    head.size = sizeof(head);
    head.slot = 25;
    head.station = "make";
    head.model = "type";
    head.station_id = "7";
    head.lot = "lot 9";
    head.device = "product";
    head.setup = "recipe";
    head.step = "etch";
    head.wafer = "w4";
    head.time = "2026-03-04 05:06:07";
    head.pixel_size = 2.5;
    const std::string file = Named("lot.klarf");
    ASSERT_EQ(narvo_exchange_save(m_exchange, "klarf-1.8", file.c_str(), &head), NARVO_OK) << CFields();
    EXPECT_THAT(Contents(file), StartsWith("Record FileRecord \"1.8\"\n"));
    narvo_exchange* read = nullptr;
    ASSERT_EQ(narvo_exchange_read_klarf(file.c_str(), 2.5, &read), NARVO_OK) << CFields();
    const nlohmann::json json = JsonOf(read);
    EXPECT_EQ(json["klarf"], nlohmann::json::parse(R"({"version": "1.8", "slot": 25, "station": "make",
        "model": "type", "station_id": "7", "lot": "lot 9", "device": "product", "setup": "recipe", "step": "etch",
        "wafer": "w4", "time": "2026-03-04 05:06:07", "pixel_size": 2.5})"));
    EXPECT_EQ(narvo_exchange_free(read), NARVO_OK);
    ASSERT_EQ(narvo_exchange_read(file.c_str(), 2.5, &read), NARVO_OK) << CFields();
    nlohmann::json expected = JsonOf(m_exchange)["images"];
    EXPECT_EQ(expected[0], nlohmann::json::parse(R"({"image": "a.png", "width": 100, "height": 80, "defects": [
        {"left": 10, "top": 20, "right": 14, "bottom": 26, "area": 17.0, "kind": "dark"},
        {"left": 99, "top": 79, "right": 100, "bottom": 80, "area": 1.0, "kind": "bright"}]})"));
    EXPECT_EQ(expected[1]["defects"].size(), 0U);
    nlohmann::json images = JsonOf(read)["images"];
    ASSERT_EQ(images.size(), 2U);
    EXPECT_EQ(images[0]["image"], "die_0_0");
    EXPECT_EQ(images[0]["defects"], expected[0]["defects"]);
    EXPECT_FALSE(JsonOf(read).contains("klarf"));
    EXPECT_EQ(narvo_exchange_free(read), NARVO_OK);
}

TEST_F(CExchange, TakesTheDefectsOfReports)
{
    narvo_recipe* recipe = nullptr;
    narvo_inspector* inspector = nullptr;
    narvo_reports* reports = nullptr;
    Picture8 picture = PeriodicPicture(512, 288, 32, 24);
    picture.Fill({200, 120, 206, 126}, 230);
    const narvo_image image = ImageOf(picture);
    ASSERT_EQ(narvo_recipe_from_text(
                  R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24}, "threshold": {"base": 25}})", nullptr,
                  &recipe),
              NARVO_OK);
    ASSERT_EQ(narvo_inspector_create(1, &inspector), NARVO_OK);
    ASSERT_EQ(narvo_inspect(inspector, recipe, &image, &reports), NARVO_OK) << CFields();
    ASSERT_EQ(narvo_exchange_add_reports(m_exchange, "\xff.png", reports), NARVO_OK) << CFields();
    narvo_defect defect = {};
    std::int64_t count = 0;
    ASSERT_EQ(narvo_reports_defects(reports, 0, sizeof(defect), &defect, 1, &count), NARVO_OK);
    ASSERT_EQ(count, 1);
    const nlohmann::json json = JsonOf(m_exchange);
    ASSERT_EQ(json["images"].size(), 1U);
    EXPECT_EQ(json["images"][0]["image"], "%FF.png");
    EXPECT_EQ(json["images"][0]["width"], 512);
    EXPECT_EQ(json["images"][0]["height"], 288);
    ASSERT_EQ(json["images"][0]["defects"].size(), 1U);
    EXPECT_EQ(json["images"][0]["defects"][0]["left"], defect.left);
    EXPECT_EQ(json["images"][0]["defects"][0]["bottom"], defect.bottom);
    EXPECT_EQ(json["images"][0]["defects"][0]["area"], defect.area);
    EXPECT_EQ(json["images"][0]["defects"][0]["kind"], "bright");
    EXPECT_EQ(narvo_exchange_add_reports(m_exchange, nullptr, reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image");
    EXPECT_EQ(narvo_exchange_add_reports(m_exchange, "a", nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "reports");
    EXPECT_EQ(narvo_exchange_add_reports(nullptr, "a", reports), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "exchange");
    EXPECT_EQ(narvo_reports_free(reports), NARVO_OK);
    EXPECT_EQ(narvo_inspector_free(inspector), NARVO_OK);
    EXPECT_EQ(narvo_recipe_free(recipe), NARVO_OK);
}

TEST_F(CExchange, BadInputIsRefusedByField)
{
    narvo_listed_defect defects[2] = {{sizeof(narvo_listed_defect), 10, 20, 14, 26, 0, 17.0, "dark"}, {}};
    const auto adding = [&](const narvo_listed_defect* places, std::int64_t count)
    {
        EXPECT_EQ(narvo_exchange_add_defects(m_exchange, "a", 9, 9, places, count), NARVO_REFUSED);
        return CFields();
    };
    EXPECT_EQ(adding(defects, 2), "defects[1].size");
    defects[1].size = sizeof(narvo_listed_defect);
    EXPECT_EQ(adding(defects, 2), "defects[1].kind");
    EXPECT_EQ(adding(nullptr, 1), "defects");
    EXPECT_EQ(adding(defects, -1), "count");
    EXPECT_EQ(adding(defects, 1000001), "count");
    EXPECT_EQ(narvo_exchange_add_defects(m_exchange, nullptr, 9, 9, defects, 1), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "image");
    EXPECT_EQ(narvo_exchange_add_defects(nullptr, "a", 9, 9, defects, 1), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "exchange");
    EXPECT_EQ(JsonOf(m_exchange)["images"].size(), 0U) << "what is refused is not there";

    const std::string file = Named("out");
    narvo_klarf_head head = {};
    const auto saving = [&](const char* form, const char* output)
    {
        EXPECT_EQ(narvo_exchange_save(m_exchange, form, output, &head), NARVO_REFUSED);
        return CFields();
    };
    EXPECT_EQ(saving("klarf-1.2", file.c_str()), "head.size");
    head.size = sizeof(head);
    head.slot = 1001;
    head.pixel_size = -1.0;
    head.lot = "a \" quote";
    AddTwoImages();
    const std::string fields = saving("klarf-1.2", file.c_str());
    for (const char* field : {"slot", "pixel_size", "lot"})
        EXPECT_THAT(fields, HasSubstr(field));
    head = {};
    head.size = sizeof(head);
    EXPECT_EQ(saving("gif", file.c_str()), "form");
    EXPECT_EQ(saving(nullptr, file.c_str()), "form");
    EXPECT_EQ(saving("csv", nullptr), "output");
    EXPECT_EQ(saving("csv", ""), "output");
    EXPECT_THAT(saving("csv", "no such folder/a.csv"), HasSubstr("no such folder/a.csv"));
    EXPECT_EQ(narvo_exchange_save(nullptr, "csv", file.c_str(), nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "exchange");
    defects[0].right = 10;
    ASSERT_EQ(narvo_exchange_add_defects(m_exchange, "c.png", 9, 9, defects, 1), NARVO_OK);
    EXPECT_EQ(saving("csv", file.c_str()), "images[2].defects[0].box");

    narvo_exchange* made = m_exchange;
    EXPECT_EQ(narvo_exchange_read(nullptr, 1.0, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "file");
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(narvo_exchange_read("no such file", 0.0, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "pixel_size");
    EXPECT_EQ(narvo_exchange_read("no such file", 1.0, &made), NARVO_REFUSED);
    EXPECT_GE(narvo_problem_count(), 1);
    EXPECT_EQ(narvo_exchange_read_klarf(nullptr, 1.0, &made), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "file");
    EXPECT_EQ(narvo_exchange_read_klarf("no such file", 1.0, &made), NARVO_REFUSED);
    EXPECT_GE(narvo_problem_count(), 1);
    EXPECT_EQ(narvo_exchange_create(nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "exchange");
    std::int64_t length = 0;
    EXPECT_EQ(narvo_exchange_json(nullptr, nullptr, 0, &length), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "exchange");
    EXPECT_EQ(narvo_exchange_json(m_exchange, nullptr, 0, nullptr), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "length");
    EXPECT_EQ(narvo_exchange_json(m_exchange, nullptr, -1, &length), NARVO_REFUSED);
    EXPECT_EQ(CFields(), "capacity");
    EXPECT_EQ(narvo_exchange_free(reinterpret_cast<narvo_exchange*>(&length)), NARVO_REFUSED);
    EXPECT_EQ(narvo_exchange_free(nullptr), NARVO_OK);
}

} // namespace narvo::test
