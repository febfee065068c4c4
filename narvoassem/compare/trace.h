// SPDX-License-Identifier: MIT
// A trace of the engine's work, for explanations: the steps of one pass one by one, and its filters' answers on one
// record. Internal: it is neither exported nor installed, and only the host layer includes it, in host/probe/.
#pragma once

#include "narvoassem/compare/comparison.h"
#include "narvoassem/compare/comparison_steps.h"
#include "narvoassem/defectpair.h"
#include "narvoassem/storage/filters/filter_walk.h"

class CNarvoAssem;

namespace narvo::engine
{

/// The comparison that an inspection of a rectangle makes, or with bAsg an ASG inspection.
Comparison ChooseComparison(const CConvParam& param, bool bAsg);

/// Runs a comparison by the engine's parameters to the pairs as its kernel writes them; what the engine held is lost.
/// For comparisons that do not run twice.
void TraceToPairs(CNarvoAssem& engine, Comparison eComparison);

/// What the blob build of such a pass decides about a record as the kernel wrote it.
struct CRecordTrace
{
    bool bFiltered = false; ///< the pass has pair filters
    CFilterTrail trail;     ///< those that it asks about the record
    bool bPattern = false;  ///< the verification at a short pitch, if reached, takes it for pattern
};

/// @return false without memory for a record
bool TraceRecord(const CConvParam& param, const CBlobSteps& steps, const CDefectPair& record, CRecordTrace& trace);

} // namespace narvo::engine
