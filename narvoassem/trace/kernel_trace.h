// SPDX-License-Identifier: MIT
// What a kernel finds at single pixels and how it pairs them, by its own plain comparison and its own pairing. It runs
// no inspection.
#pragma once

#include <memory>
#include <vector>

#include "narvoassem/convparam.h"
#include "narvoassem/defectpair.h"
#include "narvoassem/pairstorage.h"

namespace narvo::engine
{

/// The comparison of one pixel with the value one compare distance on. Values are in the kernel's units, limited to
/// the grey limit.
struct CPixelTrace
{
    CPoint ptPlace;
    bool bCompared = false; ///< false: outside the kernel's scan, nothing else is set
    bool bSkipped = false;  ///< in a skipped cell or outside the mask: nothing is a hit
    int nSrc = 0;
    int nCmp = 0;
    int nThreshold = 0;
    int nThresholdBase = -1; ///< zone and pixel kernels: the set that applied; -1 where it was not asked for
    int nThresholdGain = 0;  ///< in 1/256 of the larger value
    bool bHit = false;
    bool bBright = false; ///< the source is the brighter
    int nZone = 0;
    bool bInCell = false; ///< the kernel has zone cells: the two fields below
    CPoint ptCell;        ///< origin of the cell, image pixels
    CPoint ptInCell;      ///< place within the cell
    int nPitch16 = 0;     ///< distance of the comparison, 1/16 pixel

    int Difference() const { return nSrc - nCmp; }
};

/// What the pairing did with a hit.
enum class HitFate
{
    NoHit,
    Consumed,      ///< the second hit of a pair
    Paired,        ///< first hit of a pair, whose record stands at the second
    PairRefused,   ///< has a partner, but the kernel refused the record: dead zone or second threshold
    Single,        ///< stands alone; in the last band one compare distance on, mirrored
    SingleRefused, ///< would stand alone, but the kernel refused the record: dead zone or second threshold
    SingleUnkept,  ///< would stand alone, but singles are not kept, or it is too weak for one
    Blocked,       ///< the hit one compare distance on has the same polarity or is consumed
    NoPartner      ///< in the middle band, and nothing one compare distance on
};

/// A pixel of a chain: the pixels one compare distance apart in which partners are sought.
struct CChainLink
{
    CPixelTrace pixel;
    HitFate eFate = HitFate::NoHit;
    DefectPos ePos = DefectPos_None; ///< its band
};

struct CChainTrace
{
    std::vector<CChainLink> links;    ///< from the region's start to its end
    int nAsked = -1;                  ///< the link of the asked pixel; -1 where the scan does not cover it
    std::vector<CDefectPair> records; ///< as the kernel writes them
};

/// What does not depend on the pixel.
struct CKernelProperties
{
    const char* pWords = nullptr; ///< the kernel's name for people
    bool bHorizontal = false;
    bool bLastBandFirst = false; ///< where bands overlap
    int nUnits = 1;              ///< of source, reference and threshold in one grey level
    // Along the compare direction, pixels:
    int nHop = 0;       ///< distance at which partners are sought: the compare distance rounded
    int nFirstEnd = 0;  ///< places below are in the first band
    int nLastStart = 0; ///< places above are in the last one
};

/// A kernel as a parameter block selects it. The block's image, tables and maps must outlive the trace. Any thread may
/// ask, one at a time. Without memory its operations throw std::bad_alloc.
class CKernelTrace
{
public:
    virtual ~CKernelTrace() = default;
    CKernelTrace(const CKernelTrace&) = delete;
    CKernelTrace& operator=(const CKernelTrace&) = delete;

    const CKernelProperties& Properties() const { return m_properties; }
    /// Whether the kernel's scan compares the pixel.
    virtual bool Covers(int x, int y) const = 0;
    /// The comparison at a pixel. Without `bZones` it is quicker, and threshold, hit, zone and cell mean nothing.
    virtual CPixelTrace Compare(int x, int y, bool bZones = true) const = 0;
    /// The comparisons of all pixels in one chain with (x, y), and what the pairing makes of them.
    virtual CChainTrace Pair(int x, int y) const = 0;

protected:
    explicit CKernelTrace(const CConvParam& param);

    /// The chain of (x, y) without its pairing.
    CChainTrace MakeChain(int x, int y) const;

    CKernelProperties m_properties;
    mutable CPairStorage m_store; ///< of a call that is never run: the hits and records of a chain
    mutable int m_nEndLine = 0;
};

/// The kernel of a rectangle inspection in mode zone, pixel or float, or with bAsg of an ASG inspection. The block is
/// one that the engine accepts, with a direction that is settled. @return null where it selects no such kernel
std::unique_ptr<const CKernelTrace> TraceKernel(const CConvParam& param, bool bAsg);

} // namespace narvo::engine
