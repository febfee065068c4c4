// SPDX-License-Identifier: MIT
// What a range of cases has reached: every kernel that settings select, every result code, and the rules around them.
#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "soak/soak_run.h"

namespace narvo::test
{

class CSoakCoverage
{
public:
    struct CReached
    {
        std::int64_t nCases = 0;
        std::int64_t nWithPairs = 0;
        std::int64_t nWithBlobs = 0;
    };
    struct CEntry
    {
        std::string strName;
        bool bFinds; ///< some of its cases must find pairs
        CReached reached;
    };

    CSoakCoverage();

    /// Takes the player's last case in.
    void Count(CSoakPlayer& player, const CCaseResult& result);
    const std::vector<CEntry>& Entries() const { return m_aEntries; }
    void Print(std::ostream& out) const;

private:
    void List(const std::string& strName, bool bFinds = true);
    void Reach(const std::string& strName, const CCaseResult& result);

    std::vector<CEntry> m_aEntries;
    std::map<std::string, std::size_t> m_aIndex;
};

/// The kernel that an inspection of these parameters takes, after the pool has settled the direction. The selections
/// are stated here a second time, so that a kernel that the drivers lost would show.
std::string NameKernel(CaseCall eCall, const CConvParam& param);

} // namespace narvo::test
