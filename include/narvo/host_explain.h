// SPDX-License-Identifier: MIT
// Why a pixel was reported as a defect, or why it was not: its way through an inspection, step by step.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "narvo/host_inspector.h"
#include "narvo/host_result.h"

namespace narvo::v1
{

/// The way of one pixel.
struct Explanation
{
    int x = 0;                    ///< the pixel's column
    int y = 0;                    ///< its row
    int value = 0;                ///< its grey level, as inspected
    std::string outcome;          ///< where its way ended: "reported", "no hit", "filtered", ...
    int defect = 0;               ///< number of the reported defect that it is part of, or 0
    std::vector<std::string> why; ///< its way in sentences, ending with the outcome
    std::string text;             ///< everything for a person, in lines: comparisons, thresholds, filters
};

/// The same with every number that it rests on.
struct FullExplanation
{
    Explanation explanation; ///< as Explainer::Explain gives it
    std::string json;        ///< comparisons, thresholds, filters, defect: the JSON that the program `narvo` writes
};

/// Explains pixels of one inspection, which is run once. Any number of threads may ask, one after the other. One that
/// was moved from refuses every call with Error.
class NARVOHOST_API Explainer
{
public:
    /// The image is copied. `region` is the number of the recipe's region, from 0.
    /// @throws Error when the image is not valid, the recipe does not suit it, has no such region, or is in a mode
    /// whose steps cannot be followed
    explicit Explainer(const ImagePixels& image, const Recipe& recipe, std::size_t region = 0);
    ~Explainer();
    /// Leaves `other` without an inspection.
    Explainer(Explainer&& other) noexcept;
    /// The same.
    Explainer& operator=(Explainer&& other) noexcept;

    /// What the inspection reports.
    Report Result() const;
    /// The same with outlines and times; there are no answers.
    FullReport FullResult() const;
    /// The way of the pixel. @throws Error for a place outside the image
    Explanation Explain(int x, int y) const;
    /// The same with the numbers. @throws Error as Explain
    FullExplanation ExplainFully(int x, int y) const;

private:
    struct Content;
    Content& Own() const;
    std::unique_ptr<Content> m_content;
};

} // namespace narvo::v1
