// SPDX-License-Identifier: MIT
// An endless periodic picture with noise and defects, from which a test takes any window. Coordinates are those of the
// picture; greys are nBase plus a whole number of steps, so that a test can avoid rounding.
#pragma once

#include <vector>

#include "narvoassem/platform.h"
#include "support/random.h"

namespace narvo::test
{

class CPeriodicPicture
{
public:
    /// Steps of grey added to every pixel of a rectangle.
    struct CDefect
    {
        CRect rtPlace;
        int nSteps;
    };

    double dPitchX = 16.0; ///< period along a row, pixels
    double dPitchY = 16.0; ///< period along a column, pixels
    double dShear = 0.0;   ///< columns that the pattern moves to the right from one row to the next
    int nBase = 20;        ///< the lowest grey
    int nStep = 1;         ///< grey levels in a step
    int nTop = 200;        ///< steps from the lowest grey to the highest
    double dAmplitude = 0; ///< steps from the middle to the pattern's extremes
    int nNoise = 0;        ///< steps of noise either way
    bool bMirror = false;  ///< every grey v is rendered as 255 - v
    std::vector<CDefect> aDefects;

    /// Draws the pattern's phases and the noise.
    void Shuffle(CRandom& random);

    /// The largest difference, in steps, between a point of the pattern and the straight line between its neighbours
    /// along x or y, half a step of rounding at either sample included.
    double InterpolationError(bool bAlongX) const;

    /// The window's pixels, row by row without gaps.
    std::vector<unsigned char> Render(const CRect& rtWindow) const;

private:
    void RenderRow(int nLeft, int nRight, int y, std::vector<float>& aRow) const;

    double m_dPhase[4] = {};
    std::vector<signed char> m_aNoise; ///< in steps, looked up by a mix of x and y
};

} // namespace narvo::test
