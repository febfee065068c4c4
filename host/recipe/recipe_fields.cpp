// SPDX-License-Identifier: MIT
// Rows of the field table.
#include "host/recipe/recipe_fields.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <limits>

#include "host/limits.h"

namespace narvo
{

namespace
{

constexpr double dCountHigh = 1000.0;
constexpr double dGreyHigh = 255.0;
// Greater gains would overflow the engine's 16-bit product with a grey value of 255.
constexpr double dGainHigh = 256.0;
// An offset and the highest gain product together still fit 16 bits; from 256 on, no pixel passes.
constexpr double dOffsetHigh = 32512.0;
constexpr double dIntLow = std::numeric_limits<int>::min();
constexpr double dIntHigh = std::numeric_limits<int>::max();
constexpr double dOriginHigh = 1000000.0;
constexpr double dWindowHigh = 4096.0;
constexpr double dWeightHigh = 100.0;
constexpr double dLevelHigh = 1000000.0;

constexpr std::array<std::string_view, 8> modeWords = {"zone",    "pixel", "float",   "binarise",
                                                       "average", "asg",   "texture", "lattice"};
constexpr std::array<std::string_view, 2> directionWords = {"horizontal", "vertical"};
constexpr std::array<std::string_view, 2> testWords = {"cross", "jump"};
constexpr std::array<std::string_view, 2> sampleWords = {"pixel", "block"};
constexpr std::array<std::string_view, 7> channelWords = {"auto", "luma", "red", "green", "blue", "mixture", "each"};
constexpr std::array<std::string_view, 5> bayerWords = {"none", "rggb", "grbg", "gbrg", "bggr"};
constexpr std::array<std::string_view, 3> demosaicWords = {"bilinear", "edge_aware", "off"};
constexpr std::array<std::string_view, 7> rawWords = {"none",   "Mono8",   "Mono10", "Mono10p",
                                                      "Mono12", "Mono12p", "Mono16"};
constexpr std::array<std::string_view, 3> verifyWords = {"off", "fixed", "table"};
constexpr std::array<std::string_view, 3> shapeWords = {"rectangle", "trapezium", "polygon"};
constexpr std::array<std::string_view, 5> sourceWords = {"brightness", "energy", "coarse_energy", "energy_x",
                                                         "energy_y"};
constexpr std::array<std::string_view, 2> meanWords = {"square", "line"};
constexpr std::array<std::string_view, 2> joinWords = {"median", "trimmed_mean"};
constexpr std::array<std::string_view, 3> alongWords = {"x", "y", "tilt"};

constexpr KindSet nNone = 0;
constexpr KindSet nZone = SetOf(Kind_Zone);
constexpr KindSet nPixel = SetOf(Kind_Pixel);
constexpr KindSet nFloat = SetOf(Kind_Float);
constexpr KindSet nTrapezium = SetOf(Kind_Trapezium);
constexpr KindSet nFreeForm = SetOf(Kind_FreeForm);
constexpr KindSet nBinarise = SetOf(Kind_Binarise);
constexpr KindSet nAverage = SetOf(Kind_Average);
constexpr KindSet nAsg = SetOf(Kind_Asg);
constexpr KindSet nTexture = SetOf(Kind_Texture);
constexpr KindSet nLattice = SetOf(Kind_Lattice);
constexpr KindSet nAll = nAllKinds;
constexpr KindSet nZoned = nZone | nAsg;
constexpr KindSet nRectangles = nZone | nPixel | nFloat;       ///< the paths with extended kernels, tables, re-runs
constexpr KindSet nFiltered = nRectangles | nTrapezium | nAsg; ///< the paths whose pairs the filters see
constexpr KindSet nCompared = nFiltered | nFreeForm;           ///< the paths that compare at the pattern's pitch

const Field<Recipe> recipeFields[] = {
    {"version", "", &Recipe::version, nRecipeVersion, nRecipeVersion, nAll, nAll, "form of this file"},
    {"name", "text", &Recipe::name, 0, 0, nNone, nAll, "of the region, for results"},
    {"mode", "", Choice<Recipe>{&Recipe::mode, modeWords}, 0, 0, nNone, nAll,
     "zone: thresholds from zones of the cell; pixel: one threshold for pixels; float: one for sums of small windows; "
     "binarise: dark pixels; average: a small window's mean against a large one's; asg: zone, in cells unbounded "
     "across the direction, pairs only; texture: measures of brightness and contrast at several scales against what is "
     "typical of the image; lattice: the median of several neighbours, whole lattice vectors away in the same image"},
    {"direction", "", Choice<Recipe>{&Recipe::direction, directionWords}, 0, 0, nNone, nFiltered,
     "axis along which a pixel is compared with the one a pitch on"},
    {"auto_direction", "", &Recipe::autoDirection, 0, 0, nNone, nRectangles | nAsg,
     "take the other direction where the region is too small for three pitches"},
    {"max_reruns", "runs", &Recipe::maxReruns, 0, dCountHigh, nNone, nRectangles | nBinarise,
     "runs that may follow an overflow, for each image"},
    {"max_blobs", "blobs", &Recipe::maxBlobs, 1, 1000000, nNone, nAll, "room for blobs; what does not fit is lost"},
    {"min_area", "pixels", &Recipe::minArea, 1, 1000000, nNone, nAll, "smaller blobs are not reported"},
    {"label", "", &Recipe::label, dIntLow, dIntHigh, nNone, nAll, "copied into every blob"},
    {"dead_image", "name of an image file", &Recipe::deadImageFile, 0, 0, nNone, nAll,
     "painted dead places of the whole image: blobs that stand out most where it is not 0 are not reported"},
    {"image.channel", "", Choice<Recipe>{&Recipe::channel, channelWords}, 0, 0, nNone, nAll,
     "what of colour images is inspected; auto: the luma, which is noted; mixture: a sum by image.weights; each: red, "
     "green and blue, each by itself, with blobs as one list"},
    {"image.weights.red", "of a mixture", &Recipe::weightRed, -dWeightHigh, dWeightHigh, nNone, nAll,
     "weight of the red channel"},
    {"image.weights.green", "of a mixture", &Recipe::weightGreen, -dWeightHigh, dWeightHigh, nNone, nAll,
     "weight of the green channel"},
    {"image.weights.blue", "of a mixture", &Recipe::weightBlue, -dWeightHigh, dWeightHigh, nNone, nAll,
     "weight of the blue channel"},
    {"image.flat_field", "name of an image file", &Recipe::flatFieldFile, 0, 0, nNone, nAll,
     "what the camera shows of an even white: a whole image, or one row for a line camera; pixels get the gain that "
     "makes them equal there"},
    {"image.dark_field", "name of an image file", &Recipe::darkFieldFile, 0, 0, nNone, nAll,
     "what the camera shows without light: taken off before that"},
    {"image.bayer", "", Choice<Recipe>{&Recipe::bayer, bayerWords}, 0, 0, nNone, nAll,
     "colour filters of the first two pixels of the first two rows, where images are mosaics"},
    {"image.demosaic", "", Choice<Recipe>{&Recipe::demosaic, demosaicWords}, 0, 0, nNone, nAll,
     "how colours are made of a mosaic; off: it is inspected as it is, at pitches that are even"},
    {"image.levels.low", "in the camera's values", &Recipe::levelLow, -dLevelHigh, dLevelHigh, nNone, nAll,
     "the value that becomes grey level 0"},
    {"image.levels.high", "in the camera's values", &Recipe::levelHigh, -dLevelHigh, dLevelHigh, nNone, nAll,
     "the value that becomes grey level 255; 0: the largest that the pixels can hold"},
    {"image.raw.format", "", Choice<Recipe>{&Recipe::rawFormat, rawWords}, 0, 0, nNone, nAll,
     "packing of frames without a header; none: images are image files"},
    {"image.raw.width", "pixels", &Recipe::rawWidth, 0, nImageSideLimit, nNone, nAll, "width of such a frame"},
    {"image.raw.height", "pixels", &Recipe::rawHeight, 0, nImageSideLimit, nNone, nAll, "height of such a frame"},
    {"image.raw.offset", "bytes", &Recipe::rawOffset, 0, dIntHigh, nNone, nAll, "what precedes its first pixel"},
    {"camera.buffers", "frames", &Recipe::cameraBuffers, 2, 256, nNone, nAll,
     "how many may be on their way from a camera before one is lost"},
    {"camera.frame_pause", "milliseconds", &Recipe::cameraFramePause, 1, 3600000, nNone, nAll,
     "how long nothing of a frame may come before it is incomplete, for GigE; more for a line camera that waits for "
     "its "
     "lines"},
    {"pitch.x", "pixels", &Recipe::pitchX, dPitchLow, dPitchHigh, nCompared, nCompared,
     "period of the pattern along x"},
    {"pitch.y", "pixels", &Recipe::pitchY, dPitchLow, dPitchHigh, nCompared, nCompared,
     "period of the pattern along y"},
    {"multiple.x", "periods", &Recipe::multipleX, 1, dCountHigh, nNone, nCompared,
     "periods that a comparison spans along x"},
    {"multiple.y", "periods", &Recipe::multipleY, 1, dCountHigh, nNone, nCompared,
     "periods that a comparison spans along y"},
    {"window.width", "pixels", &Recipe::windowWidth, 1, 1023, nNone, nZoned, "window of the block filters"},
    {"window.height", "pixels", &Recipe::windowHeight, 1, 1023, nNone, nZoned, "window of the block filters"},
    {"window.width", "pixels", &Recipe::windowWidth, 2, 3, nNone, nFloat | nTrapezium | nFreeForm,
     "compared window: 2 by 2, 3 along the direction by 2, or 3 by 3; regions other than rectangles take 2 by 2"},
    {"window.height", "pixels", &Recipe::windowHeight, 2, 3, nNone, nFloat | nTrapezium | nFreeForm, "compared window"},
    {"grey_limit", "grey levels", &Recipe::greyLimit, 1, dGreyHigh, nNone, nCompared | nAverage,
     "brighter values count as this; at 255 with a float window of 3 by 3 pixels, as 227"},
    {"threshold.base", "grey levels", &Recipe::thresholdBase, 1, dGreyHigh, nPixel | nFreeForm, nPixel | nFreeForm,
     "fixed part of the threshold"},
    {"threshold.base", "grey levels of the window's sum", &Recipe::thresholdBase, 1, dGreyHigh * 9, nFloat | nTrapezium,
     nFloat | nTrapezium, "fixed part of the threshold: 4 is one grey level of a 2 by 2 window"},
    {"threshold.gain", "in 1/256", &Recipe::thresholdGain, 0, dGainHigh, nNone, nPixel | nFloat | nFreeForm,
     "part that grows with the larger compared value"},
    {"threshold_extra", "grey levels", &Recipe::thresholdExtra, 0, dGreyHigh, nNone, nFiltered,
     "what an unpaired hit must rise above its threshold, and an addend of the edge filters"},
    {"keep_singles", "", &Recipe::keepSingles, 0, 0, nNone, nRectangles | nFreeForm,
     "keep unpaired hits of the edge bands"},
    {"band_split", "", &Recipe::bandSplit, 0, 0, nNone, nRectangles | nFreeForm,
     "inspect wide vertical regions in parallel bands"},
    {"merge_distance", "pixels", &Recipe::mergeDistance, 0, 10000, nNone, nAll,
     "blobs of one polarity this near are one"},
    {"pixel_size.x", "length units", &Recipe::pixelSizeX, 0, 1e6, nNone, nAll,
     "size of a pixel along x, for the diameter"},
    {"pixel_size.y", "length units", &Recipe::pixelSizeY, 0, 1e6, nNone, nAll,
     "size of a pixel along y, for the diameter"},
    {"kernel.extended", "", &Recipe::extendedKernel, 0, 0, nNone, nRectangles, "take the extended kernels"},
    {"kernel.average_2by2", "", &Recipe::average2by2, 0, 0, nNone, nZoned, "compare means of 2 by 2 pixels"},
    {"kernel.line_buffer", "", &Recipe::lineBuffer, 0, 0, nNone, nZoned | nPixel,
     "false: read the image without a line buffer"},
    {"kernel.two_segment", "", &Recipe::twoSegment, 0, 0, nNone, nZoned, "zones have an upper threshold segment"},
    {"kernel.zone_tables", "", &Recipe::zoneTables, 0, 0, nNone, nZone, "thresholds by the zones' table values"},
    {"kernel.cross_shift", "pixels", &Recipe::crossShift, -1, 1, nNone, nRectangles,
     "displacement across the vertical compare, in steps of 1/16"},
    {"kernel.class_pitch", "pixels", &Recipe::classPitch, 0, dPitchHigh, nNone, nZone | nPixel,
     "nonzero: take the extended kernel that is handed its pitches as real numbers"},
    {"kernel.dark_base", "grey levels", &Recipe::darkFilterBase, 0, dGreyHigh, nNone, nRectangles | nFreeForm,
     "second threshold of dark hits; 0 is off"},
    {"kernel.dark_gain", "in 1/256", &Recipe::darkFilterGain, 0, dGainHigh, nNone, nRectangles | nFreeForm,
     "gain of that threshold"},
    {"twice.pitch", "pixels", &Recipe::twicePitch, 0, dPitchHigh, nNone, nPixel,
     "nonzero: a second pass at this pitch, with thresholds of its own"},
    {"twice.base", "grey levels", &Recipe::twiceBase, 1, dGreyHigh, nNone, nPixel, "threshold of the second pass"},
    {"twice.gain", "in 1/256", &Recipe::twiceGain, 0, dGainHigh, nNone, nPixel, "gain of the second pass"},
    {"binarise.limit", "grey levels", &Recipe::binariseLimit, 2, dGreyHigh, nBinarise, nBinarise,
     "pixels darker than this are defects, but for 0; each row's last 1 to 16 columns stay out"},
    {"average.bright", "grey levels", &Recipe::averageBright, 1, dGreyHigh, nAverage, nAverage,
     "a window whose mean lies above its background's by more is a defect"},
    {"average.dark", "grey levels", &Recipe::averageDark, 1, dGreyHigh, nAverage, nAverage,
     "a window whose mean lies below its background's by more is a defect"},
    {"average.window", "pixels", &Recipe::averageWindow, 1, dWindowHigh, nNone, nAverage, "side of the small window"},
    {"average.background", "pixels", &Recipe::averageBackground, 1, dWindowHigh, nNone, nAverage,
     "side of the large window, cut to a multiple of the small one's"},
    {"texture.margins", "", &Recipe::textureMargins, 0, 0, nNone, nTexture,
     "look for margins without pattern left and right, and leave them out"},
    {"texture.window", "pixels", &Recipe::textureWindow, 9, 1001, nNone, nTexture,
     "side of the window whose mean and deviation are taken out of the image"},
    {"texture.edge_zone", "pixels", &Recipe::textureEdgeZone, 0, 1000, nNone, nTexture,
     "width of the zone beside a margin that is judged by limits of its own; up to 8: none"},
    {"texture.edge_window", "pixels", &Recipe::textureEdgeWindow, 9, 1001, nNone, nTexture,
     "length of the window there, along the margin"},
    {"texture.energy_window", "pixels", &Recipe::textureEnergyWindow, 9, 1001, nNone, nTexture,
     "side of the window that energy is compared with"},
    {"lattice.a.x", "pixels", &Recipe::latticeAX, -dLatticeVectorHigh, dLatticeVectorHigh, nNone, nLattice,
     "first vector of the lattice, to the right; a and b 0: both are measured in each image"},
    {"lattice.a.y", "pixels", &Recipe::latticeAY, -dLatticeVectorHigh, dLatticeVectorHigh, nNone, nLattice,
     "the same, down"},
    {"lattice.b.x", "pixels", &Recipe::latticeBX, -dLatticeVectorHigh, dLatticeVectorHigh, nNone, nLattice,
     "second vector; 0 beside a first one: the pattern repeats along that alone"},
    {"lattice.b.y", "pixels", &Recipe::latticeBY, -dLatticeVectorHigh, dLatticeVectorHigh, nNone, nLattice,
     "the same, down"},
    {"lattice.neighbours", "pixels", &Recipe::latticeNeighbours, 1, nLatticeNeighboursHigh, nNone, nLattice,
     "the nearest so many of the image make what a pixel should show; fewer where fewer lie in the image"},
    {"lattice.join", "", Choice<Recipe>{&Recipe::latticeJoin, joinWords}, 0, 0, nNone, nLattice,
     "how they are joined; trimmed_mean: without the lowest and the highest quarter"},
    {"lattice.strip", "pixels", &Recipe::latticeStrip, 0, 4096, nNone, nLattice,
     "side of the places at which the vectors are measured anew; 0: once for the whole image"},
    {"lattice.slack", "pixels", &Recipe::latticeSlack, 0, nLatticeSlackHigh, nNone, nLattice,
     "how far a vector may differ there; no further than a third of the shortest"},
    {"lattice.margins", "", &Recipe::latticeMargins, 0, 0, nNone, nLattice,
     "look for rows and columns at the border that do not belong to the pattern, and leave them out"},
    {"lattice.flatten", "pixels", &Recipe::latticeFlatten, 0, 1001, nNone, nLattice,
     "side of the window whose mean and deviation are taken out of the image first, 9 or more; 0: they are not"},
    {"lattice.edge_tolerance", "pixels", &Recipe::latticeTolerance, 0, dLatticeToleranceHigh, nNone, nLattice,
     "how far an edge may lie elsewhere without being a difference; less where the pattern is narrow"},
    {"lattice.threshold", "grey levels", &Recipe::latticeThreshold, 0, dGreyHigh, nNone, nLattice,
     "difference that a pixel must exceed; 0: from the noise of each image"},
    {"filters.enabled", "", &Recipe::filters, 0, 0, nNone, nFiltered,
     "false: the edge test alone, and none in horizontal direction"},
    {"filters.margin", "", &Recipe::marginFilter, 0, 0, nNone, nFiltered,
     "test hits of the edge bands to their other side"},
    {"filters.test", "", Choice<Recipe>{&Recipe::filterTest, testWords}, 0, 0, nNone, nRectangles,
     "further reference of the test"},
    {"filters.all_pairs", "", &Recipe::filterPairs, 0, 0, nNone, nFiltered,
     "test true pairs too, not only single hits"},
    {"filters.sample", "", Choice<Recipe>{&Recipe::filterSample, sampleWords}, 0, 0, nNone, nZoned,
     "what the test compares"},
    {"filters.zone_thresholds", "", &Recipe::zoneFilterThresholds, 0, 0, nNone, nZoned,
     "the test takes the zones' filter values in place of the hit's threshold"},
    {"zones.multiple.x", "periods", &Recipe::zoneMultipleX, 1, dCountHigh, nNone, nZoned, "width of a zone cell"},
    {"zones.multiple.y", "periods", &Recipe::zoneMultipleY, 1, dCountHigh, nNone, nZoned, "height of a zone cell"},
    {"zones.origin.x", "pixels", &Recipe::zoneOriginX, -dOriginHigh, dOriginHigh, nNone, nZoned,
     "left side of some cell"},
    {"zones.origin.y", "pixels", &Recipe::zoneOriginY, -dOriginHigh, dOriginHigh, nNone, nZoned,
     "top side of some cell"},
    {"zones.image", "name of an image file", &Recipe::zoneImageFile, 0, 0, nNone, nZoned,
     "painted cell, a pixel's value is its zone; empty: one flat zone"},
    {"zones.class_image", "name of an image file", &Recipe::classImageFile, 0, 0, nNone, nZone,
     "painted cell of class ids; empty: none"},
};

const Field<ZoneSettings> zoneFields[] = {
    {"index", "", &ZoneSettings::index, 0, nRecipeZoneLimit - 1, nAll, nAll, "value in the painted cell"},
    {"offset", "grey levels", &ZoneSettings::offset, 0, dOffsetHigh, nNone, nAll, "fixed part of the threshold"},
    {"gain", "in 1/256", &ZoneSettings::gain, 0, dGainHigh, nNone, nAll,
     "part that grows with the larger compared value"},
    {"upper.knee", "grey levels", &ZoneSettings::knee, 0, dGreyHigh, nNone, nAll, "above it the upper segment applies"},
    {"upper.offset", "grey levels", &ZoneSettings::upperOffset, 0, dOffsetHigh, nNone, nAll,
     "offset of the upper segment"},
    {"upper.gain", "in 1/256", &ZoneSettings::upperGain, 0, dGainHigh, nNone, nAll, "gain of the upper segment"},
    {"filter.dark_offset", "grey levels", &ZoneSettings::darkFilterOffset, 0, dGreyHigh, nNone, nAll,
     "filters, dark hits"},
    {"filter.dark_gain", "in 1/256", &ZoneSettings::darkFilterGain, 0, dGainHigh, nNone, nAll, "filters, dark hits"},
    {"filter.bright_offset", "grey levels", &ZoneSettings::brightFilterOffset, 0, dGreyHigh, nNone, nAll,
     "filters, bright hits"},
    {"filter.bright_gain", "in 1/256", &ZoneSettings::brightFilterGain, 0, dGainHigh, nNone, nAll,
     "filters, bright hits"},
    {"table.offset", "grey levels", &ZoneSettings::tableOffset, 0, dGreyHigh, nNone, nAll, "zone tables"},
    {"table.gain", "in 1/256", &ZoneSettings::tableGain, 0, dGainHigh, nNone, nAll, "zone tables"},
    {"dark_grey_limit", "grey levels", &ZoneSettings::darkGreyLimit, 0, dGreyHigh, nNone, nAll,
     "dark pairs at or above this grey are dropped; 0 is off"},
    {"bright_min_difference", "grey levels", &ZoneSettings::brightMinDifference, 0, dGreyHigh, nNone, nAll,
     "bright pairs that stand out by less are dropped; 0 is off"},
    {"dead", "", &ZoneSettings::dead, 0, 0, nNone, nAll, "nothing is found there, whatever the thresholds"},
    {"verify.mode", "", Choice<ZoneSettings>{&ZoneSettings::verifyMode, verifyWords}, 0, 0, nNone, nAll,
     "drop pairs that fit the pattern at its short period: fixed: at the pitches below; table: at parts of the pitch "
     "tables"},
    {"verify.pitch.x", "pixels", &ZoneSettings::verifyPitchX, 0, dPitchHigh, nNone, nAll, "short period along x"},
    {"verify.pitch.y", "pixels", &ZoneSettings::verifyPitchY, 0, dPitchHigh, nNone, nAll, "short period along y"},
};

const Field<TextureFeature> textureFields[] = {
    {"source", "", Choice<TextureFeature>{&TextureFeature::source, sourceWords}, 0, 0, nNone, nAll,
     "brightness: with light and contrast taken out; energy: how strongly that varies, against a large window; "
     "coarse_energy: how strongly its means over 4 by 4 pixels vary; energy_x, energy_y: how strongly it changes along "
     "x, along y"},
    {"shape", "", Choice<TextureFeature>{&TextureFeature::shape, meanWords}, 0, 0, nNone, nAll,
     "what the mean is taken over: a square; or a line, in all directions, of which the strongest counts"},
    {"fold", "pixels", &TextureFeature::fold, 1, nTextureFoldHigh, nAll, nAll,
     "the image is reduced by this first: 1, 2, 4 or 8"},
    {"size", "reduced pixels", &TextureFeature::size, 1, 64, nAll, nAll, "side of the square or length of the line"},
    {"bright.typical", "deviations", &TextureFeature::brightTypical, 0, dTextureDeviationHigh, nNone, nAll,
     "usual maximum on good material, where scores begin to count"},
    {"bright.limit", "deviations", &TextureFeature::brightLimit, 0, dTextureDeviationHigh, nNone, nAll,
     "places that lie further above the image's median are defects; 0: none"},
    {"dark.typical", "deviations", &TextureFeature::darkTypical, 0, dTextureDeviationHigh, nNone, nAll,
     "the same below"},
    {"dark.limit", "deviations", &TextureFeature::darkLimit, 0, dTextureDeviationHigh, nNone, nAll, "the same below"},
    {"edge.bright.typical", "deviations", &TextureFeature::edgeBrightTypical, 0, dTextureDeviationHigh, nNone, nAll,
     "the same in the zone beside a margin"},
    {"edge.bright.limit", "deviations", &TextureFeature::edgeBrightLimit, 0, dTextureDeviationHigh, nNone, nAll,
     "the same in the zone beside a margin"},
    {"edge.dark.typical", "deviations", &TextureFeature::edgeDarkTypical, 0, dTextureDeviationHigh, nNone, nAll,
     "the same in the zone beside a margin"},
    {"edge.dark.limit", "deviations", &TextureFeature::edgeDarkLimit, 0, dTextureDeviationHigh, nNone, nAll,
     "the same in the zone beside a margin"},
};

const StructuredField structuredFields[] = {
    {"region", "object with shape (rectangle), left, top, right, bottom, in pixels, right and bottom exclusive",
     "the whole image", nNone, nAll & ~(nTrapezium | nFreeForm), "what is inspected"},
    {"region",
     "object with shape (trapezium), points, columns; points: list of [x, y] in pixels, at most 10, corners of a "
     "convex polygon; columns: [first, last], optional, what is left of it",
     "", nTrapezium, nTrapezium,
     "polygon that is cut into trapezia; singles are not kept, blobs are not joined across trapezia"},
    {"region",
     "object with shape (polygon), points; points: list of [x, y] in pixels, corners of any polygon, even-odd rule", "",
     nFreeForm, nFreeForm, "polygon whose pixels inside are compared one by one; vertical"},
    {"margin_frame", "object with left, top, right, bottom, in pixels", "none", nNone, nFiltered,
     "frame of the edge tests"},
    {"dead_zones", "list of at most 9 rectangles, in pixels", "empty", nNone, nRectangles, "no hits inside"},
    {"camera.features",
     "list of objects with one member each, a GenICam feature's name with a number, text, true or false", "empty",
     nNone, nAll, "what a camera is set to, in this order, before narvo watch takes frames from it"},
    {"tables.scan_pitch", "list of pitches along y in pixels, one for each 16 rows", "empty", nNone, nRectangles,
     "row table"},
    {"tables.conv_pitch", "list of pitches along x in pixels, one for each 16 columns", "empty", nNone,
     nRectangles | nAsg, "column table"},
    {"tables.scan_tilt", "list of shifts along x in pixels, -1 to 1, one for each 16 rows", "empty", nNone, nZone,
     "how far the pattern leans over one compare distance down, for checks along the tilt"},
    {"tables.row_pitch", "list of pitches along x in pixels, one for each 16 rows", "empty", nNone, nTrapezium,
     "horizontal direction"},
    {"tables.column_pitch", "list of pitches along y in pixels, one for each 16 columns", "empty", nNone, nTrapezium,
     "vertical direction"},
    {"zones.skip", "list of [column, row]", "empty", nNone, nZone, "cells that are not inspected"},
    {"zones.list", "list of zones, each an object with the fields of zones.list[]", "one zone with its defaults", nNone,
     nZoned, "thresholds of the zones"},
    {"texture.features", "list of 1 to 64 measures, each an object with the fields of texture.features[]", "", nTexture,
     nTexture, "what is measured, and how far it may go"},
};

const StructuredField zoneStructuredFields[] = {
    {"verify.checks", "list of at most 5 objects with along (x, y or tilt) and cycles (whole number, default 1)",
     "empty", nNone, nAll,
     "where a pair that fits is no defect: by tables, cycles short periods away both ways; not more than the periods "
     "that a comparison spans"},
};

constexpr TableField tableFields[] = {
    {"tables.scan_pitch", &Recipe::scanPitches, true, false},
    {"tables.conv_pitch", &Recipe::convPitches, false, false},
    {"tables.scan_tilt", &Recipe::scanTilts, true, true},
    {"tables.row_pitch", &Recipe::rowPitches, true, false},
    {"tables.column_pitch", &Recipe::columnPitches, false, false},
};

} // namespace

std::span<const Field<Recipe>> RecipeFields()
{
    return recipeFields;
}

std::span<const Field<ZoneSettings>> ZoneFields()
{
    return zoneFields;
}

std::span<const Field<TextureFeature>> TextureFields()
{
    return textureFields;
}

std::span<const StructuredField> StructuredFields()
{
    return structuredFields;
}

std::span<const StructuredField> ZoneStructuredFields()
{
    return zoneStructuredFields;
}

std::span<const TableField> TableFields()
{
    return tableFields;
}

const TableField* FindTable(std::string_view path)
{
    const auto found = std::find_if(std::begin(tableFields), std::end(tableFields),
                                    [&](const TableField& table) { return table.path == path; });
    return found != std::end(tableFields) ? &*found : nullptr;
}

std::span<const std::string_view> RegionShapeWords()
{
    return shapeWords;
}

std::span<const std::string_view> VerifyAlongWords()
{
    return alongWords;
}

} // namespace narvo
