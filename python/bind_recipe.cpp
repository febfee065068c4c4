// SPDX-License-Identifier: MIT
// The recipe: from dicts, JSON text and files, its fields with their ranges, and its way through pickle.
#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/library/recipe_parts.h"
#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_fields.h"
#include "host/recipe/recipe_file.h"
#include "host/zones/region_maps.h"
#include "python/bind.h"
#include "python/field_array.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/sealed_class.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

using nlohmann::json;
using nlohmann::ordered_json;

// Whole-region maps by their names here.
constexpr std::array<const char*, RegionMaps::nMaps> mapNames = {"offset",       "gain",       "zone", "knee",
                                                                 "upper_offset", "upper_gain", "class"};

/// The values of a map, which are shorts to the engine, from any array of whole numbers.
std::vector<short> ToMapValues(const py::handle& value, const std::string& name,
                               std::pair<py::ssize_t, py::ssize_t>& shape)
{
    const auto array = py::isinstance<py::array>(value) ? py::reinterpret_borrow<py::array>(value) : py::array();
    const bool whole = py::isinstance<py::array>(value) && array.ndim() == 2 && array.size() > 0 &&
                       (array.dtype().kind() == 'i' || array.dtype().kind() == 'u') && array.itemsize() <= 8;
    if (!whole || (shape.first != 0 && shape != std::pair{array.shape(0), array.shape(1)}))
        throw HostError({{"maps." + name, Shown(value),
                          shape.first == 0 ? "a two-dimensional array of whole numbers"
                                           : "an array of whole numbers and of the first map's shape"}});
    if (HasMaskedEntries(array))
        throw HostError({{"maps." + name, "masked entries", "an array without (numpy.ma.filled gives them a value)"}});
    shape = {array.shape(0), array.shape(1)};
    const auto wide = py::array_t<std::int64_t, py::array::c_style | py::array::forcecast>::ensure(array);
    if (!wide)
        throw py::error_already_set();
    std::vector<short> values(static_cast<std::size_t>(wide.size()));
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        const std::int64_t number = wide.data()[i];
        // No map holds numbers that these ends stand for, so that the check of its range finds them.
        values[i] = static_cast<short>(
            std::clamp<std::int64_t>(number, std::numeric_limits<short>::min(), std::numeric_limits<short>::max()));
    }
    return values;
}

std::shared_ptr<const RegionMaps> ToMaps(const py::handle& maps)
{
    if (maps.is_none())
        return nullptr;
    if (!py::isinstance<py::dict>(maps))
        throw HostError({{"maps", Shown(maps), "a dict of arrays"}});
    std::pair<py::ssize_t, py::ssize_t> shape = {0, 0};
    std::shared_ptr<RegionMaps> made;
    for (const auto& [key, value] : py::reinterpret_borrow<py::dict>(maps))
    {
        const std::string name = py::str(key);
        const auto place = std::find(mapNames.begin(), mapNames.end(), name);
        if (place == mapNames.end())
            throw HostError(
                {{"maps." + name, "unknown map", "offset, gain, zone, knee, upper_offset, upper_gain or class"}});
        const std::vector<short> values = ToMapValues(value, name, shape);
        constexpr py::ssize_t nSideHigh = std::numeric_limits<int>::max();
        if (shape.first > nSideHigh || shape.second > nSideHigh)
            throw HostError({{"maps." + name, Shown(value), "sides of 32 bits"}});
        if (made == nullptr)
            made = std::make_shared<RegionMaps>(static_cast<int>(shape.second), static_cast<int>(shape.first));
        made->Set(static_cast<RegionMaps::Map>(place - mapNames.begin()), values.data(), shape.second);
    }
    return made;
}

py::object MapsToPython(const std::shared_ptr<const RegionMaps>& maps)
{
    if (maps == nullptr)
        return py::none();
    py::dict made;
    for (int map = 0; map < RegionMaps::nMaps; ++map)
    {
        const auto which = static_cast<RegionMaps::Map>(map);
        if (!maps->IsSet(which))
            continue;
        py::array_t<short> array({py::ssize_t{maps->Height()}, py::ssize_t{maps->Width()}});
        for (int y = 0; y < maps->Height(); ++y)
            std::copy_n(maps->Data(which) + static_cast<std::ptrdiff_t>(y) * maps->Stride(), maps->Width(),
                        array.mutable_data(y));
        made[mapNames[static_cast<std::size_t>(map)]] = array;
    }
    return made;
}

RecipeImages ToImages(const py::handle& zoneImage, const py::handle& classImage, const py::handle& deadImage,
                      const py::handle& maps, const py::handle& flatField, const py::handle& darkField)
{
    RecipeImages images;
    images.maps = ToMaps(maps);
    if (!zoneImage.is_none())
        images.zoneImage = ImageArgument(zoneImage, "zone_image").Copy();
    if (!classImage.is_none())
        images.classImage = ImageArgument(classImage, "class_image").Copy();
    if (!deadImage.is_none())
        images.deadImage = ImageArgument(deadImage, "dead_image").Copy();
    if (!flatField.is_none())
        images.flatField = ToField(flatField, "flat_field");
    if (!darkField.is_none())
        images.darkField = ToField(darkField, "dark_field");
    return images;
}

bool IsJsonText(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    return first != std::string::npos && (text[first] == '{' || text[first] == '[');
}

/// A recipe's JSON and where its image files are looked up.
struct Document
{
    json content;
    std::filesystem::path folder;
};

Document ToDocument(const py::handle& source, const py::handle& folder)
{
    const std::filesystem::path given = folder.is_none() ? std::filesystem::path() : ToPath(folder);
    if (py::isinstance<py::dict>(source))
        return {ToJson(source), given};
    if (py::isinstance<py::str>(source))
    {
        const char* text = PyUnicode_AsUTF8(source.ptr());
        if (text == nullptr)
            PyErr_Clear(); // a file's name whose bytes are no UTF-8
        else if (IsJsonText(text))
            return {ParseJsonText(text, "recipe"), given};
    }
    if (!py::isinstance<py::str>(source) && !py::isinstance<py::bytes>(source) && !py::hasattr(source, "__fspath__"))
        throw HostError({{"recipe", Shown(py::type::handle_of(source)),
                          "a Recipe, a dict, JSON text, or the path of a recipe file"}});
    const std::filesystem::path file = ToPath(source);
    return {LoadRecipeDocument(file), folder.is_none() ? file.parent_path() : given};
}

CheckedRecipe MakeRecipe(const py::handle& source, const py::handle& folder, RecipeImages images)
{
    const Document document = ToDocument(source, folder);
    return ParseRecipe(document.content, document.folder, std::move(images));
}

py::list RegionsOf(const py::handle& source, const py::handle& folder)
{
    py::list regions;
    if (py::isinstance<CheckedRecipe>(source))
        regions.append(source);
    else if (py::isinstance<py::list>(source) || py::isinstance<py::tuple>(source))
        for (const py::handle entry : source)
            regions.append(ToRecipe(entry));
    else
    {
        const Document document = ToDocument(source, folder);
        for (const CheckedRecipe& recipe : ParseRecipes(document.content, document.folder))
            regions.append(recipe);
    }
    if (regions.empty())
        throw HostError({{"recipe", "no region", "one region or more"}});
    return regions;
}

/// The value behind a dotted path, or null.
const ordered_json* Find(const ordered_json& document, const std::string& path)
{
    const ordered_json* place = &document;
    for (std::size_t from = 0; from <= path.size();)
    {
        const std::size_t dot = std::min(path.find('.', from), path.size());
        const auto member = place->is_object() ? place->find(path.substr(from, dot - from)) : place->end();
        if (!place->is_object() || member == place->end())
            return nullptr;
        place = &*member;
        from = dot + 1;
    }
    return place;
}

bool IsField(const std::string& path)
{
    const auto isPath = [&](const auto& field) { return field.path == path; };
    return std::any_of(RecipeFields().begin(), RecipeFields().end(), isPath) ||
           std::any_of(StructuredFields().begin(), StructuredFields().end(), isPath);
}

/// The recipe once more with some of its fields replaced, read anew.
CheckedRecipe Replaced(const CheckedRecipe& recipe, const py::dict& changes, const py::handle& zoneImage,
                       const py::handle& classImage, const py::handle& deadImage, const py::handle& maps,
                       const py::handle& flatField, const py::handle& darkField)
{
    ordered_json written = RecipeToJson(recipe);
    json document = json::parse(written.dump());
    for (const auto& [key, value] : changes)
    {
        const std::string path = py::cast<std::string>(py::str(key));
        json* place = &document;
        std::size_t from = 0;
        for (std::size_t dot = path.find('.'); dot != std::string::npos; dot = path.find('.', from))
        {
            place = &(*place)[path.substr(from, dot - from)];
            from = dot + 1;
            if (place->is_null())
                *place = json::object();
            else if (!place->is_object())
                throw HostError({{path, "unknown field", "a dotted path as in Recipe.fields()"}});
        }
        if (!value.is_none())
            (*place)[path.substr(from)] = ToJson(value);
        else if (IsField(path))
            place->erase(path.substr(from));
        else
            throw HostError({{path, "unknown field", "a dotted path as in Recipe.fields()"}});
    }
    RecipeImages images = ToImages(zoneImage, classImage, deadImage, maps, flatField, darkField);
    if (images.maps == nullptr)
        images.maps = recipe->maps;
    // A new name in the recipe stands for a new image.
    if (!images.zoneImage && !recipe->zoneImage.IsEmpty() && !changes.contains("zones.image"))
        images.zoneImage = recipe->zoneImage;
    if (!images.classImage && !recipe->classImage.IsEmpty() && !changes.contains("zones.class_image"))
        images.classImage = recipe->classImage;
    if (!images.deadImage && !recipe->deadImage.IsEmpty() && !changes.contains("dead_image"))
        images.deadImage = recipe->deadImage;
    if (!images.flatField && !recipe->fields.Flat().IsEmpty() && !changes.contains("image.flat_field"))
        images.flatField = recipe->fields.Flat();
    if (!images.darkField && !recipe->fields.Dark().IsEmpty() && !changes.contains("image.dark_field"))
        images.darkField = recipe->fields.Dark();
    return ParseRecipe(document, {}, std::move(images));
}

bool IsSame(const std::shared_ptr<const RegionMaps>& a, const std::shared_ptr<const RegionMaps>& b)
{
    if (a == b || a == nullptr || b == nullptr)
        return a == b;
    if (a->Width() != b->Width() || a->Height() != b->Height())
        return false;
    for (int map = 0; map < RegionMaps::nMaps; ++map)
    {
        const auto which = static_cast<RegionMaps::Map>(map);
        if (a->IsSet(which) != b->IsSet(which))
            return false;
        for (int y = 0; a->IsSet(which) && y < a->Height(); ++y)
            if (!std::equal(a->Data(which) + static_cast<std::ptrdiff_t>(y) * a->Stride(),
                            a->Data(which) + static_cast<std::ptrdiff_t>(y) * a->Stride() + a->Width(),
                            b->Data(which) + static_cast<std::ptrdiff_t>(y) * b->Stride()))
                return false;
    }
    return true;
}

bool IsSame(const GreyImage& a, const GreyImage& b)
{
    if (a.Width() != b.Width() || a.Height() != b.Height())
        return false;
    for (int y = 0; y < a.Height(); ++y)
        if (!std::equal(a.Row(y), a.Row(y) + a.Width(), b.Row(y)))
            return false;
    return true;
}

// --- the table of fields ---

constexpr std::array<Kind, 10> kinds = {Kind_Zone,     Kind_Pixel,   Kind_Float, Kind_Trapezium, Kind_FreeForm,
                                        Kind_Binarise, Kind_Average, Kind_Asg,   Kind_Texture,   Kind_Lattice};

py::tuple ModesOf(KindSet set)
{
    constexpr std::size_t nPrefix = std::string_view("modes ").size();
    py::list modes;
    for (const Kind kind : kinds)
        if ((set & SetOf(kind)) != 0)
            modes.append(KindsText(SetOf(kind)).substr(nPrefix));
    return py::tuple(modes);
}

template <typename Owner>
py::object FieldToPython(const py::object& type, const Field<Owner>& field, const std::string& prefix)
{
    static const Owner defaults{};
    const char* name = "";
    py::object low = py::none();
    py::object high = py::none();
    py::object fallback;
    py::tuple choices;
    std::visit(
        [&](const auto& member)
        {
            using Member = std::decay_t<decltype(member)>;
            if constexpr (std::is_same_v<Member, int Owner::*>)
            {
                name = "int";
                low = py::int_(static_cast<long long>(field.low));
                high = py::int_(static_cast<long long>(field.high));
                fallback = py::int_(defaults.*member);
            }
            else if constexpr (std::is_same_v<Member, double Owner::*>)
            {
                name = "float";
                low = py::float_(field.low);
                high = py::float_(field.high);
                fallback = py::float_(defaults.*member);
            }
            else if constexpr (std::is_same_v<Member, bool Owner::*>)
            {
                name = "bool";
                fallback = py::bool_(defaults.*member);
            }
            else if constexpr (std::is_same_v<Member, std::string Owner::*>)
            {
                name = "file";
                fallback = py::str(defaults.*member);
            }
            else
            {
                name = "choice";
                py::list words;
                for (const std::string_view word : member.words)
                    words.append(std::string(word));
                choices = py::tuple(words);
                fallback = py::str(ValueText(field, defaults));
            }
        },
        field.member);
    return type(prefix + std::string(field.path), name, std::string(field.unit), low, high, choices, fallback,
                AllowedText(field), ModesOf(field.required), ModesOf(field.kinds), std::string(field.meaning));
}

py::list FieldsToPython()
{
    const py::object type = py::module_::import("narvoassem.fields").attr("RecipeField");
    py::list fields;
    for (const Field<Recipe>& field : RecipeFields())
        fields.append(FieldToPython(type, field, ""));
    for (const StructuredField& field : StructuredFields())
        fields.append(type(std::string(field.path), field.content.starts_with("list") ? "list" : "object", "",
                           py::none(), py::none(), py::tuple(), std::string(field.fallback), std::string(field.content),
                           ModesOf(field.required), ModesOf(field.kinds), std::string(field.meaning)));
    for (const Field<ZoneSettings>& field : ZoneFields())
        fields.append(FieldToPython(type, field, "zones.list[]."));
    for (const Field<TextureFeature>& field : TextureFields())
        fields.append(FieldToPython(type, field, "texture.features[]."));
    return fields;
}

// --- pickle ---

py::object ToState(const GreyImage& image)
{
    return image.IsEmpty() ? py::none() : py::object(ToArray(image));
}

} // namespace

CheckedRecipe ToLayerRecipe(const v1::Recipe& recipe)
{
    return recipe.GetParts().regions.front();
}

v1::Recipe ToPublicRecipe(const py::handle& value)
{
    return library::MakeRecipe({ToRecipe(value)});
}

CheckedRecipe ToRecipe(const py::handle& value)
{
    return py::isinstance<CheckedRecipe>(value) ? value.cast<const CheckedRecipe&>()
                                                : MakeRecipe(value, py::none(), {});
}

void BindRecipe(py::module_& module)
{
    py::class_<CheckedRecipe>(
        module, "Recipe", py::is_final(),
        "How one region of an image is inspected. A recipe is valid once it exists, and never changes: "
        "replace() makes another.\n\n"
        "Recipe.fields() describes every field with type, unit, range and default.")
        .def(py::init(
                 [](const py::handle& source, const py::handle& folder, const py::handle& zoneImage,
                    const py::handle& classImage, const py::handle& deadImage, const py::handle& maps,
                    const py::handle& flatField, const py::handle& darkField)
                 {
                     return Translated(Fault::Recipe,
                                       [&]
                                       {
                                           return py::isinstance<CheckedRecipe>(source)
                                                      ? source.cast<const CheckedRecipe&>()
                                                      : MakeRecipe(source, folder,
                                                                   ToImages(zoneImage, classImage, deadImage, maps,
                                                                            flatField, darkField));
                                       });
                 }),
             py::arg("source"), py::kw_only(), py::arg("folder") = py::none(), py::arg("zone_image") = py::none(),
             py::arg("class_image") = py::none(), py::arg("dead_image") = py::none(), py::arg("maps") = py::none(),
             py::arg("flat_field") = py::none(), py::arg("dark_field") = py::none(),
             "source is a dict, JSON text (it begins with a brace), the path of a recipe file, or a Recipe.\n\n"
             "Image files that it names are looked up in folder: by default beside the recipe file, or in the current "
             "folder. zone_image, class_image and dead_image, uint8 arrays, and flat_field and dark_field, uint8 or "
             "uint16 arrays, "
             "take their place. maps is a dict of arrays "
             "of the "
             "region's shape, thresholds pixel by pixel in zone mode: offset, gain, zone, knee, upper_offset, "
             "upper_gain, class; they are not part of dict and text.\n\n"
             "Raises RecipeError, whose list problems holds everything that is wrong.")
        .def_static(
            "regions_of",
            [](const py::handle& source, const py::handle& folder)
            { return Translated(Fault::Recipe, [&] { return RegionsOf(source, folder); }); },
            py::arg("source"), py::arg("folder") = py::none(),
            "The recipes of a source that holds several regions: what Recipe() takes, with a list \"regions\" of "
            "objects "
            "that say in what each region differs; or a list of recipes. Raises RecipeError.")
        .def_static("fields", &FieldsToPython,
                    "Every field of a recipe as a RecipeField: path, type, unit, range, default, modes, meaning. Of a "
                    "path with several rows, each holds for its modes.")
        .def(
            "to_dict", [](const CheckedRecipe& recipe) { return ToPython(RecipeToJson(recipe)); },
            "Every field as a dict that Recipe() takes back; the painted images are named, not held.")
        .def(
            "to_json",
            [](const CheckedRecipe& recipe, int indent) { return ToText(RecipeToJson(recipe).dump(indent)); },
            py::arg("indent") = 2, "The same as JSON text.")
        .def(
            "save",
            [](const CheckedRecipe& recipe, const py::handle& path)
            {
                const std::filesystem::path file = ToPath(path);
                Translated(Fault::File, [&] { SaveRecipeWithImages(file, recipe); });
            },
            py::arg("path"),
            "Write the recipe file, and beside it the painted images that the recipe holds. Raises FileError.")
        .def(
            "check",
            [](const CheckedRecipe& recipe, const py::handle& shape)
            {
                const auto [height, width] = Translated(Fault::Argument, [&] { return ToShape(shape); });
                return ToPython(CheckRecipeForImage(recipe, width, height));
            },
            py::arg("shape"),
            "What stands against inspecting an image of shape (rows, columns), as a list of Problem; empty: nothing.")
        .def(
            "region_of",
            [](const CheckedRecipe& recipe, const py::handle& shape)
            {
                const auto [height, width] = Translated(Fault::Argument, [&] { return ToShape(shape); });
                return ToPython(RegionOf(recipe, width, height));
            },
            py::arg("shape"), "The Rect of an image of shape (rows, columns) that is inspected; of shapes, the bounds.")
        .def(
            "replace",
            [](const CheckedRecipe& recipe, const py::dict& changes, const py::handle& zoneImage,
               const py::handle& classImage, const py::handle& deadImage, const py::handle& maps,
               const py::handle& flatField, const py::handle& darkField)
            {
                return Translated(Fault::Recipe,
                                  [&] {
                                      return Replaced(recipe, changes, zoneImage, classImage, deadImage, maps,
                                                      flatField, darkField);
                                  });
            },
            py::arg("changes"), py::kw_only(), py::arg("zone_image") = py::none(), py::arg("class_image") = py::none(),
            py::arg("dead_image") = py::none(), py::arg("maps") = py::none(), py::arg("flat_field") = py::none(),
            py::arg("dark_field") = py::none(),
            "Another recipe in which the fields of the dict changes, by dotted path, have new values; None stands for "
            "the default.\n\nRaises RecipeError.")
        .def(
            "__getitem__",
            [](const CheckedRecipe& recipe, const std::string& path)
            {
                const ordered_json document = RecipeToJson(recipe);
                const ordered_json* found = Find(document, path);
                if (found == nullptr)
                    throw py::key_error(path);
                return ToPython(*found);
            },
            py::arg("path"), "The value of a field by its dotted path.")
        .def_property_readonly(
            "zone_image", [](const CheckedRecipe& recipe) { return ToState(recipe->zoneImage); },
            "The painted zones of one cell as an array, or None.")
        .def_property_readonly(
            "class_image", [](const CheckedRecipe& recipe) { return ToState(recipe->classImage); },
            "The class ids of one cell as an array, or None.")
        .def_property_readonly(
            "dead_image", [](const CheckedRecipe& recipe) { return ToState(recipe->deadImage); },
            "The dead places of the whole image as an array, not 0 where dead, or None.")
        .def_property_readonly(
            "flat_field", [](const CheckedRecipe& recipe) { return FieldToArray(recipe->fields.Flat()); },
            "What the camera shows of an even white, as an array, or None.")
        .def_property_readonly(
            "dark_field", [](const CheckedRecipe& recipe) { return FieldToArray(recipe->fields.Dark()); },
            "What the camera shows without light, as an array, or None.")
        .def_property_readonly(
            "maps", [](const CheckedRecipe& recipe) { return MapsToPython(recipe->maps); },
            "Thresholds pixel by pixel over the region as a dict of arrays, or None.")
        .def(
            "__eq__",
            [](const CheckedRecipe& recipe, const py::object& other) -> py::object
            {
                if (!py::isinstance<CheckedRecipe>(other))
                    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                const auto& second = other.cast<const CheckedRecipe&>();
                return py::bool_(
                    RecipeToJson(recipe) == RecipeToJson(second) && IsSame(recipe->zoneImage, second->zoneImage) &&
                    IsSame(recipe->classImage, second->classImage) && IsSame(recipe->deadImage, second->deadImage) &&
                    IsSame(recipe->maps, second->maps) && recipe->fields == second->fields);
            },
            py::arg("other"), "Whether all fields and painted images are the same.")
        .def("__repr__",
             [](const CheckedRecipe& recipe)
             {
                 return "<narvoassem.Recipe: " + std::string(KindName(recipe->GetKind())) + ", pitch " +
                        FormatNumber(recipe->pitchX) + " by " + FormatNumber(recipe->pitchY) + " pixels>";
             })
        .def(
            "__reduce__",
            [](const py::object& self)
            {
                const auto& recipe = self.cast<const CheckedRecipe&>();
                py::dict images;
                images["zone_image"] = ToState(recipe->zoneImage);
                images["class_image"] = ToState(recipe->classImage);
                images["dead_image"] = ToState(recipe->deadImage);
                images["flat_field"] = FieldToArray(recipe->fields.Flat());
                images["dark_field"] = FieldToArray(recipe->fields.Dark());
                images["maps"] = MapsToPython(recipe->maps);
                const py::object partial = py::module_::import("functools").attr("partial");
                return py::make_tuple(partial(py::type::of(self), ToText(RecipeToJson(recipe).dump()), **images),
                                      py::tuple());
            },
            "For pickle and copy.");
    module.attr("Recipe").attr("__hash__") = py::none();
    SealConstructed(module.attr("Recipe"));
}

} // namespace narvo::python
