// SPDX-License-Identifier: MIT
// What every run over many images has in common on the command line.
#pragma once

#include <string>
#include <vector>

#include "host/result/result_lines.h"
#include "tools/inspect/image_list.h"
#include "tools/inspect/store_run.h"
#include "tools/output_names.h"

namespace CLI
{
class App;
}

namespace narvo::tools
{

struct BatchOptions
{
    ImageSelection images;
    std::string output; ///< beginning of the result files' names; empty: results
    int lanes = 0;      ///< 0: one for each processor
    bool resume = false;
    bool overwrite = false;
    bool retry = false;
    bool quiet = false;
    StoreOptions store;

    std::string Prefix() const { return output.empty() ? "results" : output; }
    /// Whether an option is given that only makes sense with many images.
    bool AsksForMany() const { return !images.list.empty() || resume || overwrite; }
    ResultLines::Options Lines(const std::string& digest, std::size_t regions) const;
};

/// The lanes that are asked for or, for 0, as many as there are processors and pieces of work, at most 64.
int ChooseLanes(int wanted, std::size_t pieces);

/// Adds --list, --recursive, --lanes, --resume, --retry and --overwrite; `lanes` describes --lanes.
void AddBatchOptions(CLI::App& command, BatchOptions& options, const std::string& lanes);

/// Adds the run's images and result files to `names`. @throws HostError as OutputNames::Check
void CheckBatchNames(OutputNames names, const BatchOptions& options, const std::vector<std::string>& images);

} // namespace narvo::tools
