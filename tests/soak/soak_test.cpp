// SPDX-License-Identifier: MIT
// The checksum at every vector level, and what makes it trustworthy: cases reach what they are to reach, and depend on
// nothing but their number.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "soak/soak_constants.h"
#include "soak/soak_coverage.h"
#include "soak/soak_file.h"
#include "soak/soak_run.h"
#include "support/test_folder.h"
#include "support/vector_levels.h"

namespace narvo::test
{
namespace
{

/// Runs that are slow by nature take the small share.
bool IsShortRun()
{
    const char* const szShare = std::getenv("NARVO_TEST_SHARE");
    return szShare != nullptr && std::atoi(szShare) > 1;
}

void ExpectCommitted(const CSoakSetting& setting, std::uint64_t nCases)
{
    const CSoakConstant* const pConstant = FindSoakConstant(nCases, setting.eKind);
    ASSERT_NE(pConstant, nullptr) << nCases;
    const CSoakSums sums = AddUp(RunSoak(setting, {0, nCases}, nCases, 1));
    EXPECT_EQ(sums.nPlain, pConstant->nPlain) << setting.Name();
    EXPECT_EQ(sums.nOpen, setting.bSplit ? pConstant->nOpenSplit : pConstant->nOpenWhole) << setting.Name();
}

TEST(SoakChecksum, IsTheCommittedOneAtEveryVectorLevelWithAndWithoutTheSplit)
{
    const std::uint64_t nCases = IsShortRun() ? 1000 : 2000;
    for (const std::int64_t nLevel : VectorLevels())
        for (const bool bSplit : {true, false})
            ExpectCommitted({nLevel, bSplit}, nCases);
}

TEST(SoakChecksum, OfCasesForBoundsIsTheCommittedOneAtEveryVectorLevel)
{
    for (const std::int64_t nLevel : VectorLevels())
        for (const CaseKind eKind : {CaseKind::Bounds, CaseKind::Windows})
            ExpectCommitted({nLevel, true, eKind}, 2000);
}

TEST(SoakChecksum, IsTheCommittedOneOverCasesThatReachEveryChoiceAndCode)
{
    constexpr std::uint64_t nCases = 20000;
    CSoakPlayer player;
    CSoakCoverage coverage;
    CSoakSums sums;
    for (std::uint64_t i = 0; i < nCases; ++i)
    {
        const CCaseResult& result = player.Play(i, true);
        sums.Add(i, player.Case().eSplit, result.nHash);
        coverage.Count(player, result);
    }
    EXPECT_EQ(sums.nPlain, FindSoakConstant(nCases)->nPlain);
    EXPECT_EQ(sums.nOpen, FindSoakConstant(nCases)->nOpenSplit);
    for (const CSoakCoverage::CEntry& entry : coverage.Entries())
    {
        EXPECT_GT(entry.reached.nCases, 0) << entry.strName;
        EXPECT_TRUE(!entry.bFinds || entry.reached.nWithPairs > 0) << entry.strName;
    }
}

TEST(SoakChecksum, ConstantsOfGrowingSharesHoldDifferentSums)
{
    const CSoakConstant* pLast = nullptr;
    for (const CSoakConstant& constant : aSoakConstants)
    {
        // In the smallest share no case shows what the split changes.
        EXPECT_EQ(constant.nOpenSplit == constant.nOpenWhole, constant.nCases < 2000) << constant.nCases;
        if (pLast != nullptr)
        {
            EXPECT_LT(pLast->nCases, constant.nCases);
            EXPECT_NE(pLast->nPlain, constant.nPlain);
        }
        pLast = &constant;
    }
}

TEST(SoakCases, DoNotDependOnTheCasesBefore)
{
    constexpr std::uint64_t nCases = 400;
    std::vector<std::uint64_t> aForward(nCases);
    CSoakPlayer player;
    for (std::uint64_t i = 0; i < nCases; ++i)
        aForward[i] = player.Play(i, true).nHash;
    CSoakPlayer other;
    for (std::uint64_t i = nCases; i-- > 0;)
        EXPECT_EQ(other.Play(i, true).nHash, aForward[i]) << "case " << i;
}

TEST(SoakCases, DoNotDependOnWhatLiesInTheHitArrays)
{
    CSoakPlayer player;
    CSoakPlayer soiled;
    for (std::uint64_t i = 0; i < 400; ++i)
    {
        CNarvoAssem& lane = soiled.Runner().Lane();
        constexpr int nSoiled = 8000;
        for (int* pArray : {lane.pPixelX, lane.pPixelY, lane.pSrcGray, lane.pCmpGray})
            std::fill_n(pArray, nSoiled, -1234567);
        for (short* pArray : {lane.pPixelType, lane.pPeak})
            std::fill_n(pArray, nSoiled, static_cast<short>(1));
        EXPECT_EQ(soiled.Play(i, false).nHash, player.Play(i, false).nHash) << "case " << i;
    }
}

TEST(SoakCases, KeepTheContractInMemoryOfExactlyTheSizeItAsksFor)
{
    CCaseMaker maker(CCaseMaker::Memory::Exact);
    CCaseRunner runner;
    CSoakPlayer player;
    for (std::uint64_t i = 0; i < 600; ++i)
    {
        CNumberedSource source(i);
        EXPECT_EQ(runner.Run(maker.Make(source), true).nHash, player.Play(i, true).nHash) << "case " << i;
    }
}

void ExpectTheSameForEveryUse(CBoundCaseMaker::Compared eCompared)
{
    CBoundCaseMaker maker(eCompared);
    CCaseRunner runner;
    int nWithPairs = 0;
    for (std::uint64_t i = 0; i < 1500; ++i)
    {
        CNumberedSource source(i);
        CSoakCase soakCase = maker.Make(source);
        soakCase.eBound = engine::BoundUse::Never;
        const std::uint64_t nHash = runner.Run(soakCase, true).nHash;
        nWithPairs += runner.Lane().GetPairCount() > 0 ? 1 : 0;
        for (const engine::BoundUse eUse : {engine::BoundUse::WherePaid, engine::BoundUse::WherePossible})
        {
            soakCase.eBound = eUse;
            EXPECT_EQ(runner.Run(soakCase, true).nHash, nHash) << "case " << i;
        }
    }
    EXPECT_GT(nWithPairs, 500);
}

TEST(SoakCases, ForBoundsGiveTheSameForEveryUseOfTheBound)
{
    ExpectTheSameForEveryUse(CBoundCaseMaker::Compared::Pixels);
    ExpectTheSameForEveryUse(CBoundCaseMaker::Compared::Windows);
}

TEST(SoakCases, ComeFromBytesAsFromNumbers)
{
    std::vector<std::uint8_t> aBytes(600);
    CRandom random(3);
    CCaseMaker maker(CCaseMaker::Memory::Exact, CCaseMaker::Sizes::Small);
    CCaseRunner runner;
    int nWithPairs = 0;
    for (int i = 0; i < 200; ++i)
    {
        for (std::uint8_t& nByte : aBytes)
            nByte = static_cast<std::uint8_t>(random.Next());
        CByteSource source(aBytes.data(), aBytes.size());
        const std::uint64_t nHash = runner.Run(maker.Make(source), true).nHash;
        nWithPairs += runner.Lane().GetPairCount() > 0 ? 1 : 0;
        CByteSource again(aBytes.data(), aBytes.size());
        EXPECT_EQ(runner.Run(maker.Make(again), true).nHash, nHash);
    }
    EXPECT_GT(nWithPairs, 20);
}

TEST(SoakCases, ADrySourceGivesAPlainCase)
{
    CByteSource source(nullptr, 0);
    for (const int nCount : {1, 7, 256, 1 << 20})
        EXPECT_EQ(source.Below(static_cast<std::uint64_t>(nCount)), 0U);
    EXPECT_FALSE(source.OneIn(2));
    CCaseMaker maker;
    const CSoakCase& soakCase = maker.Make(source);
    EXPECT_EQ(soakCase.eCall, CaseCall::Rect);
    EXPECT_NE(soakCase.param.pImage, nullptr);
}

TEST(SoakSums, OfShardsAreThoseOfTheWholeOnAnyNumberOfThreads)
{
    const CSoakSetting setting;
    const CSoakSums whole = AddUp(RunSoak(setting, {100, 300}, 64, 1));
    CSoakSums shards = AddUp(RunSoak(setting, {250, 150}, 7, 2));
    shards.Add(AddUp(RunSoak(setting, {100, 150}, 1000, 1)));
    EXPECT_EQ(shards, whole);
}

TEST(SoakSums, TellCasesThatChangePlacesApart)
{
    CSoakSums a;
    a.Add(1, CaseSplit::None, 5);
    a.Add(2, CaseSplit::None, 6);
    CSoakSums b;
    b.Add(1, CaseSplit::None, 6);
    b.Add(2, CaseSplit::None, 5);
    EXPECT_NE(a.nPlain, b.nPlain);
}

TEST(SoakFile, ComesBackAsItWasWrittenAndRefusesOtherFiles)
{
    const TestFolder folder;
    const std::string strPath = (folder / "sums.txt").string();
    const CSoakFile file{{40, 50}, 20, false, RunSoak({0, false}, {40, 50}, 20, 1)};
    WriteSoakFile(strPath, file);
    const CSoakFile back = ReadSoakFile(strPath);
    EXPECT_EQ(back.range.nFirst, 40U);
    EXPECT_EQ(back.range.nCases, 50U);
    EXPECT_EQ(back.nBlock, 20U);
    EXPECT_FALSE(back.bSplit);
    ASSERT_EQ(back.aBlocks.size(), file.aBlocks.size());
    for (std::size_t i = 0; i < file.aBlocks.size(); ++i)
    {
        EXPECT_EQ(back.aBlocks[i].nPlain, file.aBlocks[i].nPlain);
        EXPECT_EQ(back.aBlocks[i].nOpen, file.aBlocks[i].nOpen);
    }
    std::ofstream(strPath) << "narvo-soak-1 0 100 10 on\n0 0\n";
    EXPECT_THROW(ReadSoakFile(strPath), std::runtime_error);
    std::ofstream(strPath) << "something else\n";
    EXPECT_THROW(ReadSoakFile(strPath), std::runtime_error);
    std::remove(strPath.c_str());
    EXPECT_THROW(ReadSoakFile(strPath), std::runtime_error);
}

} // namespace
} // namespace narvo::test
