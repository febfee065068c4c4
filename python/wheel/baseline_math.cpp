// SPDX-License-Identifier: MIT
// The C library's functions that got a new version in glibc 2.35, by their first version, so that a wheel also loads on
// systems with glibc 2.34. The linker sends every call here (--wrap).

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
}
