// SPDX-License-Identifier: MIT
// Keeps the image codecs from writing to the terminal.
#pragma once

namespace narvo::tools
{

/// While it lives, nothing reaches the error stream: the codecs write there directly about broken files, which the
/// user gets one line of our own instead. It holds for all threads of the program.
class QuietCodecs
{
public:
    QuietCodecs();
    ~QuietCodecs();
    QuietCodecs(const QuietCodecs&) = delete;
    QuietCodecs& operator=(const QuietCodecs&) = delete;

    /// The descriptor behind which the error stream can be reached meanwhile; -1 when it could not be set aside.
    int ErrorStream() const { return m_errorStream; }

private:
    int m_errorStream; ///< the stream's own descriptor, put back at the end; -1 when it could not be set aside
};

} // namespace narvo::tools
