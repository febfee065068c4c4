// SPDX-License-Identifier: MIT
// The vector levels that this processor offers, and a way to make the library run a chosen one.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace narvo::test
{

/// Levels compiled in and supported here, best first. Never empty.
std::vector<std::int64_t> VectorLevels();

std::string LevelName(std::int64_t nLevel);

/// While it lives, dynamic dispatch takes the level given last. Not while kernels run on other threads.
class CForcedLevel
{
public:
    explicit CForcedLevel(std::int64_t nLevel);
    ~CForcedLevel();
    void Change(std::int64_t nLevel);
    CForcedLevel(const CForcedLevel&) = delete;
    CForcedLevel& operator=(const CForcedLevel&) = delete;
};

} // namespace narvo::test
