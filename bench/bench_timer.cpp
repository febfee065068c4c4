// SPDX-License-Identifier: MIT
// See bench_timer.h.
#include "bench/bench_timer.h"

#include <algorithm>
#include <chrono>
#include <limits>

namespace bench
{

double Now()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::vector<double> TimeInterleaved(const std::vector<Action>& actions, int nRounds, int nRepeat)
{
    std::vector<double> best(actions.size(), std::numeric_limits<double>::infinity());
    for (int nRound = -1; nRound < nRounds; ++nRound)
        for (std::size_t i = 0; i < actions.size(); ++i)
        {
            const double dStart = Now();
            for (int n = 0; n < nRepeat; ++n)
                actions[i]();
            const double dTime = (Now() - dStart) / nRepeat;
            if (nRound >= 0)
                best[i] = std::min(best[i], dTime);
        }
    return best;
}

} // namespace bench
