// SPDX-License-Identifier: MIT
// The packings, pixel by pixel.
#include "host/image/raw_frame.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace narvo
{

namespace
{

/// Pixels of `Bits` bits one behind the other, the lowest bits of each in the lowest bits that are free. Groups of
/// four or two pixels begin with a byte.
template <int Bits, int Pixels>
void UnpackGroups(const std::uint8_t* bytes, std::uint16_t* pixels, std::size_t count)
{
    constexpr int nGroupBytes = Bits * Pixels / 8;
    static_assert(nGroupBytes * 8 == Bits * Pixels && nGroupBytes <= 8);
    const auto unpack = [](const std::uint8_t* group, std::uint16_t* target, int wanted)
    {
        std::uint64_t word = 0;
        for (int i = 0; i < (wanted * Bits + 7) / 8; ++i)
            word |= std::uint64_t{group[i]} << (8 * i);
        for (int i = 0; i < wanted; ++i)
            target[i] = static_cast<std::uint16_t>(word >> (Bits * i) & ((1U << Bits) - 1U));
    };
    const std::size_t groups = count / Pixels;
    for (std::size_t i = 0; i < groups; ++i)
        unpack(bytes + i * nGroupBytes, pixels + i * Pixels, Pixels);
    if (const int rest = static_cast<int>(count % Pixels))
        unpack(bytes + groups * nGroupBytes, pixels + groups * Pixels, rest);
}

} // namespace

cv::Mat UnpackFrame(std::span<const std::uint8_t> bytes, const ImageReading& reading)
{
    cv::Mat frame(reading.rawHeight, reading.rawWidth, reading.rawFormat == RawFormat_Mono8 ? CV_8UC1 : CV_16UC1);
    const std::size_t count = frame.total();
    switch (reading.rawFormat)
    {
    case RawFormat_Mono8:
        std::memcpy(frame.data, bytes.data(), count);
        break;
    case RawFormat_Mono10p:
        UnpackGroups<10, 4>(bytes.data(), frame.ptr<std::uint16_t>(), count);
        break;
    case RawFormat_Mono12p:
        UnpackGroups<12, 2>(bytes.data(), frame.ptr<std::uint16_t>(), count);
        break;
    default:
        UnpackGroups<16, 1>(bytes.data(), frame.ptr<std::uint16_t>(), count);
    }
    return frame;
}

} // namespace narvo
