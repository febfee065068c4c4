// SPDX-License-Identifier: MIT
// Recipes that are looked into, compared, taken apart and changed, and the table of their fields.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <narvo/narvohost.h>

#include "library/host_pictures.h"
#include "support/test_folder.h"

namespace narvo::test
{

namespace
{

const char* const szTwoRegions = R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24},
    "threshold": {"base": 20}, "regions": [{"name": "left", "min_area": 3}, {"name": "right", "pitch": {"x": 40.5}}]})";

RecipeDraft ZoneDraft()
{
    RecipeDraft draft;
    draft.Set("mode", "zone").Set("pitch.x", 32).Set("pitch.y", 24);
    return draft;
}

std::string FirstField(const std::vector<Problem>& problems)
{
    return problems.empty() ? "" : problems.front().field;
}

} // namespace

TEST(HostRecipe, ShowsItsFieldsByName)
{
    const Recipe recipe = Recipe::FromText(szTwoRegions);
    EXPECT_EQ(recipe.Value("pitch.x"), "32.0");
    EXPECT_EQ(recipe.Value("pitch.x", 1), "40.5");
    EXPECT_EQ(recipe.Value("pitch", 1), R"({"x":40.5,"y":24.0})");
    EXPECT_EQ(recipe.Value("name", 1), R"("right")");
    EXPECT_EQ(recipe.Summary(1), "pixel mode, pitch 40.5 by 24 pixels");
    for (const char* none : {"", ".", "pitch.", "pitch.z", "min_area.x", "zones.list.0"})
        EXPECT_EQ(FirstField(Attempt([&] { recipe.Value(none); })), "field") << none;
    EXPECT_EQ(FirstField(Attempt([&] { recipe.Value("pitch.x", 2); })), "region");
    EXPECT_EQ(FirstField(Attempt([&] { recipe.Summary(2); })), "region");
}

TEST(HostRecipe, RegionsAreRecipesOfTheirOwn)
{
    const Recipe recipe = Recipe::FromText(szTwoRegions);
    const Recipe right = recipe.Region(1);
    EXPECT_EQ(right.Regions(), 1U);
    EXPECT_EQ(right.Value("pitch.x"), "40.5");
    EXPECT_EQ(FirstField(Attempt([&] { recipe.Region(2); })), "region");
    EXPECT_TRUE(right == recipe.Region(1));
    EXPECT_TRUE(right != recipe.Region(0));
    EXPECT_TRUE(right != recipe);
    EXPECT_TRUE(Recipe::FromText(right.Text()) == right);
}

TEST(HostRecipe, DraftOfARecipeChangesSomeOfIt)
{
    const Picture8 cell(32, 24, 2);
    const Picture8 other(32, 24, 3);
    RecipeDraft draft = ZoneDraft();
    draft.SetJson("zones.list", R"([{"index": 2, "offset": 20}, {"index": 3, "offset": 20}])");
    const Recipe recipe = draft.SetZoneImage(cell.Pixels()).Check();
    const Recipe changed = RecipeDraft::Of(recipe).Set("min_area", 7).Check();
    EXPECT_EQ(changed.Value("min_area"), "7");
    EXPECT_TRUE(ImageOf(changed, PaintedImage::Zones).has_value());
    EXPECT_TRUE(changed != recipe);
    EXPECT_TRUE(RecipeDraft::Of(changed).Unset("min_area").Unset("no.such.field").Check() == recipe);
    EXPECT_TRUE(RecipeDraft::Of(recipe).SetZoneImage(other.Pixels()).Check() != recipe);
    // A file that is named anew is read.
    EXPECT_EQ(FirstField(Attempt([&] { RecipeDraft::Of(recipe).Set("zones.image", "no_such_file.png").Check(); })),
              "zones.image");
    EXPECT_EQ(FirstField(Attempt([&] { RecipeDraft::Of(recipe, 1); })), "region");
    EXPECT_EQ(FirstField(Attempt([&] { RecipeDraft::Of(recipe).Set("min_area", 0).Check(); })), "min_area");
}

TEST(HostRecipe, DraftsComeFromTextAndFiles)
{
    const Recipe recipe = ZoneDraft().SetJson("zones.list", R"([{"index": 0, "offset": 9}])").Check();
    EXPECT_TRUE(RecipeDraft::FromText(recipe.Text()).Check() == recipe);
    const TestFolder own;
    const std::filesystem::path& folder = own.Path();
    std::filesystem::create_directories(folder / "images");
    recipe.Save(folder / "r.json");
    EXPECT_TRUE(RecipeDraft::FromFile(folder / "r.json").Check() == recipe);

    // Image files are looked up beside the file, or where the call says.
    const Picture8 cell(32, 24, 0);
    SaveImage(folder / "images" / "cell.png", {cell.pixels.data(), cell.width, cell.height});
    std::ofstream(folder / "r.json")
        << RecipeDraft::Of(recipe).Set("zones.image", "cell.png").SetZoneImage(cell.Pixels()).Check().Text();
    EXPECT_EQ(FirstField(Attempt([&] { RecipeDraft::FromFile(folder / "r.json").Check(); })), "zones.image");
    EXPECT_TRUE(ImageOf(RecipeDraft::FromFile(folder / "r.json", folder / "images").Check(), PaintedImage::Zones));
    EXPECT_TRUE(ImageOf(Recipe::FromFile(folder / "r.json", folder / "images"), PaintedImage::Zones));
    EXPECT_EQ(FirstField(Attempt([&] { Recipe::FromFile(folder / "r.json"); })), "zones.image");
    EXPECT_FALSE(Attempt([&] { RecipeDraft::FromFile(folder / "none.json"); }).empty());
    EXPECT_FALSE(Attempt([&] { RecipeDraft::FromText("{"); }).empty());
    EXPECT_FALSE(Attempt([&] { RecipeDraft::FromText("[1]").Check(); }).empty());
    EXPECT_EQ(RecipeDraft::FromText("[1]")
                  .Set("mode", "pixel")
                  .Set("pitch.x", 9)
                  .Set("pitch.y", 9)
                  .Set("threshold.base", 9)
                  .Set("version", 1)
                  .Check()
                  .Value("pitch.x"),
              "9.0");
}

TEST(HostRecipe, HoldsWhatWasPaintedAndMeasured)
{
    Picture8 dead(200, 100);
    dead.Fill({10, 20, 30, 40}, 255);
    const std::vector<std::uint8_t> flat = {200, 100, 50, 201, 101, 51};
    const std::vector<std::uint16_t> dark = {1, 2, 3, 4, 5, 6};
    RecipeDraft draft = ZoneDraft();
    draft.SetDeadImage(dead.Pixels()).SetFlatField({flat.data(), 2, 1, 3});
    const Recipe recipe = draft.Check();
    const std::optional<Image> held = ImageOf(recipe, PaintedImage::Dead);
    ASSERT_TRUE(held.has_value());
    EXPECT_EQ(held->Width(), 200);
    EXPECT_EQ(static_cast<const std::uint8_t*>(held->Pixels().pixels)[25 * held->Pixels().stride + 15], 255);
    EXPECT_FALSE(ImageOf(recipe, PaintedImage::Zones).has_value());
    const FieldPixels field = FieldOf(recipe, LightField::Flat);
    EXPECT_EQ(field.bytes, flat);
    EXPECT_EQ(field.channels, 3);
    EXPECT_TRUE(FieldOf(recipe, LightField::Dark).bytes.empty());
    const Recipe deep = ZoneDraft().SetDarkField({dark.data(), 6, 1, 1, 16}).Check();
    EXPECT_EQ(FieldOf(deep, LightField::Dark).bits, 16);
    EXPECT_EQ(FieldOf(deep, LightField::Dark).bytes.size(), 12U);
    EXPECT_EQ(FirstField(Attempt([&] { ZoneDraft().SetFlatField({flat.data(), 1, 1, 4}); })), "flat.channels");
    EXPECT_EQ(FirstField(Attempt([&] { ZoneDraft().SetDarkField({nullptr, 1, 1}); })), "dark.pixels");
    EXPECT_FALSE(Attempt([&] { ImageOf(recipe, static_cast<PaintedImage>(7)); }).empty());
    EXPECT_FALSE(Attempt([&] { FieldOf(recipe, static_cast<LightField>(7)); }).empty());
    EXPECT_FALSE(Attempt([&] { MapOf(recipe, static_cast<RegionMap>(-1)); }).empty());
    EXPECT_EQ(FirstField(Attempt([&] { ImageOf(recipe, PaintedImage::Dead, 1); })), "region");
    // The image outlives its recipe.
    std::optional<Image> kept;
    {
        RecipeDraft second = ZoneDraft();
        kept = ImageOf(second.SetDeadImage(dead.Pixels()).Check(), PaintedImage::Dead);
    }
    EXPECT_EQ(kept->Height(), 100);
}

TEST(HostRecipe, MapsAreReadDroppedAndLeftOutOfFiles)
{
    const std::vector<std::int16_t> offsets(200U * 100, 25);
    RecipeDraft draft = ZoneDraft();
    const Recipe recipe = draft.SetRegionMap(RegionMap::Offset, {offsets.data(), 200, 100}).Check();
    const MapValues map = MapOf(recipe, RegionMap::Offset);
    ASSERT_NE(map.values, nullptr);
    EXPECT_EQ(map.width, 200);
    EXPECT_EQ(map.values[map.stride * 99 + 199], 25);
    EXPECT_EQ(MapOf(recipe, RegionMap::Knee).values, nullptr);
    const Recipe without = RecipeDraft::Of(recipe).DropRegionMaps().Check();
    EXPECT_EQ(MapOf(without, RegionMap::Offset).values, nullptr);
    EXPECT_TRUE(without != recipe);
    EXPECT_TRUE(RecipeDraft::Of(recipe).Check() == recipe);

    const TestFolder folder;
    const std::filesystem::path file = folder / "maps.json";
    EXPECT_EQ(FirstField(Attempt([&] { recipe.Save(file); })), "recipe");
    recipe.SaveWithoutMaps(file);
    EXPECT_TRUE(Recipe::FromFile(file) == without);
    EXPECT_FALSE(Attempt([&] { Recipe::FromText(szTwoRegions).SaveWithoutMaps(file); }).empty());
}

TEST(HostRecipe, SaysWhereItInspects)
{
    const Recipe recipe =
        ZoneDraft()
            .SetJson("region", R"({"shape": "rectangle", "left": 8, "top": 4, "right": 180, "bottom": 90})")
            .Check();
    const Box box = InspectedBox(recipe, 200, 100);
    EXPECT_EQ(std::vector<int>({box.left, box.top, box.right, box.bottom}), std::vector<int>({8, 4, 180, 90}));
    EXPECT_EQ(InspectedBox(ZoneDraft().Check(), 200, 100).right, 200);
    EXPECT_EQ(FirstField(Attempt([&] { InspectedBox(recipe, 0, 100); })), "width");
}

TEST(HostRecipeFields, DescribeEveryValueOfARecipe)
{
    const std::vector<RecipeField>& fields = RecipeFields();
    EXPECT_GT(fields.size(), 50U);
    EXPECT_EQ(&RecipeFields(), &fields);
    std::set<std::string> paths;
    for (const RecipeField& field : fields)
    {
        paths.insert(field.path);
        EXPECT_FALSE(field.meaning.empty()) << field.path;
        EXPECT_FALSE(field.allowed.empty()) << field.path;
        EXPECT_FALSE(field.modes.empty()) << field.path;
        EXPECT_EQ(field.type == FieldType::Word, !field.words.empty()) << field.path;
        const bool number = field.type == FieldType::Whole || field.type == FieldType::Real;
        EXPECT_EQ(number, field.high > 0.0) << field.path;
        EXPECT_LE(field.low, field.high) << field.path;
    }
    for (const char* known : {"pitch.x", "mode", "min_area", "zones.list[].gain", "texture.features[].size", "region"})
        EXPECT_EQ(paths.count(known), 1U) << known;
}

TEST(HostRecipeFields, TextSchemaAndBlockNameThem)
{
    const std::string text = RecipeFieldsText();
    const std::string schema = RecipeSchemaText();
    const std::string block = BlockFieldsText();
    for (const RecipeField& field : RecipeFields())
    {
        const std::string last = field.path.substr(field.path.rfind('.') + 1);
        EXPECT_NE(schema.find('"' + last.substr(0, last.find('[')) + '"'), std::string::npos) << field.path;
        EXPECT_NE(text.find(last), std::string::npos) << field.path;
    }
    EXPECT_EQ(schema.substr(0, 1) + schema.back(), "{}");
    EXPECT_NE(schema.find("https://json-schema.org/draft/2020-12/schema"), std::string::npos);
    EXPECT_NE(block.find("dScanPitch"), std::string::npos);
    EXPECT_NE(block.find("pitch.x"), std::string::npos);
    EXPECT_EQ(text.back(), '\n');
}

TEST(HostRecipeFields, FallbacksAreWhatHoldsWithoutTheField)
{
    // Of every field that a small recipe of its mode leaves out.
    const Recipe recipe = Recipe::FromText(R"({"version": 1, "mode": "pixel", "pitch": {"x": 32, "y": 24},
                                               "threshold": {"base": 20}})");
    int compared = 0;
    for (const RecipeField& field : RecipeFields())
    {
        const bool simple = field.type != FieldType::List && field.type != FieldType::Object;
        const bool pixel = std::count(field.modes.begin(), field.modes.end(), "pixel") > 0;
        if (!simple || !pixel || !field.required.empty() || field.path.find('[') != std::string::npos ||
            field.path == "mode" || field.path == "threshold.base" || field.path == "version")
            continue;
        EXPECT_EQ(recipe.Value(field.path), field.fallback) << field.path;
        ++compared;
    }
    EXPECT_GT(compared, 20);
}

} // namespace narvo::test
