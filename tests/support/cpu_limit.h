// SPDX-License-Identifier: MIT
// Ends the program with a message when a piece of work takes more processor time than it can ever need: a loop without
// end fails its test by name, and does not hang the run.
#pragma once

#include <string>

namespace narvo::test
{

/// While it lives, processor time of the whole process counts; other programs' does not. One at a time. The environment
/// variable NARVO_TEST_TIMEOUT_FACTOR multiplies the limit, for processors that are emulated.
class CCpuLimit
{
public:
    explicit CCpuLimit(int nSeconds);
    ~CCpuLimit();
    CCpuLimit(const CCpuLimit&) = delete;
    CCpuLimit& operator=(const CCpuLimit&) = delete;

    /// Restarts the time for the work of that name.
    void Restart(const std::string& strWork);

private:
    int m_nSeconds;
};

} // namespace narvo::test
