// SPDX-License-Identifier: MIT
// The threads of a batch and what they share.
#include "host/inspect/batch.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <new>
#include <numeric>
#include <system_error>
#include <thread>
#include <utility>

#include "host/inspect/elapsed.h"
#include "host/recipe/recipe_file.h"

namespace narvo
{

namespace
{

using Clock = std::chrono::steady_clock;

/// What a call threw, as problems.
template <typename Call>
std::vector<Problem> ProblemsOfCall(const std::string& name, Call call)
{
    try
    {
        call();
        return {};
    }
    catch (const HostError& error)
    {
        return error.Problems();
    }
    catch (const std::bad_alloc&)
    {
        return {{"image " + name, "not enough memory", "fewer lanes or a smaller image"}};
    }
    catch (const std::exception& error)
    {
        return {{"image " + name, error.what(), "an image that can be inspected"}};
    }
}

} // namespace

BatchImage ImageFromFile(const std::filesystem::path& file, const ImageReading& reading, ConversionNotes* notes)
{
    return {file.string(),
            [file, reading, notes] { return std::make_shared<const GreyImage>(LoadGreyImage(file, reading, notes)); }};
}

std::size_t ImageResult::BlobCount() const
{
    return std::accumulate(regions.begin(), regions.end(), std::size_t{0},
                           [](std::size_t sum, const InspectionResult& region) { return sum + region.blobs.size(); });
}

bool ImageResult::HasWarnings() const
{
    return std::any_of(regions.begin(), regions.end(),
                       [](const InspectionResult& region) { return !region.warnings.empty(); });
}

/// One run. Everything below the lock is shared by the lanes and the reporting thread.
class Batch::Work
{
public:
    Work(Batch& batch, const std::vector<BatchImage>& images, std::stop_token stop)
        : m_batch(batch), m_images(images), m_stop(std::move(stop)), m_entries(images.size())
    {
    }

    BatchSummary Run(const std::function<void(const ImageResult&)>& report)
    {
        // The stop request has to wake lanes that wait for work.
        const std::stop_callback wake(m_stop, [this] { Wake(); });
        std::vector<std::jthread> lanes;
        // A report that throws must let the lanes go before they are joined.
        const Release release{*this};
        BatchSummary summary;
        summary.lanes = StartLanes(lanes);
        for (;;)
        {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [&] { return m_failure != nullptr || IsNextEnded() || IsOver(); });
            if (m_failure != nullptr)
                std::rethrow_exception(m_failure);
            if (!IsNextEnded())
                break;
            const ImageResult result = std::move(m_entries[m_reported].result);
            ++m_reported;
            lock.unlock();
            m_changed.notify_all();
            ++summary.images;
            summary.refused += result.IsInspected() ? 0 : 1;
            summary.warned += result.HasWarnings() ? 1 : 0;
            summary.blobs += result.BlobCount();
            report(result);
        }
        summary.stopped = summary.images < m_images.size();
        return summary;
    }

private:
    struct Entry
    {
        std::shared_ptr<const GreyImage> image; ///< held from reading to the end of the last region
        std::size_t nextRegion = 0;
        std::size_t openRegions = 0;
        bool readable = false; ///< read, and some region not yet begun
        bool ended = false;
        std::vector<std::vector<Problem>> problems; ///< by region
        ImageResult result;
    };

    struct Release
    {
        Work& work;
        ~Release()
        {
            {
                const std::scoped_lock lock(work.m_mutex);
                work.m_released = true;
            }
            work.m_changed.notify_all();
        }
    };

    /// As many as have work, memory and a thread. @return their number
    int StartLanes(std::vector<std::jthread>& lanes)
    {
        const std::size_t pieces = m_images.size() * m_batch.Regions();
        const int useful =
            static_cast<int>(std::clamp<std::size_t>(pieces, 1, static_cast<std::size_t>(m_batch.m_lanes)));
        try
        {
            for (int lane = 0; lane < useful; ++lane)
            {
                m_batch.m_inspector->Prepare(lane);
                lanes.emplace_back([this, lane] { ServeOrFail(lane); });
            }
        }
        catch (const std::system_error&)
        {
            if (lanes.empty())
                throw std::bad_alloc(); // no thread is to be had, which is lack of memory in all but its name
        }
        catch (const HostError&)
        {
            if (lanes.empty())
                throw;
        }
        catch (const std::bad_alloc&)
        {
            if (lanes.empty())
                throw;
        }
        return static_cast<int>(lanes.size());
    }

    void Wake()
    {
        // Taken once, so that no lane is between its test and its sleep.
        {
            const std::scoped_lock lock(m_mutex);
        }
        m_changed.notify_all();
    }

    bool IsStopped() const { return m_released || m_stop.stop_requested(); }
    bool IsNextEnded() const { return m_reported < m_begun && m_entries[m_reported].ended; }
    bool IsOver() const { return m_reported == m_begun && (m_begun == m_images.size() || IsStopped()); }

    /// Results that wait for an earlier image take memory too.
    bool CanBegin() const
    {
        const std::size_t ahead = 16 + 4 * static_cast<std::size_t>(m_batch.m_lanes);
        return !IsStopped() && m_begun < m_images.size() && m_begun < m_reported + ahead;
    }

    Entry* FindReadable()
    {
        for (std::size_t i = m_reported; i < m_begun; ++i)
            if (m_entries[i].readable)
                return &m_entries[i];
        return nullptr;
    }

    /// What is no fault of an image, as memory that ran out for the batch itself, ends the run.
    void ServeOrFail(int lane)
    {
        try
        {
            Serve(lane);
        }
        catch (...)
        {
            const std::scoped_lock lock(m_mutex);
            m_failure = std::current_exception();
            m_released = true;
            m_changed.notify_all();
        }
    }

    void Serve(int lane)
    {
        std::unique_lock lock(m_mutex);
        for (;;)
        {
            // Regions of images in memory first: nothing is read before there is a lane without work.
            if (Entry* entry = m_released ? nullptr : FindReadable())
            {
                InspectNext(lane, *entry, lock);
                continue;
            }
            if (CanBegin())
            {
                Begin(lock);
                continue;
            }
            // An image that another lane is still reading may bring regions for this one.
            const bool allBegun = m_begun == m_images.size() || IsStopped();
            if (m_released || (allBegun && m_reading == 0))
                return;
            m_changed.wait(lock);
        }
    }

    /// Reads the next image; called and left with the lock held.
    void Begin(std::unique_lock<std::mutex>& lock)
    {
        const std::size_t number = m_begun++;
        ++m_reading;
        lock.unlock();
        Entry& entry = m_entries[number];
        entry.result.number = number;
        entry.result.name = m_images[number].name;
        const Clock::time_point start = Clock::now();
        entry.result.problems = ProblemsOfCall(entry.result.name,
                                               [&]
                                               {
                                                   entry.image = m_images[number].load();
                                                   entry.result.width = entry.image->Width();
                                                   entry.result.height = entry.image->Height();
                                               });
        entry.result.readMilliseconds = MillisecondsSince(start);
        entry.problems.resize(m_batch.Regions());
        entry.result.regions.resize(m_batch.Regions());
        lock.lock();
        --m_reading;
        entry.openRegions = m_batch.Regions();
        if (entry.result.problems.empty())
            entry.readable = true;
        else
            End(entry);
        m_changed.notify_all();
    }

    /// Inspects an image's next region; called and left with the lock held.
    void InspectNext(int lane, Entry& entry, std::unique_lock<std::mutex>& lock)
    {
        const std::size_t region = entry.nextRegion++;
        entry.readable = entry.nextRegion < m_batch.Regions();
        const GreyImage& image = *entry.image;
        lock.unlock();
        entry.problems[region] = ProblemsOfCall(
            entry.result.name, [&] { entry.result.regions[region] = m_batch.Inspect(lane, image, region); });
        lock.lock();
        if (--entry.openRegions == 0)
        {
            End(entry);
            m_changed.notify_all();
        }
    }

    void End(Entry& entry)
    {
        entry.image.reset();
        for (std::vector<Problem>& problems : entry.problems)
            for (Problem& problem : problems)
                entry.result.problems.push_back(std::move(problem));
        entry.result.problems = FirstOf(std::move(entry.result.problems));
        if (!entry.result.problems.empty())
            entry.result.regions.clear();
        for (const InspectionResult& region : entry.result.regions)
            entry.result.inspectMilliseconds += region.totalMilliseconds;
        entry.ended = true;
    }

    Batch& m_batch;
    const std::vector<BatchImage>& m_images;
    std::stop_token m_stop;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Entry> m_entries;
    std::size_t m_begun = 0;
    std::size_t m_reported = 0;
    int m_reading = 0;
    bool m_released = false;
    std::exception_ptr m_failure; ///< of a lane
};

Batch::Batch(std::vector<CheckedRecipe> recipes, int lanes)
    : m_recipes(std::move(recipes)), m_plans(m_recipes.size()), m_lanes(lanes)
{
    if (m_recipes.empty())
        throw HostError({{"recipes", "none", "at least one"}});
    int maxBlobs = 0;
    for (const CheckedRecipe& recipe : m_recipes)
        maxBlobs = std::max(maxBlobs, recipe->maxBlobs);
    m_inspector = std::make_unique<Inspector>(lanes, maxBlobs);
}

Batch::Batch(InspectImage inspect, int maxBlobs, int lanes)
    : m_inspect(std::move(inspect)), m_lanes(lanes), m_inspector(std::make_unique<Inspector>(lanes, maxBlobs))
{
}

Batch::~Batch() = default;

InspectionResult Batch::Inspect(int lane, const GreyImage& image, std::size_t recipe)
{
    if (m_inspect)
        return m_inspect(*m_inspector, lane, image);
    try
    {
        return m_inspector->Inspect(lane, image,
                                    *m_plans[recipe].PlanFor(m_recipes[recipe], image.Width(), image.Height()));
    }
    catch (const HostError& error)
    {
        if (m_recipes.size() == 1)
            throw;
        std::vector<Problem> found = error.Problems();
        for (Problem& problem : found)
            problem.field = RegionPrefix(recipe) + problem.field;
        throw HostError(std::move(found));
    }
}

BatchSummary Batch::Run(const std::vector<BatchImage>& images, const std::function<void(const ImageResult&)>& report,
                        std::stop_token stop)
{
    return Work(*this, images, std::move(stop)).Run(report);
}

} // namespace narvo
