// SPDX-License-Identifier: MIT
// Seeds of randomised tests: a fixed run by default, one replayed case on request.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace narvo::test
{

/// nCount seeds that follow from strName; or the single seed that the environment variable NARVO_TEST_SEED holds, to
/// replay the case a failure named. The environment variable NARVO_TEST_SHARE, n, leaves the first nth part of them,
/// for runs that are slow by nature.
std::vector<std::uint64_t> CaseSeeds(const std::string& strName, int nCount);

/// The n of NARVO_TEST_SHARE, 1 without it: tests that are systematic, not random, take every nth of their cases.
int CaseShare();

/// The line a failing case prints.
std::string ReplayHint(std::uint64_t nSeed);

} // namespace narvo::test
