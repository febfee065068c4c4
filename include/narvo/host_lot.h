// SPDX-License-Identifier: MIT
// What many images of one pattern have in common, each beyond chance at a stated risk: places that come back, streaks,
// areas, places in the pattern's cell, and changes from image to image. docs/lot.md explains the method.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "narvo/host_inspector.h"
#include "narvo/host_setting.h"
#include "narvo/host_store.h"

namespace narvo::v1
{

/// Something that chance does not explain.
struct LotPlace
{
    std::size_t region = 0;   ///< place in LotReport::regions
    Box box;                  ///< of the defects' centres, pixels of the image; of a place in the cell, from its corner
    std::size_t images = 0;   ///< that show it
    std::size_t defects = 0;  ///< in them
    std::size_t cells = 0;    ///< of a place in the cell: how many cells of the pattern show it; otherwise 0
    double expected = 0.0;    ///< images, or cells, that chance explains
    double probability = 1.0; ///< that chance alone shows the like anywhere in the lot
    std::size_t first = 0;    ///< image that shows it first, place in LotReport::images
    std::size_t last = 0;     ///< and last
};

/// What one test found.
struct LotTest
{
    std::string kind;               ///< of LotTestKinds
    std::size_t windows = 0;        ///< tried, in all regions
    std::size_t found = 0;          ///< finds
    std::vector<LotPlace> places;   ///< the least probable first, at most 1000
    std::vector<std::string> notes; ///< sentences: what was not tested, and why
};

/// Where a chart leaves what it was.
struct LotAlarm
{
    std::size_t point = 0; ///< of the chart: the last one that the rule takes together
    int rule = 0;          ///< 1 beyond three standard deviations, 2 two of three beyond two, 3 four of five beyond
                           ///< one, 4 eight in a row
    bool above = false;    ///< the side
    std::string text;      ///< the same in words: "8 points in a row on one side, below"
};

/// How a figure of the images goes from each to the next.
struct LotChart
{
    std::string name;               ///< "defects", "pairs", "refused", "light", "noise", "pitch_x", "pitch_y", "size",
                                    ///< "contrast", "grey"
    std::string unit;               ///< of its points
    std::size_t imagesAPoint = 1;   ///< more than one where counts are rare
    std::vector<std::size_t> first; ///< of each point, its first image: place in LotReport::images
    std::vector<double> points;     ///< what is drawn
    std::vector<double> scores;     ///< the same in standard deviations from the centre; empty where nothing varies
    double center = 0.0;            ///< in the unit
    double deviation = 0.0;         ///< one standard deviation; of counts, at the mean area; 0: nothing varies
    double dispersion = 1.0;        ///< of counts: the standard deviation over that of a Poisson distribution
    std::vector<LotAlarm> alarms;   ///< by their points; after each, the rules begin anew
    double alarmsByChance = 0.0;    ///< how many of normal values
    std::size_t change = 0;         ///< point at which the level changes most; 0: too few points
    double before = 0.0;            ///< median up to there
    double after = 0.0;             ///< median from there on
    double probability = 1.0;       ///< that chance alone shows as large a change in any chart of the lot
    bool changes = false;           ///< the probability is not above the risk
    bool counts = false;            ///< of counts; otherwise of means
};

/// A region of the recipe, as most images have it.
struct LotRegion
{
    std::string name;   ///< the recipe's
    Box box;            ///< pixels of the image
    double area = 0.0;  ///< pixels that are inspected
    std::string noCell; ///< why the pattern has no cell here; empty: it has one
};

/// All that was found.
struct LotReport
{
    std::string store;               ///< place, without its password; empty for a lot that was put together in memory
    std::vector<std::string> runs;   ///< keys, in the order of their images
    std::string recipe;              ///< name of the recipe's file
    std::vector<LotRegion> regions;  ///< none where no image was inspected
    std::vector<std::string> images; ///< names in their order, bytes as in the store
    std::size_t refused = 0;         ///< of these, not inspected
    std::size_t comparable = 0;      ///< of one size with the same regions: those that places are looked for in
    std::size_t defects = 0;         ///< of all images
    std::vector<LotTest> tests;      ///< as LotTestKinds
    std::vector<LotChart> charts;    ///< of what at least two images have
    std::string text;                ///< for a person, as the program's `narvo lot` prints it
};

/// Ranges of the settings of Lot::Find, and images and defects that a lot may have.
constexpr int HighestLotDistance = 64;
/// The same.
constexpr double LowestLotRisk = 1e-9;
/// The same.
constexpr double HighestLotRisk = 0.1;
/// The same.
constexpr std::size_t HighestLotImages = 10000000;

/// The kinds of tests in their order: "place", "column", "row", "area", "cell".
NARVOHOST_API const std::vector<std::string>& LotTestKinds();

/// Images of one pattern, up to 10000000 with as many defects. One thread at a time may use it. One that was moved from
/// refuses every call with Error.
class NARVOHOST_API Lot
{
public:
    /// A lot without images, for what `recipe` inspects. `recipeName` is what people call it.
    explicit Lot(const Recipe& recipe, const std::string& recipeName = {});
    /// The images of a store's runs, by their keys, in the order in which the runs began; of the latest run where none
    /// is named. @throws Error where the store has no such run, the runs were made by different recipes, or the lot is
    /// too large; otherwise as ResultStore
    static Lot FromStore(ResultStore& store, const std::vector<std::string>& runs = {});
    /// The images of every run that the latest run's recipe made. @throws Error as FromStore
    static Lot OfLatestRecipe(ResultStore& store);
    ~Lot();
    /// Leaves `other` without a lot.
    Lot(Lot&& other) noexcept;
    /// The same.
    Lot& operator=(Lot&& other) noexcept;

    /// One image more, behind all others. It is of the lot's recipe; what its reports hold beside defects and the
    /// number of answers is not needed. @return this. @throws Error for an image that a store would refuse as well, for
    /// a region whose box is none of an image, or one too many; the lot is left as it was
    Lot& Add(const StoredImage& image);
    /// Images so far.
    std::size_t Images() const;

    /// Looks for what chance does not explain. `settings` are
    /// - "distance": pixels within which defects are at the same place, whole, 1 .. 64; 4 unless given
    /// - "risk": probability at which a test may report what is chance alone, 1e-9 .. 0.1; 0.01 unless given
    /// - "baseline": images from the first on that give centre and limits of the charts, whole, 2 .. 10000000, or 0,
    ///   which is the default: all
    ///
    /// The same lot and settings give the same report, to the bit. More images may follow. `json`, where it is not
    /// null, gets the JSON that the program `narvo` writes of it.
    /// @throws Error for settings that do not exist or are outside their range
    LotReport Find(const Settings& settings = {}, std::string* json = nullptr) const;
    /// The same, giving up the images, which saves a copy of them: the lot is left as one that was moved from, unless
    /// the call throws. @throws Error as Find
    LotReport Finish(const Settings& settings = {}, std::string* json = nullptr);
    /// All settings with their defaults.
    static const Settings& Defaults();

private:
    struct Content;
    explicit Lot(std::unique_ptr<Content> content);
    Content& Own() const;
    std::unique_ptr<Content> m_content;
};

} // namespace narvo::v1
