// SPDX-License-Identifier: MIT
// Where an image shows the pattern. Cloth on a table, or a board on a carrier, does not fill the image: what lies
// beside it, and what is blown out or empty, must neither be inspected nor disturb the statistics of the rest.
#pragma once

#include <opencv2/core.hpp>

namespace narvo
{

/// Pixels of a grey image (CV_32F, 0 .. 255) that show the pattern: 1, the others 0 (CV_8U). With `findMargins`, strips
/// of 16 columns are compared by level, gradient and contrast; from the run of strips that is most typical of the image
/// the area grows to both sides while the texture goes on, slow drift allowed. Without, only what is blown out or empty
/// over a large area is left out.
cv::Mat FindPatternArea(const cv::Mat& image, bool findMargins);

} // namespace narvo
