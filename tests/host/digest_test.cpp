// SPDX-License-Identifier: MIT
// Digests: of bytes however they come, of files, and of every part of a recipe.
#include "host/result/digest.h"

#include <fstream>
#include <numeric>
#include <set>

#include "host/host_test_help.h"
#include "host/zones/region_maps.h"

namespace narvo::test
{

namespace
{

std::string TextOf(const std::string& bytes)
{
    Digest digest;
    digest.Add(bytes.data(), bytes.size());
    return digest.Text();
}

} // namespace

TEST(Digest, CuttingMakesNoDifferenceAndEveryByteDoes)
{
    std::string bytes(100, '\0');
    std::iota(bytes.begin(), bytes.end(), '\1');
    const std::string whole = TextOf(bytes);
    EXPECT_EQ(whole.size(), 16U);
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut)
    {
        Digest digest;
        digest.Add(bytes.data(), cut);
        digest.Add(bytes.data() + cut, bytes.size() - cut);
        EXPECT_EQ(digest.Text(), whole) << cut;
    }
    std::set<std::string> seen = {whole};
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        std::string changed = bytes;
        changed[i] ^= 1;
        EXPECT_TRUE(seen.insert(TextOf(changed)).second) << i;
    }
}

TEST(Digest, LengthCountsWhereTheBytesAreZero)
{
    std::set<std::string> seen;
    for (std::size_t length = 0; length < 40; ++length)
        EXPECT_TRUE(seen.insert(TextOf(std::string(length, '\0'))).second) << length;
}

TEST(Digest, OfAFileIsThatOfItsBytes)
{
    const TestFolder folder;
    const std::string bytes(3000001, 'x');
    std::ofstream(folder / "a", std::ios::binary) << bytes;
    EXPECT_EQ(DigestOfFile(folder / "a"), TextOf(bytes));
    EXPECT_EQ(DigestOfFile(folder / "none"), "");
    EXPECT_EQ(DigestOfFile(folder.Path()), "");
}

TEST(Digest, OfRecipesSeesFieldsPaintedImagesAndMaps)
{
    std::set<std::string> seen;
    Recipe recipe = SmallestParsed();
    EXPECT_TRUE(seen.insert(DigestOfRecipes({CheckedRecipe(recipe)})).second);
    EXPECT_FALSE(seen.insert(DigestOfRecipes({CheckedRecipe(SmallestParsed())})).second);
    EXPECT_TRUE(seen.insert(DigestOfRecipes({CheckedRecipe(recipe), CheckedRecipe(recipe)})).second);
    recipe.minArea = 2;
    EXPECT_TRUE(seen.insert(DigestOfRecipes({CheckedRecipe(recipe)})).second);
    recipe.zones = {{.index = 0}, {.index = 1}};
    recipe.zoneImage = GreyImage(21, 31, 0);
    EXPECT_TRUE(seen.insert(DigestOfRecipes({CheckedRecipe(recipe)})).second);
    recipe.zoneImage.Row(30)[20] = 1;
    EXPECT_TRUE(seen.insert(DigestOfRecipes({CheckedRecipe(recipe)})).second);
    recipe.zoneImage = GreyImage();
    auto maps = std::make_shared<RegionMaps>(5, 4);
    recipe.maps = maps;
    EXPECT_TRUE(seen.insert(DigestOfRecipes({CheckedRecipe(recipe)})).second);
    const std::vector<short> values(20, 7);
    maps->Set(RegionMaps::Map_Offset, values.data(), 5);
    EXPECT_TRUE(seen.insert(DigestOfRecipes({CheckedRecipe(recipe)})).second);
}

} // namespace narvo::test
