// SPDX-License-Identifier: MIT
// Results of many images as they come: one JSON line for each image and a table of all blobs, so that a run that is
// killed keeps what it has done and another can continue it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/problem.h"
#include "host/result/image_line.h"

namespace narvo
{

/// The two files of a run, PREFIX.jsonl and PREFIX.csv. Lines are written whole, each as soon as its image ends; a run
/// that went on behind another puts them into the order of its images at its end. The JSON lines are what counts; the
/// table follows from them.
class ResultLines
{
public:
    enum Start
    {
        Start_New,    ///< refuses files that are there
        Start_Afresh, ///< empties them
        Start_Resume  ///< keeps the lines that still hold, and writes the table again
    };

    struct Options
    {
        std::string prefix;
        std::string recipe;      ///< digest
        std::size_t regions = 1; ///< of the recipe
        Start start = Start_New;
        bool retry = false; ///< on resuming, leaves out what was refused, to be tried again
    };

    /// @throws WriteError; HostError when the files are there, are in use by another run, or on resuming were made by
    /// another recipe, in another form, or not by this program
    explicit ResultLines(Options options);
    ~ResultLines();
    ResultLines(const ResultLines&) = delete;
    ResultLines& operator=(const ResultLines&) = delete;

    /// Whether an image has a line from before, which means that its file has not changed since.
    bool IsDone(const std::string& image) const { return m_done.contains(image); }
    std::size_t KeptLines() const { return m_done.size(); }
    /// Lines from before that no longer hold: damaged ones, cut ones, and those of files that have changed.
    std::size_t DroppedLines() const { return m_dropped; }
    /// What is wrong with the first 20 damaged ones, a problem for each.
    const std::vector<Problem>& Damage() const { return m_damage; }

    /// Hands over lines of the images that `wanted` picks. @throws WriteError
    void ForEachLine(const std::function<bool(const std::string& image)>& wanted,
                     const std::function<void(const ImageLine&)>& visit) const;

    /// @throws WriteError, also when a file was removed or changed since the last line
    void Add(const ImageResult& result, const FileIdentity& identity);
    /// Puts the lines into the order of `images`, behind those of other images, and waits until the files are on the
    /// disk. @throws WriteError as Add; the lines are left in the order in which they were added
    void Finish(const std::vector<std::string>& images);

    std::filesystem::path LineFile() const { return m_options.prefix + ".jsonl"; }
    std::filesystem::path TableFile() const { return m_options.prefix + ".csv"; }

private:
    class Files;

    /// Files that are to take the place of those that are there.
    std::unique_ptr<Files> Beside() const;
    void RemoveParts() const;
    void Resume();
    /// @return false when the line is damaged. @throws OtherVersionError
    bool ReadLine(const std::string& text, std::size_t number, ImageLine& line);
    /// Whether a line is still true; brings its identity up to date.
    bool StillHolds(ImageLine& line) const;

    Options m_options;
    std::set<std::string> m_done;
    std::size_t m_dropped = 0;
    std::vector<Problem> m_damage;
    std::unique_ptr<Files> m_files;
};

} // namespace narvo
