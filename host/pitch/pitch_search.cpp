// SPDX-License-Identifier: MIT
// Coarse: the mean square of the differences of the image with its displaced self, for all displacements at once from
// the lines' power spectrum. Fine: the engine's own comparison over as many periods as the region has room for.
#include "host/pitch/pitch_search.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <numbers>
#include <numeric>
#include <string>

#include <opencv2/core.hpp>

#include "host/problem.h"
#include "narvoassem/assemutil.h"

namespace narvo
{

namespace
{

constexpr int nSteps = 16;        // displacements per pixel
constexpr int nLineLimit = 1024;  // lines that enter the coarse search
constexpr int nBlockLines = 64;   // lines that are transformed at a time
constexpr int nStripLimit = 1024; // extent across the axis of the fine search, pixels
constexpr double dFlat = 0.25;    // variance below which there is no pattern, square grey levels

/// The lines of the region along one axis.
class Lines
{
public:
    Lines(const GreyView& image, const CRect& region, bool alongX) : m_image(image), m_region(region), m_alongX(alongX)
    {
    }
    int Length() const { return m_alongX ? m_region.Width() : m_region.Height(); }
    int Count() const { return m_alongX ? m_region.Height() : m_region.Width(); }
    void Read(int line, double* target) const
    {
        for (int i = 0; i < Length(); ++i)
            target[i] = m_alongX ? m_image.Row(m_region.top + line)[m_region.left + i]
                                 : m_image.Row(m_region.top + i)[m_region.left + line];
    }

private:
    GreyView m_image;
    const CRect& m_region;
    bool m_alongX;
};

/// Weights of a line that fade to nothing at its ends, so that they leave no trace between whole displacements, and
/// the slow change that such a line may hold: the polynomials to the third degree, orthonormal under the weights.
class LineWeights
{
public:
    explicit LineWeights(int length) : m_weights(static_cast<std::size_t>(length))
    {
        for (int i = 0; i < length; ++i)
            m_weights[static_cast<std::size_t>(i)] = 0.5 - 0.5 * std::cos(2.0 * std::numbers::pi * (i + 0.5) / length);
        for (int degree = 0; degree <= nDegree; ++degree)
        {
            std::vector<double> curve(m_weights.size());
            for (int i = 0; i < length; ++i)
                curve[static_cast<std::size_t>(i)] = std::pow((2.0 * i + 1.0) / length - 1.0, degree);
            RemoveDrift(curve.data());
            const double size = std::sqrt(Product(curve.data(), curve.data()));
            std::transform(curve.begin(), curve.end(), curve.begin(), [=](double value) { return value / size; });
            m_curves.push_back(std::move(curve));
        }
    }

    double operator[](std::size_t i) const { return m_weights[i]; }
    std::size_t Length() const { return m_weights.size(); }

    void RemoveDrift(double* line) const
    {
        for (const std::vector<double>& curve : m_curves)
        {
            const double share = Product(curve.data(), line);
            for (std::size_t i = 0; i < m_weights.size(); ++i)
                line[i] -= share * curve[i];
        }
    }

private:
    static constexpr int nDegree = 3;

    double Product(const double* a, const double* b) const
    {
        double sum = 0.0;
        for (std::size_t i = 0; i < m_weights.size(); ++i)
            sum += m_weights[i] * a[i] * b[i];
        return sum;
    }

    std::vector<double> m_weights;
    std::vector<std::vector<double>> m_curves;
};

/// Real parts of the spectrum's first half to values in steps of 1/16 of the transformed samples.
std::vector<double> ToDisplacements(const std::vector<double>& spectrum, int size, int count)
{
    cv::Mat padded = cv::Mat::zeros(1, size * nSteps, CV_64FC2);
    for (std::size_t k = 0; k < spectrum.size(); ++k)
    {
        const bool shared = k == 0 || 2 * k == static_cast<std::size_t>(size);
        padded.at<cv::Vec2d>(0, static_cast<int>(k))[0] = (shared ? 1.0 : 2.0) * spectrum[k];
    }
    cv::Mat values;
    cv::dft(padded, values, cv::DFT_INVERSE);
    std::vector<double> result(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        result[static_cast<std::size_t>(i)] = values.at<cv::Vec2d>(0, i)[0];
    return result;
}

/// Real parts of a * conj(b), first half, of packed row spectra; added to `sum`.
void AddProduct(const cv::Mat& a, const cv::Mat& b, double factor, std::vector<double>& sum)
{
    const int size = a.cols;
    const double* pa = a.ptr<double>();
    const double* pb = b.ptr<double>();
    sum[0] += factor * pa[0] * pb[0];
    for (int k = 1; 2 * k < size; ++k)
        sum[static_cast<std::size_t>(k)] += factor * (pa[2 * k - 1] * pb[2 * k - 1] + pa[2 * k] * pb[2 * k]);
    if (size % 2 == 0)
        sum[static_cast<std::size_t>(size / 2)] += factor * pa[size - 1] * pb[size - 1];
}

struct Curve
{
    std::vector<double> cost; ///< by displacement in 1/16 pixel
    double variance = 0.0;    ///< of the lines without their drift, square grey levels
    double hardness = 0.0;    ///< share of the power in the highest quarter of the frequencies, 0 .. 1
};

/// Optics leave hardly any power there; what is drawn with hard edges has some.
double HighestQuarter(const std::vector<double>& power)
{
    const auto first = power.begin() + static_cast<std::ptrdiff_t>(power.size() * 3 / 4);
    const double all = std::accumulate(power.begin(), power.end(), 0.0);
    return all > 0.0 ? std::accumulate(first, power.end(), 0.0) / all : 0.0;
}

/// Cost of all displacements up to `reach` pixels: sum of w(t) w(t + d) (x(t) - x(t + d))^2 over the same weights times
/// (x(t)^2 + x(t + d)^2), over the lines x without their drift.
Curve MeasureCost(const Lines& lines, int reach)
{
    const int length = lines.Length();
    const LineWeights weights(length);
    const int size = cv::getOptimalDFTSize(length + reach + 1);
    const auto half = static_cast<std::size_t>(size / 2 + 1);
    std::vector<double> power(half);
    std::vector<double> energy(static_cast<std::size_t>(length));

    // Lines at uneven places: even ones might all fall on the same part of the pattern.
    const int used = std::min(lines.Count(), nLineLimit);
    const double spacing = static_cast<double>(lines.Count()) / used;
    std::vector<double> line(static_cast<std::size_t>(length));
    for (int first = 0; first < used; first += nBlockLines)
    {
        const int count = std::min(nBlockLines, used - first);
        cv::Mat block = cv::Mat::zeros(count, size, CV_64FC1);
        for (int i = 0; i < count; ++i)
        {
            const double part = (first + i) * std::numbers::phi;
            const int place = static_cast<int>((first + i + (part - std::floor(part))) * spacing);
            lines.Read(std::min(place, lines.Count() - 1), line.data());
            weights.RemoveDrift(line.data());
            double* row = block.ptr<double>(i);
            for (std::size_t k = 0; k < line.size(); ++k)
            {
                row[k] = weights[k] * line[k];
                energy[k] += line[k] * line[k];
            }
        }
        cv::dft(block, block, cv::DFT_ROWS);
        for (int i = 0; i < count; ++i)
            AddProduct(block.row(i), block.row(i), 2.0, power);
    }

    cv::Mat plain = cv::Mat::zeros(1, size, CV_64FC1);
    cv::Mat weighted = cv::Mat::zeros(1, size, CV_64FC1);
    double all = 0.0;
    double weightSum = 0.0;
    for (std::size_t k = 0; k < energy.size(); ++k)
    {
        plain.at<double>(0, static_cast<int>(k)) = weights[k];
        weighted.at<double>(0, static_cast<int>(k)) = weights[k] * energy[k];
        all += weights[k] * energy[k];
        weightSum += weights[k] * used;
    }
    cv::dft(plain, plain, 0);
    cv::dft(weighted, weighted, 0);
    std::vector<double> norm(half);
    AddProduct(weighted, plain, 2.0, norm);

    const int count = reach * nSteps + 1;
    const std::vector<double> likeness = ToDisplacements(power, size, count);
    const std::vector<double> scale = ToDisplacements(norm, size, count);
    Curve curve;
    curve.variance = all / weightSum;
    curve.hardness = HighestQuarter(power);
    curve.cost.resize(static_cast<std::size_t>(count), 1.0);
    if (curve.variance > dFlat)
        for (std::size_t i = 0; i < curve.cost.size(); ++i)
            curve.cost[i] = scale[i] > 0.0 ? 1.0 - likeness[i] / scale[i] : 1.0;
    return curve;
}

/// A lowest place of the cost between its neighbours.
struct Dip
{
    double place; ///< 1/16 pixel
    double cost;
};

Dip FitDip(const std::vector<double>& cost, std::size_t i)
{
    const double bend = cost[i - 1] - 2.0 * cost[i] + cost[i + 1];
    const double shift = bend > 0.0 ? 0.5 * (cost[i - 1] - cost[i + 1]) / bend : 0.0;
    return {static_cast<double>(i) + shift, cost[i] - 0.25 * (cost[i - 1] - cost[i + 1]) * shift};
}

std::vector<Dip> FindDips(const std::vector<double>& cost, double low, double high)
{
    std::vector<Dip> dips;
    for (std::size_t i = 1; i + 1 < cost.size() && static_cast<double>(i) <= high; ++i)
        if (static_cast<double>(i) >= low && cost[i] < cost[i - 1] && cost[i] <= cost[i + 1])
            dips.push_back(FitDip(cost, i));
    return dips;
}

/// The dip nearest to `place` and no further than `reach` from it; nullptr when there is none.
const Dip* DipNear(const std::vector<Dip>& dips, double place, double reach)
{
    const auto nearest = std::min_element(dips.begin(), dips.end(),
                                          [&](const Dip& a, const Dip& b)
                                          { return std::fabs(a.place - place) < std::fabs(b.place - place); });
    return nearest != dips.end() && std::fabs(nearest->place - place) <= reach ? &*nearest : nullptr;
}

/// The shortest displacement that repeats the image as well as the best one does, among the best one's fractions.
Dip FindFundamental(const Curve& curve, const std::vector<Dip>& dips)
{
    constexpr double dSlack = 0.004;    // how much worse it may be
    constexpr double dSlackShare = 0.5; // and by this share of the best one's own cost
    // Hard edges fall on whole pixels, so that they repeat worse after a period with a fraction than after a multiple
    // of nearly whole pixels: by two to three times this share of the power in drawings.
    constexpr double dHardnessShare = 3.0;
    constexpr double dFullHeight = 0.75;   // a whole period meets nearly all of the curve's height
    constexpr double dNear = 0.5 * nSteps; // how far a fraction's dip may lie from its place
    const Dip best =
        *std::min_element(dips.begin(), dips.end(), [](const Dip& a, const Dip& b) { return a.cost < b.cost; });
    const auto highest = [&](double end)
    { return *std::max_element(curve.cost.begin(), curve.cost.begin() + static_cast<std::ptrdiff_t>(end)); };
    const double limit = best.cost + dSlack + dSlackShare * std::max(best.cost, 0.0) + dHardnessShare * curve.hardness;
    const double height = highest(best.place);
    for (int parts = static_cast<int>(best.place / (dPitchSearchLow * nSteps)); parts > 1; --parts)
    {
        const Dip* dip = DipNear(dips, best.place / parts, dNear);
        if (dip != nullptr && dip->cost <= limit && highest(dip->place) >= dFullHeight * height)
            return *dip;
    }
    return best;
}

double StrengthAt(const Curve& curve, double place)
{
    const auto i = static_cast<std::size_t>(std::lround(place));
    return i < curve.cost.size() ? 1.0 - curve.cost[i] : 1.0;
}

/// The strongest dip that is no whole multiple of the pitch; of nearly equal ones the shortest.
PitchPeak FindRunnerUp(const std::vector<Dip>& dips, const Dip& pitch)
{
    constexpr double dEqual = 0.02;
    constexpr double dNear = 0.03; // periods
    PitchPeak peak;
    for (const Dip& dip : dips)
    {
        const double periods = dip.place / pitch.place;
        if (std::lround(periods) >= 1 &&
            std::fabs(periods - std::round(periods)) <= std::max(dNear, nSteps / pitch.place))
            continue;
        if (1.0 - dip.cost > peak.strength + (peak.strength > 0.0 ? dEqual : 0.0))
            peak = {dip.place / nSteps, 1.0 - dip.cost};
    }
    return peak;
}

/// One run of the engine's search along the axis: the best displacement around `center`, 1/16 pixel.
int RunFine(const GreyView& image, const CRect& region, bool alongX, int center, int range, int noise)
{
    constexpr int nReadOn = 3; // pixels read behind the displaced place
    const int reach = (center + range) / nSteps + nReadOn;
    int wide = std::min(region.Width() - (alongX ? reach : 0), alongX ? region.Width() : nStripLimit) / 16 * 16;
    wide = std::max(wide, 16);
    const int high = alongX ? std::min(region.Height(), nStripLimit) : region.Height() - reach;
    const int left = alongX ? region.left : region.left + (region.Width() - wide) / 2;
    const int top = alongX ? region.top + (region.Height() - high) / 2 : region.top;
    int best = center;
    int whole = 0;
    int fraction = 0;
    const auto search = alongX ? CAssemUtil::CheckPitchSmall16 : CAssemUtil::CheckPitchSmallVert16;
    search(center, range, left, top, wide, high, image.Row(0), image.Stride(), noise, best, whole, fraction);
    return best;
}

/// Sharpens the pitch with the dips at its multiples, twice as far out each time. @return periods to the last dip
int FollowMultiples(const std::vector<Dip>& dips, int most, double& place)
{
    constexpr double dNear = 0.5 * nSteps;
    int periods = 1;
    while (periods < most)
    {
        const int next = std::min(2 * periods, most);
        const Dip* dip = DipNear(dips, next * place, dNear);
        if (dip == nullptr)
            break;
        place = dip->place / next;
        periods = next;
    }
    return periods;
}

/// Standard deviation of the noise of a pixel, from the median difference one pitch on: places where the pattern
/// itself differs hardly count.
double MeasureNoise(const GreyView& image, const CRect& region, bool alongX, double pitch)
{
    constexpr double dMedianOfNormal = 0.6745;
    constexpr int nRowStep = 3;
    const int reach = static_cast<int>(std::lround(pitch));
    const int right = region.right - (alongX ? reach : 0);
    const int bottom = region.bottom - (alongX ? 0 : reach);
    std::array<std::int64_t, 256> counts{};
    std::int64_t all = 0;
    for (int y = region.top; y < bottom; y += nRowStep)
    {
        const std::uint8_t* source = image.Row(y);
        const std::uint8_t* other = alongX ? source + reach : image.Row(y + reach);
        for (int x = region.left; x < right; ++x, ++all)
            ++counts[static_cast<std::size_t>(std::abs(source[x] - other[x]))];
    }
    // Between the whole grey levels, as if the differences were spread evenly over them.
    std::int64_t below = 0;
    std::size_t level = 0;
    while (2 * (below + counts[level]) < all)
        below += counts[level++];
    const double part = (0.5 * static_cast<double>(all - 2 * below)) / static_cast<double>(counts[level]);
    const double median = std::max(0.0, static_cast<double>(level) - 0.5 + part);
    return median / dMedianOfNormal / std::numbers::sqrt2;
}

/// The engine's own answer over the most periods that leave a third of the region to compare. Differences that noise
/// alone explains are left out of its cost: the engine's reference is smoother between whole pixels than at them, so
/// that noise would draw the answer there.
void Refine(const GreyView& image, const CRect& region, bool alongX, AxisPitch& axis)
{
    constexpr int nRange = 2; // 1/16 pixel: the coarse search is that close
    constexpr double dSigmas = 4.0;
    const double noise = MeasureNoise(image, region, alongX, axis.pitch);
    const int center = static_cast<int>(std::lround(axis.pitch * axis.periods * nSteps));
    axis.pitch = RunFine(image, region, alongX, center, nRange, static_cast<int>(dSigmas * noise)) /
                 static_cast<double>(nSteps * axis.periods);
    axis.sixteenths = static_cast<int>(std::lround(axis.pitch * nSteps));
}

AxisPitch SearchAxis(const GreyView& image, const CRect& region, bool alongX)
{
    constexpr int nMultiples = 3;
    const Lines lines(image, region, alongX);
    const double high = lines.Length() / dPitchSearchShare; // longest pitch, pixels
    const Curve curve = MeasureCost(lines, static_cast<int>(high * 2.0));
    const std::vector<Dip> all = FindDips(curve.cost, dPitchSearchLow * nSteps, 2.0 * high * nSteps);
    std::vector<Dip> dips;
    std::copy_if(all.begin(), all.end(), std::back_inserter(dips),
                 [&](const Dip& dip) { return dip.place <= high * nSteps; });

    AxisPitch axis;
    axis.cost.assign(curve.cost.begin(), curve.cost.begin() + static_cast<std::ptrdiff_t>(high * nSteps) + 1);
    if (dips.empty())
        return axis;
    const Dip dip = FindFundamental(curve, dips);
    axis.confidence = std::clamp(1.0 - dip.cost, 0.0, 1.0);
    for (int multiple = 2; multiple <= nMultiples; ++multiple)
        axis.confidence = std::clamp(StrengthAt(curve, multiple * dip.place), 0.0, axis.confidence);
    axis.runnerUp = FindRunnerUp(dips, dip);
    axis.found = axis.confidence >= dPitchConfidenceLow;
    if (!axis.found)
        return axis;
    double place = dip.place;
    axis.periods = FollowMultiples(all, static_cast<int>(2.0 * high * nSteps / place), place);
    axis.pitch = place / nSteps;
    Refine(image, region, alongX, axis);
    return axis;
}

} // namespace

PitchResult SearchPitch(const GreyView& image, const CRect& region)
{
    std::vector<Problem> found;
    const auto check = [&](const char* side, int value, int low, int highest)
    {
        if (value < low || value > highest)
            found.push_back({std::string("region.") + side, std::to_string(value),
                             std::to_string(low) + " to " + std::to_string(highest) + " pixels"});
    };
    const auto checkSide = [&](const char* side, int value)
    {
        if (value < nPitchSearchSide)
            found.push_back({std::string("region's ") + side, std::to_string(value) + " pixels",
                             "at least " + std::to_string(nPitchSearchSide) + " pixels"});
    };
    check("left", region.left, 0, image.Width() - 1);
    check("top", region.top, 0, image.Height() - 1);
    check("right", region.right, 1, image.Width());
    check("bottom", region.bottom, 1, image.Height());
    if (found.empty())
    {
        checkSide("width", region.Width());
        checkSide("height", region.Height());
    }
    ThrowIfAny(std::move(found));
    return {SearchAxis(image, region, true), SearchAxis(image, region, false)};
}

} // namespace narvo
