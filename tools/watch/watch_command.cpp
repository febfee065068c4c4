// SPDX-License-Identifier: MIT
// Options of the live inspection, and its run from them.
#include "tools/command.h"

#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "host/counted.h"
#include "host/file/descriptor.h"
#include "host/file/input_file.h"
#include "host/file/name_text.h"
#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "host/problem.h"
#include "host/result/digest.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/batch_options.h"
#include "tools/inspect/interrupt.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"
#include "tools/watch/line_printer.h"
#include "tools/watch/live_sink.h"
#include "tools/watch/sink_chain.h"
#include "tools/watch/store_sink.h"
#include "tools/watch/terminal_sink.h"
#include "tools/watch/watch_log.h"
#include "tools/watch/watch_options.h"
#include "tools/watch/watch_run.h"
#include "tools/watch/watch_sources.h"

namespace narvo::tools
{

namespace
{

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

/// Null where no store is wanted.
std::unique_ptr<StoreSink> MakeStoreSink(const WatchOptions& options, const std::vector<CheckedRecipe>& recipes,
                                         std::function<void(const std::string&)> tell)
{
    if (!options.store.IsWanted())
        return nullptr;
    StoreSink::Settings settings;
    settings.options = options.store;
    settings.output = options.output;
    settings.recipe = {DigestOfRecipes(recipes), options.recipe,
                       ReadTextFile(options.recipe, "recipe " + options.recipe)};
    settings.start = options.resume ? RunStart_Continue : options.overwrite ? RunStart_Afresh : RunStart_New;
    settings.tell = std::move(tell);
    return std::make_unique<StoreSink>(std::move(settings));
}

int RunWatchCommand(const WatchOptions& options)
{
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
    CheckSource(options, reading);
    const std::optional<ListenAccess> listen = ListenAccessOf(options);
    const std::shared_ptr<const CellReference> cell = GoldenCellOf(options);

    OutputNames names;
    names.AddRecipe(options.recipe, settings.recipes);
    names.AddInput(options.rulesFile);
    names.AddInput(options.listenToken);
    names.AddInput(options.cell);
    names.AddInput(options.mqtt.loginFile);
    names.AddOutputs("the results", options.output);
    if (!options.json.empty())
        names.AddOutputs("the summary", options.json);
    if (options.store.IsWanted() && !IsServerPlace(options.store.place))
        names.AddOutputs("the store", options.store.place);
    names.Check();

    // Before any thread is started.
    const InterruptRequest interrupt;
    // Lines come from any thread at any time, also while the codecs are kept from the error stream: it has a descriptor
    // of its own for them.
    const Descriptor ownErrorStream(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0));
    const int errorStream = ownErrorStream.IsOpen() ? ownErrorStream.Number() : STDERR_FILENO;
    LinePrinter printer;
    printer.TellOn(errorStream);
    const auto tell = [&](const std::string& line) { printer.Print(errorStream, "narvo: " + line + "\n"); };
    std::unique_ptr<ResultSink> mqtt;
    if (options.mqtt.IsWanted())
        mqtt = MakeMqttSink(options.mqtt, options.recipe, DigestOfRecipes(settings.recipes), tell);
    std::unique_ptr<StoreSink> store = MakeStoreSink(options, settings.recipes, tell);
    auto log = std::make_unique<WatchLog>(options.output, DigestOfRecipes(settings.recipes),
                                          options.resume      ? WatchLog::Start_Resume
                                          : options.overwrite ? WatchLog::Start_Afresh
                                                              : WatchLog::Start_New);
    if (log->DroppedBytes() > 0)
        std::cerr << "narvo: warning: " << Printable(options.output) << ": a cut last line of "
                  << Counted(log->DroppedBytes(), "byte") << " was dropped\n";
    const std::unique_ptr<sources::FrameSource> source =
        OpenSource(options, *log, reading, settings.recipes.front()->Camera());
    if (!options.quiet)
        std::cout << "watching " << Printable(options.source) << ", " << Counted(settings.lanes, "lane") << std::endl;

    const std::string stored = store ? "store:   " + store->Description() + "\n" : "";
    WatchSummary summary;
    std::exception_ptr failure;
    {
        const QuietCodecs quiet;
        if (store)
            store->Begin(*log);
        SinkChain sinks;
        sinks.Append(std::move(log));
        sinks.Append(MakeTerminalSink(
            options.quiet, [&](std::string line) { printer.Print(STDOUT_FILENO, std::move(line) + "\n"); }, tell));
        if (listen)
            sinks.Append(OpenLiveSink(*listen, options, settings.recipes, settings.lanes, cell));
        if (store)
            sinks.Append(std::move(store));
        if (mqtt)
            sinks.Append(std::move(mqtt));
        summary = RunWatch(settings, *source, sinks, interrupt.Token());
        try
        {
            sinks.Finish(summary);
        }
        catch (const HostError&)
        {
            failure = std::current_exception();
        }
    }
    printer.Drain(); // behind the sinks' last words
    const bool interrupted = interrupt.Token().stop_requested();
    if (!options.json.empty())
        WriteTextFile(options.json, SummaryJson(summary, interrupted).dump(2) + "\n");
    if (printer.IsStuck(STDOUT_FILENO))
        std::cerr << "narvo: the standard output takes nothing; written: " << Printable(options.output) << '\n';
    else if (!options.quiet)
        std::cout << SummaryText(summary) << "written: " << Printable(options.output) << '\n' << stored << std::flush;
    PrintProblems(summary.problems);
    if (summary.overrun)
        PrintProblems({{"queue", "full with " + Counted(settings.queue, "frame"),
                        "a source that is no faster than the inspection, more --lanes, a longer --queue, or "
                        "--when-full drop-oldest"}});
    if (failure)
        std::rethrow_exception(failure);
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
                     "raw frames in shared memory; aravis:ID, a GigE Vision or USB3 Vision camera")
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
    AddStoreOptions(*command, options->store);
    CLI::Option* mqtt = command->add_option("--mqtt", options->mqtt.address,
                                            "MQTT broker that is told of each image: mqtt://HOST[:PORT]/TOPIC");
    command
        ->add_option("--mqtt-login", options->mqtt.loginFile,
                     "file with the user in its first line and the password in its second")
        ->needs(mqtt);
    command->add_option("--json", options->json, "file for the summary: counts, verdicts, latency");
    AddListenOptions(*command, *options);
    command->add_flag("-q,--quiet", options->quiet, "print warnings and problems only");
    command->footer("Ends at the end of the source, at --images or --seconds, or at Ctrl-C or SIGTERM; then what has "
                    "arrived is inspected.\nacquired = inspected + dropped + unreadable.");
    command->callback([options, &action] { action = [options] { return RunWatchCommand(*options); }; });
}

} // namespace narvo::tools
