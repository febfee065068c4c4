// SPDX-License-Identifier: MIT
// One object per thread that exists for as long as the thread runs code: also in destructors of static and thread-local
// objects and in functions registered with atexit, where an ordinary thread_local object may be gone already.
#pragma once

#include <cxxabi.h>
#include <new>

/// Identifies this library or program to the C++ runtime, so that it is not unloaded before a registered function ran.
extern "C" __attribute__((visibility("hidden"))) void* __dso_handle; // NOLINT(bugprone-reserved-identifier)

namespace narvo::engine
{

/// The calling thread's TObject. It is made at the first use and ends with the thread. A later use creates it
/// again: in a thread's last destructors it ends with them; after them, while the process exits, it stays.
template <class TObject>
class CThreadMemory
{
public:
    static TObject& Get()
    {
        if (!m_bAlive)
            Begin();
        return *std::launder(reinterpret_cast<TObject*>(m_storage));
    }

private:
    // The runtime's own registration of work at a thread's end. Unlike the declaration of a thread_local object it
    // can be repeated.
    static void Begin()
    {
        ::new (static_cast<void*>(m_storage)) TObject;
        m_bAlive = true;
        abi::__cxa_thread_atexit(&End, nullptr, &__dso_handle);
    }
    static void End(void* /*unused*/)
    {
        Get().~TObject();
        m_bAlive = false;
    }

    alignas(TObject) static inline thread_local unsigned char m_storage[sizeof(TObject)] = {};
    static inline thread_local bool m_bAlive = false;
};

} // namespace narvo::engine
