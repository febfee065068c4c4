// SPDX-License-Identifier: MIT
// The thread writes only where the system says that there is room. A terminal may hold it even then, so that the thread
// is let go, not waited for.
#include "tools/watch/line_printer.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include <poll.h>
#include <unistd.h>

#include "host/counted.h"

namespace narvo::tools
{

namespace
{

constexpr std::size_t nPiece = 512; // bytes for which a pipe that says so has room, on every system of POSIX

} // namespace

struct LinePrinter::State
{
    struct Line
    {
        int descriptor;
        std::string text;
    };

    explicit State(std::size_t most) : mostLines(most) {}

    /// The next piece is written, or its line given up. Without the lock, since a terminal may hold it.
    /// @return bytes that were taken; 0 where there was no room; -1 where there never will be
    static std::ptrdiff_t WritePiece(const Line& line, std::size_t place)
    {
        if (line.descriptor < 0)
            return -1;
        pollfd room{line.descriptor, POLLOUT, 0};
        if (poll(&room, 1, 50) == 0)
            return 0;
        const std::ptrdiff_t count =
            write(line.descriptor, line.text.data() + place, std::min(nPiece, line.text.size() - place));
        return count >= 0 ? count : errno == EINTR || errno == EAGAIN ? 0 : -1;
    }

    std::mutex mutex;
    std::condition_variable changed;
    const std::size_t mostLines;
    std::deque<Line> lines;
    std::size_t leftOut = 0;
    int tellOn = STDERR_FILENO;
    std::set<int> failed;     ///< descriptors
    std::uint64_t pieces = 0; ///< that were written
    std::uint64_t drains = 0; ///< that gave up: what was taken before is written no further
    std::set<int> stuck;      ///< descriptors for which lines waited then
    int current = -1;         ///< descriptor of the line that is being written
    bool busy = false;        ///< a line is being written
    bool ended = false;
};

LinePrinter::LinePrinter(std::size_t mostLines) : m_state(std::make_shared<State>(mostLines))
{
    std::thread([state = m_state] { Run(state); }).detach();
}

LinePrinter::~LinePrinter()
{
    Drain();
    const std::lock_guard lock(m_state->mutex);
    m_state->ended = true;
    m_state->changed.notify_all();
}

void LinePrinter::Print(int descriptor, std::string text)
{
    const std::lock_guard lock(m_state->mutex);
    if (m_state->failed.contains(descriptor))
        return;
    if (m_state->lines.size() >= m_state->mostLines)
    {
        ++m_state->leftOut;
        return;
    }
    if (const std::size_t leftOut = std::exchange(m_state->leftOut, 0); leftOut > 0)
        m_state->lines.push_back({m_state->tellOn, "narvo: " + Counted(leftOut, "line") +
                                                       " could not be printed, since nobody took them\n"});
    m_state->lines.push_back({descriptor, std::move(text)});
    m_state->changed.notify_all();
}

void LinePrinter::TellOn(int descriptor)
{
    const std::lock_guard lock(m_state->mutex);
    m_state->tellOn = descriptor;
}

void LinePrinter::Drain(std::chrono::milliseconds patience)
{
    std::unique_lock lock(m_state->mutex);
    const auto isDone = [&] { return m_state->lines.empty() && !m_state->busy; };
    for (std::uint64_t before = m_state->pieces; !isDone(); before = m_state->pieces)
        if (!m_state->changed.wait_for(lock, patience, [&] { return isDone() || m_state->pieces != before; }))
        {
            for (const State::Line& line : m_state->lines)
                m_state->stuck.insert(line.descriptor);
            if (m_state->busy)
                m_state->stuck.insert(m_state->current);
            m_state->lines.clear();
            ++m_state->drains;
            return;
        }
}

bool LinePrinter::IsStuck(int descriptor) const
{
    const std::lock_guard lock(m_state->mutex);
    return m_state->stuck.contains(descriptor);
}

void LinePrinter::Run(const std::shared_ptr<State>& state)
{
    std::unique_lock lock(state->mutex);
    for (;;)
    {
        state->busy = false;
        state->changed.notify_all();
        state->changed.wait(lock, [&] { return state->ended || !state->lines.empty(); });
        if (state->lines.empty())
            return;
        const State::Line line = std::move(state->lines.front());
        state->lines.pop_front();
        state->busy = true;
        state->current = line.descriptor;
        const std::uint64_t drains = state->drains;
        for (std::size_t place = 0;
             place < line.text.size() && state->drains == drains && !state->failed.contains(line.descriptor);)
        {
            lock.unlock();
            const std::ptrdiff_t count = State::WritePiece(line, place);
            lock.lock();
            if (count < 0)
                state->failed.insert(line.descriptor);
            if (count <= 0)
                continue;
            place += static_cast<std::size_t>(count);
            ++state->pieces;
            state->changed.notify_all();
        }
    }
}

} // namespace narvo::tools
