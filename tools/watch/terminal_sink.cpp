// SPDX-License-Identifier: MIT
// Lines for a person: images that did not pass, warnings, problems, notes.
#include "tools/watch/terminal_sink.h"

#include <utility>

#include "host/counted.h"
#include "host/foreign_text.h"
#include "host/problem.h"
#include "tools/image_options.h"

namespace narvo::tools
{

namespace
{

class TerminalSink : public ResultSink
{
public:
    TerminalSink(bool quiet, std::function<void(std::string)> print, std::function<void(const std::string&)> tell)
        : m_quiet(quiet), m_print(std::move(print)), m_tell(std::move(tell))
    {
    }

    void Add(const WatchedImage& image) override
    {
        TellWarnings(image);
        for (const std::string& note : ProgramNotes().Take())
            m_tell("note: " + Printable(note));
        if (m_quiet || image.verdict == ImageVerdict_Pass)
            return;
        std::string rules;
        for (const std::string& rule : image.failedRules)
            rules += (rules.empty() ? "; " : " ") + rule;
        m_print(VerdictName(image.verdict) + (": " + Printable(image.result.name)) + ", " +
                Counted(image.result.BlobCount(), "blob") + rules);
    }
    void Tell(const std::string& line) override { m_tell(line); }
    void Finish(const WatchSummary&) override {}

private:
    void TellWarnings(const WatchedImage& image) const
    {
        const std::string& name = image.result.name;
        for (const Problem& problem : image.result.problems)
            m_tell((problem.field.find(name) != std::string::npos ? "" : Printable(name) + ": ") + problem.Text());
        for (const InspectionResult& region : image.result.regions)
            for (const std::string& warning : region.warnings)
                m_tell("warning: " + Printable(name + (region.name.empty() ? "" : ", " + region.name)) + ": " +
                       warning);
    }

    bool m_quiet;
    std::function<void(std::string)> m_print;
    std::function<void(const std::string&)> m_tell;
};

} // namespace

std::unique_ptr<ResultSink> MakeTerminalSink(bool quiet, std::function<void(std::string)> print,
                                             std::function<void(const std::string&)> tell)
{
    return std::make_unique<TerminalSink>(quiet, std::move(print), std::move(tell));
}

} // namespace narvo::tools
