// SPDX-License-Identifier: MIT
// The page of limits against the numbers in force.
#include <fstream>
#include <iterator>
#include <string>

#include "host/host_test_help.h"
#include "host/inspect/inspector.h"
#include "host/limits.h"

namespace narvo::test
{

namespace
{

TEST(LimitsPage, NamesEveryLimit)
{
    std::ifstream stream(std::string(NARVO_SOURCE_FOLDER) + "/docs/limits.md");
    const std::string page{std::istreambuf_iterator<char>(stream), {}};
    const auto row = [](const char* what, auto most)
    { return "| " + std::string(what) + " | " + std::to_string(most); };
    for (const std::string& text :
         {row("pixels of an image file", nDefaultMaxPixels),
          row("side of an image file", nImageSideLimit),
          row("scans of a progressive JPEG", nScanLimit),
          row("bytes of a decoded image, of a mosaic with its colours", nBytesPerMaxPixel),
          row("recipe file", nRecipeByteLimit),
          row("boxes of a set in one COCO file", nSetByteLimit),
          row("`regions`", nRegionLimit),
          row("`region.points`", nCornerLimit),
          row("rules of a watch, truth, boxes of one image, a result file of one image", nRecipeByteLimit),
          row("`tables.*`", nTableEntryLimit),
          row("`zones.skip`", nSkippedCellLimit),
          row("`camera.features`", nCameraFeatureLimit),
          row("corners, table entries, cells and camera features of all regions together", nRecipeEntryLimit),
          row("`zones.list`", nRecipeZoneLimit),
          row("`zones.list[].verify.checks`", nVerifyCheckLimit),
          row("`dead_zones`", nDeadZoneHigh),
          row("`max_blobs`", nBlobLimit),
          row("lanes (`-j`, `Inspector(lanes=...)`)", nLaneLimit),
          row("images of a [lot](lot.md)", nLotImageLimit),
          row("defects of a lot", nLotDefectLimit),
          "| problems that are listed | the first " + std::to_string(nListedProblems),
          "up to " + std::to_string(nHighestMaxPixels) + " |",
          "beyond " + std::to_string(Inspector::nFirstRoom) + " is taken"})
        EXPECT_THAT(page, testing::HasSubstr(text));
}

} // namespace

} // namespace narvo::test
