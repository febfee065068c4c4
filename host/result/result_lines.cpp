// Writing by whole lines, and the clean-up before a run goes on.
#include "host/result/result_lines.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "host/problem.h"
#include "host/result/digest.h"
#include "host/result/result_file.h"

namespace narvo
{

using nlohmann::ordered_json;

namespace
{

[[noreturn]] void RefuseFile(const std::filesystem::path& file, const std::string& why, const std::string& allowed)
{
    throw HostError({{"file " + file.string(), why, allowed}});
}

[[noreturn]] void RefuseWriting(const std::filesystem::path& file, int error)
{
    RefuseFile(file, std::string("cannot be written: ") + std::strerror(error), "a writable place with room");
}

int OpenToWrite(const std::filesystem::path& file, int flags)
{
    const int descriptor = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | flags, 0666);
    if (descriptor < 0)
        RefuseWriting(file, errno);
    return descriptor;
}

void WriteWhole(int descriptor, const std::filesystem::path& file, const std::string& text)
{
    std::size_t written = 0;
    while (written < text.size())
    {
        const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            RefuseWriting(file, errno);
        written += static_cast<std::size_t>(count);
    }
}

std::string TableHeader()
{
    return "image,region," + BlobColumns() + "\n";
}

/// The table's rows for one image.
std::string TableRows(const ordered_json& line)
{
    std::string rows;
    for (const ordered_json& region : line["regions"])
        for (const ordered_json& blob : region["blobs"])
            rows += TableField(line["image"].get<std::string>()) + "," + TableField(region["name"].get<std::string>()) +
                    "," + BlobRow(blob) + "\n";
    return rows;
}

/// A line of an earlier run; null when it was cut or is none.
ordered_json ParseLine(const std::string& text)
{
    ordered_json line = ordered_json::parse(text, nullptr, false);
    const bool whole = line.is_object() && line.contains("image") && line["image"].is_string() &&
                       line.contains("recipe") && line["recipe"].is_string() && line.contains("regions") &&
                       line["regions"].is_array() && line.contains("status") && line["status"].is_string() &&
                       line.contains("bytes") && line["bytes"].is_number_unsigned() && line.contains("modified") &&
                       line["modified"].is_number_integer() && line.contains("digest") && line["digest"].is_string();
    return whole ? line : ordered_json();
}

void CloseFile(int& descriptor)
{
    if (descriptor >= 0)
        close(descriptor);
    descriptor = -1;
}

} // namespace

FileIdentity FileIdentity::Of(const std::filesystem::path& file)
{
    struct stat status;
    if (stat(file.c_str(), &status) != 0)
        return {};
    constexpr std::int64_t nSecond = 1000000000;
    return {static_cast<std::uint64_t>(status.st_size), status.st_mtim.tv_sec * nSecond + status.st_mtim.tv_nsec, {}};
}

ordered_json ResultLine(const ImageResult& result, const FileIdentity& identity, const std::string& recipe)
{
    ordered_json problems = ordered_json::array();
    for (const Problem& problem : result.problems)
        problems.push_back({{"field", problem.field}, {"value", problem.value}, {"allowed", problem.allowed}});
    ordered_json regions = ordered_json::array();
    for (const InspectionResult& region : result.regions)
    {
        ordered_json document = ResultToJson(region);
        document.erase("version");
        document.erase("milliseconds");
        regions.push_back(std::move(document));
    }
    return {{"version", nResultLineVersion},
            {"image", result.name},
            {"bytes", identity.bytes},
            {"modified", identity.modified},
            {"digest", identity.digest},
            {"recipe", recipe},
            {"status", result.IsInspected() ? "inspected" : "refused"},
            {"width", result.width},
            {"height", result.height},
            {"blob_count", result.BlobCount()},
            {"problems", problems},
            {"regions", regions}};
}

ResultLines::ResultLines(Options options) : m_options(std::move(options))
{
    std::error_code error;
    if (m_options.start == Start_New)
        for (const std::filesystem::path& file : {LineFile(), TableFile()})
            if (std::filesystem::exists(file, error))
                RefuseFile(file, "exists already", "another name, --resume to go on, or --overwrite to begin afresh");
    try
    {
        m_lines = OpenToWrite(LineFile(), 0);
        if (flock(m_lines, LOCK_EX | LOCK_NB) != 0)
            RefuseFile(LineFile(), "in use by another run", "an output of its own for each run");
        if (m_options.start == Start_Resume)
            Resume();
        else
        {
            if (ftruncate(m_lines, 0) != 0)
                RefuseWriting(LineFile(), errno);
            m_table = OpenToWrite(TableFile(), O_TRUNC);
            WriteWhole(m_table, TableFile(), TableHeader());
        }
    }
    catch (...)
    {
        CloseFile(m_lines);
        CloseFile(m_table);
        throw;
    }
}

ResultLines::~ResultLines()
{
    CloseFile(m_lines);
    CloseFile(m_table);
}

bool ResultLines::StillHolds(const ordered_json& line) const
{
    const std::string image = line["image"];
    if (m_done.contains(image) || (m_options.retry && line["status"] != "inspected"))
        return false;
    const FileIdentity now = FileIdentity::Of(image);
    if (line["bytes"].get<std::uint64_t>() != now.bytes)
        return false;
    if (line["modified"].get<std::int64_t>() == now.modified)
        return true;
    return !line["digest"].get<std::string>().empty() && line["digest"].get<std::string>() == DigestOfFile(image);
}

/// The lines that hold go to new files, which take the place of the old ones only when they are complete: a kill here
/// leaves the old ones.
void ResultLines::Resume()
{
    const std::filesystem::path newLines = m_options.prefix + ".jsonl.part";
    const std::filesystem::path newTable = m_options.prefix + ".csv.part";
    int lines = -1;
    int table = -1;
    try
    {
        lines = OpenToWrite(newLines, O_TRUNC);
        table = OpenToWrite(newTable, O_TRUNC);
        // The descriptor that goes on writing carries the lock on from the file that it replaces.
        flock(lines, LOCK_EX | LOCK_NB);
        WriteWhole(table, newTable, TableHeader());
        std::ifstream stream(LineFile(), std::ios::binary);
        std::string text;
        while (std::getline(stream, text))
        {
            const bool cut = stream.eof();
            const ordered_json line = cut ? ordered_json() : ParseLine(text);
            if (!line.is_null() && line["recipe"] != m_options.recipe)
                RefuseFile(LineFile(), "made by another recipe",
                           "the same recipe, another output, or --overwrite to begin afresh");
            if (line.is_null() || !StillHolds(line))
            {
                ++m_dropped;
                continue;
            }
            m_done.insert(line["image"].get<std::string>());
            WriteWhole(lines, newLines, text + "\n");
            WriteWhole(table, newTable, TableRows(line));
        }
        if (fsync(lines) != 0)
            RefuseWriting(newLines, errno);
        if (fsync(table) != 0)
            RefuseWriting(newTable, errno);
        if (rename(newTable.c_str(), TableFile().c_str()) != 0)
            RefuseWriting(TableFile(), errno);
        if (rename(newLines.c_str(), LineFile().c_str()) != 0)
            RefuseWriting(LineFile(), errno);
    }
    catch (...)
    {
        CloseFile(lines);
        CloseFile(table);
        std::error_code error;
        std::filesystem::remove(newLines, error);
        std::filesystem::remove(newTable, error);
        throw;
    }
    CloseFile(m_lines);
    m_lines = lines;
    m_table = table;
}

void ResultLines::Add(const ImageResult& result, const FileIdentity& identity)
{
    const ordered_json line = ResultLine(result, identity, m_options.recipe);
    WriteWhole(m_lines, LineFile(), line.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n");
    if (const std::string rows = TableRows(line); !rows.empty())
        WriteWhole(m_table, TableFile(), rows);
}

} // namespace narvo
