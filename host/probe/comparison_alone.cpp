// The engine's comparisons, run by their kernels.
#include "host/probe/comparison_alone.h"

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/probe/comparison_choice.h"
#include "narvoassem/compare/float_driver.h"
#include "narvoassem/compare/pixel_driver.h"
#include "narvoassem/narvoassem.h"

namespace narvo
{

void RunComparisonAlone(CNarvoAssem& engine, bool asg)
{
    /// Reaches what the engine keeps to itself and to those that derive from it.
    struct OpenEngine : CNarvoAssem
    {
        using CNarvoAssem::Inspect_FreeFormMask;
    };
    const CConvParam& param = engine.ConvParam;
    engine.ResetPixelStorage();
    engine.ResetPairStorage();
    int endLine = param.nDirection != 0 ? param.rtInspect.right : param.rtInspect.bottom;
    switch (ChooseComparison(param, asg))
    {
    case Comparison::Zone:
    case Comparison::AsgZone:
    {
        const ZoneChoice choice = ChooseZone(param, asg);
        engine.nPairCount = RunZoneKernel(choice.kernel, MakeZoneCall(engine, choice.kernel, choice.cell, &endLine));
        break;
    }
    case Comparison::Pixel:
    {
        const PixelKernel kernel = ChoosePixelKernel(param).eKernel;
        engine.nPairCount = RunPixelKernel(kernel, MakePixelCall(engine, kernel, &endLine));
        break;
    }
    case Comparison::Float:
    {
        const CFloatChoice choice = ChooseFloatKernel(param);
        if (choice.ePath == CFloatChoice::Path::Kernel)
            engine.nPairCount = RunFloatKernel(choice.eKernel, MakeFloatCall(engine, choice.eKernel, &endLine));
        else if (choice.ePath == CFloatChoice::Path::FreeForm)
            engine.nPairCount = (engine.*&OpenEngine::Inspect_FreeFormMask)(endLine);
        break;
    }
    case Comparison::Binarise:
        engine.nPairCount = engine.BinalizeInspection(param.pImage, 0, param.nThreshold, param.rtInspect,
                                                      param.nImageWidth, engine.pPair, 0, engine.nPairSize, endLine);
        break;
    case Comparison::Average:
    {
        CRect region = param.rtInspect;
        std::vector<std::int64_t> sums((static_cast<std::size_t>(region.Width()) + 1) *
                                       (static_cast<std::size_t>(region.Height()) + 1));
        engine.nPairCount =
            CompareAverageROI(param.pImage, sums.data(), param.nImageWidth, &region, param.nBlackFilterGray,
                              param.nThreshold, param.nGrayLimit, engine.ConvParam.rtDeadZone, engine.pPair, 0,
                              engine.nPairSize, param.nAverageParam2, param.nAverageParam1, &endLine);
        break;
    }
    default:
        break;
    }
}

} // namespace narvo
