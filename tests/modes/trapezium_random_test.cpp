// Both trapezium kernels against the plain reference on random scenes, bit for bit, at every vector level; and against
// guard pages.
#include <gtest/gtest.h>

#include <cstring>

#include "modes/trapezium_random_scene.h"
#include "support/guarded_memory.h"
#include "support/seeds.h"
#include "support/vector_levels.h"

namespace narvo::test
{
namespace
{

constexpr int nCases = 20000;
constexpr int nGuardedCases = 1500;
constexpr int nReportedFailures = 3;
constexpr std::size_t nRoom = 64 * 1024;

/// Runs the scenes of nCount seeds, which fnMake gives, through the reference and the library at each level.
template <typename TMake>
void HoldToTheReference(const std::string& strName, int nCount, const TMake& fnMake)
{
    CKernelOutcome expected;
    CKernelOutcome found;
    const std::vector<std::int64_t> aLevels = VectorLevels();
    CForcedLevel forced(aLevels.front());
    int nFailures = 0;
    std::int64_t nRecords = 0;

    const std::vector<std::uint64_t> aSeeds = CaseSeeds(strName, nCount);
    for (const std::uint64_t nSeed : aSeeds)
    {
        const auto& scene = fnMake(nSeed);
        RunReference(scene, expected);
        nRecords += expected.nReturned - scene.call.pairs.nCount;
        for (const std::int64_t nLevel : aLevels)
        {
            forced.Change(nLevel);
            if (scene.call.image.nRows == 0)
                RunPublic(scene, found);
            else
                RunThroughCall(scene, found);
            const std::string strDifference = found.DifferenceFrom(expected);
            if (strDifference.empty())
                continue;
            ADD_FAILURE() << LevelName(nLevel) << ": " << strDifference << '\n'
                          << Describe(scene) << '\n'
                          << ReplayHint(nSeed);
            if (++nFailures >= nReportedFailures)
                return;
        }
    }
    // The scenes must exercise what they are for.
    if (aSeeds.size() == static_cast<std::size_t>(nCount))
    {
        EXPECT_GT(nRecords, nCount);
    }
}

TEST(TrapeziumKernelsRandom, HorizontalAgreesWithTheReferenceAtEveryLevel)
{
    CTrapeziumSceneSource source;
    HoldToTheReference(
        "ConvTrapeziumHori", nCases, [&](std::uint64_t nSeed) -> const auto& { return source.MakeHori(nSeed); });
}

TEST(TrapeziumKernelsRandom, VerticalAgreesWithTheReferenceAtEveryLevel)
{
    CTrapeziumSceneSource source;
    HoldToTheReference(
        "ConvTrapeziumVert", nCases, [&](std::uint64_t nSeed) -> const auto& { return source.MakeVert(nSeed); });
}

/// A copy of each scene whose image lies against a page that faults, now on the one side, now on the other.
template <typename TScene>
class CGuardedScenes
{
public:
    template <typename TMake>
    const TScene& Make(const TMake& fnMake, std::uint64_t nSeed)
    {
        m_scene = fnMake(nSeed);
        CImageView& image = m_scene.call.image;
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
    HoldToTheReference(
        "guard ConvTrapeziumHori", nGuardedCases, [&](std::uint64_t nSeed) -> const auto& {
            return guarded.Make([&](std::uint64_t n) { return source.MakeHori(n); }, nSeed);
        });
}

TEST(TrapeziumKernelsGuarded, VerticalReadsWholeImagesToTheirBordersAndNoFurther)
{
    CTrapeziumSceneSource source;
    source.TakeWholeImages();
    CGuardedScenes<CTrapeziumVertScene> guarded;
    HoldToTheReference(
        "guard ConvTrapeziumVert", nGuardedCases, [&](std::uint64_t nSeed) -> const auto& {
            return guarded.Make([&](std::uint64_t n) { return source.MakeVert(n); }, nSeed);
        });
}

} // namespace
} // namespace narvo::test
