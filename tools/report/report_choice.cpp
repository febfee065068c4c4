// SPDX-License-Identifier: MIT
// The choice by size, with room for either polarity.
#include "tools/report/report_choice.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>

namespace narvo::tools
{

namespace
{

// What a page holds at most, so that a browser opens it at once.
constexpr std::size_t nBlobMost = 50000;

} // namespace

const Blob& BlobAt(const ReportPage& page, const BlobPlace& place)
{
    return page.images[place.image].result.blobs[place.blob];
}

std::vector<BlobPlace> ChooseBlobs(ReportPage& page, int most)
{
    std::vector<BlobPlace> places;
    for (std::size_t i = 0; i < page.images.size(); ++i)
        for (std::size_t j = 0; j < page.images[i].result.blobs.size(); ++j)
            places.push_back({i, j});
    std::stable_sort(places.begin(), places.end(),
                     [&](const BlobPlace& a, const BlobPlace& b)
                     {
                         const Blob& first = BlobAt(page, a);
                         const Blob& second = BlobAt(page, b);
                         return first.area != second.area ? first.area > second.area : first.peak > second.peak;
                     });
    for (ReportImage& image : page.images)
    {
        image.thumbnails.resize(image.result.blobs.size());
        if (places.size() > nBlobMost)
            image.kept.assign(image.result.blobs.size(), false);
    }
    if (places.size() > nBlobMost)
    {
        for (std::size_t i = 0; i < nBlobMost; ++i)
            page.images[places[i].image].kept[places[i].blob] = true;
        page.notes.push_back("Of " + std::to_string(places.size()) + " defects the page lists the " +
                             std::to_string(nBlobMost) + " largest.");
    }
    const std::size_t thumbnails = std::min(places.size(), static_cast<std::size_t>(most));
    // Half of the crops for either polarity, where it has so many: one kind of large defect must not take them all.
    if (thumbnails < places.size())
    {
        std::vector<std::size_t> rank(places.size());
        std::size_t counts[2] = {0, 0};
        for (std::size_t i = 0; i < places.size(); ++i)
            rank[i] = counts[BlobAt(page, places[i]).bright ? 1 : 0]++;
        std::vector<std::size_t> order(places.size());
        std::iota(order.begin(), order.end(), std::size_t{0});
        std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return rank[a] < rank[b]; });
        std::vector<BlobPlace> mixed;
        for (const std::size_t i : order)
            mixed.push_back(places[i]);
        places = std::move(mixed);
    }
    if (thumbnails < places.size())
        page.notes.push_back(thumbnails == 0 ? "No thumbnails are kept."
                                             : "Of " + std::to_string(places.size()) + " defects the " +
                                                   std::to_string(thumbnails) +
                                                   " largest dark and bright ones come with thumbnails "
                                                   "(--thumbnails).");
    places.resize(thumbnails);
    return places;
}

} // namespace narvo::tools
