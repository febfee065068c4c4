// SPDX-License-Identifier: MIT
// Recipe, images and names of an inspection of many images.
#include "tools/inspect/inspect_batch.h"

#include <utility>

#include "host/file/input_file.h"
#include "host/foreign_text.h"
#include "host/inspect/batch.h"
#include "host/recipe/recipe_file.h"
#include "host/result/digest.h"
#include "tools/image_options.h"
#include "tools/inspect/file_batch.h"
#include "tools/inspect/interrupt.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

/// What the codecs write about a broken file is told in words of our own.
std::vector<CheckedRecipe> LoadQuietly(const std::string& file)
{
    const QuietCodecs quiet;
    return LoadRecipesByOptions(file);
}

} // namespace

int RunInspectBatch(const std::string& recipe, BatchOptions options)
{
    const std::vector<CheckedRecipe> recipes = LoadQuietly(recipe);
    options.images.apart = PaintedImages(recipe, recipes);
    options.images.raw = recipes.front()->rawFormat != RawFormat_None;
    FileBatchOptions run;
    run.reading = *recipes.front();
    run.images = ListImages(options.images);
    OutputNames names;
    names.AddRecipe(recipe, recipes);
    CheckBatchNames(std::move(names), options, run.images);
    // Before the threads of the batch; and the batch before the results, which stay as they are if it cannot be made.
    const InterruptRequest interrupt;
    Batch batch(recipes, ChooseLanes(options.lanes, run.images.size() * recipes.size()));
    run.heading = "recipe: " + Printable(recipe) + ", " + std::to_string(recipes.size()) +
                  (recipes.size() == 1 ? " region" : " regions");
    run.lines = options.Lines(DigestOfRecipes(recipes), recipes.size());
    run.quiet = options.quiet;
    run.store = options.store;
    run.recipe = {run.lines.recipe, recipe, ReadTextFile(recipe, "recipe " + recipe)};
    return RunFileBatch(batch, run, interrupt.Token());
}

} // namespace narvo::tools
