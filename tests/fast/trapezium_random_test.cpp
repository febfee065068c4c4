// SPDX-License-Identifier: MIT
// Both trapezium kernels against the plain reference on random scenes, bit for bit, at every vector level; and against
// guard pages.
#include <gtest/gtest.h>

#include <cstring>

#include "fast/reference_check.h"
#include "fast/trapezium_random_scene.h"
#include "support/guarded_memory.h"

namespace narvo::test
{
namespace
{

constexpr int nCases = 20000;
constexpr int nGuardedCases = 1500;
constexpr std::size_t nRoom = 64 * 1024;

/// nCount scenes, which fnMake gives by seed.
template <typename TMake>
void CompareScenes(const std::string& strName, int nCount, const TMake& fnMake)
{
    const CReached reached = CompareWithReference(strName, nCount, fnMake, byEither);
    // The scenes must cover what they are meant for.
    if (reached.nScenes == nCount)
    {
        EXPECT_GT(reached.nNewPairs, nCount);
    }
}

TEST(TrapeziumKernelsRandom, HorizontalAgreesWithTheReferenceAtEveryLevel)
{
    CTrapeziumSceneSource source;
    CompareScenes(
        "ConvTrapeziumHori", nCases, [&](std::uint64_t nSeed) -> const auto& { return source.MakeHori(nSeed); });
}

TEST(TrapeziumKernelsRandom, VerticalAgreesWithTheReferenceAtEveryLevel)
{
    CTrapeziumSceneSource source;
    CompareScenes(
        "ConvTrapeziumVert", nCases, [&](std::uint64_t nSeed) -> const auto& { return source.MakeVert(nSeed); });
}

/// A copy of each scene whose image borders on a guard page, alternately on either side.
template <typename TScene>
class CGuardedScenes
{
public:
    template <typename TMake>
    const TScene& Make(const TMake& fnMake, std::uint64_t nSeed)
    {
        m_scene = fnMake(nSeed);
        engine::CImageView& image = m_scene.call.image;
        const std::size_t nBytes = static_cast<std::size_t>(image.nStride * image.nRows);
        m_bFront = !m_bFront;
        std::uint8_t* pPlace = m_bFront ? m_front.Data() : m_back.Data() + m_back.Size() - nBytes;
        std::memcpy(pPlace, image.pPixels, nBytes);
        image.pPixels = pPlace;
        return m_scene;
    }

private:
    const CGuardedMemory m_front{nRoom, CGuardedMemory::Flush::Front};
    const CGuardedMemory m_back{nRoom, CGuardedMemory::Flush::Back};
    bool m_bFront = false;
    TScene m_scene;
};

TEST(TrapeziumKernelsGuarded, HorizontalReadsWholeImagesToTheirBordersAndNoFurther)
{
    CTrapeziumSceneSource source;
    source.TakeWholeImages();
    CGuardedScenes<CTrapeziumHoriScene> guarded;
    CompareScenes(
        "guard ConvTrapeziumHori", nGuardedCases, [&](std::uint64_t nSeed) -> const auto& {
            return guarded.Make([&](std::uint64_t n) { return source.MakeHori(n); }, nSeed);
        });
}

TEST(TrapeziumKernelsGuarded, VerticalReadsWholeImagesToTheirBordersAndNoFurther)
{
    CTrapeziumSceneSource source;
    source.TakeWholeImages();
    CGuardedScenes<CTrapeziumVertScene> guarded;
    CompareScenes(
        "guard ConvTrapeziumVert", nGuardedCases, [&](std::uint64_t nSeed) -> const auto& {
            return guarded.Make([&](std::uint64_t n) { return source.MakeVert(n); }, nSeed);
        });
}

} // namespace
} // namespace narvo::test
