// SPDX-License-Identifier: MIT
// The page of an evaluation: figures, curves, and the images that went worst.
#pragma once

#include <string>
#include <vector>

#include "host/evaluate/evaluation.h"

namespace narvo::tools
{

/// A picture of an image with what is true and what was reported.
struct EvaluatedPicture
{
    std::string caption;
    std::string source; ///< data URI
};

struct EvaluationPage
{
    std::string set;
    std::string layout;
    std::string learnt; ///< from what, a sentence; empty: nothing was
    std::string made;   ///< program and version
    ScoringRules rules;
    std::vector<MethodResult> methods; ///< the first one is what is evaluated, the others are baselines
    std::vector<EvaluatedPicture> pictures;
};

/// The page as one self-contained HTML text.
std::string BuildEvaluationPage(const EvaluationPage& page);

} // namespace narvo::tools
