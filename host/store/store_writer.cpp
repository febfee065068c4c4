// SPDX-License-Identifier: MIT
// The queue, the thread, and what it does when the database is away.
#include "host/store/store_writer.h"

#include <algorithm>
#include <utility>

#include "host/problem.h"

namespace narvo
{

namespace
{

// A transaction takes what waits, up to this: the slower the database, the more images share a commit.
constexpr std::size_t nMostInTransaction = 64;
constexpr std::size_t nMostBlobsInTransaction = 50000;

} // namespace

StoreWriter::StoreWriter(std::unique_ptr<ResultStore> store, std::int64_t run, StoreWriterOptions options)
    : m_store(std::move(store)), m_run(run), m_options(std::move(options)), m_thread([this] { Serve(); })
{
}

StoreWriter::~StoreWriter()
{
    {
        const std::scoped_lock lock(m_mutex);
        m_ending = true;
        m_asked = Clock::now();
    }
    m_changed.notify_all();
    m_thread.join();
}

bool StoreWriter::HasRoom() const
{
    const std::size_t images = m_queue.size() + m_open;
    return images == 0 || (images < m_options.mostImages && m_blobs < m_options.mostBlobs);
}

bool StoreWriter::Add(StoredImage image)
{
    CheckStoredImage(image);
    std::unique_lock lock(m_mutex);
    if (m_options.policy == StorePolicy_Wait)
        m_changed.wait(lock, [&] { return m_failure != nullptr || HasRoom(); });
    if (m_failure != nullptr)
        std::rethrow_exception(m_failure);
    if (!HasRoom())
    {
        ++m_dropped;
        return false;
    }
    m_blobs += image.result.BlobCount();
    m_queue.push_back(std::move(image));
    lock.unlock();
    m_changed.notify_all();
    return true;
}

void StoreWriter::Flush()
{
    std::unique_lock lock(m_mutex);
    const std::size_t before = m_dropped;
    m_flushing = true;
    m_asked = Clock::now();
    m_changed.notify_all();
    m_changed.wait(lock, [&] { return m_failure != nullptr || (m_queue.empty() && m_open == 0); });
    m_flushing = false;
    if (m_failure != nullptr)
        std::rethrow_exception(m_failure);
    if (m_dropped > before)
        throw WriteError({{"--store", std::to_string(m_dropped - before) + " images not written, the database is away",
                           "a database that answers"}});
}

std::size_t StoreWriter::Written() const
{
    const std::scoped_lock lock(m_mutex);
    return m_written;
}

std::size_t StoreWriter::Dropped() const
{
    const std::scoped_lock lock(m_mutex);
    return m_dropped;
}

void StoreWriter::Tell(const std::string& line) const
{
    if (m_options.tell)
        m_options.tell(line);
}

std::vector<StoredImage> StoreWriter::TakeSome()
{
    std::vector<StoredImage> some;
    std::size_t blobs = 0;
    while (!m_queue.empty() && some.size() < nMostInTransaction && blobs < nMostBlobsInTransaction)
    {
        blobs += m_queue.front().result.BlobCount();
        some.push_back(std::move(m_queue.front()));
        m_queue.pop_front();
    }
    m_open = some.size();
    return some;
}

void StoreWriter::Serve()
{
    std::unique_lock lock(m_mutex);
    for (;;)
    {
        m_changed.wait(lock, [&] { return m_ending || !m_queue.empty(); });
        if (m_queue.empty() || m_failure != nullptr)
            return;
        const std::vector<StoredImage> some = TakeSome();
        lock.unlock();
        bool written = false;
        std::exception_ptr failure;
        try
        {
            written = Write(some);
            if (written && m_options.acknowledge)
                for (const StoredImage& image : some)
                    m_options.acknowledge(image);
        }
        catch (...)
        {
            failure = std::current_exception();
        }
        lock.lock();
        for (const StoredImage& image : some)
            m_blobs -= image.result.BlobCount();
        m_open = 0;
        (written ? m_written : m_dropped) += some.size();
        m_failure = failure;
        m_changed.notify_all();
        if (m_failure != nullptr)
            return;
    }
}

bool StoreWriter::Pause(std::chrono::milliseconds pause, Clock::time_point away)
{
    std::unique_lock lock(m_mutex);
    const auto asked = [&] { return m_ending || m_flushing; };
    const bool asking = asked();
    // Somebody who begins to wait wakes the thread, since from then on the patience counts.
    m_changed.wait_for(lock, pause, [&] { return asked() != asking; });
    const Clock::time_point since = m_options.policy == StorePolicy_Wait ? away : std::max(away, m_asked);
    return (m_options.policy == StorePolicy_Drop && !asked()) || Clock::now() - since < m_options.patience;
}

bool StoreWriter::Write(const std::vector<StoredImage>& some)
{
    std::chrono::milliseconds pause = m_options.shortestPause;
    while (!m_gone)
    {
        try
        {
            m_store->Add(m_run, some);
            if (m_away)
                Tell("store: " + m_store->Place() + " is back");
            m_away.reset();
            return true;
        }
        catch (const StoreGoneError& error)
        {
            if (m_options.policy != StorePolicy_Drop)
                throw;
            Tell("store: " + error.Problems().front().Text());
            m_gone = true;
        }
        catch (const WriteError& error)
        {
            const bool live = m_options.policy == StorePolicy_Drop;
            if (!live && dynamic_cast<const StoreAwayError*>(&error) == nullptr)
                throw;
            if (!m_away)
            {
                m_away = Clock::now();
                Tell("store: " + error.Problems().front().Text() + "; trying again");
            }
            if (!Pause(pause, *m_away))
            {
                if (live)
                    return false;
                throw;
            }
            pause = std::min(pause * 2, m_options.longestPause);
        }
        catch (const HostError& error)
        {
            if (m_options.policy != StorePolicy_Drop)
                throw;
            Tell("store: " + error.Problems().front().Text());
            return false;
        }
    }
    return false;
}

} // namespace narvo
