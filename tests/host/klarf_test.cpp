// SPDX-License-Identifier: MIT
// KLARF files word by word, there and back, as others write them, and broken.
#include "host/exchange/klarf.h"

#include <fstream>
#include <random>

#include "host/host_test_help.h"
#include "support/seeds.h"

namespace narvo::test
{

namespace
{

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<DefectList> TwoDies()
{
    return {{"a.png", 100, 80, {{{10, 20, 14, 26}, 17, "dark"}, {{99, 79, 100, 80}, 1, "bright"}}},
            {"b.png", 100, 80, {}}};
}

KlarfHead HeadOfTest()
{
    KlarfHead head;
    head.lot = "L 7";
    head.pixelSize = 2.5;
    head.time = "2026-03-04 05:06:07";
    return head;
}

KlarfContent ReadBack(const TestFolder& folder, const std::string& text, double pixelSize)
{
    std::ofstream(folder / "file.klarf") << text;
    return ReadKlarf(folder / "file.klarf", pixelSize);
}

std::string ProblemOf(const TestFolder& folder, const std::string& text)
{
    try
    {
        ReadBack(folder, text, 1.0);
    }
    catch (const HostError& error)
    {
        return error.what();
    }
    return "read";
}

void ExpectSameDefects(const std::vector<DefectList>& read, const std::vector<DefectList>& written)
{
    ASSERT_EQ(read.size(), written.size());
    for (std::size_t i = 0; i < read.size(); ++i)
    {
        ASSERT_EQ(read[i].defects.size(), written[i].defects.size());
        for (std::size_t k = 0; k < read[i].defects.size(); ++k)
        {
            const ListedDefect& defect = read[i].defects[k];
            EXPECT_EQ(defect.box, written[i].defects[k].box);
            EXPECT_EQ(defect.kind, written[i].defects[k].kind);
            EXPECT_NEAR(defect.area, written[i].defects[k].area, 1e-3 * (1.0 + defect.area));
        }
    }
}

} // namespace

TEST(Klarf, CountsMicrometresUpwardsInVersion12)
{
    const std::string text = KlarfText(TwoDies(), HeadOfTest(), Klarf_1_2);
    EXPECT_THAT(text, testing::StartsWith("FileVersion 1 2;\nFileTimestamp 03-04-26 05:06:07;\n"));
    EXPECT_THAT(text, HasSubstr("\nLotID \"L 7\";\n"));
    EXPECT_THAT(text, HasSubstr("\nDiePitch 2.5000000000e+02 2.0000000000e+02;\n"));
    EXPECT_THAT(text, HasSubstr("\nClassLookup 3\n 0 \"unclassified\"\n 1 \"bright\"\n 2 \"dark\";\n"));
    EXPECT_THAT(text, HasSubstr("\nSampleTestPlan 2\n 0 0\n 1 0;\n"));
    // The centre at 12, 23 from the top left corner is 30 micrometres right and (80 - 23) * 2.5 up.
    EXPECT_THAT(text, HasSubstr("\nDefectList\n 1 30.0000 142.5000 0 0 10.0000 15.0000 106.2500 15.0000 2 1\n"
                                " 2 248.7500 1.2500 0 0 2.5000 2.5000 6.2500 2.5000 1 1;\n"));
    EXPECT_THAT(text, testing::EndsWith(" 1 2 2.0000000000e+03 2 1;\nEndOfFile;\n"));
}

TEST(Klarf, CountsNanometresUpwardsInVersion18)
{
    const std::string text = KlarfText(TwoDies(), HeadOfTest(), Klarf_1_8);
    EXPECT_THAT(text, testing::StartsWith("Record FileRecord \"1.8\"\n{\n  Field FileTimestamp 2 {\"03-04-2026\", "
                                          "\"05:06:07\"}\n  Record LotRecord \"L 7\"\n"));
    EXPECT_THAT(text, HasSubstr("Field DiePitch 2 {250000, 200000}\n"));
    EXPECT_THAT(text, HasSubstr("          1 30000 142500 0 0 10000 15000 106250000.0 15000 2 1 ;\n"));
    EXPECT_THAT(text, testing::EndsWith("\n}\nEndOfFile;\n"));
}

TEST(Klarf, ComesBackAsItWasWritten)
{
    const TestFolder folder;
    for (const KlarfVersion version : {Klarf_1_2, Klarf_1_8})
    {
        const KlarfContent content = ReadBack(folder, KlarfText(TwoDies(), HeadOfTest(), version), 2.5);
        EXPECT_EQ(content.version, version);
        EXPECT_EQ(content.head.lot, "L 7");
        EXPECT_EQ(content.head.time, "2026-03-04 05:06:07");
        EXPECT_EQ(content.head.slot, 1);
        EXPECT_EQ(content.images[0].image, "die_0_0");
        EXPECT_EQ(content.images[0].width, 100);
        EXPECT_EQ(content.images[0].height, 80);
        ExpectSameDefects(content.images, TwoDies());
    }
}

TEST(Klarf, RandomDefectsComeBack)
{
    const TestFolder folder;
    for (const std::uint64_t seed : CaseSeeds("klarf files", 40))
    {
        SCOPED_TRACE(ReplayHint(seed));
        std::mt19937_64 random(seed);
        const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
        std::vector<DefectList> images(static_cast<std::size_t>(1 + below(4)));
        for (DefectList& image : images)
        {
            image = {"image", 1000, 700, {}};
            for (int left = below(20); left > 0; --left)
            {
                ListedDefect defect;
                defect.box.left = below(990);
                defect.box.top = below(690);
                defect.box.right = defect.box.left + 1 + below(10);
                defect.box.bottom = defect.box.top + 1 + below(10);
                defect.area = 1 + below(100);
                defect.kind = "kind " + std::to_string(below(5));
                image.defects.push_back(defect);
            }
        }
        KlarfHead head;
        head.pixelSize = 0.01 * (1 + below(50000));
        for (const KlarfVersion version : {Klarf_1_2, Klarf_1_8})
            ExpectSameDefects(ReadBack(folder, KlarfText(images, head, version), head.pixelSize).images, images);
    }
}

TEST(Klarf, ReadsColumnsInAnyOrderAndPassesOverWhatItDoesNotKnow)
{
    const TestFolder folder;
    const KlarfContent flat =
        ReadBack(folder,
                 "FileVersion 1 1;\nTiffSpec 6.0 G R;\nDiePitch 1.0e+002 5.0e+001;\n"
                 "DefectRecordSpec 8 YREL XREL YINDEX XINDEX DSIZE DEFECTID IMAGECOUNT IMAGELIST ;\n"
                 "DefectList\n 10 20 -1 3 4 1 2 1 0 2 0\n 10 30 -1 3 4 2 0;\nEndOfFile;\n",
                 1.0);
    ASSERT_EQ(flat.images.size(), 1U);
    EXPECT_EQ(flat.images[0].image, "die_3_-1");
    ASSERT_EQ(flat.images[0].defects.size(), 2U);
    EXPECT_EQ(flat.images[0].defects[0].box, CRect(18, 38, 22, 42));
    EXPECT_EQ(flat.images[0].defects[1].box, CRect(28, 38, 32, 42));

    const KlarfContent nested =
        ReadBack(folder,
                 "Record FileRecord \"1.8\"\n{ Record LotRecord \"A\" { Record WaferRecord \"W\" {\n"
                 "List DefectList { Columns 6 { int32 DEFECTID, int32 XREL, int32 YREL, int32 XINDEX, int32 YINDEX, "
                 "ImageList IMAGEINFO } Data 2 { 1 5000 7000 0 0 Images 2 { \"a.jpg\" \"JPG\" 1 \"24\" \"b.jpg\" "
                 "\"JPG\" 1 \"24\" } ; 2 6000\n 7000 0 0 N ; } } Field Odd 0 {} }\n"
                 "Field DiePitch 2 {10000, 10000} } }\nEndOfFile;\n",
                 1.0);
    ASSERT_EQ(nested.images.size(), 1U);
    EXPECT_EQ(nested.head.wafer, "W");
    ASSERT_EQ(nested.images[0].defects.size(), 2U);
    EXPECT_EQ(nested.images[0].defects[0].box, CRect(5, 3, 6, 4)); // without a size: the pixel at the place
}

TEST(Klarf, NamesInOtherEncodingsBecomeUtf8)
{
    const TestFolder folder;
    const KlarfContent content = ReadBack(
        folder,
        "FileVersion 1 2;\nLotID \"L\xe4\";\nDiePitch 100 50;\nClassLookup 3\n 1 \"Kr\xe4tzer\"\n 2 \"50%AF\"\n 3 "
        "\"Kr\xc3\xa4tzer\";\nDefectRecordSpec 5 XREL YREL XINDEX YINDEX CLASSNUMBER;\nDefectList\n 1 1 0 0 1\n 2 2 0 "
        "0 2\n 3 3 0 0 3;\nEndOfFile;\n",
        1.0);
    EXPECT_EQ(content.head.lot, "L%E4");
    ASSERT_EQ(content.images.size(), 1U);
    EXPECT_THAT(KindsOf(content.images), ElementsAre("50%AF", "Kr%E4tzer", "Kr\xc3\xa4tzer"));
}

TEST(Klarf, SaysInWhichLineAFileIsBroken)
{
    const TestFolder folder;
    EXPECT_THAT(ProblemOf(folder, "P5 1 1 255"), HasSubstr("no KLARF file"));
    EXPECT_THAT(ProblemOf(folder, "FileVersion 1 2;\nLotID \"open\nWaferID"), HasSubstr("line 2"));
    EXPECT_THAT(ProblemOf(folder, "FileVersion 1 2;\nDefectList\n 1 2;\nEndOfFile;"),
                HasSubstr("DefectRecordSpec before the first defect"));
    EXPECT_THAT(ProblemOf(folder, "FileVersion 1 2;\nDefectRecordSpec 3 DEFECTID XREL YREL;\nDefectList\n 1 2;\n"),
                HasSubstr("a value for each column"));
    EXPECT_THAT(ProblemOf(folder, "FileVersion 1 2;\nDiePitch 1 1;\n"), HasSubstr("the end of the file"));
    EXPECT_THAT(ProblemOf(folder, "FileVersion 1 2;\nEndOfFile;\n"), HasSubstr("no DiePitch"));
    EXPECT_THAT(ProblemOf(folder, "FileVersion 1 2;\nDiePitch 1 nan;\nDefectRecordSpec 1 XREL;DefectList;EndOfFile;"),
                HasSubstr("nan"));
    EXPECT_THAT(ProblemOf(folder, "Record FileRecord \"1.8\" { Field A 2 {1} }"), HasSubstr("2 values, of which 1"));
    EXPECT_THAT(ProblemOf(folder, "Record FileRecord \"1.8\" { Nothing }"), HasSubstr("Record, Field, List or }"));
    EXPECT_THAT(ProblemOf(folder, "Record FileRecord \"1.8\" { List A { Columns 1 { int32 B } Data 2 { 1 ; } } }"),
                HasSubstr("a value for each column"));
    const auto withArea = [&](const std::string& pitch, const std::string& area)
    {
        return ProblemOf(folder,
                         "FileVersion 1 2;\nDiePitch " + pitch +
                             ";\nDefectRecordSpec 5 XREL YREL XINDEX YINDEX DEFECTAREA;\nDefectList\n 1 1 0 0 " + area +
                             ";\nEndOfFile;\n");
    };
    EXPECT_EQ(withArea("9 9", "3"), "read");
    EXPECT_THAT(withArea("9 -9", "3"), HasSubstr("line 2: -9; allowed: a length of 0 and more"));
    EXPECT_THAT(withArea("9 9", "-3"), HasSubstr("line 5: -3; allowed: an area of 0 to 1e18 pixels"));
    EXPECT_THAT(withArea("9 9", "1e300"), HasSubstr("an area of 0 to 1e18 pixels"));
    // A file that opens records without end neither exhausts the stack nor is taken for whole.
    std::string deep = "Record FileRecord \"1.8\" {";
    for (int i = 0; i < 100000; ++i)
        deep += "Record A {";
    EXPECT_THAT(ProblemOf(folder, deep), HasSubstr("the end of the file"));
}

TEST(Klarf, EveryCutOfAFileIsReadOrRefused)
{
    const TestFolder folder;
    for (const KlarfVersion version : {Klarf_1_2, Klarf_1_8})
    {
        const std::string text = KlarfText(TwoDies(), HeadOfTest(), version);
        const std::size_t whole = text.find("EndOfFile;") + std::string("EndOfFile;").size();
        for (std::size_t length = 0; length < whole; length += 7)
            EXPECT_NE(ProblemOf(folder, text.substr(0, length)), "read") << length;
        EXPECT_EQ(ProblemOf(folder, text.substr(0, whole)), "read");
    }
}

TEST(Klarf, RefusesWhatCannotBeWritten)
{
    KlarfHead head = HeadOfTest();
    head.lot = "a\"b";
    head.step = "a\nb";
    head.wafer = "\xff";
    head.slot = 0;
    head.time = "2026-13-01 00:00:00";
    head.pixelSize = 0.0;
    try
    {
        KlarfText(TwoDies(), head, Klarf_1_2);
        FAIL();
    }
    catch (const HostError& error)
    {
        std::vector<std::string> fields;
        for (const Problem& problem : error.Problems())
            fields.push_back(problem.field);
        EXPECT_THAT(fields, ElementsAre("lot", "step", "wafer", "slot", "time", "pixel_size"));
    }
    // 32 bits of nanometres end at 2147 mm.
    head = HeadOfTest();
    head.pixelSize = 1000.0;
    EXPECT_THROW(KlarfText({{"wide", 3000, 10, {}}}, head, Klarf_1_8), HostError);
    EXPECT_NO_THROW(KlarfText({{"wide", 3000, 10, {}}}, head, Klarf_1_2));
    const std::vector<DefectList> beside = {{"left", 9, 9, {{{-3000, 1, -2990, 2}, 1, "dark"}}}};
    EXPECT_THROW(KlarfText(beside, head, Klarf_1_8), HostError);
    EXPECT_NO_THROW(KlarfText(beside, head, Klarf_1_2));
}

} // namespace narvo::test
