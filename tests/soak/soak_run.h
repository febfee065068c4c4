// SPDX-License-Identifier: MIT
// Runs ranges of the numbered cases and adds their hashes up, in an order that does not matter: shards on threads or
// processes give the sum of the whole.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "soak/bound_cases.h"
#include "soak/case_maker.h"
#include "soak/case_runner.h"

namespace narvo::test
{

/// Sums of mixed case hashes, modulo 2^64.
struct CSoakSums
{
    std::uint64_t nPlain = 0; ///< cases that the band split leaves alone, by width or by quiet seams
    std::uint64_t nOpen = 0;  ///< cases whose bands answer for themselves: differ by the split, and by nothing else
    std::int64_t nCases = 0;
    std::int64_t nOpenCases = 0;

    void Add(std::uint64_t nNumber, CaseSplit eSplit, std::uint64_t nHash);
    void Add(const CSoakSums& other);
    friend bool operator==(const CSoakSums&, const CSoakSums&) = default;
};

/// Which endless row of numbered cases.
enum class CaseKind
{
    General, ///< those of CCaseMaker
    Bounds,  ///< those of CBoundCaseMaker, for pixels
    Windows  ///< and for window sums
};

/// How cases are run.
struct CSoakSetting
{
    std::int64_t nLevel = 0; ///< vector level, 0 for the processor's best
    bool bSplit = true;      ///< bands of wide regions run on sub-engines
    CaseKind eKind = CaseKind::General;

    std::string Name() const;
};

struct CSoakRange
{
    std::uint64_t nFirst = 0;
    std::uint64_t nCases = 0;
};

/// The level of a name as LevelName gives it; 0 where the processor does not offer it.
std::int64_t FindLevel(const std::string& strName);

/// Sums of the range's blocks of nBlock cases, the last one perhaps shorter, run on nJobs threads. progress, if given,
/// is told the cases done, from any thread. Throws what the threads throw.
std::vector<CSoakSums> RunSoak(const CSoakSetting& setting, const CSoakRange& range, std::uint64_t nBlock, int nJobs,
                               const std::function<void(std::uint64_t)>& progress = {});

CSoakSums AddUp(const std::vector<CSoakSums>& aBlocks);

/// Makes and runs single cases by number.
class CSoakPlayer
{
public:
    explicit CSoakPlayer(CaseKind eKind = CaseKind::General) : m_eKind(eKind) {}

    const CCaseResult& Play(std::uint64_t nNumber, bool bSplit);
    const CSoakCase& Case() const { return *m_pCase; }
    CCaseRunner& Runner() { return m_runner; }

private:
    const CSoakCase& Make(CCaseSource& source);

    const CaseKind m_eKind;
    CCaseMaker m_maker;
    CBoundCaseMaker m_boundMaker;
    CBoundCaseMaker m_windowMaker{CBoundCaseMaker::Compared::Windows};
    CCaseRunner m_runner;
    const CSoakCase* m_pCase = nullptr;
};

} // namespace narvo::test
