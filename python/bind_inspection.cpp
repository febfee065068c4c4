// SPDX-License-Identifier: MIT
// Inspections: one image at a time, or from many threads on a pool of lanes. The interpreter lock is free while the
// engine works.
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <narvo/host_inspector.h>
#include <narvo/host_result.h>

#include "python/bind.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/per_process.h"
#include "python/picture_array.h"
#include "python/result_arrays.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// An inspector whose lanes are handed out to whatever thread asks.
class LanePool
{
public:
    LanePool(int lanes, int maxBlobs) : m_count(lanes), m_maxBlobs(maxBlobs) { OfThisProcess(); }

    int Count() const { return m_count; }
    int MaxBlobs() const { return m_maxBlobs; }

    /// With the interpreter lock held.
    v1::Inspector& OfThisProcess()
    {
        return m_inspector.Get([&] { return std::make_unique<v1::Inspector>(m_count, m_maxBlobs); });
    }

private:
    int m_count;
    int m_maxBlobs;
    PerProcess<v1::Inspector> m_inspector;
};

/// Numbers of any size are refused in the same words.
std::unique_ptr<LanePool> MakePool(const py::handle& lanes, const py::handle& maxBlobs)
{
    for (const py::handle& number : {lanes, maxBlobs})
        if (PyIndex_Check(number.ptr()) == 0)
            throw py::type_error(Shown(number) + " is no whole number");
    const std::optional<int> laneCount = ToInt(lanes);
    const std::optional<int> room = ToInt(maxBlobs);
    std::vector<v1::Problem> found;
    if (!laneCount)
        found.push_back({"lanes", Shown(lanes), "1 to " + std::to_string(v1::HighestLanes)});
    if (!room)
        found.push_back({"max_blobs", Shown(maxBlobs), "1 to " + std::to_string(v1::HighestDefects)});
    if (!found.empty())
        throw v1::Error(std::move(found));
    return std::make_unique<LanePool>(*laneCount, *room);
}

/// An inspector that the calling thread keeps for its next call: what it works in takes longer to get than most images
/// to inspect. It finds room as each recipe asks for it: no result depends on the calls before.
v1::Inspector& OwnInspector()
{
    thread_local v1::Inspector own;
    return own;
}

/// `inspectorOf` is called without the interpreter lock.
template <typename InspectorOf>
Result InspectWith(const py::handle& image, const py::handle& recipe, InspectorOf inspectorOf)
{
    const ImageArgument pixels =
        Translated(Fault::Image, [&] { return ImageArgument(image, "image", Colours::EachInspected); });
    return Translated(Fault::Recipe,
                      [&]
                      {
                          const v1::Recipe made = ToRecipe(recipe);
                          if (const v1::Image* coloured = pixels.Coloured(); coloured != nullptr)
                              Translated(Fault::Image, [&] { CheckColours(*coloured, v1::ImageRules::Of(made)); });
                          std::vector<v1::FullReport> reports = Unlocked(
                              [&]
                              {
                                  v1::Inspector& inspector = inspectorOf();
                                  return pixels.With([&](const auto& given)
                                                     { return inspector.InspectFully(given, made); });
                              });
                          return Result(std::move(reports.front()));
                      });
}

} // namespace

void BindInspection(py::module_& module)
{
    module.def(
        "inspect",
        [](const py::handle& image, const py::handle& recipe) { return InspectWith(image, recipe, &OwnInspector); },
        py::arg("image"), py::arg("recipe"),
        "Inspect an image: a C-contiguous uint8 array of shape (rows, columns), which is read where it lies if its "
        "width is a multiple of 4 and must not change meanwhile.\n\n"
        "recipe is a Recipe or what Recipe() takes. Other threads run while the engine works. A thread keeps the "
        "engine's "
        "working memory, some 80 MB, for its next call; an Inspector lets go of it with itself.\n\n"
        "Raises ImageError, RecipeError or InspectionError.");

    py::class_<LanePool>(module, "LanePool", py::is_final(),
                         "Engines for inspections at once; Inspector is the class to use.")
        .def(py::init([](const py::handle& lanes, const py::handle& maxBlobs)
                      { return Translated(Fault::Argument, [&] { return MakePool(lanes, maxBlobs); }); }),
             py::arg("lanes"), py::arg("max_blobs"))
        .def(
            "inspect",
            [](LanePool& pool, const py::handle& image, const py::handle& recipe)
            {
                v1::Inspector& inspector =
                    Translated(Fault::Argument, [&]() -> v1::Inspector& { return pool.OfThisProcess(); });
                return InspectWith(image, recipe, [&]() -> v1::Inspector& { return inspector; });
            },
            py::arg("image"), py::arg("recipe"),
            "As the function inspect(), on the next free lane. Any number of threads may call.")
        .def_property_readonly("lanes", &LanePool::Count, "Inspections at once.")
        .def_property_readonly("max_blobs", &LanePool::MaxBlobs, "Room for blobs of each lane.");
    SealConstructed(module.attr("LanePool"));
}

} // namespace narvo::python
