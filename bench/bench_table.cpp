// SPDX-License-Identifier: MIT
// See bench_table.h.
#include "bench/bench_table.h"

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <thread>

#include <nlohmann/json.hpp>

#include "measure/level_choice.h"

namespace bench
{

namespace
{

std::string Number(double dValue)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(dValue < 10 ? 3 : dValue < 100 ? 2 : 1) << dValue;
    return text.str();
}

std::string Target(const SLine& line)
{
    if (line.eBound == Bound::None)
        return "-";
    std::ostringstream text;
    text << (line.eBound == Bound::AtLeast ? ">= " : "<= ") << line.dTarget;
    return text.str();
}

const char* Verdict(const SLine& line)
{
    if (line.eBound == Bound::None)
        return "-";
    return !line.bMeasured ? "absent" : line.Met() ? "met" : "short";
}

} // namespace

bool SLine::Met() const
{
    return eBound == Bound::None || (eBound == Bound::AtLeast ? dValue >= dTarget : dValue <= dTarget);
}

void CTable::Add(SLine line)
{
    std::cerr << "  " << line.strName << ": " << (line.bMeasured ? Number(line.dValue) : "absent") << ' '
              << line.strUnit << '\n';
    m_lines.push_back(std::move(line));
}

void CTable::Require(const std::string& strName, double dValue, const std::string& strUnit, Bound eBound,
                     double dTarget)
{
    Add({strName, dValue, strUnit, eBound, dTarget, true});
}

void CTable::Note(const std::string& strName, double dValue, const std::string& strUnit)
{
    Add({strName, dValue, strUnit, Bound::None, 0.0, true});
}

void CTable::Absent(const std::string& strName, const std::string& strUnit, Bound eBound, double dTarget)
{
    Add({strName, 0.0, strUnit, eBound, dTarget, false});
}

bool CTable::AllMet() const
{
    return std::all_of(m_lines.begin(), m_lines.end(), [](const SLine& line) { return !line.bMeasured || line.Met(); });
}

void CTable::WriteText(std::ostream& out, bool bNotes) const
{
    std::size_t nWidth = 0;
    for (const SLine& line : m_lines)
        nWidth = std::max(nWidth, line.strName.size());
    for (const SLine& line : m_lines)
        if (bNotes || line.eBound != Bound::None)
            out << std::left << std::setw(static_cast<int>(nWidth) + 2) << line.strName << std::right << std::setw(10)
                << (line.bMeasured ? Number(line.dValue) : "-") << ' ' << std::left << std::setw(8) << line.strUnit
                << std::setw(12) << Target(line) << Verdict(line) << '\n';
}

void CTable::WriteMarkdown(std::ostream& out, const std::string& strCommand) const
{
    out << "Machine: " << MachineName() << ". Compiler: " << CompilerName() << ". Command: `" << strCommand << "`.\n\n";
    out << "| figure | value | target | |\n|---|---:|---:|---|\n";
    for (const SLine& line : m_lines)
        if (line.eBound != Bound::None)
            out << "| " << line.strName << " | " << (line.bMeasured ? Number(line.dValue) + " " + line.strUnit : "-")
                << " | " << Target(line) << " | " << Verdict(line) << " |\n";

    // Rates of one case at several levels make one row.
    std::vector<std::string> columns = {"plain kernel"};
    for (const measure::SLevel& level : measure::Levels())
        columns.push_back(level.pName);
    std::vector<std::pair<std::string, std::map<std::string, std::string>>> rows;
    std::ostringstream others;
    for (const SLine& line : m_lines)
    {
        if (line.eBound != Bound::None)
            continue;
        const std::size_t nComma = line.strName.rfind(", ");
        const std::string strColumn = nComma == std::string::npos ? "" : line.strName.substr(nComma + 2);
        if (line.strUnit != "GPix/s" || std::find(columns.begin(), columns.end(), strColumn) == columns.end())
        {
            others << "| " << line.strName << " | " << Number(line.dValue) << ' ' << line.strUnit << " |\n";
            continue;
        }
        const std::string strRow = line.strName.substr(0, nComma);
        if (rows.empty() || rows.back().first != strRow)
            rows.push_back({strRow, {}});
        rows.back().second[strColumn] = Number(line.dValue);
    }
    if (!rows.empty())
    {
        out << "\nRates in GPix/s:\n\n| case |";
        for (const std::string& strColumn : columns)
            out << ' ' << strColumn << " |";
        out << "\n|---|";
        for (std::size_t i = 0; i < columns.size(); ++i)
            out << "---:|";
        out << '\n';
        for (const auto& [strRow, values] : rows)
        {
            out << "| " << strRow << " |";
            for (const std::string& strColumn : columns)
                out << ' ' << (values.count(strColumn) != 0 ? values.at(strColumn) : "-") << " |";
            out << '\n';
        }
    }
    if (!others.str().empty())
        out << "\nFor information:\n\n| figure | value |\n|---|---:|\n" << others.str();
}

void CTable::WriteJson(std::ostream& out, const std::string& strCommand) const
{
    nlohmann::ordered_json lines = nlohmann::ordered_json::array();
    for (const SLine& line : m_lines)
    {
        nlohmann::ordered_json entry = {{"name", line.strName}, {"unit", line.strUnit}};
        entry["value"] = line.bMeasured ? nlohmann::ordered_json(line.dValue) : nlohmann::ordered_json();
        if (line.eBound != Bound::None)
        {
            entry["bound"] = line.eBound == Bound::AtLeast ? "at least" : "at most";
            entry["target"] = line.dTarget;
            entry["verdict"] = Verdict(line);
        }
        lines.push_back(std::move(entry));
    }
    const nlohmann::ordered_json report = {{"machine", MachineName()},
                                           {"compiler", CompilerName()},
                                           {"command", strCommand},
                                           {"met", AllMet()},
                                           {"lines", std::move(lines)}};
    out << report.dump(2) << '\n';
}

std::string MachineName()
{
    std::ifstream info("/proc/cpuinfo");
    std::string strName = "unknown processor";
    for (std::string strLine; std::getline(info, strLine);)
        if (strLine.rfind("model name", 0) == 0)
        {
            strName = strLine.substr(strLine.find(':') + 2);
            break;
        }
    return strName + ", " + std::to_string(std::thread::hardware_concurrency()) + " cores";
}

std::string CompilerName()
{
#if defined(__clang__)
    return std::string("clang ") + __clang_version__;
#else
    return std::string("g++ ") + __VERSION__;
#endif
}

} // namespace bench
