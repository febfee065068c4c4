// SPDX-License-Identifier: MIT
// Options of the live inspection, the opening of its source, and what it prints.
#include "tools/command.h"

#include <cmath>
#include <cstdio>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/counted.h"
#include "host/file/name_text.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/problem.h"
#include "host/result/digest.h"
#include "sources/folder_source.h"
#include "sources/pipe_source.h"
#include "sources/ring_source.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/batch_options.h"
#include "tools/inspect/interrupt.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"
#include "tools/watch/watch_log.h"
#include "tools/watch/watch_run.h"

namespace narvo::tools
{

namespace
{

constexpr const char* szFolderSource = "folder:";
constexpr const char* szPipeSource = "pipe:";
constexpr const char* szRingSource = "shm:";

struct WatchOptions
{
    std::string source;
    std::string recipe;
    std::string output = "watch.jsonl";
    std::string json; ///< file of the summary; empty: none
    std::string rulesFile;
    std::vector<std::string> fail;
    std::string pixelSize;
    std::uint64_t images = 0;
    int seconds = 0;
    int lanes = 0;
    int queue = 16;
    WhenFull whenFull = WhenFull_Wait;
    bool existing = false;
    bool resume = false;
    bool overwrite = false;
    bool quiet = false;
};

void AddProblemsAndWarnings(const WatchedImage& image, const std::function<void(const std::string&)>& tell)
{
    const std::string& name = image.result.name;
    for (const Problem& problem : image.result.problems)
        tell((problem.field.find(name) != std::string::npos ? "" : Printable(name) + ": ") + problem.Text());
    for (const InspectionResult& region : image.result.regions)
        for (const std::string& warning : region.warnings)
            tell("warning: " + Printable(name + (region.name.empty() ? "" : ", " + region.name)) + ": " + warning);
}

/// Writes each result to the log and tells of those that did not pass.
class ToldLog : public ResultSink
{
public:
    ToldLog(WatchLog& log, bool quiet, std::function<void(const std::string&)> tell)
        : m_log(log), m_quiet(quiet), m_tell(std::move(tell))
    {
    }

    void Add(const WatchedImage& image) override
    {
        m_log.Add(image);
        AddProblemsAndWarnings(image, m_tell);
        for (const std::string& note : ProgramNotes().Take())
            m_tell("note: " + Printable(note));
        if (m_quiet || image.verdict == ImageVerdict_Pass)
            return;
        std::string rules;
        for (const std::string& rule : image.failedRules)
            rules += (rules.empty() ? "; " : " ") + rule;
        std::cout << VerdictName(image.verdict) << ": " << Printable(image.result.name) << ", "
                  << Counted(image.result.BlobCount(), "blob") << rules << std::endl;
    }
    void Finish() override { m_log.Finish(); }

private:
    WatchLog& m_log;
    bool m_quiet;
    std::function<void(const std::string&)> m_tell;
};

std::string Tenths(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

void PrintWatchSummary(const WatchSummary& summary, const std::string& output)
{
    const std::uint64_t incomplete = summary.losses.incomplete;
    const std::uint64_t lost = summary.losses.lost;
    std::cout << "frames: " << summary.acquired << " acquired (" << summary.inspected << " inspected, "
              << summary.dropped << " dropped, " << summary.unreadable << " unreadable); " << incomplete
              << " incomplete, " << lost << " lost\nverdict: " << summary.passed << " pass, " << summary.failed
              << " fail, " << summary.undecided << " undecided; " << Counted(summary.blobs, "blob") << '\n';
    if (summary.latency.Count() > 0)
        std::cout << "latency: median " << Tenths(summary.latency.Quantile(0.5)) << " ms, 99 % "
                  << Tenths(summary.latency.Quantile(0.99)) << " ms, worst " << Tenths(summary.latency.Worst())
                  << " ms from the last row to the verdict\n";
    std::cout << "written: " << Printable(output) << std::endl;
}

nlohmann::ordered_json SummaryJson(const WatchSummary& summary, bool interrupted)
{
    return {{"version", 1},
            {"seconds", summary.seconds},
            {"interrupted", interrupted},
            {"queue_full", summary.overrun},
            {"frames",
             {{"acquired", summary.acquired},
              {"inspected", summary.inspected},
              {"dropped", summary.dropped},
              {"unreadable", summary.unreadable},
              {"incomplete", summary.losses.incomplete},
              {"lost", summary.losses.lost}}},
            {"verdicts", {{"pass", summary.passed}, {"fail", summary.failed}, {"undecided", summary.undecided}}},
            {"blobs", summary.blobs},
            {"latency_ms",
             {{"median", summary.latency.Quantile(0.5)},
              {"percentile_99", summary.latency.Quantile(0.99)},
              {"worst", summary.latency.Worst()}}}};
}

FailRules RulesOf(const WatchOptions& options)
{
    FailRules rules;
    if (!options.rulesFile.empty())
        LoadFailRules(options.rulesFile, rules);
    for (const std::string& text : options.fail)
        rules.rules.push_back(ParseFailRule(text, "--fail"));
    if (!options.pixelSize.empty())
        ParsePixelSize(options.pixelSize, rules, "--pixel-size");
    CheckFailRules(rules);
    return rules;
}

/// @throws HostError for sources that there are not
void CheckSourceName(const WatchOptions& options)
{
    const bool folder = options.source.starts_with(szFolderSource);
    const bool ring = options.source.starts_with(szRingSource) && options.source != szRingSource;
    if (!folder && !ring && options.source != "pipe:-")
        throw HostError({{"source", options.source, "folder:PATH, pipe:- or shm:NAME"}});
    if (!folder && options.existing)
        throw HostError({{"--existing", options.source, "folder:PATH"}});
}

std::unique_ptr<sources::FrameSource> OpenSource(const WatchOptions& options, const WatchLog& log,
                                                 const sources::FrameReading& reading)
{
    if (options.source.starts_with(szPipeSource))
        return std::make_unique<sources::PipeSource>(0, reading);
    if (options.source.starts_with(szRingSource))
        return std::make_unique<sources::RingSource>(options.source.substr(std::string(szRingSource).size()), reading);
    sources::FolderSourceOptions folder;
    folder.folder = options.source.substr(std::string(szFolderSource).size());
    folder.reading = reading;
    folder.existing = options.existing;
    if (options.resume && options.existing)
        folder.isDone = [done = log.ReadDone()](const std::string& name, const FileIdentity& identity)
        { return done.Has(name, identity); };
    auto source = std::make_unique<sources::FolderSource>(std::move(folder));
    if (source->LeftAlone() > 0)
        std::cerr << "narvo: note: " << Counted(source->LeftAlone(), "image")
                  << " lay in the folder already; --existing inspects such images\n";
    if (source->DoneBefore() > 0 && !options.quiet)
        std::cout << Counted(source->DoneBefore(), "image") << " done before" << std::endl;
    return source;
}

int RunWatchCommand(const WatchOptions& options)
{
    CheckSourceName(options);
    WatchSettings settings;
    {
        const QuietCodecs quiet;
        settings.recipes = LoadRecipesByOptions(options.recipe);
    }
    settings.rules = RulesOf(options);
    settings.lanes = ChooseLanes(options.lanes, 64);
    settings.queue = static_cast<std::size_t>(options.queue);
    settings.whenFull = options.whenFull;
    settings.mostFrames = options.images;
    settings.longest = std::chrono::seconds(options.seconds);
    const sources::FrameReading reading{*settings.recipes.front(), &ProgramNotes()};
    if (!options.source.starts_with(szFolderSource))
        sources::RequireRawShape(reading.reading, options.source);

    OutputNames names;
    names.AddRecipe(options.recipe, settings.recipes);
    names.AddInput(options.rulesFile);
    names.AddOutputs("the results", options.output);
    if (!options.json.empty())
        names.AddOutputs("the summary", options.json);
    names.Check();

    // Before any thread is started.
    const InterruptRequest interrupt;
    WatchLog log(options.output, DigestOfRecipes(settings.recipes),
                 options.resume      ? WatchLog::Start_Resume
                 : options.overwrite ? WatchLog::Start_Afresh
                                     : WatchLog::Start_New);
    if (log.DroppedBytes() > 0)
        std::cerr << "narvo: warning: " << Printable(options.output) << ": a cut last line of "
                  << Counted(log.DroppedBytes(), "byte") << " was dropped\n";
    const std::unique_ptr<sources::FrameSource> source = OpenSource(options, log, reading);
    if (!options.quiet)
        std::cout << "watching " << Printable(options.source) << ", " << Counted(settings.lanes, "lane") << std::endl;

    WatchSummary summary;
    {
        const QuietCodecs quiet;
        const auto tell = [&](const std::string& line)
        {
            const std::string text = "narvo: " + line + "\n";
            WriteWhole(quiet.ErrorStream(), text.data(), text.size());
        };
        ToldLog sink(log, options.quiet, tell);
        summary = RunWatch(settings, *source, sink, tell, interrupt.Token());
        sink.Finish();
    }
    const bool interrupted = interrupt.Token().stop_requested();
    if (!options.json.empty())
        WriteTextFile(options.json, SummaryJson(summary, interrupted).dump(2) + "\n");
    if (!options.quiet)
        PrintWatchSummary(summary, options.output);
    PrintProblems(summary.problems);
    if (summary.overrun)
        PrintProblems({{"queue", "full with " + Counted(settings.queue, "frame"),
                        "a source that is no faster than the inspection, more --lanes, a longer --queue, or "
                        "--when-full drop-oldest"}});
    const bool missing = summary.unreadable + summary.dropped + summary.losses.incomplete + summary.losses.lost > 0;
    return !summary.problems.empty() ? ExitCode_BadInput
           : interrupted             ? ExitCode_Interrupted
           : missing                 ? ExitCode_SomeRefused
           : summary.undecided > 0   ? ExitCode_Incomplete
                                     : ExitCode_Done;
}

} // namespace

void AddWatchCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* command = app.add_subcommand("watch", "Inspect images as they come and judge each");
    command
        ->add_option("source", options->source,
                     "folder:PATH, images that appear in a folder; pipe:-, raw frames on the standard input; shm:NAME, "
                     "raw frames in shared memory")
        ->required();
    command->add_option("-r,--recipe", options->recipe, "recipe file; its fields: narvo recipe")->required();
    command->add_option("-n,--images", options->images, "end after that many frames, 1 to 1000000000 (default: no end)")
        ->check(CLI::Range(1, 1000000000));
    command->add_option("-s,--seconds", options->seconds, "end after that time, 1 to 1000000000 s (default: no end)")
        ->check(CLI::Range(1, 1000000000));
    command
        ->add_option("-j,--lanes", options->lanes,
                     "inspections at once, 1 to 256, each with engines of its own (default: one for each processor)")
        ->check(CLI::Range(1, 256));
    command->add_option("--queue", options->queue, "frames that may wait for a lane, 1 to 4096")
        ->check(CLI::Range(1, 4096))
        ->capture_default_str();
    command
        ->add_option("--when-full", options->whenFull,
                     "where no more frames can wait: wait (the source waits), drop-oldest, stop (default: wait)")
        ->transform(CLI::CheckedTransformer(std::map<std::string, WhenFull>{
            {"wait", WhenFull_Wait}, {"drop-oldest", WhenFull_DropOldest}, {"stop", WhenFull_Stop}}))
        ->option_text("WORD");
    command
        ->add_option("--fail", options->fail,
                     "an image fails where more blobs than allowed meet all conditions, as dark,area>=50,count>3; may "
                     "be given several times (default: count>0)")
        ->allow_extra_args(false);
    command->add_option("--rules", options->rulesFile,
                        "JSON file of such rules: {\"version\": 1, \"pixel_size\": \"10x10\", \"fail\": "
                        "[\"density>20\"]}");
    command->add_option("--pixel-size", options->pixelSize,
                        "WIDTHxHEIGHT of a pixel on the object in micrometres, for density>N");
    command->add_flag("--existing", options->existing, "inspect images, too, that lie in the folder at the start");
    command->add_option("-o,--output", options->output, "result file, a JSON line for each image")
        ->capture_default_str();
    CLI::Option* resume =
        command->add_flag("--resume", options->resume, "go on behind the result file of an earlier run");
    command->add_flag("--overwrite", options->overwrite, "begin afresh where the result file is there already")
        ->excludes(resume);
    command->add_option("--json", options->json, "file for the summary: counts, verdicts, latency");
    command->add_flag("-q,--quiet", options->quiet, "print warnings and problems only");
    command->footer("Ends at the end of the source, at --images or --seconds, or at Ctrl-C or SIGTERM; then what has "
                    "arrived is inspected.\nacquired = inspected + dropped + unreadable.");
    command->callback([options, &action] { action = [options] { return RunWatchCommand(*options); }; });
}

} // namespace narvo::tools
