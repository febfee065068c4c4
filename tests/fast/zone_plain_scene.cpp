// SPDX-License-Identifier: MIT
// See zone_plain_scene.h.
#include "fast/zone_plain_scene.h"

#include <algorithm>
#include <limits>

#include "fast/reference_check.h"

namespace narvo::test
{

CPlainScene::CPlainScene(ZoneKernel eKernel, int nWidth, int nHeight, int nPitch16)
    : aImage(static_cast<std::size_t>(nWidth * nHeight), nFlatGrey),
      aOffset(static_cast<std::size_t>(nWidth * nHeight), nFlatThreshold),
      aZoneIndex(static_cast<std::size_t>(nWidth * nHeight), 0), m_nWidth(nWidth)
{
    scene.eKernel = eKernel;
    engine::CZoneCall& call = scene.call;
    call.image = {aImage.data(), nWidth, 0};
    call.region = {0, 0, nWidth, nHeight};
    call.hits.nSize = nWidth * nHeight + 16;
    call.pairs.nSize = 400;
    call.nPitch16 = nPitch16;
    call.bKeepSingle = 1;
    call.nGrayLimit = 255;
    call.pOffsetMap = aOffset.data();
    call.pZoneIndexMap = aZoneIndex.data();
    call.nMapStride = nWidth;
    call.nCellWidth = std::numeric_limits<int>::max();
    call.nCellHeight = std::numeric_limits<int>::max();
    SetOrigins(2, std::vector<int>(12, 0));
}

void CPlainScene::SetThreshold(int nOffset)
{
    std::fill(aOffset.begin(), aOffset.end(), static_cast<std::int16_t>(nOffset));
}

void CPlainScene::FillRows(int nFrom, int nTo, int nGrey)
{
    std::fill(aImage.begin() + nFrom * m_nWidth, aImage.begin() + nTo * m_nWidth, static_cast<std::uint8_t>(nGrey));
}

void CPlainScene::SetOrigins(int nColumns, std::vector<int> aRecords)
{
    const bool bFlagged = scene.eKernel == ZoneKernel::VertFlag || scene.eKernel == ZoneKernel::VertFlag2by2;
    aOrigins = std::move(aRecords);
    scene.call.pOriginTable = aOrigins.data();
    scene.call.nRowBytes = static_cast<std::int64_t>(nColumns) * (bFlagged ? 12 : 8);
}

CKernelOutcome CPlainScene::Run()
{
    CReferenceCheck check;
    const CKernelOutcome& expected = check.Expect(scene);
    check.Agrees(scene, byName, "by name");
    check.Agrees(scene, byCall, "by call record");
    return expected;
}

} // namespace narvo::test
