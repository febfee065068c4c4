// The local part of a registration: what an affine map leaves over, such as uneven feed of a line camera or a stretched
// board, as offsets on a coarse mesh.
#pragma once

#include <array>

#include <opencv2/core.hpp>

#include "host/golden/registration.h"

namespace narvo
{

/// The places in the reference of `rows` image rows from `top` on, as cv::remap takes them.
void PlacesInReference(const std::array<double, 6>& affine, const OffsetMesh& mesh, int top, cv::Mat& x, cv::Mat& y);

/// Fits the mesh to both pictures by least squares on grey values, from `mesh` on, whose nodes it keeps. Differences
/// that no small offset explains weigh little, so that defects pull the mesh as little as may be.
void FitMesh(const cv::Mat& reference, const cv::Mat& image, const std::array<double, 6>& affine, OffsetMesh& mesh);

/// A mesh without offsets over an image of that size.
OffsetMesh MakeMesh(int width, int height, int spacing);

/// The mesh for the same picture at twice the resolution, with nodes at the same distance in its pixels.
OffsetMesh RefineMesh(const OffsetMesh& coarse, int width, int height);

} // namespace narvo
