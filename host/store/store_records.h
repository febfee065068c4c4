// SPDX-License-Identifier: MIT
// What a result store keeps, as plain records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/inspect/batch.h"
#include "host/result/image_line.h"

namespace narvo
{

/// What inspects the images of a run.
struct StoredRecipe
{
    std::string digest; ///< as result lines have it; the key, so that a text is kept once
    std::string name;   ///< of its file, any bytes but 0
    std::string text;   ///< the file's contents
};

/// Images that belong together, as those of one command.
struct RunDescription
{
    std::string key; ///< unique in the store; names the run for whoever continues it
    StoredRecipe recipe;
    std::string program;      ///< and version that wrote it
    std::int64_t started = 0; ///< nanoseconds since 1970
};

/// A run as it stands in the store.
struct StoredRun
{
    RunDescription description;
    std::int64_t number = 0; ///< the store's own
    std::size_t images = 0;
    std::size_t refused = 0; ///< of these
    std::size_t blobs = 0;
};

/// What somebody or something decided about an image or a blob: an operator, a rule.
struct Verdict
{
    int region = -1;        ///< place of the blob's region; -1: the whole image
    int blob = 0;           ///< the blob's number in its region; 0: the whole region
    std::string verdict;    ///< as "good", "scrap"
    std::string source;     ///< who or what decided
    std::int64_t given = 0; ///< nanoseconds since 1970
    bool operator==(const Verdict& other) const = default;
};

/// A part of an image around a blob.
struct Crop
{
    int region = 0;
    int blob = 0;     ///< number in the region
    std::string kind; ///< "image", "reference", "difference"
    int left = 0;     ///< of its first pixel in the image
    int top = 0;
    std::string png; ///< bytes of a PNG file
    bool operator==(const Crop& other) const = default;
};

/// One image with all that came of it. Pair records (InspectionResult::pairRecords) are not kept.
struct StoredImage
{
    std::string key;               ///< unique in its run; empty: the image's name
    std::int64_t sequence = 0;     ///< place in the run; images are read in this order, equal ones as they came
    std::int64_t inspected = 0;    ///< nanoseconds since 1970
    ImageResult result;            ///< its number is not kept
    FileIdentity identity;         ///< of the file; all empty where there is none
    std::vector<Verdict> verdicts; ///< any order, kept
    std::vector<Crop> crops;       ///< at most nMostCropBytes together
    const std::string& Key() const { return key.empty() ? result.name : key; }
};

/// Bytes of all crops of an image: a store holds results, not the images.
constexpr std::size_t nMostCropBytes = 4U << 20U;

} // namespace narvo
