// SPDX-License-Identifier: MIT
// The parts of the check of a recipe, one file for each subject, and what they share. For these files alone: what
// others may ask is recipe_check.h.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "host/problem.h"
#include "host/recipe/recipe.h"
#include "host/recipe/recipe_fields.h"

namespace narvo
{

using Problems = std::vector<Problem>;

constexpr double dPitchesInRegion = 3.0; // a compare reaches one pitch, its partner a second, the middle needs a third

/// "1 to 5 pixels".
std::string RangeText(double low, double high, const char* unit);
std::string RectText(const CRect& rect);

/// A field that has been found wrong is not told of again.
void AddOnce(Problem problem, Problems& found);
/// AddOnce unless the rule holds.
void Demand(bool holds, Problem problem, Problems& found);

/// Whether the recipe's thresholds come from zones.
bool HasZones(const Recipe& recipe);
/// Whether one of a zone's comparisons at the short period goes along an axis or the tilt.
bool VerifiesAlong(const ZoneSettings& zone, int along);
/// Whether some zone verifies by tables along an axis or the tilt.
bool VerifiesByTables(const Recipe& recipe, int along);

/// Ranges of the fields that the kind reads; the others stay at their defaults.
template <typename Owner>
void CheckRanges(std::span<const Field<Owner>> fields, Kind kind, const Owner& owner, const std::string& prefix,
                 Problems& found)
{
    static const Owner defaults;
    for (const Field<Owner>& field : fields)
    {
        if (FindField(fields, field.path, kind) != &field)
            continue;
        const std::string path = prefix + std::string(field.path);
        if ((field.kinds & SetOf(kind)) != 0)
        {
            if (!IsInRange(field, owner))
                found.push_back({path, ValueText(field, owner), AllowedText(field)});
        }
        else if (ValueText(field, owner) != ValueText(field, defaults))
            found.push_back({path, ValueText(field, owner),
                             "left out in " + std::string(KindName(kind)) + ", which does not read it"});
    }
}

/// Which kernel the settings select in a direction, and whether it reads all that is set.
void CheckKernel(const Recipe& recipe, Direction direction, Problems& found);

/// The section `camera`.
void CheckCamera(const Recipe& recipe, Problems& found);
/// The measures of texture mode.
void CheckTexture(const Recipe& recipe, Problems& found);
/// The vectors of lattice mode.
void CheckLattice(const Recipe& recipe, Problems& found);

/// A region that is no rectangle.
void CheckShape(const Recipe& recipe, Problems& found);
/// The corners of such a region in an image of this size.
void CheckCorners(const Recipe& recipe, int width, int height, Problems& found);

/// The zones, their verification, and the painted cells or maps that lay them out.
void CheckZones(const Recipe& recipe, Problems& found);

/// The brightest value that sums of 3 by 3 pixels compare without leaving 16 bits: they take 144 units for a grey
/// level.
constexpr int nGreyLimitOf9 = 227;

/// The grey level as which brighter values count. 255 sets no limit of its own and gives way to nGreyLimitOf9.
int GreyLimitOf(const Recipe& recipe);

} // namespace narvo
