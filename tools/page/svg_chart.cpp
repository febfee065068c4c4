// SPDX-License-Identifier: MIT
// Axes, curves and their names.
#include "tools/page/svg_chart.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>

#include "tools/page/html_page.h"

namespace narvo::tools
{

namespace
{

constexpr double dChartWidth = 420.0;
constexpr double dChartHeight = 320.0;
constexpr double dChartLeft = 52.0;
constexpr double dChartTop = 30.0;
constexpr double dChartBottom = 44.0;
constexpr double dChartRight = 14.0;
constexpr std::array<const char*, 5> curveColours = {"#1464aa", "#c8500a", "#28862f", "#7a3fa0", "#7f7f7f"};

std::string ShortNumber(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.4g", value);
    return text;
}

} // namespace

std::string DrawChart(const Chart& chart)
{
    const double width = dChartWidth - dChartLeft - dChartRight;
    const double height = dChartHeight - dChartTop - dChartBottom;
    const auto placeX = [&](double x) { return dChartLeft + width * x / chart.highX; };
    const auto placeY = [&](double y) { return dChartTop + height * (1.0 - y / chart.highY); };
    std::ostringstream out;
    out << "<svg viewBox=\"0 0 " << dChartWidth << ' ' << dChartHeight << "\" role=\"img\" aria-label=\""
        << EscapeHtml(chart.title) << "\">\n<text class=\"title\" x=\"" << dChartLeft << "\" y=\"16\">"
        << EscapeHtml(chart.title) << "</text>\n";
    for (int i = 0; i <= 4; ++i)
    {
        const double x = chart.highX * i / 4.0;
        const double y = chart.highY * i / 4.0;
        out << "<path class=\"grid\" d=\"M" << ShortNumber(placeX(x)) << ' ' << dChartTop << 'v' << height << 'M'
            << dChartLeft << ' ' << ShortNumber(placeY(y)) << 'h' << width << "\"/>\n<text text-anchor=\"middle\" x=\""
            << ShortNumber(placeX(x)) << "\" y=\"" << dChartHeight - dChartBottom + 15.0 << "\">" << ShortNumber(x)
            << "</text><text text-anchor=\"end\" x=\"" << dChartLeft - 5.0 << "\" y=\"" << ShortNumber(placeY(y) + 4.0)
            << "\">" << ShortNumber(y) << "</text>\n";
    }
    out << "<text text-anchor=\"middle\" x=\"" << dChartLeft + width / 2.0 << "\" y=\"" << dChartHeight - 10.0 << "\">"
        << EscapeHtml(chart.alongX) << "</text>\n<text text-anchor=\"middle\" transform=\"translate(13 "
        << dChartTop + height / 2.0 << ") rotate(-90)\">" << EscapeHtml(chart.alongY) << "</text>\n";
    for (std::size_t i = 0; i < chart.curves.size(); ++i)
    {
        const char* const colour = curveColours[i % curveColours.size()];
        out << "<polyline fill=\"none\" stroke-width=\"2\" stroke=\"" << colour << "\" points=\"";
        for (const CurvePoint& point : chart.curves[i].points)
            if (point.x <= chart.highX * (1.0 + 1e-9))
                out << ShortNumber(placeX(point.x)) << ',' << ShortNumber(placeY(std::min(point.y, chart.highY)))
                    << ' ';
        out << "\"/>\n";
        for (const CurvePoint& mark : chart.curves[i].marks)
            out << "<circle r=\"3\" fill=\"" << colour << "\" cx=\"" << ShortNumber(placeX(mark.x)) << "\" cy=\""
                << ShortNumber(placeY(mark.y)) << "\"/>";
        out << "<text text-anchor=\"end\" fill=\"" << colour << "\" x=\"" << dChartLeft + width - 6.0 << "\" y=\""
            << dChartTop + height - 8.0 - 16.0 * static_cast<double>(chart.curves.size() - 1 - i) << "\">"
            << EscapeHtml(chart.curves[i].name) << "</text>\n";
    }
    out << "</svg>\n";
    return out.str();
}

} // namespace narvo::tools
