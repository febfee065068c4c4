// SPDX-License-Identifier: MIT
// The threads of a watch: one that asks the source, and the lanes.
#include "tools/watch/watch_run.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

#include "host/inspect/inspection_plan.h"
#include "host/inspect/inspector.h"
#include "host/inspect/plan_keeper.h"
#include "host/problem.h"
#include "host/recipe/recipe_file.h"

namespace narvo::tools
{

namespace
{

using WatchClock = std::chrono::steady_clock;

double Milliseconds(WatchClock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

int MostBlobs(const std::vector<CheckedRecipe>& recipes)
{
    int most = 0;
    for (const CheckedRecipe& recipe : recipes)
        most = std::max(most, recipe->maxBlobs);
    return most;
}

class Watch
{
public:
    Watch(const WatchSettings& settings, sources::FrameSource& source, ResultSink& sink)
        : m_settings(settings), m_source(source), m_sink(sink), m_keepsPictures(sink.WantsPictures()),
          m_inspector(settings.lanes, MostBlobs(settings.recipes)), m_plans(settings.recipes.size()),
          m_queue(settings.queue, settings.whenFull)
    {
        for (int lane = 0; lane < settings.lanes; ++lane)
            m_inspector.Prepare(lane);
    }

    WatchSummary Run(std::stop_token stop)
    {
        const std::stop_callback forward(std::move(stop), [this] { m_end.request_stop(); });
        {
            std::vector<std::jthread> threads;
            const Release release{*this};
            for (int lane = 0; lane < m_settings.lanes; ++lane)
                threads.emplace_back([this, lane] { OrFail([&] { Serve(lane); }); });
            threads.emplace_back([this] { Acquire(); });
            WaitForEnd();
        }
        if (m_failure != nullptr)
            std::rethrow_exception(m_failure);
        return Counts();
    }

private:
    /// Lets the threads end before they are joined, also where one of them could not be had.
    struct Release
    {
        Watch& watch;
        ~Release()
        {
            watch.m_end.request_stop();
            watch.m_queue.Close();
        }
    };
    struct Entry
    {
        WatchedImage image;
        WatchClock::time_point arrived;
    };

    template <typename Work>
    void OrFail(Work work)
    {
        try
        {
            work();
        }
        catch (...)
        {
            {
                const std::scoped_lock lock(m_mutex);
                if (m_failure == nullptr)
                    m_failure = std::current_exception();
            }
            m_end.request_stop();
            m_queue.Abandon();
            m_changed.notify_all();
        }
    }

    void WaitForEnd()
    {
        std::unique_lock lock(m_mutex);
        const auto over = [&] { return m_sourceEnded || m_failure != nullptr; };
        if (m_settings.longest.count() == 0)
            m_changed.wait(lock, over);
        else if (!m_changed.wait_until(lock, m_start + m_settings.longest, over))
        {
            lock.unlock();
            m_end.request_stop();
            lock.lock();
            m_changed.wait(lock, over);
        }
    }

    /// The source's thread.
    void Acquire()
    {
        OrFail(
            [&]
            {
                std::uint64_t acquired = 0;
                m_source.TellWhenNoted([&] { NoteArrival(acquired); });
                try
                {
                    while (m_settings.mostFrames == 0 || acquired < m_settings.mostFrames)
                    {
                        std::optional<sources::Frame> frame = m_source.Next(m_end.get_token());
                        acquired += frame ? 1 : 0;
                        NoteArrival(acquired);
                        if (!frame || !m_queue.Add(std::move(*frame)))
                            break;
                    }
                }
                catch (const HostError& error)
                {
                    {
                        const std::scoped_lock lock(m_mutex);
                        m_summary.problems = error.Problems();
                    }
                    TellNotes();
                }
            });
        m_source.TellWhenNoted(nullptr);
        m_queue.Close();
        {
            const std::scoped_lock lock(m_mutex);
            m_sourceEnded = true;
        }
        m_changed.notify_all();
    }

    void NoteArrival(std::uint64_t acquired)
    {
        {
            const std::scoped_lock lock(m_arrivalMutex);
            m_arrivals = {acquired, m_source.Losses()};
        }
        TellNotes();
    }

    /// Takes the lock of the verdicts only where there is something to say.
    void TellNotes()
    {
        const std::vector<std::string> notes = m_source.TakeNotes();
        if (notes.empty())
            return;
        const std::scoped_lock lock(m_mutex);
        for (const std::string& note : notes)
            m_sink.Tell(note);
        m_sink.Progress(Counts());
    }

    /// Brings the summary up to date. The caller holds m_mutex, or the threads have ended.
    const WatchSummary& Counts()
    {
        // In this order no frame is counted twice, whatever arrives meanwhile.
        m_summary.dropped = m_queue.Dropped();
        m_summary.waiting = m_queue.Waiting();
        {
            const std::scoped_lock lock(m_arrivalMutex);
            m_summary.acquired = m_arrivals.acquired;
            m_summary.losses = m_arrivals.losses;
        }
        m_summary.overrun = m_queue.IsOverrun();
        m_summary.seconds = Milliseconds(WatchClock::now() - m_start) / 1e3;
        return m_summary;
    }

    void Serve(int lane)
    {
        for (;;)
        {
            std::uint64_t number = 0;
            std::optional<sources::Frame> frame = m_queue.Take([&](const sources::Frame&) { number = m_begun++; });
            if (!frame)
                return;
            {
                // Results that wait for a slow image before them take memory, too.
                std::unique_lock lock(m_mutex);
                const std::uint64_t ahead = 4 * static_cast<std::uint64_t>(m_settings.lanes);
                m_changed.wait(lock, [&] { return m_failure != nullptr || number < m_reported + ahead; });
                if (m_failure != nullptr)
                    return;
            }
            Report(number, Inspect(lane, *frame));
        }
    }

    Entry Inspect(int lane, sources::Frame& frame)
    {
        Entry entry;
        entry.arrived = frame.arrived;
        entry.image.frame = frame.number;
        entry.image.acquired = frame.acquired;
        ImageResult& result = entry.image.result;
        result.number = static_cast<std::size_t>(frame.number);
        result.name = frame.name;
        try
        {
            const std::shared_ptr<const GreyImage> image = frame.load(entry.image.identity);
            if (m_keepsPictures)
                entry.image.picture = image;
            result.width = image->Width();
            result.height = image->Height();
            for (std::size_t i = 0; i < m_settings.recipes.size(); ++i)
                result.regions.push_back(m_inspector.Inspect(
                    lane, *image, *m_plans[i].PlanFor(m_settings.recipes[i], image->Width(), image->Height())));
        }
        catch (const HostError& error)
        {
            result.problems = FirstOf(error.Problems());
        }
        catch (const std::bad_alloc&)
        {
            result.problems = {{"image " + frame.name, "not enough memory", "fewer lanes or a smaller image"}};
        }
        frame.load = nullptr;
        if (!result.IsInspected())
        {
            result.regions.clear();
            return entry;
        }
        for (const InspectionResult& region : result.regions)
            result.inspectMilliseconds += region.totalMilliseconds;
        entry.image.failedRules = FailedRules(m_settings.rules, result);
        entry.image.verdict = !entry.image.failedRules.empty() ? ImageVerdict_Fail
                              : result.HasWarnings()           ? ImageVerdict_Undecided
                                                               : ImageVerdict_Pass;
        return entry;
    }

    /// Hands on this entry and those that waited for it.
    void Report(std::uint64_t number, Entry entry)
    {
        const std::scoped_lock lock(m_mutex);
        if (m_failure != nullptr)
            return;
        m_waiting.emplace(number, std::move(entry));
        for (auto next = m_waiting.begin(); next != m_waiting.end() && next->first == m_reported;
             next = m_waiting.erase(next), ++m_reported)
        {
            const WatchedImage& image = next->second.image;
            m_sink.Add(image);
            m_summary.latency.Add(Milliseconds(WatchClock::now() - next->second.arrived));
            Count(image);
            m_sink.Progress(Counts());
        }
        m_changed.notify_all();
    }

    void Count(const WatchedImage& image)
    {
        if (!image.result.IsInspected())
        {
            ++m_summary.unreadable;
            return;
        }
        ++m_summary.inspected;
        m_summary.blobs += image.result.BlobCount();
        ++(image.verdict == ImageVerdict_Pass   ? m_summary.passed
           : image.verdict == ImageVerdict_Fail ? m_summary.failed
                                                : m_summary.undecided);
    }

    const WatchSettings& m_settings;
    sources::FrameSource& m_source;
    ResultSink& m_sink;
    bool m_keepsPictures;
    Inspector m_inspector;
    std::vector<PlanKeeper> m_plans; ///< by recipe
    FrameQueue<sources::Frame> m_queue;
    const WatchClock::time_point m_start = WatchClock::now();
    std::stop_source m_end;    ///< of the source
    std::uint64_t m_begun = 0; ///< taken by lanes, below the queue's lock

    struct Arrivals
    {
        std::uint64_t acquired = 0;
        sources::FrameLosses losses;
    };
    std::mutex m_arrivalMutex; ///< the source waits for no verdict to count
    Arrivals m_arrivals;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<std::uint64_t, Entry> m_waiting; ///< for an entry before them
    std::uint64_t m_reported = 0;
    bool m_sourceEnded = false;
    std::exception_ptr m_failure;
    WatchSummary m_summary;
};

} // namespace

WatchSummary RunWatch(const WatchSettings& settings, sources::FrameSource& source, ResultSink& sink,
                      std::stop_token stop)
{
    Watch watch(settings, source, sink);
    return watch.Run(std::move(stop));
}

} // namespace narvo::tools
