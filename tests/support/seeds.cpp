// SPDX-License-Identifier: MIT
// See seeds.h.
#include "support/seeds.h"

#include <algorithm>
#include <cstdlib>

#include "support/random.h"

namespace narvo::test
{

std::vector<std::uint64_t> CaseSeeds(const std::string& strName, int nCount)
{
    if (const char* pText = std::getenv("NARVO_TEST_SEED"); pText != nullptr && *pText != '\0')
        return {std::strtoull(pText, nullptr, 0)};

    nCount = std::max(nCount / CaseShare(), 1);

    std::uint64_t nHash = 0xCBF29CE484222325U; // FNV-1a of the name
    for (const char c : strName)
        nHash = (nHash ^ static_cast<unsigned char>(c)) * 0x100000001B3U;

    CRandom random(nHash);
    std::vector<std::uint64_t> aSeeds(static_cast<std::size_t>(nCount));
    for (std::uint64_t& nSeed : aSeeds)
        nSeed = random.Next();
    return aSeeds;
}

int CaseShare()
{
    const char* const pText = std::getenv("NARVO_TEST_SHARE");
    return pText != nullptr ? std::max(std::atoi(pText), 1) : 1;
}

std::string ReplayHint(std::uint64_t nSeed)
{
    return "replay with NARVO_TEST_SEED=" + std::to_string(nSeed);
}

} // namespace narvo::test
