// SPDX-License-Identifier: MIT
// The run over many image files.
#include "tools/inspect/file_batch.h"

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "host/foreign_text.h"
#include "host/image/grey_image.h"
#include "host/problem.h"
#include "host/result/digest.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/batch_progress.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

/// Damaged lines of an earlier run.
void ReportDamage(const ResultLines& lines)
{
    for (Problem problem : lines.Damage())
    {
        problem.field = "warning: " + problem.field;
        problem.allowed += "; the image is inspected again";
        PrintProblems({problem});
    }
}

void Report(const ImageResult& result, BatchProgress& progress)
{
    for (const Problem& problem : result.problems)
    {
        const bool named = problem.field.find(result.name) != std::string::npos;
        progress.Line("narvo: " + (named ? "" : Printable(result.name) + ": ") + problem.Text());
    }
    for (const InspectionResult& region : result.regions)
        for (const std::string& warning : region.warnings)
            progress.Line("narvo: warning: " +
                          Printable(result.name + (region.name.empty() ? "" : ", " + region.name)) + ": " + warning);
}

std::string Number(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, value < 100.0 ? "%.2f" : "%.0f", value);
    return text;
}

/// Opens the store before any file is written; null where none is wanted.
std::unique_ptr<StoreRun> OpenStore(const FileBatchOptions& options)
{
    if (!options.store.IsWanted())
        return nullptr;
    const RunStart start = options.lines.start == ResultLines::Start_New      ? RunStart_New
                           : options.lines.start == ResultLines::Start_Afresh ? RunStart_Afresh
                                                                              : RunStart_Continue;
    return std::make_unique<StoreRun>(options.store, options.lines.prefix + ".jsonl", options.recipe, start);
}

/// Lines that an earlier run wrote before it could commit them, and those of a run without this store.
void AddEarlierLines(StoreRun& store, const ResultLines& lines, const std::map<std::string, std::size_t>& places)
{
    lines.ForEachLine([](const std::string&) { return true; },
                      [&](const ImageLine& line)
                      {
                          const auto place = places.find(line.result.name);
                          if (!store.Has(line.result.name, line.identity))
                              store.Add(line.result, line.identity, place == places.end() ? 0 : place->second);
                      });
}

void PrintSummary(const BatchSummary& summary, const BatchProgress& progress, const ResultLines& lines,
                  std::size_t todo)
{
    const double seconds = std::max(progress.Seconds(), 1e-3);
    const std::size_t inspected = summary.images - summary.refused;
    std::cout << "images: " << summary.images << " (" << inspected << " inspected, " << summary.refused << " refused, "
              << summary.warned << " with warnings)";
    if (lines.KeptLines() > 0)
        std::cout << "; " << lines.KeptLines() << " done before";
    std::cout << "\nblobs:  " << summary.blobs << "\ntime:   " << FormatSeconds(seconds) << ", "
              << Number(static_cast<double>(summary.images) / seconds) << " images/s, "
              << Number(progress.Megapixels() / seconds) << " Mpixel/s, " << summary.lanes
              << (summary.lanes == 1 ? " lane" : " lanes") << '\n';
    if (summary.stopped)
        std::cout << "interrupted: " << todo - summary.images << " images are left; go on with --resume\n";
    std::cout << "written: " << Printable(lines.LineFile().string()) << ", " << Printable(lines.TableFile().string())
              << std::endl;
}

} // namespace

int RunFileBatch(Batch& batch, const FileBatchOptions& options, std::stop_token stop)
{
    std::unique_ptr<StoreRun> store = OpenStore(options);
    ResultLines lines(options.lines);
    ReportDamage(lines);
    std::map<std::string, std::size_t> places; // from 1
    for (const std::string& name : options.images)
        places.emplace(name, places.size() + 1);

    std::vector<BatchImage> images;
    std::vector<FileIdentity> identities;
    for (const std::string& name : options.images)
        if (!lines.IsDone(name))
            images.push_back({name, {}});
    identities.resize(images.size());
    for (std::size_t i = 0; i < images.size(); ++i)
        images[i].load = [&identity = identities[i], &name = images[i].name, &reading = options.reading]
        {
            // Taken before the file is read: a change in between makes the line out of date, never wrongly current.
            identity = FileIdentity::Of(name);
            identity.digest = DigestOfFile(name);
            return std::make_shared<const GreyImage>(LoadImage(name, reading));
        };

    if (!options.quiet)
        std::cout << options.heading << "\nimages: " << images.size() << " to inspect"
                  << (lines.KeptLines() > 0 ? ", " + std::to_string(lines.KeptLines()) + " done before" : "")
                  << (lines.DroppedLines() > 0
                          ? ", " + std::to_string(lines.DroppedLines()) + " earlier results no longer hold"
                          : "")
                  << std::endl;

    const QuietCodecs quiet;
    BatchProgress progress(quiet.ErrorStream(), images.size(), options.quiet);
    std::mutex telling; // the store's thread tells too
    // Whatever ends the run, the thread has ended before what it tells to goes.
    const struct EndStore
    {
        std::unique_ptr<StoreRun>& store;
        ~EndStore() { store.reset(); }
    } end{store};
    if (store)
    {
        store->Begin(
            [&](const std::string& line)
            {
                const std::scoped_lock lock(telling);
                progress.Line("narvo: " + line);
            });
        AddEarlierLines(*store, lines, places);
    }
    const BatchSummary summary = batch.Run(
        images,
        [&](const ImageResult& result)
        {
            lines.Add(result, identities[result.number]);
            if (store)
                store->Add(result, identities[result.number], places.at(result.name));
            const std::scoped_lock lock(telling);
            Report(result, progress);
            for (const std::string& note : ProgramNotes().Take())
                progress.Line("narvo: note: " + Printable(note));
            progress.Count(result);
        },
        std::move(stop));
    lines.Finish(options.images);
    if (store)
        store->Finish();
    progress.Finish();
    if (!options.quiet)
        PrintSummary(summary, progress, lines, images.size());
    if (!options.quiet && store)
        std::cout << "store:  " << Printable(store->Place()) << ", run " << Printable(store->Key()) << std::endl;
    return summary.stopped       ? ExitCode_Interrupted
           : summary.refused > 0 ? ExitCode_SomeRefused
           : summary.warned > 0  ? ExitCode_Incomplete
                                 : ExitCode_Done;
}

} // namespace narvo::tools
