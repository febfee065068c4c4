// SPDX-License-Identifier: MIT
// The checksums that every build on every processor must give. They change with the maker of cases, or with a result
// of the library: the latter is a change of the interface.
#pragma once

#include <cstdint>

#include "soak/soak_run.h"

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
    {1000, 0x2760ee06231a6f8a, 0x9ef6d85589642cbd, 0x9ef6d85589642cbd},
    {2000, 0x6fc5d95a9fcfcfe3, 0xaaca41552585d0d3, 0x540b8c8dba8e5b33},
    {20000, 0xef53a21877c88179, 0xf802479cf16208d8, 0xbde7f0a80affabb7},
    {200000, 0x153e25bf84bf40f2, 0x90018b0f38d87108, 0xb642e67782329426},
    {2000000, 0x80c2ffba13d92d4b, 0xfb8840d4e8b088ee, 0x91dd34a7a21fbde5},
};

/// The same for the cases made for bounds.
inline constexpr CSoakConstant aBoundConstants[] = {
    {2000, 0xf70f090d0aaa5f22, 0, 0},
    {20000, 0xdcb150c4e878d273, 0x19df6b635f6f31cd, 0x19df6b635f6f31cd},
    {200000, 0x8db44956ae52458a, 0x1140a2b605425231, 0x1140a2b605425231},
};

/// And for those made for bounds of window sums.
inline constexpr CSoakConstant aWindowConstants[] = {
    {2000, 0xfb1b10ba72a53491, 0, 0},
    {20000, 0x4d3b1ec5397ab321, 0xa8bab855a226d4e8, 0xa8bab855a226d4e8},
    {200000, 0x129108458c8a5ed0, 0x94265766ecf0ed0c, 0x94265766ecf0ed0c},
};

/// The constant for that many cases; null where there is none.
inline const CSoakConstant* FindSoakConstant(std::uint64_t nCases, CaseKind eKind = CaseKind::General)
{
    const auto find = [nCases](const auto& aConstants) -> const CSoakConstant*
    {
        for (const CSoakConstant& constant : aConstants)
            if (constant.nCases == nCases)
                return &constant;
        return nullptr;
    };
    if (eKind == CaseKind::Windows)
        return find(aWindowConstants);
    return eKind == CaseKind::Bounds ? find(aBoundConstants) : find(aSoakConstants);
}

} // namespace narvo::test
