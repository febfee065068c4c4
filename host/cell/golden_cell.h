// SPDX-License-Identifier: MIT
// The golden cell: what the cell of a pattern looks like in good images, kept so that later images can be held against
// it. A comparison of a pattern with itself cannot see what is wrong in every cell alike; the golden cell can, down to
// a fraction of the noise, since it compares means over all cells.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <opencv2/core.hpp>

#include "host/cell/cell_fold.h"
#include "host/cell/cell_registration.h"
#include "host/cell/pattern_cell.h"
#include "host/image/grey_image.h"
#include "host/recipe/recipe.h"

namespace narvo
{

/// Cells of a million places at most.
constexpr int nCellBinLimit = 1 << 20;
constexpr std::size_t nGoldenCellImageLimit = 1000;

struct CellSettings
{
    double leastDifference = 2.0; ///< grey levels below which nothing is reported, 0 to 255
    double tolerance = 0.15;      ///< pixels by which edges may lie elsewhere, 0 to 4
    double certainty = 6.0;       ///< standard errors that a difference must exceed, 3 to 100
};

/// One region's cell. Matrices are CV_32F, about a bin for each pixel of the cell.
struct GoldenCell
{
    std::string region; ///< name in the recipe
    PatternCell cell;
    cv::Mat mean;  ///< grey levels
    cv::Mat noise; ///< by which the mean of another good image may differ: standard error, and scatter of good images
    int images = 0;
};

/// What one image shows: the mean of its parts, each moved and lit so as to fit the reference best.
struct ShownCell
{
    cv::Mat mean;
    cv::Mat error; ///< standard error of the mean, grey levels
    cv::Point2d
        displacement;      ///< pixels along the cell's vectors by which the pattern lies elsewhere, in the middle part
    CellLight light;       ///< of the middle part
    std::size_t parts = 0; ///< that the mean is made of
    std::size_t leftOut = 0; ///< parts that do not resemble the reference
};

/// A place of the cell that differs.
struct CellDeviation
{
    CRect box; ///< pixels from the corner of the cell along its vectors; may end beyond the cell's edge
    int x = 0; ///< where it differs most
    int y = 0;
    int area = 0;            ///< bins
    double difference = 0.0; ///< the greatest, grey levels, positive where the image is brighter
    double errors = 0.0;     ///< the greatest in standard errors
};

struct CellComparison
{
    ShownCell shown;
    cv::Mat difference;               ///< from the golden cell, grey levels
    std::vector<CellDeviation> found; ///< the most certain first
};

/// Makes golden cells of one region.
class GoldenCellLearner
{
public:
    /// @throws HostError where the recipe has no cell, with the reason, or one of more than nCellBinLimit places
    explicit GoldenCellLearner(const Recipe& recipe);

    /// One more good image, which the learner does not keep.
    /// @throws HostError where it is too small, or its pattern does not fit the recipe's pitch or the earlier images
    void Add(const GreyView& image);
    /// @throws HostError where no image was added
    GoldenCell Finish() const;

private:
    const Recipe m_recipe;
    GoldenCell m_golden; ///< its mean is the reference that images are moved to
    // Sums over the images, CV_64F.
    cv::Mat m_differences; ///< of their means from the first one's
    cv::Mat m_squares;     ///< of these differences
    cv::Mat m_errorSquares;
};

/// How a later image of the same recipe differs from the golden cell in every cell alike.
/// @throws HostError where the image is too small, does not resemble the cell, or the recipe has another cell
CellComparison CompareCell(const GoldenCell& golden, const GreyView& image, const Recipe& recipe,
                           const CellSettings& settings = {});

/// @throws HostError where the recipe has no cell, or one of another size than the golden cell
void CheckCellFits(const GoldenCell& golden, const Recipe& recipe);

/// @throws HostError with the settings that are out of their range
void CheckCellSettings(const CellSettings& settings);

} // namespace narvo
