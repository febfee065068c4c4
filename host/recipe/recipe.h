// SPDX-License-Identifier: MIT
// The recipe: all that an inspection engineer sets for one region, by clear names, as a plain structure and as JSON.
// Ranges and units stand in the field table (recipe_fields.h), the rules that tie fields together in recipe_check.h.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/image/grey_image.h"
#include "host/image/image_reading.h"
#include "host/inspection_kind.h"
#include "host/lattice/lattice_settings.h"
#include "host/recipe/camera_settings.h"
#include "host/recipe/texture_settings.h"
#include "narvoassem/platform.h"

namespace narvo
{

class RegionMaps;

/// Version of the recipe's JSON form.
constexpr int nRecipeVersion = 1;
/// Zones are numbered 0 .. 15.
constexpr int nRecipeZoneLimit = 16;

enum Mode : int
{
    Mode_Zone = 0,     ///< thresholds from zone maps laid over the pattern's cell
    Mode_Pixel = 1,    ///< one threshold, single pixels
    Mode_Float = 2,    ///< one threshold, sums of small windows
    Mode_Binarise = 3, ///< dark pixels, without a comparison
    Mode_Average = 4,  ///< a small window's mean against a large one's
    Mode_Asg = 5,      ///< zone thresholds in cells unbounded across the compare direction; no singles
    Mode_Texture = 6,  ///< measures of brightness and contrast at several scales against what is typical of the image
    Mode_Lattice = 7   ///< the median of several lattice neighbours of each pixel in the same image
};

enum RegionShape : int
{
    RegionShape_Rectangle = 0,
    RegionShape_Trapezium = 1, ///< a convex polygon, cut into trapezia; float mode
    RegionShape_Polygon = 2    ///< any polygon, by the even-odd rule; float mode
};

/// The further reference that the pair filters look at.
enum FilterTest : int
{
    FilterTest_Cross = 0, ///< one pitch across the compare direction
    FilterTest_Jump = 1   ///< two pitches along it
};

/// What the pair filters compare.
enum FilterSample : int
{
    FilterSample_Pixel = 0, ///< single pixels
    FilterSample_Block = 1  ///< 2 by 2 blocks, against the threshold times the window's area
};

/// How a zone's pairs are held against the pattern's short period.
enum VerifyMode : int
{
    VerifyMode_Off = 0,
    VerifyMode_Fixed = 1, ///< at the zone's own short pitches
    VerifyMode_Table = 2  ///< at parts of the pitch tables, both ways, and along the tilt
};

enum VerifyAlong : int
{
    VerifyAlong_X = 0,
    VerifyAlong_Y = 1,
    VerifyAlong_Tilt = 2
};

/// One comparison at the short period: a pair that fits there is pattern.
struct VerifyCheck
{
    int along = VerifyAlong_X;
    int cycles = 1; ///< by tables: short pitches to go; not more than the periods that a comparison spans
};

constexpr int nVerifyCheckLimit = 5;
/// The engine holds one more, but takes a full list for an empty one.
constexpr int nDeadZoneHigh = 9;

/// Thresholds of one zone. A threshold is offset + (larger compared value * gain) / 256.
struct ZoneSettings
{
    int index = 0;
    int offset = 20;
    int gain = 0;
    int knee = 255; ///< larger compared values above this take the upper segment
    int upperOffset = 20;
    int upperGain = 0;
    int darkFilterOffset = 20;
    int darkFilterGain = 0;
    int brightFilterOffset = 20;
    int brightFilterGain = 0;
    int tableOffset = 20; ///< zone tables in place of the maps
    int tableGain = 0;
    int darkGreyLimit = 0;       ///< dark pairs at or above this grey are dropped; 0 is off
    int brightMinDifference = 0; ///< bright pairs that stand out by less are dropped; 0 is off
    bool dead = false;           ///< nothing is found there, whatever the thresholds
    int verifyMode = VerifyMode_Off;
    double verifyPitchX = 0.0;
    double verifyPitchY = 0.0;
    std::vector<VerifyCheck> verifyChecks = {}; ///< at most nVerifyCheckLimit
};

/// The path that a mode takes over a region of a shape.
Kind KindOf(int mode, int regionShape);

/// One region's inspection, and how its images are read. Defaults are those of the JSON form.
struct Recipe : ImageReading
{
    int version = nRecipeVersion;
    std::string name; ///< of the region, for results
    int mode = Mode_Zone;
    int direction = Direction_Vertical;
    bool autoDirection = false;
    int maxReruns = 3;
    int maxBlobs = 20000;
    int minArea = 1;
    int label = -1;

    int cameraBuffers = CameraSettings{}.buffers;
    int cameraFramePause = CameraSettings{}.framePause;
    std::vector<CameraFeature> cameraFeatures;

    int regionShape = RegionShape_Rectangle;
    std::optional<CRect> region;                      ///< rectangle; none: the whole image
    std::vector<CPoint> regionPoints;                 ///< corners of the other shapes
    std::optional<std::pair<int, int>> regionColumns; ///< trapezium: first and last column that the polygon is cut to
    std::optional<CRect> marginFrame;                 ///< none: the filters' own choice
    std::vector<CRect> deadZones;
    std::string deadImageFile;                     ///< as written in the recipe; empty: none
    GreyImage deadImage;                           ///< painted dead places of the whole image: not 0
    std::vector<std::pair<int, int>> skippedCells; ///< column and row in the zone grid, counted from zoneOrigin

    double pitchX = 0.0;
    double pitchY = 0.0;
    int multipleX = 1;
    int multipleY = 1;
    int windowWidth = 2;
    int windowHeight = 2;

    int greyLimit = 255;
    int thresholdBase = 0;
    int thresholdGain = 0;
    int thresholdExtra = 0;
    bool keepSingles = true;
    bool bandSplit = true;
    int mergeDistance = 4;
    double pixelSizeX = 1.0;
    double pixelSizeY = 1.0;

    bool extendedKernel = false;
    bool average2by2 = false;
    bool lineBuffer = true;
    bool twoSegment = false;
    bool zoneTables = false;
    double crossShift = 0.0;
    double classPitch = 0.0;
    int darkFilterBase = 0;
    int darkFilterGain = 0;

    double twicePitch = 0.0;
    int twiceBase = 20;
    int twiceGain = 0;

    int binariseLimit = 0;
    int averageBright = 0;
    int averageDark = 0;
    int averageWindow = 9;
    int averageBackground = 45;

    bool filters = true;
    bool marginFilter = true;
    int filterTest = FilterTest_Cross;
    bool filterPairs = false;
    int filterSample = FilterSample_Pixel;
    bool zoneFilterThresholds = false;

    bool textureMargins = TextureSettings{}.findMargins;
    int textureWindow = TextureSettings{}.window;
    int textureEdgeZone = TextureSettings{}.edgeZone;
    int textureEdgeWindow = TextureSettings{}.edgeWindow;
    int textureEnergyWindow = TextureSettings{}.energyWindow;
    std::vector<TextureFeature> textureFeatures; ///< at most nTextureFeatureLimit

    double latticeAX = 0.0; ///< both 0: the vectors are measured in each image
    double latticeAY = 0.0;
    double latticeBX = 0.0; ///< both 0 with the first given: the pattern repeats along that one alone
    double latticeBY = 0.0;
    int latticeNeighbours = 8;
    int latticeJoin = LatticeJoin_Median;
    int latticeStrip = 64;
    int latticeSlack = 2;
    bool latticeMargins = true;
    int latticeFlatten = 0;
    double latticeTolerance = 1.0;
    int latticeThreshold = 0;

    std::vector<double> scanPitches; ///< along y, pixels, one for each 16 rows of the image; empty: pitchY everywhere
    std::vector<double> convPitches; ///< along x, pixels, one for each 16 columns; empty: pitchX everywhere

    std::vector<double> scanTilts;     ///< verification: shift along x a pitch further down, pixels, for each 16 rows
    std::vector<double> rowPitches;    ///< horizontal trapezia: along x, pixels, one for each 16 rows
    std::vector<double> columnPitches; ///< vertical trapezia: along y, pixels, one for each 16 columns

    int zoneMultipleX = 1;
    int zoneMultipleY = 1;
    double zoneOriginX = 0.0;
    double zoneOriginY = 0.0;
    std::string zoneImageFile;  ///< as written in the recipe; empty: one flat zone
    std::string classImageFile; ///< as written in the recipe; empty: none
    GreyImage zoneImage;        ///< painted zones of one cell: a pixel's value is its zone
    GreyImage classImage;       ///< class ids of one cell, 0 .. 15
    std::vector<ZoneSettings> zones = std::vector<ZoneSettings>(1);
    /// Zone mode: thresholds pixel by pixel over the whole region, in place of the painted cell and the thresholds of
    /// the zones, whose filter values stay in force. Given by a program; not part of the JSON form.
    std::shared_ptr<const RegionMaps> maps;

    Kind GetKind() const { return KindOf(mode, regionShape); }
    /// Whether pixels are compared with others a pitch away: everywhere but in binarise, average,
    /// texture and lattice mode.
    bool ComparesAtAPitch() const
    {
        return mode != Mode_Binarise && mode != Mode_Average && mode != Mode_Texture && mode != Mode_Lattice;
    }
    TextureSettings Texture() const
    {
        return {textureMargins, textureWindow, textureEdgeZone, textureEdgeWindow, textureEnergyWindow};
    }
    CameraSettings Camera() const { return {cameraBuffers, cameraFramePause, cameraFeatures}; }
    double RealPitchX() const { return pitchX * multipleX; }
    double RealPitchY() const { return pitchY * multipleY; }
    double CellWidth() const { return pitchX * zoneMultipleX; }
    double CellHeight() const { return pitchY * zoneMultipleY; }
};

} // namespace narvo
