// SPDX-License-Identifier: MIT
// Fields by their own arithmetic; then every value has one grey level, which the conversion of images is asked for
// once.
#include "host/image/row_conversion.h"

#include <numeric>

#include <opencv2/core.hpp>

#include "host/image/field_correction.h"
#include "host/image/grey_conversion.h"

namespace narvo
{

namespace
{

constexpr const char* pRows = "rows";

int TypeOf(int bits)
{
    return bits > 8 ? CV_16UC1 : CV_8UC1;
}

template <typename T>
void LookUpRows(const cv::Mat& values, const std::vector<std::uint8_t>& levels, GreyImage& grey)
{
    for (int y = 0; y < values.rows; ++y)
    {
        const T* const source = values.ptr<T>(y);
        std::uint8_t* const target = grey.Row(y);
        for (int x = 0; x < values.cols; ++x)
            target[x] = levels[source[x]];
    }
}

} // namespace

std::vector<Problem> CheckRowReading(const ImageReading& reading, int width)
{
    std::vector<Problem> found;
    if (reading.bayer != Bayer_None && reading.demosaic != Demosaic_Off)
        found.push_back({"image.bayer", "a mosaic", "none in a stream: colours are made of rows above and below"});
    const auto check = [&](const FieldImage& field, const char* name)
    {
        const auto refuse = [&](const std::string& value, const std::string& allowed) {
            found.push_back({name, value, allowed});
        };
        if (field.IsEmpty())
            return;
        if (field.height != 1)
            refuse(std::to_string(field.height) + " rows", "1 row in a stream, whose rows have no place in an image");
        if (field.width != width)
            refuse(std::to_string(field.width) + " columns", std::to_string(width) + ", the width of the stream");
        if (field.channels != 1)
            refuse(std::to_string(field.channels) + " channels", "1 channel in a stream, whose rows are grey");
    };
    check(reading.fields.Flat(), "image.flat_field");
    check(reading.fields.Dark(), "image.dark_field");
    return found;
}

bool RowConversion::LeavesBytes() const
{
    const bool levels = m_reading.levelLow != 0 || (m_reading.levelHigh != 0 && m_reading.levelHigh != 255);
    return m_reading.fields.IsEmpty() && !levels && m_reading.channel != Channel_Mixture;
}

void RowConversion::Prepare(int bits, int fullScale)
{
    if (bits == m_bits && fullScale == m_fullScale)
        return;
    std::vector<std::uint16_t> corrected(static_cast<std::size_t>(m_width) * nMostRows);
    if (!m_reading.fields.IsEmpty())
    {
        // Fields that do not fit are refused here.
        cv::Mat row(1, m_width, TypeOf(bits), corrected.data());
        CorrectFieldsInto(row, row, fullScale, m_reading.fields.Tables(), pRows);
    }
    ImageReading levels = m_reading;
    levels.fields = {};
    levels.bayer = Bayer_None; // without colours made of it, a mosaic is grey
    levels.demosaic = Demosaic_Bilinear;
    std::vector<std::uint16_t> values(bits > 8 ? 65536 : 256);
    std::iota(values.begin(), values.end(), std::uint16_t{0});
    cv::Mat all(1, static_cast<int>(values.size()), CV_16UC1, values.data());
    if (bits <= 8)
        all.convertTo(all, CV_8U);
    const GreyImage grey = ConvertToGrey(all, fullScale, levels, pRows, nullptr);
    m_levels.assign(grey.Row(0), grey.Row(0) + values.size());
    m_corrected = std::move(corrected);
    if (m_grey.IsEmpty())
        m_grey = GreyImage(m_width, nMostRows);
    m_bits = bits;
    m_fullScale = fullScale;
}

const GreyImage& RowConversion::Convert(const void* rows, int count, std::ptrdiff_t stride)
{
    // OpenCV knows no pixels that are only read; nothing writes to these.
    cv::Mat values(count, m_width, TypeOf(m_bits), const_cast<void*>(rows), static_cast<std::size_t>(stride));
    if (!m_reading.fields.IsEmpty())
    {
        cv::Mat corrected(count, m_width, TypeOf(m_bits), m_corrected.data());
        CorrectFieldsInto(corrected, values, m_fullScale, m_reading.fields.Tables(), pRows);
        values = corrected;
    }
    if (m_bits > 8)
        LookUpRows<std::uint16_t>(values, m_levels, m_grey);
    else
        LookUpRows<std::uint8_t>(values, m_levels, m_grey);
    return m_grey;
}

} // namespace narvo
