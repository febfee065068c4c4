// SPDX-License-Identifier: MIT
// One period of the pattern is drawn at 16 times the resolution and blurred as lens and pixel aperture would; a pixel
// of the image is one sample of it, so that pitches in steps of 1/16 pixel are exact.
#include "tools/synthetic/panel_pattern.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace narvo::tools
{

FinePeriod::FinePeriod(int width, int height)
    : m_width(width), m_height(height),
      m_values(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), fMatrix)
{
    for (const Feature& feature : features)
        Fill(feature);
    Blur(nFine); // the pixel's aperture
    Blur(nFine); // two passes more for the lens
    Blur(nFine);
}

void FinePeriod::Fill(const Feature& feature)
{
    const auto place = [](double share, int size) { return static_cast<int>(std::lround(share * size)); };
    for (int y = place(feature.top, m_height); y < place(feature.bottom, m_height); ++y)
        for (int x = place(feature.left, m_width); x < place(feature.right, m_width); ++x)
            m_values[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width) + static_cast<std::size_t>(x)] =
                feature.level;
}

/// Running mean of `count` values with a step of `stride` between them, around the period.
void FinePeriod::BlurLine(float* line, int size, std::ptrdiff_t stride, int count, std::vector<float>& copy)
{
    for (int i = 0; i < size; ++i)
        copy[static_cast<std::size_t>(i)] = line[i * stride];
    double sum = 0.0;
    for (int i = -count / 2; i < count - count / 2; ++i)
        sum += copy[static_cast<std::size_t>(Wrap(i, size))];
    for (int i = 0; i < size; ++i)
    {
        line[i * stride] = static_cast<float>(sum / count);
        sum += copy[static_cast<std::size_t>(Wrap(i + count - count / 2, size))];
        sum -= copy[static_cast<std::size_t>(Wrap(i - count / 2, size))];
    }
}

void FinePeriod::Blur(int count)
{
    std::vector<float> copy(static_cast<std::size_t>(std::max(m_width, m_height)));
    for (int y = 0; y < m_height; ++y)
        BlurLine(m_values.data() + static_cast<std::ptrdiff_t>(y) * m_width, m_width, 1, count, copy);
    for (int x = 0; x < m_width; ++x)
        BlurLine(m_values.data() + x, m_height, m_width, count, copy);
}

void DrawPattern(const FinePeriod& period, Canvas& canvas)
{
    std::vector<int> columns(static_cast<std::size_t>(canvas.width));
    for (int x = 0; x < canvas.width; ++x)
        columns[static_cast<std::size_t>(x)] = static_cast<int>(static_cast<std::int64_t>(x) * nFine % period.Width());
    for (int y = 0; y < canvas.height; ++y)
    {
        const float* source = period.Row(static_cast<int>(static_cast<std::int64_t>(y) * nFine % period.Height()));
        std::transform(columns.begin(), columns.end(), canvas.Row(y), [&](int column) { return source[column]; });
    }
}

} // namespace narvo::tools
