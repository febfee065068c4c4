// SPDX-License-Identifier: MIT
// The formulas of address_formulas.inc over one set of numbers.
#pragma once

#include <algorithm>
#include <cstdint>

namespace narvo::test
{

/// The unknowns, and each condition and formula as an operation on them. 64 bits hold every value for fields of 32.
struct CAddressPlace
{
    std::int64_t width = 0, height = 0, left = 0, top = 0, right = 0, bottom = 0, hasImage = 1;
    std::int64_t pitch = 0, usesTables = 0, hasTables = 0, hasGrid = 0, gridColumns = 0, mapStride = 0;
    std::int64_t cellWidth = 0, cellHeight = 0, corner0X = 0, corner0Y = 0, corner3X = 0, corner3Y = 0;
    std::int64_t corner1 = 0, corner2 = 0, otherExtent = 0, freeRows = 0, x = 0, y = 0, count = 0;
    std::int64_t bytes = 0, rowStart = 0, column = 0, gridRow = 0, gridColumn = 0, columnStart = 0, rowDepth = 0;
    std::int64_t originX = 0, originY = 0;

    template <class... TTerm>
    static bool And(TTerm... bTerm)
    {
        return (... && bTerm);
    }
    template <class... TTerm>
    static bool Or(TTerm... bTerm)
    {
        return (... || bTerm);
    }
    static std::int64_t Div16(std::int64_t n) { return n >> 4; }
    static std::int64_t Quot16(std::int64_t n) { return n / 16; }
    static std::int64_t Down16(std::int64_t n) { return (n >> 4) * 16; }
    static std::int64_t Down8(std::int64_t n) { return (n >> 3) * 8; }
    static std::int64_t Max(std::int64_t a, std::int64_t b) { return std::max(a, b); }
    static std::int64_t Clamp(std::int64_t n, std::int64_t nLow, std::int64_t nHigh)
    {
        return n < nLow ? nLow : n > nHigh ? nHigh : n;
    }

#define CONDITION(name, ...)                                                                                           \
    bool name() const                                                                                                  \
    {                                                                                                                  \
        return __VA_ARGS__;                                                                                            \
    }
#define TERM(name, ...) CONDITION(name, __VA_ARGS__)
#define FORMULA(name, ...)                                                                                             \
    std::int64_t name() const                                                                                          \
    {                                                                                                                  \
        return __VA_ARGS__;                                                                                            \
    }
#define FORMULA1(name, argument, ...)                                                                                  \
    static std::int64_t name(std::int64_t argument)                                                                    \
    {                                                                                                                  \
        return __VA_ARGS__;                                                                                            \
    }
#include "proof/address_formulas.inc"
#undef CONDITION
#undef TERM
#undef FORMULA
#undef FORMULA1
};

} // namespace narvo::test
