// SPDX-License-Identifier: MIT
// Records of the C interface between programs and libraries of different versions.
#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

#include "host/library/c_records.h"

namespace
{

/// Of version 1: size, first, second. Version 2 appended third, version 3 fourth.
struct CGrownRecord
{
    std::uint32_t size;
    std::int32_t first;
    double second;
    double third;
    double fourth;
};

} // namespace

template <>
struct narvo::library::RecordSizes<CGrownRecord>
{
    static constexpr std::size_t sizes[] = {16, 24, 32};
};

namespace narvo::test
{

TEST(CRecords, OlderProgramsAreReadAndFilledAsFarAsTheyKnow)
{
    CGrownRecord record = {16, 5, 6.0, 7.0, 8.0};
    CGrownRecord read = library::ReadRecord(&record, "record");
    EXPECT_EQ(read.second, 6.0);
    EXPECT_EQ(read.third, 0.0) << "a program of version 1 has no such member";
    record.size = 24;
    read = library::ReadRecord(&record, "record");
    EXPECT_EQ(read.third, 7.0);
    EXPECT_EQ(read.fourth, 0.0);

    library::WriteRecord(&record, 16, CGrownRecord{0, 1, 2.0, 3.0, 4.0});
    EXPECT_EQ(record.size, 16U);
    EXPECT_EQ(record.second, 2.0);
    EXPECT_EQ(record.third, 7.0) << "nothing is written behind the program's record";
}

TEST(CRecords, RefusesSizesThatNoVersionHad)
{
    CGrownRecord record = {};
    for (const std::uint32_t size : {0U, 4U, 15U, 17U, 23U, 40U, 0xffffffffU})
    {
        record.size = size;
        try
        {
            library::SizeOf(&record, "record");
            FAIL() << size;
        }
        catch (const v1::Error& error)
        {
            EXPECT_EQ(error.Problems().at(0).field, "record.size");
            EXPECT_EQ(error.Problems().at(0).allowed, "16 or 24 or 32");
        }
    }
    EXPECT_THROW(library::SizeOf<CGrownRecord>(nullptr, "record"), v1::Error);
}

} // namespace narvo::test
