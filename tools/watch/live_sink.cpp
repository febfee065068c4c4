// SPDX-License-Identifier: MIT
// What the watch says, handed to the live page's state; and the options of the page.
#include "tools/watch/live_sink.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iostream>
#include <mutex>
#include <utility>

#include <CLI/CLI.hpp>

#include "host/file/input_file.h"
#include "host/file/name_text.h"
#include "host/recipe/recipe.h"
#include "tools/command.h"
#include "tools/live/live_server.h"
#include "tools/live/live_state.h"

namespace narvo::tools
{

namespace
{

// Readers of events get the last ones before the end.
constexpr std::chrono::milliseconds lastEventsGrace{1000};

std::int64_t NanosecondsNow()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
        .count();
}

PatternCell CellOf(const Recipe& recipe)
{
    if (recipe.mode == Mode_Lattice)
        return {recipe.latticeAX, recipe.latticeAY, recipe.latticeBX, recipe.latticeBY};
    return recipe.ComparesAtAPitch() ? PatternCell{recipe.pitchX, 0.0, 0.0, recipe.pitchY} : PatternCell{};
}

LiveSetup SetupOf(const WatchOptions& options, const std::vector<CheckedRecipe>& recipes, int lanes)
{
    LiveSetup setup;
    setup.source = NameToText(options.source);
    setup.recipe = NameToText(std::filesystem::path(options.recipe).filename().string());
    for (const CheckedRecipe& recipe : recipes)
        setup.cells.push_back(CellOf(*recipe));
    setup.lanes = lanes;
    setup.queue = static_cast<std::size_t>(options.queue);
    setup.whenFull = options.whenFull == WhenFull_Wait         ? "wait"
                     : options.whenFull == WhenFull_DropOldest ? "drop-oldest"
                                                               : "stop";
    setup.recipeText = ReadTextFile(options.recipe, "recipe " + options.recipe);
    setup.version = VersionText();
    setup.started = NanosecondsNow();
    return setup;
}

class LiveSink : public ResultSink
{
public:
    LiveSink(const ListenAccess& access, LiveSetup setup)
        : m_state(std::move(setup), [this] { return Counts(); }), m_server(OpenLiveServer(access, m_state))
    {
    }

    std::string Address() const { return m_server->Address(); }

    bool WantsPictures() const override { return true; }

    void Add(const WatchedImage& image) override
    {
        LiveVerdict head;
        head.frame = image.frame;
        head.acquired = image.acquired;
        head.name = NameToText(image.result.name);
        head.outcome = !image.result.IsInspected()          ? LiveOutcome_Unreadable
                       : image.verdict == ImageVerdict_Pass ? LiveOutcome_Pass
                       : image.verdict == ImageVerdict_Fail ? LiveOutcome_Fail
                                                            : LiveOutcome_Undecided;
        head.failed = image.failedRules;
        m_state.Add(std::move(head), image.result, image.picture);
    }

    void Progress(const WatchSummary& soFar) override
    {
        if (soFar.dropped > m_dropped)
            m_state.NoteDropped(NanosecondsNow(), soFar.dropped);
        m_dropped = soFar.dropped;
        const std::scoped_lock lock(m_mutex);
        m_summary = soFar;
    }

    void Finish(const WatchSummary& summary) override
    {
        Progress(summary);
        m_state.End();
        m_server->Stop(lastEventsGrace);
    }

private:
    LiveCounts Counts() const
    {
        WatchSummary summary;
        {
            const std::scoped_lock lock(m_mutex);
            summary = m_summary;
        }
        LiveCounts counts;
        counts.acquired = summary.acquired;
        counts.inspected = summary.inspected;
        counts.passed = summary.passed;
        counts.failed = summary.failed;
        counts.undecided = summary.undecided;
        counts.dropped = summary.dropped;
        counts.unreadable = summary.unreadable;
        counts.incomplete = summary.losses.incomplete;
        counts.lost = summary.losses.lost;
        counts.blobs = summary.blobs;
        counts.waiting = summary.waiting;
        counts.overrun = summary.overrun;
        for (const Problem& problem : summary.problems)
            counts.problems.push_back(problem.Text());
        counts.medianMs = summary.latency.Quantile(0.5);
        counts.percentile99Ms = summary.latency.Quantile(0.99);
        counts.worstMs = summary.latency.Worst();
        counts.latencySum = summary.latency.Sum() / 1e3;
        counts.latencyCount = summary.latency.Count();
        for (std::size_t i = 0; i < latencyLimits.size(); ++i)
            counts.latencyBelow[i] = summary.latency.CountBelow(latencyLimits[i] * 1e3);
        return counts;
    }

    mutable std::mutex m_mutex;
    WatchSummary m_summary;
    std::uint64_t m_dropped = 0;
    LiveState m_state;
    std::unique_ptr<LiveServer> m_server; ///< last: its threads use the others
};

} // namespace

void AddListenOptions(CLI::App& command, WatchOptions& options)
{
    CLI::Option* const listen =
        command
            .add_option("--listen", options.listen,
                        "serve a page with the images that run by, /metrics and /health, as 127.0.0.1:8080; an address "
                        "that others reach needs a token; port 0 to 65535, 0 for any that is free")
            ->option_text("ADDRESS:PORT");
    command
        .add_option("--listen-token", options.listenToken,
                    "file whose first line, 16 to 256 letters, digits and - . _ ~, the page is asked with")
        ->option_text("FILE")
        ->needs(listen);
    command
        .add_option("--cell", options.cell,
                    "file with the golden cell, by narvo cell --learn; the page shows where images differ from it")
        ->option_text("FILE")
        ->needs(listen);
}

std::optional<ListenAccess> ListenAccessOf(const WatchOptions& options)
{
    if (options.listen.empty())
        return std::nullopt;
    RequireLiveServer();
    return ReadListenAccess(options.listen, options.listenToken);
}

std::shared_ptr<const CellReference> GoldenCellOf(const WatchOptions& options)
{
    return options.cell.empty() ? nullptr : OpenCellReference(options.cell, options.recipe);
}

std::unique_ptr<ResultSink> OpenLiveSink(const ListenAccess& access, const WatchOptions& options,
                                         const std::vector<CheckedRecipe>& recipes, int lanes,
                                         std::shared_ptr<const CellReference> cell)
{
    LiveSetup setup = SetupOf(options, recipes, lanes);
    setup.golden = std::move(cell);
    auto sink = std::make_unique<LiveSink>(access, std::move(setup));
    if (!options.quiet)
        std::cout << "live page: " << sink->Address() << std::endl;
    return sink;
}

} // namespace narvo::tools
