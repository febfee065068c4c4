// SPDX-License-Identifier: MIT
// The recipe: from dicts, JSON text and files, its fields with their ranges, and its way through pickle.
#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include <narvo/host_recipe_fields.h>
#include <narvo/host_recipe_images.h>

#include "python/bind.h"
#include "python/field_array.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/per_process.h"
#include "python/picture_array.h"
#include "python/sealed_class.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

using nlohmann::json;
using nlohmann::ordered_json;

/// A recipe of one region. Each process has the tables of its own, which another thread may be about to make when it is
/// forked off.
class HeldRecipe
{
public:
    explicit HeldRecipe(v1::Recipe recipe) : m_recipe(std::move(recipe)) {}

    const v1::Recipe& Get() const { return m_recipe; }
    /// For inspections. With the interpreter lock held.
    const v1::Recipe& OfThisProcess() const
    {
        return m_own.Get([&] { return std::make_unique<v1::Recipe>(m_recipe.Region(0)); });
    }

private:
    v1::Recipe m_recipe;
    mutable PerProcess<v1::Recipe> m_own;
};

// Whole-region maps by their names here, in the order of v1::RegionMap.
constexpr std::array<const char*, 7> mapNames = {"offset",       "gain",       "zone", "knee",
                                                 "upper_offset", "upper_gain", "class"};

/// The values of a map, which are shorts to the engine, from any array of whole numbers.
std::vector<short> ToMapValues(const py::handle& value, const std::string& name,
                               std::pair<py::ssize_t, py::ssize_t>& shape)
{
    const auto array = py::isinstance<py::array>(value) ? py::reinterpret_borrow<py::array>(value) : py::array();
    const bool whole = py::isinstance<py::array>(value) && array.ndim() == 2 && array.size() > 0 &&
                       (array.dtype().kind() == 'i' || array.dtype().kind() == 'u') && array.itemsize() <= 8;
    if (!whole || (shape.first != 0 && shape != std::pair{array.shape(0), array.shape(1)}))
        throw v1::Error({{"maps." + name, Shown(value),
                          shape.first == 0 ? "a two-dimensional array of whole numbers"
                                           : "an array of whole numbers and of the first map's shape"}});
    if (HasMaskedEntries(array))
        throw v1::Error({{"maps." + name, "masked entries", "an array without (numpy.ma.filled gives them a value)"}});
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

/// A map that a caller handed over.
struct GivenMap
{
    v1::RegionMap map;
    std::vector<short> values;
    int width;
    int height;
};

std::vector<GivenMap> ToMaps(const py::handle& maps)
{
    std::vector<GivenMap> made;
    if (maps.is_none())
        return made;
    if (!py::isinstance<py::dict>(maps))
        throw v1::Error({{"maps", Shown(maps), "a dict of arrays"}});
    std::pair<py::ssize_t, py::ssize_t> shape = {0, 0};
    for (const auto& [key, value] : py::reinterpret_borrow<py::dict>(maps))
    {
        const std::string name = ToKey(key, "maps");
        const auto place = std::find(mapNames.begin(), mapNames.end(), name);
        if (place == mapNames.end())
            throw v1::Error(
                {{"maps." + name, "unknown map", "offset, gain, zone, knee, upper_offset, upper_gain or class"}});
        std::vector<short> values = ToMapValues(value, name, shape);
        constexpr py::ssize_t nSideHigh = std::numeric_limits<int>::max();
        if (shape.first > nSideHigh || shape.second > nSideHigh)
            throw v1::Error({{"maps." + name, Shown(value), "sides of 32 bits"}});
        made.push_back({static_cast<v1::RegionMap>(place - mapNames.begin()), std::move(values),
                        static_cast<int>(shape.second), static_cast<int>(shape.first)});
    }
    return made;
}

py::object MapsToPython(const v1::Recipe& recipe)
{
    py::dict made;
    for (std::size_t map = 0; map < mapNames.size(); ++map)
    {
        const v1::MapValues values = v1::MapOf(recipe, static_cast<v1::RegionMap>(map));
        if (values.values == nullptr)
            continue;
        py::array_t<short> array({py::ssize_t{values.height}, py::ssize_t{values.width}});
        for (int y = 0; y < values.height; ++y)
            std::copy_n(values.values + y * values.stride, values.width, array.mutable_data(y));
        made[mapNames[map]] = array;
    }
    return made.empty() ? py::none() : py::object(made);
}

/// What a caller handed over beside a recipe's fields.
struct GivenImages
{
    GivenImages(const py::handle& zoneImage, const py::handle& classImage, const py::handle& deadImage,
                const py::handle& mapArrays, const py::handle& flatField, const py::handle& darkField)
        : maps(ToMaps(mapArrays))
    {
        if (!zoneImage.is_none())
            zones.emplace(zoneImage, "zone_image");
        if (!classImage.is_none())
            classes.emplace(classImage, "class_image");
        if (!deadImage.is_none())
            dead.emplace(deadImage, "dead_image");
        if (!flatField.is_none())
            flat.emplace(flatField, "flat_field");
        if (!darkField.is_none())
            dark.emplace(darkField, "dark_field");
    }
    GivenImages() = default;

    bool IsEmpty() const { return maps.empty() && !zones && !classes && !dead && !flat && !dark; }

    /// Sets what there is.
    void Set(v1::RecipeDraft& draft) const
    {
        for (const GivenMap& map : maps)
            draft.SetRegionMap(map.map, {map.values.data(), map.width, map.height});
        if (zones)
            draft.SetZoneImage(zones->Pixels());
        if (classes)
            draft.SetClassImage(classes->Pixels());
        if (dead)
            draft.SetDeadImage(dead->Pixels());
        if (flat)
            draft.SetFlatField(flat->pixels);
        if (dark)
            draft.SetDarkField(dark->pixels);
    }

    std::vector<GivenMap> maps;
    std::optional<ImageArgument> zones;
    std::optional<ImageArgument> classes;
    std::optional<ImageArgument> dead;
    std::optional<FieldArgument> flat;
    std::optional<FieldArgument> dark;
};

bool IsJsonText(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(" \t\r\n");
    return first != std::string::npos && (text[first] == '{' || text[first] == '[');
}

/// Where a recipe comes from: its JSON text, or else a file; and where its image files are looked up.
struct Source
{
    std::optional<std::string> text;
    std::filesystem::path file;
    std::filesystem::path folder;

    v1::RecipeDraft Draft() const
    {
        return text ? v1::RecipeDraft::FromText(*text, folder) : v1::RecipeDraft::FromFile(file, folder);
    }
    v1::Recipe Regions() const
    {
        return text ? v1::Recipe::FromText(*text, folder) : v1::Recipe::FromFile(file, folder);
    }
};

Source ToSource(const py::handle& source, const py::handle& folder)
{
    const std::filesystem::path given = folder.is_none() ? std::filesystem::path() : ToPath(folder);
    if (py::isinstance<py::dict>(source))
        return {ToJson(source).dump(), {}, given};
    if (py::isinstance<py::str>(source))
    {
        const char* text = PyUnicode_AsUTF8(source.ptr());
        if (text == nullptr)
            PyErr_Clear(); // a file's name whose bytes are no UTF-8
        else if (IsJsonText(text))
            return {text, {}, given};
    }
    if (!py::isinstance<py::str>(source) && !py::isinstance<py::bytes>(source) && !py::hasattr(source, "__fspath__"))
        throw v1::Error({{"recipe", Shown(py::type::handle_of(source)),
                          "a Recipe, a dict, JSON text, or the path of a recipe file"}});
    const std::filesystem::path file = ToPath(source);
    return {std::nullopt, file, folder.is_none() ? file.parent_path() : given};
}

v1::Recipe MakeRecipe(const py::handle& source, const py::handle& folder, const GivenImages& images)
{
    v1::RecipeDraft draft = ToSource(source, folder).Draft();
    images.Set(draft);
    return draft.Check();
}

py::list RegionsOf(const py::handle& source, const py::handle& folder)
{
    py::list regions;
    if (py::isinstance<HeldRecipe>(source))
        regions.append(source);
    else if (py::isinstance<py::list>(source) || py::isinstance<py::tuple>(source))
        for (const py::handle entry : source)
            regions.append(ToPythonRecipe(ToRecipe(entry)));
    else
    {
        const v1::Recipe recipe = ToSource(source, folder).Regions();
        for (std::size_t i = 0; i < recipe.Regions(); ++i)
            regions.append(ToPythonRecipe(recipe.Region(i)));
    }
    if (regions.empty())
        throw v1::Error({{"recipe", "no region", "one region or more"}});
    return regions;
}

bool IsField(const std::string& path)
{
    // Of lists of objects, the list is a field of the recipe, but not its entries.
    return path.find('[') == std::string::npos &&
           std::any_of(v1::RecipeFields().begin(), v1::RecipeFields().end(),
                       [&](const v1::RecipeField& field) { return field.path == path; });
}

/// The recipe once more with some of its fields replaced, read anew. What it holds of images stays, unless a change
/// names another file or `given` gives another image.
template <typename Given>
v1::Recipe Replaced(const v1::Recipe& recipe, const py::dict& changes, Given given)
{
    v1::RecipeDraft draft = v1::RecipeDraft::Of(recipe);
    json document = json::parse(recipe.Text()); // shows which paths lead through a value
    for (const auto& [key, value] : changes)
    {
        const std::string path = ToKey(key, "changes");
        if (path.empty())
            throw v1::Error({{"changes", Shown(key), "a dotted path as in Recipe.fields()"}});
        json* place = &document;
        std::size_t from = 0;
        for (std::size_t dot = path.find('.'); dot != std::string::npos; dot = path.find('.', from))
        {
            place = &(*place)[path.substr(from, dot - from)];
            from = dot + 1;
            if (place->is_null())
                *place = json::object();
            else if (!place->is_object())
                throw v1::Error({{path, "unknown field", "a dotted path as in Recipe.fields()"}});
        }
        if (!value.is_none())
        {
            json& member = (*place)[path.substr(from)];
            member = ToJson(value, path);
            draft.SetJson(path, member.dump());
        }
        else if (IsField(path))
        {
            place->erase(path.substr(from));
            draft.Unset(path);
        }
        else
            throw v1::Error({{path, "unknown field", "a dotted path as in Recipe.fields()"}});
    }
    const GivenImages& images = given();
    if (!images.maps.empty())
        draft.DropRegionMaps();
    images.Set(draft);
    return draft.Check();
}

// --- the table of fields ---

/// What stands against inspecting an image of that size.
std::vector<v1::Problem> ProblemsOf(const v1::Recipe& recipe, int width, int height)
{
    try
    {
        recipe.CheckSize(width, height);
        return {};
    }
    catch (const v1::Error& error)
    {
        return error.Problems();
    }
}

py::tuple ToTuple(const std::vector<std::string>& words)
{
    py::list list;
    for (const std::string& word : words)
        list.append(word);
    return py::tuple(list);
}

const char* TypeName(v1::FieldType type)
{
    constexpr std::array names = {"int", "float", "bool", "choice", "file", "list", "object"}; // in their order
    return names[static_cast<std::size_t>(type)];
}

py::list FieldsToPython()
{
    const py::object type = py::module_::import("narvoassem.fields").attr("RecipeField");
    py::list fields;
    for (const v1::RecipeField& field : v1::RecipeFields())
    {
        py::object low = py::none();
        py::object high = py::none();
        if (field.type == v1::FieldType::Whole)
        {
            low = py::int_(static_cast<long long>(field.low));
            high = py::int_(static_cast<long long>(field.high));
        }
        else if (field.type == v1::FieldType::Real)
        {
            low = py::float_(field.low);
            high = py::float_(field.high);
        }
        const bool inWords = field.type == v1::FieldType::List || field.type == v1::FieldType::Object;
        fields.append(type(field.path, TypeName(field.type), field.unit, low, high, ToTuple(field.words),
                           inWords ? ToText(field.fallback) : ToPython(ordered_json::parse(field.fallback)),
                           field.allowed, ToTuple(field.required), ToTuple(field.modes), field.meaning));
    }
    return fields;
}

// --- pickle ---

py::object PaintedToPython(const v1::Recipe& recipe, v1::PaintedImage which)
{
    const std::optional<v1::Image> image = v1::ImageOf(recipe, which);
    return image ? py::object(ToArray(*image)) : py::none();
}

} // namespace

v1::Recipe ToRecipe(const py::handle& value)
{
    return py::isinstance<HeldRecipe>(value) ? value.cast<const HeldRecipe&>().OfThisProcess()
                                             : MakeRecipe(value, py::none(), {});
}

py::object ToPythonRecipe(const v1::Recipe& recipe)
{
    return py::cast(HeldRecipe(recipe), py::return_value_policy::move);
}

void BindRecipe(py::module_& module)
{
    py::class_<HeldRecipe>(
        module, "Recipe", py::is_final(),
        "How one region of an image is inspected. A recipe is valid once it exists, and never changes: "
        "replace() makes another.\n\n"
        "Recipe.fields() describes every field with type, unit, range and default.")
        .def(py::init(
                 [](const py::handle& source, const py::handle& folder, const py::handle& zoneImage,
                    const py::handle& classImage, const py::handle& deadImage, const py::handle& maps,
                    const py::handle& flatField, const py::handle& darkField)
                 {
                     return Translated(
                         Fault::Recipe,
                         [&]
                         {
                             const GivenImages given(zoneImage, classImage, deadImage, maps, flatField, darkField);
                             if (!py::isinstance<HeldRecipe>(source))
                                 return HeldRecipe(MakeRecipe(source, folder, given));
                             const v1::Recipe& made = source.cast<const HeldRecipe&>().Get();
                             return HeldRecipe(given.IsEmpty() ? made
                                                               : Replaced(
                                                                     made, {}, [&]() -> auto& { return given; }));
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
            "to_dict", [](const HeldRecipe& recipe) { return ToPython(ordered_json::parse(recipe.Get().Text())); },
            "Every field as a dict that Recipe() takes back; the painted images are named, not held.")
        .def(
            "to_json",
            [](const HeldRecipe& recipe, int indent)
            { return ToText(ordered_json::parse(recipe.Get().Text()).dump(indent)); },
            py::arg("indent") = 2, "The same as JSON text.")
        .def(
            "save",
            [](const HeldRecipe& recipe, const py::handle& path)
            {
                const std::filesystem::path file = ToPath(path);
                Translated(Fault::File, [&] { recipe.Get().SaveWithoutMaps(file); });
            },
            py::arg("path"),
            "Write the recipe file, and beside it the painted images that the recipe holds. Raises FileError.")
        .def(
            "check",
            [](const HeldRecipe& recipe, const py::handle& shape)
            {
                const auto [height, width] = Translated(Fault::Argument, [&] { return ToShape(shape); });
                return ToPython(ProblemsOf(recipe.Get(), width, height));
            },
            py::arg("shape"),
            "What stands against inspecting an image of shape (rows, columns), as a list of Problem; empty: nothing.")
        .def(
            "region_of",
            [](const HeldRecipe& recipe, const py::handle& shape)
            {
                const auto [height, width] = Translated(Fault::Argument, [&] { return ToShape(shape); });
                return ToPython(v1::InspectedBox(recipe.Get(), width, height));
            },
            py::arg("shape"), "The Rect of an image of shape (rows, columns) that is inspected; of shapes, the bounds.")
        .def(
            "replace",
            [](const HeldRecipe& recipe, const py::dict& changes, const py::handle& zoneImage,
               const py::handle& classImage, const py::handle& deadImage, const py::handle& maps,
               const py::handle& flatField, const py::handle& darkField)
            {
                return Translated(Fault::Recipe,
                                  [&]
                                  {
                                      const auto given = [&] {
                                          return GivenImages(zoneImage, classImage, deadImage, maps, flatField,
                                                             darkField);
                                      };
                                      return HeldRecipe(Replaced(recipe.Get(), changes, given));
                                  });
            },
            py::arg("changes"), py::kw_only(), py::arg("zone_image") = py::none(), py::arg("class_image") = py::none(),
            py::arg("dead_image") = py::none(), py::arg("maps") = py::none(), py::arg("flat_field") = py::none(),
            py::arg("dark_field") = py::none(),
            "Another recipe in which the fields of the dict changes, by dotted path, have new values; None stands for "
            "the default.\n\nRaises RecipeError.")
        .def(
            "__getitem__",
            [](const HeldRecipe& recipe, const std::string& path)
            {
                try
                {
                    return ToPython(ordered_json::parse(recipe.Get().Value(path)));
                }
                catch (const v1::Error&)
                {
                    throw py::key_error(path);
                }
            },
            py::arg("path"), "The value of a field by its dotted path.")
        .def_property_readonly(
            "zone_image",
            [](const HeldRecipe& recipe) { return PaintedToPython(recipe.Get(), v1::PaintedImage::Zones); },
            "The painted zones of one cell as an array, or None.")
        .def_property_readonly(
            "class_image",
            [](const HeldRecipe& recipe) { return PaintedToPython(recipe.Get(), v1::PaintedImage::Classes); },
            "The class ids of one cell as an array, or None.")
        .def_property_readonly(
            "dead_image",
            [](const HeldRecipe& recipe) { return PaintedToPython(recipe.Get(), v1::PaintedImage::Dead); },
            "The dead places of the whole image as an array, not 0 where dead, or None.")
        .def_property_readonly(
            "flat_field",
            [](const HeldRecipe& recipe) { return FieldToArray(v1::FieldOf(recipe.Get(), v1::LightField::Flat)); },
            "What the camera shows of an even white, as an array, or None.")
        .def_property_readonly(
            "dark_field",
            [](const HeldRecipe& recipe) { return FieldToArray(v1::FieldOf(recipe.Get(), v1::LightField::Dark)); },
            "What the camera shows without light, as an array, or None.")
        .def_property_readonly(
            "maps", [](const HeldRecipe& recipe) { return MapsToPython(recipe.Get()); },
            "Thresholds pixel by pixel over the region as a dict of arrays, or None.")
        .def(
            "__eq__",
            [](const HeldRecipe& recipe, const py::object& other) -> py::object
            {
                if (!py::isinstance<HeldRecipe>(other))
                    return py::reinterpret_borrow<py::object>(Py_NotImplemented);
                return py::bool_(recipe.Get() == other.cast<const HeldRecipe&>().Get());
            },
            py::arg("other"), "Whether all fields and painted images are the same.")
        .def("__repr__", [](const HeldRecipe& recipe) { return "<narvoassem.Recipe: " + recipe.Get().Summary() + ">"; })
        .def(
            "__reduce__",
            [](const py::object& self)
            {
                const v1::Recipe& recipe = self.cast<const HeldRecipe&>().Get();
                py::dict images;
                images["zone_image"] = PaintedToPython(recipe, v1::PaintedImage::Zones);
                images["class_image"] = PaintedToPython(recipe, v1::PaintedImage::Classes);
                images["dead_image"] = PaintedToPython(recipe, v1::PaintedImage::Dead);
                images["flat_field"] = FieldToArray(v1::FieldOf(recipe, v1::LightField::Flat));
                images["dark_field"] = FieldToArray(v1::FieldOf(recipe, v1::LightField::Dark));
                images["maps"] = MapsToPython(recipe);
                const py::object partial = py::module_::import("functools").attr("partial");
                return py::make_tuple(
                    partial(py::type::of(self), ToText(ordered_json::parse(recipe.Text()).dump()), **images),
                    py::tuple());
            },
            "For pickle and copy.");
    module.attr("Recipe").attr("__hash__") = py::none();
    SealConstructed(module.attr("Recipe"));
}

} // namespace narvo::python
