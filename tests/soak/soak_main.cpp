// SPDX-License-Identifier: MIT
// The program narvo_soak: one checksum over any number of made-up inspections, and the means to find the first one that
// differs between two vector levels, two settings of the band split, or two binaries.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <exception>
#include <iomanip>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "soak/case_print.h"
#include "soak/soak_constants.h"
#include "soak/soak_coverage.h"
#include "soak/soak_file.h"
#include "soak/soak_run.h"
#include "support/vector_levels.h"

namespace
{

using namespace narvo::test;

constexpr int nSame = 0;
constexpr int nDifferent = 1;
constexpr int nBadUse = 2;

struct COptions
{
    CSoakRange range{0, 20000};
    std::string strLevel;
    std::string strSplit = "on";
    std::string strKind = "general";
    int nJobs = 1;
    std::uint64_t nBlock = 1000;
    std::optional<std::uint64_t> nSingle;
    int nMost = 40;
    bool bCoverage = false;
    bool bLevels = false;
    bool bQuiet = false;
    std::vector<std::string> aCompare;
    std::string strWrite;
    std::string strAgainst;
};

std::string Hex(std::uint64_t nValue)
{
    std::ostringstream out;
    out << std::hex << std::setfill('0') << std::setw(16) << nValue;
    return out.str();
}

/// The kinds of cases by name, in the order of CaseKind.
const std::vector<std::string> aKinds = {"general", "bounds", "windows"};

/// A setting from words apart by a slash: a level, and on or off for the band split. What is not named is as in plain.
CSoakSetting ParseSetting(const std::string& strText, const CSoakSetting& plain)
{
    CSoakSetting setting = plain;
    std::istringstream in(strText);
    for (std::string strWord; std::getline(in, strWord, '/');)
    {
        if (strWord == "on" || strWord == "off")
        {
            setting.bSplit = strWord == "on";
            continue;
        }
        setting.nLevel = FindLevel(strWord);
        if (setting.nLevel == 0)
        {
            std::string strOffered;
            for (const std::int64_t nLevel : VectorLevels())
                strOffered.append(" ").append(LevelName(nLevel));
            throw CLI::ValidationError(strWord, "is no level of this processor, which offers" + strOffered);
        }
    }
    return setting;
}

class CProgress
{
public:
    CProgress(const COptions& options, std::uint64_t nCases)
        : m_bShown(!options.bQuiet && nCases > 100000), m_nAll(nCases)
    {
    }

    void operator()(std::uint64_t nDone)
    {
        const auto nShare = static_cast<unsigned>(nDone * 20 / m_nAll);
        unsigned nLast = m_nLast;
        while (m_bShown && nShare > nLast)
            if (m_nLast.compare_exchange_weak(nLast, nShare))
            {
                std::cerr << nShare * 5 << " %\n";
                return;
            }
    }

private:
    bool m_bShown;
    std::uint64_t m_nAll;
    std::atomic<unsigned> m_nLast{0};
};

int ReplayCase(const COptions& options, const CSoakSetting& setting)
{
    std::optional<CForcedLevel> level;
    if (setting.nLevel != 0)
        level.emplace(setting.nLevel);
    CSoakPlayer player(setting.eKind);
    const CCaseResult& result = player.Play(*options.nSingle, setting.bSplit);
    std::cout << "case " << *options.nSingle << " at " << setting.Name() << ": ";
    PrintCase(std::cout, player.Case());
    PrintResult(std::cout, player.Runner(), result, options.nMost);
    return nSame;
}

int ShowCoverage(const COptions& options, const CSoakSetting& setting)
{
    std::optional<CForcedLevel> level;
    if (setting.nLevel != 0)
        level.emplace(setting.nLevel);
    CSoakPlayer player(setting.eKind);
    CSoakCoverage coverage;
    for (std::uint64_t i = 0; i < options.range.nCases; ++i)
        coverage.Count(player, player.Play(options.range.nFirst + i, setting.bSplit));
    coverage.Print(std::cout);
    return nSame;
}

/// Case sums of both settings, until the first that differ.
int Compare(const COptions& options, const CSoakSetting& a, const CSoakSetting& b)
{
    constexpr std::uint64_t nChunk = 20000;
    CProgress progress(options, options.range.nCases);
    std::int64_t nLeftOut = 0;
    for (std::uint64_t nDone = 0; nDone < options.range.nCases; nDone += nChunk)
    {
        const CSoakRange chunk{options.range.nFirst + nDone, std::min(nChunk, options.range.nCases - nDone)};
        const std::vector<CSoakSums> aFirst = RunSoak(a, chunk, 1, options.nJobs);
        const std::vector<CSoakSums> aSecond = RunSoak(b, chunk, 1, options.nJobs);
        for (std::size_t i = 0; i < aFirst.size(); ++i)
        {
            if (a.bSplit != b.bSplit && aFirst[i].nOpenCases != 0)
            {
                ++nLeftOut;
                continue;
            }
            if (aFirst[i] == aSecond[i])
                continue;
            COptions single = options;
            single.nSingle = chunk.nFirst + i;
            std::cout << "case " << *single.nSingle << " is the first that differs\n";
            ReplayCase(single, a);
            ReplayCase(single, b);
            return nDifferent;
        }
        progress(nDone + chunk.nCases);
    }
    std::cout << options.range.nCases - static_cast<std::uint64_t>(nLeftOut) << " cases are equal at " << a.Name()
              << " and at " << b.Name() << '\n';
    if (nLeftOut != 0)
        std::cout << nLeftOut << " cases were left out: their bands answer for themselves\n";
    return nSame;
}

int HoldAgainst(const CSoakFile& own, const CSoakFile& other)
{
    for (std::size_t i = 0; i < own.aBlocks.size(); ++i)
    {
        const CSoakSums& a = own.aBlocks[i];
        const CSoakSums& b = other.aBlocks[i];
        const bool bOpenCounts = own.bSplit == other.bSplit;
        if (a.nPlain == b.nPlain && (!bOpenCounts || a.nOpen == b.nOpen))
            continue;
        const std::uint64_t nFirst = own.range.nFirst + i * own.nBlock;
        if (own.nBlock == 1)
            std::cout << "case " << nFirst << " is the first that differs; --case " << nFirst << " shows it\n";
        else
            std::cout << "cases " << nFirst << " to " << nFirst + own.nBlock - 1
                      << " are the first block that differs; write and compare it with --first " << nFirst
                      << " --cases " << own.nBlock << " --block 1\n";
        return nDifferent;
    }
    std::cout << "equal to the file, block by block\n";
    return nSame;
}

/// Holds the sums against the committed ones, where there are some for this range.
int Judge(const CSoakSetting& setting, const CSoakRange& range, const CSoakSums& sums)
{
    const CSoakConstant* const pConstant = range.nFirst == 0 ? FindSoakConstant(range.nCases, setting.eKind) : nullptr;
    if (pConstant == nullptr)
    {
        std::cout << "no committed checksum for this range\n";
        return nSame;
    }
    const std::uint64_t nOpen = setting.bSplit ? pConstant->nOpenSplit : pConstant->nOpenWhole;
    if (sums.nPlain == pConstant->nPlain && sums.nOpen == nOpen)
    {
        std::cout << "equal to the committed checksum\n";
        return nSame;
    }
    std::cout << "DIFFERENT from the committed checksum, which is " << Hex(pConstant->nPlain) << " and " << Hex(nOpen)
              << '\n';
    return nDifferent;
}

int RunSums(const COptions& options, const CSoakSetting& setting)
{
    std::optional<CSoakFile> other;
    CSoakFile own{options.range, options.nBlock, setting.bSplit, {}};
    if (!options.strAgainst.empty())
    {
        other = ReadSoakFile(options.strAgainst);
        own.range = other->range;
        own.nBlock = other->nBlock;
    }
    const auto tStart = std::chrono::steady_clock::now();
    CProgress progress(options, own.range.nCases);
    own.aBlocks = RunSoak(setting, own.range, own.nBlock, options.nJobs, std::ref(progress));
    const std::chrono::duration<double> tSpent = std::chrono::steady_clock::now() - tStart;
    const CSoakSums sums = AddUp(own.aBlocks);
    if (setting.eKind != CaseKind::General)
        std::cout << options.strKind << ", ";
    std::cout << "cases " << own.range.nFirst << " to " << own.range.nFirst + own.range.nCases - 1 << " at "
              << setting.Name() << ", " << std::fixed << std::setprecision(1) << tSpent.count() << " s\n"
              << "  left alone by the split  " << Hex(sums.nPlain) << "  (" << sums.nCases - sums.nOpenCases
              << " cases)\n"
              << "  with the split " << (setting.bSplit ? "on       " : "off      ") << Hex(sums.nOpen) << "  ("
              << sums.nOpenCases << " cases)\n";
    if (!options.strWrite.empty())
        WriteSoakFile(options.strWrite, own);
    const int nVerdict = Judge(setting, own.range, sums);
    return other ? std::max(nVerdict, HoldAgainst(own, *other)) : nVerdict;
}

int Run(const COptions& options)
{
    if (options.bLevels)
    {
        for (const std::int64_t nLevel : VectorLevels())
            std::cout << LevelName(nLevel) << '\n';
        return nSame;
    }
    CSoakSetting plain;
    plain.bSplit = options.strSplit == "on";
    plain.eKind = static_cast<CaseKind>(std::find(aKinds.begin(), aKinds.end(), options.strKind) - aKinds.begin());
    if (plain.eKind != CaseKind::General && !(options.strWrite.empty() && options.strAgainst.empty()))
        throw CLI::ValidationError("--kind", "files of sums hold cases of kind general only");
    const CSoakSetting setting = ParseSetting(options.strLevel, plain);
    if (options.nSingle)
        return ReplayCase(options, setting);
    if (options.bCoverage)
        return ShowCoverage(options, setting);
    if (!options.aCompare.empty())
        return Compare(options, ParseSetting(options.aCompare[0], setting), ParseSetting(options.aCompare[1], setting));
    return RunSums(options, setting);
}

} // namespace

int main(int argc, char** argv)
{
    COptions options;
    CLI::App app{"Runs numbered inspections through the pool and folds all their results into one checksum.\n"
                 "Exit code 0: equal, or nothing to be held against; 1: different; 2: bad use."};
    app.add_option("--cases", options.range.nCases, "how many cases")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_option("--first", options.range.nFirst, "number of the first case")->capture_default_str();
    app.add_option("--case", options.nSingle, "replay this case and print its parameters and results");
    app.add_option("--most", options.nMost, "pairs and blobs that a replay prints")->capture_default_str();
    app.add_option("--level", options.strLevel, "vector level, one of those that --levels lists; default: the best");
    app.add_option("--split", options.strSplit, "band split of wide regions")
        ->capture_default_str()
        ->check(CLI::IsMember({"on", "off"}));
    app.add_option("--kind", options.strKind,
                   "general cases, or those made for the bound in front of the finder: of pixels, or of window sums")
        ->capture_default_str()
        ->check(CLI::IsMember(aKinds));
    app.add_option("--jobs", options.nJobs, "threads")->capture_default_str()->check(CLI::Range(1, 1024));
    app.add_option("--block", options.nBlock, "cases of a block in a file of sums")
        ->capture_default_str()
        ->check(CLI::PositiveNumber);
    app.add_flag("--levels", options.bLevels, "list the vector levels that the processor offers, best first");
    app.add_flag("--coverage", options.bCoverage, "count what the cases reach");
    app.add_flag("--quiet", options.bQuiet, "show no progress");
    app.add_option("--compare", options.aCompare,
                   "name the first case that differs between two settings, each a level, "
                   "on or off, or both with a slash between")
        ->expected(2);
    app.add_option("--write-hashes", options.strWrite, "write block sums to this file");
    app.add_option("--against", options.strAgainst, "run what this file of block sums holds, and compare");
    try
    {
        app.parse(argc, argv);
        return Run(options);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? nSame : nBadUse;
    }
    catch (const std::exception& error)
    {
        std::cerr << "narvo_soak: " << error.what() << '\n';
        return nBadUse;
    }
}
