// SPDX-License-Identifier: MIT
// What the live page is told: how the run is set up, one frame's verdict, and the counts so far.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tools/cell/cell_reference.h"

namespace narvo::tools
{

enum LiveOutcome : int
{
    LiveOutcome_Pass,
    LiveOutcome_Fail,
    LiveOutcome_Undecided,
    LiveOutcome_Unreadable, ///< the image could not be read or not be inspected
    nLiveOutcomes
};

/// "pass", "fail", "undecided", "unreadable".
const char* OutcomeName(LiveOutcome outcome);

/// The vectors along which a region's pattern repeats, pixels. All 0 where none is known: then there is no cell.
struct PatternCell
{
    double ax = 0.0;
    double ay = 0.0;
    double bx = 0.0;
    double by = 0.0;
};

struct LiveSetup
{
    std::string source;
    std::string recipe;             ///< name of its file
    std::vector<PatternCell> cells; ///< one for each region of the recipe
    int lanes = 1;
    std::size_t queue = 1; ///< frames that may wait
    std::string whenFull;
    std::string recipeText;                      ///< of the file; for the cells of the lot
    std::shared_ptr<const CellReference> golden; ///< that the latest images are held against; null: none
    std::string version;                         ///< of the program
    std::int64_t started = 0;                    ///< nanoseconds since 1970
};

/// A defect as it is drawn: box and middle in pixels of the image.
struct LiveDefect
{
    int left = 0;
    int top = 0;
    int right = 0; ///< exclusive, as bottom
    int bottom = 0;
    int x = 0;
    int y = 0;
    int area = 0; ///< pixels
    bool bright = false;
};

/// What became of one frame.
struct LiveVerdict
{
    static constexpr std::size_t nListedDefects = 100;

    std::uint64_t number = 0; ///< 1, 2, ... in the order of acquisition
    std::uint64_t frame = 0;  ///< the source's number
    std::int64_t acquired = 0;
    std::string name; ///< as text
    LiveOutcome outcome = LiveOutcome_Pass;
    std::vector<std::string> failed; ///< rules
    std::vector<std::string> problems;
    int width = 0; ///< of the image; 0 where it could not be read
    int height = 0;
    std::size_t blobs = 0;
    std::vector<LiveDefect> defects; ///< the first nListedDefects of them
};

/// Limits in seconds up to which latencies are counted; each is the end of a class of LatencyHistogram.
constexpr std::array<double, 12> latencyLimits = {0.001024, 0.002048, 0.004096, 0.008192, 0.016384, 0.032768,
                                                  0.065536, 0.131072, 0.262144, 0.524288, 1.048576, 4.194304};

/// The counts of the run at a moment.
struct LiveCounts
{
    std::uint64_t acquired = 0;
    std::uint64_t inspected = 0;
    std::uint64_t passed = 0;
    std::uint64_t failed = 0;
    std::uint64_t undecided = 0;
    std::uint64_t dropped = 0;
    std::uint64_t unreadable = 0;
    std::uint64_t incomplete = 0;
    std::uint64_t lost = 0;
    std::uint64_t blobs = 0;
    std::size_t waiting = 0;           ///< in the queue
    bool overrun = false;              ///< the queue was full and was to stop at that
    std::vector<std::string> problems; ///< by which the source broke
    double medianMs = 0.0;
    double percentile99Ms = 0.0;
    double worstMs = 0.0;
    double latencySum = 0.0; ///< seconds
    std::uint64_t latencyCount = 0;
    std::array<std::uint64_t, latencyLimits.size()> latencyBelow{}; ///< times up to each limit
};

} // namespace narvo::tools
