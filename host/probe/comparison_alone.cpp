// The engine's comparisons, run by their kernels.
#include "host/probe/comparison_alone.h"

#include "host/probe/comparison_choice.h"
#include "narvoassem/compare/comparison_steps.h"
#include "narvoassem/narvoassem.h"

namespace narvo
{

void RunComparisonAlone(CNarvoAssem& engine, bool asg)
{
    engine.ResetPixelStorage();
    engine.ResetPairStorage();
    int endLine = 0;
    engine.nPairCount = RunComparison(engine, ChooseComparison(engine.ConvParam, asg), endLine);
}

} // namespace narvo
