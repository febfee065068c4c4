// SPDX-License-Identifier: MIT
// The arc tangent in plain additions, multiplications and divisions. That of the mathematics library chooses by
// processor between forms with and without fused multiplication, which sometimes differ in the last place.
#include "narvoassem/storage/stores/polar_angle.h"

#include <cmath>
#include <utility>

namespace narvo::engine
{

namespace
{

/// A number as an unevaluated sum; the low part is below the last place of the high one.
struct CTwofold
{
    double dHigh;
    double dLow;
};

constexpr int nSteps = 16;
/// atan(n / 16)
constexpr CTwofold aStepAngle[nSteps + 1] = {
    {0x0.0p+0, 0x0.0p+0},
    {0x1.ff55bb72cfdeap-5, -0x1.c934d86d23f1dp-60},
    {0x1.fd5ba9aac2f6ep-4, -0x1.cd37686760c17p-59},
    {0x1.7b97b4bce5b02p-3, 0x1.347b0b4f881cap-58},
    {0x1.f5b75f92c80ddp-3, 0x1.8ab6e3cf7afbdp-57},
    {0x1.362773707ebccp-2, -0x1.963a544b672d8p-57},
    {0x1.6f61941e4def1p-2, -0x1.c63aae6f6e918p-56},
    {0x1.a64eec3cc23fdp-2, -0x1.24dec1b50b7ffp-56},
    {0x1.dac670561bb4fp-2, 0x1.a2b7f222f65e2p-56},
    {0x1.0657e94db30d0p-1, -0x1.d5b495f6349e6p-56},
    {0x1.1e00babdefeb4p-1, -0x1.928df287a668fp-58},
    {0x1.345f01cce37bbp-1, 0x1.1021137c71102p-55},
    {0x1.4978fa3269ee1p-1, 0x1.2419a87f2a458p-56},
    {0x1.5d58987169b18p-1, 0x1.0028e4bc5e7cap-57},
    {0x1.700a7c5784634p-1, -0x1.8c34d25aadef6p-56},
    {0x1.819d0b7158a4dp-1, -0x1.bf76229d3b917p-56},
    {0x1.921fb54442d18p-1, 0x1.1a62633145c07p-55},
};
constexpr CTwofold halfTurn = {0x1.921fb54442d18p+1, 0x1.1a62633145c07p-53};
constexpr CTwofold quarterTurn = {0x1.921fb54442d18p+0, 0x1.1a62633145c07p-54};

/// a + b without loss.
CTwofold AddExactly(double a, double b)
{
    const double dSum = a + b;
    const double dTaken = dSum - a;
    return {dSum, (a - (dSum - dTaken)) + (b - dTaken)};
}

/// a * b without loss: both are cut into halves whose products fit.
CTwofold MultiplyExactly(double a, double b)
{
    const auto Split = [](double dValue)
    {
        const double dScaled = dValue * 134217729.0; // 2^27 + 1
        const double dHigh = dScaled - (dScaled - dValue);
        return CTwofold{dHigh, dValue - dHigh};
    };
    const CTwofold left = Split(a);
    const CTwofold right = Split(b);
    const double dProduct = a * b;
    const double dError = ((left.dHigh * right.dHigh - dProduct) + left.dHigh * right.dLow + left.dLow * right.dHigh) +
                          left.dLow * right.dLow;
    return {dProduct, dError};
}

/// a + b * c, except for what lies below the low part.
CTwofold MultiplyAdd(double a, double b, double c)
{
    const CTwofold product = MultiplyExactly(b, c);
    const CTwofold sum = AddExactly(a, product.dHigh);
    return AddExactly(sum.dHigh, sum.dLow + product.dLow);
}

CTwofold Divide(const CTwofold& a, const CTwofold& b)
{
    const double dQuotient = a.dHigh / b.dHigh;
    const CTwofold back = MultiplyExactly(dQuotient, b.dHigh);
    const double dRest = ((a.dHigh - back.dHigh) - back.dLow + a.dLow) - dQuotient * b.dLow;
    return AddExactly(dQuotient, dRest / b.dHigh);
}

/// a - b
CTwofold Subtract(const CTwofold& a, const CTwofold& b)
{
    const CTwofold high = AddExactly(a.dHigh, -b.dHigh);
    return AddExactly(high.dHigh, high.dLow + (a.dLow - b.dLow));
}

/// The angle of (dX, dY) for 0 <= dY <= dX, dX above 0: the nearest of 16 steps, and the arc tangent of what is left.
CTwofold OctantAngle(double dY, double dX)
{
    const int nStep = static_cast<int>(dY / dX * nSteps + 0.5);
    const double dStep = static_cast<double>(nStep) / nSteps;
    const CTwofold rest = Divide(MultiplyAdd(dY, -dStep, dX), MultiplyAdd(dX, dStep, dY));
    // atan t = t - t^3 (1/3 - t^2/5 + ...), t at most 1/32.
    const double t2 = rest.dHigh * rest.dHigh;
    const double dSeries =
        1.0 / 3.0 - t2 * (1.0 / 5.0 - t2 * (1.0 / 7.0 - t2 * (1.0 / 9.0 - t2 * (1.0 / 11.0 - t2 * (1.0 / 13.0)))));
    const CTwofold& step = aStepAngle[nStep];
    const CTwofold sum = AddExactly(step.dHigh, rest.dHigh);
    return AddExactly(sum.dHigh, sum.dLow + (step.dLow + (rest.dLow - rest.dHigh * t2 * dSeries)));
}

} // namespace

double PolarAngle(double dY, double dX)
{
    double dHigh = std::fabs(dX);
    double dLow = std::fabs(dY);
    const bool bSteep = dLow > dHigh;
    if (bSteep)
        std::swap(dLow, dHigh);
    CTwofold angle = dHigh == 0.0 ? CTwofold{0.0, 0.0} : OctantAngle(dLow, dHigh);
    if (bSteep)
        angle = Subtract(quarterTurn, angle);
    if (dX < 0.0)
        angle = Subtract(halfTurn, angle);
    const double dAngle = angle.dHigh + angle.dLow;
    return dY < 0.0 ? -dAngle : dAngle;
}

} // namespace narvo::engine
