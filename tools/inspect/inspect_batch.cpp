// SPDX-License-Identifier: MIT
// Recipe, images and names of an inspection of many images.
#include "tools/inspect/inspect_batch.h"

#include <algorithm>
#include <thread>

#include "host/foreign_text.h"
#include "host/inspect/batch.h"
#include "host/recipe/recipe_file.h"
#include "host/result/digest.h"
#include "tools/image_options.h"
#include "tools/inspect/file_batch.h"
#include "tools/inspect/interrupt.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"

namespace narvo
{

namespace
{

/// What the codecs write about a broken file is told in words of our own.
std::vector<CheckedRecipe> LoadQuietly(const std::string& file)
{
    const QuietCodecs quiet;
    return LoadRecipesByOptions(file);
}

void CheckOutputNames(const InspectBatchOptions& options, const std::vector<CheckedRecipe>& recipes,
                      const std::vector<std::string>& images)
{
    OutputNames names;
    names.AddRecipe(options.recipe, recipes);
    if (options.images.list != "-")
        names.AddInput(options.images.list);
    for (const std::string& image : images)
        names.AddInput(image);
    names.AddOutputs("all images", options.prefix, {".jsonl", ".csv"});
    names.Check();
}

} // namespace

int RunInspectBatch(InspectBatchOptions options)
{
    const std::vector<CheckedRecipe> recipes = LoadQuietly(options.recipe);
    options.images.apart = PaintedImages(options.recipe, recipes);
    options.images.raw = recipes.front()->rawFormat != RawFormat_None;
    FileBatchOptions run;
    run.reading = *recipes.front();
    run.images = ListImages(options.images);
    CheckOutputNames(options, recipes, run.images);
    // Before the threads of the batch; and the batch before the results, which stay as they are if it cannot be made.
    const InterruptRequest interrupt;
    const int lanes = options.lanes > 0 ? options.lanes : DefaultLanes(run.images.size() * recipes.size());
    Batch batch(recipes, lanes);
    run.heading = "recipe: " + Printable(options.recipe) + ", " + std::to_string(recipes.size()) +
                  (recipes.size() == 1 ? " region" : " regions");
    run.lines = {options.prefix, DigestOfRecipes(recipes), recipes.size(), options.start, options.retry};
    run.quiet = options.quiet;
    return RunFileBatch(batch, run, interrupt.Token());
}

int DefaultLanes(std::size_t pieces)
{
    constexpr std::size_t nMost = 64;
    const std::size_t processors = std::max(1U, std::thread::hardware_concurrency());
    return static_cast<int>(std::max<std::size_t>(1, std::min({processors, pieces, nMost})));
}

} // namespace narvo
