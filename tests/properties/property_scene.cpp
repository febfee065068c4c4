// SPDX-License-Identifier: MIT
// See property_scene.h.
#include "properties/property_scene.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <sstream>

#include "support/seeds.h"

namespace narvo::test
{

namespace
{

CRect Grown(const CRect& rt, int nX, int nY)
{
    return {rt.left - nX, rt.top - nY, rt.right + nX, rt.bottom + nY};
}

/// A number of the table entry for block nBlock of 16 rows or columns of the picture: 0, 1 or 2.
int TableDraw(std::uint64_t nSalt, int nBlock)
{
    return static_cast<int>(CRandom(nSalt + static_cast<std::uint64_t>(static_cast<std::int64_t>(nBlock))).Next() % 3);
}

/// A map as the library reads it: one cell, repeated over every place that the library reads.
class CMap
{
public:
    CMap(const std::vector<short>& aCell, int nCellWidth, int nCellHeight, int nWidth, int nHeight)
        : m_nStride(nWidth + 2 * nMargin * nCellWidth),
          m_nCorner(nMargin * nCellHeight * m_nStride + nMargin * nCellWidth)
    {
        const int nRows = nHeight + 2 * nMargin * nCellHeight;
        m_aValues.reserve(static_cast<std::size_t>(m_nStride) * static_cast<std::size_t>(nRows));
        for (int y = 0; y < nRows; ++y)
            for (int x = 0; x < m_nStride; ++x)
                m_aValues.push_back(
                    aCell[static_cast<std::size_t>(y % nCellHeight) * static_cast<std::size_t>(nCellWidth) +
                          static_cast<std::size_t>(x % nCellWidth)]);
    }
    short* Corner() { return m_aValues.data() + m_nCorner; }
    int Stride() const { return m_nStride; }

private:
    static constexpr int nMargin = 2; ///< cells on every side

    int m_nStride;
    int m_nCorner;
    std::vector<short> m_aValues;
};

/// Everything that a parameter block points at, for one run.
class CHostBlock
{
public:
    explicit CHostBlock(const CPropertyScene& scene);
    CConvParam param;

private:
    void SpoilBeyond(const CRect& rtKept, const CRect& rtImage);
    void SetMaps(const CPropertyScene& scene);
    void SetGrid(const CPropertyScene& scene);
    void SetTables(const CPropertyScene& scene);

    std::vector<unsigned char> m_aImage;
    std::vector<CMap> m_aMaps;
    std::vector<int> m_aGrid;
    std::vector<int> m_aPitchTable;
    std::vector<unsigned short> m_aDisplacement;
    std::vector<short> m_aNear, m_aFar;
    int m_aFilterOffset[16], m_aFilterGain[16], m_aZoneTable[16], m_aZoneTableGain[16];
};

CHostBlock::CHostBlock(const CPropertyScene& scene) : param(scene.param), m_aImage(scene.picture.Render(scene.rtImage))
{
    if (scene.bNoiseBeyondReach)
        SpoilBeyond(Grown(scene.param.rtInspect, scene.Reach(), scene.Reach()), scene.rtImage);
    const int nX = -scene.rtImage.left;
    const int nY = -scene.rtImage.top;
    param.pImage = m_aImage.data();
    param.nImageWidth = scene.rtImage.Width();
    param.nImageHeight = scene.rtImage.Height();
    param.rtInspect.OffsetRect(nX, nY);
    param.rtMarginFrame.OffsetRect(nX, nY);
    param.trapInspect.OffsetPlus(nX, nY);
    for (CRect& rtZone : param.rtDeadZone)
        if (!rtZone.IsRectEmpty())
            rtZone.OffsetRect(nX, nY);
    if (scene.bFilterTables)
    {
        std::copy(std::begin(scene.aFilterOffset), std::end(scene.aFilterOffset), m_aFilterOffset);
        std::copy(std::begin(scene.aFilterGain), std::end(scene.aFilterGain), m_aFilterGain);
        param.pFilterOffset = param.pFilterOffset1 = m_aFilterOffset;
        param.pFilterGain = param.pFilterGain1 = m_aFilterGain;
    }
    if (scene.path.IsZone())
    {
        SetMaps(scene);
        SetGrid(scene);
    }
    if (scene.path.bTable)
        SetTables(scene);
}

/// Noise in place of the picture outside rtKept.
void CHostBlock::SpoilBeyond(const CRect& rtKept, const CRect& rtImage)
{
    CRandom random(1);
    auto pPixel = m_aImage.begin();
    for (int y = rtImage.top; y < rtImage.bottom; ++y)
        for (int x = rtImage.left; x < rtImage.right; ++x, ++pPixel)
            if (!rtKept.PtInRect(CPoint(x, y)))
                *pPixel = static_cast<unsigned char>(random.Next());
}

void CHostBlock::SetMaps(const CPropertyScene& scene)
{
    const auto Map = [&](const std::vector<short>& aCell)
    {
        m_aMaps.emplace_back(aCell, scene.nCellWidth, scene.nCellHeight, scene.param.rtInspect.Width(),
                             scene.param.rtInspect.Height());
        return m_aMaps.back().Corner();
    };
    m_aMaps.reserve(6);
    param.pThresholdOffsetMap = Map(scene.aOffset);
    param.pThresholdGainMap = Map(scene.aGain);
    param.pZoneIndexMap = Map(scene.aZone);
    param.nZoneMapStride = m_aMaps.front().Stride();
    if (scene.path.bKnee)
    {
        param.bTwoSegmentThreshold = 1;
        param.pThresholdKneeMap = Map(scene.aKnee);
        param.pThresholdOffsetMap2 = Map(scene.aOffset2);
        param.pThresholdGainMap2 = Map(scene.aGain2);
    }
    if (scene.path.bZoneTables)
    {
        std::copy(std::begin(scene.aZoneTable), std::end(scene.aZoneTable), m_aZoneTable);
        std::copy(std::begin(scene.aZoneTableGain), std::end(scene.aZoneTableGain), m_aZoneTableGain);
        param.pTspTable = m_aZoneTable;
        param.pTspTable2 = m_aZoneTableGain;
    }
}

/// The grid begins one row above the cell in which the region begins, since comparisons along y skip one row, and
/// extends beyond the region as far as the walks' last steps do.
void CHostBlock::SetGrid(const CPropertyScene& scene)
{
    constexpr int nSpare = 4;
    const int nColumns = scene.param.rtInspect.Width() / scene.nCellWidth + nSpare;
    const int nRows = scene.param.rtInspect.Height() / scene.nCellHeight + nSpare;
    CRandom skip(scene.nTableSalt);
    for (int nRow = -1; nRow < nRows; ++nRow)
        for (int nColumn = 0; nColumn < nColumns; ++nColumn)
        {
            m_aGrid.push_back(scene.ptCell.x - scene.rtImage.left + nColumn * scene.nCellWidth);
            m_aGrid.push_back(scene.ptCell.y - scene.rtImage.top + nRow * scene.nCellHeight);
            if (scene.path.bFlagged)
                m_aGrid.push_back(scene.bSkipCells && skip.OneIn(4) ? 1 : 0);
        }
    param.nZoneColumns = nColumns;
    param.pZoneOriginTable = m_aGrid.data() + (scene.path.IsVertical() ? 0 : 2 * nColumns);
}

void CHostBlock::SetTables(const CPropertyScene& scene)
{
    const bool bTrapezium = scene.path.eMode == PropertyMode::Trapezium;
    const bool bRound = bTrapezium || scene.path.IsFloat();
    const int nPitch16 = static_cast<int>(scene.RealPitch() * 16.0 + (bRound ? 0.5 : 0.0));
    const auto Entry = [&](int nBlock)
    { return nPitch16 + (scene.nTableSalt == 0 ? 0 : TableDraw(scene.nTableSalt, nBlock) - 1); };
    // Tables count blocks of 16 from the image's corner, which is a multiple of 16 in the picture.
    const int nFirstColumn = scene.rtImage.left / 16;
    const int nFirstRow = scene.rtImage.top / 16;
    if (bTrapezium || scene.path.IsVertical())
    {
        const bool bPerRow = bTrapezium ? !scene.path.IsVertical() : true;
        const int nSize = bPerRow ? param.nImageHeight : param.nImageWidth;
        for (int i = 0; i < nSize / 16 + 4; ++i)
            m_aPitchTable.push_back(Entry((bPerRow ? nFirstRow : nFirstColumn) + i));
        (bTrapezium && !scene.path.IsVertical() ? param.pTiltConvTable : param.pScanPitchTable) = m_aPitchTable.data();
        return;
    }
    for (int i = 0; i < param.nImageWidth / 16 + 4; ++i)
    {
        const int nEntry = Entry(nFirstColumn + i);
        m_aDisplacement.insert(m_aDisplacement.end(), 16, static_cast<unsigned short>(nEntry / 16));
        m_aNear.insert(m_aNear.end(), 16, static_cast<short>(16 - nEntry % 16));
        m_aFar.insert(m_aFar.end(), 16, static_cast<short>(nEntry % 16));
    }
    param.pConvPitchTable = m_aDisplacement.data();
    param.pConvWeightNear = m_aNear.data();
    param.pConvWeightFar = m_aFar.data();
}

/// A place at or below nPlace that is a multiple of 16.
int Down16(int nPlace)
{
    return nPlace & ~15;
}

} // namespace

CPropertyScene::CPropertyScene(const CPropertyPath& path_, std::uint64_t nSeed, const CSceneOptions& options)
    : path(path_), m_nSeed(nSeed)
{
    CRandom random(nSeed);
    ChooseGeometry(random, options);
    ChooseThresholds(random, options);
    ChooseFilters(random, options);
    if (path.IsZone())
        ChooseZones(random, options);
    ChooseTrapezium(random);
    ChooseDefects(random, options);
    picture.Shuffle(random);
}

void CPropertyScene::ChooseGeometry(CRandom& random, const CSceneOptions& options)
{
    param.nDirection = path.nDirection;
    param.nConvWidth = path.nWindowWidth;
    param.nConvHeight = path.nWindowHeight;
    param.nConvMultiple = random.OneIn(3) ? 2 : 1;
    param.nScanMultiple = random.OneIn(3) ? 2 : 1;
    const auto Pitch = [&](int nMultiple, bool bCompared)
    {
        // Every compare distance is a whole number of 16ths, so that none is rounded.
        const int nFraction = options.bWholePitch                   ? 0
                              : bCompared && options.nFraction >= 0 ? options.nFraction
                                                                    : random.Int(0, 15);
        return (random.Int(9, 17) + nFraction / 16.0) / nMultiple;
    };
    param.dConvPitch = Pitch(param.nConvMultiple, !path.IsVertical());
    param.dScanPitch = Pitch(param.nScanMultiple, path.IsVertical());
    param.dTwicePitch = random.Int(1, 2) * (path.IsVertical() ? param.dScanPitch : param.dConvPitch);
    if (path.bSideways)
        param.fVtdPitch = static_cast<float>(random.Int(1, 15) + (path.IsFloat() ? 16 * random.Int(0, 2) : 0)) / 16.0F;
    if (path.bClassPitch)
        param.dClassPitch = 1.0;

    const auto Side = [&](double dPitch) { return static_cast<int>(options.nPitches * dPitch) + random.Int(8, 60); };
    const int nWidth = Side(param.GetRealConvPitch());
    const int nHeight = Side(param.GetRealScanPitch());
    const int nLeft = 512 + random.Int(0, 40);
    const int nTop = 512 + random.Int(0, 40);
    param.rtInspect = CRect(nLeft, nTop, nLeft + nWidth, nTop + nHeight);
    // The filters assume rows of a multiple of 4 pixels, so they would read other widths askew.
    rtImage = CRect(Down16(nLeft - Reach()), Down16(nTop - Reach()), Down16(nLeft + nWidth + Reach()) + 16,
                    nTop + nHeight + Reach());

    picture.dPitchX = param.dConvPitch;
    picture.dPitchY = param.dScanPitch;
    picture.nStep = options.nStep;
    picture.nBase = random.Int(1, std::min(40, 250 - options.nStep));
    picture.nTop = std::max(1, std::min(200, 250 - picture.nBase) / options.nStep);
    picture.dAmplitude = options.bFlat ? 0.0 : random.Int(0, 2 * picture.nTop) / 8.0;
    picture.nNoise = options.nNoise >= 0 ? options.nNoise : random.Pick({0, 0, 1, 3});
    if (options.bFlat || options.nStep > 8)
        picture.nNoise = 0;
    if (path.bTable && !options.bSteadyTables)
        nTableSalt = random.Next() | 1;
}

void CPropertyScene::ChooseThresholds(CRandom& random, const CSceneOptions& options)
{
    const int nArea = path.nWindowWidth * path.nWindowHeight;
    const int nGain = options.bNoGain || options.bEvenHanded ? 0 : random.Pick({0, 10, 30});
    param.nThreshold = random.Int(4, 40) * (path.IsWindowed() && !path.bMean ? nArea : 1);
    param.nThresholdGain = nGain;
    param.nThresholdExtra = random.Pick({0, 0, 3});
    param.nGrayLimit = options.bNoGrayLimit ? 255 : random.Pick({255, 255, 230, 160});
    param.bKeepSingle = random.OneIn(3) ? 0 : 1;
    param.nMultiType = random.Int(-1, 7);
    if (path.bDarkSet && !options.bEvenHanded)
    {
        param.nBlackFilterGray = random.Int(3, 40);
        param.nBlackFilterGain = nGain;
    }
    if (path.bTwice)
    {
        param.bTwice = 1;
        param.nTwiceThreshold = random.Int(4, 40);
        param.nTwiceThresholdGain = nGain;
    }
    param.bExtendedKernel = path.bExtended ? 1 : 0;
    param.bUseLineBuffer = path.bDirect ? 0 : 1;
    param.bAverage2by2 = path.bMean ? 1 : 0;
    param.bZoneFlagged = path.bFlagged ? 1 : 0;

    switch (path.eMode)
    {
    case PropertyMode::Pixel:
    case PropertyMode::AsgPixel:
        param.nInspectMode = 1;
        break;
    case PropertyMode::Zone:
    case PropertyMode::AsgZone:
        param.nInspectMode = random.Int(0, 1);
        break;
    case PropertyMode::Binarise:
        param.nInspectMode = 2;
        param.nThreshold = picture.nBase + picture.nStep * random.Int(1, std::max(1, picture.nTop / 3));
        break;
    case PropertyMode::Average:
        param.nInspectMode = 3;
        // Only odd windows have the size that their sums are divided by.
        param.nAverageParam2 = random.Pick({1, 3, 5});
        param.nAverageParam1 = param.nAverageParam2 * random.Pick({3, 5});
        param.nThreshold = random.Int(2, 25);
        param.nBlackFilterGray = options.bEvenHanded ? -param.nThreshold : -random.Int(2, 25);
        break;
    default:
        param.nInspectMode = 0;
        break;
    }
}

void CPropertyScene::ChooseFilters(CRandom& random, const CSceneOptions& options)
{
    param.bFalseFilter = options.bFilters && !random.OneIn(3) ? 1 : 0;
    param.bMarginFilter = random.Int(0, 1);
    param.nFilterMode = random.Int(0, 1);
    param.nFilterMode2 = random.Int(0, 1);
    param.nMergeDivision = random.Int(0, 6);
    param.dPixelSizeX = random.Pick({0.0, 1.0, 2.5});
    param.dPixelSizeY = random.Pick({0.0, 1.0, 3.0});
    // Without a frame the margin filters use the image's sides.
    param.rtMarginFrame = Grown(param.rtInspect, random.Pick({0, 3, 8}), random.Pick({0, 3, 8}));
    bFilterTables = random.OneIn(3);
    for (int nZone = 0; nZone < 16; ++nZone)
    {
        aFilterOffset[nZone] = random.Int(0, 25);
        aFilterGain[nZone] = options.bNoGain || options.bEvenHanded ? 0 : random.Int(0, 20);
        const bool bLimits = !options.bNoGain && !options.bEvenHanded && random.OneIn(8);
        param.nDarkGrayLimit[nZone] = bLimits ? random.Int(40, 250) : 0;
        param.nBrightMinDiff[nZone] = !options.bEvenHanded && random.OneIn(8) ? random.Int(5, 40) : 0;
    }
    if (options.bDeadZones && random.OneIn(2))
        for (int i = random.Int(1, 3); i >= 0; --i)
        {
            const int nLeft = random.Int(param.rtInspect.left, param.rtInspect.right);
            const int nTop = random.Int(param.rtInspect.top, param.rtInspect.bottom);
            param.rtDeadZone[i] = CRect(nLeft, nTop, nLeft + random.Int(1, 20), nTop + random.Int(1, 20));
        }
}

void CPropertyScene::ChooseZones(CRandom& random, const CSceneOptions& options)
{
    nCellWidth = static_cast<int>(param.GetZoneConvPitch());
    nCellHeight = static_cast<int>(param.GetZoneScanPitch());
    ptCell = CPoint(param.rtInspect.left - random.Int(0, nCellWidth - 1),
                    param.rtInspect.top - random.Int(0, nCellHeight - 1));
    const std::size_t nSize = static_cast<std::size_t>(nCellWidth) * static_cast<std::size_t>(nCellHeight);
    const int nThreshold = random.Int(4, 40);
    const int nClosed = 32700; // passes no pixel; with a gain, a higher value would wrap and pass all
    const bool bGain = !options.bNoGain && !options.bEvenHanded;
    for (std::size_t i = 0; i < nSize; ++i)
    {
        aOffset.push_back(static_cast<short>(random.OneIn(40) ? nClosed : nThreshold + random.Int(0, 3)));
        aGain.push_back(static_cast<short>(bGain ? random.Int(0, 20) : 0));
        aZone.push_back(static_cast<short>(random.Int(0, 3)));
        aKnee.push_back(static_cast<short>(random.Int(60, 180)));
        aOffset2.push_back(static_cast<short>(nThreshold + random.Int(0, 8)));
        aGain2.push_back(static_cast<short>(bGain ? random.Int(0, 20) : 0));
    }
    // The knee depends on the grey itself, and so does the dark set.
    if (!bGain)
        aOffset2 = aOffset;
    for (int nZone = 0; nZone < 16; ++nZone)
    {
        aZoneTable[nZone] = random.Int(3, 40);
        aZoneTableGain[nZone] = bGain ? random.Int(0, 20) : 0;
    }
    bSkipCells = random.OneIn(2);
    if (nTableSalt == 0 && path.bFlagged)
        nTableSalt = random.Next() | 1;
}

/// A trapezium inside the region, slanted a little, with its level sides along the compare direction.
void CPropertyScene::ChooseTrapezium(CRandom& random)
{
    const CRect& rt = param.rtInspect;
    CPadPoint(&ptCorner)[4] = param.trapInspect.ptCorner;
    const auto Inset = [&] { return random.Int(0, 6); };
    ptCorner[0] = CPadPoint(rt.left + Inset(), rt.top + Inset());
    ptCorner[1] = CPadPoint(rt.right - Inset(), rt.top + Inset());
    ptCorner[2] = CPadPoint(rt.right - Inset(), rt.bottom - Inset());
    ptCorner[3] = CPadPoint(rt.left + Inset(), rt.bottom - Inset());
    if (path.IsVertical())
    {
        // Corners 0 and 1 are the ends of the left side, 3 and 2 those of the right.
        ptCorner[1] = CPadPoint(ptCorner[0].x, rt.bottom - Inset());
        ptCorner[3] = CPadPoint(rt.right - Inset(), rt.top + Inset());
        ptCorner[2] = CPadPoint(ptCorner[3].x, rt.bottom - Inset());
        return;
    }
    ptCorner[1].y = ptCorner[0].y;
    ptCorner[2].y = ptCorner[3].y;
}

void CPropertyScene::ChooseDefects(CRandom& random, const CSceneOptions& options)
{
    const int nCount = options.nDefects >= 0 ? options.nDefects : random.Pick({1, 4, 12, 40});
    const int nGrow = options.nMargin >= 0 ? -options.nMargin : 6;
    const CRect rtField = Grown(param.rtInspect, nGrow, nGrow);
    for (int i = 0; i < nCount; ++i)
    {
        const int nWidth = random.Int(1, 4);
        const int nHeight = random.Int(1, 4);
        const int nLeft = random.Int(rtField.left, std::max(rtField.left, rtField.right - nWidth));
        const int nTop = random.Int(rtField.top, std::max(rtField.top, rtField.bottom - nHeight));
        const int nSteps = std::max(1, random.Int(10, 120) / picture.nStep);
        picture.aDefects.push_back(
            {CRect(nLeft, nTop, nLeft + nWidth, nTop + nHeight), random.OneIn(2) ? nSteps : -nSteps});
    }
}

int CPropertyScene::Reach() const
{
    double dPitch = std::max(param.GetRealConvPitch(), param.GetRealScanPitch());
    // The second pass of the twice kernels takes the multiples of the first.
    if (path.bTwice)
        dPitch = std::max(dPitch, 2.0 * param.dTwicePitch);
    return static_cast<int>(2.0 * dPitch) + 8;
}

double CPropertyScene::RealPitch() const
{
    return path.IsVertical() ? param.GetRealScanPitch() : param.GetRealConvPitch();
}

void CPropertyScene::EnterGridAtRegion()
{
    if (!path.IsZone())
        return;
    ptCell.x += (param.rtInspect.left - ptCell.x) / nCellWidth * nCellWidth;
    ptCell.y += (param.rtInspect.top - ptCell.y) / nCellHeight * nCellHeight;
}

CPoint CPropertyScene::Middle() const
{
    return {(param.rtInspect.left + param.rtInspect.right) / 2, (param.rtInspect.top + param.rtInspect.bottom) / 2};
}

CPropertyOutcome CPropertyScene::Run(CPropertyPool& pool, int nLane) const
{
    CHostBlock host(*this);
    CAssemControl& control = pool.Control();
    control.GetNarvoAssem(nLane)->ResetReinspectCount();
    int nCode = 0;
    switch (path.eMode)
    {
    case PropertyMode::Trapezium:
        nCode = control.Inspect_Trapezium(nLane, &host.param);
        break;
    case PropertyMode::AsgZone:
    case PropertyMode::AsgPixel:
        nCode = control.Inspect_Rect(nLane, &host.param, 1);
        break;
    default:
        nCode = control.Inspect_Rect(nLane, &host.param, 0);
        break;
    }
    CPropertyOutcome outcome = CPropertyOutcome::Read(
        pool.Lane(nLane), nCode, path.IsVertical() && param.bBandThread != 0 && param.rtInspect.Width() >= 4000);
    outcome.Move(rtImage.left, rtImage.top);
    return outcome;
}

std::string CPropertyScene::Describe() const
{
    std::ostringstream text;
    text << path.pName << ", region " << param.rtInspect.left << ' ' << param.rtInspect.top << ' '
         << param.rtInspect.right << ' ' << param.rtInspect.bottom << ", pitches " << param.GetRealConvPitch() << ' '
         << param.GetRealScanPitch() << ", threshold " << param.nThreshold << '\n'
         << ReplayHint(m_nSeed);
    return text.str();
}

} // namespace narvo::test
