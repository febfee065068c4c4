// SPDX-License-Identifier: MIT
// The field table in words: names of kinds, what a field allows, what it holds, one line for each field.
#include <array>
#include <sstream>
#include <string>

#include "host/problem.h"
#include "host/recipe/recipe_fields.h"
#include "host/recipe/recipe_file.h"

namespace narvo
{

namespace
{

constexpr std::array<std::string_view, 10> kindNames = {"zone mode",
                                                        "pixel mode",
                                                        "float mode",
                                                        "float mode with a trapezium",
                                                        "float mode with a polygon",
                                                        "binarise mode",
                                                        "average mode",
                                                        "asg mode",
                                                        "texture mode",
                                                        "lattice mode"};
constexpr std::array<std::string_view, 10> kindWords = {
    "zone", "pixel", "float", "float/trapezium", "float/polygon", "binarise", "average", "asg", "texture", "lattice"};

template <typename... Functions>
struct Overload : Functions...
{
    using Functions::operator()...;
};
template <typename... Functions>
Overload(Functions...) -> Overload<Functions...>;

template <typename Owner>
std::string Words(const Choice<Owner>& choice)
{
    std::string text;
    for (std::size_t i = 0; i < choice.words.size(); ++i)
        text += (i == 0 ? "" : i + 1 == choice.words.size() ? " or " : ", ") + std::string(choice.words[i]);
    return text;
}

template <typename Owner>
void DescribeFields(std::span<const Field<Owner>> fields, const Owner& defaults, const std::string& prefix,
                    std::ostream& out)
{
    for (const Field<Owner>& field : fields)
    {
        const std::string kinds = KindsText(field.kinds);
        out << prefix << field.path << ": " << AllowedText(field) << "; "
            << (field.required != 0 ? "required" : "default " + ValueText(field, defaults)) << "; "
            << (kinds.empty() ? "" : kinds + "; ") << field.meaning << '\n';
    }
}

void DescribeStructured(std::span<const StructuredField> fields, const std::string& prefix, std::ostream& out)
{
    for (const StructuredField& field : fields)
    {
        const std::string kinds = KindsText(field.kinds);
        out << prefix << field.path << ": " << field.content << "; "
            << (field.required != 0 ? "required" : "default " + std::string(field.fallback)) << "; "
            << (kinds.empty() ? "" : kinds + "; ") << field.meaning << '\n';
    }
}

} // namespace

std::string_view KindName(Kind kind)
{
    return kindNames[static_cast<std::size_t>(kind)];
}

std::string KindsText(KindSet kinds)
{
    if (kinds == nAllKinds)
        return "";
    std::string text;
    for (std::size_t i = 0; i < kindWords.size(); ++i)
        if ((kinds & SetOf(static_cast<Kind>(i))) != 0)
            text += (text.empty() ? "modes " : ", ") + std::string(kindWords[i]);
    return text;
}

template <typename Owner>
std::string AllowedText(const Field<Owner>& field)
{
    const auto numberText = [&](const char* kind)
    {
        const std::string range = field.low == field.high ? FormatNumber(field.low)
                                                          : FormatNumber(field.low) + " to " + FormatNumber(field.high);
        return kind + range + (field.unit.empty() ? "" : " " + std::string(field.unit));
    };
    return std::visit(Overload{[&](int Owner::*) { return numberText("whole number, "); },
                               [&](double Owner::*) { return numberText(""); },
                               [](bool Owner::*) { return std::string("true or false"); },
                               [&](std::string Owner::*) { return std::string(field.unit) + ", or empty"; },
                               [](const Choice<Owner>& choice) { return Words(choice); }},
                      field.member);
}

template <typename Owner>
std::string ValueText(const Field<Owner>& field, const Owner& owner)
{
    return std::visit(Overload{[&](int Owner::*member) { return std::to_string(owner.*member); },
                               [&](double Owner::*member) { return FormatNumber(owner.*member); },
                               [&](bool Owner::*member) { return std::string(owner.*member ? "true" : "false"); },
                               [&](std::string Owner::*member) { return "\"" + owner.*member + "\""; },
                               [&](const Choice<Owner>& choice)
                               {
                                   const int value = owner.*choice.member;
                                   const bool known = value >= 0 && value < static_cast<int>(choice.words.size());
                                   return known ? std::string(choice.words[static_cast<std::size_t>(value)])
                                                : std::to_string(value);
                               }},
                      field.member);
}

template <typename Owner>
bool IsInRange(const Field<Owner>& field, const Owner& owner)
{
    const auto inside = [&](double value) { return value >= field.low && value <= field.high; };
    return std::visit(Overload{[&](int Owner::*member) { return inside(owner.*member); },
                               [&](double Owner::*member) { return inside(owner.*member); },
                               [](bool Owner::*) { return true; }, [](std::string Owner::*) { return true; },
                               [&](const Choice<Owner>& choice)
                               {
                                   const int value = owner.*choice.member;
                                   return value >= 0 && value < static_cast<int>(choice.words.size());
                               }},
                      field.member);
}

template std::string AllowedText(const Field<Recipe>&);
template std::string AllowedText(const Field<ZoneSettings>&);
template std::string AllowedText(const Field<TextureFeature>&);
template std::string ValueText(const Field<Recipe>&, const Recipe&);
template std::string ValueText(const Field<ZoneSettings>&, const ZoneSettings&);
template std::string ValueText(const Field<TextureFeature>&, const TextureFeature&);
template bool IsInRange(const Field<Recipe>&, const Recipe&);
template bool IsInRange(const Field<ZoneSettings>&, const ZoneSettings&);
template bool IsInRange(const Field<TextureFeature>&, const TextureFeature&);

std::string DescribeRecipeFields()
{
    std::ostringstream out;
    const Recipe defaults;
    DescribeFields(RecipeFields(), defaults, "", out);
    DescribeStructured(StructuredFields(), "", out);
    DescribeFields(ZoneFields(), ZoneSettings{}, "zones.list[].", out);
    DescribeStructured(ZoneStructuredFields(), "zones.list[].", out);
    DescribeFields(TextureFields(), TextureFeature{}, "texture.features[].", out);
    out << "regions: list of objects, each with the fields in which one of several regions differs from those beside "
           "the list\n";
    return out.str();
}

} // namespace narvo
