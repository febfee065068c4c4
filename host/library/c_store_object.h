// SPDX-License-Identifier: MIT
// A store behind its handle, and the records of its images, for all calls of the C interface that take them.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "host/library/c_call.h"
#include "narvo/host_store.h"
#include "narvo/narvo_c.h"

namespace narvo::library
{

struct StoreObject
{
    explicit StoreObject(v1::ResultStore opened) : store(std::move(opened)) {}

    std::mutex mutex;
    v1::ResultStore store;
    std::vector<v1::StoredRun> runs; ///< whose texts the caller reads
};

/// Calls `use` with the store, which other threads wait for. @throws v1::Error for a handle that is none
template <typename Use>
auto WithStore(narvo_store* store, const Use& use)
{
    const std::shared_ptr<StoreObject> object = StoreHandles().Find(store, "store");
    const std::lock_guard lock(object->mutex);
    return use(*object);
}

/// The same as a whole call.
template <typename Use>
std::int32_t OnStore(narvo_store* store, const Use& use)
{
    return Guarded([&] { WithStore(store, use); });
}

/// What the record, whose name in problems is given, says of an image. @throws v1::Error with what is wrong with it
v1::StoredImage StoredImageOf(const narvo_stored_image* place, const std::string& name);

} // namespace narvo::library
