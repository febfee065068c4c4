// SPDX-License-Identifier: MIT
// The state's one writer and its readers.
#include "tools/live/live_state.h"

#include <algorithm>
#include <utility>

namespace narvo::tools
{

namespace
{

LiveDefect ToLiveDefect(const Blob& blob)
{
    return {blob.box.left, blob.box.top,  blob.box.right, blob.box.bottom,
            blob.center.x, blob.center.y, blob.area,      blob.bright};
}

} // namespace

const char* OutcomeName(LiveOutcome outcome)
{
    constexpr const char* names[] = {"pass", "fail", "undecided", "unreadable"};
    return names[outcome];
}

LiveState::LiveState(LiveSetup setup, std::function<LiveCounts()> counts)
    : m_setup(std::move(setup)), m_counts(std::move(counts)),
      m_lot({{}, {}, m_setup.recipe, m_setup.recipeText}, nLotImages, nLotDefects)
{
}

void LiveState::Add(LiveVerdict head, const ImageResult& result, std::shared_ptr<const GreyImage> picture)
{
    const auto verdict = std::make_shared<LiveVerdict>(std::move(head));
    verdict->width = result.width;
    verdict->height = result.height;
    verdict->blobs = result.BlobCount();
    for (const Problem& problem : result.problems)
        verdict->problems.push_back(problem.Text());
    for (const InspectionResult& region : result.regions)
        for (const Blob& blob : region.blobs)
            if (verdict->defects.size() < LiveVerdict::nListedDefects)
                verdict->defects.push_back(ToLiveDefect(blob));

    {
        // Before the verdict is told of, so that the last lot has all images.
        const std::scoped_lock lock(m_lotMutex);
        m_lot.Add(result.name, result);
        ++m_lotNumber;
    }

    Verdict oldest, oldestFailed; // freed after the lock, as the picture before
    Picture before;
    {
        const std::scoped_lock lock(m_mutex);
        verdict->number = ++m_number;
        m_trend.Add(verdict->acquired, verdict->outcome, verdict->blobs);
        if (m_ring.size() == nRing)
        {
            oldest = std::move(m_ring.front());
            m_ring.pop_front();
        }
        m_ring.push_back(verdict);
        if (verdict->outcome != LiveOutcome_Pass)
        {
            if (m_failed.size() == nLastVerdicts)
            {
                oldestFailed = std::move(m_failed.front());
                m_failed.pop_front();
            }
            m_failed.push_back(verdict);
        }
        if (verdict->width > 0)
        {
            m_maps.width = verdict->width;
            m_maps.height = verdict->height;
        }
        for (std::size_t region = 0; region < result.regions.size(); ++region)
            for (const Blob& blob : result.regions[region].blobs)
            {
                const double x = blob.center.x + 0.5;
                const double y = blob.center.y + 0.5;
                m_maps.image.Add(x / result.width, y / result.height);
                ++m_maps.defects;
                const CellPlace place =
                    region < m_setup.cells.size() ? PlaceInCell(m_setup.cells[region], x, y) : CellPlace{};
                if (place.known)
                {
                    m_maps.cell.Add(place.alongA, place.alongB);
                    ++m_maps.inCells;
                }
            }
        if (picture)
            before = std::exchange(m_picture, Picture{verdict, std::move(picture)});
    }
    m_changed.notify_all();
}

void LiveState::NoteDropped(std::int64_t time, std::uint64_t dropped)
{
    const std::scoped_lock lock(m_mutex);
    m_trend.AddDropped(time, dropped - std::min(dropped, m_dropped));
    m_dropped = std::max(m_dropped, dropped);
}

void LiveState::End()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_ended = true;
    }
    m_changed.notify_all();
}

void LiveState::Close()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_closed = true;
    }
    m_changed.notify_all();
}

LiveState::News LiveState::WaitBeyond(std::uint64_t number, std::chrono::milliseconds limit) const
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, limit, [&] { return m_number > number || m_ended || m_closed; });
    News news;
    news.ended = m_ended;
    news.closed = m_closed;
    const std::uint64_t missing = m_number - std::min(number, m_number);
    news.tooFarBehind = missing > m_ring.size();
    if (!news.tooFarBehind)
        news.verdicts.assign(m_ring.end() - static_cast<std::ptrdiff_t>(missing), m_ring.end());
    return news;
}

LiveState::Picture LiveState::LatestPicture() const
{
    const std::scoped_lock lock(m_mutex);
    return m_picture;
}

LiveState::Snapshot LiveState::Read() const
{
    const std::scoped_lock lock(m_mutex);
    Snapshot now;
    now.number = m_number;
    now.last.assign(m_ring.end() - static_cast<std::ptrdiff_t>(std::min(m_ring.size(), nLastVerdicts)), m_ring.end());
    now.failed.assign(m_failed.begin(), m_failed.end());
    now.hours = m_trend.Hours();
    now.ended = m_ended;
    return now;
}

LiveState::Maps LiveState::ReadMaps() const
{
    const std::scoped_lock lock(m_mutex);
    return m_maps;
}

LiveState::LatestLot LiveState::ReadLot() const
{
    std::unique_lock lock(m_lotMutex);
    LotBuilder builder = m_lot.Latest();
    const std::size_t leftOut = m_lot.LeftOut();
    lock.unlock();
    return {builder.Finish(), leftOut};
}

std::uint64_t LiveState::LotNumber() const
{
    const std::scoped_lock lock(m_lotMutex);
    return m_lotNumber;
}

} // namespace narvo::tools
