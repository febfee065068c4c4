// SPDX-License-Identifier: MIT
// Folders by ending and name, lists line by line.
#include "tools/inspect/image_list.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <iostream>
#include <set>
#include <sstream>
#include <string_view>

#include <unistd.h>

#include "host/file/input_file.h"
#include "host/foreign_text.h"
#include "host/image/image_header.h"
#include "host/problem.h"
#include "tools/exit_code.h"

namespace narvo::tools
{

namespace
{

namespace fs = std::filesystem;

constexpr std::size_t nLongestList = std::size_t{256} << 20;
constexpr std::string_view overlayEnding = ".overlay.png";

constexpr std::array<std::string_view, 2> rawEndings = {".raw", ".bin"};

bool IsImageName(const fs::path& file, bool raw)
{
    const std::string name = file.filename().string();
    std::string ending = file.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    const bool isRaw = std::find(rawEndings.begin(), rawEndings.end(), ending) != rawEndings.end();
    return !name.starts_with('.') && !name.ends_with(overlayEnding) && (raw ? isRaw : HasImageEnding(file));
}

/// Files that cannot be looked at are passed over here; what is named in a list is told of when it is read.
template <typename Iterator>
std::vector<std::string> FolderImages(const fs::path& folder, const ImageSelection& selection)
{
    std::vector<std::string> files;
    std::error_code error;
    for (Iterator entry(folder, fs::directory_options::skip_permission_denied, error), end; !error && entry != end;
         entry.increment(error))
    {
        std::error_code ignored;
        const bool stays = entry->is_regular_file(ignored) && IsImageName(entry->path(), selection.raw) &&
                           std::none_of(selection.apart.begin(), selection.apart.end(),
                                        [&](const fs::path& file) { return fs::equivalent(file, *entry, ignored); });
        if (stays)
            files.push_back(entry->path().lexically_normal().string());
    }
    if (error)
        throw HostError({{"folder " + folder.string(), "cannot be read", "a readable folder"}});
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<std::string> ReadList(const std::string& list)
{
    const char* const szWanted = "a readable file with the name of an image in each line";
    const std::string field = "list " + list;
    std::string text;
    const auto take = [&](const char* bytes, std::size_t count)
    {
        // The mark of UTF-16, which holds NUL bytes as well.
        const auto begins = [&](const char* mark)
        { return text.empty() && count >= 2 && std::memcmp(bytes, mark, 2) == 0; };
        if (begins("\xff\xfe") || begins("\xfe\xff"))
            throw HostError({{field, "text in UTF-16", "a text file in UTF-8 with the name of an image in each line"}});
        if (std::memchr(bytes, 0, count) != nullptr || text.size() + count > nLongestList)
            throw HostError(
                {{field, text.size() + count > nLongestList ? "longer than 256 MiB" : "no text", szWanted}});
        text.append(bytes, count);
    };
    if (list == "-")
        ReadStreamPieces(STDIN_FILENO, field, szWanted, take);
    else
        ReadFilePieces(list, field, szWanted, take);
    std::vector<std::string> names;
    if (text.starts_with("\xef\xbb\xbf"))
        text.erase(0, 3); // a byte-order mark, which is no part of the first name
    std::istringstream lines(text);
    std::size_t number = 0;
    for (std::string line; std::getline(lines, line);)
    {
        ++number;
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        if (line.size() >= PATH_MAX)
            throw HostError({{field + ", line " + std::to_string(number), std::to_string(line.size()) + " bytes",
                              "the name of an image, at most " + std::to_string(PATH_MAX - 1) + " bytes"}});
        if (!line.empty())
            names.push_back(fs::path(line).lexically_normal().string());
    }
    if (names.empty())
        throw HostError({{field, "no images", szWanted}});
    return names;
}

} // namespace

std::vector<std::string> ListImages(const ImageSelection& selection)
{
    std::vector<Problem> found;
    std::vector<std::string> named;
    const auto collect = [&](auto call)
    {
        CollectProblems(found,
                        [&]
                        {
                            for (std::string& file : call())
                                named.push_back(std::move(file));
                        });
    };
    for (const std::string& place : selection.places)
    {
        std::error_code error;
        if (!fs::is_directory(place, error))
        {
            named.push_back(fs::path(place).lexically_normal().string());
            continue;
        }
        collect(
            [&]
            {
                std::vector<std::string> files = selection.recursive
                                                     ? FolderImages<fs::recursive_directory_iterator>(place, selection)
                                                     : FolderImages<fs::directory_iterator>(place, selection);
                if (files.empty())
                    found.push_back({"folder " + place, "no images",
                                     (selection.raw ? std::string("a folder with .raw or .bin files")
                                                    : std::string("a folder with PNG, TIFF, BMP, PGM or JPEG files")) +
                                         std::string(selection.recursive ? "" : "; --recursive looks below it")});
                return files;
            });
    }
    if (!selection.list.empty())
        collect([&] { return ReadList(selection.list); });
    ThrowIfAny(std::move(found));

    std::vector<std::string> files;
    std::set<std::string> seen;
    std::vector<std::string> again;
    for (std::string& file : named)
        if (seen.insert(file).second)
            files.push_back(std::move(file));
        else
            again.push_back(std::move(file));
    if (!again.empty())
        std::cerr << "narvo: warning: " << Printable(again.front())
                  << (again.size() == 1
                          ? " is named twice"
                          : " and others are named again, " + std::to_string(again.size()) + " times in all")
                  << "; each image is inspected once" << std::endl;
    return files;
}

} // namespace narvo::tools
