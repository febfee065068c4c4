// SPDX-License-Identifier: MIT
// What the tests over all inputs share: sequences that hold every combination.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fast/reference_check.h"

namespace narvo::test
{

constexpr int nGreys = 256;

/// All ordered pairs of the numbers below nCount, each once as two neighbours: a cyclic sequence of nCount * nCount
/// entries. After each number a stand the pairs with every greater one: a, b1, a, b2, ...
inline std::vector<int> EveryPair(int nCount)
{
    std::vector<int> aSequence;
    for (int nFirst = 0; nFirst < nCount; nFirst++)
    {
        aSequence.push_back(nFirst);
        for (int nSecond = nFirst + 1; nSecond < nCount; nSecond++)
        {
            aSequence.push_back(nFirst);
            aSequence.push_back(nSecond);
        }
    }
    return aSequence;
}

/// Names a value of the case at hand.
inline std::string Inputs(const char* pName, std::int64_t nValue)
{
    return std::string(pName) + ' ' + std::to_string(nValue);
}

/// Compares scenes with the reference one after another: all of them where NARVO_TEST_EVERY is set, as the tests with
/// the label `exhaustive` have it, else one in some 500.
class CEveryCase
{
public:
    /// Whether none of the next scenes would be compared; they are then counted as done, and need not be made.
    bool Skips(int nScenes)
    {
        if ((m_nCase + m_nShare - 1) / m_nShare * m_nShare < m_nCase + nScenes)
            return false;
        m_nCase += nScenes;
        return true;
    }

    /// @return false when the test is to end: a scene differs. strInputs says which.
    template <typename TScene>
    bool Agrees(const TScene& scene, const std::string& strInputs)
    {
        if (m_nCase++ % m_nShare != 0)
            return true;
        m_nRecords += m_check.Expect(scene).NewPairs();
        return m_check.Agrees(scene, byName, strInputs);
    }

    /// Expects that the reference wrote so many records, if every scene was compared: the inputs were seen in full.
    void ExpectRecords(std::int64_t nAll) const { EXPECT_GE(m_nRecords, m_nShare == 1 ? nAll : 1); }

private:
    CReferenceCheck m_check;
    // Prime, so that it falls on every value of the inner loops.
    const int m_nShare = std::getenv("NARVO_TEST_EVERY") != nullptr ? 1 : 499 * CaseShare();
    std::int64_t m_nCase = 0;
    std::int64_t m_nRecords = 0;
};

} // namespace narvo::test
