// SPDX-License-Identifier: MIT
// Texture mode from good images: the standard measures, and their limits by largest values place by place.
#include <algorithm>
#include <cmath>

#include "host/counted.h"
#include "host/image/cv_image.h"
#include "host/inspect/for_each.h"
#include "host/learn/candidate.h"
#include "host/learn/extreme_value.h"
#include "host/learn/place_maxima.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr int nPlaceSide = 256;           // pixels
constexpr int nPlaceSideLow = 64;         // pixels
constexpr std::size_t nPlacesWanted = 48; // over all images; smaller places where there are fewer
constexpr std::size_t nPlacesLeast = 4;
constexpr int nTextureMerge = 16; // pixels

/// Squares no smaller than the finest patterns' pitch, and lines in all directions; sides in pixels of the image go
/// from 8 to 32, lines from 64 to 128.
std::vector<TextureFeature> StandardMeasures()
{
    std::vector<TextureFeature> measures;
    const auto add = [&](int source, int shape, int fold, int size)
    {
        TextureFeature& measure = measures.emplace_back();
        measure.source = source;
        measure.shape = shape;
        measure.fold = fold;
        measure.size = size;
    };
    add(TextureSource_Brightness, TextureShape_Square, 4, 2);
    add(TextureSource_Brightness, TextureShape_Square, 8, 2);
    add(TextureSource_Brightness, TextureShape_Square, 8, 4);
    add(TextureSource_Energy, TextureShape_Square, 2, 4);
    add(TextureSource_Energy, TextureShape_Square, 4, 3);
    add(TextureSource_Energy, TextureShape_Square, 8, 2);
    add(TextureSource_Energy, TextureShape_Square, 8, 4);
    for (const int source : {TextureSource_Coarse, TextureSource_EnergyX, TextureSource_EnergyY})
    {
        add(source, TextureShape_Square, 4, 3);
        add(source, TextureShape_Square, 8, 2);
        add(source, TextureShape_Square, 8, 4);
    }
    add(TextureSource_Brightness, TextureShape_Line, 2, 32);
    add(TextureSource_Brightness, TextureShape_Line, 4, 16);
    add(TextureSource_Brightness, TextureShape_Line, 4, 32);
    add(TextureSource_Brightness, TextureShape_Line, 8, 16);
    add(TextureSource_Energy, TextureShape_Line, 4, 16);
    add(TextureSource_Energy, TextureShape_Line, 8, 16);
    return measures;
}

/// Side of the places that the images are cut into.
int PlaceSideFor(const GreyImage& image, std::size_t images)
{
    int side = nPlaceSide;
    const auto places = [&]
    {
        return static_cast<std::size_t>(std::max(1, image.Width() / side)) *
               static_cast<std::size_t>(std::max(1, image.Height() / side)) * images;
    };
    while (places() < nPlacesWanted && side > nPlaceSideLow)
        side /= 2;
    return side;
}

/// Every other half of an image's places, as images of their own, to hold one against the other.
std::vector<PlaceMaxima> Halves(const PlaceMaxima& image)
{
    std::vector<PlaceMaxima> halves(2);
    const std::size_t middle = image.places / 2;
    for (std::size_t half = 0; half < halves.size(); ++half)
    {
        const auto take = [&](const std::vector<FeatureMaxima>& from, std::vector<FeatureMaxima>& to)
        {
            for (const FeatureMaxima& maxima : from)
            {
                const auto split = maxima.inside.begin() + static_cast<std::ptrdiff_t>(middle);
                to.push_back({half == 0 ? std::vector<double>(maxima.inside.begin(), split)
                                        : std::vector<double>(split, maxima.inside.end()),
                              0.0, 0.0});
            }
        };
        take(image.bright, halves[half].bright);
        take(image.dark, halves[half].dark);
        halves[half].places = half == 0 ? middle : image.places - middle;
    }
    return halves;
}

/// Learns from all but one group, and scores this one.
void CrossValidate(const std::vector<PlaceMaxima>& measured, double rate, bool eachChannel, Candidate& candidate)
{
    std::vector<TextureFeature> measures = candidate.recipe.textureFeatures;
    if (measured.size() == 1)
    {
        // The rate is that of an image; half of its places stand for half of it.
        candidate.crossValidated = false;
        const std::vector<PlaceMaxima> halves = Halves(measured[0]);
        if (halves[0].places < nPlacesLeast)
            return;
        for (std::size_t half = 0; half < halves.size(); ++half)
        {
            SetLimits({&halves[1 - half]}, rate / 2.0, measures);
            const PlaceScore score = ScorePlaces(halves[half], measures);
            candidate.images[0].highest = std::max(candidate.images[0].highest, score.highest);
            candidate.images[0].falseBlobs += score.placesAbove;
        }
        return;
    }
    const std::vector<std::size_t> groups = LeaveOutGroups(measured.size(), eachChannel);
    for (std::size_t group = 0; group <= *std::max_element(groups.begin(), groups.end()); ++group)
    {
        std::vector<const PlaceMaxima*> rest;
        std::size_t places = 0;
        for (std::size_t i = 0; i < measured.size(); ++i)
            if (groups[i] != group)
            {
                rest.push_back(&measured[i]);
                places += measured[i].places;
            }
        if (places < nPlacesLeast)
        {
            candidate.crossValidated = false;
            continue;
        }
        measures = StandardMeasures();
        SetLimits(rest, rate, measures);
        for (std::size_t i = 0; i < measured.size(); ++i)
            if (groups[i] == group)
            {
                const PlaceScore score = ScorePlaces(measured[i], measures);
                candidate.images[i].highest = score.highest;
                candidate.images[i].falseBlobs = score.placesAbove;
            }
    }
}

} // namespace

Candidate LearnTexture(const std::vector<BatchImage>& good, const LearnSettings& settings, int threads)
{
    Candidate candidate;
    candidate.recipe.mode = Mode_Texture;
    candidate.recipe.name = settings.name;
    candidate.recipe.mergeDistance = nTextureMerge;
    candidate.recipe.textureFeatures = StandardMeasures();
    candidate.description = "texture mode, without a period";
    const int side = PlaceSideFor(*good.front().load(), good.size());
    std::vector<PlaceMaxima> measured(good.size());
    candidate.images.resize(good.size());
    ForEachImage(
        good, threads,
        [&](std::size_t i, const GreyImage& image, int)
        {
            if (image.Width() < nTextureSideLow || image.Height() < nTextureSideLow)
                throw HostError({{"image " + good[i].name,
                                  std::to_string(image.Width()) + " by " + std::to_string(image.Height()) + " pixels",
                                  "sides of " + std::to_string(nTextureSideLow) + " pixels or more"}});
            measured[i] = WithinMemory(
                [&]
                { return MeasurePlaces(image, candidate.recipe.Texture(), candidate.recipe.textureFeatures, side); });
            candidate.images[i] = {good[i].name,
                                   image.Width(),
                                   image.Height(),
                                   measured[i].area,
                                   measured[i].level,
                                   measured[i].contrast,
                                   0.0,
                                   0};
        });
    std::vector<const PlaceMaxima*> all;
    std::size_t places = 0;
    std::size_t edges = 0;
    for (const PlaceMaxima& image : measured)
    {
        all.push_back(&image);
        places += image.places;
        edges += image.hasEdge ? 1 : 0;
    }
    if (places < nPlacesLeast)
        throw HostError({{"images",
                          "pattern in " + std::to_string(places) + " places of " + std::to_string(side) +
                              " pixels in all images together",
                          "at least " + std::to_string(nPlacesLeast) + " places"}});
    SetLimits(all, settings.falseRate, candidate.recipe.textureFeatures);
    CrossValidate(measured, settings.falseRate, settings.eachChannel, candidate);

    const auto low = std::min_element(measured.begin(), measured.end(),
                                      [](const PlaceMaxima& a, const PlaceMaxima& b) { return a.area < b.area; });
    candidate.reasons.push_back("Light and local contrast are taken out over windows of " +
                                std::to_string(candidate.recipe.textureWindow) + " pixels; " +
                                std::to_string(candidate.recipe.textureFeatures.size()) +
                                " measures of brightness and contrast follow, over squares of 8 to 32 "
                                "pixels and lines of 64 to 128, "
                                "at reductions of 2, 4 and 8.");
    candidate.reasons.push_back("Their limits come from the largest values in " + std::to_string(places) +
                                " places of " + std::to_string(side) + " by " + std::to_string(side) + " pixels in " +
                                Counted(good.size(), "image") + ", so that " + Rounded(settings.falseRate) +
                                " false blobs an image are expected.");
    if (edges > 0)
        candidate.reasons.push_back("Margins without pattern were found in " + std::to_string(edges) + " of " +
                                    Counted(good.size(), "image") + " and are left out (the pattern fills " +
                                    Rounded(100.0 * low->area) +
                                    " % or more of each); the zone beside a margin has limits of its own.");
    return candidate;
}

} // namespace narvo
