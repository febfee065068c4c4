// SPDX-License-Identifier: MIT
// The model, the images and the names of a golden inspection of many images.
#include "tools/golden/golden_batch.h"

#include <utility>

#include <nlohmann/json.hpp>

#include "host/foreign_text.h"
#include "host/golden/golden.h"
#include "host/inspect/batch.h"
#include "host/problem.h"
#include "host/result/digest.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/inspect/file_batch.h"
#include "tools/inspect/interrupt.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

GoldenModel LoadModel(const std::vector<std::string>& references, const GoldenSettings& settings)
{
    const QuietCodecs quiet;
    std::vector<Problem> found = CheckGoldenSettings(settings);
    std::vector<GreyImage> images;
    for (const std::string& file : references)
        CollectProblems(found, [&] { images.push_back(LoadImage(file)); });
    ThrowIfAny(std::move(found));
    return {images, settings};
}

/// All that decides the results beside the image, but for flat and dark fields.
std::string ModelText(const std::vector<std::string>& references, const GoldenSettings& settings)
{
    const RegistrationSettings& registration = settings.registration;
    nlohmann::json all = {registration.maxShift,    registration.maxRotation,    registration.maxScale,
                          registration.meshSpacing, registration.minCorrelation, settings.edgeTolerance,
                          settings.threshold,       settings.minPixels,          settings.maxBlobs};
    const ImageReading reading = ReadingOf();
    all.push_back({reading.channel, reading.weightRed, reading.weightGreen, reading.weightBlue, reading.bayer,
                   reading.demosaic, reading.levelLow, reading.levelHigh, reading.rawFormat, reading.rawWidth,
                   reading.rawHeight, reading.rawOffset});
    for (const std::string& file : references)
        all.push_back(DigestOfFile(file));
    return all.dump();
}

std::string DigestOfModel(const std::string& text)
{
    Digest digest;
    digest.Add(text.data(), text.size());
    AddFields(digest, ReadingOf().fields);
    return digest.Text();
}

} // namespace

int RunGoldenBatch(const std::vector<std::string>& references, BatchOptions options, const GoldenSettings& settings)
{
    options.images.apart.assign(references.begin(), references.end());
    options.images.raw = ReadingOf().rawFormat != RawFormat_None;
    FileBatchOptions run;
    run.images = ListImages(options.images);
    OutputNames names;
    for (const std::string& reference : references)
        names.AddInput(reference);
    CheckBatchNames(std::move(names), options, run.images);
    // Before the model is read: references that change in between make the results out of date, never wrongly current.
    const std::string text = ModelText(references, settings);
    run.lines = options.Lines(DigestOfModel(text), 1);
    run.store = options.store;
    run.recipe = {run.lines.recipe, references.front(), text};
    const GoldenModel model = LoadModel(references, settings);
    const InterruptRequest interrupt; // before the threads of the batch
    Batch batch([&model](Inspector& inspector, int lane, const GreyImage& image)
                { return InspectGolden(inspector, lane, model, image).inspection; },
                settings.maxBlobs, ChooseLanes(options.lanes, run.images.size()));
    run.heading = "reference: " + Printable(references.front()) +
                  (references.size() == 1 ? "" : " and " + std::to_string(references.size() - 1) + " more");
    run.reading = ReadingOf();
    run.quiet = options.quiet;
    return RunFileBatch(batch, run, interrupt.Token());
}

} // namespace narvo::tools
