// The table of the recipe's scalar fields: name in the JSON form, unit, range, meaning and place in the structure. The
// reader, the writer, the range checks and the printed reference all go by it.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "host/recipe.h"

namespace narvo
{

/// An int that the JSON form writes as one of a few words; the value is the word's place.
template <typename Owner>
struct Choice
{
    int Owner::*member;
    std::span<const std::string_view> words;
};

template <typename Owner>
using FieldMember = std::variant<int Owner::*, double Owner::*, bool Owner::*, std::string Owner::*, Choice<Owner>>;

/// One scalar field. Ranges include both ends and mean something for numbers only.
template <typename Owner>
struct Field
{
    std::string_view path; ///< dotted name
    std::string_view unit; ///< empty where there is none
    FieldMember<Owner> member;
    double low;
    double high;
    bool required;
    std::string_view meaning;
};

/// Fields of the recipe but for lists and rectangles.
std::span<const Field<Recipe>> RecipeFields();
/// Fields of an entry of zones.list.
std::span<const Field<ZoneSettings>> ZoneFields();

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
