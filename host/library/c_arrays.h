// SPDX-License-Identifier: MIT
// Arrays of records that callers of the C interface hand over.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/library/c_records.h"
#include "narvo/host_images.h"
#include "narvo/host_progress.h"
#include "narvo/host_setting.h"
#include "narvo/narvo_c.h"

namespace narvo::library
{

/// No caller has more; larger counts are mistakes whose records would be read from anywhere.
constexpr std::int64_t nArrayLimit = 65536;

/// @throws v1::Error, naming the argument `name`, for a count outside of `least` .. `most`
inline void CheckCount(std::int64_t count, std::int64_t least, std::int64_t most, const std::string& name)
{
    if (count < least || count > most)
        throw v1::Error({{name, std::to_string(count), std::to_string(least) + " to " + std::to_string(most)}});
}

/// Calls `take` with the address of each of `count` records and its name. @throws v1::Error for records of different
/// sizes, or null with a count of 1 or more
template <typename Record, typename Take>
void ReadArray(const Record* records, std::int64_t count, const std::string& name, const Take& take)
{
    if (count == 0)
        return;
    const std::uint32_t size = SizeOf(records, name);
    const auto* place = reinterpret_cast<const std::byte*>(records);
    for (std::int64_t i = 0; i < count; ++i, place += size)
    {
        const auto* record = reinterpret_cast<const Record*>(place);
        const std::string own = name + '[' + std::to_string(i) + ']';
        if (SizeOf(record, own) != size)
            throw v1::Error({{own + ".size", std::to_string(record->size), std::to_string(size) + " as of the first"}});
        take(record, own);
    }
}

/// Good images that are learnt from, or planted in, at most.
constexpr std::int64_t nGoodLimit = 1000;

/// Good pictures with the names that the caller gives them. @throws v1::Error for handles that are none, null, or a
/// count, which has the name `countName`, outside of 1 .. nGoodLimit
std::vector<v1::NamedPicture> NamedPictures(const narvo_picture* const* good, const char* const* names,
                                            std::int64_t count, const std::string& countName);

/// Settings by their names. @throws v1::Error as the others
v1::Settings SettingsOf(const narvo_setting* settings, std::int64_t count);

/// The caller's function as a function; null is none.
v1::OnProgress ProgressOf(narvo_on_progress progress, void* context);

} // namespace narvo::library
