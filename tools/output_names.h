// SPDX-License-Identifier: MIT
// The names of a command's output files, held against each other and against its inputs before any work begins.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <set>
#include <string>
#include <vector>

#include "host/problem.h"
#include "host/recipe/checked_recipe.h"

namespace narvo::tools
{

/// Files are the same when they are one file behind all links, or, where they are not there yet, would be.
class OutputNames
{
public:
    /// A file that is read; an empty name is none.
    void AddInput(const std::filesystem::path& file);
    /// A recipe file with the painted images that its recipes name.
    void AddRecipe(const std::filesystem::path& file, const std::vector<CheckedRecipe>& recipes);
    /// Files that are to be written, PREFIX followed by each ending, for what `owner` names.
    void AddOutputs(const std::string& owner, const std::string& prefix,
                    std::initializer_list<const char*> endings = {""});

    /// @throws HostError naming every output that is an input, and every two owners that would write one file
    void Check() const;

private:
    /// What a file is known by.
    static std::string IdentityOf(const std::filesystem::path& file);

    struct Output
    {
        std::string owner;
        std::filesystem::path file;
    };

    std::set<std::string> m_inputs;
    std::vector<Output> m_outputs;
};

/// The painted images that the recipes of a file name.
std::vector<std::filesystem::path> PaintedImages(const std::filesystem::path& file,
                                                 const std::vector<CheckedRecipe>& recipes);

} // namespace narvo::tools
