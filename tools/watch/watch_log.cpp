// SPDX-License-Identifier: MIT
// Appended lines, and what is kept of them by the next start.
#include "tools/watch/watch_log.h"

#include <algorithm>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/file/name_text.h"
#include "host/problem.h"

namespace narvo::tools
{

namespace
{

[[noreturn]] void RefuseLog(const std::filesystem::path& file, const std::string& why, const std::string& allowed)
{
    throw HostError({{"file " + file.string(), why, allowed}});
}

} // namespace

const char* VerdictName(ImageVerdict verdict)
{
    return verdict == ImageVerdict_Pass ? "pass" : verdict == ImageVerdict_Fail ? "fail" : "undecided";
}

WatchLog::WatchLog(const std::filesystem::path& file, std::string recipe, Start start)
    : m_file(file), m_recipe(std::move(recipe))
{
    if (!m_file.Lock())
        RefuseLog(file, "in use by another run", "an output of its own for each run");
    if (start == Start_New && m_file.Size() > 0)
        RefuseLog(file, "exists already", "another name, --resume to continue, or --overwrite to begin afresh");
    if (start == Start_Afresh)
        m_file.Empty();
    if (start == Start_Resume)
        Resume();
}

void WatchLog::Resume()
{
    constexpr std::uint64_t nPiece = 65536;
    const auto startOfLineBefore = [&](std::uint64_t end)
    {
        while (end > 0)
        {
            const std::uint64_t begin = end > nPiece ? end - nPiece : 0;
            const std::size_t place = m_file.Read(begin, end - begin).rfind('\n');
            if (place != std::string::npos)
                return begin + place + 1;
            end = begin;
        }
        return end;
    };
    const std::uint64_t end = startOfLineBefore(m_file.Size());
    m_dropped = m_file.Size() - end;
    if (end > 0)
    {
        const std::uint64_t begin = startOfLineBefore(end - 1);
        const nlohmann::json line = nlohmann::json::parse(m_file.Read(begin, end - begin), nullptr, false);
        if (!line.is_object() || !line.contains("verdict") ||
            line.value("version", nlohmann::json()) != nImageLineVersion)
            RefuseLog(m_file.Path(), "not a result file of narvo watch", "the file of an earlier narvo watch");
        if (line.value("recipe", nlohmann::json()) != m_recipe)
            RefuseLog(m_file.Path(), "results of another recipe", "the recipe of the earlier run, or another name");
    }
    else if (m_dropped > 0 && m_file.Read(0, 1) != "{")
        RefuseLog(m_file.Path(), "not a result file of narvo watch", "the file of an earlier narvo watch");
    m_file.CutTo(end);
}

void WatchLog::Add(const WatchedImage& image)
{
    nlohmann::ordered_json line = ImageLineToJson({image.result, image.identity, m_recipe});
    line["frame"] = image.frame;
    line["acquired"] = image.acquired;
    line["verdict"] = VerdictName(image.verdict);
    line["failed"] = image.failedRules;
    m_file.Add(ImageLineText(line) + "\n");
}

void WatchLog::Finish(const WatchSummary&)
{
    m_file.Finish();
}

std::string WatchLog::Done::Key(const std::string& name, std::uint64_t bytes, std::int64_t modified)
{
    return std::to_string(bytes) + " " + std::to_string(modified) + " " + name;
}

bool WatchLog::Done::Has(const std::string& name, const FileIdentity& identity) const
{
    return m_keys.contains(Key(NameToText(name), identity.bytes, identity.modified));
}

WatchLog::Done WatchLog::ReadDone() const
{
    constexpr std::uint64_t nPiece = 1048576;
    Done done;
    std::string rest;
    for (std::uint64_t place = 0; place < m_file.Size(); place += nPiece)
    {
        rest += m_file.Read(place, std::min(nPiece, m_file.Size() - place));
        std::size_t begin = 0;
        for (std::size_t end; (end = rest.find('\n', begin)) != std::string::npos; begin = end + 1)
            try
            {
                const nlohmann::json line = nlohmann::json::parse(rest.begin() + static_cast<std::ptrdiff_t>(begin),
                                                                  rest.begin() + static_cast<std::ptrdiff_t>(end));
                done.m_keys.insert(Done::Key(line.at("image").get<std::string>(), line.at("bytes").get<std::uint64_t>(),
                                             line.at("modified").get<std::int64_t>()));
            }
            catch (const nlohmann::json::exception&)
            {
                RefuseLog(m_file.Path(), "a damaged line", "lines as narvo watch has written them");
            }
        rest.erase(0, begin);
    }
    return done;
}

} // namespace narvo::tools
