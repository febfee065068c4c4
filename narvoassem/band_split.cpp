// The band split: one region cut into bands of columns that run in parallel on the engine's sub-engines.
#include "narvoassem/narvoassem.h"

#include <algorithm>
#include <cstdint>
#include <new>

#include "narvoassem/memory_shortage.h"
#include "narvoassem/wrap_int.h"

namespace
{

/// Pixels along the split axis that are worth a thread.
constexpr int nPixelsPerBand = 2000;
/// Bands begin at multiples of this from the region's start, so that strips of 16 columns keep their places.
constexpr int nBandAlignment = 64;

} // namespace

int CNarvoAssem::EnableInternalThread(int nThreads, int nDefectSize)
{
    if (pThreadControl != nullptr)
        return 1;
    pThreadControl = new (std::nothrow) CAssemThreadControl;
    if (pThreadControl == nullptr)
        return 0;
    pThreadControl->Init(nThreads, nDefectSize);
    return 1;
}

int CNarvoAssem::Inspect_RectThread(CConvParam* pParam)
{
    if (pThreadControl == nullptr || pParam == nullptr)
        return 8;

    const CRect& rtInspect = pParam->rtInspect;
    const bool bColumns = pParam->nDirection == 1;
    const int nSpan = bColumns ? rtInspect.Width() : rtInspect.Height();
    const int nStart = bColumns ? rtInspect.left : rtInspect.top;
    const int nEnd = bColumns ? rtInspect.right : rtInspect.bottom;

    const int nBands = std::min(nSpan / nPixelsPerBand, pThreadControl->GetCount());
    if (nBands < 1)
        return Inspect_Rect(pParam);
    // Single precision as the interface has it; 64 bits because a float may round a span up past the largest int.
    const auto nExactSize = static_cast<std::int64_t>(static_cast<float>(nSpan) / static_cast<float>(nBands));
    const int nBandSize = static_cast<int>(nExactSize / nBandAlignment * nBandAlignment);

    CAssemThreadControl* const pPool = pThreadControl;
    bool bShortage = false;
#pragma omp parallel for num_threads(nBands) schedule(static) reduction(|| : bShortage)
    for (int i = 0; i < nBands; ++i)
    {
        CConvParam band(*pParam);
        // Left and right whatever the direction: only column bands are meant to come here.
        band.rtInspect.left = narvo::WrapAdd(narvo::WrapMul(nBandSize, i), nStart);
        band.rtInspect.right = i == nBands - 1 ? nEnd : narvo::WrapAdd(band.rtInspect.left, nBandSize);
        // A band that fails or overflows leaves what it has; the coverage shows in the sum of pairs below, and lack of
        // memory in its own way.
        narvo::ClearMemoryShortage();
        pPool->Inspect(i, &band);
        bShortage = bShortage || narvo::HadMemoryShortage();
    }

    ResetNarvoAssem();
    for (int i = 0; i < nBands; ++i)
    {
        CNarvoAssem* const pBand = pPool->GetAssem(i);
        dBlobTime = std::max(dBlobTime, pBand->dBlobTime);
        dInspectTime = std::max(dInspectTime, pBand->dInspectTime);
        nPairCount = narvo::WrapAdd(nPairCount, pBand->nPairCount);
        ReadBlob(pBand);
    }
    return nPairCount > nPairSize || bShortage ? 16 : 1;
}
