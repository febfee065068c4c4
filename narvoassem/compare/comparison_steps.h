// SPDX-License-Identifier: MIT
// A comparison of a rectangle in its steps: chosen by its parameters, run to its pairs, and finished to blobs. The
// engine's drivers take all steps in a row, a trace takes them one by one.
#pragma once

#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/compare/comparison.h"
#include "narvoassem/convparam.h"

class CNarvoAssem;

namespace narvo::engine
{

/// Whether the comparison makes two passes, each with blob steps of its own: it has no single steps then.
bool RunsTwice(const CConvParam& param, Comparison eComparison);

/// Runs the comparison by the engine's parameters and appends to the pairs that it holds. nEndLine becomes the first
/// row or column not finished. @return the new pair count
int RunComparison(CNarvoAssem& engine, Comparison eComparison, int& nEndLine);

/// How its pairs become blobs.
CBlobSteps GetBlobSteps(const CConvParam& param, Comparison eComparison);

} // namespace narvo::engine
