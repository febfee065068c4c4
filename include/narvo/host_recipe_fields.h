// SPDX-License-Identifier: MIT
// The fields that a recipe may have, as docs/recipe.md lists them, for programs that show or edit recipes: as records,
// as text, and as a schema.
#pragma once

#include <string>
#include <vector>

#include "narvo/host_export.h"

namespace narvo::v1
{

/// What a field holds.
enum class FieldType : int
{
    Whole,  ///< a whole number
    Real,   ///< a number
    Switch, ///< true or false
    Word,   ///< one of `words`
    File,   ///< the name of an image file
    List,   ///< a JSON list
    Object  ///< a JSON object
};

/// One field. A path may come several times with different ranges or defaults, each for its `modes`.
struct RecipeField
{
    std::string path; ///< a dot between the levels; "zones.list[].gain" is that of each entry of the list
    FieldType type = FieldType::Whole; ///< what it holds
    std::string unit;                  ///< "pixels", "grey levels"; empty where there is none
    double low = 0.0;                  ///< of numbers, the lowest that is allowed
    double high = 0.0;                 ///< of numbers, the highest that is allowed
    std::vector<std::string> words;    ///< of FieldType::Word alone
    std::string fallback;              ///< what holds where it is left out: JSON, but of lists and objects in words
    std::string allowed;               ///< type, range and unit in words, as problems have them
    std::vector<std::string> required; ///< modes that must have it
    std::vector<std::string> modes;    ///< modes that read it; the others refuse it, or leave it at its default
    std::string meaning;               ///< half a sentence
};

/// All of them, in the order of the reference. @throws std::bad_alloc
NARVOHOST_API const std::vector<RecipeField>& RecipeFields();

/// The same for a person, a line each, as the program's `narvo recipe` prints them.
NARVOHOST_API std::string RecipeFieldsText();
/// A JSON schema of recipes, draft 2020-12, for editors: every field with type, range, default and meaning, and which
/// fields each mode needs and reads. The rules that tie numbers together are Recipe's alone.
NARVOHOST_API std::string RecipeSchemaText();
/// For programs that call the engine: the fields of its parameter block, a line each, with those of a recipe that set
/// them, or why there are none.
NARVOHOST_API std::string BlockFieldsText();

} // namespace narvo::v1
