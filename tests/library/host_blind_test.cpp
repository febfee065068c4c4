// SPDX-License-Identifier: MIT
// Nothing is silently blind: a strong defect anywhere in a region is reported, or a warning says that its columns are
// not looked at.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "library/host_pictures.h"
#include "support/random.h"
#include "support/seeds.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

namespace
{

/// Whether a warning names one of the columns.
bool IsNamed(const Report& report, int left, int right)
{
    for (const std::string& warning : report.warnings)
    {
        int from = 0;
        int to = 0;
        if (std::sscanf(warning.c_str(), "columns %d to %d", &from, &to) == 2 && left <= to && right > from)
            return true;
    }
    return false;
}

bool IsReported(const Report& report, const Box& square)
{
    return std::any_of(report.defects.begin(), report.defects.end(),
                       [&](const Defect& defect)
                       {
                           return defect.box.left < square.right && defect.box.right > square.left &&
                                  defect.box.top < square.bottom && defect.box.bottom > square.top;
                       });
}

} // namespace

TEST(HostBlind, AStrongDefectAnywhereIsReportedOrItsColumnsAreNamed)
{
    Inspector inspector;
    int named = 0;
    for (const std::uint64_t seed : CaseSeeds("HostBlind", 2000))
    {
        SCOPED_TRACE(ReplayHint(seed));
        CRandom random(seed);
        const int pitchX = random.Int(16, 40);
        const int pitchY = random.Int(8, 40);
        const int width = random.Int(4 * pitchX, 7 * pitchX);
        const int height = random.Int(4 * pitchY, 8 * pitchY);
        const char* mode = random.Pick({"zone", "pixel", "float"});
        const char* direction = random.Pick({"vertical", "horizontal"});
        // In less than four pitches, a horizontal comparison may report a defect one pitch further left.
        const int pitches = std::string(direction) == "horizontal" ? 4 : 3;
        const Box region = {random.Int(0, std::max(width - pitches * pitchX - 1, 0)),
                            random.Int(0, height - 3 * pitchY - 1), width, height};
        const bool whole = random.OneIn(2);
        const Box inside = whole ? Box{0, 0, width, height} : region;
        Picture8 picture(width, height);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                picture.At(x, y) = x % pitchX < pitchX / 2 && y % pitchY < pitchY / 2 ? 120 : 90;
        const int x = random.Int(inside.left, inside.right - 5);
        const int y = random.Int(inside.top, inside.bottom - 5);
        const Box square = {x, y, x + 5, y + 5};
        picture.Fill(square, random.OneIn(2) ? 255 : 0);

        RecipeDraft draft;
        draft.Set("mode", mode).Set("pitch.x", pitchX).Set("pitch.y", pitchY).Set("direction", direction);
        if (std::string(mode) == "pixel")
            draft.Set("threshold.base", 30);
        if (std::string(mode) == "float")
            draft.Set("threshold.base", 120);
        if (!whole)
            draft.SetJson("region", "{\"left\": " + std::to_string(region.left) + ", \"top\": " +
                                        std::to_string(region.top) + ", \"right\": " + std::to_string(width) +
                                        ", \"bottom\": " + std::to_string(height) + "}");
        const Report report = inspector.Inspect(picture.Pixels(), draft.Check()).at(0);
        if (IsNamed(report, square.left, square.right))
            ++named;
        else
            EXPECT_TRUE(IsReported(report, square))
                << mode << ' ' << direction << " pitch " << pitchX << ", " << pitchY << " region " << inside.left
                << ", " << inside.top << " to " << width << ", " << height << " defect at " << x << ", " << y
                << (report.warnings.empty() ? "" : report.warnings[0]);
    }
    EXPECT_LT(named, 400);
}

} // namespace narvo::test
