// SPDX-License-Identifier: MIT
// Reading of results in a database.
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <narvo/host_store.h>

#include "python/bind.h"
#include "python/narvo_errors.h"
#include "python/result_arrays.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

/// Runs `call` on the store without the interpreter lock.
template <typename Call>
auto WithStore(const py::handle& place, Call call)
{
    const std::string name = ToPath(place).string();
    return Translated(Fault::File,
                      [&]
                      {
                          return Unlocked(
                              [&]
                              {
                                  v1::ResultStore store = v1::ResultStore::ForReading(name);
                                  return call(store);
                              });
                      });
}

py::list StoredRuns(const py::handle& place)
{
    py::list found;
    for (const v1::StoredRun& run : WithStore(place, [](v1::ResultStore& store) { return store.Runs(); }))
        found.append(py::make_tuple(ToText(run.key), run.number, ToText(run.recipe), ToText(run.recipeDigest),
                                    ToText(run.program), run.started, run.images, run.refused, run.defects));
    return found;
}

py::str TextOf(const std::vector<v1::Problem>& problems)
{
    std::string text;
    for (const v1::Problem& problem : problems)
        text += (text.empty() ? "" : "; ") + std::string(v1::Error({problem}).what());
    return ToText(text);
}

/// An image's regions as region, problems, code and blobs.
py::list RegionsOf(v1::StoredImage& image)
{
    py::list regions;
    if (!image.problems.empty())
        regions.append(py::make_tuple("", TextOf(image.problems), py::none(), py::none()));
    for (v1::FullReport& region : image.reports)
    {
        const v1::Report& report = region.report;
        std::string warnings;
        for (const std::string& warning : report.warnings)
            warnings += (warnings.empty() ? "" : "; ") + warning;
        const py::str name = ToText(report.name);
        const int code = report.code;
        const Result result(std::move(region));
        regions.append(py::make_tuple(name, ToText(warnings), code, result.blobs));
    }
    return regions;
}

py::list StoredImages(const py::handle& place, std::int64_t run)
{
    std::vector<v1::StoredImage> images =
        WithStore(place,
                  [&](v1::ResultStore& store)
                  {
                      std::vector<v1::StoredImage> all;
                      store.Images(run, [&](v1::StoredImage image) { all.push_back(std::move(image)); });
                      return all;
                  });
    py::list found;
    for (v1::StoredImage& image : images)
        found.append(py::make_tuple(ToText(image.name), RegionsOf(image)));
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
