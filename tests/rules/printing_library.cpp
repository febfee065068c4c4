// SPDX-License-Identifier: MIT
// A library that prints: the check of the shared library's imports must refuse it.
#include <cstdio>

__attribute__((visibility("default"))) void Print()
{
    std::puts("printed");
}
