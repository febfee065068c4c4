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
    {1000, 0xfa984e171f117077, 0x9ef6d85589642cbd, 0x9ef6d85589642cbd},
    {2000, 0x42fd396b9bc6d0d0, 0xcdd417e126cc452a, 0x540b8c8dba8e5b33},
    {20000, 0xc5892465111b9eff, 0x77a438f441a4de48, 0xbde7f0a80affabb7},
    {200000, 0xd165f9c207bed13a, 0x0049a893e19af64a, 0x2556e26ef26b5d1c},
    {2000000, 0x4ff48754199c7506, 0xd70cad6ec67f1a22, 0x796fe5cef6b11080},
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
