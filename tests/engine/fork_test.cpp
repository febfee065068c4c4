// SPDX-License-Identifier: MIT
// Children of a process that inspects: of its threads they have only the one that forked, and still can inspect.
#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/inspection_set.h"

namespace
{

using namespace narvo::test;

constexpr int nChildSeconds = 60; ///< many times what a child takes
constexpr int nChildGood = 42;

/// The outcome of a child that runs fnWork: its exit code, or minus the signal that ended it.
int OutcomeOfChild(const std::function<bool()>& fnWork)
{
    const pid_t nChild = fork();
    if (nChild == 0)
    {
        alarm(nChildSeconds);
        _exit(fnWork() ? nChildGood : 1);
    }
    int nStatus = 0;
    if (nChild < 0 || waitpid(nChild, &nStatus, 0) != nChild)
        return -1000;
    return WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -WTERMSIG(nStatus);
}

/// Inspections in bands: two of 2048 columns.
class Fork : public testing::Test
{
protected:
    Fork()
    {
        m_pool.InitAssemControl(4, 2000);
        for (const SInspection& inspection : m_set.Get())
            if (inspection.strName == "zone, strips" || inspection.strName == "pixel, strips" ||
                inspection.strName == "pixel, rows" || inspection.strName == "float, strips, 2 by 2")
                m_inspections.push_back(&inspection);
    }

    std::vector<SFound> Find(CAssemControl& pool, int nLane)
    {
        std::vector<SFound> found;
        for (const SInspection* pInspection : m_inspections)
        {
            pool.GetNarvoAssem(nLane)->ResetReinspectCount();
            found.push_back(ReadFound(pool, nLane, RunOnPool(pool, nLane, *pInspection)));
        }
        return found;
    }

    const CInspectionSet m_set{4096, 64, 300, 12};
    CAssemControl m_pool;
    std::vector<const SInspection*> m_inspections;
};

TEST_F(Fork, ChildInspectsInBandsAsItsParentDid)
{
    const std::vector<SFound> expected = Find(m_pool, 0);
    ASSERT_EQ(expected.size(), 4U);
    ASSERT_GT(expected[0].blobs.size(), 20U);
    EXPECT_EQ(OutcomeOfChild([&] { return Find(m_pool, 0) == expected; }), nChildGood);
    EXPECT_EQ(OutcomeOfChild(
                  [&]
                  {
                      CAssemControl own;
                      return own.InitAssemControl(1, 2000) == 1 && Find(own, 0) == expected;
                  }),
              nChildGood);
    EXPECT_EQ(Find(m_pool, 0), expected);
}

TEST_F(Fork, GrandchildInspectsToo)
{
    const std::vector<SFound> expected = Find(m_pool, 0);
    EXPECT_EQ(OutcomeOfChild(
                  [&] {
                      return Find(m_pool, 0) == expected &&
                             OutcomeOfChild([&] { return Find(m_pool, 0) == expected; }) == nChildGood;
                  }),
              nChildGood);
}

TEST_F(Fork, ChildOfAThreadThatInspectedInspectsOnThreadsOfItsOwn)
{
    const std::vector<SFound> expected = Find(m_pool, 0);
    std::thread(
        [&]
        {
            EXPECT_EQ(Find(m_pool, 1), expected);
            EXPECT_EQ(OutcomeOfChild(
                          [&]
                          {
                              bool bSame = Find(m_pool, 1) == expected;
                              std::thread([&] { bSame = Find(m_pool, 2) == expected && bSame; }).join();
                              return bSame;
                          }),
                      nChildGood);
        })
        .join();
}

TEST_F(Fork, ChildrenInspectOnLanesThatWereIdleWhileOthersWereAtWork)
{
    const std::vector<SFound> expected = Find(m_pool, 0);
    std::atomic<bool> bStop{false};
    std::vector<std::thread> workers;
    for (int nLane = 1; nLane < 4; ++nLane)
        workers.emplace_back(
            [&, nLane]
            {
                while (!bStop)
                    EXPECT_EQ(Find(m_pool, nLane), expected);
            });
    for (int i = 0; i < 10; ++i)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(3 * i));
        EXPECT_EQ(OutcomeOfChild([&] { return Find(m_pool, 0) == expected; }), nChildGood) << "child " << i;
    }
    bStop = true;
    for (std::thread& worker : workers)
        worker.join();
}

} // namespace
