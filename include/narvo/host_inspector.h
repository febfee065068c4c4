// SPDX-License-Identifier: MIT
// The inspector: lanes that inspect images by recipes, and what they report.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "narvo/host_images.h"
#include "narvo/host_recipe.h"
#include "narvo/image_pixels.h"

namespace narvo::v1
{

/// A rectangle of pixels; right and bottom are exclusive.
struct Box
{
    int left = 0;   ///< first column
    int top = 0;    ///< first row
    int right = 0;  ///< column behind the last one
    int bottom = 0; ///< row behind the last one
};

/// One reported defect. Coordinates are those of the image; y grows downward.
struct Defect
{
    int number = 0;         ///< 1, 2, ... in the order of the report
    bool bright = false;    ///< brighter than its reference, otherwise darker
    int band = 0;           ///< 1 first pitch of the region, 2 middle, 3 last
    bool single = false;    ///< seen against one neighbour only
    int area = 0;           ///< pixels
    Box box;                ///< of all its pixels
    int centerX = 0;        ///< mean of its pixels along x
    int centerY = 0;        ///< the same along y
    int peakX = 0;          ///< column where it stands out most
    int peakY = 0;          ///< row where it does
    int peak = 0;           ///< how far it rises above its threshold there, grey levels
    int maxDifference = 0;  ///< difference there, grey levels
    int meanDifference = 0; ///< grey levels
    int meanGrey = 0;       ///< of its pixels
    int meanReference = 0;  ///< of what they were compared with
    int zone = 0;           ///< the zone that holds most of its pixels
    int scale = 0;          ///< reduction of the image at which it stands out most; 1 where only the image is compared
    int label = 0;          ///< the recipe's label
    int diameter = 0;       ///< in the recipe's pixel sizes
    double angle = 0.0;     ///< of the long axis, degrees
    double majorAxis = 0.0; ///< pixels
    double minorAxis = 0.0; ///< pixels
    double circularity = 0.0; ///< 1 for a disc, less for other shapes
    double elongation = 0.0;  ///< area over the major axis, pixels: the mean width of a long defect
};

/// What came out of one region of an image.
struct Report
{
    std::string name;                  ///< the region's in the recipe
    int code = 0;                      ///< 1: all was inspected; 16: done in part or with re-runs, see warnings
    bool vertical = false;             ///< compared along y, otherwise along x
    Box region;                        ///< of shapes, the bounds
    bool overflowed = false;           ///< more was found than the engine holds at once
    double milliseconds = 0.0;         ///< all that the inspection took
    std::vector<std::string> warnings; ///< what was perhaps not looked at, or lost
    std::vector<Defect> defects;       ///< by number
};

struct FullReport; // <narvo/host_result.h>

/// Lanes of an inspector at most.
constexpr int HighestLanes = 256;
/// Defects that a region can have room for at most.
constexpr int HighestDefects = 1000000;

/// Engines for a number of images at once. Any number of threads may call Inspect on one inspector: each call takes a
/// free lane and waits while there is none. An inspector must not be destroyed while calls run. Results do not depend
/// on the lane or on the calls before.
class NARVOHOST_API Inspector
{
public:
    /// `lanes` is how many images are inspected at once, 1 .. 256; further lanes take memory when they are first used.
    /// @throws Error for another number, or without memory for the engines
    explicit Inspector(int lanes = 1);
    /// The same where a recipe may ask for room for `mostDefects` defects at most, 1 .. HighestDefects, which bounds
    /// the memory of a lane; recipes that ask for more (`max_blobs`) are refused. @throws Error as the other, or for
    /// another number
    Inspector(int lanes, int mostDefects);
    ~Inspector();
    Inspector(const Inspector&) = delete;
    Inspector& operator=(const Inspector&) = delete;

    /// As handed to the constructor.
    int Lanes() const noexcept;

    /// Inspects all regions of the recipe, in their order. 8-bit pixels are inspected as they are; of 16-bit pixels,
    /// the recipe's section `image` says how they become 8-bit grey.
    /// @throws Error when the image is not valid or the recipe does not suit its size; std::bad_alloc without memory,
    /// and the inspector stays usable
    std::vector<Report> Inspect(const ImagePixels& image, const Recipe& recipe);
    /// The same of an image that was read from a file or made of colours; its 8-bit pixels are inspected as they are.
    /// Where the recipe inspects each colour, reports hold the defects of all three.
    /// @throws Error as the other, and for an image with colours where the recipe does not inspect each
    std::vector<Report> Inspect(const Image& image, const Recipe& recipe);
    /// The same with everything that an inspection gives: the answers that defects are made of, outlines, times.
    /// @throws Error as Inspect
    std::vector<FullReport> InspectFully(const ImagePixels& image, const Recipe& recipe);
    /// The same of an image that was read or made of colours. @throws Error as Inspect
    std::vector<FullReport> InspectFully(const Image& image, const Recipe& recipe);
    /// The same, without the answers when `withAnswers` is false: for texts, tables, pictures and stores, which do not
    /// read them. @throws Error as Inspect
    std::vector<FullReport> InspectFully(const ImagePixels& image, const Recipe& recipe, bool withAnswers);
    /// The same of an image that was read or made of colours. @throws Error as Inspect
    std::vector<FullReport> InspectFully(const Image& image, const Recipe& recipe, bool withAnswers);

private:
    struct LaneSet;
    std::unique_ptr<LaneSet> m_lanes;
};

} // namespace narvo::v1
