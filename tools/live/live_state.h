// SPDX-License-Identifier: MIT
// What the live page shows: kept up to date by the inspection, which never waits for anybody who looks.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "host/image/grey_image.h"
#include "host/inspect/batch.h"
#include "host/lot/lot_records.h"
#include "host/lot/lot_window.h"
#include "tools/live/defect_map.h"
#include "tools/live/hour_trend.h"
#include "tools/live/live_records.h"

namespace narvo::tools
{

/// One writer, any readers. A lock is held for copies of fixed size only; all text and pictures are made by readers.
class LiveState
{
public:
    static constexpr std::size_t nRing = 1024;       ///< verdicts kept for readers who are behind
    static constexpr std::size_t nLastVerdicts = 40; ///< listed, and as many that failed
    static constexpr std::size_t nLotImages = 2000;  ///< the latest, whose lot is kept
    static constexpr std::size_t nLotDefects = 100000;

    using Verdict = std::shared_ptr<const LiveVerdict>;

    /// `counts` is called by readers, at any time until the state ends.
    LiveState(LiveSetup setup, std::function<LiveCounts()> counts);

    const LiveSetup& Setup() const { return m_setup; }
    LiveCounts Counts() const { return m_counts(); }

    /// `head` holds all but number, size, problems and defects, which come from the result.
    void Add(LiveVerdict head, const ImageResult& result, std::shared_ptr<const GreyImage> picture);
    /// Frames given up so far, in the hour of `time` (nanoseconds since 1970) where they are new.
    void NoteDropped(std::int64_t time, std::uint64_t dropped);
    /// No more verdicts come.
    void End();
    /// Readers are to leave.
    void Close();

    struct News
    {
        std::vector<Verdict> verdicts; ///< beyond the number asked for, ascending
        bool tooFarBehind = false;     ///< some of them are no longer kept
        bool ended = false;
        bool closed = false;
    };
    /// Waits for verdicts beyond `number`, for the end, or for `limit`.
    News WaitBeyond(std::uint64_t number, std::chrono::milliseconds limit) const;

    struct Picture
    {
        Verdict verdict; ///< empty: none yet
        std::shared_ptr<const GreyImage> image;
    };
    Picture LatestPicture() const;

    struct Snapshot
    {
        std::uint64_t number = 0;  ///< of the latest verdict; 0: none
        std::vector<Verdict> last; ///< ascending
        std::vector<Verdict> failed;
        std::deque<HourCounts> hours;
        bool ended = false;
    };
    Snapshot Read() const;

    struct Maps
    {
        ImageMap image;
        CellMap cell;
        std::uint64_t defects = 0; ///< in the map of the image
        std::uint64_t inCells = 0;
        int width = 0; ///< of the latest image
        int height = 0;
    };
    Maps ReadMaps() const;

    struct LatestLot
    {
        Lot lot;
        std::size_t leftOut = 0; ///< images with too many defects
    };
    /// The lot of the latest images. On the reader's thread, but for a copy of what is kept.
    LatestLot ReadLot() const;
    /// Images that came so far, by which a reader sees whether the lot is another one.
    std::uint64_t LotNumber() const;

private:
    LiveSetup m_setup;
    std::function<LiveCounts()> m_counts;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::deque<Verdict> m_ring;
    std::deque<Verdict> m_failed;
    std::uint64_t m_number = 0;
    Picture m_picture;
    HourTrend m_trend;
    Maps m_maps;
    std::uint64_t m_dropped = 0;
    bool m_ended = false;
    bool m_closed = false;

    mutable std::mutex m_lotMutex; ///< its own, as its copies take longer
    LotWindow m_lot;
    std::uint64_t m_lotNumber = 0;
};

} // namespace narvo::tools
