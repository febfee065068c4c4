// SPDX-License-Identifier: MIT
// How far a long command is: a line on the error stream every few seconds, and none in a short run.
#pragma once

#include <chrono>
#include <string>

namespace narvo::tools
{

class ProgressLine
{
public:
    using Clock = std::chrono::steady_clock;

    /// `stream` is a descriptor, as that of QuietCodecs; -1 and `quiet` show nothing.
    ProgressLine(int stream, bool quiet, Clock::duration pause = std::chrono::seconds(5))
        : m_stream(quiet ? -1 : stream), m_pause(pause), m_shown(Clock::now())
    {
    }

    /// Shows `text`, after the program's name, if a pause has passed since the start or the last line.
    void Show(const std::string& text);

private:
    int m_stream;
    Clock::duration m_pause;
    Clock::time_point m_shown;
};

} // namespace narvo::tools
