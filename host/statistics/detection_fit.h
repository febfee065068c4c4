// SPDX-License-Identifier: MIT
// The size of defect that is found with 90 % probability, from how many of each size were found: a logistic curve over
// the logarithm of the size, fitted by maximum likelihood, as non-destructive testing does (MIL-HDBK-1823A, hit/miss).
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace narvo
{

/// Trials at one size.
struct SizeCount
{
    int size = 0; ///< pixels
    std::size_t planted = 0;
    std::size_t found = 0;
};

enum FitOutcome : int
{
    Fit_NoTrials = 0, ///< nothing to fit
    Fit_NothingFound, ///< at any size
    Fit_EverythingFound,
    Fit_Step,       ///< all missed below some size, all found above: the curve between is not determined
    Fit_NotGrowing, ///< larger ones are not found more often
    Fit_Curve       ///< a logistic curve
};

/// A size with where it lies among those that were tried.
struct SizeFigure
{
    enum Place : int
    {
        Unknown = 0, ///< these trials do not show one
        Within,      ///< `high`
        Between,     ///< above `low`, not above `high`
        UpTo,        ///< not above `high`, the smallest size
        Above        ///< above `low`, the largest size
    };
    Place place = Unknown;
    double low = 0.0;
    double high = 0.0;
};

struct DetectionFit
{
    FitOutcome outcome = Fit_NoTrials;
    double intercept = 0.0; ///< of a curve: probability 1 / (1 + exp(-(intercept + slope ln size)))
    double slope = 0.0;
    SizeFigure a90;          ///< found with 90 % probability
    SizeFigure a9095;        ///< upper bound of that at 95 % confidence
    bool suitsCounts = true; ///< false: the counts differ from the curve by more than chance allows (1 %)
    std::size_t trials = 0;

    /// Of a curve.
    double ProbabilityAt(double size) const;
};

/// @param counts by ascending size; sizes that were never planted do not count
DetectionFit FitDetection(const std::vector<SizeCount>& counts);

/// "5.3", "4 to 6", "up to 2", "above 32" or "-".
std::string SizeText(const SizeFigure& figure);

/// What is known, in a sentence; sizes in pixels.
std::string DescribeFit(const DetectionFit& fit, const std::vector<SizeCount>& counts);

} // namespace narvo
