// SPDX-License-Identifier: MIT
// Records of the C interface whose first member says how large the caller's compiler made them, so that programs with
// older records and those with newer ones share a library.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>

#include "narvo/host_error.h"

namespace narvo::library
{

/// The sizes that a record had in the versions of the header, ascending; the last is today's. A version that appends
/// members adds a size by a specialisation.
template <typename Record>
struct RecordSizes
{
    static constexpr std::size_t sizes[] = {sizeof(Record)};
};

/// @throws v1::Error for a size that the record never had
template <typename Record>
void CheckRecordSize(std::uint32_t size, const std::string& name)
{
    constexpr auto& known = RecordSizes<Record>::sizes;
    if (std::find(std::begin(known), std::end(known), size) != std::end(known))
        return;
    std::string allowed;
    for (const std::size_t each : known)
        allowed += (allowed.empty() ? "" : " or ") + std::to_string(each);
    throw v1::Error({{name, std::to_string(size), allowed}});
}

/// The size member of a record, null or not. @throws v1::Error as CheckRecordSize, or for null
template <typename Record>
std::uint32_t SizeOf(const Record* record, const std::string& name)
{
    if (record == nullptr)
        throw v1::Error({{name, "null", "a record"}});
    CheckRecordSize<Record>(record->size, name + ".size");
    return record->size;
}

/// The record as of today; members that the caller's does not have are 0. @throws v1::Error as SizeOf
template <typename Record>
Record ReadRecord(const Record* record, const std::string& name)
{
    Record copy = {};
    std::memcpy(&copy, record, SizeOf(record, name));
    return copy;
}

/// Writes as much of `value` as a record of the checked `size` has, and that size.
template <typename Record>
void WriteRecord(void* place, std::uint32_t size, Record value)
{
    value.size = size;
    std::memcpy(place, &value, size);
}

} // namespace narvo::library
