// SPDX-License-Identifier: MIT
// The result file of a watch: one JSON line for each image, appended over days in constant memory.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <unordered_set>

#include "host/file/appended_file.h"
#include "tools/watch/result_sink.h"

namespace narvo::tools
{

/// Lines as `narvo inspect` writes them, followed by the frame's number, the time of its arrival, verdict and rules.
/// After a kill, the file's last line is whole or is dropped by the next start.
class WatchLog : public ResultSink
{
public:
    enum Start
    {
        Start_New,    ///< refuses a file that is there
        Start_Afresh, ///< empties it
        Start_Resume  ///< goes on behind its last whole line
    };

    /// `recipe` is a digest.
    /// @throws WriteError; HostError when the file is there, in use, or on resuming not of this recipe
    WatchLog(const std::filesystem::path& file, std::string recipe, Start start);

    void Add(const WatchedImage& image) override;
    void Finish(const WatchSummary& summary) override;

    /// Lines of the file, those of before among them.
    std::size_t Lines() const { return m_lines; }
    /// The images of all lines, numbered from 1; times of reading and inspecting are 0.
    /// @throws WriteError, or HostError for a damaged line
    void ForEachLine(const std::function<void(const WatchedImage& image, std::size_t line)>& visit) const;

    /// Bytes of a cut last line that were dropped on resuming.
    std::uint64_t DroppedBytes() const { return m_dropped; }

    /// Images that have a line, with size and time of their files: for the files that lie in a folder at the start.
    class Done
    {
    public:
        bool Has(const std::string& name, const FileIdentity& identity) const;

    private:
        friend class WatchLog;
        static std::string Key(const std::string& name, std::uint64_t bytes, std::int64_t modified);
        std::unordered_set<std::string> m_keys;
    };
    /// Reads the lines from before. @throws WriteError, or HostError for a damaged line
    Done ReadDone() const;

private:
    void Resume();
    void ForEachText(const std::function<void(const std::string& line)>& visit) const;

    AppendedFile m_file;
    std::string m_recipe;
    std::uint64_t m_dropped = 0;
    std::size_t m_lines = 0;
};

} // namespace narvo::tools
