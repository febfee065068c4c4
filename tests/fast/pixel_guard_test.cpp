// SPDX-License-Identifier: MIT
// No pixel kernel touches memory beyond what it is given: images, masks and tables next to guard pages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "fast/pixel_random_scene.h"
#include "fast/reference_check.h"
#include "narvoassem/narvoassem.h"
#include "support/guarded_memory.h"
#include "support/images.h"

namespace narvo::test
{
namespace
{

constexpr int nGuardCases = 1500;
constexpr std::size_t nRoom = 64 * 1024;

class PixelKernelsGuarded : public testing::TestWithParam<PixelKernel>
{
protected:
    /// The first nBytes of the block at a front page, or the last of the one at a back page.
    std::uint8_t* Place(CGuardedMemory::Flush eFlush, std::size_t nBytes) const
    {
        return eFlush == CGuardedMemory::Flush::Front ? front.Data() : back.Data() + back.Size() - nBytes;
    }

    const CGuardedMemory front{nRoom, CGuardedMemory::Flush::Front};
    const CGuardedMemory back{nRoom, CGuardedMemory::Flush::Back};
};

/// Whether all reads lie inside the region: no reference along x, no cut strip beyond its right side.
bool StaysInsideTheRegion(const CPixelScene& scene)
{
    return !IsHorizontal(scene.eKernel) && scene.call.nVtdPitch16 == 0 &&
           scene.call.hits.nSize > 16 * (scene.call.region.nBottom - scene.call.region.nTop);
}

TEST_P(PixelKernelsGuarded, WholeImageIsReadToItsBordersAndNoFurther)
{
    CPixelSceneSource source;
    source.Parts().TakeWholeImages();
    CReferenceCheck check;
    const CGuardedMemory maskFront(nRoom, CGuardedMemory::Flush::Front);
    const CGuardedMemory maskBack(nRoom, CGuardedMemory::Flush::Back);
    int nByName = 0;

    for (const std::uint64_t nSeed : CaseSeeds(std::string("guard ") + KernelName(GetParam()), nGuardCases))
    {
        CPixelScene scene = source.Make(GetParam(), nSeed);
        check.Expect(scene);
        const std::size_t nBytes = static_cast<std::size_t>(source.Parts().ImageWidth() * source.Parts().ImageHeight());
        const std::uint8_t* pImage = scene.call.image.pPixels;
        const std::uint8_t* pMask = scene.call.pMask;
        for (const auto eFlush : {CGuardedMemory::Flush::Front, CGuardedMemory::Flush::Back})
        {
            std::uint8_t* pPlace = Place(eFlush, nBytes);
            std::memcpy(pPlace, pImage, nBytes);
            scene.call.image.pPixels = pPlace;
            if (pMask != nullptr)
            {
                std::uint8_t* pMaskPlace = eFlush == CGuardedMemory::Flush::Front
                                               ? maskFront.Data()
                                               : maskBack.Data() + maskBack.Size() - nBytes;
                std::memcpy(pMaskPlace, pMask, nBytes);
                scene.call.pMask = pMaskPlace;
            }
            ASSERT_TRUE(check.Agrees(scene, byCall, ReplayHint(nSeed)));
            // Members know the image's height from their engine.
            if (!StaysInsideTheRegion(scene) && !IsMember(scene.eKernel))
                continue;
            ASSERT_TRUE(check.Agrees(scene, byName, "by name; " + ReplayHint(nSeed)));
            nByName++;
        }
    }
    EXPECT_EQ(nByName > 0, !IsHorizontal(GetParam()) || IsMember(GetParam()));
}

TEST_P(PixelKernelsGuarded, TablesAreReadWhereTheRegionReachesAndNoFurther)
{
    const PixelKernel eKernel = GetParam();
    CReferenceCheck check;

    for (const auto eFlush : {CGuardedMemory::Flush::Front, CGuardedMemory::Flush::Back})
    {
        const CGuardedMemory scanTable(4096, eFlush);
        const CGuardedMemory convPitch(4096, eFlush);
        const CGuardedMemory weightNear(4096, eFlush);
        const CGuardedMemory weightFar(4096, eFlush);
        const auto place = [eFlush](const CGuardedMemory& memory, std::size_t nBytes)
        { return eFlush == CGuardedMemory::Flush::Front ? memory.Data() : memory.Data() + memory.Size() - nBytes; };

        for (const std::uint64_t nSeed : CaseSeeds(std::string("tables ") + KernelName(eKernel), 300))
        {
            CRandom random(nSeed);
            const int nWidth = random.Int(16, 200);
            const int nHeight = random.Int(12, 40);
            const int nDistance = random.Int(0, 4);
            const int nColumns = IsHorizontal(eKernel) ? (nWidth - nDistance) & ~15 : nWidth & ~15;
            const int nRows = nHeight - nDistance - (eKernel == PixelKernel::VertDirect ? 1 : 2);
            if (nColumns <= 0)
                continue;
            std::vector<std::uint8_t> aImage(static_cast<std::size_t>((nWidth + 16) * (nHeight + 4)));
            FillImage(random, aImage.data(), nWidth + 16, nHeight + 4, nDistance, nDistance);

            CPixelScene scene;
            scene.eKernel = eKernel;
            engine::CPixelCall& call = scene.call;
            call.image = {aImage.data(), nWidth + 16, nHeight + 4};
            call.region = {0, 0, nWidth, nHeight};
            call.nPitch16 = nDistance * 16 + random.Int(0, 15);
            call.hits.nSize = nWidth * nHeight + 40;
            call.pairs.nSize = 2000;
            call.bKeepSingle = 1;
            call.first = {random.Int(0, 30), random.Int(0, 30)};

            const std::size_t nScanEntries = static_cast<std::size_t>((nRows + 15) / 16);
            auto* pScan = reinterpret_cast<int*>(place(scanTable, nScanEntries * sizeof(int)));
            std::fill(pScan, pScan + nScanEntries, static_cast<int>(call.nPitch16));
            if (HasRowTable(eKernel))
                call.pScanPitchTable = pScan;

            const std::size_t nConvEntries = static_cast<std::size_t>(nColumns - 16 + 1);
            auto* pConv = reinterpret_cast<std::uint16_t*>(place(convPitch, nConvEntries * sizeof(std::uint16_t)));
            std::fill(pConv, pConv + nConvEntries, static_cast<std::uint16_t>(nDistance));
            call.pConvPitchTable = pConv;
            const std::size_t nWeights = static_cast<std::size_t>(nColumns - 8);
            auto* pNear = reinterpret_cast<std::int16_t*>(place(weightNear, nWeights * sizeof(std::int16_t)));
            auto* pFar = reinterpret_cast<std::int16_t*>(place(weightFar, nWeights * sizeof(std::int16_t)));
            std::fill(pNear, pNear + nWeights, static_cast<std::int16_t>(9));
            std::fill(pFar, pFar + nWeights, static_cast<std::int16_t>(7));
            call.pConvWeightNear = pNear;
            call.pConvWeightFar = pFar;

            check.Expect(scene);
            ASSERT_TRUE(check.Agrees(scene, byCall, ReplayHint(nSeed)));
            ASSERT_TRUE(check.Agrees(scene, byName, "by name; " + ReplayHint(nSeed)));
        }
    }
}

/// The region ends with the image's last column and row; the reference of its last pixel lies beyond both.
TEST(PixelMembersGuarded, KernelsOfTwoPassesEndWithTheImage)
{
    constexpr int nWidth = 48;
    constexpr int nHeight = 20;
    constexpr std::int64_t nPitch16 = 16 * 16 + 5;
    const CGuardedMemory image(nRoom, CGuardedMemory::Flush::Back);
    unsigned char* const pImage = image.Data() + image.Size() - nWidth * nHeight;
    std::fill_n(pImage, nWidth * nHeight, static_cast<unsigned char>(100));
    pImage[10 * nWidth + 24] = 200;

    CNarvoAssem engine;
    ASSERT_EQ(engine.InitAssem(0, 100), 1);
    CConvParam& param = engine.ConvParam;
    param.pImage = pImage;
    param.nImageWidth = nWidth;
    param.nImageHeight = nHeight;
    param.rtInspect.SetRect(0, 0, nWidth, nHeight);
    param.nConvWidth = param.nConvHeight = 2;
    param.dConvPitch = param.dScanPitch = param.dTwicePitch = 16.0;
    param.nConvMultiple = param.nScanMultiple = 1;

    int nEndLine = 0;
#define TWICE_VALUES                                                                                                   \
    pImage, 20, engine.nPixelSize, 0, 0, nWidth, 0, nHeight, engine.pPixelX, engine.pPixelY, engine.pPixelType,        \
        engine.pPeak, engine.pSrcGray, engine.pCmpGray, engine.pZoneIndex, engine.pThreshold, nWidth, nPitch16, 0, 0,  \
        nullptr, nullptr, 0, nullptr, engine.pPair, 0, engine.nPairSize, sizeof(CDefectPair), 0, 0, 0, 0, 0, 255, 1
    EXPECT_GT(engine.ConvPixel_Intrin(TWICE_VALUES, &nEndLine), 0);
    EXPECT_GT(engine.ConvPixel_Intrin_Twice(TWICE_VALUES, &nEndLine, nPitch16 + 3, 20, 0), 0);
    std::vector<short> strip((nHeight + 2) * 16);
    EXPECT_GE(engine.ConvPixelVertS_Intrin_Twice(TWICE_VALUES, strip.data(), &nEndLine, 0, 4 * 16 + 3, 20, 0), 0);
#undef TWICE_VALUES
}

INSTANTIATE_TEST_SUITE_P(Each, PixelKernelsGuarded, testing::ValuesIn(AllPixelKernels()),
                         [](const testing::TestParamInfo<PixelKernel>& kernel) { return KernelName(kernel.param); });

} // namespace
} // namespace narvo::test
