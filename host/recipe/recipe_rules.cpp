// SPDX-License-Identifier: MIT
// What the parts of the check share.
#include "host/recipe/recipe_rules.h"

#include <algorithm>
#include <utility>

namespace narvo
{

std::string RangeText(double low, double high, const char* unit)
{
    return FormatNumber(low) + " to " + FormatNumber(high) + " " + unit;
}

std::string RectText(const CRect& rect)
{
    return std::to_string(rect.left) + ", " + std::to_string(rect.top) + " to " + std::to_string(rect.right) + ", " +
           std::to_string(rect.bottom);
}

void AddOnce(Problem problem, Problems& found)
{
    if (std::none_of(found.begin(), found.end(), [&](const Problem& other) { return other.field == problem.field; }))
        found.push_back(std::move(problem));
}

void Demand(bool holds, Problem problem, Problems& found)
{
    if (!holds)
        AddOnce(std::move(problem), found);
}

bool HasZones(const Recipe& recipe)
{
    return (SetOf(recipe.GetKind()) & (SetOf(Kind_Zone) | SetOf(Kind_Asg))) != 0;
}

bool VerifiesAlong(const ZoneSettings& zone, int along)
{
    return std::any_of(zone.verifyChecks.begin(), zone.verifyChecks.end(),
                       [&](const VerifyCheck& check) { return check.along == along; });
}

bool VerifiesByTables(const Recipe& recipe, int along)
{
    return std::any_of(recipe.zones.begin(), recipe.zones.end(),
                       [&](const ZoneSettings& zone)
                       { return zone.verifyMode == VerifyMode_Table && VerifiesAlong(zone, along); });
}

int GreyLimitOf(const Recipe& recipe)
{
    const bool nine = recipe.GetKind() == Kind_Float && recipe.windowWidth == 3 && recipe.windowHeight == 3;
    return nine && recipe.greyLimit == 255 ? nGreyLimitOf9 : recipe.greyLimit;
}

} // namespace narvo
