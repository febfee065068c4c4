// The ASG comparison: the zone kernels with cells that have no limit across the compare direction.
#include "narvoassem/compare/compare_chain.h"
#include "narvoassem/compare/zone_driver.h"
#include "narvoassem/con_buff.h"
#include "narvoassem/narvoassem.h"
#include "narvoassem/wrap_int.h"

int CNarvoAssem::Compare_ASGZone()
{
    using namespace narvo;

    const int nBlobStart = nBlobCount;
    const bool bHorizontal = ConvParam.nDirection == 0;
    // The sides stand exchanged against the zone comparison; nothing reads this end line but a direct caller.
    int nEndLine = bHorizontal ? ConvParam.rtInspect.right : ConvParam.rtInspect.bottom;
    if (!bHorizontal)
        SizeConBuff(*this, WrapMul(ConvParam.rtInspect.Height(), 4));

    const ZoneKernel eKernel = ChooseAsgZoneKernel(ConvParam);
    nPairCount = RunZoneKernel(eKernel, MakeZoneCall(*this, eKernel, GetAsgZoneCellSize(ConvParam), &nEndLine));

    if (bHorizontal)
        FinishHorizontal(*this, nBlobStart);
    else
        FinishVertical(*this, nBlobStart);
    return nEndLine;
}
