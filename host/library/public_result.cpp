// SPDX-License-Identifier: MIT
// Whole results as text, as a table and as a picture.
#include "narvo/host_result.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/library/image_parts.h"
#include "host/library/public_report.h"
#include "host/library/translate.h"
#include "host/limits.h"
#include "host/recipe/recipe_file.h"
#include "host/result/checked_reader.h"
#include "host/result/overlay.h"
#include "host/result/region_reader.h"
#include "host/result/result_file.h"

namespace narvo::v1
{

namespace
{

/// What can be drawn of a box: frames and numbers that lie further out than this many pixels are not seen.
constexpr int nUnseen = 200;

CRect WithinReach(const Box& box, const GreyView& image)
{
    const auto column = [&](int x) { return std::clamp(x, -nUnseen, image.Width() + nUnseen); };
    const auto row = [&](int y) { return std::clamp(y, -nUnseen, image.Height() + nUnseen); };
    return {column(box.left), row(box.top), column(box.right), row(box.bottom)};
}

/// The size that the report speaks of, and what a picture of it shows.
InspectionResult ResultToDraw(const GreyView& image, const FullReport& report)
{
    if ((report.width != 0 || report.height != 0) && (image.Width() != report.width || image.Height() != report.height))
        throw HostError({{"image", std::to_string(image.Width()) + " by " + std::to_string(image.Height()) + " pixels",
                          "the size of the inspected image, " + std::to_string(report.width) + " by " +
                              std::to_string(report.height)}});
    InspectionResult result = library::LayerResult(report);
    for (std::size_t i = 0; i < result.blobs.size(); ++i)
        result.blobs[i].box = WithinReach(report.report.defects[i].box, image);
    return result;
}

std::vector<CRect> BoxesToDraw(const GreyView& image, const std::vector<Box>& missed)
{
    std::vector<CRect> boxes;
    for (const Box& box : missed)
        boxes.push_back(WithinReach(box, image));
    return boxes;
}

std::vector<std::uint8_t> Draw(const GreyView& image, const FullReport& report, const std::vector<Box>& missed)
{
    const InspectionResult result = ResultToDraw(image, report);
    std::vector<std::uint8_t> rgb(std::size_t{3} * static_cast<std::size_t>(image.Width()) *
                                  static_cast<std::size_t>(image.Height()));
    narvo::DrawOverlay(rgb.data(), image, result, BoxesToDraw(image, missed));
    return rgb;
}

void Save(const std::filesystem::path& file, const GreyView& image, const FullReport& report,
          const std::vector<Box>& missed, std::int64_t mostPixels)
{
    if (mostPixels < 1 || mostPixels > HighestMaxPixels)
        throw HostError({{"mostPixels", std::to_string(mostPixels), "1 to " + std::to_string(HighestMaxPixels)}});
    narvo::SaveOverlay(file, image, ResultToDraw(image, report), BoxesToDraw(image, missed), mostPixels);
}

} // namespace

std::string ReportText(const FullReport& report)
{
    return library::Translated(
        [&]
        {
            return ResultToJson(library::LayerResult(report))
                .dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
        });
}

FullReport ReportFromText(const std::string& json)
{
    return library::Translated(
        [&]
        {
            const nlohmann::json document = ParseJsonText(json, "report");
            if (!document.is_object())
                throw HostError({{"report", document.type_name(), "a JSON object"}});
            CheckedReader reader("report");
            InspectionResult result = ReadRegion(reader, document, "");
            reader.Finish();
            return library::PublicFullReport(std::move(result), 0, 0);
        });
}

std::string DefectTable(const FullReport& report)
{
    return library::Translated([&] { return ResultToCsv(library::LayerResult(report)); });
}

std::vector<std::uint8_t> DrawOverlay(const ImagePixels& image, const FullReport& report,
                                      const std::vector<Box>& missed)
{
    return library::Translated(
        [&]
        {
            GreyImage copy;
            return Draw(library::ReadableView(image, {}, copy), report, missed);
        });
}

std::vector<std::uint8_t> DrawOverlay(const Image& image, const FullReport& report, const std::vector<Box>& missed)
{
    return library::Translated([&] { return Draw(*image.GetContent().image, report, missed); });
}

void SaveOverlay(const std::filesystem::path& file, const ImagePixels& image, const FullReport& report,
                 const std::vector<Box>& missed, std::int64_t mostPixels)
{
    library::Translated(
        [&]
        {
            GreyImage copy;
            Save(file, library::ReadableView(image, {}, copy), report, missed, mostPixels);
        });
}

void SaveOverlay(const std::filesystem::path& file, const Image& image, const FullReport& report,
                 const std::vector<Box>& missed, std::int64_t mostPixels)
{
    library::Translated([&] { Save(file, *image.GetContent().image, report, missed, mostPixels); });
}

} // namespace narvo::v1
