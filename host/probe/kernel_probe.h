// SPDX-License-Identifier: MIT
// What a kernel finds at single pixels, by the kernel's own scalar code and its own pairing: for pages that show or
// explain a result. It runs no inspection.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "narvoassem/convparam.h"
#include "narvoassem/defectpair.h"

namespace narvo
{

/// The comparison of one pixel with the value one compare distance on. Values are in the kernel's units, limited to
/// the grey limit.
struct ProbedPixel
{
    CPoint place;
    bool compared = false; ///< false: outside the kernel's scan, nothing else is set
    bool skipped = false;  ///< in a skipped cell or outside the mask: nothing is a hit
    int source = 0;
    int reference = 0;
    int threshold = 0;
    int thresholdBase = -1; ///< zone and pixel kernels: the set that applied; -1 where it is not told
    int thresholdGain = 0;  ///< in 1/256 of the larger value
    bool hit = false;
    bool bright = false; ///< the source is the brighter
    int zone = 0;
    bool inCell = false; ///< the kernel has zone cells: the two fields below
    CPoint cellOrigin;   ///< image pixels
    CPoint cellPlace;    ///< place within the cell
    int pitch16 = 0;     ///< distance of the comparison, 1/16 pixel

    int Difference() const { return source - reference; }
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
struct ChainLink
{
    ProbedPixel pixel;
    HitFate fate = HitFate::NoHit;
    DefectPos band = DefectPos_None;
    int record = -1; ///< index of the record that this hit's turn wrote
};

struct ProbedChain
{
    std::vector<ChainLink> links;     ///< from the region's start to its end
    int asked = -1;                   ///< the link of the asked pixel; -1 where the scan does not cover it
    std::vector<CDefectPair> records; ///< as the kernel writes them
};

/// A kernel as a parameter block selects it. The block's image, tables and maps must outlive the probe.
class KernelProbe
{
public:
    /// Modes zone, pixel and float over rectangles, and asg. The block is one that the engine accepts, with a direction
    /// that is settled. @throws HostError when the block asks for no such kernel
    KernelProbe(const CConvParam& param, bool asg);
    ~KernelProbe();

    /// The kernel's name in words.
    const std::string& Name() const { return m_name; }
    bool Horizontal() const { return m_horizontal; }
    /// Units of source, reference and threshold in one grey level.
    int Units() const;
    /// Distance at which partners are sought: the compare distance rounded, pixels.
    int Hop() const;
    /// Places below are in the first band, places above in the last one, along the compare direction.
    int FirstBandEnd() const;
    int LastBandStart() const;

    bool Covers(int x, int y) const;
    /// The comparison at a pixel.
    ProbedPixel Compare(int x, int y) const;
    /// Source and reference alone, which is quicker: threshold, hit, zone and cell mean nothing.
    ProbedPixel CompareValues(int x, int y) const;
    /// The comparisons of all pixels in one chain with (x, y), and what the pairing makes of them.
    ProbedChain Pair(int x, int y) const;

    class Backend;

private:
    std::string m_name;
    std::unique_ptr<Backend> m_backend;
    bool m_horizontal;
};

} // namespace narvo
