// SPDX-License-Identifier: MIT
// The pair of files, the clean-up before a run continues, and the order at its end.
#include "host/result/result_lines.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <map>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/file/appended_file.h"
#include "host/foreign_text.h"
#include "host/problem.h"
#include "host/result/digest.h"
#include "host/result/result_file.h"

namespace narvo
{

using nlohmann::ordered_json;

namespace
{

namespace fs = std::filesystem;

[[noreturn]] void RefuseFile(const fs::path& file, const std::string& why, const std::string& allowed)
{
    throw HostError({{"file " + file.string(), why, allowed}});
}

fs::path PartOf(fs::path file)
{
    return file += ".part";
}

/// The table's rows for one image.
std::string TableRows(const ordered_json& line)
{
    std::string rows;
    for (const ordered_json& region : line["regions"])
        for (const ordered_json& blob : region["blobs"])
            rows += TableCell(line["image"].get<std::string>()) + "," + TableCell(region["name"].get<std::string>()) +
                    "," + BlobRow(blob) + "\n";
    return rows;
}

} // namespace

/// Lines and table, and where in them each image stands.
class ResultLines::Files
{
public:
    Files(const fs::path& lines, const fs::path& table) : m_lines(lines)
    {
        if (!m_lines.Lock())
            RefuseFile(lines, "in use by another run", "an output of its own for each run");
        m_table = std::make_unique<AppendedFile>(table);
    }

    void Empty()
    {
        m_lines.Empty();
        m_table->Empty();
        m_table->Add("image,region," + BlobColumns() + "\n");
        m_entries.clear();
    }

    void Add(const ImageLine& line)
    {
        const ordered_json document = ImageLineToJson(line);
        Add(line.result.name, ImageLineText(document) + "\n", TableRows(document));
    }

    void ForEachLine(const std::function<bool(const std::string& image)>& wanted,
                     const std::function<void(const ImageLine&)>& visit) const
    {
        for (const Entry& entry : m_entries)
            if (wanted(entry.image))
            {
                std::string text = m_lines.Read(entry.line.begin, entry.line.count);
                text.pop_back(); // its end
                visit(ReadImageLine(text, "file " + m_lines.Path().string()));
            }
    }

    bool IsInOrder(const std::map<std::string, std::size_t>& places) const
    {
        return std::is_sorted(m_entries.begin(), m_entries.end(), ByPlace{places});
    }

    /// Adds the lines of other files in the order of the places.
    void AddInOrder(const Files& other, const std::map<std::string, std::size_t>& places)
    {
        std::vector<Entry> entries = other.m_entries;
        std::stable_sort(entries.begin(), entries.end(), ByPlace{places});
        for (const Entry& entry : entries)
            Add(entry.image, other.m_lines.Read(entry.line.begin, entry.line.count),
                other.m_table->Read(entry.rows.begin, entry.rows.count));
    }

    void TakePlaceOf(const fs::path& lines, const fs::path& table)
    {
        // A kill between the two leaves lines and a table that the next run writes again from them.
        m_table->TakePlaceOf(table);
        m_lines.TakePlaceOf(lines);
    }

    void Finish()
    {
        m_lines.Finish();
        m_table->Finish();
    }

private:
    struct Span
    {
        std::uint64_t begin;
        std::uint64_t count;
    };
    struct Entry
    {
        std::string image;
        Span line;
        Span rows;
    };
    struct ByPlace
    {
        const std::map<std::string, std::size_t>& places; ///< from 1
        std::size_t Of(const Entry& entry) const
        {
            const auto place = places.find(entry.image);
            return place == places.end() ? 0 : place->second;
        }
        bool operator()(const Entry& a, const Entry& b) const { return Of(a) < Of(b); }
    };

    void Add(const std::string& image, const std::string& line, const std::string& rows)
    {
        m_entries.push_back({image, {m_lines.Size(), line.size()}, {m_table->Size(), rows.size()}});
        m_lines.Add(line);
        m_table->Add(rows);
    }

    AppendedFile m_lines;
    std::unique_ptr<AppendedFile> m_table; ///< opened only when the lines are locked
    std::vector<Entry> m_entries;
};

ResultLines::ResultLines(Options options) : m_options(std::move(options))
{
    std::error_code error;
    const bool isThere = fs::exists(LineFile(), error);
    if (m_options.start == Start_New && isThere)
        RefuseFile(LineFile(), "exists already", "another name, --resume to continue, or --overwrite to begin afresh");
    // Where there are no lines, a table is somebody else's.
    if (m_options.start != Start_Afresh && !isThere && fs::exists(TableFile(), error))
        RefuseFile(TableFile(), "exists already", "another name, or --overwrite to begin afresh");
    try
    {
        m_files = std::make_unique<Files>(LineFile(), TableFile());
        if (m_options.start == Start_Resume)
            Resume();
        else
            m_files->Empty();
    }
    catch (...)
    {
        if (!isThere && fs::is_empty(LineFile(), error))
            fs::remove(LineFile(), error);
        throw;
    }
}

ResultLines::~ResultLines() = default;

std::unique_ptr<ResultLines::Files> ResultLines::Beside() const
{
    try
    {
        auto files = std::make_unique<Files>(PartOf(LineFile()), PartOf(TableFile()));
        files->Empty();
        return files;
    }
    catch (const WriteError&)
    {
        RemoveParts();
        throw;
    }
}

void ResultLines::RemoveParts() const
{
    std::error_code error;
    fs::remove(PartOf(LineFile()), error);
    fs::remove(PartOf(TableFile()), error);
}

bool ResultLines::StillHolds(ImageLine& line) const
{
    const ImageResult& result = line.result;
    if (m_done.contains(result.name) || (m_options.retry && !result.IsInspected()))
        return false;
    const FileIdentity now = FileIdentity::Of(result.name);
    if (line.identity.bytes != now.bytes)
        return false;
    if (line.identity.modified == now.modified)
        return true;
    if (line.identity.digest.empty() || line.identity.digest != DigestOfFile(result.name))
        return false;
    line.identity.modified = now.modified;
    return true;
}

bool ResultLines::ReadLine(const std::string& text, std::size_t number, ImageLine& line)
{
    const std::string name = "file " + LineFile().string() + ", line " + std::to_string(number);
    try
    {
        line = ReadImageLine(text, name);
        if (line.result.IsInspected() && line.result.regions.size() != m_options.regions &&
            line.recipe == m_options.recipe)
            throw HostError({{name + ", regions", std::to_string(line.result.regions.size()) + " regions",
                              std::to_string(m_options.regions) + ", as the recipe has"}});
        return true;
    }
    catch (const OtherVersionError&)
    {
        throw;
    }
    catch (const HostError& error)
    {
        constexpr std::size_t nMost = 20;
        if (m_damage.size() < nMost)
            m_damage.push_back(error.Problems().front());
        return false;
    }
}

/// The lines that hold go to new files, which take the place of the old ones only when they are complete: a kill here
/// leaves the old ones.
void ResultLines::Resume()
{
    std::unique_ptr<Files> files = Beside();
    try
    {
        std::ifstream stream(LineFile(), std::ios::binary);
        std::string text;
        bool known = false;
        for (std::size_t number = 1; std::getline(stream, text); ++number)
        {
            ImageLine line;
            const bool cut = stream.eof();
            if (cut && !MayBeCutImageLine(text))
                m_damage.push_back({"file " + LineFile().string() + ", line " + std::to_string(number),
                                    "no line of narvo inspect, without an end", "lines as narvo inspect writes them"});
            const bool whole = !cut && ReadLine(text, number, line);
            if (whole && line.recipe != m_options.recipe)
                RefuseFile(LineFile(), "made by another recipe",
                           "the same recipe, another output, or --overwrite to begin afresh");
            known = known || whole;
            if (whole && StillHolds(line))
            {
                files->Add(line);
                m_done.insert(line.result.name);
            }
            else
                ++m_dropped;
        }
        if (stream.bad())
            RefuseFile(LineFile(), "cannot be read", "a readable file");
        if (!known && !m_damage.empty())
            RefuseFile(LineFile(), "no line in it is a result",
                       "results of narvo inspect, another output, or --overwrite to begin afresh");
        files->TakePlaceOf(LineFile(), TableFile());
    }
    catch (...)
    {
        RemoveParts();
        throw;
    }
    m_files = std::move(files);
}

void ResultLines::ForEachLine(const std::function<bool(const std::string& image)>& wanted,
                              const std::function<void(const ImageLine&)>& visit) const
{
    m_files->ForEachLine(wanted, visit);
}

void ResultLines::Add(const ImageResult& result, const FileIdentity& identity)
{
    m_files->Add({result, identity, m_options.recipe});
}

void ResultLines::Finish(const std::vector<std::string>& images)
{
    std::map<std::string, std::size_t> places;
    for (const std::string& image : images)
        places.emplace(image, places.size() + 1);
    if (m_files->IsInOrder(places))
        return m_files->Finish();
    std::unique_ptr<Files> files = Beside();
    try
    {
        files->AddInOrder(*m_files, places);
        m_files->Finish();
        files->TakePlaceOf(LineFile(), TableFile());
    }
    catch (...)
    {
        RemoveParts();
        throw;
    }
    m_files = std::move(files);
}

} // namespace narvo
