// SPDX-License-Identifier: MIT
// Functions that glibc 2.35 and 2.36 brought, or brought a new version of, by what older ones have, so that a wheel
// also loads on systems with glibc 2.34. The linker sends every call here (--wrap).
#include <cstdint>
#include <cstdlib>

#include <sys/random.h>

#if defined(__x86_64__)
#define NARVO_FIRST_GLIBC "GLIBC_2.2.5"
#elif defined(__aarch64__)
#define NARVO_FIRST_GLIBC "GLIBC_2.17"
#endif

extern "C"
{
    double FirstHypot(double x, double y);
    float FirstHypotFloat(float x, float y);
    __asm__(".symver FirstHypot, hypot@" NARVO_FIRST_GLIBC);
    __asm__(".symver FirstHypotFloat, hypotf@" NARVO_FIRST_GLIBC);

    double __wrap_hypot(double x, double y)
    {
        return FirstHypot(x, y);
    }

    float __wrap_hypotf(float x, float y)
    {
        return FirstHypotFloat(x, y);
    }

    /// Called by std::random_device of the static libstdc++.
    std::uint32_t __wrap_arc4random()
    {
        std::uint32_t value = 0;
        if (getrandom(&value, sizeof value, 0) != sizeof value)
            std::abort();
        return value;
    }
}
