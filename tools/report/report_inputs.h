// SPDX-License-Identifier: MIT
// What a report is made from: result files, or images that are inspected for it.
#pragma once

#include <string>
#include <vector>

#include "host/problem.h"
#include "tools/report/report_draft.h"

namespace narvo::tools
{

struct ReportInputs
{
    std::vector<std::string> files; ///< result files (.json, .jsonl), or images to inspect
    std::string store;              ///< place of a store to read a run from; empty: none
    std::string run;                ///< of the store; empty: the latest
    std::string recipe;             ///< for images; for results, in place of the one that they name
    int lanes = 0;                  ///< 0: one for each processor
    bool quiet = false;             ///< print nothing about inspections
};

bool IsResultFile(const std::string& name);

/// Reads and inspects all inputs into the draft, with names for its images, and the notes that this asks for.
/// @return all that is wrong with them; the draft is complete where that is empty
std::vector<Problem> GatherInputs(const ReportInputs& inputs, ReportDraft& draft);

} // namespace narvo::tools
