// SPDX-License-Identifier: MIT
// Defects for other programs, by the installed headers.
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "library/host_pictures.h"
#include "library/problem_fields.h"
#include "support/test_folder.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

std::vector<DefectList> TwoImages()
{
    return {{"a.png", 100, 80, {{{10, 20, 14, 26}, 17, "dark"}, {{99, 79, 100, 80}, 1, "bright"}}},
            {"b.png", 100, 80, {}}};
}

/// The text of a form that is one file.
std::string TextOf(ExchangeForm form, const KlarfHead& head = {})
{
    const ExchangeFiles made = MakeExchangeFiles("out", TwoImages(), form, head);
    EXPECT_THAT(made.files, SizeIs(1));
    EXPECT_TRUE(made.folder.empty());
    return made.files.at(0).text;
}

std::string Contents(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

void ExpectEqual(const std::vector<DefectList>& read, const std::vector<DefectList>& written)
{
    ASSERT_EQ(read.size(), written.size());
    for (std::size_t i = 0; i < read.size(); ++i)
    {
        EXPECT_EQ(read[i].width, written[i].width);
        EXPECT_EQ(read[i].height, written[i].height);
        ASSERT_EQ(read[i].defects.size(), written[i].defects.size());
        for (std::size_t k = 0; k < read[i].defects.size(); ++k)
        {
            const ListedDefect& one = read[i].defects[k];
            const ListedDefect& other = written[i].defects[k];
            EXPECT_EQ(one.box.left, other.box.left);
            EXPECT_EQ(one.box.top, other.box.top);
            EXPECT_EQ(one.box.right, other.box.right);
            EXPECT_EQ(one.box.bottom, other.box.bottom);
            EXPECT_NEAR(one.area, other.area, 0.01);
            EXPECT_EQ(one.kind, other.kind);
        }
    }
}

} // namespace

TEST(HostExchange, EachFormHoldsTheDefects)
{
    EXPECT_EQ(TextOf(ExchangeForm::Table), "image,width,height,kind,left,top,right,bottom,area\n"
                                           "a.png,100,80,dark,10,20,14,26,17\na.png,100,80,bright,99,79,100,80,1\n");
    EXPECT_THAT(TextOf(ExchangeForm::Coco), HasSubstr("\"file_name\": \"b.png\""));
    EXPECT_THAT(TextOf(ExchangeForm::Klarf12), StartsWith("FileVersion 1 2;\n"));
    EXPECT_THAT(TextOf(ExchangeForm::Klarf18), StartsWith("Record FileRecord \"1.8\"\n"));
    const ExchangeFiles voc = MakeExchangeFiles("labels", TwoImages(), ExchangeForm::Voc);
    EXPECT_EQ(voc.folder, "labels");
    ASSERT_THAT(voc.files, SizeIs(2));
    EXPECT_EQ(voc.files[1].name, std::filesystem::path("labels/b.xml"));
    EXPECT_THAT(voc.files[0].text, HasSubstr("<xmin>11</xmin>"));
    const ExchangeFiles yolo = MakeExchangeFiles("labels", TwoImages(), ExchangeForm::Yolo);
    ASSERT_THAT(yolo.files, SizeIs(3));
    EXPECT_EQ(yolo.files[0].text, "1 0.12 0.2875 0.04 0.075\n0 0.995 0.99375 0.01 0.0125\n");
    EXPECT_EQ(yolo.files[1].text, "");
    EXPECT_EQ(yolo.files[2].name, std::filesystem::path("labels/classes.txt"));
    EXPECT_EQ(yolo.files[2].text, "bright\ndark\n");
    EXPECT_THAT(KindsOf(TwoImages()), ElementsAre("bright", "dark"));
}

TEST(HostExchange, KlarfComesBackWithItsHead)
{
    const TestFolder folder;
    KlarfHead head{"make", "model", "7", "lot 9", "product", "recipe", "etch", "w4", 25, "2026-03-04 05:06:07", 2.5};
    for (const ExchangeForm form : {ExchangeForm::Klarf12, ExchangeForm::Klarf18})
    {
        const std::filesystem::path file = folder / "lot.klarf";
        SaveExchangeFiles(MakeExchangeFiles(file, TwoImages(), form, head));
        const KlarfContent content = ReadKlarf(file, 2.5);
        EXPECT_EQ(content.form, form);
        EXPECT_EQ(content.head.station, "make");
        EXPECT_EQ(content.head.model, "model");
        EXPECT_EQ(content.head.stationId, "7");
        EXPECT_EQ(content.head.lot, "lot 9");
        EXPECT_EQ(content.head.device, "product");
        EXPECT_EQ(content.head.setup, "recipe");
        EXPECT_EQ(content.head.step, "etch");
        EXPECT_EQ(content.head.wafer, "w4");
        EXPECT_EQ(content.head.slot, 25);
        EXPECT_EQ(content.head.time, "2026-03-04 05:06:07");
        EXPECT_EQ(content.head.pixelSize, 2.5);
        EXPECT_EQ(content.images.at(1).image, "die_1_0");
        ExpectEqual(content.images, TwoImages());
        ExpectEqual(ReadDefects(file, 2.5), TwoImages());
    }
}

TEST(HostExchange, ReportsBecomeLists)
{
    const TestFolder folder;
    const Recipe recipe =
        RecipeDraft().Set("mode", "pixel").Set("pitch.x", 32).Set("pitch.y", 24).Set("threshold.base", 40).Check();
    Picture8 picture = PeriodicPicture(320, 240, 32, 24);
    picture.Fill({100, 60, 106, 66}, 250);
    Inspector inspector;
    const std::vector<FullReport> reports = inspector.InspectFully(picture.Pixels(), recipe);
    const DefectList list = DefectsOf("panel.png", {reports.at(0), reports.at(0)});
    EXPECT_EQ(list.image, "panel.png");
    EXPECT_EQ(list.width, 320);
    EXPECT_EQ(list.height, 240);
    const std::vector<Defect>& defects = reports[0].report.defects;
    ASSERT_THAT(list.defects, SizeIs(2 * defects.size()));
    ASSERT_FALSE(defects.empty());
    EXPECT_EQ(list.defects[0].box.left, defects[0].box.left);
    EXPECT_EQ(list.defects[0].area, defects[0].area);
    EXPECT_EQ(list.defects[0].kind, "bright");

    // The same from the file of a result, whose image is not there.
    std::ofstream(folder / "panel.json") << ReportText(reports[0]);
    const std::vector<DefectList> read = ReadDefects(folder / "panel.json");
    ASSERT_THAT(read, SizeIs(1));
    EXPECT_EQ(read[0].width, 0);
    EXPECT_THAT(read[0].defects, SizeIs(defects.size()));
    EXPECT_EQ(read[0].defects[0].box.bottom, defects[0].box.bottom);

    std::vector<FullReport> other = {reports[0], reports[0]};
    other[1].width = 300;
    EXPECT_THAT(FieldsOf(Attempt([&] { DefectsOf("a", other); })), ElementsAre("reports[1]"));
    EXPECT_THAT(DefectsOf("a", {}).defects, IsEmpty());
}

TEST(HostExchange, WhatIsWrongIsNamed)
{
    const auto fieldsOf =
        [](const std::vector<DefectList>& images, ExchangeForm form = ExchangeForm::Coco, const KlarfHead& head = {})
    { return FieldsOf(Attempt([&] { MakeExchangeFiles("out", images, form, head); })); };
    const auto withDefect = [&](const ListedDefect& defect) {
        return fieldsOf({{"good.png", 9, 9, {{{1, 1, 2, 2}, 1, "dark"}}}, {"a.png", 9, 9, {defect}}});
    };
    const std::string place = "images[1].defects[0]";
    EXPECT_THAT(withDefect({{1, 1, 2, 2}, 1, "dark"}), IsEmpty());
    EXPECT_THAT(withDefect({{2, 1, 2, 2}, 1, "dark"}), ElementsAre(place + ".box"));
    EXPECT_THAT(withDefect({{1, 3, 2, 2}, 1, "dark"}), ElementsAre(place + ".box"));
    EXPECT_THAT(withDefect({{1, 1, 1000000001, 2}, 1, "dark"}), ElementsAre(place + ".box"));
    EXPECT_THAT(withDefect({{-1000000001, 1, 2, 2}, 1, "dark"}), ElementsAre(place + ".box"));
    EXPECT_THAT(withDefect({{1, 1, 2, 2}, -1, "dark"}), ElementsAre(place + ".area"));
    EXPECT_THAT(withDefect({{1, 1, 2, 2}, std::numeric_limits<double>::quiet_NaN(), "dark"}),
                ElementsAre(place + ".area"));
    EXPECT_THAT(withDefect({{1, 1, 2, 2}, std::numeric_limits<double>::infinity(), "dark"}),
                ElementsAre(place + ".area"));
    EXPECT_THAT(withDefect({{1, 1, 2, 2}, 1, "\xe4"}), ElementsAre(place + ".kind"));
    EXPECT_THAT(withDefect({{2, 2, 1, 1}, -1, "\xe4"}), ElementsAre(place + ".box", place + ".area", place + ".kind"));
    EXPECT_THAT(fieldsOf({{"", -1, 1000000001, {}}}),
                ElementsAre("images[0].image", "images[0].width", "images[0].height"));
    EXPECT_THAT(fieldsOf({{std::string("a\0b", 3), 1, 1, {}}}), ElementsAre("images[0].image"));
    EXPECT_THAT(fieldsOf({{"folder/", 1, 1, {}}}, ExchangeForm::Voc), ElementsAre("images[0].image"));
    EXPECT_THAT(fieldsOf({{"a.png", 0, 9, {}}}, ExchangeForm::Yolo), ElementsAre("size of a.png"));
    EXPECT_THAT(fieldsOf({{"a.png", 9, 9, {{{1, 1, 2, 2}, 1, "a\nb"}}}}, ExchangeForm::Yolo), ElementsAre("kind"));
    EXPECT_THAT(fieldsOf({}, static_cast<ExchangeForm>(9)), ElementsAre("form"));
    EXPECT_THAT(FieldsOf(Attempt([] { MakeExchangeFiles("", {}, ExchangeForm::Coco); })), ElementsAre("output"));
    KlarfHead head;
    head.stationId = "\xff";
    head.lot = "a\"b";
    head.slot = 1001;
    head.time = "today";
    head.pixelSize = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(fieldsOf(TwoImages(), ExchangeForm::Klarf12, head),
                ElementsAre("station_id", "lot", "slot", "time", "pixel_size"));
    EXPECT_THAT(fieldsOf(TwoImages(), ExchangeForm::Coco, head), IsEmpty());
    head = {};
    head.pixelSize = 1000.0;
    EXPECT_THAT(fieldsOf({{"wide", 3000, 1, {}}}, ExchangeForm::Klarf18, head), ElementsAre("pixel_size"));
}

TEST(HostExchange, NothingIsLostWhereFilesCannotBeWritten)
{
    const TestFolder folder;
    std::vector<DefectList> images = TwoImages();
    images.push_back({"other/a.bmp", 5, 5, {}});
    const ExchangeFiles twice = MakeExchangeFiles(folder / "labels", images, ExchangeForm::Voc);
    EXPECT_THAT(FieldsOf(Attempt([&] { SaveExchangeFiles(twice); })), ElementsAre((folder / "labels/a.xml").string()));
    images.back().image = "classes.png";
    const ExchangeFiles classes = MakeExchangeFiles(folder / "labels", images, ExchangeForm::Yolo);
    EXPECT_THAT(FieldsOf(Attempt([&] { SaveExchangeFiles(classes); })), SizeIs(1));
    EXPECT_FALSE(std::filesystem::exists(folder / "labels"));
    EXPECT_THAT(Attempt([&] { SaveExchangeFiles({{}, {{folder / "none" / "a.csv", "text"}}}); }), SizeIs(1));
    std::ofstream(folder / "file") << "in the way";
    EXPECT_THAT(Attempt(
                    [&] {
                        SaveExchangeFiles({folder / "file", {{folder / "file" / "a.xml", "text"}}});
                    }),
                SizeIs(1));
    EXPECT_EQ(Contents(folder / "file"), "in the way");
    // What is wrong with a call is told apart from what cannot be written.
    const ExchangeFiles nowhere{{}, {{folder / "none" / "a.csv", "text"}}};
    EXPECT_THROW(SaveExchangeFiles(nowhere), WriteError);
    EXPECT_THROW(SaveExchangeFiles({folder / "file", {}}), WriteError);
    try
    {
        SaveExchangeFiles(twice);
        FAIL();
    }
    catch (const WriteError&)
    {
        FAIL() << "two files of one name are the call's fault";
    }
    catch (const Error& error)
    {
        EXPECT_THAT(error.Problems(), SizeIs(1));
    }
    const Picture8 picture(8, 8);
    EXPECT_THROW(SaveImage(folder / "none" / "a.png", {picture.pixels.data(), 8, 8}), WriteError);
    const Recipe recipe = RecipeDraft().Set("mode", "average").Set("average.bright", 9).Set("average.dark", 9).Check();
    EXPECT_THROW(recipe.Save(folder / "none" / "a.json"), WriteError);
}

TEST(HostExchange, FilesThatAreNoneAreRefusedByLine)
{
    const TestFolder folder;
    const auto fieldOf = [&](const char* name, const std::string& text, double pixelSize = 1.0)
    {
        std::ofstream(folder / name) << text;
        const std::vector<Problem> problems = Attempt([&] { ReadDefects(folder / name, pixelSize); });
        return problems.empty() ? std::string("read") : problems.front().field;
    };
    EXPECT_THAT(
        fieldOf("a.klarf", "FileVersion 1 2;\nDiePitch 1 x;\nDefectRecordSpec 1 XREL;\nDefectList;\nEndOfFile;"),
        HasSubstr("a.klarf, line 2"));
    EXPECT_THAT(fieldOf("a.json", "{\"blobs\": 3}"), HasSubstr("a.json"));
    EXPECT_THAT(fieldOf("a.jsonl", "{}"), HasSubstr("a.jsonl"));
    EXPECT_EQ(fieldOf("a.klarf", "", 0.0), "pixel_size");
    EXPECT_EQ(fieldOf("a.json", "", 1001.0), "pixel_size");
    EXPECT_THAT(Attempt([&] { ReadDefects(folder / "none.klarf"); }), SizeIs(1));
    EXPECT_THAT(FieldsOf(Attempt([&] { ReadKlarf(folder / "a.json"); })), ElementsAre((folder / "a.json").string()));
    EXPECT_THAT(FieldsOf(Attempt([&] { ReadKlarf(folder / "a.json", -1.0); })), ElementsAre("pixel_size"));
}

} // namespace narvo::test
