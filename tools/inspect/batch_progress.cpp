// SPDX-License-Identifier: MIT
// Drawing of the bar and the lines.
#include "tools/inspect/batch_progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <sys/ioctl.h>
#include <unistd.h>

namespace narvo::tools
{

namespace
{

constexpr std::chrono::milliseconds redraw(100);
constexpr std::chrono::seconds logLine(10);
constexpr const char* szEraseLine = "\r\x1b[K";

int Columns(int stream)
{
    winsize size{};
    return ioctl(stream, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace

std::string FormatSeconds(double seconds)
{
    const long whole = std::lround(std::max(0.0, seconds));
    char text[32];
    if (whole >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", whole / 60, whole % 60);
    return text;
}

BatchProgress::BatchProgress(int stream, std::size_t total, bool quiet)
    : m_stream(stream), m_terminal(isatty(stream) != 0), m_quiet(quiet), m_total(total), m_shown(m_start)
{
}

void BatchProgress::Finish()
{
    if (m_drawn)
        Write(szEraseLine);
    m_drawn = false;
}

double BatchProgress::Seconds() const
{
    return std::chrono::duration<double>(Clock::now() - m_start).count();
}

std::string BatchProgress::State() const
{
    const double seconds = std::max(Seconds(), 1e-3);
    const double rate = static_cast<double>(m_count) / seconds;
    char text[160];
    std::snprintf(text, sizeof text, "%zu of %zu images, %.2f images/s, %.0f Mpixel/s, %zu blobs, %s left", m_count,
                  m_total, rate, m_megapixels / seconds, m_blobs,
                  m_count == 0 ? "?" : FormatSeconds(static_cast<double>(m_total - m_count) / rate).c_str());
    return text;
}

void BatchProgress::Write(const std::string& text) const
{
    std::size_t written = 0;
    while (written < text.size())
    {
        const ssize_t count = write(m_stream, text.data() + written, text.size() - written);
        if (count <= 0)
            return; // nobody reads it: the run continues
        written += static_cast<std::size_t>(count);
    }
}

void BatchProgress::Show(bool last)
{
    if (m_quiet)
        return;
    const Clock::time_point now = Clock::now();
    if (!m_terminal)
    {
        if (now - m_shown < logLine && !last)
            return;
        m_shown = now;
        Write("narvo: " + State() + "\n");
        return;
    }
    if (m_drawn && now - m_shown < redraw && !last)
        return;
    m_shown = now;
    const std::string state = State();
    const int room = Columns(m_stream) - static_cast<int>(state.size()) - 4;
    std::string line;
    if (room >= 10)
    {
        const int width = std::min(room, 40);
        const int full = m_total == 0
                             ? width
                             : static_cast<int>(static_cast<double>(m_count) / static_cast<double>(m_total) * width);
        line = "[" + std::string(static_cast<std::size_t>(full), '#') +
               std::string(static_cast<std::size_t>(width - full), '.') + "] ";
    }
    line += state;
    Write(szEraseLine + line.substr(0, static_cast<std::size_t>(std::max(1, Columns(m_stream) - 1))));
    m_drawn = true;
}

void BatchProgress::Count(const ImageResult& result)
{
    ++m_count;
    m_blobs += result.BlobCount();
    m_megapixels += static_cast<double>(result.width) * result.height * 1e-6;
    Show(m_count == m_total);
}

void BatchProgress::Line(const std::string& text)
{
    Write((m_drawn ? szEraseLine : "") + text + "\n");
    m_drawn = false;
}

} // namespace narvo::tools
