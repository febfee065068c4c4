// SPDX-License-Identifier: MIT
// What is read, by a file's name and beginning.
#include "host/exchange/listed_results.h"

#include <map>
#include <utility>

#include "host/exchange/klarf.h"
#include "host/file/input_file.h"
#include "host/image/image_header.h"
#include "host/result/result_reader.h"

namespace narvo
{

namespace
{

namespace fs = std::filesystem;

void FindSize(DefectList& image, const fs::path& result)
{
    if (image.width > 0 && image.height > 0)
        return;
    const fs::path beside = result.parent_path() / fs::path(image.image).filename();
    for (const fs::path& file : {fs::path(image.image), beside})
        if (const auto header = ReadImageHeader(file); header && header->width > 0 && header->height > 0 &&
                                                       header->width <= nListedPixels &&
                                                       header->height <= nListedPixels)
        {
            image.width = static_cast<int>(header->width);
            image.height = static_cast<int>(header->height);
            return;
        }
}

std::vector<DefectList> ReadResults(const fs::path& file)
{
    std::vector<DefectList> images;
    std::map<std::string, std::size_t> places;
    for (const SavedResult& saved : LoadResults(file))
    {
        const std::string name = saved.image.empty() ? file.stem().string() : saved.image;
        const auto [place, added] = places.emplace(name, images.size());
        if (added)
        {
            images.push_back({name, saved.width, saved.height, {}});
            FindSize(images.back(), file);
        }
        AddListed(saved.result, images[place->second].defects);
    }
    return images;
}

bool HoldsKlarf(const fs::path& file)
{
    const std::string ending = file.extension().string();
    return ending != ".json" && ending != ".jsonl" &&
           IsKlarf(ReadTextFile(file, file.string(), "a readable result file"));
}

} // namespace

void AddListed(const InspectionResult& result, std::vector<ListedDefect>& defects)
{
    for (const Blob& blob : result.blobs)
        defects.push_back({blob.box, static_cast<double>(blob.area), blob.bright ? "bright" : "dark"});
}

std::vector<DefectList> ReadDefectLists(const fs::path& file, double pixelSize)
{
    return HoldsKlarf(file) ? ReadKlarf(file, pixelSize).images : ReadResults(file);
}

} // namespace narvo
