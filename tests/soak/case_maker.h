// SPDX-License-Identifier: MIT
// Makes inspections from draws: image, parameter block, tables, capacities, and the pool's call that runs them. Every
// case keeps the engine's contract (tables cover what they must), so any number of them may run in one process.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "narvoassem/convparam.h"
#include "narvoassem/fast/bound/bound_stage.h"
#include "soak/case_source.h"

namespace narvo::test
{

/// The pool's call that a case makes.
enum class CaseCall
{
    Rect,     ///< Inspect_Rect
    RectAsg,  ///< Inspect_Rect with bASG
    Asg,      ///< Inspect_ASG
    Trapezium ///< Inspect_Trapezium
};

/// What the band split may change.
enum class CaseSplit
{
    None,  ///< no split takes place, with any bBandThread: the region is narrower than 2000 pixels
    Quiet, ///< split or whole, the results are equal: nothing lies near a seam, nothing overflows, no zone grid is
           ///< given
    Open   ///< bands are compared on their own, so results may differ from those of the whole
};

/// One inspection. It refers to memory of its maker.
struct CSoakCase
{
    CConvParam param;
    CaseCall eCall = CaseCall::Rect;
    CaseSplit eSplit = CaseSplit::None;
    int nLane = 0;
    int nPixelSize =
        0; ///< capacities of the lane's stores, and of the sub-engines' stores where a split may take place
    int nPairSize = 0;
    int nBlobSize = 0;
    engine::BoundUse eBound = engine::BoundUse::WherePaid; ///< changes no result
};

/// Blobs that a pool must have been initialised for.
inline constexpr int nCaseBlobLimit = 3000;

/// Elements that are made again for each case.
template <class TElement>
class CCaseArray
{
public:
    /// nCount elements of any value. With bExact they are a heap block of exactly that size, so that a checker sees
    /// the first access beyond it.
    TElement* Take(std::size_t nCount, bool bExact)
    {
        if (bExact)
            m_aElements = std::vector<TElement>(nCount);
        else if (m_aElements.size() < nCount)
            m_aElements.resize(nCount);
        m_nCount = nCount;
        return m_aElements.data();
    }
    TElement* Data() { return m_aElements.data(); }
    std::size_t Count() const { return m_nCount; }

private:
    std::vector<TElement> m_aElements;
    std::size_t m_nCount = 0;
};

class CCaseMaker
{
public:
    enum class Memory
    {
        Kept, ///< memory is kept from case to case
        Exact ///< image and tables are heap blocks of exactly the size that the contract asks for
    };
    enum class Sizes
    {
        All,   ///< wide regions that are split, and crowds of pairs, among the small ones
        Small, ///< images of some hundred pixels a side at the most
        Rows   ///< widths on both sides of the least that the bound of the finder takes
    };

    explicit CCaseMaker(Memory eMemory = Memory::Kept, Sizes eSizes = Sizes::All);

    /// A case from the draws of the source. It lasts until the next call.
    const CSoakCase& Make(CCaseSource& source);

private:
    struct CGrid;

    void MakeCall(CCaseSource& source);
    void MakeImageSize(CCaseSource& source);
    void MakeRegion(CCaseSource& source);
    void MakePitches(CCaseSource& source);
    void MakeThresholds(CCaseSource& source);
    void MakeSwitches(CCaseSource& source);
    void MakeTables(CCaseSource& source);
    void MakeConvTables(CCaseSource& source, int nRealPitch16);
    void MakeMaps(CCaseSource& source);
    void MakeGrid(CCaseSource& source);
    void FillGrid(CCaseSource& source, const CGrid& grid);
    void MakeFilters(CCaseSource& source);
    void MakeZoneFilters(CCaseSource& source);
    void MakeSideModes(CCaseSource& source);
    void MakeTrapezium(CCaseSource& source);
    void MakeMask(CCaseSource& source);
    void MakeCapacities(CCaseSource& source);
    void MakeImage(CCaseSource& source);
    void MakeQuiet(CCaseSource& source);
    void SettleSplit();

    CRect PickRect(CCaseSource& source) const;
    double PickPitch(CCaseSource& source, int nExtent, int nMultiple) const;
    int GetRealPitch16() const;
    bool IsVertical() const { return m_case.param.nDirection != 0; }

    const bool m_bExact;
    const Sizes m_eSizes;
    bool m_bWide = false;  ///< a region that may be split
    bool m_bQuiet = false; ///< and whose seams are quiet
    bool m_bFlood = false; ///< more pairs than a vertical pass turns into blobs
    CSoakCase m_case;
    CCaseArray<std::uint8_t> m_image;
    CCaseArray<std::uint8_t> m_mask;
    CCaseArray<int> m_grid;
    CCaseArray<int> m_scanTable;
    CCaseArray<int> m_tiltScan;
    CCaseArray<int> m_tiltConv;
    CCaseArray<unsigned short> m_convPitch;
    CCaseArray<short> m_weightNear;
    CCaseArray<short> m_weightFar;
    CCaseArray<CPoint> m_polygon;
    /// Filter offsets and gains of both kinds, and the zone table pair.
    std::array<std::array<int, CConvParam::nZoneLimit>, 6> m_aZoneTables{};
};

} // namespace narvo::test
