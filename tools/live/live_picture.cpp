// SPDX-License-Identifier: MIT
// One encoding for all who look.
#include "tools/live/live_picture.h"

#include "tools/live/live_text.h"
#include "tools/page/embedded_jpeg.h"

namespace narvo::tools
{

std::shared_ptr<const LivePicture::Event> LivePicture::Latest(const LiveState& state)
{
    const std::scoped_lock lock(m_mutex);
    const auto now = std::chrono::steady_clock::now();
    if (m_event->number > 0 && now - m_made < pause)
        return m_event;
    const LiveState::Picture picture = state.LatestPicture();
    if (!picture.verdict || picture.verdict->number == m_event->number)
        return m_event;
    m_made = now;
    ++m_encoded;
    m_event = std::make_shared<Event>(
        Event{picture.verdict->number, PictureText(*picture.verdict, MakeOverview(*picture.image, dPixels))});
    return m_event;
}

std::uint64_t LivePicture::Encoded() const
{
    const std::scoped_lock lock(m_mutex);
    return m_encoded;
}

} // namespace narvo::tools
