// SPDX-License-Identifier: MIT
// The panel's good pattern: one period of it, and the image that repeats it.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

namespace narvo::tools
{

constexpr int nFine = 16; // fine samples per pixel

// Grey levels of the good pattern.
constexpr float fMatrix = 42.0F;
constexpr float fGateLine = 78.0F;
constexpr float fSwitch = 66.0F;
constexpr std::array<float, 3> fStripe = {118.0F, 172.0F, 96.0F};

/// Part of a period, in shares of the pitches.
struct Feature
{
    double left, top, right, bottom;
    float level;
};

constexpr double dStripeTop = 0.10;
constexpr double dStripeBottom = 0.78;
constexpr Feature features[] = {
    {0.00, 0.87, 1.00, 0.93, fGateLine},
    {0.07, dStripeTop, 0.30, dStripeBottom, fStripe[0]},
    {0.39, dStripeTop, 0.62, dStripeBottom, fStripe[1]},
    {0.71, dStripeTop, 0.94, dStripeBottom, fStripe[2]},
    {0.23, 0.70, 0.30, dStripeBottom, fSwitch},
    {0.55, 0.70, 0.62, dStripeBottom, fSwitch},
    {0.87, 0.70, 0.94, dStripeBottom, fSwitch},
};
constexpr int nFirstStripe = 1;
constexpr int nStripes = 3;

/// One period at the fine resolution, wrapping around on all sides.
class FinePeriod
{
public:
    FinePeriod(int width, int height);

    double At(int x, int y) const
    {
        return m_values[static_cast<std::size_t>(Wrap(y, m_height)) * static_cast<std::size_t>(m_width) +
                        static_cast<std::size_t>(Wrap(x, m_width))];
    }
    const float* Row(int y) const
    {
        return m_values.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(m_width);
    }
    int Width() const { return m_width; }
    int Height() const { return m_height; }

private:
    static int Wrap(int place, int size) { return (place % size + size) % size; }
    static void BlurLine(float* line, int size, std::ptrdiff_t stride, int count, std::vector<float>& copy);
    void Fill(const Feature& feature);
    void Blur(int count);

    int m_width;
    int m_height;
    std::vector<float> m_values;
};

/// The image before noise, in grey levels.
struct Canvas
{
    int width;
    int height;
    std::vector<float> values;

    Canvas(int nWidth, int nHeight)
        : width(nWidth), height(nHeight), values(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight))
    {
    }
    float* Row(int y) { return values.data() + static_cast<std::size_t>(y) * static_cast<std::size_t>(width); }
};

/// Fills the canvas with the period.
void DrawPattern(const FinePeriod& period, Canvas& canvas);

} // namespace narvo::tools
