// SPDX-License-Identifier: MIT
// Gauss-Newton steps for the offsets of the mesh. Each point's normal equations count for the four nodes around it;
// neighbouring nodes are tied together, which carries offsets into places without structure.
#include "host/golden/mesh_fit.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace narvo
{

namespace
{

constexpr int nMeshSteps = 8;
constexpr int nSweeps = 60;           // of the relaxation that solves a step
constexpr double dTie = 0.02;         // of neighbouring nodes, in shares of a node's mean weight
constexpr double dLeash = 0.2;        // to no offset, in shares of the tie: far from all structure the global map holds
constexpr double dLeastOffset = 0.2;  // pixels of the level: a mesh that moves nothing further is none
constexpr double dMeshSettled = 0.05; // pixels of the level

/// Normal equations of one node: products of gradients xx, xy, yy and those of the difference with x, y.
struct NodeSums
{
    double xx = 0.0;
    double xy = 0.0;
    double yy = 0.0;
    double xe = 0.0;
    double ye = 0.0;
};

struct Cell
{
    std::size_t node; ///< upper left
    double x;         ///< share of the way to the right one
    double y;
};

Cell CellOf(const OffsetMesh& mesh, double x, double y)
{
    const int column = std::clamp(static_cast<int>(x / mesh.spacing), 0, mesh.columns - 2);
    const int row = std::clamp(static_cast<int>(y / mesh.spacing), 0, mesh.rows - 2);
    return {static_cast<std::size_t>(row) * static_cast<std::size_t>(mesh.columns) + static_cast<std::size_t>(column),
            x / mesh.spacing - column, y / mesh.spacing - row};
}

OffsetMesh MakeMesh(int width, int height, int spacing)
{
    OffsetMesh mesh;
    mesh.spacing = spacing;
    mesh.columns = (width - 1) / spacing + 2;
    mesh.rows = (height - 1) / spacing + 2;
    mesh.x.assign(static_cast<std::size_t>(mesh.columns) * static_cast<std::size_t>(mesh.rows), 0.0F);
    mesh.y = mesh.x;
    return mesh;
}

/// The same offsets on nodes that lie closer.
OffsetMesh Resample(const OffsetMesh& coarse, int width, int height, int spacing)
{
    OffsetMesh fine = MakeMesh(width, height, spacing);
    if (coarse.IsEmpty())
        return fine;
    for (int row = 0; row < fine.rows; ++row)
        for (int column = 0; column < fine.columns; ++column)
        {
            const RealPoint offset =
                coarse.At(static_cast<double>(column) * spacing, static_cast<double>(row) * spacing);
            const auto node = static_cast<std::size_t>(row) * static_cast<std::size_t>(fine.columns) +
                              static_cast<std::size_t>(column);
            fine.x[node] = static_cast<float>(offset.x);
            fine.y[node] = static_cast<float>(offset.y);
        }
    return fine;
}

/// Adds one point to the four nodes around it.
void AddPoint(const Cell& cell, std::size_t columns, double gx, double gy, double difference, double share,
              std::vector<NodeSums>& sums)
{
    const double weightX = share * gx;
    const double weightY = share * gy;
    const NodeSums whole{weightX * gx, weightX * gy, weightY * gy, weightX * difference, weightY * difference};
    const auto add = [&](std::size_t node, double part)
    {
        NodeSums& s = sums[node];
        s.xx += part * whole.xx;
        s.xy += part * whole.xy;
        s.yy += part * whole.yy;
        s.xe += part * whole.xe;
        s.ye += part * whole.ye;
    };
    add(cell.node, (1.0 - cell.x) * (1.0 - cell.y));
    add(cell.node + 1, cell.x * (1.0 - cell.y));
    add(cell.node + columns, (1.0 - cell.x) * cell.y);
    add(cell.node + columns + 1, cell.x * cell.y);
}

/// Relaxes all nodes towards the solution of their normal equations, tied to their neighbours; no offset is longer than
/// `reach` along x or y. @return longest change
double Solve(std::vector<NodeSums>& sums, double reach, OffsetMesh& mesh)
{
    double mean = 0.0;
    for (std::size_t node = 0; node < sums.size(); ++node)
    {
        NodeSums& s = sums[node];
        mean += s.xx + s.yy;
        // From steps to whole offsets.
        s.xe += s.xx * mesh.x[node] + s.xy * mesh.y[node];
        s.ye += s.xy * mesh.x[node] + s.yy * mesh.y[node];
    }
    const double tie = dTie * mean / static_cast<double>(sums.size());
    if (!(tie > 0.0))
        return 0.0;
    const std::vector<float> oldX = mesh.x;
    const std::vector<float> oldY = mesh.y;
    for (int sweep = 0; sweep < nSweeps; ++sweep)
        for (int row = 0; row < mesh.rows; ++row)
            for (int column = 0; column < mesh.columns; ++column)
            {
                const auto node = static_cast<std::size_t>(row) * static_cast<std::size_t>(mesh.columns) +
                                  static_cast<std::size_t>(column);
                const NodeSums& s = sums[node];
                double bx = s.xe;
                double by = s.ye;
                int neighbours = 0;
                const auto add = [&](int c, int r)
                {
                    if (c < 0 || r < 0 || c >= mesh.columns || r >= mesh.rows)
                        return;
                    const auto other = static_cast<std::size_t>(r) * static_cast<std::size_t>(mesh.columns) +
                                       static_cast<std::size_t>(c);
                    bx += tie * mesh.x[other];
                    by += tie * mesh.y[other];
                    ++neighbours;
                };
                add(column - 1, row);
                add(column + 1, row);
                add(column, row - 1);
                add(column, row + 1);
                const double xx = s.xx + tie * (neighbours + dLeash);
                const double yy = s.yy + tie * (neighbours + dLeash);
                const double determinant = xx * yy - s.xy * s.xy;
                mesh.x[node] = static_cast<float>(std::clamp((yy * bx - s.xy * by) / determinant, -reach, reach));
                mesh.y[node] = static_cast<float>(std::clamp((xx * by - s.xy * bx) / determinant, -reach, reach));
            }
    double largest = 0.0;
    for (std::size_t node = 0; node < sums.size(); ++node)
        largest = std::max<double>(largest, std::hypot(mesh.x[node] - oldX[node], mesh.y[node] - oldY[node]));
    return largest;
}

/// The global map with a mesh at the points of one level.
class MeshLook
{
public:
    MeshLook(const EdgeLevel& level, const FittedMap& fitted, const OffsetMesh& mesh) : m_level(level)
    {
        const EdgePoints& points = level.Points();
        const SteppedMap map(fitted.map);
        m_places.resize(points.Size());
        m_cells.resize(points.Size());
        for (std::size_t i = 0; i < points.Size(); ++i)
        {
            m_places[i] = map.At(points.x[i], points.y[i]);
            m_cells[i] = CellOf(mesh, points.x[i], points.y[i]);
        }
    }

    /// Each point's cell of the mesh.
    const std::vector<Cell>& Cells() const { return m_cells; }

    void Look(const OffsetMesh& mesh, PointLook& look) const
    {
        m_level.Look(
            [&](std::size_t i)
            {
                const Cell& cell = m_cells[i];
                const auto mix = [&](const std::vector<float>& values)
                {
                    const float* node = values.data() + cell.node;
                    const double upper = node[0] + cell.x * (node[1] - node[0]);
                    const double lower = node[mesh.columns] + cell.x * (node[mesh.columns + 1] - node[mesh.columns]);
                    return upper + cell.y * (lower - upper);
                };
                return RealPoint{m_places[i].x + mix(mesh.x), m_places[i].y + mix(mesh.y)};
            },
            look);
    }

private:
    const EdgeLevel& m_level;
    std::vector<RealPoint> m_places;
    std::vector<Cell> m_cells;
};

/// Fits to the points of one colour of the chequerboard, or to all (-1).
void FitLevel(const EdgeLevel& level, const FittedMap& fitted, double reach, FittedMesh& state, int half)
{
    const EdgePoints& points = level.Points();
    const MeshLook places(level, fitted, state.mesh);
    places.Look(state.mesh, state.look);
    state.differences.gain = fitted.differences.gain;
    StartOffsets(points, state.look, state.differences);
    std::vector<double> shares(points.Size());
    for (int step = 0; step < nMeshSteps; ++step)
    {
        CentreOffsets(points, state.look, state.differences);
        std::vector<NodeSums> sums(state.mesh.x.size());
        const double gain = state.differences.gain;
        for (std::size_t block = 0; block < points.Blocks(); ++block)
        {
            // Without the block's means the gradients say nothing of its offset.
            double weights = 0.0;
            double meanX = 0.0;
            double meanY = 0.0;
            double mean = 0.0;
            for (std::size_t i = points.blocks[block]; i < points.blocks[block + 1]; ++i)
            {
                const double share = state.look.inside[i] != 0 && points.odd[i] != 1 - half
                                         ? RobustWeight(state.differences.difference[i], state.differences.scale)
                                         : 0.0;
                shares[i] = share;
                weights += share;
                meanX += share * state.look.gradientX[i];
                meanY += share * state.look.gradientY[i];
                mean += share * state.differences.difference[i];
            }
            if (!(weights > 0.0))
                continue;
            meanX /= weights;
            meanY /= weights;
            mean /= weights;
            for (std::size_t i = points.blocks[block]; i < points.blocks[block + 1]; ++i)
                if (shares[i] > 0.0)
                {
                    const double gx = gain * (state.look.gradientX[i] - meanX);
                    const double gy = gain * (state.look.gradientY[i] - meanY);
                    AddPoint(places.Cells()[i], static_cast<std::size_t>(state.mesh.columns), gx, gy,
                             state.differences.difference[i] - mean, shares[i], sums);
                }
        }
        const double change = Solve(sums, reach, state.mesh);
        places.Look(state.mesh, state.look);
        Differ(points, state.look, state.differences);
        if (change < dMeshSettled * level.Scale())
            break;
    }
    CentreOffsets(points, state.look, state.differences);
}

} // namespace

FittedMesh FitMesh(const std::vector<EdgeLevel>& levels, const FittedMap& fitted, int width, int height, int spacing)
{
    const FittedMesh plain{fitted, {}};
    if (spacing == 0)
        return plain;
    const double reach = spacing / 8.0; // keeps the mesh from folding, and from doing what the limits forbid
    FittedMesh state;
    for (std::size_t i = levels.size(); i-- > 0;)
    {
        const EdgeLevel& level = levels[i];
        // Nodes as far apart, in pixels of the level, as they are on the finest one.
        const int apart = spacing * level.Scale() / levels.front().Scale();
        if (2 * apart > std::min(width, height) && i > 0)
            continue;
        state.mesh = Resample(state.mesh, width, height, apart);
        if (i == 0)
        {
            // Held against the points that the mesh does not know.
            FittedMesh tried = state;
            FitLevel(level, fitted, reach, tried, 0);
            if (!Explains(level.Points(), plain, tried, dProof, 1))
                return plain;
            state.mesh = std::move(tried.mesh);
        }
        FitLevel(level, fitted, reach, state, -1);
    }
    double longest = 0.0;
    for (std::size_t node = 0; node < state.mesh.x.size(); ++node)
        longest = std::max<double>(longest, std::hypot(state.mesh.x[node], state.mesh.y[node]));
    return longest < dLeastOffset * levels.front().Scale() ? plain : state;
}

} // namespace narvo
