// SPDX-License-Identifier: MIT
// What the tables of the kernel families share: a row for each kernel, and rows that say which settings select it, and
// which further ones it reads. The tables are zone_table.h, pixel_table.h and float_table.h; from them come the code
// that runs a kernel by its name, the choice of an inspection, the guard of its reads, the check of recipes, the names
// that explanations print and the tables of docs/kernels.md.
#pragma once

#include <cstddef>
#include <span>

#include "narvoassem/convparam.h"
#include "narvoassem/fast/find/find_row.h"

namespace narvo::engine
{

/// A setting of a parameter block that selects a kernel, or that a kernel reads.
enum class KernelOption
{
    ConvPitches,  ///< pConvPitchTable
    ScanPitches,  ///< pScanPitchTable
    Extended,     ///< bExtendedKernel
    CrossShift,   ///< fVtdPitch
    NoLineBuffer, ///< bUseLineBuffer 0
    TwoSegment,   ///< bTwoSegmentThreshold and pThresholdKneeMap
    Flagged,      ///< bZoneFlagged
    Average,      ///< bAverage2by2
    ZoneTables,   ///< pTspTable
    SecondSet,    ///< nBlackFilterGray above 0
    ClassPitch,   ///< dClassPitch
    ClassIds,     ///< pClassIdMap
    DeadZones,    ///< rtDeadZone
    Twice,        ///< bTwice
    NoSingles,    ///< bKeepSingle 0
    Window6,      ///< window of 6 pixels
    Window9,      ///< window of neither 4 nor 6 pixels
    LargerWindow  ///< either of these
};

/// A set of options.
class COptionSet
{
public:
    constexpr COptionSet() = default;
    // NOLINTNEXTLINE(google-explicit-constructor): an option is a set of one
    constexpr COptionSet(KernelOption eOption) : m_nBits(1U << static_cast<unsigned>(eOption)) {}

    constexpr bool IsEmpty() const { return m_nBits == 0; }
    constexpr bool Has(KernelOption eOption) const { return !(*this & eOption).IsEmpty(); }
    constexpr bool HasAll(COptionSet other) const { return (*this & other) == other; }
    constexpr COptionSet Without(COptionSet other) const { return COptionSet(m_nBits & ~other.m_nBits); }

    friend constexpr COptionSet operator|(COptionSet a, COptionSet b) { return COptionSet(a.m_nBits | b.m_nBits); }
    friend constexpr COptionSet operator&(COptionSet a, COptionSet b) { return COptionSet(a.m_nBits & b.m_nBits); }
    friend constexpr bool operator==(COptionSet a, COptionSet b) = default;

private:
    explicit constexpr COptionSet(unsigned nBits) : m_nBits(nBits) {}

    unsigned m_nBits = 0;
};

constexpr COptionSet operator|(KernelOption eOne, KernelOption eOther)
{
    return COptionSet(eOne) | COptionSet(eOther);
}

/// The options that are set in a block.
COptionSet GetKernelOptions(const CConvParam& param);

/// Where a kernel's public name is declared.
enum class KernelHome
{
    Fast,     ///< free function of fastkernels.h
    Wide,     ///< free function of widekernels.h
    Engine,   ///< public member of CNarvoAssem
    Protected ///< protected member of CNarvoAssem
};

/// A kernel.
template <class TKernel, class TTraits>
struct CKernelRow
{
    TKernel eKernel;
    const char* pName; ///< public
    KernelHome eHome;
    const char* pWords; ///< for people
    TTraits traits;
    bool bChosen = true; ///< false: no inspection selects it, only hosts call it
};

/// What a selection runs.
enum class ChoicePath
{
    Kernel,  ///< its kernel
    FreeForm ///< the inspection of a free-form region in place of a kernel
};

/// A selection of a kernel. The rows of one comparison and direction are tried in order; the first whose needs are all
/// set is taken.
template <class TKernel>
struct CKernelChoice
{
    COptionSet needs;
    TKernel eKernel;
    COptionSet reads;      ///< further options that it reads
    const char* pWords;    ///< what distinguishes the selection from the others
    COptionSet stops = {}; ///< with one of these it runs nothing at all
    ChoicePath ePath = ChoicePath::Kernel;

    constexpr bool Uses(KernelOption eOption) const { return (needs | reads).Has(eOption); }
    /// Two passes at two pitches.
    constexpr bool IsTwice() const { return needs.Has(KernelOption::Twice); }
    constexpr bool Runs(COptionSet options) const { return (options & stops).IsEmpty(); }
};

/// The first row whose needs are all set; the last one has none.
template <class TKernel>
constexpr const CKernelChoice<TKernel>& SelectKernel(std::span<const CKernelChoice<TKernel>> choices,
                                                     COptionSet options)
{
    const CKernelChoice<TKernel>* pChoice = choices.data();
    while (!options.HasAll(pChoice->needs))
        ++pChoice;
    return *pChoice;
}

/// Whether the selections take every kernel of a table except those with bChosen false, and whether each list of
/// selections ends with a row without needs.
template <class TRows, class... TChoices>
constexpr bool AreKernelsChosen(const TRows& rows, const TChoices&... choices)
{
    const auto takes = [](const auto& selection, auto eKernel)
    {
        for (const auto& choice : selection)
            if (choice.eKernel == eKernel && choice.ePath == ChoicePath::Kernel)
                return true;
        return false;
    };
    for (const auto& row : rows)
        if ((takes(choices, row.eKernel) || ...) != row.bChosen)
            return false;
    return (choices.back().needs.IsEmpty() && ...);
}

/// The variant of the finder that reads its reference between four pixels and is the same otherwise.
constexpr FindVariant ToBilinear(FindVariant eVariant)
{
    for (const CFindTraits& traits : findVariants)
        if (traits.eReference == FindReference::Bilinear && traits.eThreshold == GetFindTraits(eVariant).eThreshold)
            return traits.eVariant;
    return FindVariant::Count;
}

/// The options of a kernel where its reference is shifted along x by a fraction of a pixel.
template <class TTraits>
constexpr TTraits WithFraction(TTraits traits)
{
    if (traits.bFraction)
        traits.scan.eFind = ToBilinear(traits.scan.eFind);
    return traits;
}

} // namespace narvo::engine
