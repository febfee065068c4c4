// Keeps the image codecs from writing to the terminal.
#pragma once

namespace narvo
{

/// While it lives, nothing reaches the error stream: the codecs write there directly about broken files, which the
/// user gets told in one line of our own. For programs that do nothing else meanwhile.
class QuietCodecs
{
public:
    QuietCodecs();
    ~QuietCodecs();
    QuietCodecs(const QuietCodecs&) = delete;
    QuietCodecs& operator=(const QuietCodecs&) = delete;

private:
    int m_errorStream; ///< the stream's own descriptor, put back at the end; -1 when it could not be set aside
};

} // namespace narvo
