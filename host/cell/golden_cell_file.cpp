// SPDX-License-Identifier: MIT
// See golden_cell_file.h.
#include "host/cell/golden_cell_file.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>
#include <opencv2/imgproc.hpp>

#include "host/counted.h"
#include "host/file/output_file.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"
#include "host/result/checked_reader.h"

namespace narvo
{

namespace
{

using nlohmann::json;
using nlohmann::ordered_json;

constexpr int nGoldenCellVersion = 1;

double Rounded(double value)
{
    return std::round(value * 1000.0) / 1000.0;
}

/// Rows of values, thousandths of a grey level.
ordered_json RowsOf(const cv::Mat& values)
{
    ordered_json rows = ordered_json::array();
    for (int y = 0; y < values.rows; ++y)
    {
        ordered_json row = ordered_json::array();
        for (int x = 0; x < values.cols; ++x)
            row.push_back(Rounded(values.at<float>(y, x)));
        rows.push_back(std::move(row));
    }
    return rows;
}

cv::Mat MatrixOf(CheckedReader& reader, const json& region, const std::string& where, const char* key,
                 const CellGrid& grid, float low, float high)
{
    const std::string wanted = std::to_string(grid.Rows()) + " rows of " + std::to_string(grid.Columns()) +
                               " numbers from " + FormatNumber(low) + " to " + FormatNumber(high);
    const json& rows = reader.List(region, where, key, wanted.c_str());
    cv::Mat values = cv::Mat::zeros(grid.Rows(), grid.Columns(), CV_32F);
    if (rows.size() != static_cast<std::size_t>(grid.Rows()))
    {
        reader.Fault(where + key, Counted(rows.size(), "row"), wanted);
        return values;
    }
    for (int y = 0; y < grid.Rows(); ++y)
    {
        const json& row = rows[static_cast<std::size_t>(y)];
        if (!row.is_array() || row.size() != static_cast<std::size_t>(grid.Columns()))
        {
            reader.Fault(where + key, "another row " + std::to_string(y), wanted);
            return values;
        }
        for (int x = 0; x < grid.Columns(); ++x)
        {
            const json& value = row[static_cast<std::size_t>(x)];
            if (!value.is_number() || value.get<float>() < low || value.get<float>() > high)
            {
                reader.Fault(where + key, "another value in row " + std::to_string(y), wanted);
                return values;
            }
            values.at<float>(y, x) = value.get<float>();
        }
    }
    return values;
}

/// The vectors and the origin. @return whether they are a cell
bool ReadCell(CheckedReader& reader, const json& region, const std::string& where, PatternCell& cell)
{
    const char* const wanted = "two vectors of two numbers, that span 3 by 3 pixels or more";
    const auto pair = [](const json& value)
    { return value.is_array() && value.size() == 2 && value[0].is_number() && value[1].is_number(); };
    const json& vectors = reader.List(region, where, "vectors", wanted);
    if (vectors.size() != 2 || !pair(vectors[0]) || !pair(vectors[1]))
    {
        reader.Fault(where + "vectors", "others", wanted);
        return false;
    }
    for (const json& vector : vectors)
        cell.lattice.vectors.push_back({vector[0].get<double>(), vector[1].get<double>()});
    const LatticeVector& a = cell.lattice.vectors[0];
    const LatticeVector& b = cell.lattice.vectors[1];
    const auto fits = [](const LatticeVector& vector)
    { return vector.Length() >= 2.5 && vector.Length() <= dLatticeVectorHigh; };
    if (!fits(a) || !fits(b) || !(std::abs(a.x * b.y - a.y * b.x) >= 4.0) ||
        std::lround(a.Length()) > nCellBinLimit / std::lround(b.Length()))
    {
        reader.Fault(where + "vectors", LatticeText(cell.lattice), wanted);
        return false;
    }
    const json& origin = reader.List(region, where, "origin", "two numbers, pixels");
    if (!pair(origin))
    {
        reader.Fault(where + "origin", "another", "two numbers, pixels");
        return false;
    }
    cell.originX = origin[0].get<double>();
    cell.originY = origin[1].get<double>();
    return true;
}

/// @throws HostError unless it is the JSON of a golden cell
void RequireKind(const json& document, const std::string& file)
{
    CheckedReader reader(file);
    int version = 0;
    if (document.is_object())
        reader.Read(document, "", "golden_cell", version);
    else
        reader.Fault("the file", "no object", "a golden cell of narvo cell --learn");
    reader.Finish();
    if (version != nGoldenCellVersion)
        throw HostError({{file + ", golden_cell", std::to_string(version), std::to_string(nGoldenCellVersion)}});
}

} // namespace

void SaveGoldenCells(const std::filesystem::path& file, const std::vector<GoldenCell>& cells)
{
    ordered_json regions = ordered_json::array();
    for (const GoldenCell& one : cells)
    {
        const std::vector<LatticeVector>& vectors = one.cell.lattice.vectors;
        regions.push_back({{"name", one.region},
                           {"images", one.images},
                           {"vectors", {{vectors[0].x, vectors[0].y}, {vectors[1].x, vectors[1].y}}},
                           {"origin", {one.cell.originX, one.cell.originY}},
                           {"mean", RowsOf(one.mean)},
                           {"noise", RowsOf(one.noise)}});
    }
    WriteTextFile(file, ordered_json{{"golden_cell", nGoldenCellVersion}, {"regions", regions}}.dump() + "\n");
}

std::vector<GoldenCell> LoadGoldenCells(const std::filesystem::path& file)
{
    const json document = LoadRecipeDocument(file);
    RequireKind(document, file.string());
    CheckedReader reader(file.string());
    std::vector<GoldenCell> cells;
    const json& regions = reader.List(document, "", "regions", "a list of regions");
    for (std::size_t i = 0; i < regions.size(); ++i)
    {
        const std::string where = "regions[" + std::to_string(i) + "].";
        if (!regions[i].is_object())
        {
            reader.Fault(where + "name", "no object", "a region");
            continue;
        }
        GoldenCell& one = cells.emplace_back();
        reader.Read(regions[i], where, "name", one.region);
        reader.Read(regions[i], where, "images", one.images);
        if (!ReadCell(reader, regions[i], where, one.cell))
            continue;
        const CellGrid grid(one.cell);
        one.mean = MatrixOf(reader, regions[i], where, "mean", grid, -1020.0F, 1020.0F);
        one.noise = MatrixOf(reader, regions[i], where, "noise", grid, 0.0F, 1020.0F);
    }
    if (regions.empty())
        reader.Fault("regions", "none", "one for each region of the recipe");
    reader.Finish();
    return cells;
}

ordered_json ComparisonToJson(const GoldenCell& golden, const CellComparison& comparison)
{
    ordered_json found = ordered_json::array();
    for (const CellDeviation& one : comparison.found)
        found.push_back({{"left", one.box.left},
                         {"top", one.box.top},
                         {"right", one.box.right},
                         {"bottom", one.box.bottom},
                         {"x", one.x},
                         {"y", one.y},
                         {"area", one.area},
                         {"difference", Rounded(one.difference)},
                         {"standard_errors", Rounded(one.errors)}});
    const ShownCell& shown = comparison.shown;
    return {{"region", golden.region},
            {"parts", shown.parts},
            {"parts_left_out", shown.leftOut},
            {"displacement_x", Rounded(shown.displacement.x)},
            {"displacement_y", Rounded(shown.displacement.y)},
            {"gain", Rounded(shown.light.gain)},
            {"offset", Rounded(shown.light.offset)},
            {"resemblance", Rounded(shown.light.resemblance)},
            {"places", found}};
}

std::string ComparisonText(const CellComparison& comparison)
{
    const ShownCell& shown = comparison.shown;
    char line[200];
    std::snprintf(line, sizeof line, " (%s; displaced by %.2f, %.2f pixels; light %.3f times and %+.1f)\n",
                  Counted(shown.parts, "part").c_str(), shown.displacement.x, shown.displacement.y, shown.light.gain,
                  shown.light.offset);
    std::string text = (comparison.found.empty() ? std::string("like the golden cell")
                                                 : Counted(comparison.found.size(), "place") + " of the cell differ" +
                                                       (comparison.found.size() == 1 ? "s" : "")) +
                       line;
    for (const CellDeviation& one : comparison.found)
    {
        std::snprintf(line, sizeof line, "  x %d to %d, y %d to %d: %+.1f grey levels, %.1f standard errors\n",
                      one.box.left, one.box.right - 1, one.box.top, one.box.bottom - 1, one.difference, one.errors);
        text += line;
    }
    return text;
}

} // namespace narvo
