// SPDX-License-Identifier: MIT
// How the command line says that images are to be read, and the reading of images by it.
#pragma once

#include <filesystem>
#include <vector>

#include "host/image/conversion_notes.h"
#include "host/image/grey_image.h"
#include "host/image/image_reading.h"
#include "host/recipe/checked_recipe.h"
#include "narvo/host_images.h"

namespace CLI
{
class App;
}

namespace narvo::tools
{

class OutputNames;

/// Adds --channel, --weights, --bayer, --demosaic, --levels, --raw, --flat-field and --dark-field. They hold for the
/// whole run of the program.
void AddImageOptions(CLI::App& app);

/// `recipe` with what the command line says in its place. @throws HostError where the two do not go together
ImageReading ReadingOf(const ImageReading& recipe = {});

/// The rules of the host library for frames as they come, of which the packing of --raw counts. All options are
/// checked.
/// @throws HostError as ReadingOf
v1::ImageRules RulesOfFrames();

/// The files that --flat-field and --dark-field name; every command reads them.
std::vector<std::filesystem::path> FieldFilesByOption();

/// The copies, beside a recipe that is written, of the fields that options name.
void AddFieldOutputs(OutputNames& names, const std::filesystem::path& recipe);

/// Reads a recipe file; the recipes read images by ReadingOf. @throws HostError as LoadRecipes
std::vector<CheckedRecipe> LoadRecipesByOptions(const std::filesystem::path& file);
/// The same for a recipe of one region. @throws HostError as LoadRecipe
CheckedRecipe LoadRecipeByOptions(const std::filesystem::path& file);

/// Reads an image; what is lost is told by TellConversions. @throws HostError as LoadGreyImage
GreyImage LoadImage(const std::filesystem::path& file, const ImageReading& reading = ReadingOf());

/// Where the notes of all images of a run are kept, so that each kind of loss is told once.
ConversionNotes& ProgramNotes();

/// Prints new notes on the error stream.
void TellConversions();

} // namespace narvo::tools
