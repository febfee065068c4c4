// SPDX-License-Identifier: MIT
// A random inspection of a picture on one path: picture, region, parameter block, maps, grid and tables. All are in
// the picture's coordinates until it runs, so that a test can move or change one of them and run again.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "narvoassem/narvoassem.h"
#include "properties/periodic_picture.h"
#include "properties/property_outcome.h"
#include "properties/property_paths.h"
#include "support/random.h"

namespace narvo::test
{

/// What a test requires of its random scenes.
struct CSceneOptions
{
    bool bNoGain = false;       ///< no threshold depends on the grey
    bool bEvenHanded = false;   ///< no threshold, limit or filter distinguishes dark from bright
    bool bWholePitch = false;   ///< compare distances of whole pixels
    bool bFilters = true;       ///< pair filters, chosen at random; otherwise as few as possible
    bool bSteadyTables = false; ///< pitch tables that hold the compare distance everywhere
    bool bNoGrayLimit = false;  ///< no grey limit
    int nStep = 1;              ///< grey levels are this far apart
    int nPitches = 3;           ///< size of the region in compare distances, at least, along either axis
    int nFraction = -1;         ///< 16ths of a pixel in the distance compared; below 0 any
    int nNoise = -1;            ///< steps of noise either way; below 0 random
    bool bFlat = false;         ///< no pattern and no noise
    int nDefects = -1;          ///< number of defects; below 0 random
    int nMargin = -1;           ///< defects keep this far from the region's edge; below 0 they may cross it
    bool bDeadZones = true;     ///< dead zones, at random
};

/// One lane with its sub-engines.
class CPropertyPool
{
public:
    explicit CPropertyPool(int nLanes = 1, int nDefectSize = 4000) { m_control.InitAssemControl(nLanes, nDefectSize); }
    CAssemControl& Control() { return m_control; }
    CNarvoAssem& Lane(int nLane = 0) { return *m_control.GetNarvoAssem(nLane); }

private:
    CAssemControl m_control;
};

class CPropertyScene
{
public:
    /// The scene of a seed on a path.
    CPropertyScene(const CPropertyPath& path, std::uint64_t nSeed, const CSceneOptions& options = {});

    /// Inspects on the given lane. The outcome is in the picture's coordinates.
    CPropertyOutcome Run(CPropertyPool& pool, int nLane = 0) const;

    /// Whole pixels that an inspection may read beyond the region on any side.
    int Reach() const;
    /// The compare distance along the compared axis, pixels.
    double RealPitch() const;
    /// Moves ptCell by whole cells to the one that contains the region's corner: for regions that were changed.
    void EnterGridAtRegion();
    /// The region's middle.
    CPoint Middle() const;
    /// What a failing case prints.
    std::string Describe() const;

    CPropertyPath path;
    CPeriodicPicture picture;
    CRect rtImage; ///< the window that becomes the image; its corner is a multiple of 16
    /// Pointers are empty and regions are in the picture's coordinates; Run makes the host's block of it.
    CConvParam param;
    CPoint ptCell;      ///< corner of the zone cell in which the region's corner lies
    int nCellWidth = 0; ///< whole pixels from zone cell to zone cell
    int nCellHeight = 0;
    std::vector<short> aOffset, aGain, aZone, aKnee, aOffset2, aGain2; ///< one cell, row by row
    bool bFilterTables = false;
    int aFilterOffset[16] = {};
    int aFilterGain[16] = {};
    int aZoneTable[16] = {};
    int aZoneTableGain[16] = {};
    std::uint64_t nTableSalt = 0;   ///< 0: tables hold the compare distance everywhere
    bool bNoiseBeyondReach = false; ///< pixels further from the region than Reach are noise
    bool bSkipCells = false;        ///< flagged paths: some cells are not inspected

private:
    void ChooseGeometry(CRandom& random, const CSceneOptions& options);
    void ChooseThresholds(CRandom& random, const CSceneOptions& options);
    void ChooseFilters(CRandom& random, const CSceneOptions& options);
    void ChooseZones(CRandom& random, const CSceneOptions& options);
    void ChooseTrapezium(CRandom& random);
    void ChooseDefects(CRandom& random, const CSceneOptions& options);

    std::uint64_t m_nSeed;
};

} // namespace narvo::test
