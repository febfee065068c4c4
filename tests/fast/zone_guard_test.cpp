// SPDX-License-Identifier: MIT
// No zone kernel touches memory beyond what it is given: images and maps next to guard pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>

#include "fast/reference_check.h"
#include "fast/zone_random_scene.h"
#include "support/guarded_memory.h"
#include "support/images.h"

namespace narvo::test
{
namespace
{

constexpr int nGuardCases = 1500;
constexpr std::size_t nRoom = 64 * 1024;

/// The first nBytes of a guarded block that begins after its front page, or the last of one that ends at its back page.
std::uint8_t* Place(const CGuardedMemory& memory, CGuardedMemory::Flush eFlush, std::size_t nBytes)
{
    return eFlush == CGuardedMemory::Flush::Front ? memory.Data() : memory.Data() + memory.Size() - nBytes;
}

class ZoneKernelsGuarded : public testing::TestWithParam<ZoneKernel>
{
protected:
    const CGuardedMemory front{nRoom, CGuardedMemory::Flush::Front};
    const CGuardedMemory back{nRoom, CGuardedMemory::Flush::Back};

    const CGuardedMemory& Memory(CGuardedMemory::Flush eFlush) const
    {
        return eFlush == CGuardedMemory::Flush::Front ? front : back;
    }
};

/// The kernels that read no pixel outside the region, with or without a fraction.
bool StaysInsideTheRegion(ZoneKernel eKernel)
{
    switch (eKernel)
    {
    case ZoneKernel::Vert:
    case ZoneKernel::VertDirect:
    case ZoneKernel::VertFlag:
    case ZoneKernel::VertKnee:
    case ZoneKernel::Vert2S:
    case ZoneKernel::Vert2STsp:
    case ZoneKernel::Vert2SBlack:
    case ZoneKernel::ClassId:
        return true;
    default:
        return false;
    }
}

TEST_P(ZoneKernelsGuarded, WholeImageIsReadToItsBordersAndNoFurther)
{
    CZoneSceneSource source;
    source.TakeWholeImages();
    CReferenceCheck check;
    for (const std::uint64_t nSeed : CaseSeeds(std::string("guard ") + KernelName(GetParam()), nGuardCases))
    {
        CZoneScene scene = source.Make(GetParam(), nSeed);
        check.Expect(scene);
        const std::size_t nBytes = static_cast<std::size_t>(source.ImageWidth() * source.ImageHeight());
        const std::uint8_t* pImage = scene.call.image.pPixels;
        for (const auto eFlush : {CGuardedMemory::Flush::Front, CGuardedMemory::Flush::Back})
        {
            std::uint8_t* pPlace = Place(Memory(eFlush), eFlush, nBytes);
            std::memcpy(pPlace, pImage, nBytes);
            scene.call.image.pPixels = pPlace;
            ASSERT_TRUE(check.Agrees(scene, byCall, ReplayHint(nSeed)));
            // Members know the image's height from their engine.
            if (!StaysInsideTheRegion(GetParam()) && !IsMember(GetParam()))
                continue;
            ASSERT_TRUE(check.Agrees(scene, byName, "by name; " + ReplayHint(nSeed)));
        }
    }
}

TEST_P(ZoneKernelsGuarded, MapsAndTablesAreReadWhereTheRegionReachesAndNoFurther)
{
    constexpr std::size_t nMaps = 7;
    const ZoneKernel eKernel = GetParam();
    const bool bFlagged = eKernel == ZoneKernel::VertFlag || eKernel == ZoneKernel::VertFlag2by2;
    CReferenceCheck check;

    for (const auto eFlush : {CGuardedMemory::Flush::Front, CGuardedMemory::Flush::Back})
    {
        std::vector<std::unique_ptr<CGuardedMemory>> aMaps;
        for (std::size_t i = 0; i < nMaps; i++)
            aMaps.push_back(std::make_unique<CGuardedMemory>(nRoom, eFlush));
        const CGuardedMemory origins(4096, eFlush);
        const CGuardedMemory scanTable(4096, eFlush);
        const CGuardedMemory convPitch(4096, eFlush);
        const CGuardedMemory weightNear(4096, eFlush);
        const CGuardedMemory weightFar(4096, eFlush);

        for (const std::uint64_t nSeed : CaseSeeds(std::string("maps ") + KernelName(eKernel), 300))
        {
            CRandom random(nSeed);
            const int nWidth = random.Int(16, 200);
            const int nHeight = random.Int(12, 40);
            const int nPitch = random.Int(0, 4);
            // Rows and columns around the region, so that all reads lie inside the image.
            const int nStride = nWidth + 16;
            std::vector<std::uint8_t> aImage(static_cast<std::size_t>(nStride * (nHeight + 4)));
            FillImage(random, aImage.data(), nStride, nHeight + 4, nPitch, nPitch);

            CZoneScene scene;
            scene.eKernel = eKernel;
            engine::CZoneCall& call = scene.call;
            call.image = {aImage.data(), nStride, nHeight + 4};
            call.region = {0, 0, nWidth, nHeight};
            call.nPitch16 = nPitch * 16 + random.Int(0, 15);
            call.hits.nSize = nWidth * nHeight + 40;
            call.pairs.nSize = 2000;
            call.bKeepSingle = 1;
            call.nCellWidth = call.nCellHeight = std::numeric_limits<int>::max();

            // Which places of the one cell are compared.
            const bool bRowMore = eKernel == ZoneKernel::VertDirect || eKernel == ZoneKernel::Vert2by2 || bFlagged;
            const int nRows = IsHorizontal(eKernel) ? nHeight : nHeight - (bRowMore ? 1 : 2) - nPitch;
            const int nColumns = IsHorizontal(eKernel) ? (nWidth - nPitch) & ~15 : nWidth & ~15;
            if (nColumns <= 0)
                continue;
            call.nMapStride = nColumns + random.Int(0, 20);
            const auto nElements = static_cast<std::size_t>((nRows - 1) * call.nMapStride + nColumns);
            const std::int16_t** apMaps[nMaps] = {&call.pOffsetMap, &call.pGainMap,    &call.pZoneIndexMap,
                                                  &call.pKneeMap,   &call.pOffsetMap2, &call.pGainMap2,
                                                  &call.pClassIdMap};
            for (std::size_t i = 0; i < nMaps; i++)
            {
                auto* pMap = reinterpret_cast<std::int16_t*>(Place(*aMaps[i], eFlush, nElements * 2));
                for (std::size_t k = 0; k < nElements; k++)
                    pMap[k] = static_cast<std::int16_t>(random.Int(0, 30));
                *apMaps[i] = pMap;
            }

            const int nInts = bFlagged ? 3 : 2;
            call.nRowBytes = nInts * 4;
            const std::size_t nOriginBytes = static_cast<std::size_t>(nInts * 4 * (IsHorizontal(eKernel) ? 1 : 2));
            std::uint8_t* pOrigins = Place(origins, eFlush, nOriginBytes);
            std::memset(pOrigins, 0, nOriginBytes);
            call.pOriginTable = reinterpret_cast<const int*>(pOrigins);

            const std::size_t nScanEntries = static_cast<std::size_t>((nRows + 15) / 16);
            auto* pScan = reinterpret_cast<int*>(Place(scanTable, eFlush, nScanEntries * 4));
            std::fill(pScan, pScan + nScanEntries, static_cast<int>(call.nPitch16));
            call.pScanPitchTable = pScan;

            const std::size_t nConvEntries = static_cast<std::size_t>(nColumns - 16 + 1);
            auto* pConv = reinterpret_cast<std::uint16_t*>(Place(convPitch, eFlush, nConvEntries * 2));
            std::fill(pConv, pConv + nConvEntries, static_cast<std::uint16_t>(nPitch));
            call.pConvPitchTable = pConv;
            const std::size_t nWeights = static_cast<std::size_t>(nColumns - 8);
            auto* pNear = reinterpret_cast<std::int16_t*>(Place(weightNear, eFlush, nWeights * 2));
            auto* pFar = reinterpret_cast<std::int16_t*>(Place(weightFar, eFlush, nWeights * 2));
            std::fill(pNear, pNear + nWeights, static_cast<std::int16_t>(9));
            std::fill(pFar, pFar + nWeights, static_cast<std::int16_t>(7));
            call.pConvWeightNear = pNear;
            call.pConvWeightFar = pFar;

            int aTsp[CConvParam::nZoneLimit] = {5, 12, 9};
            scene.param.pTspTable = aTsp;
            scene.param.pTspTable2 = aTsp;

            check.Expect(scene);
            ASSERT_TRUE(check.Agrees(scene, byCall, ReplayHint(nSeed)));
            ASSERT_TRUE(check.Agrees(scene, byName, "by name; " + ReplayHint(nSeed)));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Each, ZoneKernelsGuarded, testing::ValuesIn(AllZoneKernels()),
                         [](const testing::TestParamInfo<ZoneKernel>& kernel) { return KernelName(kernel.param); });

} // namespace
} // namespace narvo::test
