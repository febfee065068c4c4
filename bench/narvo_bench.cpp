// SPDX-License-Identifier: MIT
// The bench: measures everything in one run and in one process, prints one line for each target and exits with 1 when
// one is missed.
#include <algorithm>
#include <fstream>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "bench/bench_lines.h"

namespace
{

/// The text of a document up to and including its marker's line; empty for a file without one.
std::string UpToMarker(const std::string& strFile)
{
    std::ifstream file(strFile);
    std::string strKept;
    for (std::string strLine; std::getline(file, strLine);)
    {
        strKept += strLine + '\n';
        if (strLine == "<!-- figures -->")
            return strKept + '\n';
    }
    return {};
}

} // namespace

int main(int nArguments, char** ppArguments)
{
    const std::vector<std::pair<std::string, void (*)(bench::CTable&, bench::CScene&, const bench::SOptions&)>>
        families = {
            {"zone", bench::AddZoneLines},   {"pixel", bench::AddPixelLines}, {"float", bench::AddFloatLines},
            {"modes", bench::AddModeLines},  {"pitch", bench::AddPitchLines}, {"engine", bench::AddEngineLines},
            {"blob", bench::AddBlobLines},   {"lone", bench::AddLoneLines},
#ifdef NARVO_BENCH_WITH_HOST
            {"image", bench::AddImageLines}, {"host", bench::AddHostLines},   {"stream", bench::AddStreamLines},
#endif
#ifdef NARVO_BENCH_WITH_PANEL
            {"panel", bench::AddPanelLines}, {"watch", bench::AddWatchLines},
#endif
        };
    std::vector<std::string> names;
    for (const auto& family : families)
        names.push_back(family.first);

    CLI::App app("Measures the library against its baselines", "narvo_bench");
    bench::SOptions options;
    std::string strJson;
    std::string strMarkdown;
    std::vector<std::string> wanted;
    app.add_option("--json", strJson, "write all lines as JSON to this file");
    app.add_option("--markdown", strMarkdown,
                   "write all lines as Markdown tables to this file, after its line <!-- figures --> if there is one");
    app.add_option("--only", wanted, "measure these families only")->check(CLI::IsMember(names));
    app.add_flag("--all", options.bAll, "also measure and print figures without a target: more densities and levels");
    app.add_flag("--quick", options.bQuick, "small images, one round: checks results, not speed");
    CLI11_PARSE(app, nArguments, ppArguments);

    bench::CScene large(options.bQuick ? 2304 : 12096, options.bQuick ? 1100 : 11000);
    bench::CTable table;
    for (const auto& [strName, pAdd] : families)
        if (wanted.empty() || std::find(wanted.begin(), wanted.end(), strName) != wanted.end())
            pAdd(table, large, options);

    std::string strCommand;
    for (int i = 0; i < nArguments; ++i)
        strCommand += (i == 0 ? "" : " ") + std::string(i == 0 ? "scripts/bench" : ppArguments[i]);
    table.WriteText(std::cout, options.bAll);
    if (!strJson.empty())
    {
        std::ofstream file(strJson);
        table.WriteJson(file, strCommand);
    }
    if (!strMarkdown.empty())
    {
        const std::string strKept = UpToMarker(strMarkdown);
        std::ofstream file(strMarkdown);
        file << strKept;
        table.WriteMarkdown(file, strCommand);
    }
    return table.AllMet() || options.bQuick ? 0 : 1;
}
