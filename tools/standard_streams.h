// SPDX-License-Identifier: MIT
// The program's standard streams: descriptors that were closed, an output that is full or that nobody reads, and the
// one place that says so.
#pragma once

#include <iosfwd>
#include <memory>

namespace narvo::tools
{

/// To be made before anything is opened. While it lives, std::cout writes through it, the descriptors 0 to 2 are taken
/// (reading or writing one that was closed fails), and neither a pipe without a reader nor a file at its size limit
/// ends the program by a signal.
class StandardStreams
{
public:
    StandardStreams();
    ~StandardStreams();
    StandardStreams(const StandardStreams&) = delete;
    StandardStreams& operator=(const StandardStreams&) = delete;

    /// Writes what std::cout still holds. Output that was lost is reported in one line on the error stream, unless the
    /// reader of a pipe has closed it.
    /// @return `code`, or ExitCode_NotWritten in place of ExitCode_Done when output was lost
    int Finish(int code);

private:
    class OutputBuffer;

    std::unique_ptr<OutputBuffer> m_output;
    std::streambuf* m_before; ///< of std::cout
};

} // namespace narvo::tools
