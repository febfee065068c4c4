// SPDX-License-Identifier: MIT
// Grey levels of a line camera's rows, which come without end: what depends on a pixel and its column alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "host/image/grey_image.h"
#include "host/image/image_reading.h"
#include "host/problem.h"

namespace narvo
{

/// What of `reading` looks at more than a row, or does not fit grey rows of `width` pixels: mosaics, fields of a whole
/// image, of another width or with colours.
std::vector<Problem> CheckRowReading(const ImageReading& reading, int width);

/// Converts rows as ConvertToGrey converts an image of them. No memory is taken once it has been prepared.
class RowConversion
{
public:
    static constexpr int nMostRows = 64; ///< in one call

    /// `reading` passes CheckRowReading.
    RowConversion(ImageReading reading, int width) : m_reading(std::move(reading)), m_width(width) {}

    /// Whether 8-bit rows stay as they are.
    bool LeavesBytes() const;
    /// Gets ready for rows of 8 or more bits, of which the largest value is `fullScale`.
    /// @throws HostError where the reading does not fit them
    void Prepare(int bits, int fullScale);
    /// Up to nMostRows rows of the depth prepared for, `stride` bytes apart: bytes, or 16-bit values for more than 8
    /// bits. @return an image whose first rows are their grey levels, until the next call
    const GreyImage& Convert(const void* rows, int count, std::ptrdiff_t stride);

private:
    ImageReading m_reading;
    int m_width;
    int m_bits = 0;
    int m_fullScale = 0;
    std::vector<std::uint8_t> m_levels;     ///< of each value
    std::vector<std::uint16_t> m_corrected; ///< room for the pixels, whatever their depth
    GreyImage m_grey;
};

} // namespace narvo
