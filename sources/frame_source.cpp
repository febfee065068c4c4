// SPDX-License-Identifier: MIT
// What the sources share: raw frames, and waiting that can be stopped.
#include "sources/frame_source.h"

#include <algorithm>
#include <utility>

#include <poll.h>

#include "host/problem.h"

namespace narvo::sources
{

void StampFrame(Frame& frame)
{
    frame.arrived = std::chrono::steady_clock::now();
    frame.acquired =
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
}

Frame RawBytesFrame(std::vector<std::uint8_t> bytes, std::uint64_t number, const FrameReading& reading)
{
    Frame frame;
    frame.name = "frame " + std::to_string(number);
    frame.number = number;
    StampFrame(frame);
    // std::function wants copies of what it holds; the bytes are not to be copied.
    const auto held = std::make_shared<const std::vector<std::uint8_t>>(std::move(bytes));
    frame.load = [held, name = frame.name, reading](FileIdentity& identity)
    {
        identity.bytes = held->size();
        return std::make_shared<const GreyImage>(ConvertRawFrame(*held, reading.reading, name, reading.notes));
    };
    return frame;
}

void RequireRawShape(const ImageReading& reading, const std::string& source)
{
    if (reading.rawFormat == RawFormat_None)
        throw HostError({{source, "frames of unknown shape",
                          "--raw FORMAT:WIDTHxHEIGHT, or image.raw in the recipe, such as Mono12p:4096x3072"}});
    const std::int64_t pixels = std::int64_t{reading.rawWidth} * reading.rawHeight;
    if (pixels < 1 || pixels > MaxImagePixels())
        throw HostError({{source, std::to_string(pixels) + " pixels in a frame",
                          "1 to " + std::to_string(MaxImagePixels()) + "; --max-pixels allows more"}});
}

bool WaitReadable(int descriptor, const std::stop_token& stop, std::chrono::milliseconds limit)
{
    constexpr std::chrono::milliseconds step{50}; // how late a stop may be noticed
    for (std::chrono::milliseconds waited{0}; !stop.stop_requested(); waited += step)
    {
        pollfd wanted{descriptor, POLLIN, 0};
        if (poll(&wanted, 1, static_cast<int>(std::min(step, limit - waited).count())) > 0)
            return true;
        if (waited + step >= limit)
            return false;
    }
    return false;
}

} // namespace narvo::sources
