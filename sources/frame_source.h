// SPDX-License-Identifier: MIT
// Where live images come from: one interface for watched folders, pipes and cameras. What inspects the frames knows
// nothing of the kind of source.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "host/image/conversion_notes.h"
#include "host/image/grey_image.h"
#include "host/image/image_reading.h"
#include "host/result/image_line.h"

namespace narvo::sources
{

/// One frame that has arrived with all of its rows.
struct Frame
{
    std::string name;         ///< of the file, or "frame 17"
    std::uint64_t number = 0; ///< the source's sequence number; numbers that were lost are left out
    std::chrono::steady_clock::time_point arrived; ///< when its last row was there
    std::int64_t acquired = 0;                     ///< the same moment, nanoseconds since 1970
    /// Its pixels as 8-bit grey; called at most once, on any thread. Fills in what tells of the file.
    /// @throws HostError where they cannot be read
    std::function<std::shared_ptr<const GreyImage>(FileIdentity& identity)> load;
};

/// Frames that never became a Frame.
struct FrameLosses
{
    std::uint64_t incomplete = 0; ///< began, but their last row never came
    std::uint64_t lost = 0;       ///< missing in the sequence
};

/// One thread asks for frames.
class FrameSource
{
public:
    FrameSource() = default;
    virtual ~FrameSource() = default;
    FrameSource(const FrameSource&) = delete;
    FrameSource& operator=(const FrameSource&) = delete;

    /// Waits for the next frame, at the most until a stop is requested. Frames that have arrived by then may still be
    /// handed out. @return nothing when the source has ended or the stop was requested
    /// @throws HostError where the source cannot go on
    virtual std::optional<Frame> Next(const std::stop_token& stop) = 0;
    virtual FrameLosses Losses() const = 0;
    /// Lines for a person since the last call: what was lost and why.
    std::vector<std::string> TakeNotes() { return std::exchange(m_notes, {}); }
    /// `told` is called within Next after each new line, for sources that wait long for a frame.
    void TellWhenNoted(std::function<void()> told) { m_told = std::move(told); }

protected:
    /// Notes that nobody takes are kept up to a number only.
    void Note(std::string text)
    {
        constexpr std::size_t nMost = 100;
        if (m_notes.size() < nMost)
            m_notes.push_back(std::move(text));
        if (m_told)
            m_told();
    }

private:
    std::function<void()> m_told;
    std::vector<std::string> m_notes;
};

/// How frames become images.
struct FrameReading
{
    ImageReading reading;
    ConversionNotes* notes = nullptr; ///< outlives all frames
};

/// Stamps a frame as having arrived now.
void StampFrame(Frame& frame);

/// A frame of bytes as a camera sends them, headed by reading.rawOffset other bytes. It has arrived now.
Frame RawBytesFrame(std::vector<std::uint8_t> bytes, std::uint64_t number, const FrameReading& reading);

/// What is wrong with the shape of raw frames, before any memory is taken for them. `source` is named.
/// @throws HostError without a packing and a size, or beyond MaxImagePixels
void RequireRawShape(const ImageReading& reading, const std::string& source);

/// Waits until a descriptor can be read or has ended, for at most `limit`. @return false otherwise, or on a stop
bool WaitReadable(int descriptor, const std::stop_token& stop, std::chrono::milliseconds limit);

} // namespace narvo::sources
