// SPDX-License-Identifier: MIT
// Images on their way into a store: a bounded queue and one thread that writes, so that the inspection never waits for
// a commit, and for the database only where it asked to.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/store/result_store.h"

namespace narvo
{

/// What happens to an image for which the queue has no room.
enum StorePolicy : int
{
    StorePolicy_Wait, ///< the caller waits; a database that stays away longer than `patience` ends the run
    StorePolicy_Drop  ///< the image is left out and counted; the database may stay away for as long as it likes
};

struct StoreWriterOptions
{
    StorePolicy policy = StorePolicy_Wait;
    std::size_t mostImages = 256;                ///< that wait, those of the open transaction among them
    std::size_t mostBlobs = 200000;              ///< of these; one image is taken however many it has
    std::chrono::milliseconds patience{60000};   ///< for a database that is away, also when the writer ends
    std::chrono::milliseconds shortestPause{50}; ///< between tries, doubled up to the longest
    std::chrono::milliseconds longestPause{5000};
    /// Called on the writer's thread for each image once it is committed, in the order in which they were added.
    std::function<void(const StoredImage& image)> acknowledge;
    /// Called on the writer's thread with a line for a person when the database goes away, and when it is back.
    std::function<void(const std::string& line)> tell;
};

class StoreWriter
{
public:
    StoreWriter(std::unique_ptr<ResultStore> store, std::int64_t run, StoreWriterOptions options);
    /// Writes what waits, for at most the patience; Flush tells whether all was written.
    ~StoreWriter();
    StoreWriter(const StoreWriter&) = delete;
    StoreWriter& operator=(const StoreWriter&) = delete;

    /// Hands an image over. @return false when it was left out for lack of room
    /// @throws HostError for an image that cannot be kept; by StorePolicy_Wait what ended the writing
    bool Add(StoredImage image);
    /// Waits until all that was handed over is committed. @throws what ended the writing; WriteError when images had to
    /// be left out since by StorePolicy_Drop the database stayed away for longer than the patience
    void Flush();

    /// Committed images.
    std::size_t Written() const;
    /// Images that were left out.
    std::size_t Dropped() const;

private:
    using Clock = std::chrono::steady_clock;

    bool HasRoom() const;
    void Serve();
    std::vector<StoredImage> TakeSome();
    /// Until it is written or given up. @return whether it is written
    bool Write(const std::vector<StoredImage>& some);
    /// @return false when there is nothing more to wait for
    bool Pause(std::chrono::milliseconds pause, Clock::time_point away);
    void Tell(const std::string& line) const;

    std::unique_ptr<ResultStore> m_store; ///< of the thread
    std::int64_t m_run;
    StoreWriterOptions m_options;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<StoredImage> m_queue;
    std::size_t m_open = 0;  ///< images of the open transaction
    std::size_t m_blobs = 0; ///< of all that wait
    std::size_t m_written = 0;
    std::size_t m_dropped = 0;
    bool m_gone = false;                     ///< the store took its last image; of the thread
    std::optional<Clock::time_point> m_away; ///< since when, over all transactions; of the thread
    bool m_ending = false;
    bool m_flushing = false;
    Clock::time_point m_asked; ///< when somebody began to wait for the end
    std::exception_ptr m_failure;
    std::thread m_thread;
};

} // namespace narvo
