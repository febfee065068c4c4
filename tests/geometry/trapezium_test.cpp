// SPDX-License-Identifier: MIT
// The trapezium and its store.
#include "narvoassem/padpoligon.h"

#include "gtest/gtest.h"

namespace
{

TEST(Trapezium, OffsetAndAxisChangeActOnAllCorners)
{
    CTrapezium trap;
    for (int i = 0; i < 4; ++i)
        trap.ptCorner[i].SetPoint(i, 10 * i);
    EXPECT_EQ(trap.GetTop(), 0);
    EXPECT_EQ(trap.GetBottom(), 30);
    EXPECT_EQ(trap.GetSelfTrapezium(), &trap);
    trap.OffsetPlus(100, -1);
    trap.ChangeAxis();
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_EQ(trap.ptCorner[i].x, 10 * i - 1);
        EXPECT_EQ(trap.ptCorner[i].y, 100 + i);
    }
}

TEST(TrapeziumStorage, OpeningAloneLeavesTheCountAndTheNextOpeningOverwrites)
{
    CTrapeziumStorage storage;
    EXPECT_EQ(storage.nMaxCount, 10);
    EXPECT_EQ(storage.OpenTrap(CPadPoint(1, 1), CPadPoint(2, 1)), 1);
    EXPECT_EQ(storage.GetTrapeziumCount(), 0);
    EXPECT_EQ(storage.OpenTrap(CPadPoint(3, 1), CPadPoint(4, 1)), 1);
    EXPECT_EQ(storage.CloseTrap(CPadPoint(5, 9), CPadPoint(0, 9)), 1);
    ASSERT_EQ(storage.GetTrapeziumCount(), 1);
    const CTrapezium& trap = *storage.GetTrapezium(0);
    EXPECT_EQ(trap.ptCorner[0].x, 3);
    EXPECT_EQ(trap.ptCorner[1].x, 4);
    EXPECT_EQ(trap.ptCorner[2].x, 5);
    EXPECT_EQ(trap.ptCorner[3].x, 0);
}

TEST(TrapeziumStorage, FullStorageRefusesAndIsNotChanged)
{
    CTrapeziumStorage storage;
    for (int i = 0; i < 10; ++i)
    {
        EXPECT_EQ(storage.OpenTrap(CPadPoint(i, 0), CPadPoint(i, 0)), 1);
        EXPECT_EQ(storage.CloseTrap(CPadPoint(i, 1), CPadPoint(i, 1)), 1);
    }
    EXPECT_EQ(storage.OpenTrap(CPadPoint(77, 0), CPadPoint(77, 0)), 0);
    EXPECT_EQ(storage.CloseTrap(CPadPoint(77, 1), CPadPoint(77, 1)), 0);
    EXPECT_EQ(storage.GetTrapeziumCount(), 10);
    EXPECT_EQ(storage.GetTrapezium(9)->ptCorner[0].x, 9);
}

} // namespace
