// SPDX-License-Identifier: MIT
// The handles of the C interface: numbers that are never used twice, behind which objects are looked up. Whatever
// pointer a caller passes is only compared, so null, foreign and freed handles are refused.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>

#include "narvo/host_error.h"

namespace narvo::library
{

/// The number of the next handle, of whatever kind. A 64-bit machine does not run out of them.
std::uintptr_t NextHandle();

/// All objects of one kind. `Handle` is the C interface's incomplete type.
template <typename Handle, typename Object>
class HandleTable
{
public:
    /// `kind` names a handle in problems: "a recipe".
    explicit HandleTable(const char* kind) : m_kind(kind) {}

    /// @throws std::bad_alloc
    Handle* Insert(std::shared_ptr<Object> object)
    {
        const std::uintptr_t number = NextHandle();
        const std::lock_guard lock(m_mutex);
        m_objects.emplace(number, std::move(object));
        return reinterpret_cast<Handle*>(number); // NOLINT(performance-no-int-to-ptr): callers never look behind it
    }

    /// The object stays while the caller holds it, even when the handle is freed. @throws v1::Error without one
    std::shared_ptr<Object> Find(const Handle* handle, const char* name) const
    {
        const std::lock_guard lock(m_mutex);
        const auto found = m_objects.find(reinterpret_cast<std::uintptr_t>(handle));
        if (found == m_objects.end())
            Refuse(handle, name);
        return found->second;
    }

    /// Null is nothing to remove. @throws v1::Error for a handle that is none
    void Remove(const Handle* handle, const char* name)
    {
        if (handle == nullptr)
            return;
        std::shared_ptr<Object> last; // destroyed after the lock is gone
        const std::lock_guard lock(m_mutex);
        const auto found = m_objects.find(reinterpret_cast<std::uintptr_t>(handle));
        if (found == m_objects.end())
            Refuse(handle, name);
        last = std::move(found->second);
        m_objects.erase(found);
    }

private:
    [[noreturn]] void Refuse(const Handle* handle, const char* name) const
    {
        throw v1::Error({{name, handle == nullptr ? "null" : "not a handle of this kind, or freed before", m_kind}});
    }

    const char* m_kind;
    mutable std::mutex m_mutex;
    std::unordered_map<std::uintptr_t, std::shared_ptr<Object>> m_objects;
};

} // namespace narvo::library
