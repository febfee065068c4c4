// SPDX-License-Identifier: MIT
// Many images by the same regions on several threads: results arrive image by image in the order of the list, and are
// the same whatever the number of threads. Files, progress and resuming belong to the program.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "host/image/grey_image.h"
#include "host/inspect/inspector.h"
#include "host/inspect/plan_keeper.h"
#include "host/problem.h"
#include "host/recipe/checked_recipe.h"

namespace narvo
{

/// An image to come: how it is called, and how to get it.
struct BatchImage
{
    std::string name;
    /// Called once, on one of the batch's threads. What it throws becomes a problem of this image alone.
    std::function<std::shared_ptr<const GreyImage>()> load;
};

/// An image file that is read when its turn comes. `notes` outlive the batch.
BatchImage ImageFromFile(const std::filesystem::path& file, const ImageReading& reading = {},
                         ConversionNotes* notes = nullptr);

/// What came of one image.
struct ImageResult
{
    std::size_t number = 0; ///< place in the list, from 0
    std::string name;
    int width = 0; ///< pixels; 0 when it could not be read
    int height = 0;
    std::vector<Problem> problems;         ///< why it was not inspected, by image or by region; empty: it was
    std::vector<InspectionResult> regions; ///< one for each recipe, in their order; empty when there are problems
    double readMilliseconds = 0.0;
    double inspectMilliseconds = 0.0; ///< summed over the regions, on whichever threads

    bool IsInspected() const { return problems.empty(); }
    std::size_t BlobCount() const;
    /// Whether a region was not wholly looked at or lost blobs.
    bool HasWarnings() const;
};

/// How a batch ended.
struct BatchSummary
{
    std::size_t images = 0;  ///< reported
    std::size_t refused = 0; ///< of these, with problems
    std::size_t warned = 0;  ///< of these, with warnings
    std::size_t blobs = 0;
    int lanes = 0;        ///< threads that inspected: never more than there are regions in all images
    bool stopped = false; ///< images were left out on request
};

/// Engines for a batch, one for each thread.
class Batch
{
public:
    /// The recipes are one for each region; region and image number decide the order of results, never the threads. Of
    /// `lanes` threads a run starts those that have something to do and for which there is memory.
    /// @throws HostError without a recipe, for lanes outside 1 .. 256, or without memory
    Batch(std::vector<CheckedRecipe> recipes, int lanes);

    /// What is done with an image where there are no recipes: one result for each image, with a lane of the inspector
    /// that no other call uses at the time.
    using InspectImage = std::function<InspectionResult(Inspector& inspector, int lane, const GreyImage& image)>;
    /// @throws HostError for lanes outside 1 .. 256, or without memory
    Batch(InspectImage inspect, int maxBlobs, int lanes);
    ~Batch();
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;

    int Lanes() const { return m_lanes; }

    /// Inspects all images. `report` is called on the calling thread, once for each image in the order of the list, as
    /// soon as it and all before it have ended. Few images are held in memory at a time: about one for each lane. After
    /// a stop request no further image begins; those that have begun are finished and reported, so that what was
    /// reported is always the beginning of the list.
    /// @throws whatever `report` throws, when the threads have come to rest
    BatchSummary Run(const std::vector<BatchImage>& images, const std::function<void(const ImageResult&)>& report,
                     std::stop_token stop = {});

private:
    class Work;
    /// Results of an image.
    std::size_t Regions() const { return m_inspect ? 1 : m_recipes.size(); }
    /// One region of one image on one lane.
    InspectionResult Inspect(int lane, const GreyImage& image, std::size_t recipe);

    std::vector<CheckedRecipe> m_recipes;
    std::vector<PlanKeeper> m_plans; ///< by recipe
    InspectImage m_inspect;          ///< empty: by the recipes
    int m_lanes;
    std::unique_ptr<Inspector> m_inspector;
};

} // namespace narvo
