// SPDX-License-Identifier: MIT
// Measures of texture mode: their ranges, and limits that lie above what is typical.
#include <string>

#include "host/recipe/recipe_rules.h"

namespace narvo
{

void CheckTexture(const Recipe& recipe, Problems& found)
{
    const std::string list = "texture.features";
    if (recipe.textureFeatures.empty() ||
        recipe.textureFeatures.size() > static_cast<std::size_t>(nTextureFeatureLimit))
        AddOnce({list, std::to_string(recipe.textureFeatures.size()) + " measures",
                 "1 to " + std::to_string(nTextureFeatureLimit) + " measures in texture mode"},
                found);
    bool any = false;
    for (std::size_t i = 0; i < recipe.textureFeatures.size(); ++i)
    {
        const TextureFeature& feature = recipe.textureFeatures[i];
        const std::string prefix = list + "[" + std::to_string(i) + "].";
        CheckRanges(TextureFields(), recipe.GetKind(), feature, prefix, found);
        if (const int fold = feature.fold; fold != 1 && fold != 2 && fold != 4 && fold != 8)
            AddOnce({prefix + "fold", std::to_string(fold), "1, 2, 4 or 8"}, found);
        const auto check = [&](const char* field, double typical, double limit)
        {
            any = any || limit > 0.0;
            Demand(limit == 0.0 || limit > typical,
                   {prefix + field + ".limit", FormatNumber(limit),
                    "0, or above " + (prefix + field) + ".typical, " + FormatNumber(typical)},
                   found);
        };
        check("bright", feature.brightTypical, feature.brightLimit);
        check("dark", feature.darkTypical, feature.darkLimit);
        check("edge.bright", feature.edgeBrightTypical, feature.edgeBrightLimit);
        check("edge.dark", feature.edgeDarkTypical, feature.edgeDarkLimit);
    }
    Demand(any || recipe.textureFeatures.empty(),
           {list, "no limit above 0", "a limit in one measure at least, or nothing can be found"}, found);
}

} // namespace narvo
