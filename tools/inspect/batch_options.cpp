// SPDX-License-Identifier: MIT
// Options, and what follows from them.
#include "tools/inspect/batch_options.h"

#include <algorithm>
#include <thread>
#include <utility>

#include <CLI/CLI.hpp>

namespace narvo::tools
{

ResultLines::Options BatchOptions::Lines(const std::string& digest, std::size_t regions) const
{
    const ResultLines::Start start = resume      ? ResultLines::Start_Resume
                                     : overwrite ? ResultLines::Start_Afresh
                                                 : ResultLines::Start_New;
    return {Prefix(), digest, regions, start, retry};
}

int ChooseLanes(int wanted, std::size_t pieces)
{
    constexpr std::size_t nMost = 64;
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    return wanted > 0 ? wanted : static_cast<int>(std::max<std::size_t>(1, std::min({processors, pieces, nMost})));
}

void AddBatchOptions(CLI::App& command, BatchOptions& options, const std::string& lanes)
{
    command.add_option("-l,--list", options.images.list,
                       "file with the name of an image in each line, - for the standard input");
    command.add_flag("-R,--recursive", options.images.recursive, "look for images below the folders too");
    command.add_option("-j,--lanes", options.lanes, lanes)->check(CLI::Range(1, 256));
    CLI::Option* resume = command.add_flag("--resume", options.resume,
                                           "go on behind an earlier run: images that are done are left out, unless "
                                           "their files have changed");
    command.add_flag("--retry", options.retry, "with --resume: try images again that were refused")->needs(resume);
    command.add_flag("--overwrite", options.overwrite, "begin afresh where results of many images are there already")
        ->excludes(resume);
}

void CheckBatchNames(OutputNames names, const BatchOptions& options, const std::vector<std::string>& images)
{
    if (options.images.list != "-")
        names.AddInput(options.images.list);
    for (const std::string& image : images)
        names.AddInput(image);
    names.AddOutputs("all images", options.Prefix(), {".jsonl", ".csv"});
    if (options.store.IsWanted() && !IsServerPlace(options.store.place))
        names.AddOutputs("the store", options.store.place);
    names.Check();
}

} // namespace narvo::tools
