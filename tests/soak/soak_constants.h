// The checksums that every build on every processor must give. They move when the maker of cases moves, or when a
// result of the library does: the second is a change of the interface.
#pragma once

#include <cstdint>

namespace narvo::test
{

struct CSoakConstant
{
    std::uint64_t nCases;     ///< cases 0 .. nCases - 1
    std::uint64_t nPlain;     ///< those that the band split leaves alone
    std::uint64_t nOpenSplit; ///< the others, with the split
    std::uint64_t nOpenWhole; ///< the others, without
};

inline constexpr CSoakConstant aSoakConstants[] = {
    {1000, 0x6be3f18f5eb777d8, 0x2dab34dd49be255c, 0x2dab34dd49be255c},
    {2000, 0xe11e9acd8d0815d0, 0x5c887468e7263dc9, 0xe2bfe9157ae853d2},
    {20000, 0x76c137f39a0c55c1, 0xd6f258fc68e3c354, 0x1d3610b0323e90c3},
};

/// The constant for that many cases; null where there is none.
inline const CSoakConstant* FindSoakConstant(std::uint64_t nCases)
{
    for (const CSoakConstant& constant : aSoakConstants)
        if (constant.nCases == nCases)
            return &constant;
    return nullptr;
}

} // namespace narvo::test
