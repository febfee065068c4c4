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

namespace
{

ImageVerdict VerdictOf(const std::string& name)
{
    for (const ImageVerdict verdict : {ImageVerdict_Pass, ImageVerdict_Fail, ImageVerdict_Undecided})
        if (name == VerdictName(verdict))
            return verdict;
    throw HostError({{"verdict", name, "pass, fail or undecided"}});
}

} // namespace

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
    constexpr std::uint64_t nLongestBegin = 100; // enough of a line to know it by
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
    else if (!MayBeCutImageLine(m_file.Read(0, std::min<std::uint64_t>(m_dropped, nLongestBegin))))
        RefuseLog(m_file.Path(), "not a result file of narvo watch", "the file of an earlier narvo watch");
    m_file.CutTo(end);
    ForEachText([&](const std::string&) { ++m_lines; });
}

void WatchLog::Add(const WatchedImage& image)
{
    nlohmann::ordered_json line = ImageLineToJson({image.result, image.identity, m_recipe});
    line["frame"] = image.frame;
    line["acquired"] = image.acquired;
    line["verdict"] = VerdictName(image.verdict);
    line["failed"] = image.failedRules;
    m_file.Add(ImageLineText(line) + "\n");
    ++m_lines;
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

void WatchLog::ForEachText(const std::function<void(const std::string&)>& visit) const
{
    constexpr std::uint64_t nPiece = 1048576;
    std::string rest;
    for (std::uint64_t place = 0; place < m_file.Size(); place += nPiece)
    {
        rest += m_file.Read(place, std::min(nPiece, m_file.Size() - place));
        std::size_t begin = 0;
        for (std::size_t end; (end = rest.find('\n', begin)) != std::string::npos; begin = end + 1)
            try
            {
                visit(rest.substr(begin, end - begin));
            }
            catch (const nlohmann::json::exception&)
            {
                RefuseLog(m_file.Path(), "a damaged line", "lines as narvo watch has written them");
            }
        rest.erase(0, begin);
    }
}

WatchLog::Done WatchLog::ReadDone() const
{
    Done done;
    ForEachText(
        [&](const std::string& text)
        {
            const nlohmann::json line = nlohmann::json::parse(text);
            done.m_keys.insert(Done::Key(line.at("image").get<std::string>(), line.at("bytes").get<std::uint64_t>(),
                                         line.at("modified").get<std::int64_t>()));
        });
    return done;
}

void WatchLog::ForEachLine(const std::function<void(const WatchedImage&, std::size_t)>& visit) const
{
    std::size_t number = 0;
    ForEachText(
        [&](const std::string& text)
        {
            nlohmann::ordered_json line = nlohmann::ordered_json::parse(text);
            WatchedImage image;
            image.frame = line.at("frame").get<std::uint64_t>();
            image.acquired = line.at("acquired").get<std::int64_t>();
            image.verdict = VerdictOf(line.at("verdict").get<std::string>());
            image.failedRules = line.at("failed").get<std::vector<std::string>>();
            for (const char* own : {"frame", "acquired", "verdict", "failed"})
                line.erase(own);
            ImageLine read =
                ReadImageLine(ImageLineText(line), m_file.Path().string() + ", line " + std::to_string(++number));
            image.result = std::move(read.result);
            image.identity = std::move(read.identity);
            visit(image, number);
        });
}

} // namespace narvo::tools
