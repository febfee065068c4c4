// SPDX-License-Identifier: MIT
// Options of the golden inspection, and which of its runs they ask for.
#include "tools/command.h"

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/problem.h"
#include "tools/golden/golden_batch.h"
#include "tools/golden/golden_run.h"
#include "tools/golden/golden_score.h"
#include "tools/number_option.h"

namespace narvo::tools
{

namespace
{

int RunMany(const GoldenOptions& options)
{
    std::vector<Problem> found;
    if (options.References().empty())
        found.push_back({"images", "no reference", "a reference and at least one image"});
    if (!options.truth.empty())
        found.push_back({"--truth", options.truth, "none with a folder or a list of images"});
    if (options.steps)
        found.push_back({"--steps", "given", "not with a folder or a list of images"});
    ThrowIfAny(std::move(found));
    BatchOptions many = options.many;
    many.images.places = options.Images();
    return RunGoldenBatch(options.References(), std::move(many), options.settings);
}

int RunGolden(const GoldenOptions& options)
{
    std::error_code error;
    const bool pairs = !options.truth.empty() && std::filesystem::is_directory(options.truth, error);
    if (pairs && (options.many.lanes > 0 || options.many.AsksForMany() || options.many.store.IsWanted()))
        throw HostError(
            {{"--truth", options.truth,
              "a folder of pairs alone, without --lanes, --list, --recursive, --resume, --overwrite and --store: the "
              "pairs are measured one after the other"}});
    if (options.IsStreamed() && !pairs)
        return RunMany(options);
    if (!options.truth.empty() && !std::filesystem::exists(options.truth, error))
        throw HostError(
            {{"truth " + options.truth, "no such file or folder", "a file of true defects, or a folder of pairs"}});
    if (!pairs)
        return RunGoldenImages(options);
    ScoreOptions score = options.score;
    score.folder = options.truth;
    if (!options.files.empty() || !options.references.empty())
        throw HostError({{"images", "given", "none where truth is a folder of pairs"}});
    return RunGoldenScore(score, options.settings, options.many.quiet);
}

} // namespace

void AddGoldenCommand(CLI::App& app, Action& action)
{
    const auto options = std::make_shared<GoldenOptions>();
    GoldenSettings& settings = options->settings;
    RegistrationSettings& registration = settings.registration;
    CLI::App* command = app.add_subcommand(
        "golden", "Inspect images of a pattern that does not repeat against one or more good references");
    command->add_option("files", options->files,
                        "the reference and the images to inspect (PNG, TIFF, BMP, PGM, JPEG, raw frames) or folders "
                        "of them; images alone where --reference is given");
    AddBatchOptions(*command, options->many,
                    "folders and lists: inspections at once, 1 to 256 (default: one for each processor)");
    AddStoreOptions(*command, options->many.store);
    command
        ->add_option("--reference", options->references,
                     "reference, once for each of several: their spread widens the thresholds; results are told in "
                     "the first one's coordinates too")
        ->allow_extra_args(false);
    command
        ->add_option("--max-shift", registration.maxShift,
                     "how far an image may lie off along x and y, pixels, 0 to 1024 and at most a quarter of the "
                     "shortest side; sizes may differ by as much")
        ->capture_default_str();
    command->add_option("--max-rotation", registration.maxRotation, "how far it may be turned, degrees, 0 to 10")
        ->capture_default_str();
    command
        ->add_option("--max-scale", registration.maxScale,
                     "how far its scales and its shear may be off, percent, 0 to 10")
        ->capture_default_str();
    command
        ->add_option("--mesh", registration.meshSpacing,
                     "distance between the nodes of the local correction, pixels, 16 to 1024, or 0 for none")
        ->capture_default_str();
    command
        ->add_option("--min-correlation", registration.minCorrelation,
                     "least correlation of image and registered reference, 0 to 1; below, the image is refused")
        ->capture_default_str();
    command
        ->add_option("--edge-tolerance", settings.edgeTolerance,
                     "how far an edge may lie elsewhere without being a difference, pixels, 0 to 16")
        ->capture_default_str();
    command
        ->add_option(
            "--threshold", settings.threshold,
            "difference beyond what the references allow, grey levels, 1 to 255, or 0 to take it from the noise")
        ->capture_default_str();
    command->add_option("--min-pixels", settings.minPixels, "smallest blob that is reported, pixels, 1 to 1000000")
        ->capture_default_str();
    command->add_option("--max-blobs", settings.maxBlobs, "room for blobs, 1 to 1000000")->capture_default_str();
    command->add_option("-t,--truth", options->truth,
                        "true defects of the one image to compare with; or a folder of pairs NAME_temp.*, NAME_test.* "
                        "with boxes in NAME.txt (left top right bottom kind), which is measured instead");
    command
        ->add_option("--displace", options->score.displacement,
                     "folder of pairs: move the images at random by up to this, pixels, 0 to 64")
        ->capture_default_str();
    command
        ->add_option("--seed", options->score.seed,
                     "folder of pairs: the same number gives the same moves, 0 to 9223372036854775807")
        ->check(SeedRange())
        ->capture_default_str();
    command->add_flag("--cross-check", options->score.crossCheck,
                      "folder of pairs: choose mesh, edge tolerance and threshold on each half and measure on the "
                      "other");
    command->add_option("-o,--output", options->many.output,
                        "beginning of the result files' names, followed by the image's where there are several "
                        "(default: the image's name without its ending; for folders and lists, results)");
    command->add_flag("--steps", options->steps, "also write the registered reference and the threshold of each pixel");
    AddOverlayOptions(*command, options->overlay, "images that are named");
    command->add_flag("-q,--quiet", options->many.quiet, "print warnings and problems only");
    command->footer(
        "Images that are named leave OUTPUT.blobs.json, OUTPUT.blobs.csv and OUTPUT.overlay.png each. A "
        "folder, a list, --lanes,\n--resume, --overwrite and --store leave OUTPUT.jsonl with one line for each image "
        "as it ends, and OUTPUT.csv with one line\nfor each blob.");
    command->callback([options, &action] { action = [options] { return RunGolden(*options); }; });
}

} // namespace narvo::tools
