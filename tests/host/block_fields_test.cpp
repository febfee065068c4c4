// SPDX-License-Identifier: MIT
// The table of the block's fields against the block's header and the recipe's fields: neither can grow alone.
#include "host/recipe/block_fields.h"

#include <algorithm>
#include <fstream>
#include <regex>
#include <set>
#include <sstream>

#include "host/host_test_help.h"
#include "host/recipe/recipe_fields.h"

namespace narvo::test
{

namespace
{

/// Members of the parameter block in their order, reserved ones left out, read from the header's text.
std::vector<std::string> MembersOfTheBlock()
{
    std::ifstream stream(NARVO_BLOCK_HEADER);
    std::stringstream text;
    text << stream.rdbuf();
    std::string code = text.str();
    code = code.substr(code.find("// --- task and image ---"));
    code = code.substr(0, code.find("CConvParam();"));
    code = std::regex_replace(code, std::regex("//[^\n]*"), "");
    const std::regex member(R"(([A-Za-z_][A-Za-z0-9_]*)(\[[A-Za-z0-9]+\])?\s*;)");
    std::vector<std::string> names;
    for (std::sregex_iterator found(code.begin(), code.end(), member), end; found != end; ++found)
        if (const std::string name = (*found)[1]; name.find("Reserved") == std::string::npos)
            names.push_back(name);
    return names;
}

/// All paths of the recipe, those of a zone below zones.list.
std::set<std::string> PathsOfTheRecipe()
{
    std::set<std::string> paths;
    for (const Field<Recipe>& field : RecipeFields())
        paths.insert(std::string(field.path));
    for (const StructuredField& field : StructuredFields())
        paths.insert(std::string(field.path));
    for (const Field<ZoneSettings>& field : ZoneFields())
        paths.insert("zones.list." + std::string(field.path));
    for (const StructuredField& field : ZoneStructuredFields())
        paths.insert("zones.list." + std::string(field.path));
    return paths;
}

std::vector<std::string> Words(std::string_view text)
{
    std::istringstream stream{std::string(text)};
    return {std::istream_iterator<std::string>(stream), {}};
}

} // namespace

TEST(BlockFields, EveryMemberOfTheBlockIsThereInItsOrder)
{
    const std::vector<std::string> members = MembersOfTheBlock();
    ASSERT_GT(members.size(), 80U);
    std::vector<std::string> listed;
    for (const BlockField& field : BlockFields())
        listed.emplace_back(field.name);
    EXPECT_EQ(listed, members);
}

TEST(BlockFields, EveryNamedFieldIsOneOfTheRecipe)
{
    const std::set<std::string> paths = PathsOfTheRecipe();
    for (const BlockField& field : BlockFields())
    {
        for (const std::string& path : Words(field.fields))
            EXPECT_TRUE(paths.contains(path)) << field.name << ": " << path;
        EXPECT_FALSE(field.fields.empty() && field.how.empty()) << field.name;
    }
}

TEST(BlockFields, EveryFieldOfTheRecipeReachesTheBlockOrIsKnownToBeTheHostLayersOwn)
{
    const std::set<std::string> own = {"version", "name", "max_blobs", "min_area", "dead_image", "zones.list"};
    // How images are taken and read, and the modes that fill the block for a comparison of their own.
    const auto isOwn = [&](const std::string& path)
    {
        return own.contains(path) || path.starts_with("image.") || path.starts_with("camera.") ||
               path.starts_with("texture.") || path.starts_with("lattice.");
    };
    std::set<std::string> named;
    for (const BlockField& field : BlockFields())
        for (const std::string& path : Words(field.fields))
            named.insert(path);
    for (const std::string& path : PathsOfTheRecipe())
        EXPECT_TRUE(isOwn(path) || named.contains(path)) << path;
}

TEST(BlockFields, DescriptionHasALineForEach)
{
    const std::string text = DescribeBlockFields();
    EXPECT_EQ(static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')), BlockFields().size());
    EXPECT_THAT(text, testing::HasSubstr("dPixelSizeX: pixel_size.y; the block pairs"));
    EXPECT_THAT(text, testing::HasSubstr("nPairSearchSlack: by the host; read by no kernel"));
}

} // namespace narvo::test
