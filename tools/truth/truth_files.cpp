// SPDX-License-Identifier: MIT
// Files of truth by the names of images.
#include "tools/truth/truth_files.h"

#include <algorithm>
#include <filesystem>
#include <optional>

#include "host/counted.h"
#include "host/evaluate/image_measure.h"
#include "host/image/cv_image.h"
#include "host/image/image_header.h"
#include "host/problem.h"

namespace narvo::tools
{

namespace
{

namespace fs = std::filesystem;

std::vector<TruthDefect> TruthInMask(const fs::path& mask, const fs::path& image)
{
    const GreyImage pixels = LoadGreyImage(mask);
    const std::optional<ImageHeader> header = ReadImageHeader(image);
    if (header && (header->width != pixels.Width() || header->height != pixels.Height()))
        throw HostError({{"mask " + mask.string(),
                          std::to_string(pixels.Width()) + " by " + std::to_string(pixels.Height()) + " pixels",
                          "the " + std::to_string(header->width) + " by " + std::to_string(header->height) +
                              " pixels of the image"}});
    std::vector<TruthDefect> defects;
    for (const TrueRegion& region : TruthOfMask(ViewOf(pixels), "defect").regions)
    {
        TruthDefect& defect = defects.emplace_back();
        defect.kind = region.kind;
        defect.box = region.box;
    }
    return defects;
}

/// A mask is an image file.
std::vector<TruthDefect> TruthInFile(const fs::path& file, const fs::path& image)
{
    // A FIFO would keep the look at its header waiting.
    std::error_code error;
    return fs::is_regular_file(file, error) && ReadImageHeader(file) ? TruthInMask(file, image) : LoadTruth(file);
}

std::vector<TruthDefect> TruthInFolder(const fs::path& folder, const fs::path& image)
{
    const std::string stem = image.stem().string();
    std::error_code error;
    for (const char* ending : {".truth.json", ".txt"})
        if (const fs::path file = folder / (stem + ending); fs::is_regular_file(file, error))
            return LoadTruth(file);
    std::vector<fs::path> masks;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (std::error_code ignored; entry->is_regular_file(ignored) && entry->path().stem() == stem &&
                                     !fs::equivalent(entry->path(), image, ignored))
            masks.push_back(entry->path());
    if (masks.empty())
        throw HostError({{"truth " + folder.string(), "nothing for image " + image.string(),
                          stem + ".truth.json, " + stem + ".txt or a mask " + stem + ".*"}});
    return TruthInMask(*std::min_element(masks.begin(), masks.end()), image);
}

} // namespace

std::vector<std::vector<TruthDefect>> LoadTruths(const std::vector<std::string>& truth,
                                                 const std::vector<std::string>& images)
{
    std::error_code error;
    const bool folder = truth.size() == 1 && fs::is_directory(truth.front(), error);
    std::vector<Problem> found;
    if (!folder && truth.size() != images.size())
        found.push_back({"--truth", Counted(truth.size(), "file"),
                         "a folder, or " + Counted(images.size(), "file") + ", one for each image with defects"});
    std::vector<std::vector<TruthDefect>> all(images.size());
    for (std::size_t i = 0; i < images.size() && (folder || truth.size() == images.size()); ++i)
        try
        {
            all[i] = folder ? TruthInFolder(truth.front(), images[i]) : TruthInFile(truth[i], images[i]);
        }
        catch (const HostError& problem)
        {
            found.insert(found.end(), problem.Problems().begin(), problem.Problems().end());
        }
    ThrowIfAny(std::move(found));
    return all;
}

} // namespace narvo::tools
