// SPDX-License-Identifier: MIT
// What texture mode looks at: how light and contrast are taken out of an image, which measures are made of the rest,
// and how far each may go. `narvo learn` writes these numbers; they are part of the recipe.
#pragma once

namespace narvo
{

/// What a measure is taken of.
enum TextureSource : int
{
    TextureSource_Brightness = 0, ///< brightness with light and contrast taken out
    TextureSource_Energy = 1,     ///< how strongly it varies, against the same over a large window
    TextureSource_Coarse = 2,     ///< how strongly its means over 4 by 4 pixels vary, likewise
    TextureSource_EnergyX = 3,    ///< how strongly it changes along x, likewise
    TextureSource_EnergyY = 4     ///< how strongly it changes along y, likewise
};

/// Over what a measure takes its mean.
enum TextureShape : int
{
    TextureShape_Square = 0, ///< a square
    TextureShape_Line = 1    ///< a line, in all directions; the strongest counts
};

/// One measure with its limits. Values are in robust standard deviations of the image itself (1.4826 times the median
/// of the deviations from the median), of places inside the pattern and beside its margins apart. A place is a defect
/// where a value lies above its limit; the typical value is the median of the largest ones on good material, from which
/// scores count. A limit of 0 is none: nothing is found.
struct TextureFeature
{
    int source = TextureSource_Brightness;
    int shape = TextureShape_Square;
    int fold = 4; ///< pixels of the image's side that make one of the reduced image
    int size = 2; ///< side of the square or length of the line, in pixels of the reduced image
    double brightTypical = 0.0;
    double brightLimit = 0.0;
    double darkTypical = 0.0;
    double darkLimit = 0.0;
    double edgeBrightTypical = 0.0; ///< beside the margins
    double edgeBrightLimit = 0.0;
    double edgeDarkTypical = 0.0;
    double edgeDarkLimit = 0.0;
};

constexpr int nTextureFeatureLimit = 64;
/// Highest limit, robust standard deviations.
constexpr double dTextureDeviationHigh = 1000000.0;
/// The coarsest reduction.
constexpr int nTextureFoldHigh = 8;
/// Shortest side of a region in texture mode, pixels: a few of the largest measures next to each other.
constexpr int nTextureSideLow = 128;

/// How an image is made ready for the measures.
struct TextureSettings
{
    bool findMargins = true; ///< look for margins without pattern left and right, and leave them out
    int window = 97;         ///< pixels: side of the window whose mean and deviation are taken out
    int edgeZone = 64;       ///< pixels beside a margin that are judged by the limits for edges
    int edgeWindow = 129;    ///< pixels: length along the margin of the window there
    int energyWindow = 193;  ///< pixels: side of the window that energy is compared with
};

} // namespace narvo
