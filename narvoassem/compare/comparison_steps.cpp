// SPDX-License-Identifier: MIT
// The steps of every comparison of a rectangle, and the engine's drivers, which are these steps.
#include "narvoassem/compare/comparison_steps.h"

#include "narvoassem/compare/float_driver.h"
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/modes/side_modes.h"
#include "narvoassem/narvoassem.h"

using namespace narvo::engine;

namespace narvo::engine
{
namespace
{

/// All steps. @return the end line
int Compare(CNarvoAssem& engine, Comparison eComparison)
{
    int nEndLine = 0;
    if (RunsTwice(engine.ConvParam, eComparison))
    {
        RunPixelTwice(engine, nEndLine);
        return nEndLine;
    }
    const int nFirstBlob = engine.nBlobCount;
    engine.nPairCount = RunComparison(engine, eComparison, nEndLine);
    FinishBlobs(engine, GetBlobSteps(engine.ConvParam, eComparison), nFirstBlob);
    return nEndLine;
}

} // namespace

bool RunsTwice(const CConvParam& param, Comparison eComparison)
{
    return eComparison == Comparison::Pixel && ChoosePixelKernel(param).IsTwice();
}

int RunComparison(CNarvoAssem& engine, Comparison eComparison, int& nEndLine)
{
    switch (eComparison)
    {
    case Comparison::Zone:
        return RunZone(engine, false, nEndLine);
    case Comparison::AsgZone:
        return RunZone(engine, true, nEndLine);
    case Comparison::Pixel:
        return RunPixel(engine, nEndLine);
    case Comparison::Float:
        return RunFloat(engine, nEndLine);
    case Comparison::Binarise:
        return RunBinarise(engine, nEndLine);
    case Comparison::Average:
        return RunAverage(engine, nEndLine);
    default:
        return engine.nPairCount;
    }
}

CBlobSteps GetBlobSteps(const CConvParam& param, Comparison eComparison)
{
    switch (eComparison)
    {
    case Comparison::Zone:
        return {.bVertical = param.nDirection != 0, .bLimited = param.nDirection != 0};
    case Comparison::AsgZone:
        return {.bVertical = param.nDirection != 0};
    case Comparison::Binarise:
    case Comparison::Average:
        return {.bFilters = false, .bGhosts = false};
    case Comparison::Float:
        if (TakesFreeForm(param))
            return {.bVertical = true, .bFilters = false};
        break;
    default:
        break;
    }
    return {.bVertical = param.nDirection == 1, .bLimited = param.nDirection == 1};
}

} // namespace narvo::engine

int CNarvoAssem::Compare_Zone2()
{
    return Compare(*this, Comparison::Zone);
}

int CNarvoAssem::Compare_ASGZone()
{
    return Compare(*this, Comparison::AsgZone);
}

int CNarvoAssem::Compare_Pixel()
{
    return Compare(*this, Comparison::Pixel);
}

int CNarvoAssem::Compare_Float()
{
    return Compare(*this, Comparison::Float);
}

int CNarvoAssem::BinalizeInspection()
{
    return Compare(*this, Comparison::Binarise);
}

int CNarvoAssem::CompareAverage()
{
    return Compare(*this, Comparison::Average);
}
