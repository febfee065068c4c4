// One object per thread that is there for as long as the thread runs code: also in destructors of static and
// thread-local objects and in functions left to atexit, where an ordinary thread_local object may be gone already.
#pragma once

#include <cxxabi.h>
#include <new>

/// What the C++ runtime knows this library or program by, so that it is not unloaded under a registered function.
extern "C" __attribute__((visibility("hidden"))) void* __dso_handle; // NOLINT(bugprone-reserved-identifier)

namespace narvo::engine
{

/// The calling thread's TObject. It is made at the first use and ends with the thread. A use after that makes it anew:
/// in a thread's last destructors it ends with them, and behind them, on the way out of the process, it stays.
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
    // The runtime's own way to have something done at a thread's end. Unlike the declaration of a thread_local object
    // it can be taken a second time.
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
