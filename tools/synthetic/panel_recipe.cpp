// SPDX-License-Identifier: MIT
// Zones and thresholds from the pattern's own interpolation errors.
#include "tools/synthetic/panel_recipe.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace narvo::tools
{

namespace
{

/// How far linear interpolation can be wrong around a pixel of the cell, for any sub-pixel place of the cell.
double InterpolationError(const FinePeriod& period, int x, int y, int fractionX, int fractionY)
{
    double worst = 0.0;
    constexpr int nStep = 4;
    for (int fineY = (y - 1) * nFine; fineY <= (y + 1) * nFine; fineY += nStep)
        for (int fineX = (x - 1) * nFine; fineX <= (x + 1) * nFine; fineX += nStep)
        {
            const double vertical = (period.At(fineX, fineY - fractionY) * (nFine - fractionY) +
                                     period.At(fineX, fineY - fractionY + nFine) * fractionY) /
                                    nFine;
            const double horizontal = (period.At(fineX - fractionX, fineY) * (nFine - fractionX) +
                                       period.At(fineX - fractionX + nFine, fineY) * fractionX) /
                                      nFine;
            const double good = period.At(fineX, fineY);
            worst = std::max({worst, std::fabs(vertical - good), std::fabs(horizontal - good)});
        }
    return worst;
}

} // namespace

Recipe MakeRecipe(const PanelPlan& plan, const FinePeriod& period)
{
    constexpr std::array<double, 3> dErrorLimit = {1.0, 3.0, 1e9}; // grey levels, by zone
    constexpr double dSigmas = 6.0;
    const int fractionX = period.Width() % nFine;
    const int fractionY = period.Height() % nFine;

    Recipe recipe;
    recipe.pitchX = plan.pitchX;
    recipe.pitchY = plan.pitchY;
    recipe.zones.clear();
    recipe.zoneImage = GreyImage(static_cast<int>(std::ceil(plan.pitchX)), static_cast<int>(std::ceil(plan.pitchY)));
    std::array<double, 3> worst = {};
    for (int y = 0; y < recipe.zoneImage.Height(); ++y)
        for (int x = 0; x < recipe.zoneImage.Width(); ++x)
        {
            const double error = InterpolationError(period, x, y, fractionX, fractionY);
            const auto zone = static_cast<std::size_t>(
                std::find_if(dErrorLimit.begin(), dErrorLimit.end(), [&](double limit) { return error <= limit; }) -
                dErrorLimit.begin());
            worst[zone] = std::max(worst[zone], error);
            recipe.zoneImage.Row(y)[x] = static_cast<std::uint8_t>(zone + 1);
        }

    // A pixel's noise and rounding, against those of the reference that two pixels are mixed into.
    const double single = std::hypot(plan.noise, 0.3);
    const double share = std::min(std::max(fractionX, nFine - fractionX), std::max(fractionY, nFine - fractionY)) /
                         static_cast<double>(nFine);
    const double both = single * std::sqrt(1.0 + share * share + (1.0 - share) * (1.0 - share));
    // The drift's steepest change from one period to the next.
    const double slope = plan.drift * 2.5 * std::max(plan.pitchX / plan.width, plan.pitchY / plan.height);
    for (std::size_t zone = 0; zone < worst.size(); ++zone)
    {
        ZoneSettings settings;
        settings.index = static_cast<int>(zone) + 1;
        settings.offset = static_cast<int>(std::ceil(dSigmas * both + worst[zone]));
        settings.gain = static_cast<int>(std::ceil(slope * 256.0));
        recipe.zones.push_back(settings);
    }
    return recipe;
}

} // namespace narvo::tools
