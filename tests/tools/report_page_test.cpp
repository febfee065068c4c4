// SPDX-License-Identifier: MIT
// The text of a report page: one self-contained file, all data in one element, and no name that becomes markup.
#include "tools/report/report_page.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/host_test_help.h"

namespace narvo::test
{

namespace
{

using testing::HasSubstr;

constexpr const char* hostile = "</script><!-- <img src=x onerror=\"alert('&')\"> --> @js@ \xff.png";

Blob MakeBlob(int number, int area)
{
    Blob blob{};
    blob.number = number;
    blob.area = area;
    blob.bright = number % 2 == 0;
    blob.box = CRect(number, 2, number + 3, 7);
    return blob;
}

tools::ReportPage MakePage(int blobs)
{
    tools::ReportPage page;
    page.title = "A panel";
    page.made = "by a test";
    tools::ReportImage& image = page.images.emplace_back();
    image.name = "panel.png";
    image.width = 400;
    image.height = 300;
    image.result.code = 1;
    image.result.region = CRect(0, 0, 400, 300);
    for (int i = 0; i < blobs; ++i)
        image.result.blobs.push_back(MakeBlob(i + 1, 10 * i + 1));
    return page;
}

/// What the page's script will read.
nlohmann::json DataOf(const std::string& text)
{
    const std::string opening = "<script type=\"application/json\" id=\"data\">";
    const std::size_t start = text.find(opening);
    EXPECT_NE(start, std::string::npos);
    const std::size_t from = start + opening.size();
    return nlohmann::json::parse(text.substr(from, text.find("</script>", from) - from));
}

std::size_t CountOf(const std::string& text, const std::string& part)
{
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

TEST(ReportPage, HoldsEveryDefectWithItsFields)
{
    const nlohmann::json data = DataOf(tools::BuildReportPage(MakePage(3)));
    EXPECT_EQ(data["total"], 3);
    ASSERT_EQ(data["blobs"].size(), 3U);
    const auto at = [&](const char* name)
    {
        const auto& names = data["columns"];
        return static_cast<std::size_t>(std::find(names.begin(), names.end(), name) - names.begin());
    };
    for (const nlohmann::json& row : data["blobs"])
        EXPECT_EQ(row.size(), data["columns"].size());
    EXPECT_EQ(data["blobs"][2][at("number")], 3);
    EXPECT_EQ(data["blobs"][2][at("area")], 21);
    EXPECT_EQ(data["blobs"][1][at("bright")], 1);
    EXPECT_EQ(data["blobs"][1][at("left")], 2);
    EXPECT_TRUE(data["blobs"][0][at("thumb")].is_null());
}

TEST(ReportPage, AsksForNothingOutsideItself)
{
    tools::ReportPage page = MakePage(2);
    page.images[0].overview = "data:image/jpeg;base64,AAAA";
    const std::string text = tools::BuildReportPage(page);
    EXPECT_EQ(CountOf(text, "default-src 'none'"), 1U);
    for (const char* outside : {"https:", "<link", " src=\"", "url(", "@import", "fetch(", "XMLHttpRequest", "import("})
        EXPECT_EQ(CountOf(text, outside), 0U) << outside;
    EXPECT_EQ(CountOf(text, "http:"), 1U); // the name of the SVG namespace, which nobody opens
    EXPECT_EQ(CountOf(text, "http://www.w3.org/2000/svg\""), 1U);
}

TEST(ReportPage, HasNoPlaceLeftToFill)
{
    const std::string text = tools::BuildReportPage(MakePage(1));
    for (const char* place : {"@title@", "@css@", "@data@", "@js@", "@summary@"})
        EXPECT_EQ(CountOf(text, place), 0U) << place;
    EXPECT_EQ(CountOf(text, "<title>A panel</title>"), 1U);
    EXPECT_EQ(CountOf(text, "1 defect in 1 image."), 1U);
}

TEST(ReportPage, NamesNeverBecomeMarkup)
{
    tools::ReportPage page = MakePage(1);
    const std::string plain = tools::BuildReportPage(page);
    page.title = hostile;
    page.made = hostile;
    page.images[0].name = hostile;
    page.images[0].result.warnings = {hostile};
    page.notes = {hostile};
    Recipe recipe = SmallestParsed();
    recipe.zoneImageFile = hostile;
    page.recipes.push_back({hostile, CheckedRecipe(recipe)});
    const std::string text = tools::BuildReportPage(page);
    EXPECT_EQ(CountOf(text, "<script"), CountOf(plain, "<script"));
    EXPECT_EQ(CountOf(text, "</script"), CountOf(plain, "</script"));
    EXPECT_EQ(CountOf(text, "<img"), CountOf(plain, "<img"));
    EXPECT_EQ(CountOf(text, "<!--"), 0U);
    EXPECT_THAT(text,
                HasSubstr("<title>&lt;/script&gt;&lt;!-- &lt;img src=x onerror=&quot;alert(&#39;&amp;&#39;)&quot;"));
    // Read back, the name is the same except for the byte that is no text.
    const std::string name = DataOf(text)["images"][0]["name"];
    EXPECT_EQ(name.substr(0, 40), std::string(hostile).substr(0, 40));
    EXPECT_THAT(name, HasSubstr("@js@"));
}

TEST(ReportPage, ShowsTheRecipeFieldByField)
{
    tools::ReportPage page = MakePage(0);
    Recipe recipe = SmallestParsed();
    recipe.pitchX = 60.4375;
    recipe.pitchY = 75.3125;
    recipe.mode = Mode_Pixel;
    recipe.thresholdBase = 17;
    page.recipes.push_back({"r.json", CheckedRecipe(recipe)});
    const nlohmann::json entry = DataOf(tools::BuildReportPage(page))["recipes"][0];
    EXPECT_EQ(entry["kind"], "pixel mode");
    const auto row = [&](const std::string& path)
    {
        for (const nlohmann::json& one : entry["rows"])
            if (one[0] == path)
                return one;
        return nlohmann::json();
    };
    EXPECT_EQ(row("threshold.base")[1], "17");
    EXPECT_EQ(row("threshold.base")[2], "grey levels");
    EXPECT_EQ(row("threshold.base")[4], false);
    EXPECT_EQ(row("max_blobs")[4], true);
    EXPECT_EQ(row("dead_zones")[1], "none");
    EXPECT_TRUE(row("binarise.limit").is_null()); // another mode's
}

TEST(ReportPage, DefectsThatAreNotKeptAreCountedAndLeftOut)
{
    tools::ReportPage page = MakePage(4);
    page.images[0].kept = {true, false, false, true};
    const nlohmann::json data = DataOf(tools::BuildReportPage(page));
    EXPECT_EQ(data["total"], 4);
    EXPECT_EQ(data["blobs"].size(), 2U);
    EXPECT_EQ(data["images"][0]["defects"], 4);
}

TEST(ReportPage, TenThousandDefectsStayWithinTwoMegabytes)
{
    EXPECT_LT(tools::BuildReportPage(MakePage(10000)).size(), 2U << 20);
}

TEST(ReportPage, EmptyPageIsAPage)
{
    const tools::ReportPage page = MakePage(0);
    const nlohmann::json data = DataOf(tools::BuildReportPage(page));
    EXPECT_EQ(data["total"], 0);
    EXPECT_TRUE(data["blobs"].empty());
}

} // namespace

} // namespace narvo::test
