// SPDX-License-Identifier: MIT
// The table of results: one line per figure, with its target where it has one, as text, JSON or Markdown.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace bench
{

enum class Bound
{
    None, ///< for information
    AtLeast,
    AtMost
};

struct SLine
{
    std::string strName;
    double dValue;
    std::string strUnit; ///< "x" for a ratio
    Bound eBound;
    double dTarget;
    bool bMeasured; ///< false where the machine lacks the vector level that the target names

    bool Met() const;
};

class CTable
{
public:
    /// A figure with a target.
    void Require(const std::string& strName, double dValue, const std::string& strUnit, Bound eBound, double dTarget);
    /// A figure for information.
    void Note(const std::string& strName, double dValue, const std::string& strUnit);
    /// A target that this machine cannot show.
    void Absent(const std::string& strName, const std::string& strUnit, Bound eBound, double dTarget);

    /// True when every measured target is met.
    bool AllMet() const;
    /// One line per target; with bNotes the notes too.
    void WriteText(std::ostream& out, bool bNotes) const;
    /// All lines: those with a target, rates by vector level, the rest.
    void WriteMarkdown(std::ostream& out, const std::string& strCommand) const;
    /// All lines, with machine, compiler and command.
    void WriteJson(std::ostream& out, const std::string& strCommand) const;

private:
    void Add(SLine line);
    std::vector<SLine> m_lines;
};

/// "CPU name, n cores"
std::string MachineName();
std::string CompilerName();

} // namespace bench
