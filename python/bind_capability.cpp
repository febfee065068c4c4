// SPDX-License-Identifier: MIT
// What a recipe finds of defects planted in good images.
#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/capability/capability.h"
#include "python/bind.h"
#include "python/good_images.h"
#include "python/narvo_errors.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// Whole numbers from any sequence; the default for None. @throws HostError naming `field`
std::vector<int> NumbersOf(const py::handle& values, std::vector<int> otherwise, const char* field)
{
    if (values.is_none())
        return otherwise;
    std::vector<int> numbers;
    for (const py::handle value : py::iter(values))
    {
        const std::optional<int> number = ToInt(value);
        if (!number)
            throw HostError({{field, Shown(value), "whole numbers"}});
        numbers.push_back(*number);
    }
    return numbers;
}

/// The numbers of names. @throws HostError naming `field`
std::vector<int> NamesOf(const py::handle& values, std::vector<int> otherwise, const char* field,
                         const std::string& (*nameOf)(int), int count)
{
    if (values.is_none())
        return otherwise;
    std::vector<int> numbers;
    std::string allowed;
    for (int i = 0; i < count; ++i)
        allowed += (i == 0 ? "" : i + 1 == count ? " or " : ", ") + nameOf(i);
    for (const py::handle value : py::iter(values))
    {
        int number = 0;
        while (number < count && !value.equal(py::str(nameOf(number))))
            ++number;
        if (number == count)
            throw HostError({{field, Shown(value), allowed}});
        numbers.push_back(number);
    }
    return numbers;
}

py::object Capability(const py::handle& recipe, const py::handle& images, const py::handle& sizes,
                      const py::handle& contrasts, const py::handle& shapes, const py::handle& places, int count,
                      std::uint64_t seed, int threads)
{
    const CheckedRecipe made = Translated(Fault::Recipe, [&] { return ToRecipe(recipe); });
    const std::vector<BatchImage> good = Translated(Fault::Image, [&] { return GoodImages(images); });
    Translated(Fault::Image,
               [&]
               {
                   for (const BatchImage& image : good)
                       CheckColours(*image.load(), *made);
               });
    return Translated(
        Fault::Argument,
        [&]
        {
            CapabilitySettings settings;
            settings.sizes = NumbersOf(sizes, settings.sizes, "sizes");
            settings.contrasts = NumbersOf(contrasts, settings.contrasts, "contrasts");
            settings.shapes = NamesOf(shapes, settings.shapes, "shapes", &PlantedShapeName, nPlantedShapes);
            settings.places = NamesOf(places, settings.places, "places", &PlantedPlaceName, nPlantedPlaces);
            settings.count = count;
            settings.seed = seed;
            CheckThreads(threads);
            return ToPython(
                CapabilityToJson(Unlocked([&] { return MeasureCapability({made}, good, settings, threads); })));
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
