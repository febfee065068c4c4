// SPDX-License-Identifier: MIT
// Sums of shifted rows.
#include "host/input/line_means.h"

#include <cmath>
#include <vector>

#include <opencv2/core/hal/intrin.hpp>

namespace narvo
{

namespace
{

/// Lines that lie flatter than the diagonal: one pixel for each column.
class FlatLines
{
public:
    FlatLines(const cv::Mat& values, int length) : m_length(length), m_reach(length / 2 + 1), m_size(values.size())
    {
        // Lanes of the last columns read a little further.
        cv::copyMakeBorder(values, m_padded, m_reach, m_reach, m_reach, m_reach + cv::v_float32x4::nlanes,
                           cv::BORDER_CONSTANT, 0.0);
    }

    /// Means along the line whose end lies `rise` rows from its begin.
    cv::Mat Means(int rise) const
    {
        std::vector<std::ptrdiff_t> places;
        for (int i = 0; i < m_length; ++i)
        {
            const int along = i - m_length / 2;
            const int across = static_cast<int>(std::nearbyint(static_cast<double>(rise) / m_length * along));
            places.push_back(across * static_cast<std::ptrdiff_t>(m_padded.step1()) + along);
        }
        cv::Mat means(m_size, CV_32F);
        const cv::v_float32x4 share = cv::v_setall_f32(1.0F / static_cast<float>(m_length));
        for (int y = 0; y < m_size.height; ++y)
        {
            const float* source = m_padded.ptr<float>(y + m_reach) + m_reach;
            float* target = means.ptr<float>(y);
            for (int x = 0; x < m_size.width; x += cv::v_float32x4::nlanes)
            {
                cv::v_float32x4 sum = cv::v_setzero_f32();
                for (const std::ptrdiff_t place : places)
                    sum += cv::v_load(source + place + x);
                sum *= share;
                if (x + cv::v_float32x4::nlanes <= m_size.width)
                    cv::v_store(target + x, sum);
                else
                {
                    float last[cv::v_float32x4::nlanes];
                    cv::v_store(last, sum);
                    std::copy_n(last, m_size.width - x, target + x);
                }
            }
        }
        return means;
    }

private:
    int m_length;
    int m_reach;
    cv::Size m_size;
    cv::Mat m_padded;
};

} // namespace

void VisitLineMeans(const cv::Mat& values, int length, const std::function<void(cv::Mat&)>& visit)
{
    constexpr int nLongLine = 32;
    const int step = length >= nLongLine ? 4 : 2;
    const FlatLines flat(values, length);
    for (int rise = -length; rise <= length; rise += step)
    {
        cv::Mat means = flat.Means(rise);
        visit(means);
    }
    // Steeper ones are flat in the transposed image; the diagonals are done.
    const FlatLines steep(values.t(), length);
    for (int rise = -length + step; rise < length; rise += step)
    {
        cv::Mat means = steep.Means(rise).t();
        visit(means);
    }
}

} // namespace narvo
