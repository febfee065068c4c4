// SPDX-License-Identifier: MIT
// The charts of a sweep.
#include "tools/tune/sweep_plot.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "host/problem.h"
#include "tools/tune/plot_drawing.h"

namespace narvo::tools
{

namespace
{

constexpr int plotWidth = 1000;
constexpr int chartHeight = 330;
constexpr int leftMargin = 78;
constexpr int rightMargin = 78;
constexpr int topMargin = 40;
constexpr int bottomMargin = 48;

constexpr Colour ink{60, 60, 60};
constexpr Colour grid{226, 226, 226};
constexpr Colour foundColour{20, 100, 170};
constexpr Colour wrong{200, 80, 10};
constexpr Colour proposed{40, 140, 50};

/// A scale of values, even or, for counts over decades, by their logarithm with room for 0.
class Scale
{
public:
    Scale(double low, double high, bool logarithmic)
        : m_low(low), m_high(high > low ? high : low + 1.0), m_logarithmic(logarithmic)
    {
    }

    /// 0 .. 1
    double At(double value) const
    {
        return m_logarithmic ? std::log1p(value) / std::log1p(m_high) : (value - m_low) / (m_high - m_low);
    }

    std::vector<double> Ticks() const
    {
        std::vector<double> ticks;
        if (m_logarithmic)
        {
            ticks.push_back(0.0);
            for (double tick = 1.0; tick <= m_high; tick *= m_high > 300.0                            ? 10.0
                                                            : std::fmod(std::log10(tick), 1.0) == 0.0 ? 3.0
                                                                                                      : 10.0 / 3.0)
                ticks.push_back(std::round(tick));
            return ticks;
        }
        const double rough = (m_high - m_low) / 6.0;
        const double power = std::pow(10.0, std::floor(std::log10(rough)));
        const double step = power * (rough / power < 2.0 ? 2.0 : rough / power < 5.0 ? 5.0 : 10.0);
        for (double tick = std::ceil(m_low / step - 1e-9) * step; tick <= m_high + step * 1e-9; tick += step)
            ticks.push_back(std::abs(tick) < step * 1e-9 ? 0.0 : tick);
        return ticks;
    }

private:
    double m_low;
    double m_high;
    bool m_logarithmic;
};

class SweepChart
{
public:
    SweepChart(Drawing& drawing, int number, Scale x, Scale y, const std::string& title)
        : m_drawing(drawing), m_base(number * chartHeight), m_x(x), m_y(y)
    {
        m_drawing.Text({leftMargin, m_base + 22.0}, title, ink, Anchor::Start);
    }

    Place At(double x, double y) const
    {
        return {leftMargin + m_x.At(x) * (plotWidth - leftMargin - rightMargin),
                m_base + chartHeight - bottomMargin - m_y.At(y) * (chartHeight - topMargin - bottomMargin)};
    }

    void DrawGrid(const std::string& xTitle, const std::string& yTitle)
    {
        const double low = m_base + chartHeight - bottomMargin;
        const double high = m_base + topMargin;
        for (const double tick : m_x.Ticks())
        {
            const double x = leftMargin + m_x.At(tick) * (plotWidth - leftMargin - rightMargin);
            m_drawing.Line({{x, low}, {x, high}}, grid, 1.0, false);
            m_drawing.Text({x, low + 17.0}, DrawnNumber(tick), ink, Anchor::Middle);
        }
        for (const double tick : m_y.Ticks())
        {
            const double y = low - m_y.At(tick) * (chartHeight - topMargin - bottomMargin);
            m_drawing.Line({{leftMargin, y}, {plotWidth - rightMargin, y}}, grid, 1.0, false);
            m_drawing.Text({leftMargin - 8.0, y + 4.0}, DrawnNumber(tick), ink, Anchor::End);
        }
        m_drawing.Text({plotWidth / 2.0, low + 37.0}, xTitle, ink, Anchor::Middle);
        m_drawing.Text({plotWidth - rightMargin + 0.0, m_base + 22.0}, yTitle, ink, Anchor::End);
    }

    void Curve(const std::vector<Place>& values, Colour colour)
    {
        std::vector<Place> places;
        for (const Place& value : values)
            places.push_back(At(value.x, value.y));
        m_drawing.Line(places, colour, 2.0, false);
        for (const Place& place : places)
            m_drawing.Dot(place, 3.0, colour);
    }

    /// A value of the field, as a line from bottom to top, named where the curve, at y there, leaves room.
    void Mark(double x, double y, const std::string& text)
    {
        const Place foot = {At(x, 0.0).x, m_base + chartHeight - 1.0 * bottomMargin};
        m_drawing.Line({foot, {foot.x, m_base + 1.0 * topMargin}}, proposed, 1.0, true);
        const bool right = foot.x > plotWidth * 0.8;
        const double height = m_y.At(y) > 0.5 ? m_base + chartHeight - bottomMargin - 8.0 : m_base + topMargin + 12.0;
        m_drawing.Text({foot.x + (right ? -5.0 : 5.0), height}, text, proposed, right ? Anchor::End : Anchor::Start);
    }

    Drawing& Paper() { return m_drawing; }

private:
    Drawing& m_drawing;
    int m_base;
    Scale m_x;
    Scale m_y;
};

double Most(const Sweep& sweep, long SweepPoint::*count)
{
    long most = 1;
    for (const SweepPoint& point : sweep.points)
        most = std::max(most, point.*count);
    return static_cast<double>(most);
}

std::vector<Place> Over(const Sweep& sweep, long SweepPoint::*count)
{
    std::vector<Place> places;
    for (const SweepPoint& point : sweep.points)
        places.push_back({point.value, static_cast<double>(point.*count)});
    return places;
}

Scale ValueScale(const Sweep& sweep)
{
    return {sweep.points.front().value, sweep.points.back().value, false};
}

std::string FieldTitle(const Sweep& sweep)
{
    return sweep.field + (sweep.shift ? ", added" : "") + (sweep.unit.empty() ? "" : ", " + sweep.unit);
}

void DrawOverValue(Drawing& drawing, int number, const Sweep& sweep, const std::optional<Proposal>& proposal,
                   long SweepPoint::*count, const std::string& title, Colour colour, bool logarithmic)
{
    const double most =
        std::max(Most(sweep, count), count == &SweepPoint::found ? Most(sweep, &SweepPoint::defects) : 1.0);
    SweepChart chart(drawing, number, ValueScale(sweep), Scale(0.0, most, logarithmic), title);
    chart.DrawGrid(FieldTitle(sweep), logarithmic ? "logarithmic" : "");
    chart.Curve(Over(sweep, count), colour);
    if (proposal)
        chart.Mark(sweep.points[proposal->point].value, static_cast<double>(sweep.points[proposal->point].*count),
                   "proposed: " + FormatNumber(sweep.points[proposal->point].value));
}

void DrawAgainst(Drawing& drawing, const Sweep& sweep, const std::optional<Proposal>& proposal)
{
    const double mostFalse = Most(sweep, &SweepPoint::falseBlobs);
    SweepChart chart(drawing, 0, Scale(0.0, mostFalse, mostFalse > 30.0),
                     Scale(0.0, Most(sweep, &SweepPoint::defects), false),
                     "Defects found, of " + std::to_string(sweep.points.front().defects) + ", against false blobs");
    chart.DrawGrid(mostFalse > 30.0 ? "false blobs, logarithmic" : "false blobs", "each dot a value of the field");
    std::vector<Place> places;
    for (const SweepPoint& point : sweep.points)
        places.push_back({static_cast<double>(point.falseBlobs), static_cast<double>(point.found)});
    chart.Curve(places, foundColour);
    // Values beside their dots, as far as there is room.
    Place last = {-100.0, -100.0};
    for (std::size_t i = 0; i < places.size(); ++i)
    {
        const Place at = chart.At(places[i].x, places[i].y);
        const bool isProposed = proposal && proposal->point == i;
        if (isProposed)
            drawing.Dot(at, 6.0, proposed);
        if (!isProposed && std::hypot(at.x - last.x, at.y - last.y) < 34.0)
            continue;
        drawing.Text({at.x + 7.0, at.y + (isProposed ? 30.0 : 16.0)},
                     (isProposed ? "proposed: " : "") + FormatNumber(sweep.points[i].value),
                     isProposed ? proposed : ink, Anchor::Start);
        last = at;
    }
}

} // namespace

void SaveSweepPlot(const std::filesystem::path& file, const Sweep& sweep, const std::optional<Proposal>& proposal)
{
    const int charts = sweep.hasTruth ? 3 : 1;
    const std::unique_ptr<Drawing> drawing = MakeDrawing(file, plotWidth, charts * chartHeight);
    if (sweep.hasTruth)
    {
        DrawAgainst(*drawing, sweep, proposal);
        DrawOverValue(*drawing, 1, sweep, proposal, &SweepPoint::found, "Defects found", foundColour, false);
        DrawOverValue(*drawing, 2, sweep, proposal, &SweepPoint::falseBlobs, "False blobs", wrong,
                      Most(sweep, &SweepPoint::falseBlobs) > 30.0);
    }
    else
        DrawOverValue(*drawing, 0, sweep, proposal, &SweepPoint::blobs, "Blobs in all images", foundColour,
                      Most(sweep, &SweepPoint::blobs) > 30.0);
    drawing->Save(file);
}

} // namespace narvo::tools
