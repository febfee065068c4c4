// SPDX-License-Identifier: MIT
// The time from a frame's last row to its verdict in the result file, at a camera's pace: frames from memory.
#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

#include "bench/bench_lines.h"
#include "bench/scene_recipe.h"
#include "host/image/grey_image.h"
#include "tools/watch/watch_log.h"
#include "tools/watch/watch_run.h"

namespace bench
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr double dPace = 1e9; ///< pixels a second
constexpr int nFrames = 300;
constexpr int nFramesInMemory = 4;

/// Hands out frames at even times, whatever the inspection does.
class CPacedSource : public narvo::sources::FrameSource
{
public:
    CPacedSource(std::vector<std::shared_ptr<const narvo::GreyImage>> images, int nCount, Clock::duration period)
        : m_images(std::move(images)), m_nCount(nCount), m_period(period)
    {
    }

    std::optional<narvo::sources::Frame> Next(const std::stop_token&) override
    {
        if (m_nNext == m_nCount)
            return std::nullopt;
        if (m_nNext == 0)
            m_start = Clock::now();
        narvo::sources::Frame frame;
        frame.number = static_cast<std::uint64_t>(m_nNext);
        frame.name = "frame " + std::to_string(m_nNext);
        const Clock::time_point due = m_start + (m_nNext + 1) * m_period;
        std::this_thread::sleep_until(due);
        narvo::sources::StampFrame(frame);
        frame.arrived = due; // a source that wakes late has had the rows since then
        frame.load = [image = m_images[static_cast<std::size_t>(m_nNext) % m_images.size()]](narvo::FileIdentity&)
        { return image; };
        ++m_nNext;
        return frame;
    }
    narvo::sources::FrameLosses Losses() const override { return {}; }

private:
    std::vector<std::shared_ptr<const narvo::GreyImage>> m_images;
    int m_nCount;
    Clock::duration m_period;
    Clock::time_point m_start;
    int m_nNext = 0;
};

void AddWatchLine(CTable& table, CScene& scene, const SOptions& options, const std::string& strName, bool bVertical)
{
    const int nRows = scene.nHeight / nFramesInMemory;
    std::vector<std::shared_ptr<const narvo::GreyImage>> images;
    for (int i = 0; i < nFramesInMemory; ++i)
        images.push_back(std::make_shared<const narvo::GreyImage>(scene.pixels.data() + static_cast<std::ptrdiff_t>(i) *
                                                                                            nRows * scene.nWidth,
                                                                  scene.nWidth, nRows, scene.nWidth));
    const double dPixels = static_cast<double>(scene.nWidth) * nRows;
    CPacedSource source(std::move(images), options.bQuick ? 4 : nFrames,
                        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(dPixels / dPace)));

    narvo::tools::WatchSettings settings;
    settings.recipes = {narvo::CheckedRecipe(PixelRecipe(bVertical, true))};
    settings.whenFull = narvo::tools::WhenFull_DropOldest;
    const std::filesystem::path file =
        std::filesystem::temp_directory_path() / ("narvo_bench_" + std::to_string(getpid()) + ".jsonl");
    narvo::tools::WatchLog log(file, "bench", narvo::tools::WatchLog::Start_Afresh);
    const narvo::tools::WatchSummary summary = narvo::tools::RunWatch(settings, source, log, {});
    std::filesystem::remove(file);

    const std::string strCase = "frames of " + std::to_string(static_cast<int>(dPixels * 1e-6 + 0.5)) +
                                " Mpixel at 1 GPix/s, one lane, " + strName;
    table.Note("from the last row to the verdict, median, " + strCase, summary.latency.Quantile(0.5), "ms");
    table.Note("from the last row to the verdict, 99 %, " + strCase, summary.latency.Quantile(0.99), "ms");
    table.Note("from the last row to the verdict, worst, " + strCase, summary.latency.Worst(), "ms");
    table.Require("frames that were dropped, " + strCase, static_cast<double>(summary.dropped), "frames", Bound::AtMost,
                  0.0);
}

} // namespace

void AddWatchLines(CTable& table, CScene& large, const SOptions& options)
{
    large.SetDensity(densitySparse);
    AddWatchLine(table, large, options, "pixel, vertical", true);
    AddWatchLine(table, large, options, "pixel, horizontal", false);
}

} // namespace bench
