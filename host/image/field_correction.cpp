// SPDX-License-Identifier: MIT
// The correction in whole numbers, so that it is the same on every processor.
#include "host/image/field_correction.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "host/image/camera_pixels.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr int nColours = 3;

void CheckFields(const cv::Mat& pixels, const FieldTables& fields, const std::string& name)
{
    const bool size = fields.width == pixels.cols && (fields.height == pixels.rows || fields.height == 1);
    const bool depth = fields.wide || pixels.depth() == CV_8U;
    const bool channels = fields.channels == 1 || pixels.channels() >= nColours;
    if (size && depth && channels)
        return; // what is said of others takes memory
    std::vector<Problem> found;
    const auto demand = [&](bool holds, const std::string& value, const std::string& allowed)
    {
        if (!holds)
            found.push_back({"image.flat_field, image.dark_field", value, allowed + ", as " + name + " has"});
    };
    demand(size, SizeText(fields.width, fields.height),
           std::to_string(pixels.cols) + " by " + std::to_string(pixels.rows) + " or by 1 pixels");
    demand(depth, "8 bits", "16 bits");
    demand(channels, std::to_string(fields.channels) + " channels", "1 channel");
    ThrowIfAny(std::move(found));
}

/// One value; `shift` counts the binary digits behind the point.
template <typename T>
T Corrected(T value, std::uint16_t dark, std::uint32_t gain, int steps, int shift, std::uint32_t full)
{
    const std::uint32_t scaled = static_cast<std::uint32_t>(value) * static_cast<std::uint32_t>(steps);
    const std::uint32_t light = scaled > dark ? scaled - dark : 0;
    const std::uint64_t product = std::uint64_t{light} * gain + (std::uint64_t{1} << (shift - 1));
    return static_cast<T>(std::min<std::uint64_t>(product >> shift, full));
}

template <typename T>
class Correction
{
public:
    Correction(const FieldTables& fields, int channels, int fullScale)
        : m_fields(fields), m_channels(channels), m_colours(std::min(channels, nColours)),
          m_full(static_cast<std::uint32_t>(fullScale)), m_steps(fields.wide && sizeof(T) == 1 ? nFieldSteps : 1),
          m_shift(nGainBits + (m_steps == 1 ? 0 : 8))
    {
    }

    void CorrectRow(const T* source, int row, T* target) const
    {
        const int fieldRow = m_fields.height == 1 ? 0 : row;
        const std::size_t places =
            static_cast<std::size_t>(m_fields.width) * static_cast<std::size_t>(m_fields.channels);
        const std::uint32_t* const gains = m_fields.gains.data() + static_cast<std::size_t>(fieldRow) * places;
        const std::uint16_t* const darks = m_fields.darks.data() + static_cast<std::size_t>(fieldRow) * places;
        if (m_channels == m_fields.channels)
            for (std::size_t i = 0; i < places; ++i)
                target[i] = Corrected(source[i], darks[i], gains[i], m_steps, m_shift, m_full);
        else
            for (std::size_t x = 0; x < static_cast<std::size_t>(m_fields.width); ++x)
                CorrectPixel(source + x * Step(), x, gains, darks, target + x * Step());
        FillLightless(fieldRow, target);
    }

private:
    std::size_t Step() const { return static_cast<std::size_t>(m_channels); }

    /// A field of one channel for all colours, or colours with alpha.
    void CorrectPixel(const T* source, std::size_t x, const std::uint32_t* gains, const std::uint16_t* darks,
                      T* target) const
    {
        for (int channel = 0; channel < m_colours; ++channel)
        {
            const std::size_t at =
                m_fields.channels == 1 ? x : x * static_cast<std::size_t>(nColours) + static_cast<std::size_t>(channel);
            target[channel] = Corrected(source[channel], darks[at], gains[at], m_steps, m_shift, m_full);
        }
        if (m_colours < m_channels)
            target[m_colours] = source[m_colours];
    }

    /// Where a field's value lies in a row of the image, for one of the colours that it stands for.
    std::size_t PlaceOf(int place, int colour) const
    {
        if (m_fields.channels == 1)
            return static_cast<std::size_t>(place) * Step() + static_cast<std::size_t>(colour);
        return static_cast<std::size_t>(place / nColours) * Step() + static_cast<std::size_t>(place % nColours);
    }

    void FillLightless(int fieldRow, T* target) const
    {
        const auto byRow = [](const DarkPixel& a, const DarkPixel& b) { return a.row < b.row; };
        const auto [first, last] =
            std::equal_range(m_fields.lightless.begin(), m_fields.lightless.end(), DarkPixel{fieldRow}, byRow);
        for (auto pixel = first; pixel != last; ++pixel)
            for (int colour = 0; colour < (m_fields.channels == 1 ? m_colours : 1); ++colour)
            {
                const int before = pixel->before >= 0 ? pixel->before : pixel->behind;
                const int behind = pixel->behind >= 0 ? pixel->behind : pixel->before;
                if (before >= 0)
                    target[PlaceOf(pixel->place, colour)] =
                        static_cast<T>((target[PlaceOf(before, colour)] + target[PlaceOf(behind, colour)] + 1) / 2);
            }
    }

    const FieldTables& m_fields;
    int m_channels;
    int m_colours;
    std::uint32_t m_full;
    int m_steps;
    int m_shift;
};

template <typename T>
void CorrectAll(cv::Mat& corrected, const cv::Mat& pixels, int fullScale, const FieldTables& fields)
{
    const Correction<T> correction(fields, pixels.channels(), fullScale);
    for (int y = 0; y < pixels.rows; ++y)
        correction.CorrectRow(pixels.ptr<T>(y), y, corrected.ptr<T>(y));
}

/// Pixels of which some colour is at the largest value.
template <typename T>
std::int64_t CountSaturated(const cv::Mat& pixels, int fullScale)
{
    const int channels = pixels.channels();
    const int colours = std::min(channels, nColours);
    std::int64_t count = 0;
    for (int y = 0; y < pixels.rows; ++y)
    {
        const T* pixel = pixels.ptr<T>(y);
        for (int x = 0; x < pixels.cols; ++x, pixel += channels)
            count += std::any_of(pixel, pixel + colours, [&](T value) { return value >= fullScale; }) ? 1 : 0;
    }
    return count;
}

void NoteLimits(const cv::Mat& pixels, int fullScale, const FieldTables& fields, const std::string& name,
                ConversionNotes& notes)
{
    if (!fields.lightless.empty())
        notes.Add(Loss_Lightless, std::to_string(fields.lightless.size()) +
                                      " values of image.flat_field show less than 1/16 of its mean light above "
                                      "image.dark_field (the first at column " +
                                      std::to_string(fields.lightless.front().place / fields.channels) + ", row " +
                                      std::to_string(fields.lightless.front().row) +
                                      "): their pixels become the mean of their neighbours in the row");
    if (fields.saturated > 0)
        notes.Add(Loss_SaturatedField, std::to_string(fields.saturated) +
                                           " values of image.flat_field are the largest that it can hold: the light "
                                           "there is not known, and what is corrected by them becomes too bright");
    if (!notes.Wants(Loss_Saturated))
        return;
    const std::int64_t count = pixels.depth() == CV_8U ? CountSaturated<std::uint8_t>(pixels, fullScale)
                                                       : CountSaturated<std::uint16_t>(pixels, fullScale);
    if (count > 0)
        notes.Add(Loss_Saturated, name + ": " + std::to_string(count) + " pixels are at the largest value, " +
                                      std::to_string(fullScale) + ": they are corrected as if that were their light");
}

} // namespace

cv::Mat CorrectFields(const cv::Mat& pixels, int fullScale, const FieldTables& fields, const std::string& name,
                      ConversionNotes* notes)
{
    cv::Mat corrected(pixels.size(), pixels.type());
    CorrectFieldsInto(corrected, pixels, fullScale, fields, name);
    if (notes != nullptr)
        NoteLimits(pixels, fullScale, fields, name, *notes);
    return corrected;
}

void CorrectFieldsInto(cv::Mat& corrected, const cv::Mat& pixels, int fullScale, const FieldTables& fields,
                       const std::string& name)
{
    CheckFields(pixels, fields, name);
    if (pixels.depth() == CV_8U)
        CorrectAll<std::uint8_t>(corrected, pixels, fullScale, fields);
    else
        CorrectAll<std::uint16_t>(corrected, pixels, fullScale, fields);
}

} // namespace narvo
