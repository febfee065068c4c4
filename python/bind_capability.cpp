// SPDX-License-Identifier: MIT
// What a recipe finds of defects planted in good images.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <narvo/host_capability.h>
#include <nlohmann/json.hpp>

#include "python/bind.h"
#include "python/narvo_errors.h"
#include "python/picture_array.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// The entries of what is no text. @throws v1::Error naming `field` for what has none
py::iterator EntriesOf(const py::handle& values, const char* field, const std::string& allowed)
{
    const bool text = py::isinstance<py::str>(values) || py::isinstance<py::bytes>(values);
    PyObject* entries = text ? nullptr : PyObject_GetIter(values.ptr());
    if (entries == nullptr)
    {
        PyErr_Clear(); // the type has no entries
        throw v1::Error({{field, Shown(values), "a list of " + allowed}});
    }
    return py::reinterpret_steal<py::iterator>(entries);
}

/// Whole numbers from any sequence. @throws v1::Error naming `field`
std::vector<int> NumbersOf(const py::handle& values, const char* field)
{
    std::vector<int> numbers;
    for (const py::handle value : EntriesOf(values, field, "whole numbers"))
    {
        const std::optional<int> number = ToInt(value);
        if (!number)
            throw v1::Error({{field, Shown(value), "whole numbers of 32 bits"}});
        numbers.push_back(*number);
    }
    return numbers;
}

/// @throws TypeError for what is no whole number; v1::Error for what does not fit
std::uint64_t ToSeed(const py::handle& value)
{
    static_cast<void>(ToWholeSetting(value));
    const auto whole = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    const std::uint64_t seed = PyLong_AsUnsignedLongLong(whole.ptr());
    if (PyErr_Occurred() != nullptr)
    {
        PyErr_Clear();
        throw v1::Error({{"seed", Shown(value), "whole number, 0 to 18446744073709551615"}});
    }
    return seed;
}

/// Those of the known names that a sequence holds. @throws v1::Error naming `field` for others
std::vector<std::string> NamesOf(const py::handle& values, const std::vector<std::string>& known, const char* field)
{
    std::string allowed;
    for (std::size_t i = 0; i < known.size(); ++i)
        allowed += (i == 0 ? "" : i + 1 == known.size() ? " or " : ", ") + known[i];
    std::vector<std::string> names;
    for (const py::handle value : EntriesOf(values, field, allowed))
    {
        const auto name =
            std::find_if(known.begin(), known.end(), [&](const std::string& one) { return value.equal(py::str(one)); });
        if (name == known.end())
            throw v1::Error({{field, Shown(value), allowed}});
        names.push_back(*name);
    }
    return names;
}

py::object Capability(const py::handle& recipe, const py::handle& images, const py::handle& sizes,
                      const py::handle& contrasts, const py::handle& shapes, const py::handle& places,
                      const py::handle& count, const py::handle& seed, const py::handle& threads)
{
    const int countHere = ToNearestInt(count);
    const int threadsHere = ToNearestInt(threads);
    const std::uint64_t seedHere = Translated(Fault::Argument, [&] { return ToSeed(seed); });
    const v1::Recipe made = Translated(Fault::Recipe, [&] { return ToRecipe(recipe); });
    const std::vector<v1::NamedPicture> good = Translated(Fault::Image, [&] { return GoodPictures(images); });
    Translated(Fault::Image,
               [&]
               {
                   const v1::ImageRules rules = v1::ImageRules::Of(made);
                   for (const v1::NamedPicture& picture : good)
                       CheckColours(picture.image, rules);
               });
    return Translated(
        Fault::Argument,
        [&]
        {
            v1::CapabilityPlan plan;
            if (!sizes.is_none())
                plan.SetSizes(NumbersOf(sizes, "sizes"));
            if (!contrasts.is_none())
                plan.SetContrasts(NumbersOf(contrasts, "contrasts"));
            if (!shapes.is_none())
                plan.SetShapes(NamesOf(shapes, v1::PlantedShapes(), "shapes"));
            if (!places.is_none())
                plan.SetPlaces(NamesOf(places, v1::PlantedPlaces(), "places"));
            plan.SetCount(countHere).SetSeed(seedHere);
            const v1::CapabilityReport report = Showing(
                "count", Shown(count),
                [&]
                {
                    return Showing(
                        "threads", Shown(threads),
                        [&] { return Unlocked([&] { return v1::MeasureCapability(made, good, plan, threadsHere); }); });
                });
            return ToPython(nlohmann::ordered_json::parse(report.text));
        });
}

} // namespace

void BindCapability(py::module_& module)
{
    module.def(
        "capability", &Capability, py::arg("recipe"), py::arg("images"), py::kw_only(), py::arg("sizes") = py::none(),
        py::arg("contrasts") = py::none(), py::arg("shapes") = py::none(), py::arg("places") = py::none(),
        py::arg("count") = 30, py::arg("seed") = 1, py::arg("threads") = 1,
        "Measure which defects a recipe finds, by planting some in good images.\n\nimages is one image or a sequence "
        "of "
        "them, without defects. sizes are in pixels, 1 to 512; contrasts in grey levels, below 0 darker; shapes are "
        "\"spot\", \"line-x\", \"line-y\" and \"stain\"; places are \"inside\" and \"border\". count is how many "
        "defects of each size, contrast, shape and place. Returns a dict: curves, one for each shape, place and "
        "contrast, with counts by size, a90 (the size that is found with 90 % probability) and a90_95 (its upper bound "
        "at 95 % confidence); false_per_megapixel with its bound; images; warnings. The number of threads changes "
        "nothing in the result. Raises RecipeError, ImageError or ArgumentError.");
}

} // namespace narvo::python
