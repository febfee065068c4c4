// SPDX-License-Identifier: MIT
#include "library/c_call_kit.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

namespace narvo::test
{

bool CCallKit::Sound(std::int32_t status, bool mayRun)
{
    Require(status == NARVO_OK || status == NARVO_REFUSED, "a call succeeds or is refused");
    const std::int64_t count = narvo_problem_count();
    Require(status == NARVO_OK ? count == 0 : count >= 1, "a refusal has problems, success has none");
    for (std::int64_t i = -1; i <= count; ++i)
    {
        narvo_problem problem = {};
        problem.size = sizeof(problem);
        const bool inside = i >= 0 && i < count;
        Require((narvo_problem_get(i, &problem) == NARVO_OK) == inside, "problems are those of the count");
        if (inside)
            Require(problem.size == sizeof(problem) && problem.reserved == 0 && problem.field != nullptr &&
                        problem.value != nullptr && std::strlen(problem.allowed) > 0,
                    "a problem has its texts");
    }
    Require(mayRun || status == NARVO_REFUSED, "a wrong argument is refused");
    return status == NARVO_OK;
}

DrawnImage CCallKit::DrawImage(int leastSide)
{
    DrawnImage image;
    narvo_image& record = image.record;
    record.size = sizeof(record);
    record.width = m_source.Pick({96, 64, 100, 97, 130, leastSide});
    record.height = m_source.Pick({72, 64, 61, 80, leastSide});
    record.bits = m_source.OneIn(4) ? m_source.Int(9, 16) : 8;
    const std::int64_t row = record.width * (record.bits > 8 ? 2 : 1);
    record.stride = m_source.OneIn(3) ? row + 2 * m_source.Int(0, 20) : 0;
    const std::int64_t stride = record.stride == 0 ? row : record.stride;
    image.bytes.resize(static_cast<std::size_t>(stride * (record.height - 1) + row));
    Paint(image, static_cast<int>(stride));
    record.pixels = image.bytes.data();
    if (Rarely())
        Break(image, row);
    return image;
}

void CCallKit::Paint(DrawnImage& image, int stride)
{
    const int kind = m_source.Int(0, 4);
    const int spots = m_source.Int(0, 5);
    const int top = image.record.bits > 8 ? 1 << (image.record.bits - 8) : 1;
    std::vector<std::pair<int, int>> places;
    for (int i = 0; i < spots; ++i)
        places.emplace_back(m_source.Int(0, image.record.width - 1), m_source.Int(0, image.record.height - 1));
    unsigned noise = 1;
    for (int y = 0; y < image.record.height; ++y)
        for (int x = 0; x < image.record.width; ++x)
        {
            noise = noise * 1664525U + 1013904223U;
            int value = kind == 3 ? 90 : x % 16 < 6 && y % 12 < 8 ? 150 : 60;
            if (kind == 2)
                value = static_cast<int>(noise >> 24);
            else if (kind == 4)
                value = (x / 9 * 37 + y / 7 * 61) * 29 % 200;
            for (const auto& [left, up] : places)
                if (std::abs(x - left) <= 2 && std::abs(y - up) <= 2)
                    value = kind % 2 == 0 ? 250 : 2;
            value *= top;
            auto* place = image.bytes.data() + static_cast<std::ptrdiff_t>(y) * stride;
            if (image.record.bits == 8)
                place[x] = static_cast<std::uint8_t>(value);
            else
            {
                const auto wide = static_cast<std::uint16_t>(value);
                std::memcpy(place + 2 * x, &wide, 2);
            }
        }
}

void CCallKit::Break(DrawnImage& image, std::int64_t row)
{
    narvo_image& record = image.record;
    image.broken = true;
    switch (m_source.Int(0, 6))
    {
    case 0:
        record.size = static_cast<std::uint32_t>(m_source.Pick({0, 8, 31, 33, 1000}));
        break;
    case 1:
        record.pixels = nullptr;
        break;
    case 2:
        record.width = m_source.Pick({0, -1, 1048577, std::numeric_limits<int>::max()});
        break;
    case 3:
        record.height = m_source.Pick({0, -1, 1048577, std::numeric_limits<int>::min()});
        break;
    case 4:
        record.bits = m_source.Pick({0, 7, 17, -8, std::numeric_limits<int>::max()});
        break;
    case 5:
        record.stride = m_source.Pick({std::int64_t{-1}, row - 1, -nHugeCount - 1, nHugeCount});
        break;
    default:
        record.width = record.height = 1048576;
        record.stride = 0;
        break;
    }
}

double CCallKit::DrawNumber()
{
    return m_source.Pick({16.0, 12.5, 0.0, -1.0, 300.25, 1e300, -1e300, std::numeric_limits<double>::infinity(),
                          std::numeric_limits<double>::quiet_NaN(), 1e-300});
}

int CCallKit::DrawInteger()
{
    return m_source.Pick(
        {16, 12, 20, 0, -1, 1, 2, 64, 96, 255, 256, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()});
}

} // namespace narvo::test
