// SPDX-License-Identifier: MIT
// Squared differences around every node at all displacements near the vector, their sums over neighbouring nodes, and
// the lowest of these.
#include "host/lattice/lattice_field.h"

#include <algorithm>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

constexpr double dVectorShare = 1.0 / 3.0; // of the shortest vector: half of it would be another point of the lattice
constexpr double dHold = 0.03; // share of the mean cost that the furthest displacement must be better by: noise is not
constexpr int nLeastPiece = 8; // pixels

int NodesAlong(int side, int strip)
{
    return strip <= 0 ? 1 : std::max(1, static_cast<int>(std::lround(static_cast<double>(side) / strip)));
}

/// Where the vertex of the parabola through three values lies, from the middle one.
double Vertex(double before, double at, double after)
{
    const double bend = before - 2.0 * at + after;
    return bend > 0.0 ? std::clamp(0.5 * (before - after) / bend, -0.5, 0.5) : 0.0;
}

} // namespace

LatticeField::LatticeField(const GreyImage& image, const Lattice& lattice, int strip, int slack)
    : m_lattice(lattice), m_columns(NodesAlong(image.Width(), strip)), m_rows(NodesAlong(image.Height(), strip))
{
    m_spacingX = static_cast<double>(image.Width()) / m_columns;
    m_spacingY = static_cast<double>(image.Height()) / m_rows;
    double shortest = lattice.vectors.front().Length();
    for (const LatticeVector& vector : lattice.vectors)
        shortest = std::min(shortest, vector.Length());
    const int reach = std::clamp(slack, 0, static_cast<int>(shortest * dVectorShare));
    for (const LatticeVector& vector : lattice.vectors)
        m_nodes.push_back(WithinMemory([&] { return Measure(ViewOf(image), vector, reach); }));
}

LatticeField::Nodes LatticeField::Measure(const cv::Mat& pixels, const LatticeVector& vector, int slack) const
{
    Nodes nodes{cv::Mat(m_rows, m_columns, CV_64F, cv::Scalar(vector.x)),
                cv::Mat(m_rows, m_columns, CV_64F, cv::Scalar(vector.y))};
    const int wholeX = static_cast<int>(std::lround(vector.x));
    const int wholeY = static_cast<int>(std::lround(vector.y));
    const int width = std::min(static_cast<int>(m_spacingX), pixels.cols - std::abs(wholeX) - 2 * slack);
    const int height = std::min(static_cast<int>(m_spacingY), pixels.rows - std::abs(wholeY) - 2 * slack);
    if (slack == 0 || width < nLeastPiece || height < nLeastPiece)
        return nodes;
    const int side = 2 * slack + 1;
    // A column for each displacement, a row for each node.
    cv::Mat costs(m_rows * m_columns, side * side, CV_64F);
    for (int row = 0; row < m_rows; ++row)
        for (int column = 0; column < m_columns; ++column)
        {
            // The node lies in the middle between the two pieces, as far as both lie inside.
            const auto begin = [&](double spacing, int number, int piece, int whole, int length)
            {
                const int wanted = static_cast<int>((number + 0.5) * spacing - 0.5 * (whole + piece));
                return std::clamp(wanted, std::max(0, slack - whole), length - piece - std::max(0, whole + slack));
            };
            const int x = begin(m_spacingX, column, width, wholeX, pixels.cols);
            const int y = begin(m_spacingY, row, height, wholeY, pixels.rows);
            const cv::Mat piece = pixels(cv::Rect(x, y, width, height));
            for (int dy = -slack; dy <= slack; ++dy)
                for (int dx = -slack; dx <= slack; ++dx)
                    costs.at<double>(row * m_columns + column, (dy + slack) * side + dx + slack) = cv::norm(
                        piece, pixels(cv::Rect(x + wholeX + dx, y + wholeY + dy, width, height)), cv::NORM_L2SQR);
        }
    for (int i = 0; i < side * side; ++i)
    {
        cv::Mat column = costs.col(i).clone().reshape(1, m_rows);
        cv::boxFilter(column, column, CV_64F, {3, 3}, {-1, -1}, false, cv::BORDER_REPLICATE);
        column.reshape(1, m_rows * m_columns).copyTo(costs.col(i));
    }
    for (int node = 0; node < m_rows * m_columns; ++node)
    {
        const double* cost = costs.ptr<double>(node);
        double mean = 0.0;
        for (int i = 0; i < side * side; ++i)
            mean += cost[i] / (side * side);
        const auto held = [&](int i)
        {
            const double dx = wholeX + i % side - slack - vector.x;
            const double dy = wholeY + i / side - slack - vector.y;
            return cost[i] + dHold * mean * (dx * dx + dy * dy) / (slack * slack);
        };
        int best = (side * side) / 2;
        for (int i = 0; i < side * side; ++i)
            if (held(i) < held(best))
                best = i;
        const int bx = best % side;
        const int by = best / side;
        const bool inX = bx > 0 && bx < side - 1;
        const bool inY = by > 0 && by < side - 1;
        nodes.x.at<double>(node / m_columns, node % m_columns) =
            wholeX + bx - slack + (inX ? Vertex(held(best - 1), held(best), held(best + 1)) : 0.0);
        nodes.y.at<double>(node / m_columns, node % m_columns) =
            wholeY + by - slack + (inY ? Vertex(held(best - side), held(best), held(best + side)) : 0.0);
    }
    return nodes;
}

LatticeVector LatticeField::VectorAt(std::size_t number, double x, double y) const
{
    const Nodes& nodes = m_nodes[number];
    const double column = std::clamp(x / m_spacingX - 0.5, 0.0, m_columns - 1.0);
    const double row = std::clamp(y / m_spacingY - 0.5, 0.0, m_rows - 1.0);
    const int left = std::min(static_cast<int>(column), std::max(0, m_columns - 2));
    const int top = std::min(static_cast<int>(row), std::max(0, m_rows - 2));
    const int right = std::min(left + 1, m_columns - 1);
    const int bottom = std::min(top + 1, m_rows - 1);
    const double u = column - left;
    const double v = row - top;
    const auto mix = [&](const cv::Mat& values)
    {
        return (1.0 - v) * ((1.0 - u) * values.at<double>(top, left) + u * values.at<double>(top, right)) +
               v * ((1.0 - u) * values.at<double>(bottom, left) + u * values.at<double>(bottom, right));
    };
    return {mix(nodes.x), mix(nodes.y)};
}

LatticeVector LatticeField::Displacement(double x, double y, const LatticeStep& step) const
{
    LatticeVector at{x, y};
    const auto walk = [&](std::size_t number, int times)
    {
        const LatticeVector& mean = m_lattice.vectors[number];
        const double sign = times < 0 ? -1.0 : 1.0;
        for (int i = 0; i < std::abs(times); ++i)
        {
            const LatticeVector vector = VectorAt(number, at.x + 0.5 * sign * mean.x, at.y + 0.5 * sign * mean.y);
            at.x += sign * vector.x;
            at.y += sign * vector.y;
        }
    };
    walk(0, step.a);
    if (m_lattice.vectors.size() > 1)
        walk(1, step.b);
    return {at.x - x, at.y - y};
}

} // namespace narvo
