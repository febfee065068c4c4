// SPDX-License-Identifier: MIT
// Filling of the page's template. All data goes into one JSON element, so names never meet HTML but escaped.
#include "tools/report/report_page.h"

#include <algorithm>
#include <cmath>
#include <map>

#include <nlohmann/json.hpp>

#include "host/recipe/recipe_fields.h"
#include "host/recipe/recipe_file.h"
#include "tools/page/html_page.h"
#include "tools/report/report_template.h"

namespace narvo::tools
{

using nlohmann::ordered_json;

namespace
{

constexpr const char* columnNames[] = {"image",     "number",        "bright",      "x",          "y",
                                       "left",      "top",           "right",       "bottom",     "area",
                                       "peak",      "peakX",         "peakY",       "difference", "meanDifference",
                                       "meanGrey",  "meanReference", "zone",        "band",       "single",
                                       "scale",     "channel",       "label",       "diameter",   "angle",
                                       "majorAxis", "minorAxis",     "circularity", "elongation", "thumb"};

double Round(double value)
{
    return std::isfinite(value) ? std::round(value * 100.0) / 100.0 : 0.0;
}

ordered_json BlobRow(std::size_t image, const Blob& blob, const ThumbnailPlace& thumbnail)
{
    ordered_json place = nullptr;
    if (thumbnail.sheet >= 0)
        place = {thumbnail.sheet, thumbnail.place};
    return {image,
            blob.number,
            blob.bright ? 1 : 0,
            blob.center.x,
            blob.center.y,
            blob.box.left,
            blob.box.top,
            blob.box.right,
            blob.box.bottom,
            blob.area,
            blob.peak,
            blob.peakPlace.x,
            blob.peakPlace.y,
            blob.maxDifference,
            blob.meanDifference,
            blob.meanGrey,
            blob.meanReference,
            blob.zone,
            blob.band,
            blob.single ? 1 : 0,
            blob.scale,
            ChannelName(blob.channel),
            blob.label,
            blob.diameter,
            Round(blob.angle),
            Round(blob.majorAxis),
            Round(blob.minorAxis),
            Round(blob.circularity),
            Round(blob.elongation),
            place};
}

ordered_json ImageEntry(const ReportImage& image)
{
    const InspectionResult& result = image.result;
    ordered_json outlines = ordered_json::array();
    for (const std::vector<CPoint>& outline : result.outlines)
    {
        ordered_json& corners = outlines.emplace_back(ordered_json::array());
        for (const CPoint& corner : outline)
            corners.push_back({corner.x, corner.y});
    }
    ordered_json overview = nullptr;
    if (!image.overview.empty())
        overview = {{"src", image.overview}};
    return {{"name", image.name},
            {"width", image.width},
            {"height", image.height},
            {"code", result.code},
            {"direction", result.direction == Direction_Vertical ? "vertical" : "horizontal"},
            {"region", {result.region.left, result.region.top, result.region.right, result.region.bottom}},
            {"outlines", outlines},
            {"pairs", result.pairs},
            {"reruns", result.reruns},
            {"milliseconds",
             {{"inspect", Round(result.inspectMilliseconds)},
              {"blobs", Round(result.blobMilliseconds)},
              {"total", Round(result.totalMilliseconds)}}},
            {"warnings", result.warnings},
            {"defects", result.blobs.size()},
            {"bright", std::count_if(result.blobs.begin(), result.blobs.end(), [](const Blob& b) { return b.bright; })},
            {"overview", overview}};
}

/// Fields of one owner that the kind reads, with their values, and whether these are the defaults.
template <typename Owner>
void AddRows(ordered_json& rows, std::span<const Field<Owner>> fields, const Owner& owner, Kind kind,
             const std::string& prefix)
{
    const Owner defaults;
    for (const Field<Owner>& field : fields)
    {
        if ((field.kinds & SetOf(kind)) == 0)
            continue;
        const std::string value = ValueText(field, owner);
        rows.push_back({prefix + std::string(field.path), value, field.unit, field.meaning,
                        value == ValueText(field, defaults) && (field.required & SetOf(kind)) == 0});
    }
}

/// The part of a document at a dotted path; null where there is none.
ordered_json PartAt(const ordered_json& document, std::string_view path)
{
    const ordered_json* part = &document;
    while (!path.empty())
    {
        const std::size_t dot = std::min(path.find('.'), path.size());
        const std::string key(path.substr(0, dot));
        path.remove_prefix(std::min(dot + 1, path.size()));
        if (!part->is_object() || !part->contains(key))
            return nullptr;
        part = &(*part)[key];
    }
    return *part;
}

ordered_json RecipeEntry(const ReportRecipe& entry)
{
    const Recipe& recipe = entry.recipe;
    const Kind kind = recipe.GetKind();
    ordered_json rows = ordered_json::array();
    AddRows(rows, RecipeFields(), recipe, kind, "");
    const ordered_json document = RecipeToJson(recipe);
    for (const StructuredField& field : StructuredFields())
    {
        if ((field.kinds & SetOf(kind)) == 0 || field.path == "zones.list")
            continue;
        const ordered_json part = PartAt(document, field.path);
        const bool isDefault = part.is_null() || part.empty();
        const std::string value = isDefault ? "none"
                                  : part.size() > 60
                                      ? std::to_string(part.size()) + " entries"
                                      : part.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
        rows.push_back({field.path, value, "", "", isDefault});
    }
    if (kind == Kind_Zone || kind == Kind_Asg)
        for (const ZoneSettings& zone : recipe.zones)
            AddRows(rows, ZoneFields(), zone, kind, "zone " + std::to_string(zone.index) + " ");
    return {{"name", entry.name},
            {"kind", KindName(kind)},
            {"pitchX", recipe.pitchX},
            {"pitchY", recipe.pitchY},
            {"originX", recipe.zoneOriginX},
            {"originY", recipe.zoneOriginY},
            {"rows", rows}};
}

/// Null where no golden cell was wanted.
ordered_json CellEntry(const ReportCellFindings& cell)
{
    if (!cell.wanted)
        return nullptr;
    constexpr std::size_t nListedPlaces = 200;
    ordered_json places = ordered_json::array();
    const std::vector<CellRepeat> repeats = cell.repeats.Places();
    for (std::size_t i = 0; i < std::min(nListedPlaces, repeats.size()); ++i)
        places.push_back(CellRepeatToJson(repeats[i], cell.regions));
    return {{"images", cell.repeats.Images()},
            {"different", cell.repeats.Different()},
            {"found", repeats.size() + cell.repeats.LeftOut()},
            {"regions", cell.regions.size()},
            {"picture", cell.picture},
            {"drawn", cell.drawn},
            {"places", std::move(places)}};
}

/// JSON that may stand inside a script element: nothing in it can end the element or begin a comment.
std::string ScriptText(const ordered_json& document)
{
    const std::string text = document.dump(-1, ' ', true, ordered_json::error_handler_t::replace);
    std::string safe;
    safe.reserve(text.size() + text.size() / 16);
    for (const char letter : text)
        if (letter == '<')
            safe += "\\u003c";
        else if (letter == '>')
            safe += "\\u003e";
        else if (letter == '&')
            safe += "\\u0026";
        else
            safe += letter;
    return safe;
}

/// Puts values into the places @name@ of the template, in one pass, so that no value is searched for places.
std::string FillPlaces(std::string_view text, const std::map<std::string, std::string, std::less<>>& values)
{
    std::string filled;
    while (!text.empty())
    {
        const std::size_t start = text.find('@');
        const std::size_t end = start == std::string_view::npos ? start : text.find('@', start + 1);
        if (end == std::string_view::npos)
            break;
        const auto value = values.find(text.substr(start + 1, end - start - 1));
        const bool known = value != values.end();
        filled += text.substr(0, known ? start : end);
        if (known)
            filled += value->second;
        text.remove_prefix(known ? end + 1 : end);
    }
    return filled += text;
}

} // namespace

std::string BuildReportPage(const ReportPage& page)
{
    ordered_json images = ordered_json::array();
    ordered_json blobs = ordered_json::array();
    std::size_t total = 0;
    for (std::size_t i = 0; i < page.images.size(); ++i)
    {
        const ReportImage& image = page.images[i];
        images.push_back(ImageEntry(image));
        total += image.result.blobs.size();
        for (std::size_t j = 0; j < image.result.blobs.size(); ++j)
            if (image.kept.empty() || image.kept[j])
                blobs.push_back(BlobRow(i, image.result.blobs[j],
                                        j < image.thumbnails.size() ? image.thumbnails[j] : ThumbnailPlace{}));
    }
    ordered_json recipes = ordered_json::array();
    for (const ReportRecipe& recipe : page.recipes)
        recipes.push_back(RecipeEntry(recipe));
    ordered_json findings = ordered_json::array();
    for (const ReportFinding& one : page.findings)
        findings.push_back({one.what, one.where, one.shown, one.expected, one.probability});
    ordered_json atlases = ordered_json::array();
    for (const std::string& sheet : page.sheets)
        atlases.push_back({{"src", sheet}, {"cell", page.sheetCell}, {"columns", page.sheetColumns}});
    const ordered_json data = {{"made", page.made},
                               {"total", total},
                               {"images", images},
                               {"recipes", recipes},
                               {"comparesImages", page.comparesImages},
                               {"findings", findings},
                               {"cell", CellEntry(page.cell)},
                               {"parts", page.thumbnailParts},
                               {"atlases", atlases},
                               {"notes", page.notes},
                               {"columns", columnNames},
                               {"blobs", blobs}};
    const std::string summary = std::to_string(total) + (total == 1 ? " defect in " : " defects in ") +
                                std::to_string(page.images.size()) + (page.images.size() == 1 ? " image." : " images.");
    return FillPlaces(reportHtml, {{"title", EscapeHtml(page.title)},
                                   {"css", std::string(reportCss)},
                                   {"summary", EscapeHtml(summary)},
                                   {"data", ScriptText(data)},
                                   {"js", std::string(reportJs)}});
}

} // namespace narvo::tools
