// SPDX-License-Identifier: MIT
// Correlation of the image with itself at all displacements, and the choice of two of its peaks.
#include "host/lattice/lattice_search.h"

#include <algorithm>
#include <optional>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "host/image/cv_image.h"

namespace narvo
{

namespace
{

constexpr int nMiddleSide = 1024;      // pixels of the image that are searched first; its whole up to the next where
constexpr int nMiddleSideHigh = 3072;  // these hold no lattice
constexpr double dCutDeviations = 3.0; // brighter and darker values count as this
constexpr double dProminence = 0.25;   // share of a peak by which the correlation falls on the way to it
constexpr double dFirstShare = 0.85;   // of the highest peak: the shortest of those that reach it is the first vector
constexpr double dSecondShare = 0.8;   // likewise for the second
constexpr double dLeastAngleShare = 0.2;
constexpr int nFittedMultiples = 3; // of each vector, whose peaks sharpen it
constexpr int nPeakReach = 2;       // pixels: a peak is the highest so far around

/// Brightness against that of the surroundings, in its standard deviations, with outliers cut (CV_32F).
cv::Mat Prepared(const cv::Mat& pixels)
{
    cv::Mat grey;
    pixels.convertTo(grey, CV_32F);
    cv::Mat slow;
    cv::blur(grey, slow, {std::max(3, pixels.cols / 2 | 1), std::max(3, pixels.rows / 2 | 1)}, {-1, -1},
             cv::BORDER_REFLECT);
    grey -= slow;
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(grey, mean, deviation);
    const double cut = dCutDeviations * deviation[0];
    return cv::max(cv::min(grey, cut), -cut);
}

/// Correlations at all displacements up to a share of the sides, with 0 in the middle.
class SelfCorrelation
{
public:
    explicit SelfCorrelation(const cv::Mat& values)
        : m_reachX(static_cast<int>(values.cols * dLatticeVectorShare)),
          m_reachY(static_cast<int>(values.rows * dLatticeVectorShare)),
          m_table(cv::Mat::zeros(2 * m_reachY + 1, 2 * m_reachX + 1, CV_32F))
    {
        const cv::Mat products = Products(values);
        cv::Mat energy;
        cv::integral(values.mul(values), energy, CV_64F);
        const double all = energy.at<double>(values.rows, values.cols);
        const double area = static_cast<double>(values.total());
        for (int y = -m_reachY; y <= m_reachY; ++y)
            for (int x = -m_reachX; x <= m_reachX; ++x)
            {
                const int width = values.cols - std::abs(x);
                const int height = values.rows - std::abs(y);
                const cv::Rect here(std::max(0, -x), std::max(0, -y), width, height);
                const cv::Rect there(std::max(0, x), std::max(0, y), width, height);
                const double energies = Sum(energy, here) * Sum(energy, there);
                // An overlap without structure says nothing.
                const double least = 0.01 * all * (width * height / area);
                if (energies > least * least)
                    m_table.at<float>(y + m_reachY, x + m_reachX) = static_cast<float>(
                        products.at<float>((y + products.rows) % products.rows, (x + products.cols) % products.cols) /
                        std::sqrt(energies));
            }
    }

    int ReachX() const { return m_reachX; }
    int ReachY() const { return m_reachY; }
    float At(int x, int y) const { return m_table.at<float>(y + m_reachY, x + m_reachX); }

    /// The lowest value on the straight way from no displacement.
    double LowestOnTheWay(int x, int y) const
    {
        double lowest = 1.0;
        const int steps = std::max(std::abs(x), std::abs(y));
        for (int i = 1; i < steps; ++i)
            lowest = std::min<double>(lowest, At(static_cast<int>(std::lround(static_cast<double>(x) * i / steps)),
                                                 static_cast<int>(std::lround(static_cast<double>(y) * i / steps))));
        return lowest;
    }

    /// The peak between whole displacements.
    LatticeVector Sharpened(int x, int y) const
    {
        const auto offset = [](double before, double at, double after)
        {
            const double bend = before - 2.0 * at + after;
            return bend < 0.0 ? std::clamp(0.5 * (before - after) / bend, -0.5, 0.5) : 0.0;
        };
        LatticeVector peak{static_cast<double>(x), static_cast<double>(y)};
        if (std::abs(x) < m_reachX)
            peak.x += offset(At(x - 1, y), At(x, y), At(x + 1, y));
        if (std::abs(y) < m_reachY)
            peak.y += offset(At(x, y - 1), At(x, y), At(x, y + 1));
        return peak;
    }

    const cv::Mat& Table() const { return m_table; }

private:
    static cv::Mat Products(const cv::Mat& values)
    {
        const cv::Size size(cv::getOptimalDFTSize(static_cast<int>(values.cols * (1.0 + dLatticeVectorShare)) + 1),
                            cv::getOptimalDFTSize(static_cast<int>(values.rows * (1.0 + dLatticeVectorShare)) + 1));
        cv::Mat padded = cv::Mat::zeros(size, CV_32F);
        values.copyTo(padded(cv::Rect(0, 0, values.cols, values.rows)));
        cv::Mat spectrum;
        cv::dft(padded, spectrum, 0, values.rows);
        cv::mulSpectrums(spectrum, spectrum, spectrum, 0, true);
        cv::Mat products;
        cv::dft(spectrum, products, cv::DFT_INVERSE | cv::DFT_SCALE | cv::DFT_REAL_OUTPUT);
        return products;
    }

    static double Sum(const cv::Mat& integral, const cv::Rect& rect)
    {
        return integral.at<double>(rect.y + rect.height, rect.x + rect.width) -
               integral.at<double>(rect.y, rect.x + rect.width) - integral.at<double>(rect.y + rect.height, rect.x) +
               integral.at<double>(rect.y, rect.x);
    }

    int m_reachX;
    int m_reachY;
    cv::Mat m_table;
};

/// A displacement at which the image resembles itself more than around and on the way there.
struct SelfPeak
{
    int x;
    int y;
    double value;
    double Length() const { return std::hypot(x, y); }
};

/// Shortest first; of a displacement and its opposite one.
std::vector<SelfPeak> FindPeaks(const SelfCorrelation& correlation)
{
    cv::Mat highest;
    cv::dilate(correlation.Table(), highest, cv::Mat::ones(2 * nPeakReach + 1, 2 * nPeakReach + 1, CV_8UC1));
    std::vector<SelfPeak> peaks;
    for (int y = 0; y <= correlation.ReachY(); ++y)
        for (int x = y == 0 ? 1 : -correlation.ReachX(); x <= correlation.ReachX(); ++x)
        {
            const double value = correlation.At(x, y);
            if (value >= dLatticeStrengthLow && std::hypot(x, y) >= dLatticeVectorLow &&
                correlation.At(x, y) >= highest.at<float>(y + correlation.ReachY(), x + correlation.ReachX()) &&
                correlation.LowestOnTheWay(x, y) <= (1.0 - dProminence) * value)
                peaks.push_back({x, y, value});
        }
    std::stable_sort(peaks.begin(), peaks.end(),
                     [](const SelfPeak& a, const SelfPeak& b) { return a.Length() < b.Length(); });
    return peaks;
}

/// The vectors by least squares over the peaks at their sums and multiples, as far as these are peaks.
Lattice Fitted(const SelfCorrelation& correlation, const Lattice& lattice)
{
    const int count = static_cast<int>(lattice.vectors.size());
    cv::Mat products = cv::Mat::zeros(count, count, CV_64F);
    cv::Mat sums = cv::Mat::zeros(count, 2, CV_64F);
    for (int b = count > 1 ? -nFittedMultiples : 0; b <= (count > 1 ? nFittedMultiples : 0); ++b)
        for (int a = 0; a <= nFittedMultiples; ++a)
        {
            const LatticeVector at = DisplacementOf(lattice, {a, b});
            const int x = static_cast<int>(std::lround(at.x));
            const int y = static_cast<int>(std::lround(at.y));
            if ((a == 0 && b == 0) || std::abs(x) > correlation.ReachX() - nPeakReach ||
                std::abs(y) > correlation.ReachY() - nPeakReach)
                continue;
            cv::Point top(x, y);
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx)
                    if (correlation.At(x + dx, y + dy) > correlation.At(top.x, top.y))
                        top = {x + dx, y + dy};
            const double weight = correlation.At(top.x, top.y);
            if (weight < dLatticeStrengthLow)
                continue;
            const LatticeVector peak = correlation.Sharpened(top.x, top.y);
            const double steps[] = {static_cast<double>(a), static_cast<double>(b)};
            for (int i = 0; i < count; ++i)
            {
                for (int k = 0; k < count; ++k)
                    products.at<double>(i, k) += weight * steps[i] * steps[k];
                sums.at<double>(i, 0) += weight * steps[i] * peak.x;
                sums.at<double>(i, 1) += weight * steps[i] * peak.y;
            }
        }
    cv::Mat solved;
    if (!cv::solve(products, sums, solved, cv::DECOMP_CHOLESKY))
        return lattice;
    Lattice fitted;
    for (int i = 0; i < count; ++i)
        fitted.vectors.push_back({solved.at<double>(i, 0), solved.at<double>(i, 1)});
    return fitted;
}

LatticeSearch SearchIn(const cv::Mat& pixels)
{
    const SelfCorrelation correlation(Prepared(pixels));
    const std::vector<SelfPeak> peaks = FindPeaks(correlation);
    LatticeSearch found;
    for (const SelfPeak& peak : peaks)
        found.best = std::max(found.best, peak.value);
    const auto first = std::find_if(peaks.begin(), peaks.end(),
                                    [&](const SelfPeak& peak) { return peak.value >= dFirstShare * found.best; });
    if (first == peaks.end())
        return found;
    found.lattice.vectors.push_back(correlation.Sharpened(first->x, first->y));
    found.strength = first->value;
    const LatticeVector& a = found.lattice.vectors.front();
    const auto second =
        std::find_if(peaks.begin(), peaks.end(),
                     [&](const SelfPeak& peak)
                     {
                         const LatticeVector b{static_cast<double>(peak.x), static_cast<double>(peak.y)};
                         return peak.value >= dSecondShare * found.best && AngleShare(a, b) >= dLeastAngleShare;
                     });
    if (second != peaks.end())
    {
        found.lattice.vectors.push_back(correlation.Sharpened(second->x, second->y));
        found.strength = std::min(found.strength, second->value);
    }
    found.lattice = Reduced(Fitted(correlation, Reduced(found.lattice)));
    return found;
}

} // namespace

LatticeSearch SearchLattice(const GreyImage& image)
{
    if (std::min(image.Width(), image.Height()) < nLatticeSideLow)
        return {};
    return WithinMemory(
        [&]
        {
            const cv::Mat pixels = ViewOf(image);
            LatticeSearch found;
            for (const int side : {nMiddleSide, nMiddleSideHigh})
            {
                const cv::Size size(std::min(side, pixels.cols), std::min(side, pixels.rows));
                found =
                    SearchIn(pixels(cv::Rect({(pixels.cols - size.width) / 2, (pixels.rows - size.height) / 2}, size)));
                if (!found.lattice.vectors.empty() || size == pixels.size())
                    break;
            }
            return found;
        });
}

} // namespace narvo
