// SPDX-License-Identifier: MIT
// What the engine says of its own work, for explanations: the kernel that settings select, the steps of one pass one by
// one, its filters' answers on one record, and (kernel_trace.h) single comparisons. Internal: it is neither exported
// nor installed nor part of the shared library, and the host layer alone includes it, in host/probe/ and host/check/.
#pragma once

#include "narvoassem/compare/comparison.h"
#include "narvoassem/compare/comparison_steps.h"
#include "narvoassem/defectpair.h"
#include "narvoassem/fast/call/kernel_table.h"
#include "narvoassem/storage/filters/filter_walk.h"
#include "narvoassem/trace/kernel_trace.h"

class CNarvoAssem;

namespace narvo::engine
{

/// What a set of options selects.
struct CSelectedKernel
{
    const char* pWords; ///< what sets the choice apart from the others: "row table"
    COptionSet uses;    ///< what selects it, and what else it reads
};

/// The kernel of a comparison in a settled direction.
CSelectedKernel TraceSelection(Comparison eComparison, bool bVertical, COptionSet options);

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
