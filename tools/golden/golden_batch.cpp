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
#include "tools/inspect/inspect_batch.h"
#include "tools/inspect/interrupt.h"
#include "tools/output_names.h"
#include "tools/quiet_codecs.h"

namespace narvo
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

/// Of all that decides the results beside the image.
std::string DigestOfModel(const std::vector<std::string>& references, const GoldenSettings& settings)
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
    const std::string text = all.dump();
    Digest digest;
    digest.Add(text.data(), text.size());
    return digest.Text();
}

void CheckOutputNames(const GoldenBatchOptions& options, const std::vector<std::string>& images)
{
    OutputNames names;
    for (const std::string& reference : options.references)
        names.AddInput(reference);
    if (options.images.list != "-")
        names.AddInput(options.images.list);
    for (const std::string& image : images)
        names.AddInput(image);
    names.AddOutputs("all images", options.prefix, {".jsonl", ".csv"});
    names.Check();
}

} // namespace

int RunGoldenBatch(GoldenBatchOptions options, const GoldenSettings& settings)
{
    options.images.apart.assign(options.references.begin(), options.references.end());
    options.images.raw = ReadingOf().rawFormat != RawFormat_None;
    FileBatchOptions run;
    run.images = ListImages(options.images);
    CheckOutputNames(options, run.images);
    // Before the model is read: references that change in between make the results out of date, never wrongly current.
    run.lines = {options.prefix, DigestOfModel(options.references, settings), 1, options.start, options.retry};
    const GoldenModel model = LoadModel(options.references, settings);
    const InterruptRequest interrupt; // before the threads of the batch
    Batch batch([&model](Inspector& inspector, int lane, const GreyImage& image)
                { return InspectGolden(inspector, lane, model, image).inspection; },
                settings.maxBlobs, options.lanes > 0 ? options.lanes : DefaultLanes(run.images.size()));
    run.heading =
        "reference: " + Printable(options.references.front()) +
        (options.references.size() == 1 ? "" : " and " + std::to_string(options.references.size() - 1) + " more");
    run.reading = ReadingOf();
    run.quiet = options.quiet;
    return RunFileBatch(batch, run, interrupt.Token());
}

} // namespace narvo
