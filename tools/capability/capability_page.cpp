// SPDX-License-Identifier: MIT
// Tables and charts of the page.
#include "tools/capability/capability_page.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

#include "host/counted.h"
#include "host/foreign_text.h"
#include "tools/page/html_page.h"
#include "tools/page/svg_chart.h"

namespace narvo::tools
{

namespace
{

std::string Decimals2(double value)
{
    return FormatNumber(std::round(value * 100.0) / 100.0);
}

std::string Signed(int contrast)
{
    return (contrast > 0 ? "+" : "") + std::to_string(contrast);
}

std::string FalseText(const CapabilityResult& result)
{
    return Counted(result.falseBlobs, "false blob") + " on " + Counted(result.images.size(), "good image") + " with " +
           Decimals2(result.megapixels) + " megapixels inspected: " + Decimals2(result.falseRate) +
           " a megapixel, at most " + Decimals2(result.falseBound) + " at 95 % confidence.";
}

void WriteSizes(const CapabilityResult& result, std::ostream& out)
{
    out << "<h2>Size found with 90 % probability</h2>\n<div class=\"wide\"><table id=\"sizes\"><thead><tr>"
           "<th>shape</th><th class=\"text\">place</th><th>contrast</th><th>planted</th><th>found</th><th>a90, "
           "pixels</th><th>a90/95, pixels</th><th class=\"text\">in words</th></tr></thead><tbody>\n";
    for (const CapabilityCurve& curve : result.curves)
    {
        std::size_t found = 0;
        for (const SizeCount& count : curve.counts)
            found += count.found;
        out << "<tr><th>" << PlantedShapeName(curve.shape) << "</th><td class=\"text\">"
            << PlantedPlaceName(curve.place) << "</td><td>" << Signed(curve.contrast) << "</td><td>" << curve.fit.trials
            << "</td><td>" << found << "</td><td>" << SizeText(curve.fit.a90) << "</td><td><b>"
            << SizeText(curve.fit.a9095) << "</b></td><td class=\"text\">"
            << EscapeHtml(DescribeFit(curve.fit, curve.counts)) << "</td></tr>\n";
    }
    out << "</tbody></table></div>\n<p class=\"note\">a90: 90 % of the defects of this size are found. a90/95: the "
           "same at 95 % confidence. Sizes are lengths of lines and diameters of spots; of a stain, the diameter at "
           "half of its contrast.</p>\n";
}

/// The fitted curve; where there is none, the shares themselves.
std::vector<CurvePoint> PointsOf(const CapabilityCurve& curve)
{
    constexpr int nSteps = 100;
    std::vector<CurvePoint> points;
    const double high = curve.counts.back().size;
    if (curve.fit.outcome == Fit_Curve)
        for (int i = 1; i <= nSteps; ++i)
            points.push_back({high * i / nSteps, curve.fit.ProbabilityAt(high * i / nSteps)});
    return points;
}

void WriteCharts(const CapabilityResult& result, std::ostream& out)
{
    out << "<h2>Curves</h2>\n<p class=\"note\">Points are shares of what was planted; lines are fitted curves, where "
           "one is determined.</p>\n<div class=\"charts\">\n";
    const auto isSameChart = [](const CapabilityCurve& a, const CapabilityCurve& b)
    { return a.shape == b.shape && a.place == b.place; };
    for (auto first = result.curves.begin(); first != result.curves.end();)
    {
        const auto last = std::find_if(first, result.curves.end(),
                                       [&](const CapabilityCurve& curve) { return !isSameChart(curve, *first); });
        Chart chart{PlantedShapeName(first->shape) + ", " + PlantedPlaceName(first->place),
                    "size, pixels",
                    "share found",
                    static_cast<double>(result.settings.sizes.back()),
                    1.0,
                    {}};
        for (; first != last; ++first)
        {
            ChartCurve curve{Signed(first->contrast), PointsOf(*first), {}};
            for (const SizeCount& count : first->counts)
                if (count.planted > 0)
                    curve.marks.push_back({static_cast<double>(count.size),
                                           static_cast<double>(count.found) / static_cast<double>(count.planted)});
            chart.curves.push_back(std::move(curve));
        }
        out << DrawChart(chart);
    }
    out << "</div>\n";
}

void WriteCounts(const CapabilityResult& result, std::ostream& out)
{
    out << "<h2>Found of planted, by size</h2>\n<div class=\"wide\"><table id=\"counts\"><thead><tr><th>shape</th><th "
           "class=\"text\">place</th><th>contrast</th>";
    for (const int size : result.settings.sizes)
        out << "<th>" << size << "</th>";
    out << "</tr></thead><tbody>\n";
    for (const CapabilityCurve& curve : result.curves)
    {
        out << "<tr><th>" << PlantedShapeName(curve.shape) << "</th><td class=\"text\">"
            << PlantedPlaceName(curve.place) << "</td><td>" << Signed(curve.contrast) << "</td>";
        for (const SizeCount& count : curve.counts)
            out << "<td>" << count.found << '/' << count.planted << "</td>";
        out << "</tr>\n";
    }
    out << "</tbody></table></div>\n";
}

} // namespace

std::string BuildCapabilityPage(const CapabilityResult& result, const std::string& recipe, const std::string& made)
{
    std::ostringstream out;
    out << PageHead("What " + recipe + " finds");
    for (const std::string& warning : result.warnings)
        out << "<p class=\"warning\">" << EscapeHtml(warning) << "</p>\n";
    out << "<p>Defects of known size, contrast, shape and place were planted in "
        << Counted(result.images.size(), "good image") << " and inspected, " << result.settings.count
        << " of each kind. One is found where a blob touches it within 3 pixels. Contrasts are in grey levels, sizes "
           "in pixels. "
        << EscapeHtml(made) << "</p>\n<h2>False blobs</h2>\n<p>" << FalseText(result) << "</p>\n";
    WriteSizes(result, out);
    WriteCharts(result, out);
    WriteCounts(result, out);
    out << "<h2>Good images</h2>\n<table id=\"images\"><thead><tr><th>image</th><th>size</th><th>megapixels "
           "inspected</th><th>false blobs</th></tr></thead><tbody>\n";
    for (const CapabilityImage& image : result.images)
        out << "<tr><td>" << EscapeHtml(Printable(image.name)) << "</td><td>" << image.width << " &times; "
            << image.height << "</td><td>" << Decimals2(image.megapixels) << "</td><td>" << image.falseBlobs
            << "</td></tr>\n";
    out << "</tbody></table>\n" << PageEnd();
    return out.str();
}

std::string CapabilityText(const CapabilityResult& result)
{
    std::string text = FalseText(result) + "\nshape   place   contrast  found/planted  a90           a90/95\n";
    for (const CapabilityCurve& curve : result.curves)
    {
        std::size_t found = 0;
        for (const SizeCount& count : curve.counts)
            found += count.found;
        char line[160];
        std::snprintf(line, sizeof line, "%-7s %-7s %8s  %13s  %-12s  %s\n", PlantedShapeName(curve.shape).c_str(),
                      PlantedPlaceName(curve.place).c_str(), Signed(curve.contrast).c_str(),
                      (std::to_string(found) + "/" + std::to_string(curve.fit.trials)).c_str(),
                      SizeText(curve.fit.a90).c_str(), SizeText(curve.fit.a9095).c_str());
        text += line;
    }
    return text;
}

} // namespace narvo::tools
