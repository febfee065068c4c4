// SPDX-License-Identifier: MIT
// Inspections: one image at a time, or from many threads on a pool of lanes. The interpreter lock is free while the
// engine works.
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host/inspect/inspection_plan.h"
#include "host/inspect/inspector.h"
#include "host/inspect/plan_keeper.h"
#include "host/limits.h"
#include "python/bind.h"
#include "python/image_array.h"
#include "python/lane_queue.h"
#include "python/narvo_errors.h"
#include "python/per_process.h"
#include "python/result_arrays.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// @throws HostError for an image of colours unless the recipe inspects each of them
void CheckColours(const GreyView& image, const Recipe& recipe)
{
    if (image.Channels() != nullptr && recipe.channel != Channel_Each)
        throw HostError(
            {{"image",
              "array of shape (" + std::to_string(image.Height()) + ", " + std::to_string(image.Width()) + ", 3)",
              "two dimensions, rows and columns, unless image.channel of the recipe is each (read_image "
              "and convert_image take the recipe)"}});
}

/// Engines, and who has which of them.
struct Lanes
{
    Lanes(int lanes, int maxBlobs) : inspector(lanes, maxBlobs), queue(lanes) {}

    Inspector inspector;
    LaneQueue queue;
    PlanKeeper plans;
};

/// An inspector whose lanes are handed out to whatever thread asks.
class LanePool
{
public:
    LanePool(int lanes, int maxBlobs) : m_count(lanes), m_maxBlobs(maxBlobs) { OfThisProcess(); }

    int Count() const { return m_count; }
    int MaxBlobs() const { return m_maxBlobs; }

    /// With the interpreter lock held.
    Lanes& OfThisProcess()
    {
        return m_lanes.Get([&] { return std::make_unique<Lanes>(m_count, m_maxBlobs); });
    }

    /// Without it. Waits for a free lane.
    InspectionResult Inspect(Lanes& lanes, const GreyView& image, const CheckedRecipe& recipe) const
    {
        if (recipe->maxBlobs > m_maxBlobs)
            throw HostError({{"max_blobs", std::to_string(recipe->maxBlobs),
                              "at most " + std::to_string(m_maxBlobs) + ", the inspector's own"}});
        const LaneQueue::Hold hold(lanes.queue);
        const auto plan = lanes.plans.PlanFor(recipe, image.Width(), image.Height());
        return lanes.inspector.Inspect(hold.Lane(), image, *plan, true);
    }

private:
    int m_count;
    int m_maxBlobs;
    PerProcess<Lanes> m_lanes;
};

/// Numbers of any size are refused in the same words.
std::unique_ptr<LanePool> MakePool(const py::handle& lanes, const py::handle& maxBlobs)
{
    for (const py::handle& number : {lanes, maxBlobs})
        if (PyIndex_Check(number.ptr()) == 0)
            throw py::type_error(Shown(number) + " is no whole number");
    const std::optional<int> laneCount = ToInt(lanes);
    const std::optional<int> room = ToInt(maxBlobs);
    std::vector<Problem> found;
    if (!laneCount)
        found.push_back({"lanes", Shown(lanes), "1 to " + std::to_string(nLaneLimit)});
    if (!room)
        found.push_back({"max_blobs", Shown(maxBlobs), "1 to " + std::to_string(nBlobLimit)});
    ThrowIfAny(std::move(found));
    return std::make_unique<LanePool>(*laneCount, *room);
}

/// On an inspector that the calling thread keeps for its next call: what it works in takes longer to get than most
/// images to inspect. The inspector finds room as each recipe asks for it: no result depends on the calls before.
InspectionResult InspectOnOwn(const GreyView& image, const CheckedRecipe& recipe)
{
    thread_local std::unique_ptr<Inspector> own;
    if (own == nullptr)
        own = std::make_unique<Inspector>(1, nBlobLimit);
    thread_local PlanKeeper plans;
    return own->Inspect(0, image, *plans.PlanFor(recipe, image.Width(), image.Height()), true);
}

template <typename Run>
Result InspectWith(const py::handle& image, const py::handle& recipe, Run run)
{
    const ImageArgument pixels =
        Translated(Fault::Image, [&] { return ImageArgument(image, "image", Colours::EachInspected); });
    return Translated(Fault::Recipe,
                      [&]
                      {
                          const CheckedRecipe made = ToRecipe(recipe);
                          Translated(Fault::Image, [&] { CheckColours(pixels.View(), *made); });
                          InspectionResult outcome = Unlocked([&] { return run(pixels.View(), made); });
                          return Result(std::move(outcome), pixels.View().Width(), pixels.View().Height());
                      });
}

} // namespace

void BindInspection(py::module_& module)
{
    module.def(
        "inspect",
        [](const py::handle& image, const py::handle& recipe) { return InspectWith(image, recipe, &InspectOnOwn); },
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
                Lanes& lanes = Translated(Fault::Argument, [&]() -> Lanes& { return pool.OfThisProcess(); });
                return InspectWith(image, recipe,
                                   [&](const GreyView& pixels, const CheckedRecipe& made)
                                   { return pool.Inspect(lanes, pixels, made); });
            },
            py::arg("image"), py::arg("recipe"),
            "As the function inspect(), on the next free lane. Any number of threads may call.")
        .def_property_readonly("lanes", &LanePool::Count, "Inspections at once.")
        .def_property_readonly("max_blobs", &LanePool::MaxBlobs, "Room for blobs of each lane.");
    SealConstructed(module.attr("LanePool"));
}

} // namespace narvo::python
