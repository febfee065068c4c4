// SPDX-License-Identifier: MIT
// Prints a page with its tables of kernels renewed from the tables of the library. A table stands between the lines
// <!-- kernels NAME --> and <!-- end -->. Usage: kernel_page FILE
#include <array>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "narvoassem/fast/float/float_table.h"
#include "narvoassem/fast/pixel/pixel_table.h"
#include "narvoassem/fast/zone/zone_table.h"

namespace
{

using namespace narvo::engine;

constexpr std::array optionWords = {"`pConvPitchTable`",    "`pScanPitchTable`",
                                    "`bExtendedKernel`",    "`fVtdPitch`",
                                    "`bUseLineBuffer` 0",   "`bTwoSegmentThreshold` and `pThresholdKneeMap`",
                                    "`bZoneFlagged`",       "`bAverage2by2`",
                                    "`pTspTable`",          "`nBlackFilterGray` above 0",
                                    "`dClassPitch`",        "`pClassIdMap`",
                                    "`rtDeadZone`",         "`bTwice`",
                                    "`bKeepSingle` 0",      "a window of 6 pixels",
                                    "a window of 9 pixels", "a window other than 4 pixels"};
static_assert(optionWords.size() == static_cast<std::size_t>(KernelOption::LargerWindow) + 1);

/// The words whose condition holds, one behind the other.
class Words
{
public:
    Words& Add(bool holds, const std::string& words)
    {
        if (holds)
            m_text += (m_text.empty() ? "" : m_separator) + words;
        return *this;
    }
    explicit Words(std::string separator = ", ") : m_separator(std::move(separator)) {}
    const std::string& Text() const { return m_text; }

private:
    std::string m_separator;
    std::string m_text;
};

std::string OptionText(COptionSet options, const std::string& separator)
{
    Words words(separator);
    for (std::size_t i = 0; i < optionWords.size(); ++i)
        words.Add(options.Has(static_cast<KernelOption>(i)), optionWords[i]);
    return words.Text();
}

/// The fields alone, without the values that count as set.
std::string FieldText(COptionSet options)
{
    Words words;
    for (std::size_t i = 0; i < optionWords.size(); ++i)
        if (const std::string text = optionWords[i]; text.front() == '`')
            words.Add(options.Has(static_cast<KernelOption>(i)), text.substr(0, text.find('`', 1) + 1));
    return words.Text();
}

void PrintLine(std::initializer_list<std::string> cells)
{
    std::cout << '|';
    for (const std::string& cell : cells)
        std::cout << ' ' << cell << (cell.empty() ? "|" : " |");
    std::cout << '\n';
}

void PrintHead(std::initializer_list<std::string> cells)
{
    PrintLine(cells);
    std::cout << '|';
    for (std::size_t i = 0; i < cells.size(); ++i)
        std::cout << "---|";
    std::cout << '\n';
}

template <class TRow>
std::string NameText(const TRow& row)
{
    constexpr const char* homes[] = {"", " (wide)", " (engine)", " (engine, protected)"}; // as KernelHome
    return '`' + std::string(row.pName) + '`' + homes[static_cast<std::size_t>(row.eHome)];
}

std::string ReferenceText(const CScanTraits& scan, bool fraction)
{
    const bool columns = GetFindTraits(scan.eFind).eReference == FindReference::Column;
    return Words()
        .Add(true, columns    ? "column table"
                   : fraction ? "bilinear"
                              : "linear")
        .Add(scan.bRowTable, "row table")
        .Text();
}

std::string ZoneThresholdText(const CZoneTraits& traits)
{
    if (traits.eGate == ZoneGate::Tsp)
        return "smallest entry of the zone table; each record by that of its zone";
    if (traits.eGate == ZoneGate::BlackFilter)
        return "maps; dark records by the second set too";
    return GetFindTraits(traits.scan.eFind).eThreshold == FindThreshold::Knee ? "two segments with a knee map" : "maps";
}

void PrintZone()
{
    PrintHead({"kernel", "as `narvo explain` names it", "source", "reference", "threshold", "singles", "also"});
    for (const CZoneRow& row : zoneKernels)
    {
        const CZoneTraits& traits = row.traits;
        PrintLine({NameText(row), row.pWords, traits.scan.bMeans ? "mean of 2 by 2" : "pixel",
                   ReferenceText(traits.scan, traits.bFraction), ZoneThresholdText(traits),
                   traits.bThresholdExtra ? "peak" : "any",
                   Words()
                       .Add(traits.bFlagged, "skips flagged cells")
                       .Add(traits.scan.nFreeRows == 1, "one more row")
                       .Add(GetFindTraits(traits.scan.eFind).eThreshold == FindThreshold::Knee, "no grey limit")
                       .Add(traits.bDeadZones, "dead zones")
                       .Add(!traits.bPeak, "no peaks")
                       .Add(traits.bClassId, "class ids")
                       .Text()});
    }
}

void PrintPixel()
{
    constexpr const char* thresholds[] = {"base and gain", "base and gain; dark records by the second set too",
                                          "smaller of two sets; each record by that of its polarity"}; // as SecondSet
    PrintHead({"kernel", "as `narvo explain` names it", "reference", "threshold", "also"});
    for (const CPixelRow& row : pixelKernels)
    {
        const CPixelTraits& traits = row.traits;
        PrintLine({NameText(row), row.pWords, ReferenceText(traits.scan, traits.bFraction),
                   thresholds[static_cast<std::size_t>(traits.eSecond)],
                   Words()
                       .Add(traits.scan.nFreeRows == 1, "one more row")
                       .Add(!traits.scan.bEndLine, "writes no end line")
                       .Add(traits.bDeadZones, "dead zones")
                       .Add(!traits.bPeak && !traits.bRecordPeak, "no peaks")
                       .Add(traits.bRecordPeak, "records carry their peak")
                       .Add(traits.bZeroOutside, "rows outside the region count as 0")
                       .Add(traits.bOwnHits, "keeps its hits in memory of its own")
                       .Text()});
    }
}

void PrintFloat()
{
    PrintHead({"kernel", "as `narvo explain` names it", "window, columns by rows", "reference", "also"});
    for (const CFloatRow& row : floatKernels)
    {
        const CFloatTraits& traits = row.traits;
        const int columns = traits.bHorizontal ? traits.nAlong : traits.nAcross;
        const int rows = traits.bHorizontal ? traits.nAcross : traits.nAlong;
        PrintLine({NameText(row), row.pWords, std::to_string(columns) + " by " + std::to_string(rows),
                   traits.HasColumnTables() ? "column table"
                   : traits.bShifted        ? "displaced along both axes, row table"
                                            : "linear",
                   Words()
                       .Add(WorksOnSource(traits.eFind), "gain on the source")
                       .Add(traits.bMember, "dead zones, each record by the set of its polarity")
                       .Add(traits.bRegion, "singles must pass the jump filter")
                       .Text()});
    }
}

template <class TChoice>
std::string ChoiceText(const TChoice& choice)
{
    if (choice.ePath == ChoicePath::FreeForm)
        return "the free-form inspection";
    const std::string name = '`' + std::string(GetKernelRow(choice.eKernel).pName) + '`';
    return name + (choice.IsTwice() ? ", two passes" : "") +
           (choice.stops.IsEmpty() ? "" : "; nothing with " + OptionText(choice.stops, " or "));
}

template <class TChoices>
void PrintChoices(TChoices choices)
{
    PrintHead({"parameters", "kernel", "also reads"});
    for (const auto& choice : choices)
        PrintLine({choice.needs.IsEmpty() ? "otherwise" : OptionText(choice.needs, " and "), ChoiceText(choice),
                   FieldText(choice.reads)});
}

const std::map<std::string, std::function<void()>> tables = {
    {"zone", PrintZone},
    {"pixel", PrintPixel},
    {"float", PrintFloat},
    {"zone vertical", [] { PrintChoices(GetZoneChoices(true)); }},
    {"zone horizontal", [] { PrintChoices(GetZoneChoices(false)); }},
    {"asg vertical", [] { PrintChoices(GetAsgZoneChoices(true)); }},
    {"asg horizontal", [] { PrintChoices(GetAsgZoneChoices(false)); }},
    {"pixel vertical", [] { PrintChoices(GetPixelChoices(true)); }},
    {"pixel horizontal", [] { PrintChoices(GetPixelChoices(false)); }},
    {"float vertical", [] { PrintChoices(GetFloatChoices(true)); }},
    {"float horizontal", [] { PrintChoices(GetFloatChoices(false)); }},
};

} // namespace

int main(int argc, char** argv)
{
    std::ifstream page(argc == 2 ? argv[1] : "");
    if (!page)
    {
        std::cerr << "usage: kernel_page FILE\n";
        return 2;
    }
    const std::string begin = "<!-- kernels ";
    std::size_t printed = 0;
    bool inside = false;
    for (std::string line; std::getline(page, line);)
    {
        inside = inside && line != "<!-- end -->";
        if (!inside)
            std::cout << line << '\n';
        if (!line.starts_with(begin))
            continue;
        const auto table = tables.find(line.substr(begin.size(), line.find(" -->") - begin.size()));
        if (table == tables.end())
        {
            std::cerr << "no such table: " << line << '\n';
            return 1;
        }
        table->second();
        ++printed;
        inside = true;
    }
    if (printed != tables.size() || inside)
    {
        std::cerr << argv[1] << " has " << printed << " tables of " << tables.size() << '\n';
        return 1;
    }
    return 0;
}
