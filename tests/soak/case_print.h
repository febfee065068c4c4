// SPDX-License-Identifier: MIT
// Cases and their results as text, every parameter by its name: what a replayed case shows.
#pragma once

#include <ostream>

#include "soak/case_maker.h"
#include "soak/case_runner.h"

namespace narvo::test
{

/// The pool's call, the capacities and every parameter that differs from the default of an empty block.
void PrintCase(std::ostream& out, const CSoakCase& soakCase);

/// Code, counters, pairs and blobs of the runner's last run; at most nMost of each kind.
void PrintResult(std::ostream& out, CCaseRunner& runner, const CCaseResult& result, int nMost);

} // namespace narvo::test
