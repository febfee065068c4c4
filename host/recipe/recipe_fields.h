// SPDX-License-Identifier: MIT
// The table of the recipe's scalar fields: name in the JSON form, unit, range, meaning and place in the structure. The
// reader, the writer, the range checks and the printed reference all go by it.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/recipe/recipe.h"

namespace narvo
{

/// What a pitch may be, pixels.
constexpr double dPitchLow = 1.0;
constexpr double dPitchHigh = 16384.0;

/// An int that the JSON form writes as one of a few words; the value is the word's place.
template <typename Owner>
struct Choice
{
    int Owner::*member;
    std::span<const std::string_view> words;
};

template <typename Owner>
using FieldMember = std::variant<int Owner::*, double Owner::*, bool Owner::*, std::string Owner::*, Choice<Owner>>;

/// A set of kinds, one bit each.
using KindSet = unsigned;
constexpr KindSet SetOf(Kind kind)
{
    return 1U << kind;
}

constexpr KindSet nAllKinds = SetOf(Kind_Lattice) * 2 - 1; // Kind_Lattice is the last

/// One scalar field. Ranges include both ends and mean something for numbers only. A path may have several rows, for
/// different kinds.
template <typename Owner>
struct Field
{
    std::string_view path; ///< dotted name
    std::string_view unit; ///< empty where there is none
    FieldMember<Owner> member;
    double low;
    double high;
    KindSet required; ///< kinds that have no default for it
    KindSet kinds;    ///< kinds that read it; in the others it stays at its default
    std::string_view meaning;
};

/// A list or rectangle: read and written by code of its own. As with scalar fields, a path may have several rows.
struct StructuredField
{
    std::string_view path;
    std::string_view content;  ///< what it is written as, with units
    std::string_view fallback; ///< what holds where it is left out
    KindSet required;          ///< kinds that have no default for it
    KindSet kinds;             ///< kinds that read it; in the others it is left out
    std::string_view meaning;
};

/// A table of pitches or shifts in pixels, one for each 16 rows or columns of the image.
struct TableField
{
    std::string_view path;
    std::vector<double> Recipe::*member;
    bool byRows;
    bool shifts;
};

/// Fields of the recipe but for lists and rectangles.
std::span<const Field<Recipe>> RecipeFields();
/// Fields of an entry of zones.list.
std::span<const Field<ZoneSettings>> ZoneFields();

/// Fields of an entry of texture.features.
std::span<const Field<TextureFeature>> TextureFields();

/// Lists and rectangles of the recipe.
std::span<const StructuredField> StructuredFields();
/// Lists of an entry of zones.list.
std::span<const StructuredField> ZoneStructuredFields();
/// Those of them that are tables.
std::span<const TableField> TableFields();
/// The table of a path; null where it has none.
const TableField* FindTable(std::string_view path);
/// Words for the shape of a region, in the order of RegionShape.
std::span<const std::string_view> RegionShapeWords();
/// Words for the direction of a verification check, in the order of VerifyAlong.
std::span<const std::string_view> VerifyAlongWords();

/// "pixel mode", "float mode with a polygon".
std::string_view KindName(Kind kind);
/// "modes pixel, float", or empty for all kinds.
std::string KindsText(KindSet kinds);

/// The row of a path that a kind goes by: its own, or else any; null for an unknown path.
template <typename Owner>
const Field<Owner>* FindField(std::span<const Field<Owner>> fields, std::string_view path, Kind kind)
{
    const Field<Owner>* found = nullptr;
    for (const Field<Owner>& field : fields)
        if (field.path == path && (found == nullptr || (field.kinds & SetOf(kind)) != 0))
            found = &field;
    return found;
}

/// "0 to 255 grey levels", "true or false", "horizontal or vertical".
template <typename Owner>
std::string AllowedText(const Field<Owner>& field);

/// The value that `owner` holds, as the JSON form would show it.
template <typename Owner>
std::string ValueText(const Field<Owner>& field, const Owner& owner);

/// Whether the value that `owner` holds lies in the field's range.
template <typename Owner>
bool IsInRange(const Field<Owner>& field, const Owner& owner);

} // namespace narvo
