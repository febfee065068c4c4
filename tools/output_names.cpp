// SPDX-License-Identifier: MIT
// Comparison of files by what they are known by.
#include "tools/output_names.h"

#include <map>
#include <utility>

#include <sys/stat.h>

#include "host/file/output_file.h"
#include "tools/image_options.h"

namespace narvo::tools
{

namespace fs = std::filesystem;

std::string OutputNames::IdentityOf(const fs::path& file)
{
    struct stat status;
    if (stat(file.c_str(), &status) == 0)
        return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    std::error_code error;
    const fs::path whole = fs::weakly_canonical(FollowLinks(file), error);
    return error ? file.lexically_normal().string() : whole.string();
}

void OutputNames::AddInput(const fs::path& file)
{
    if (!file.empty())
        m_inputs.insert(IdentityOf(file));
}

void OutputNames::AddRecipe(const fs::path& file, const std::vector<CheckedRecipe>& recipes)
{
    AddInput(file);
    for (const fs::path& painted : PaintedImages(file, recipes))
        AddInput(painted);
}

void OutputNames::AddOutputs(const std::string& owner, const std::string& prefix,
                             std::initializer_list<const char*> endings)
{
    for (const char* ending : endings)
        m_outputs.push_back({owner, prefix + ending});
}

void OutputNames::Check() const
{
    std::vector<Problem> found;
    std::set<std::string> inputs = m_inputs;
    for (const fs::path& field : FieldFilesByOption())
        inputs.insert(IdentityOf(field));
    std::map<std::string, const Output*> taken;
    std::set<std::pair<std::string, std::string>> reported; // one problem for each two owners
    for (const Output& output : m_outputs)
    {
        std::error_code error;
        if (fs::exists(output.file, error) && !fs::is_regular_file(output.file, error))
            continue; // a device or a stream has no contents to lose
        const std::string identity = IdentityOf(output.file);
        const std::string field = "file " + output.file.string();
        if (inputs.contains(identity))
            found.push_back({field, "to be written, but it is an input", "output names that are no input's"});
        const auto [other, first] = taken.emplace(identity, &output);
        if (!first && reported.emplace(other->second->owner, output.owner).second)
            found.push_back({field, "to be written for " + other->second->owner + " and for " + output.owner,
                             "output names that differ, or a run for each"});
    }
    ThrowIfAny(std::move(found));
}

std::vector<fs::path> PaintedImages(const fs::path& file, const std::vector<CheckedRecipe>& recipes)
{
    std::vector<fs::path> painted;
    for (const Recipe& recipe : recipes)
        for (const std::string& name : {recipe.zoneImageFile, recipe.classImageFile, recipe.deadImageFile,
                                        recipe.flatFieldFile, recipe.darkFieldFile})
            if (!name.empty())
                painted.push_back(file.parent_path() / name);
    return painted;
}

} // namespace narvo::tools
