// SPDX-License-Identifier: MIT
// Inspections at the end of a thread and of the process, while objects are destroyed: in functions registered with
// atexit, in destructors of static and thread-local objects, and in those of thread-specific data.
#include <cstdlib>
#include <functional>
#include <memory>
#include <thread>

#include <pthread.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/inspection_set.h"

namespace
{

using namespace narvo::test;

constexpr int nSeconds = 60; ///< many times what a process here takes, sanitizers included
constexpr int nExitGood = 42;

/// Every path through the engine on a small picture and on one wide enough for bands, and its results.
class CExitScenes
{
public:
    CExitScenes() { m_pool.InitAssemControl(1, 2000); }

    void LearnWhatIsFound()
    {
        for (const CInspectionSet* pSet : {&m_small, &m_wide})
            for (const SInspection& inspection : pSet->Get())
                m_expected.push_back(Find(inspection));
    }
    /// Working memory for the small picture only, so that the wide one needs more.
    void InspectSmall()
    {
        for (const SInspection& inspection : m_small.Get())
            Find(inspection);
    }
    bool FindsTheSame()
    {
        std::size_t nNext = 0;
        for (const CInspectionSet* pSet : {&m_small, &m_wide})
            for (const SInspection& inspection : pSet->Get())
                if (!(Find(inspection) == m_expected[nNext++]))
                    return false;
        return true;
    }

private:
    SFound Find(const SInspection& inspection)
    {
        m_pool.ResetReinspectCount();
        return ReadFound(m_pool, 0, RunOnPool(m_pool, 0, inspection));
    }

    CInspectionSet m_small{208, 80, 90, 11};
    CInspectionSet m_wide{4096, 64, 300, 12};
    CAssemControl m_pool;
    std::vector<SFound> m_expected;
};

CExitScenes* pScenes = nullptr; ///< never destroyed

/// Scenes whose results were found on a thread of its own, so that this thread has not inspected yet.
void MakeWorld()
{
    alarm(nSeconds);
    pScenes = new CExitScenes;
    std::thread([] { pScenes->LearnWhatIsFound(); }).join();
}

int nRight = 0; ///< last inspections that found the same

void InspectAtTheEnd()
{
    if (!pScenes->FindsTheSame())
        _exit(1);
    ++nRight;
}

/// Inspects in its destructor.
struct CInspectsAtItsEnd
{
    ~CInspectsAtItsEnd() { InspectAtTheEnd(); }
};

void ExitWhenAllWereRight(int nWanted)
{
    static int nWantedAtExit;
    nWantedAtExit = nWanted;
    // Registered first, called last.
    std::atexit([] { _exit(nRight == nWantedAtExit ? nExitGood : 2); });
}

class AtExit : public testing::Test
{
protected:
    // The statement runs in a new process of its own.
    AtExit() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(AtExit, FunctionsRegisteredWithAtexitInspect)
{
    EXPECT_EXIT(
        {
            MakeWorld();
            ExitWhenAllWereRight(2);
            std::atexit(InspectAtTheEnd);
            std::atexit(InspectAtTheEnd);
            pScenes->InspectSmall();
            std::exit(0);
        },
        testing::ExitedWithCode(nExitGood), "");
}

TEST_F(AtExit, DestructorsOfStaticObjectsInspect)
{
    EXPECT_EXIT(
        {
            MakeWorld();
            ExitWhenAllWereRight(1);
            static const CInspectsAtItsEnd last;
            pScenes->InspectSmall();
            std::exit(0);
        },
        testing::ExitedWithCode(nExitGood), "");
}

TEST_F(AtExit, DestructorsOfThreadLocalObjectsInspect)
{
    EXPECT_EXIT(
        {
            MakeWorld();
            const auto work = []
            {
                // Made before the working memory, so that it is destroyed after it.
                thread_local const CInspectsAtItsEnd last;
                static_cast<void>(&last);
                pScenes->InspectSmall();
            };
            std::thread(work).join();
            std::thread(work).join();
            ExitWhenAllWereRight(3);
            work();
            std::exit(0);
        },
        testing::ExitedWithCode(nExitGood), "");
}

TEST_F(AtExit, DestructorsOfThreadSpecificDataInspect)
{
    EXPECT_EXIT(
        {
            MakeWorld();
            pthread_key_t key;
            if (pthread_key_create(&key, [](void*) { InspectAtTheEnd(); }) != 0)
                _exit(3);
            std::thread(
                [key]
                {
                    pthread_setspecific(key, &nRight);
                    pScenes->InspectSmall();
                })
                .join();
            _exit(nRight == 1 ? nExitGood : 2);
        },
        testing::ExitedWithCode(nExitGood), "");
}

} // namespace
