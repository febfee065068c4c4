// SPDX-License-Identifier: MIT
// The page's tables, charts and pictures.
#include "tools/evaluate/evaluate_page.h"

#include <algorithm>
#include <cstdio>
#include <sstream>

#include "host/counted.h"
#include "tools/page/html_page.h"
#include "tools/page/svg_chart.h"

namespace narvo::tools
{

namespace
{

std::string Decimals(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

std::string OptionalText(const std::optional<double>& value)
{
    return value ? Decimals(*value) : "-";
}

void WriteFigures(const EvaluationPage& page, std::ostream& out)
{
    out << "<table><thead><tr><th>method</th><th>image AUROC</th><th>pixel AUROC</th><th>region overlap</th>"
           "<th>found</th><th>false an image</th><th>F1, images</th><th>best F1, images</th><th>best F1, pixels</th>"
           "<th>refused</th></tr></thead><tbody>\n";
    for (const MethodResult& method : page.methods)
    {
        out << "<tr><th>" << EscapeHtml(method.name) << "</th>";
        for (const Figure* figure : {&method.imageAuroc, &method.pixelAuroc, &method.regionOverlap, &method.found,
                                     &method.falseAnImage, &method.imageF1})
            out << "<td>" << FigureText(*figure) << "</td>";
        out << "<td>" << OptionalText(method.bestImageF1) << "</td><td>" << OptionalText(method.bestPixelF1)
            << "</td><td>" << method.refused << "</td></tr>\n";
    }
    out << "</tbody></table>\n<p class=\"note\">In brackets: the range of 95 % of the figures of as many images drawn "
           "anew.</p>\n";
}

void WriteCharts(const EvaluationPage& page, std::ostream& out)
{
    Chart images{
        "Images: good ones reported, defective ones reported", "share of good", "share of defective", 1, 1, {}};
    Chart overlap{"Pixels: mean share of each defect covered", "share of good pixels", "mean coverage", 0.3, 1, {}};
    Chart found{"Defects found against false blobs, by threshold", "false blobs an image", "share found", 0, 1, {}};
    for (const MethodResult& method : page.methods)
    {
        images.curves.push_back({method.name, method.imageCurve, {}});
        overlap.curves.push_back({method.name, method.overlapCurve, {}});
        ChartCurve curve{method.name, {}, {}};
        for (const FactorPoint& point : method.factors)
            if (point.found >= 0.0)
                curve.points.push_back({point.falseAnImage, point.found});
        found.curves.push_back(std::move(curve));
    }
    // Where the evaluated method has its own thresholds, with room to its right.
    found.highX = std::max(2.0, 4.0 * page.methods.front().falseAnImage.value.value_or(0.0));
    out << "<div class=\"charts\">" << DrawChart(images) << DrawChart(overlap) << DrawChart(found) << "</div>\n";
}

void WriteKinds(const MethodResult& method, std::ostream& out)
{
    if (method.kinds.empty())
        return;
    out << "<h2>By kind of defect</h2>\n<table><thead><tr><th>kind</th><th>defects</th><th>found</th><th>share</th>"
           "</tr></thead><tbody>\n";
    for (const auto& [kind, count] : method.kinds)
        out << "<tr><th>" << EscapeHtml(kind) << "</th><td>" << count.regions << "</td><td>" << count.found
            << "</td><td>" << Decimals(static_cast<double>(count.found) / count.regions) << "</td></tr>\n";
    out << "</tbody></table>\n";
}

} // namespace

std::string BuildEvaluationPage(const EvaluationPage& page)
{
    std::ostringstream out;
    out << PageHead("Evaluation of " + page.set) << "<p>" << EscapeHtml(page.layout) << ", "
        << Counted(page.methods.front().images.size(), "image") << ". A defect is found where a blob touches it within "
        << page.rules.margin << " pixels and is at most " << page.rules.largest
        << " times as large; every other blob is false. "
        << (page.rules.patch > 0 ? "Squares of " + std::to_string(page.rules.patch) +
                                       " pixels count as images in the image AUROC and the best F1 of images. "
                                 : "")
        << EscapeHtml(page.made) << "</p>\n";
    if (!page.learnt.empty())
        out << "<p>" << EscapeHtml(page.learnt) << "</p>\n";
    WriteFigures(page, out);
    WriteCharts(page, out);
    WriteKinds(page.methods.front(), out);
    if (!page.pictures.empty())
        out << "<h2>What went worst</h2>\n<p>Green: true defects. Orange: what was reported.</p>\n";
    for (const EvaluatedPicture& picture : page.pictures)
        out << "<figure><img alt=\"\" src=\"" << picture.source << "\"><figcaption>" << EscapeHtml(picture.caption)
            << "</figcaption></figure>\n";
    out << PageEnd();
    return out.str();
}

} // namespace narvo::tools
