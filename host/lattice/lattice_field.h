// SPDX-License-Identifier: MIT
// How the vectors of a lattice change over an image: measured place by place, by the least squared differences between
// pieces of the image one vector apart.
#pragma once

#include <cstddef>
#include <vector>

#include <opencv2/core.hpp>

#include "host/image/grey_image.h"
#include "host/lattice/lattice.h"

namespace narvo
{

class LatticeField
{
public:
    /// @param lattice by its shortest vectors
    /// @param strip side of the places at which the vectors are measured, pixels; 0: once for the whole image
    /// @param slack how far a vector may lie from that of `lattice`, pixels; no further than a third of the shortest
    LatticeField(const GreyImage& image, const Lattice& lattice, int strip, int slack);

    const Lattice& Mean() const { return m_lattice; }
    /// The displacement from a place of the image to the one so many steps on, vector by vector along the way.
    LatticeVector Displacement(double x, double y, const LatticeStep& step) const;

private:
    /// One vector at the nodes of a grid.
    struct Nodes
    {
        cv::Mat x; ///< CV_64F
        cv::Mat y;
    };

    Nodes Measure(const cv::Mat& pixels, const LatticeVector& vector, int slack) const;
    LatticeVector VectorAt(std::size_t number, double x, double y) const;

    Lattice m_lattice;
    double m_spacingX;
    double m_spacingY;
    int m_columns;
    int m_rows;
    std::vector<Nodes> m_nodes; ///< by vector
};

} // namespace narvo
