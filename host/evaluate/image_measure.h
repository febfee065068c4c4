// SPDX-License-Identifier: MIT
// One image measured against what is true of it: all that curves and their confidence need, small enough to keep for
// every image.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <opencv2/core.hpp>

#include "host/evaluate/evaluation_set.h"
#include "host/evaluate/threshold_sweep.h"

namespace narvo
{

/// Scores are counted in 128 steps for each doubling; bin 0 is a score of 0.
constexpr int nScoreBins = 2048;
int BinOf(float score);
/// The lowest score of a bin.
double ScoreOfBin(int bin);

/// Counts by bin, those that are not 0, in ascending order.
using BinCounts = std::vector<std::pair<std::uint16_t, std::uint32_t>>;

/// A true defect: a box, or a connected part of the mask.
struct TrueRegion
{
    std::string kind;
    CRect box;
    int area = 0; ///< pixels
};

/// Where an image is defective.
struct ImageTruth
{
    std::vector<TrueRegion> regions;
    cv::Mat labels;        ///< CV_32S: number of the region from 1, 0 elsewhere; empty: not known
    bool outlined = false; ///< regions have the shape of the defects; otherwise they are boxes
    bool defective = false;
};

/// Of a mask (CV_8U): what lies above half of its largest value is defect.
ImageTruth TruthOfMask(const cv::Mat& mask, const std::string& kind);
/// Of boxes in an image of that size. Where boxes overlap, pixels count for the later one.
ImageTruth TruthOfBoxes(const std::vector<TrueBox>& boxes, cv::Size size);

struct ScoringRules
{
    int margin = 3;      ///< pixels by which a region is grown; a blob that touches it finds it
    int smallest = 1;    ///< pixels: smaller blobs do not count
    int patch = 0;       ///< side of the squares that count as images, pixels; 0: the whole image
    double largest = 20; ///< a blob of more than so many times a region's area finds nothing there
};

/// An image, or a patch of one, as a whole.
struct ScoredUnit
{
    double score = 0.0; ///< the highest of its pixels
    bool defective = false;
};

struct RegionMeasure
{
    std::string kind;
    int area = 0;
    BinCounts scores;        ///< of its pixels
    std::vector<bool> found; ///< for each factor
};

struct ImageMeasure
{
    std::vector<ScoredUnit> units;
    bool hasPixels = false; ///< the defects' pixels are known: the two below mean something
    BinCounts goodPixels;
    BinCounts badPixels;
    std::vector<RegionMeasure> regions;
    std::vector<int> falseBlobs; ///< for each factor
    bool defective = false;
    bool flagged = false; ///< reported as defective at factor 1
};

/// A blob touches a region where its box meets the box of the region grown by the margin and, of masks, a pixel of the
/// region grown by the margin. A blob that touches no region, or is too large for all that it touches, is false. Scores
/// cover the image that `truth` describes.
ImageMeasure MeasureImage(const ImageScores& scores, const ImageTruth& truth, const ScoringRules& rules);

} // namespace narvo
