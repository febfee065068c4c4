// SPDX-License-Identifier: MIT
// See periodic_picture.h.
#include "properties/periodic_picture.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace narvo::test
{

namespace
{

constexpr std::size_t nNoiseSize = 4096;
constexpr double dTurn = 2.0 * std::numbers::pi;

// The pattern is a product of two waves and one wave along each axis, with weights that add up to 1.
constexpr double dProduct = 0.5;
constexpr double dAxis = 0.25;

std::size_t NoisePlace(int x, int y)
{
    const unsigned nX = static_cast<unsigned>(x);
    const unsigned nY = static_cast<unsigned>(y);
    return (nX * 2654435761U + nY * 40503U + ((nX * nY) >> 3)) % nNoiseSize;
}

} // namespace

void CPeriodicPicture::Shuffle(CRandom& random)
{
    for (double& dPhase : m_dPhase)
        dPhase = dTurn * random.Int(0, 999) / 1000.0;
    m_aNoise.assign(nNoiseSize, 0);
    for (signed char& nNoiseStep : m_aNoise)
        nNoiseStep = static_cast<signed char>(random.Int(-nNoise, nNoise));
}

double CPeriodicPicture::InterpolationError(bool bAlongX) const
{
    const double dFrequency = dTurn / (bAlongX ? dPitchX : dPitchY);
    const double dCurvature = (dProduct + dAxis) * dAmplitude * dFrequency * dFrequency;
    return dCurvature / 8.0 + 1.0;
}

void CPeriodicPicture::RenderRow(int nLeft, int nRight, int y, std::vector<float>& aRow) const
{
    const double dY = dTurn * y / dPitchY;
    const double dProductY = dProduct * std::cos(dY + m_dPhase[0]);
    const double dAxisY = dAxis * std::cos(dY + m_dPhase[1]);
    for (int x = nLeft; x < nRight; ++x)
    {
        const double dX = dTurn * (x - dShear * y) / dPitchX;
        aRow[static_cast<std::size_t>(x - nLeft)] =
            static_cast<float>(dProductY * std::cos(dX + m_dPhase[2]) + dAxis * std::cos(dX + m_dPhase[3]) + dAxisY);
    }
}

std::vector<unsigned char> CPeriodicPicture::Render(const CRect& rtWindow) const
{
    const int nWidth = rtWindow.Width();
    std::vector<int> aLevels(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(rtWindow.Height()));
    const auto Level = [&](int x, int y) -> int&
    {
        return aLevels[static_cast<std::size_t>(y - rtWindow.top) * static_cast<std::size_t>(nWidth) +
                       static_cast<std::size_t>(x - rtWindow.left)];
    };

    // Without shear the waves along x are the same in every row.
    std::vector<float> aProductX(static_cast<std::size_t>(nWidth));
    std::vector<float> aAxisX(static_cast<std::size_t>(nWidth));
    for (int i = 0; i < nWidth; ++i)
    {
        const double dX = dTurn * (rtWindow.left + i) / dPitchX;
        aProductX[static_cast<std::size_t>(i)] = static_cast<float>(dProduct * std::cos(dX + m_dPhase[2]));
        aAxisX[static_cast<std::size_t>(i)] = static_cast<float>(dAxis * std::cos(dX + m_dPhase[3]));
    }
    std::vector<float> aRow(static_cast<std::size_t>(nWidth));
    const float fMiddle = static_cast<float>(nTop) / 2.0F + 0.5F;
    const float fAmplitude = static_cast<float>(dAmplitude);
    for (int y = rtWindow.top; y < rtWindow.bottom; ++y)
    {
        if (dShear != 0.0)
            RenderRow(rtWindow.left, rtWindow.right, y, aRow);
        else
        {
            const float fProductY = static_cast<float>(std::cos(dTurn * y / dPitchY + m_dPhase[0]));
            const float fAxisY = static_cast<float>(dAxis * std::cos(dTurn * y / dPitchY + m_dPhase[1]));
            for (std::size_t i = 0; i < aRow.size(); ++i)
                aRow[i] = fProductY * aProductX[i] + aAxisX[i] + fAxisY;
        }
        for (int x = rtWindow.left; x < rtWindow.right; ++x)
            Level(x, y) = static_cast<int>(fMiddle + fAmplitude * aRow[static_cast<std::size_t>(x - rtWindow.left)]) +
                          m_aNoise[NoisePlace(x, y)];
    }

    for (const CDefect& defect : aDefects)
        for (int y = std::max(defect.rtPlace.top, rtWindow.top); y < std::min(defect.rtPlace.bottom, rtWindow.bottom);
             ++y)
            for (int x = std::max(defect.rtPlace.left, rtWindow.left);
                 x < std::min(defect.rtPlace.right, rtWindow.right); ++x)
                Level(x, y) += defect.nSteps;

    std::vector<unsigned char> aPixels(aLevels.size());
    std::transform(aLevels.begin(), aLevels.end(), aPixels.begin(),
                   [&](int nLevel)
                   {
                       const int nGrey = nBase + nStep * std::clamp(nLevel, 0, nTop);
                       return static_cast<unsigned char>(bMirror ? 255 - nGrey : nGrey);
                   });
    return aPixels;
}

} // namespace narvo::test
