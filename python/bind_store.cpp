// SPDX-License-Identifier: MIT
// Reading of results in a database.
#include <cstdint>
#include <string>
#include <vector>

#include "host/library/public_report.h"
#include "host/library/translate.h"
#include "host/store/result_store.h"
#include "python/bind.h"
#include "python/narvo_errors.h"
#include "python/result_arrays.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// Runs `call` without the interpreter lock.
template <typename Call>
auto FromStore(Call call)
{
    return Translated(Fault::File, [&] { return Unlocked([&] { return library::Translated(call); }); });
}

py::list StoredRuns(const py::handle& place)
{
    const std::string name = ToPath(place).string();
    const std::vector<StoredRun> runs = FromStore([&] { return OpenResultStore(name, StoreAccess_Read)->Runs(); });
    py::list found;
    for (const StoredRun& run : runs)
    {
        const RunDescription& description = run.description;
        found.append(py::make_tuple(ToText(description.key), run.number, ToText(description.recipe.name),
                                    ToText(description.recipe.digest), ToText(description.program), description.started,
                                    run.images, run.refused, run.blobs));
    }
    return found;
}

py::str TextOf(const std::vector<Problem>& problems)
{
    std::string text;
    for (const Problem& problem : problems)
        text += (text.empty() ? "" : "; ") + problem.Text();
    return ToText(text);
}

/// An image's regions as region, problems, code and blobs.
py::list RegionsOf(StoredImage& image)
{
    py::list regions;
    if (!image.result.IsInspected())
        regions.append(py::make_tuple("", TextOf(image.result.problems), py::none(), py::none()));
    for (InspectionResult& region : image.result.regions)
    {
        std::string warnings;
        for (const std::string& warning : region.warnings)
            warnings += (warnings.empty() ? "" : "; ") + warning;
        const py::str name = ToText(region.name);
        const int code = region.code;
        const Result result(library::PublicFullReport(std::move(region), image.result.width, image.result.height));
        regions.append(py::make_tuple(name, ToText(warnings), code, result.blobs));
    }
    return regions;
}

py::list StoredImages(const py::handle& place, std::int64_t run)
{
    const std::string name = ToPath(place).string();
    std::vector<StoredImage> images;
    FromStore(
        [&]
        {
            OpenResultStore(name, StoreAccess_Read)
                ->Images(run, [&](StoredImage image) { images.push_back(std::move(image)); });
        });
    py::list found;
    for (StoredImage& image : images)
        found.append(py::make_tuple(ToText(image.result.name), RegionsOf(image)));
    return found;
}

} // namespace

void BindStore(py::module_& module)
{
    module.def(
        "stored_runs", &StoredRuns, py::arg("place"),
        "The runs of a store in the order in which they began: key, number, name of the recipe's file, digest of "
        "the recipe, program, start, counts of images, refused images and blobs. Raises FileError.");
    module.def("stored_images", &StoredImages, py::arg("place"), py::arg("run"),
               "The images of a run by its number, each with its regions: name, problems or warnings, code, blobs. "
               "Raises FileError.");
}

} // namespace narvo::python
