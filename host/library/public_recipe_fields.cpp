// SPDX-License-Identifier: MIT
// The table of a recipe's fields in the public form.
#include "narvo/host_recipe_fields.h"

#include <array>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include <nlohmann/json.hpp>

#include "host/recipe/block_fields.h"
#include "host/recipe/recipe_fields.h"
#include "host/recipe/recipe_file.h"
#include "host/recipe/recipe_schema.h"

namespace narvo::v1
{

namespace
{

constexpr std::array<Kind, 10> kinds = {Kind_Zone,     Kind_Pixel,   Kind_Float, Kind_Trapezium, Kind_FreeForm,
                                        Kind_Binarise, Kind_Average, Kind_Asg,   Kind_Texture,   Kind_Lattice};

std::vector<std::string> ModesOf(KindSet set)
{
    constexpr std::size_t nPrefix = std::string_view("modes ").size();
    std::vector<std::string> modes;
    for (const Kind kind : kinds)
        if ((set & SetOf(kind)) != 0)
            modes.push_back(KindsText(SetOf(kind)).substr(nPrefix));
    return modes;
}

template <typename Owner>
RecipeField PublicField(const Field<Owner>& field, const std::string& prefix)
{
    static const Owner defaults{};
    RecipeField made;
    made.path = prefix + std::string(field.path);
    made.unit = field.unit;
    made.allowed = AllowedText(field);
    made.required = ModesOf(field.required);
    made.modes = ModesOf(field.kinds);
    made.meaning = field.meaning;
    std::visit(
        [&](const auto& member)
        {
            using Member = std::decay_t<decltype(member)>;
            if constexpr (std::is_same_v<Member, Choice<Owner>>)
            {
                made.type = FieldType::Word;
                for (const std::string_view word : member.words)
                    made.words.emplace_back(word);
                made.fallback = nlohmann::json(ValueText(field, defaults)).dump();
            }
            else
            {
                if constexpr (std::is_same_v<Member, double Owner::*>)
                    made.type = FieldType::Real;
                else if constexpr (std::is_same_v<Member, bool Owner::*>)
                    made.type = FieldType::Switch;
                else if constexpr (std::is_same_v<Member, std::string Owner::*>)
                    made.type = FieldType::File;
                if (made.type == FieldType::Whole || made.type == FieldType::Real)
                {
                    made.low = field.low;
                    made.high = field.high;
                }
                made.fallback = nlohmann::json(defaults.*member).dump();
            }
        },
        field.member);
    return made;
}

RecipeField PublicField(const StructuredField& field)
{
    RecipeField made;
    made.path = field.path;
    made.type = field.content.starts_with("list") ? FieldType::List : FieldType::Object;
    made.fallback = field.fallback;
    made.allowed = field.content;
    made.required = ModesOf(field.required);
    made.modes = ModesOf(field.kinds);
    made.meaning = field.meaning;
    return made;
}

std::vector<RecipeField> AllFields()
{
    std::vector<RecipeField> fields;
    for (const Field<narvo::Recipe>& field : narvo::RecipeFields())
        fields.push_back(PublicField(field, ""));
    for (const StructuredField& field : StructuredFields())
        fields.push_back(PublicField(field));
    for (const Field<ZoneSettings>& field : ZoneFields())
        fields.push_back(PublicField(field, "zones.list[]."));
    for (const Field<TextureFeature>& field : TextureFields())
        fields.push_back(PublicField(field, "texture.features[]."));
    return fields;
}

} // namespace

const std::vector<RecipeField>& RecipeFields()
{
    static const std::vector<RecipeField> fields = AllFields();
    return fields;
}

std::string RecipeFieldsText()
{
    return DescribeRecipeFields();
}

std::string RecipeSchemaText()
{
    return RecipeSchema().dump(2);
}

std::string BlockFieldsText()
{
    return DescribeBlockFields();
}

} // namespace narvo::v1
