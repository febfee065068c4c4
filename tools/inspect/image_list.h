// SPDX-License-Identifier: MIT
// The images that a command line names: files, folders and lists of files.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace narvo::tools
{

struct ImageSelection
{
    std::vector<std::string> places;          ///< files and folders
    std::string list;                         ///< file with a name a line, - for the standard input; empty: none
    bool recursive = false;                   ///< folders with all that lies below them
    std::vector<std::filesystem::path> apart; ///< files that a folder does not bring, painted zones and the like
    bool raw = false;                         ///< folders bring frames without a header, .raw and .bin
};

/// Image files in the order in which they are named, those of a folder by name, each once; a warning on the error
/// stream says which are named again. What a folder holds beside images, hidden files and overlays of earlier results
/// stay out.
/// @throws HostError for places that are not there, folders without an image and lists that cannot be read, with all
/// problems
std::vector<std::string> ListImages(const ImageSelection& selection);

} // namespace narvo::tools
