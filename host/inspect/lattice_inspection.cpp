// SPDX-License-Identifier: MIT
// The lattice of a region, the reference from it, the limits, and what the comparison finds.
#include "host/inspect/lattice_inspection.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"
#include "host/input/flatten.h"
#include "host/inspect/elapsed.h"
#include "host/inspect/inspection_plan.h"
#include "host/inspect/reference_comparison.h"
#include "host/lattice/lattice_field.h"
#include "host/lattice/lattice_reference.h"
#include "host/lattice/lattice_search.h"
#include "host/lattice/resemblance.h"
#include "host/reference/reference_limits.h"

namespace narvo
{

namespace
{

constexpr int nLatticeContrast = 40;       // grey levels by which an edge stands out from what is around it
constexpr int nLatticeNarrowContrast = 20; // grey levels by which a track or a gap does
constexpr int nLatticeEdgeReach = 8;       // pixels: as far as a block of a compressed file reaches
constexpr int nMarginLines = 4;            // that are judged together
constexpr double dMarginShare = 0.15;      // of their pixels that differ: more is no pattern
constexpr double dMarginHigh = 0.25;       // of the side, the widest
constexpr float fFlatMiddle = 128.0F;      // grey level of what is as bright as its surroundings
constexpr float fFlatUnit = 24.0F;         // grey levels for a mean deviation: five of them fit

/// Light and local contrast taken out, as grey levels.
GreyImage FlattenedImage(const GreyImage& image, int window)
{
    cv::Mat grey;
    ViewOf(image).convertTo(grey, CV_32F);
    const cv::Mat flat = Flatten(grey, cv::Mat::ones(grey.size(), CV_8U), {window, window}, window);
    cv::Mat pixels;
    flat.convertTo(pixels, CV_8U, fFlatUnit, fFlatMiddle);
    return ImageOf(pixels);
}

Lattice LatticeOf(const Recipe& recipe, const GreyImage& image)
{
    const LatticeVector a{recipe.latticeAX, recipe.latticeAY};
    const LatticeVector b{recipe.latticeBX, recipe.latticeBY};
    if (a.Length() > 0.0)
        return Reduced(b.Length() > 0.0 ? Lattice{{a, b}} : Lattice{{a}});
    const LatticeSearch found = SearchLattice(image);
    if (found.lattice.vectors.empty())
        throw HostError(
            {{"lattice",
              "none found (the image resembles itself by " + FormatNumber(std::round(found.best * 100.0) / 100.0) +
                  " at most; " + FormatNumber(dLatticeStrengthLow) + " is needed)",
              "a pattern that repeats after " + FormatNumber(dLatticeVectorLow) + " pixels or more, and after " +
                  FormatNumber(dLatticeVectorShare) + " times the region's side or less; or lattice.a and lattice.b"}});
    return found.lattice;
}

ReferenceLimits LimitsOf(const LatticeComparison& compared)
{
    return {compared.reference, compared.image, compared.range, compared.nearEdge, compared.base};
}

/// Whether a blob, displaced by a vector or its opposite, lies on another one over half of its box or more.
bool LiesOn(const CRect& box, const CRect& other, const Lattice& lattice)
{
    for (const LatticeVector& vector : lattice.vectors)
        for (const int sign : {-1, 1})
        {
            const int x = sign * static_cast<int>(std::lround(vector.x));
            const int y = sign * static_cast<int>(std::lround(vector.y));
            const int width = std::min(box.right + x, other.right) - std::max(box.left + x, other.left);
            const int height = std::min(box.bottom + y, other.bottom) - std::max(box.top + y, other.top);
            if (width > 0 && height > 0 && 2 * width * height >= box.Width() * box.Height())
                return true;
        }
    return false;
}

/// Blobs that differ from a single neighbour do so twice, here and there. Where the other is seen against several
/// neighbours, it is the defect. Of two single ones that resembles other parts of the image is as it should be.
void SettleSingles(const LatticeComparison& compared, std::vector<Blob>& blobs)
{
    const Resemblance resemblance(compared.image);
    std::vector<char> dropped(blobs.size(), 0);
    for (std::size_t i = 0; i < blobs.size(); ++i)
        for (std::size_t k = 0; k < blobs.size() && blobs[i].single && dropped[i] == 0; ++k)
        {
            if (dropped[k] != 0 || blobs[k].bright == blobs[i].bright ||
                !LiesOn(blobs[i].box, blobs[k].box, compared.lattice))
                continue;
            if (!blobs[k].single)
                dropped[i] = 1;
            else if (k > i || !LiesOn(blobs[k].box, blobs[i].box, compared.lattice))
            {
                const Resembling more = resemblance.Compare(blobs[i].box, blobs[k].box);
                dropped[i] = more == Resembling::First ? 1 : 0;
                dropped[k] = more == Resembling::Second ? 1 : 0;
            }
        }
    std::size_t number = 0;
    std::erase_if(blobs, [&](const Blob&) { return dropped[number++] != 0; });
}

/// Rows and columns at the border over which so much differs that they are no part of the pattern.
CRect FindPatternPart(const LatticeComparison& compared)
{
    cv::Mat different = cv::Mat::zeros(compared.image.Height(), compared.image.Width(), CV_8U);
    cv::absdiff(ViewOf(compared.image), ViewOf(compared.reference), different);
    different = different > ViewOf(compared.threshold);
    const auto marginOf = [&](bool rows, bool fromEnd)
    {
        cv::Mat shares;
        cv::reduce(different, shares, rows ? 1 : 0, cv::REDUCE_AVG, CV_64F);
        const int length = static_cast<int>(shares.total());
        const double* share = shares.ptr<double>();
        const auto isOther = [&](int place)
        {
            double sum = 0.0;
            for (int i = place; i < place + nMarginLines; ++i)
                sum += share[fromEnd ? length - 1 - i : i] / 255.0;
            return sum > dMarginShare * nMarginLines;
        };
        int margin = 0;
        while (margin + nMarginLines < length && isOther(margin))
            ++margin;
        margin += margin > 0 ? nMarginLines : 0;
        // Where that much differs, the pattern is not what was taken for it.
        return margin <= dMarginHigh * length ? margin : 0;
    };
    const int top = marginOf(true, false);
    const int left = marginOf(false, false);
    return {left, top, compared.image.Width() - marginOf(false, true), compared.image.Height() - marginOf(true, true)};
}

/// Reference, limits and threshold from the part that shows the pattern.
void FormComparison(const Recipe& recipe, const LatticeField& field, const CRect& valid, LatticeComparison& compared)
{
    const int frame = static_cast<int>(std::ceil(recipe.latticeTolerance)) + 2;
    LatticeReference formed = FormReference(compared.image, valid, frame, field, recipe.latticeNeighbours,
                                            static_cast<LatticeJoin>(recipe.latticeJoin));
    const GreyRange widened = WidenRange(formed.range, formed.middle, recipe.latticeTolerance, nLatticeNarrowContrast);
    const cv::Rect inner(frame, frame, compared.image.Width(), compared.image.Height());
    const auto cut = [&](const GreyImage& framed) { return ImageOf(ViewOf(framed)(inner)); };
    const GreyImage middle = cut(formed.middle);
    compared.valid = valid;
    compared.range = {cut(widened.darkest), cut(widened.brightest)};
    compared.nearEdge = cut(NearEdges(formed.middle, nLatticeEdgeReach, nLatticeContrast));
    cv::Mat count = cv::Mat::zeros(inner.size(), CV_8U);
    const cv::Rect part(valid.left, valid.top, valid.Width(), valid.Height());
    ViewOf(formed.count)(inner)(part).copyTo(count(part));
    compared.count = ImageOf(count);
    compared.base = ThresholdFromNoise(middle, compared.image, compared.range, compared.nearEdge, compared.count);
    const cv::Mat raised = cv::max(ViewOf(compared.image), ViewOf(formed.range.darkest)(inner));
    compared.reference = ImageOf(cv::min(raised, ViewOf(formed.range.brightest)(inner)));
    if (recipe.latticeThreshold > 0)
        SetThreshold(compared, recipe.latticeThreshold);
    else
        compared.threshold = LimitsOf(compared).Thresholds(compared.count);
}

/// "rows 0 to 33", "columns 600 to 639": what is left out.
std::string MarginsText(const CRect& valid, const CRect& region)
{
    std::string text;
    const auto add = [&](const char* lines, int from, int to)
    {
        if (to > from)
            text += (text.empty() ? "" : ", ") + std::string(lines) + " " + std::to_string(from) + " to " +
                    std::to_string(to - 1);
    };
    add("rows", region.top, region.top + valid.top);
    add("rows", region.top + valid.bottom, region.bottom);
    add("columns", region.left, region.left + valid.left);
    add("columns", region.left + valid.right, region.right);
    return text;
}

} // namespace

void SetThreshold(LatticeComparison& compared, int threshold)
{
    compared.base.flat = compared.base.nearEdge = threshold;
    compared.threshold = LimitsOf(compared).Thresholds(compared.count);
}

LatticeComparison CompareLattice(const GreyView& image, const InspectionPlan& plan)
{
    plan.CheckSize(image);
    const auto start = std::chrono::steady_clock::now();
    const Recipe& recipe = plan.GetRecipe();
    const CRect& region = plan.Region();
    LatticeComparison compared;
    compared.image = GreyImage(image.Row(region.top) + region.left, region.Width(), region.Height(), image.Stride());
    if (recipe.latticeFlatten > 0)
        compared.image = WithinMemory([&] { return FlattenedImage(compared.image, recipe.latticeFlatten); });
    compared.lattice = LatticeOf(recipe, compared.image);
    const LatticeField field(compared.image, compared.lattice, recipe.latticeStrip, recipe.latticeSlack);
    WithinMemory(
        [&]
        {
            const CRect whole(0, 0, region.Width(), region.Height());
            FormComparison(recipe, field, whole, compared);
            const CRect valid = recipe.latticeMargins ? FindPatternPart(compared) : whole;
            if (valid != whole)
                FormComparison(recipe, field, valid, compared);
            return 0;
        });
    compared.milliseconds = MillisecondsSince(start);
    return compared;
}

InspectionResult InspectCompared(Inspector& inspector, int lane, const LatticeComparison& compared,
                                 const InspectionPlan& plan)
{
    const auto start = std::chrono::steady_clock::now();
    const Recipe& recipe = plan.GetRecipe();
    const CRect& region = plan.Region();
    InspectionResult result =
        CompareWithReference(inspector, lane, compared.reference, compared.image, compared.threshold, recipe);
    const ReferenceLimits limits = LimitsOf(compared);
    std::vector<Blob>& blobs = result.blobs;
    std::erase_if(blobs, [&](const Blob& blob) { return !limits.IsMoreThanAnEdge(blob.box); });
    for (Blob& blob : blobs)
        blob.single = compared.count.Row(blob.peakPlace.y)[blob.peakPlace.x] == 1;
    WithinMemory(
        [&]
        {
            SettleSingles(compared, blobs);
            return 0;
        });
    for (Blob& blob : blobs)
    {
        blob.box.OffsetRect(region.left, region.top);
        for (CPoint* place : {&blob.center, &blob.peakPlace})
            *place = CPoint(place->x + region.left, place->y + region.top);
    }
    DropDeadBlobs(recipe, result);
    result.region = region;
    if (const std::string margins = MarginsText(compared.valid, region); !margins.empty())
        result.warnings.push_back(margins + " do not show the pattern: they were not inspected");
    const cv::Mat count = ViewOf(compared.count)(
        cv::Rect(compared.valid.left, compared.valid.top, compared.valid.Width(), compared.valid.Height()));
    if (const int lone = count.rows * count.cols - cv::countNonZero(count); lone > 0)
        result.warnings.push_back(
            std::to_string(static_cast<int>(std::ceil(100.0 * lone / static_cast<double>(count.total())))) +
            " % of the region have no lattice neighbour in it: these were not inspected");
    result.inspectMilliseconds += compared.milliseconds;
    result.totalMilliseconds = compared.milliseconds + MillisecondsSince(start);
    return result;
}

InspectionResult InspectLattice(Inspector& inspector, int lane, const GreyView& image, const InspectionPlan& plan)
{
    return InspectCompared(inspector, lane, CompareLattice(image, plan), plan);
}

} // namespace narvo
