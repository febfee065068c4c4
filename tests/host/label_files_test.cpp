// SPDX-License-Identifier: MIT
// Label files as the readers of evaluation sets read them, and names that need care.
#include "host/exchange/label_files.h"

#include <fstream>

#include "host/evaluate/box_files.h"
#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

DefectList OddlyNamed()
{
    return {"odd <&> \xff.png", 60, 40, {{{3, 5, 10, 6}, 7, "a & b"}, {{59, 0, 60, 40}, 40, "c"}}};
}

std::filesystem::path Saved(const TestFolder& folder, const std::string& name, const std::string& text)
{
    std::ofstream(folder / name) << text;
    return folder / name;
}

void ExpectBoxes(const std::vector<TrueBox>& boxes)
{
    const DefectList wanted = OddlyNamed();
    ASSERT_EQ(boxes.size(), wanted.defects.size());
    for (std::size_t i = 0; i < boxes.size(); ++i)
    {
        EXPECT_EQ(boxes[i].box, wanted.defects[i].box);
        EXPECT_EQ(boxes[i].kind, wanted.defects[i].kind);
    }
}

} // namespace

TEST(LabelFiles, CocoIsReadBackAsItWas)
{
    const TestFolder folder;
    const DefectList good = {"good.png", 60, 40, {}};
    const auto boxes = ReadCocoBoxes(Saved(folder, "coco.json", CocoText({good, OddlyNamed()})));
    ASSERT_TRUE(boxes);
    EXPECT_TRUE(boxes->at("good.png").empty());
    ExpectBoxes(boxes->at("odd <&> %FF.png"));
    const auto document = nlohmann::json::parse(CocoText({good, OddlyNamed()}));
    EXPECT_EQ(document["annotations"][0]["area"], 7.0);
    EXPECT_EQ(document["annotations"][1]["segmentation"][0].size(), 8U);
}

TEST(LabelFiles, VocIsReadBackAsItWas)
{
    const TestFolder folder;
    std::string image;
    ExpectBoxes(ReadVocBoxes(Saved(folder, "voc.xml", VocText(OddlyNamed())), image));
    EXPECT_EQ(image, "odd <&> %FF.png");
    EXPECT_THAT(VocText(OddlyNamed()), HasSubstr("<xmin>4</xmin>\n      <ymin>6</ymin>\n      <xmax>10</xmax>"));
}

TEST(LabelFiles, YoloIsReadBackAsItWas)
{
    const TestFolder folder;
    const std::vector<std::string> kinds = KindsOf({OddlyNamed()});
    const auto classes = ReadClassNames(Saved(folder, "classes.txt", YoloClasses(kinds)));
    EXPECT_EQ(classes, kinds);
    ExpectBoxes(ReadYoloLines(Saved(folder, "a.txt", YoloText(OddlyNamed(), kinds)), 60, 40, classes));
}

TEST(LabelFiles, YoloRefusesWhatItCannotSay)
{
    DefectList unsized = OddlyNamed();
    unsized.height = 0;
    EXPECT_THROW(YoloText(unsized, KindsOf({unsized})), HostError);
    EXPECT_THROW(YoloText(OddlyNamed(), {"c"}), HostError);
    EXPECT_THROW(YoloClasses({"two\nlines"}), HostError);
}

TEST(LabelFiles, TableHasARowForEachDefect)
{
    DefectList image = OddlyNamed();
    image.image = "=a,b.png";
    EXPECT_EQ(DefectTable({image, {"good.png", 1, 1, {}}}),
              "image,width,height,kind,left,top,right,bottom,area\n"
              "\"'=a,b.png\",60,40,a & b,3,5,10,6,7\n\"'=a,b.png\",60,40,c,59,0,60,40,40\n");
}

} // namespace narvo::test
