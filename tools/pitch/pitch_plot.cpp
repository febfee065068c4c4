// SPDX-License-Identifier: MIT
// Drawing of the charts with OpenCV.
#include "tools/pitch/pitch_plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"

namespace narvo::tools
{

namespace
{

constexpr int nWidth = 1000;
constexpr int nChartHeight = 320;
constexpr int nPlotMargin = 50;
constexpr double dSteps = 16.0; // curve values per pixel of displacement

// Blue, green, red.
const cv::Scalar colourInk(60, 60, 60);
const cv::Scalar colourGrid(225, 225, 225);
const cv::Scalar colourCurve(160, 90, 20);
const cv::Scalar colourPitch(40, 150, 30);
const cv::Scalar colourRunnerUp(30, 110, 240);

std::string Format(const char* form, double value)
{
    char text[64];
    std::snprintf(text, sizeof text, form, value);
    return text;
}

void Write(cv::Mat& picture, const std::string& text, cv::Point place, const cv::Scalar& colour)
{
    cv::putText(picture, text, place, cv::FONT_HERSHEY_SIMPLEX, 0.45, colour, 1, cv::LINE_AA);
}

/// Places of the chart for displacements in pixels and costs.
class CostChart
{
public:
    CostChart(cv::Mat picture, const AxisPitch& axis)
        : m_picture(std::move(picture)), m_longest(static_cast<double>(axis.cost.size() - 1) / dSteps),
          m_highest(std::max(1.0, static_cast<double>(*std::max_element(axis.cost.begin(), axis.cost.end()))))
    {
    }

    void Draw(const char* name, const AxisPitch& axis)
    {
        DrawGrid();
        std::vector<cv::Point> points;
        for (std::size_t i = 0; i < axis.cost.size(); ++i)
            points.push_back(At(static_cast<double>(i) / dSteps, axis.cost[i]));
        cv::polylines(m_picture, points, false, colourCurve, 1, cv::LINE_AA);
        if (axis.found && axis.runnerUp.strength > 0.0)
            Mark(axis.runnerUp.pitch, colourRunnerUp, Format("runner-up %.2f", axis.runnerUp.pitch), 16);
        if (axis.found)
            Mark(axis.pitch, colourPitch, Format("pitch %.4f", axis.pitch), 2);
        Write(m_picture,
              std::string(name) + (axis.found ? Format(": confidence %.3f", axis.confidence) : ": no period"),
              {nPlotMargin, 20}, colourInk);
        Write(m_picture, "displacement, pixels", {nWidth - nPlotMargin - 160, nChartHeight - 8}, colourInk);
    }

private:
    cv::Point At(double displacement, double cost) const
    {
        return {static_cast<int>(nPlotMargin + displacement / m_longest * (nWidth - 2 * nPlotMargin)),
                static_cast<int>(nChartHeight - nPlotMargin - cost / m_highest * (nChartHeight - 2 * nPlotMargin))};
    }

    void DrawGrid()
    {
        const double rough = m_longest / 8.0;
        const double power = std::pow(10.0, std::floor(std::log10(rough)));
        const double step = power * (rough / power < 2.0 ? 2.0 : rough / power < 5.0 ? 5.0 : 10.0);
        for (double place = 0.0; place <= m_longest; place += step)
        {
            cv::line(m_picture, At(place, 0.0), At(place, m_highest), colourGrid);
            Write(m_picture, Format("%g", place), At(place, 0.0) + cv::Point(-8, 16), colourInk);
        }
        for (double cost = 0.0; cost <= m_highest; cost += 0.5)
        {
            cv::line(m_picture, At(0.0, cost), At(m_longest, cost), colourGrid);
            Write(m_picture, Format("%.1f", cost), At(0.0, cost) + cv::Point(-30, 4), colourInk);
        }
    }

    void Mark(double pitch, const cv::Scalar& colour, const std::string& text, int down)
    {
        const cv::Point top = At(pitch, m_highest);
        cv::line(m_picture, At(pitch, 0.0), top, colour);
        Write(m_picture, text, {std::min(top.x + 4, nWidth - 150), top.y + down + 8}, colour);
    }

    cv::Mat m_picture;
    double m_longest;
    double m_highest;
};

} // namespace

void SavePitchPlot(const std::filesystem::path& file, const PitchResult& result)
{
    cv::Mat picture(2 * nChartHeight, nWidth, CV_8UC3, cv::Scalar(255, 255, 255));
    CostChart(picture.rowRange(0, nChartHeight), result.x).Draw("along x", result.x);
    CostChart(picture.rowRange(nChartHeight, 2 * nChartHeight), result.y).Draw("along y", result.y);
    SaveImage(file, picture, "a writable place, with a name in .png");
}

} // namespace narvo::tools
