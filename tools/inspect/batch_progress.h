// SPDX-License-Identifier: MIT
// How far a batch is, on the error stream: a bar that is drawn over and over on a terminal, a plain line now and then
// in a log.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include "host/inspect/batch.h"

namespace narvo::tools
{

class BatchProgress
{
public:
    /// `stream` is a descriptor. `total` images are to come in this run.
    BatchProgress(int stream, std::size_t total, bool quiet);
    ~BatchProgress() { Finish(); }
    BatchProgress(const BatchProgress&) = delete;
    BatchProgress& operator=(const BatchProgress&) = delete;

    void Count(const ImageResult& result);
    /// A line of its own, above the bar where there is one; shown even when quiet.
    void Line(const std::string& text);
    /// Takes the bar off the terminal.
    void Finish();
    /// Seconds since the beginning.
    double Seconds() const;
    /// Millions of pixels inspected so far.
    double Megapixels() const { return m_megapixels; }

private:
    std::string State() const;
    void Write(const std::string& text) const;
    void Show(bool last);

    using Clock = std::chrono::steady_clock;

    int m_stream;
    bool m_terminal;
    bool m_quiet;
    std::size_t m_total;
    std::size_t m_count = 0;
    std::size_t m_blobs = 0;
    double m_megapixels = 0.0;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_shown;
    bool m_drawn = false;
};

/// "1:02:03" or "2:03".
std::string FormatSeconds(double seconds);

} // namespace narvo::tools
