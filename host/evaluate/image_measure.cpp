// SPDX-License-Identifier: MIT
// Bins, regions of a mask, and blobs against regions.
#include "host/evaluate/image_measure.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

#include <opencv2/imgproc.hpp>

#include "host/boxes.h"

namespace narvo
{

namespace
{

// The upper bits of a positive float grow with it: 7 bits of mantissa below the exponent.
constexpr int nBitsBelow = 16;
constexpr int nFirstBin = (127 - 6) << 7; ///< of 1/64

BinCounts CountsOf(const std::vector<std::uint32_t>& dense)
{
    BinCounts counts;
    for (std::size_t bin = 0; bin < dense.size(); ++bin)
        if (dense[bin] != 0)
            counts.emplace_back(static_cast<std::uint16_t>(bin), dense[bin]);
    return counts;
}

/// Whether a pixel of region `number` lies in the rectangle.
bool HasPixelIn(const cv::Mat& labels, int number, const CRect& rect)
{
    for (int y = std::max(0, rect.top); y < std::min(labels.rows, rect.bottom); ++y)
        for (int x = std::max(0, rect.left); x < std::min(labels.cols, rect.right); ++x)
            if (labels.at<int>(y, x) == number)
                return true;
    return false;
}

void MeasurePixels(const ScoreImage& scores, const ImageTruth& truth, ImageMeasure& measure)
{
    std::vector<std::uint32_t> good(nScoreBins, 0);
    std::vector<std::uint32_t> bad(nScoreBins, 0);
    std::vector<std::vector<std::uint32_t>> byRegion(truth.regions.size(), std::vector<std::uint32_t>(nScoreBins, 0));
    for (int y = 0; y < truth.labels.rows; ++y)
        for (int x = 0; x < truth.labels.cols; ++x)
        {
            const auto bin = static_cast<std::size_t>(BinOf(scores.At(x, y)));
            const int label = truth.labels.at<int>(y, x);
            ++(label == 0 ? good : bad)[bin];
            if (label != 0)
                ++byRegion[static_cast<std::size_t>(label - 1)][bin];
        }
    measure.hasPixels = true;
    measure.goodPixels = CountsOf(good);
    measure.badPixels = CountsOf(bad);
    for (std::size_t i = 0; i < truth.regions.size(); ++i)
        measure.regions[i].scores = CountsOf(byRegion[i]);
}

void MeasureUnits(const ScoreImage& scores, const ImageTruth& truth, int patch, cv::Size size, ImageMeasure& measure)
{
    const int width = patch == 0 ? size.width : patch;
    const int height = patch == 0 ? size.height : patch;
    for (int top = 0; top + height <= size.height; top += height)
        for (int left = 0; left + width <= size.width; left += width)
        {
            ScoredUnit unit;
            unit.defective = patch == 0 && truth.defective;
            for (int y = top; y < top + height; ++y)
                for (int x = left; x < left + width; ++x)
                {
                    unit.score = std::max(unit.score, static_cast<double>(scores.At(x, y)));
                    unit.defective = unit.defective || (!truth.labels.empty() && truth.labels.at<int>(y, x) != 0);
                }
            measure.units.push_back(unit);
        }
}

} // namespace

int BinOf(float score)
{
    if (!(score > 0.0F))
        return 0;
    const int bin = static_cast<int>(std::bit_cast<std::uint32_t>(score) >> nBitsBelow) - nFirstBin;
    return std::clamp(bin, 1, nScoreBins - 1);
}

double ScoreOfBin(int bin)
{
    return bin == 0 ? 0.0 : std::bit_cast<float>(static_cast<std::uint32_t>(bin + nFirstBin) << nBitsBelow);
}

ImageTruth TruthOfMask(const cv::Mat& mask, const std::string& kind)
{
    ImageTruth truth;
    double highest = 0.0;
    cv::minMaxLoc(mask, nullptr, &highest);
    cv::Mat measures;
    cv::Mat centres;
    const cv::Mat above = mask > std::floor(highest / 2.0);
    const int count = cv::connectedComponentsWithStats(above, truth.labels, measures, centres, 8, CV_32S, cv::CCL_WU);
    for (int i = 1; i < count; ++i)
    {
        const auto at = [&](int column) { return measures.at<int>(i, column); };
        const int left = at(cv::CC_STAT_LEFT);
        const int top = at(cv::CC_STAT_TOP);
        truth.regions.push_back(
            {kind, CRect(left, top, left + at(cv::CC_STAT_WIDTH), top + at(cv::CC_STAT_HEIGHT)), at(cv::CC_STAT_AREA)});
    }
    truth.outlined = true;
    truth.defective = !truth.regions.empty();
    return truth;
}

ImageTruth TruthOfBoxes(const std::vector<TrueBox>& boxes, cv::Size size)
{
    ImageTruth truth;
    truth.labels = cv::Mat::zeros(size, CV_32S);
    const cv::Rect whole(cv::Point(), size);
    for (const TrueBox& box : boxes)
    {
        const cv::Rect rect = whole & cv::Rect(box.box.left, box.box.top, box.box.Width(), box.box.Height());
        if (rect.empty())
            throw HostError(
                {{"box",
                  std::to_string(box.box.left) + ' ' + std::to_string(box.box.top) + ' ' +
                      std::to_string(box.box.right) + ' ' + std::to_string(box.box.bottom),
                  "in the image of " + std::to_string(size.width) + " by " + std::to_string(size.height) + " pixels"}});
        truth.regions.push_back({box.kind, CRect(rect.x, rect.y, rect.x + rect.width, rect.y + rect.height),
                                 static_cast<int>(rect.area())});
        truth.labels(rect).setTo(static_cast<int>(truth.regions.size()));
    }
    truth.defective = !truth.regions.empty();
    return truth;
}

ImageMeasure MeasureImage(const ImageScores& scores, const ImageTruth& truth, const ScoringRules& rules)
{
    ImageMeasure measure;
    measure.defective = truth.defective;
    const cv::Size size = truth.labels.empty() ? cv::Size(scores.scores.width * scores.scores.step,
                                                          scores.scores.height * scores.scores.step)
                                               : truth.labels.size();
    for (const TrueRegion& region : truth.regions)
        measure.regions.push_back({region.kind, region.area, {}, std::vector<bool>(scores.blobs.size(), false)});
    MeasureUnits(scores.scores, truth, rules.patch, size, measure);
    if (!truth.labels.empty())
        MeasurePixels(scores.scores, truth, measure);
    measure.falseBlobs.assign(scores.blobs.size(), 0);
    for (std::size_t factor = 0; factor < scores.blobs.size(); ++factor)
        for (const FoundBlob& blob : scores.blobs[factor])
        {
            if (blob.area < rules.smallest)
                continue;
            bool useful = truth.labels.empty() && truth.defective; // nobody knows where the defect is
            for (std::size_t i = 0; i < truth.regions.size(); ++i)
            {
                const TrueRegion& region = truth.regions[i];
                const CRect reach = Grown(blob.box, rules.margin);
                if (blob.area > rules.largest * region.area || !Overlap(reach, region.box) ||
                    (truth.outlined && !HasPixelIn(truth.labels, static_cast<int>(i) + 1, reach)))
                    continue;
                measure.regions[i].found[factor] = true;
                useful = true;
            }
            measure.falseBlobs[factor] += useful ? 0 : 1;
            measure.flagged = measure.flagged || factor == nFactorOne;
        }
    return measure;
}

} // namespace narvo
