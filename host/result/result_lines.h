// Results of many images as they come: one JSON line for each image and a table of all blobs, so that a run that is
// killed keeps what it has done and another can go on behind it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "host/inspect/batch.h"

namespace narvo
{

/// Version of a line's JSON form.
constexpr int nResultLineVersion = 1;

/// What tells whether a file is still the one that was inspected.
struct FileIdentity
{
    std::uint64_t bytes = 0;   ///< 0 for a file that is not there
    std::int64_t modified = 0; ///< nanoseconds since 1970
    std::string digest;        ///< of its bytes; empty when they were not read

    /// Size and time of a file; the digest is left empty.
    static FileIdentity Of(const std::filesystem::path& file);
};

/// The line of one image: name, identity, recipe, problems and regions with their blobs. It holds no times, so that
/// equal work gives equal lines.
nlohmann::ordered_json ResultLine(const ImageResult& result, const FileIdentity& identity, const std::string& recipe);

/// The two files of a run, PREFIX.jsonl and PREFIX.csv. Lines are written whole and at once. The JSON lines are what
/// counts; the table follows from them.
class ResultLines
{
public:
    enum Start
    {
        Start_New,    ///< refuses files that are there
        Start_Afresh, ///< empties them
        Start_Resume  ///< keeps the lines that still hold, drops one that was cut, and writes the table anew
    };

    struct Options
    {
        std::string prefix;
        std::string recipe; ///< digest
        Start start = Start_New;
        bool retry = false; ///< on resuming, leaves out what was refused, to be tried again
    };

    /// @throws HostError when the files are there, are in use by another run, were made by another recipe, or cannot
    /// be written
    explicit ResultLines(Options options);
    ~ResultLines();
    ResultLines(const ResultLines&) = delete;
    ResultLines& operator=(const ResultLines&) = delete;

    /// Whether an image has a line from before, which means that its file has not changed since.
    bool IsDone(const std::string& image) const { return m_done.contains(image); }
    std::size_t KeptLines() const { return m_done.size(); }
    /// Lines from before that no longer hold: cut ones, and those of files that have changed.
    std::size_t DroppedLines() const { return m_dropped; }

    /// @throws HostError when it cannot be written
    void Add(const ImageResult& result, const FileIdentity& identity);

    std::filesystem::path LineFile() const { return m_options.prefix + ".jsonl"; }
    std::filesystem::path TableFile() const { return m_options.prefix + ".csv"; }

private:
    void Resume();
    bool StillHolds(const nlohmann::ordered_json& line) const;

    Options m_options;
    std::set<std::string> m_done;
    std::size_t m_dropped = 0;
    int m_lines = -1; ///< descriptors
    int m_table = -1;
};

} // namespace narvo
