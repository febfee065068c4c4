// Gauss-Newton steps for the offsets of the mesh. Each pixel's normal equations count for the four nodes around it;
// neighbouring nodes are tied together, which carries offsets into places without structure.
#include "host/golden/mesh_fit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include <opencv2/imgproc.hpp>

namespace narvo
{

namespace
{

constexpr int nSteps = 8;
constexpr int nSweeps = 100;   // of the relaxation that solves a step
constexpr double dBlur = 2.0;  // pixels: what the linear model of a step reaches
constexpr double dTie = 0.05;  // of neighbouring nodes, in shares of a node's mean weight
constexpr double dLeash = 0.2; // to no offset, in shares of the tie: far from all structure the affine map holds
constexpr double dFar = 16.0;  // mean squares of the difference at edges: from there on it weighs less than half
constexpr int nApron = 8;      // rows around a band that the blur needs
constexpr int nRim = 6;        // pixels that the blur reaches, as good as
constexpr int nFitBandRows = 256;
constexpr int nSums = 5;

/// Normal equations of all nodes: of a node the products of gradients xx, xy, yy and those of the difference with x, y.
class NodeSums
{
public:
    explicit NodeSums(const OffsetMesh& mesh)
        : m_mesh(mesh), m_sums(static_cast<std::size_t>(mesh.columns) * mesh.rows * nSums)
    {
    }

    double* Node(int column, int row)
    {
        return m_sums.data() + (static_cast<std::ptrdiff_t>(row) * m_mesh.columns + column) * nSums;
    }

    /// One image row.
    void Add(int y, const float* gradientX, const float* gradientY, const float* difference, const float* weight,
             int width)
    {
        m_line.assign(static_cast<std::size_t>(m_mesh.columns) * nSums, 0.0);
        for (int x = 0; x < width; ++x)
        {
            if (weight[x] == 0.0F)
                continue;
            const int column = x / m_mesh.spacing;
            const double share = static_cast<double>(x - column * m_mesh.spacing) / m_mesh.spacing;
            const double gx = gradientX[x];
            const double gy = gradientY[x];
            const double e = difference[x];
            const double values[nSums] = {gx * gx, gx * gy, gy * gy, gx * e, gy * e};
            double* sums = m_line.data() + static_cast<std::ptrdiff_t>(column) * nSums;
            for (int i = 0; i < nSums; ++i)
            {
                const double value = values[i] * weight[x];
                sums[i] += (1.0 - share) * value;
                sums[i + nSums] += share * value;
            }
        }
        const int row = y / m_mesh.spacing;
        const double share = static_cast<double>(y - row * m_mesh.spacing) / m_mesh.spacing;
        double* upper = Node(0, row);
        double* lower = Node(0, row + 1);
        for (std::size_t i = 0; i < m_line.size(); ++i)
        {
            upper[i] += (1.0 - share) * m_line[i];
            lower[i] += share * m_line[i];
        }
    }

private:
    const OffsetMesh& m_mesh;
    std::vector<double> m_sums;
    std::vector<double> m_line;
};

/// A band of image rows as a step sees it.
struct Band
{
    cv::Mat difference;
    cv::Mat gradientX;
    cv::Mat gradientY;
    cv::Mat inside; ///< 0 where the place lies outside the reference
};

cv::Mat BlurRows(const cv::Mat& picture, int top, int bottom)
{
    const int from = std::max(0, top - nApron);
    const int to = std::min(picture.rows, bottom + nApron);
    cv::Mat wide;
    picture.rowRange(from, to).convertTo(wide, CV_32F);
    cv::GaussianBlur(wide, wide, {}, dBlur, dBlur, cv::BORDER_REPLICATE);
    return wide.rowRange(top - from, bottom - from);
}

Band LookAt(const cv::Mat& reference, const cv::Mat& image, const std::array<double, 6>& affine, const OffsetMesh& mesh,
            int top, int bottom)
{
    cv::Mat x(bottom - top, image.cols, CV_32F);
    cv::Mat y(bottom - top, image.cols, CV_32F);
    PlacesInReference(affine, mesh, top, x, y);

    double low = 0.0;
    double high = 0.0;
    cv::minMaxLoc(y, &low, &high);
    const int from = std::clamp(static_cast<int>(std::floor(low)) - 2, 0, reference.rows - 1);
    const int to = std::clamp(static_cast<int>(std::ceil(high)) + 3, from + 1, reference.rows);
    const cv::Mat smooth = BlurRows(reference, from, to);
    const cv::Mat shifted = y - static_cast<double>(from);
    const auto warp = [&](const cv::Mat& source)
    {
        cv::Mat target;
        cv::remap(source, target, x, shifted, cv::INTER_LINEAR, cv::BORDER_REPLICATE);
        return target;
    };

    Band band;
    cv::Mat gradient;
    cv::Sobel(smooth, gradient, CV_32F, 1, 0, 3, 0.125);
    band.gradientX = warp(gradient);
    cv::Sobel(smooth, gradient, CV_32F, 0, 1, 3, 0.125);
    band.gradientY = warp(gradient);
    band.difference = BlurRows(image, top, bottom) - warp(smooth);
    // Where the blur does not reach over either picture's border, which the other goes on behind.
    band.inside = (x >= nRim) & (x <= reference.cols - 1 - nRim) & (y >= nRim) & (y <= reference.rows - 1 - nRim);
    band.inside.colRange(0, nRim).setTo(0);
    band.inside.colRange(image.cols - nRim, image.cols).setTo(0);
    band.inside.rowRange(0, std::clamp(nRim - top, 0, bottom - top)).setTo(0);
    band.inside.rowRange(std::clamp(image.rows - nRim - top, 0, bottom - top), bottom - top).setTo(0);
    return band;
}

/// Mean square of the difference at edges: far beyond it, an offset is no explanation.
double EdgeVariance(const Band& band)
{
    cv::Mat energy = band.gradientX.mul(band.gradientX) + band.gradientY.mul(band.gradientY);
    energy.setTo(0.0, ~band.inside);
    const double sum = cv::sum(energy)[0];
    return sum > 0.0 ? energy.mul(band.difference).dot(band.difference) / sum : 0.0;
}

/// Relaxes all nodes towards the solution of their normal equations, tied to their neighbours.
void Solve(NodeSums& sums, OffsetMesh& mesh)
{
    double mean = 0.0;
    for (int row = 0; row < mesh.rows; ++row)
        for (int column = 0; column < mesh.columns; ++column)
        {
            double* s = sums.Node(column, row);
            const auto node = static_cast<std::size_t>(row) * mesh.columns + column;
            mean += s[0] + s[2];
            // From steps to whole offsets.
            s[3] += s[0] * mesh.x[node] + s[1] * mesh.y[node];
            s[4] += s[1] * mesh.x[node] + s[2] * mesh.y[node];
        }
    const double tie = dTie * mean / (static_cast<double>(mesh.rows) * mesh.columns);
    if (!(tie > 0.0))
        return;
    const double reach = mesh.spacing / 8.0; // keeps the mesh from folding
    for (int sweep = 0; sweep < nSweeps; ++sweep)
        for (int row = 0; row < mesh.rows; ++row)
            for (int column = 0; column < mesh.columns; ++column)
            {
                const double* s = sums.Node(column, row);
                double bx = s[3];
                double by = s[4];
                int neighbours = 0;
                const auto add = [&](int c, int r)
                {
                    if (c < 0 || r < 0 || c >= mesh.columns || r >= mesh.rows)
                        return;
                    const auto node = static_cast<std::size_t>(r) * mesh.columns + c;
                    bx += tie * mesh.x[node];
                    by += tie * mesh.y[node];
                    ++neighbours;
                };
                add(column - 1, row);
                add(column + 1, row);
                add(column, row - 1);
                add(column, row + 1);
                const double xx = s[0] + tie * (neighbours + dLeash);
                const double yy = s[2] + tie * (neighbours + dLeash);
                const double determinant = xx * yy - s[1] * s[1];
                const auto node = static_cast<std::size_t>(row) * mesh.columns + column;
                mesh.x[node] = static_cast<float>(std::clamp((yy * bx - s[1] * by) / determinant, -reach, reach));
                mesh.y[node] = static_cast<float>(std::clamp((xx * by - s[1] * bx) / determinant, -reach, reach));
            }
}

} // namespace

void PlacesInReference(const std::array<double, 6>& affine, const OffsetMesh& mesh, int top, cv::Mat& x, cv::Mat& y)
{
    std::vector<float> lineX(mesh.spacing > 0 ? static_cast<std::size_t>(mesh.columns) : 0);
    std::vector<float> lineY(lineX.size());
    for (int i = 0; i < x.rows; ++i)
    {
        float* targetX = x.ptr<float>(i);
        float* targetY = y.ptr<float>(i);
        const int py = top + i;
        for (int px = 0; px < x.cols; ++px)
        {
            targetX[px] = static_cast<float>(affine[0] * px + affine[1] * py + affine[2]);
            targetY[px] = static_cast<float>(affine[3] * px + affine[4] * py + affine[5]);
        }
        if (mesh.spacing == 0)
            continue;
        const int row = std::min(py / mesh.spacing, mesh.rows - 2);
        const float share = static_cast<float>(py - row * mesh.spacing) / static_cast<float>(mesh.spacing);
        for (int column = 0; column < mesh.columns; ++column)
        {
            const auto node = static_cast<std::size_t>(row) * mesh.columns + column;
            const auto below = node + static_cast<std::size_t>(mesh.columns);
            lineX[static_cast<std::size_t>(column)] = (1.0F - share) * mesh.x[node] + share * mesh.x[below];
            lineY[static_cast<std::size_t>(column)] = (1.0F - share) * mesh.y[node] + share * mesh.y[below];
        }
        for (int px = 0; px < x.cols; ++px)
        {
            const auto column = static_cast<std::size_t>(px / mesh.spacing);
            const float part = static_cast<float>(px % mesh.spacing) / static_cast<float>(mesh.spacing);
            targetX[px] += (1.0F - part) * lineX[column] + part * lineX[column + 1];
            targetY[px] += (1.0F - part) * lineY[column] + part * lineY[column + 1];
        }
    }
}

void FitMesh(const cv::Mat& reference, const cv::Mat& image, const std::array<double, 6>& affine, OffsetMesh& mesh)
{
    for (int step = 0; step < nSteps; ++step)
    {
        NodeSums sums(mesh);
        for (int top = 0; top < image.rows; top += nFitBandRows)
        {
            const Band band = LookAt(reference, image, affine, mesh, top, std::min(image.rows, top + nFitBandRows));
            const double variance = dFar * std::max(1.0, EdgeVariance(band));
            cv::Mat weight = 1.0 + band.difference.mul(band.difference) / variance;
            cv::divide(1.0, weight, weight);
            weight.setTo(0.0, ~band.inside);
            for (int i = 0; i < weight.rows; ++i)
                sums.Add(top + i, band.gradientX.ptr<float>(i), band.gradientY.ptr<float>(i),
                         band.difference.ptr<float>(i), weight.ptr<float>(i), image.cols);
        }
        Solve(sums, mesh);
    }
}

OffsetMesh MakeMesh(int width, int height, int spacing)
{
    OffsetMesh mesh;
    mesh.spacing = spacing;
    mesh.columns = (width - 1) / spacing + 2;
    mesh.rows = (height - 1) / spacing + 2;
    mesh.x.assign(static_cast<std::size_t>(mesh.columns) * mesh.rows, 0.0F);
    mesh.y = mesh.x;
    return mesh;
}

OffsetMesh RefineMesh(const OffsetMesh& coarse, int width, int height)
{
    OffsetMesh fine = MakeMesh(width, height, coarse.spacing);
    for (int row = 0; row < fine.rows; ++row)
        for (int column = 0; column < fine.columns; ++column)
        {
            const RealPoint offset = coarse.At(0.5 * column * fine.spacing, 0.5 * row * fine.spacing);
            const auto node = static_cast<std::size_t>(row) * fine.columns + column;
            fine.x[node] = static_cast<float>(2.0 * offset.x);
            fine.y[node] = static_cast<float>(2.0 * offset.y);
        }
    return fine;
}

} // namespace narvo
