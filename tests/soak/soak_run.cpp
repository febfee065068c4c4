// SPDX-License-Identifier: MIT
// See soak_run.h.
#include "soak/soak_run.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <optional>
#include <thread>

#include "soak/case_hash.h"
#include "support/vector_levels.h"

namespace narvo::test
{

void CSoakSums::Add(std::uint64_t nNumber, CaseSplit eSplit, std::uint64_t nHash)
{
    // Number and hash go in together: two cases that change places change the sum.
    CCaseHash mixed;
    mixed.Add(nNumber);
    mixed.Add(nHash);
    const bool bOpen = eSplit == CaseSplit::Open;
    (bOpen ? nOpen : nPlain) += mixed.Get();
    ++nCases;
    nOpenCases += bOpen ? 1 : 0;
}

void CSoakSums::Add(const CSoakSums& other)
{
    nPlain += other.nPlain;
    nOpen += other.nOpen;
    nCases += other.nCases;
    nOpenCases += other.nOpenCases;
}

std::string CSoakSetting::Name() const
{
    const std::int64_t nShown = nLevel != 0 ? nLevel : VectorLevels().front();
    return LevelName(nShown) + (bSplit ? ", split on" : ", split off");
}

std::int64_t FindLevel(const std::string& strName)
{
    for (const std::int64_t nLevel : VectorLevels())
        if (LevelName(nLevel) == strName)
            return nLevel;
    return 0;
}

const CSoakCase& CSoakPlayer::Make(CCaseSource& source)
{
    switch (m_eKind)
    {
    case CaseKind::Bounds:
        return m_boundMaker.Make(source);
    case CaseKind::Windows:
        return m_windowMaker.Make(source);
    case CaseKind::General:
        break;
    }
    return m_maker.Make(source);
}

const CCaseResult& CSoakPlayer::Play(std::uint64_t nNumber, bool bSplit)
{
    CNumberedSource source(nNumber);
    m_pCase = &Make(source);
    return m_runner.Run(*m_pCase, bSplit);
}

std::vector<CSoakSums> RunSoak(const CSoakSetting& setting, const CSoakRange& range, std::uint64_t nBlock, int nJobs,
                               const std::function<void(std::uint64_t)>& progress)
{
    std::optional<CForcedLevel> level;
    if (setting.nLevel != 0)
        level.emplace(setting.nLevel);

    const std::uint64_t nBlocks = (range.nCases + nBlock - 1) / nBlock;
    std::vector<CSoakSums> aSums(nBlocks);
    std::atomic<std::uint64_t> nNextBlock{0};
    std::atomic<std::uint64_t> nDone{0};
    std::mutex mutex;
    std::exception_ptr pFailure;
    const auto Work = [&]
    {
        try
        {
            CSoakPlayer player(setting.eKind);
            for (std::uint64_t n = nNextBlock++; n < nBlocks; n = nNextBlock++)
            {
                const std::uint64_t nBegin = n * nBlock;
                const std::uint64_t nEnd = std::min(nBegin + nBlock, range.nCases);
                for (std::uint64_t i = nBegin; i < nEnd; ++i)
                {
                    const std::uint64_t nHash = player.Play(range.nFirst + i, setting.bSplit).nHash;
                    aSums[n].Add(range.nFirst + i, player.Case().eSplit, nHash);
                }
                if (progress)
                    progress(nDone += nEnd - nBegin);
            }
        }
        catch (...)
        {
            const std::lock_guard guard(mutex);
            pFailure = std::current_exception();
        }
    };
    if (nJobs <= 1)
        Work();
    else
    {
        std::vector<std::thread> aThreads;
        for (int i = 0; i < nJobs; ++i)
            aThreads.emplace_back(Work);
        for (std::thread& thread : aThreads)
            thread.join();
    }
    if (pFailure)
        std::rethrow_exception(pFailure);
    return aSums;
}

CSoakSums AddUp(const std::vector<CSoakSums>& aBlocks)
{
    CSoakSums sums;
    for (const CSoakSums& block : aBlocks)
        sums.Add(block);
    return sums;
}

} // namespace narvo::test
