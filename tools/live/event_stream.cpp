// SPDX-License-Identifier: MIT
// The order and pace of the events.
#include "tools/live/event_stream.h"

#include <charconv>

#include "tools/live/live_text.h"

namespace narvo::tools
{

namespace
{

using namespace std::chrono_literals;

constexpr auto patience = 250ms; // of one wait for verdicts
constexpr auto statusPause = 500ms;
constexpr auto mapsPause = 1000ms;
constexpr auto silence = 10s; // then a comment shows whether the reader is still there
constexpr std::size_t nVerdictsAtOnce = 64;

std::string EventText(const char* name, const std::string& data)
{
    return std::string("event: ") + name + "\ndata: " + data + "\n\n";
}

} // namespace

EventStream::EventStream(const LiveState& state, LivePicture& picture, LiveLot& lot, LiveCell& cell,
                         const std::string& lastId)
    : m_state(state), m_picture(picture), m_lot(lot), m_cell(cell)
{
    const std::string run = IdOf(0).substr(0, IdOf(0).size() - 1);
    if (!lastId.starts_with(run))
        return;
    const char* const end = lastId.data() + lastId.size();
    const auto [read, fault] = std::from_chars(lastId.data() + run.size(), end, m_resumeBehind);
    m_resumes = fault == std::errc() && read == end;
}

/// Numbers begin anew with each run, so that its start belongs to them.
std::string EventStream::IdOf(std::uint64_t number) const
{
    return std::to_string(m_state.Setup().started) + "-" + std::to_string(number);
}

std::string EventStream::Begin()
{
    m_begun = true;
    const std::string state = StateText(m_state, m_number);
    m_sentAt = m_statusAt = m_mapsAt = Clock::now();
    std::string piece = "retry: 2000\nid: " + IdOf(m_number) + "\n" + EventText("state", state);
    if (m_resumes && m_resumeBehind < m_number && !m_state.WaitBeyond(m_resumeBehind, 0ms).tooFarBehind)
        m_number = m_resumeBehind;
    return piece;
}

void EventStream::AddChanged(std::string& piece, bool all)
{
    const Clock::time_point now = Clock::now();
    const auto add = [&](const char* name, std::string text, std::string& before)
    {
        if (text != before)
            piece += EventText(name, text);
        before = std::move(text);
    };
    if (all || now - m_statusAt >= statusPause)
    {
        add("status", StatusText(m_state), m_status);
        m_statusAt = now;
    }
    if (all || now - m_mapsAt >= mapsPause)
    {
        add("maps", MapsText(m_state), m_maps);
        m_mapsAt = now;
    }
    const auto picture = m_picture.Latest(m_state);
    if (picture->number != m_pictureNumber)
    {
        piece += EventText("picture", picture->text);
        m_pictureNumber = picture->number;
    }
    const auto lot = m_lot.Latest(m_state, all);
    if (lot->number != m_lotNumber)
    {
        piece += EventText("lot", lot->text);
        m_lotNumber = lot->number;
    }
    const auto cell = m_cell.Latest(m_state, all);
    if (cell->number != m_cellNumber)
    {
        piece += EventText("cell", cell->text);
        m_cellNumber = cell->number;
    }
}

std::string EventStream::Next()
{
    if (!m_begun)
        return Begin();
    const LiveState::News news = m_state.WaitBeyond(m_number, patience);
    if (news.closed || news.tooFarBehind)
    {
        m_over = true;
        return {};
    }
    std::string piece;
    std::size_t sent = 0;
    for (; sent < news.verdicts.size() && sent < nVerdictsAtOnce; ++sent)
    {
        m_number = news.verdicts[sent]->number;
        piece += "id: " + IdOf(m_number) + "\n" + EventText("verdict", VerdictText(*news.verdicts[sent]));
    }
    const bool last = news.ended && sent == news.verdicts.size();
    AddChanged(piece, last);
    if (last)
    {
        piece += EventText("ended", "{}");
        m_over = true;
    }
    const Clock::time_point now = Clock::now();
    if (piece.empty() && now - m_sentAt >= silence)
        piece = ":\n\n";
    if (!piece.empty())
        m_sentAt = now;
    return piece;
}

} // namespace narvo::tools
