// A random inspection of a law's picture on one path: picture, region, parameter block, maps, grid and tables. All of
// it lies in the coordinates of the picture until it runs, so that a law can move or change one thing and run again.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "laws/law_outcome.h"
#include "laws/law_paths.h"
#include "laws/law_world.h"
#include "narvoassem/narvoassem.h"
#include "support/random.h"

namespace narvo::test
{

/// What a law asks of its scenes beyond chance.
struct CLawWishes
{
    bool bNoGain = false;       ///< no threshold depends on the grey
    bool bEvenHanded = false;   ///< no threshold, limit or filter tells dark from bright
    bool bWholePitch = false;   ///< compare distances of whole pixels
    bool bFilters = true;       ///< pair filters, chosen at random; otherwise as few as there can be
    bool bSteadyTables = false; ///< pitch tables that hold the compare distance everywhere
    bool bNoGrayLimit = false;  ///< no grey is limited
    int nStep = 1;              ///< grey levels are this far apart
    int nPitches = 3;           ///< at least so many compare distances along either axis
    int nFraction = -1;         ///< 16ths of a pixel in the distance compared; below 0 any
    int nNoise = -1;            ///< steps of noise either way; below 0 a random number
    bool bFlat = false;         ///< no pattern and no noise
    int nDefects = -1;          ///< so many defects; below 0 a random number
    int nMargin = -1;           ///< defects keep this far from the region's edge; below 0 they may cross it
    bool bDeadZones = true;     ///< dead zones, at random
};

/// One lane with its sub-engines.
class CLawPool
{
public:
    explicit CLawPool(int nLanes = 1, int nDefectSize = 4000) { m_control.InitAssemControl(nLanes, nDefectSize); }
    CAssemControl& Control() { return m_control; }
    CNarvoAssem& Lane(int nLane = 0) { return *m_control.GetNarvoAssem(nLane); }

private:
    CAssemControl m_control;
};

class CLawScene
{
public:
    /// The scene of a seed on a path.
    CLawScene(const CLawPath& path, std::uint64_t nSeed, const CLawWishes& wishes = {});

    /// Inspects on the given lane. The outcome is in the picture's coordinates.
    CLawOutcome Run(CLawPool& pool, int nLane = 0) const;

    /// Whole pixels that an inspection may read beyond the region on any side.
    int Reach() const;
    /// The compare distance along the compared axis, pixels.
    double RealPitch() const;
    /// Moves ptCell by whole cells to the one in which the region's corner lies: for regions that were changed.
    void EnterGridAtRegion();
    /// The region's middle.
    CPoint Middle() const;
    /// What a failing case prints.
    std::string Describe() const;

    CLawPath path;
    CLawWorld world;
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
    void ChooseGeometry(CRandom& random, const CLawWishes& wishes);
    void ChooseThresholds(CRandom& random, const CLawWishes& wishes);
    void ChooseFilters(CRandom& random, const CLawWishes& wishes);
    void ChooseZones(CRandom& random, const CLawWishes& wishes);
    void ChooseTrapezium(CRandom& random);
    void ChooseDefects(CRandom& random, const CLawWishes& wishes);

    std::uint64_t m_nSeed;
};

} // namespace narvo::test
