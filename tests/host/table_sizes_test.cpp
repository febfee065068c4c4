// SPDX-License-Identifier: MIT
// A host's own tables: what is accepted is never left by a call, and what is too short or crooked is named.
#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/guard_bases.h"
#include "engine/guard_scene.h"
#include "host/check/block_check.h"
#include "host/exact_tables.h"
#include "narvoassem/narvoassem.h"
#include "support/random.h"
#include "support/seeds.h"

namespace narvo::test
{

namespace
{

using testing::Contains;
using testing::Field;
using testing::IsEmpty;
using testing::StartsWith;

std::vector<TableSize> SizesOf(const BlockCheck& check)
{
    std::vector<TableSize> sizes;
    for (const TableRead& read : check.reads)
        sizes.push_back({read.field, read.before, read.count});
    return sizes;
}

/// One size less than it must be, or not given at all.
void ExpectShortTablesNamed(const CConvParam& param, const std::vector<TableSize>& sizes, BlockCall call,
                            CRandom& random)
{
    std::vector<TableSize> less = sizes;
    const std::size_t one = random.Next() % less.size();
    const std::string field = less[one].field;
    if (random.OneIn(3))
        less.erase(less.begin() + static_cast<std::ptrdiff_t>(one));
    else if (less[one].before > 0 && random.OneIn(2))
        --less[one].before;
    else
        --less[one].count;
    EXPECT_THAT(CheckTables(param, less, call), Contains(Field(&Problem::field, field)));
}

/// One record moved by more than a rounded pitch allows.
void ExpectCrookedGridNamed(CConvParam param, const BlockCheck& check, BlockCall call, CRandom& random)
{
    for (const TableRead& read : check.reads)
    {
        if (read.field != "pZoneOriginTable")
            continue;
        const int ints = read.element.find("skip") != std::string::npos ? 3 : 2;
        std::vector<int> grid(param.pZoneOriginTable, param.pZoneOriginTable + read.count);
        const std::int64_t record = random.Int(0, static_cast<int>(read.count / ints) - 1);
        grid[static_cast<std::size_t>(record * ints + random.Int(0, 1))] += random.OneIn(2) ? 3000 : -3000;
        param.pZoneOriginTable = grid.data();
        EXPECT_THAT(CheckTables(param, SizesOf(check), call),
                    Contains(Field(&Problem::field, StartsWith("pZoneOriginTable, record "))));
    }
}

TEST(TableSizesRandom, WhatIsAcceptedIsNotLeftAndWhatIsTooShortIsNamed)
{
    CGuardScene scene(true);
    CAssemControl control;
    ASSERT_EQ(control.InitAssemControl(1, 400), 1);
    ExactTables back(true);
    ExactTables front(false);
    int compared = 0;
    for (const std::uint64_t seed : CaseSeeds("TableSizesRandom", static_cast<int>(GuardBases().size()) * 40))
    {
        SCOPED_TRACE(ReplayHint(seed));
        CRandom random(seed);
        const CGuardBase& base = GuardBases()[random.Next() % GuardBases().size()];
        CConvParam param = base.Make(scene);
        Vary(random, param);
        const BlockCall call = CallOf(base.eEntry);
        if (param.bZoneFlagged != 0)
            param.bBandThread = param.nMaxReinspect = 0;
        std::vector<int> row(static_cast<std::size_t>(param.nZoneColumns) * 2, 10000);
        if (param.pZoneOriginTable != nullptr)
            param.pZoneOriginTable = row.data();
        const BlockCheck check = CheckBlock(param, call);
        if (check.code != 1 || !check.hazards.empty() || check.reads.empty())
            continue;
        (random.OneIn(2) ? back : front).Provide(check, random, param);
        const std::vector<TableSize> sizes = SizesOf(check);
        const std::vector<Problem> problems = CheckTables(param, sizes, call);
        ASSERT_THAT(problems, IsEmpty()) << problems[0].Text();
        ExpectShortTablesNamed(param, sizes, call, random);
        ExpectCrookedGridNamed(param, check, call, random);
        control.ResetReinspectCount();
        const int code = RunEntry(control, base.eEntry, param);
        ASSERT_TRUE(code == 1 || code == 16) << base.pName;
        ++compared;
    }
    EXPECT_GT(compared, static_cast<int>(GuardBases().size()) * 5 / CaseShare());
}

TEST(TableSizes, NothingIsReadOfAGridWithoutASize)
{
    std::vector<unsigned char> image(4200 * 96, 100);
    CConvParam param;
    param.nInspectMode = 1;
    param.nDirection = 1;
    param.bBandThread = 1;
    param.pImage = image.data();
    param.nImageWidth = 4200;
    param.nImageHeight = 96;
    param.rtInspect = CRect(0, 0, 4200, 96);
    param.nConvWidth = param.nConvHeight = 1;
    param.dConvPitch = param.dScanPitch = 24.0;
    param.nConvMultiple = param.nScanMultiple = 1;
    param.nThreshold = 25;
    param.nZoneColumns = 300;
    param.pZoneOriginTable = reinterpret_cast<int*>(8); // a crash where it is read
    EXPECT_THAT(CheckTables(param, {{"pImage", 0, 4200 * 96}}),
                Contains(Field(&Problem::field, std::string("pZoneOriginTable"))));
    param.pZoneOriginTable = nullptr;
    EXPECT_THAT(CheckTables(param, {{"pImage", 0, 4200 * 96}}), IsEmpty());
    EXPECT_THAT(CheckTables(param, {}), Contains(Field(&Problem::field, std::string("pImage"))));
    EXPECT_THAT(CheckTables(param, {{"pImage", -1, 4200 * 96}}),
                Contains(Field(&Problem::field, std::string("pImage"))));
}

} // namespace

} // namespace narvo::test
