// SPDX-License-Identifier: MIT
// A panel from its plan: pattern, defects, exposure.
#include "tools/synthetic/panel.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <utility>

#include "host/problem.h"
#include "tools/synthetic/drawing.h"
#include "tools/synthetic/panel_defects.h"
#include "tools/synthetic/panel_pattern.h"
#include "tools/synthetic/panel_recipe.h"
#include "tools/synthetic/plan_check.h"

namespace narvo::tools
{

namespace
{

/// Brightness drift, noise and rounding.
GreyImage Expose(const PanelPlan& plan, Canvas& canvas)
{
    Random random(plan.seed * 2);
    const double phaseX = random.Real(0.0, 2.0 * std::numbers::pi);
    const double phaseY = random.Real(0.0, 2.0 * std::numbers::pi);
    std::vector<double> along(static_cast<std::size_t>(plan.width));
    for (int x = 0; x < plan.width; ++x)
        along[static_cast<std::size_t>(x)] = 0.5 * plan.drift * std::sin(phaseX + 5.0 * x / plan.width);

    GreyImage image(plan.width, plan.height);
    for (int y = 0; y < plan.height; ++y)
    {
        const double down = 1.0 + 0.5 * plan.drift * std::sin(phaseY + 4.0 * y / plan.height);
        const float* source = canvas.Row(y);
        std::uint8_t* target = image.Row(y);
        double spare = 0.0;
        for (int x = 0; x < plan.width; ++x)
        {
            // Two normal numbers come at a time.
            double normal = spare;
            if ((x & 1) == 0)
            {
                const double radius = std::sqrt(-2.0 * std::log(1.0 - random.Real(0.0, 1.0)));
                const double angle = random.Real(0.0, 2.0 * std::numbers::pi);
                normal = radius * std::cos(angle);
                spare = radius * std::sin(angle);
            }
            const double value = source[x] * (down + along[static_cast<std::size_t>(x)]) + plan.noise * normal;
            target[x] = static_cast<std::uint8_t>(std::clamp(std::lround(value), 0L, 255L));
        }
        std::fill(target + plan.width, target + image.Stride(), target[plan.width - 1]);
    }
    return image;
}

void Check(const PanelPlan& plan)
{
    constexpr int nSideLow = 256;
    constexpr int nSideHigh = 32768;
    constexpr int nPitchLow = 24;
    constexpr int nPitchHigh = 300;
    std::vector<Problem> found;
    const auto check = [&](const char* field, double value, double low, double high, const char* unit)
    { CheckNumber(field, value, low, high, unit, found); };
    const auto checkPitch = [&](const char* field, double pitch, int side)
    {
        check(field, pitch, nPitchLow, std::clamp(side, nSideLow, nPitchHigh * 5) / 5.0, "pixels");
        if (pitch * nFine != std::floor(pitch * nFine))
            found.push_back({field, FormatNumber(pitch), "multiples of 0.0625 pixels"});
    };
    check("--width", plan.width, nSideLow, nSideHigh, "pixels");
    check("--height", plan.height, nSideLow, nSideHigh, "pixels");
    checkPitch("--pitch-x", plan.pitchX, plan.width);
    checkPitch("--pitch-y", plan.pitchY, plan.height);
    check("--noise", plan.noise, 0.0, 20.0, "grey levels");
    check("--drift", plan.drift, 0.0, 0.3, "");
    check("--defects", plan.defects, 0, 20000, "");
    ThrowIfAny(std::move(found));
}

} // namespace

Panel MakePanel(const PanelPlan& plan)
{
    Check(plan);
    const FinePeriod period(static_cast<int>(plan.pitchX * nFine), static_cast<int>(plan.pitchY * nFine));
    Panel panel;
    Canvas canvas(plan.width, plan.height);
    DrawPattern(period, canvas);
    AddDefects(plan, canvas, panel.truth);
    panel.image = Expose(plan, canvas);
    panel.recipe = MakeRecipe(plan, period);
    return panel;
}

} // namespace narvo::tools
