// SPDX-License-Identifier: MIT
// Weave, defects and exposure of cloth.
#include "tools/synthetic/cloth.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "host/problem.h"
#include "tools/synthetic/drawing.h"
#include "tools/synthetic/plan_check.h"

namespace narvo::tools
{

namespace
{

constexpr double dTurn = 2.0 * std::numbers::pi;

/// What a defect does to the weave.
struct ClothFlaw
{
    const char* kind;
    double x0; ///< of its axis, pixels
    double y0;
    double x1;
    double y1;
    double radius;   ///< around the axis
    double level;    ///< grey levels that are added
    double contrast; ///< factor of the weave's contrast
};

/// A flaw somewhere on the cloth.
ClothFlaw DrawFlaw(const ClothPlan& plan, Random& random)
{
    constexpr double dInside = 24.0; // pixels from the selvedge
    const double x = random.Real(plan.margin + dInside, plan.width - plan.margin - dInside);
    const double y = random.Real(0.0, plan.height);
    const double sign = random.Whole(0, 1) == 1 ? 1.0 : -1.0;
    switch (random.Whole(0, 3))
    {
    case 0: // a thread of another thickness, along the weft
    {
        const double half = random.Real(30.0, 90.0);
        return {"thick_thread",        x - half,          y + plan.slope * half,          x + half,
                y - plan.slope * half, 0.5 * plan.pitchY, sign * random.Real(22.0, 34.0), 1.0};
    }
    case 1:
        return {"hole", x, y, x, y, random.Real(6.0, 12.0), -random.Real(45.0, 70.0), 0.3};
    case 2:
        return {"stain", x, y, x, y, random.Real(16.0, 30.0), sign * random.Real(14.0, 24.0), 1.0};
    default: // threads that do not interlace
    {
        const double half = random.Real(8.0, 30.0);
        return {"float", x, y - half, x, y + half, random.Real(8.0, 14.0), 0.0, 2.2};
    }
    }
}

/// Slowly changing brightness of each thread.
std::vector<double> ThreadLevels(Random& random, std::size_t count)
{
    std::vector<double> levels(count);
    for (double& level : levels)
        level = random.Real(-4.0, 4.0);
    return levels;
}

void CheckPlan(const ClothPlan& plan)
{
    std::vector<Problem> found;
    const auto check = [&](const char* field, double value, double low, double high, const char* unit)
    { CheckNumber(field, value, low, high, unit, found); };
    check("--width", plan.width, 128, 8192, "pixels");
    check("--height", plan.height, 128, 8192, "pixels");
    check("--pitch-x", plan.pitchX, 4.0, 40.0, "pixels");
    check("--pitch-y", plan.pitchY, 4.0, 40.0, "pixels");
    check("--slope", plan.slope, -0.2, 0.2, "rows a column");
    check("--drift", plan.drift, 0.0, 0.1, "");
    check("--noise", plan.noise, 0.0, 20.0, "grey levels");
    check("--light", plan.light, 0.0, 0.5, "");
    check("--margin", plan.margin, 0, std::clamp(plan.width, 128, 8192) / 4, "pixels");
    check("--defects", plan.defects, 0, 200, "");
    ThrowIfAny(std::move(found));
}

} // namespace

Cloth MakeCloth(const ClothPlan& plan)
{
    CheckPlan(plan);
    Random random(plan.seed);
    // This image's own pitch, and how it goes on changing along x and y.
    const double scale = 1.0 + plan.drift * random.Real(-0.5, 0.5);
    const double phaseX = random.Real(0.0, 1.0);
    const double phaseY = random.Real(0.0, 1.0);
    const double bend = random.Real(0.0, dTurn);
    const auto warpCount = static_cast<std::size_t>(2.0 * plan.width / plan.pitchX) + 8;
    const auto weftCount = static_cast<std::size_t>((2.0 * plan.height + 0.4 * plan.width) / plan.pitchY) + 8;
    const std::vector<double> warp = ThreadLevels(random, warpCount);
    const std::vector<double> weft = ThreadLevels(random, weftCount);
    std::vector<ClothFlaw> flaws;
    for (int i = 0; i < plan.defects; ++i)
        flaws.push_back(DrawFlaw(plan, random));

    Cloth cloth;
    cloth.image = GreyImage(plan.width, plan.height);
    cloth.mask = GreyImage(plan.width, plan.height);
    const double weftStart = 0.2 * plan.width / plan.pitchY + 2.0;
    for (int y = 0; y < plan.height; ++y)
        for (int x = 0; x < plan.width; ++x)
        {
            const double noise = plan.noise * std::sqrt(-2.0 * std::log(1.0 - random.Real(0.0, 1.0))) *
                                 std::cos(random.Real(0.0, dTurn));
            double value = 0.0;
            if (x < plan.margin || x >= plan.width - plan.margin)
                value = 38.0 + 0.4 * noise; // the table
            else
            {
                const double sway = 0.5 * plan.drift * plan.width / dTurn * std::sin(dTurn * x / plan.width + bend);
                const double u = phaseX + (x * scale + sway) / plan.pitchX;
                const double v = weftStart + phaseY + (y * scale + plan.slope * x) / plan.pitchY;
                double level = warp[static_cast<std::size_t>(std::max(0.0, u)) % warpCount] +
                               weft[static_cast<std::size_t>(std::max(0.0, v)) % weftCount];
                double contrast = 1.0;
                for (const ClothFlaw& flaw : flaws)
                {
                    const double cover =
                        Cover(DistanceToSegment(x, y, flaw.x0, flaw.y0, flaw.x1, flaw.y1) - flaw.radius);
                    level += cover * flaw.level;
                    contrast += cover * (flaw.contrast - 1.0);
                    if (cover >= 0.5)
                        cloth.mask.Row(y)[x] = 255;
                }
                const double weave = 16.0 * std::cos(dTurn * u) + 13.0 * std::cos(dTurn * v) +
                                     9.0 * std::cos(std::numbers::pi * u) * std::cos(std::numbers::pi * v);
                const double side = 2.0 * x / plan.width - 1.0;
                value = (128.0 + level + contrast * weave) * (1.0 - plan.light * side * side) + noise;
            }
            cloth.image.Row(y)[x] = static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
        }
    for (const ClothFlaw& flaw : flaws)
    {
        const CRect whole(0, 0, plan.width, plan.height);
        CRect box(static_cast<int>(std::floor(std::min(flaw.x0, flaw.x1) - flaw.radius)),
                  static_cast<int>(std::floor(std::min(flaw.y0, flaw.y1) - flaw.radius)),
                  static_cast<int>(std::ceil(std::max(flaw.x0, flaw.x1) + flaw.radius)) + 1,
                  static_cast<int>(std::ceil(std::max(flaw.y0, flaw.y1) + flaw.radius)) + 1);
        box = {std::max(box.left, whole.left), std::max(box.top, whole.top), std::min(box.right, whole.right),
               std::min(box.bottom, whole.bottom)};
        cloth.truth.push_back({flaw.kind, flaw.level >= 0.0, box, std::abs(flaw.level)});
    }
    return cloth;
}

} // namespace narvo::tools
