// SPDX-License-Identifier: MIT
// Filling of a parameter block from a recipe.
#include "host/inspect/inspection_plan.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "host/problem.h"
#include "host/recipe/recipe_check.h"
#include "host/recipe/recipe_rules.h"
#include "host/recipe/region_shape.h"

namespace narvo
{

namespace
{

constexpr int nFraction = 16;        // pitches of tables are in 1/16 pixel
constexpr short nDeadOffset = 32512; // above every difference
constexpr int nNarrowestBand = 1984; // columns: 2000 cut down to a multiple of 64
constexpr int nDeadTable = 255;      // no difference is greater, and the zone tables go no further

CheckedRecipe CheckedForImage(CheckedRecipe recipe, int width, int height)
{
    if (width < 1 || height < 1)
        throw HostError({{"image", "empty", "an image of at least one pixel"}});
    ThrowIfAny(CheckRecipeForImage(recipe, width, height));
    return recipe;
}

std::string SizeText(int width, int height)
{
    return std::to_string(width) + " by " + std::to_string(height) + " pixels";
}

/// Behind zone maps the mode says what the pair filters compare, single pixels or blocks.
int InspectModeOf(const Recipe& recipe)
{
    switch (recipe.GetKind())
    {
    case Kind_Pixel:
        return 1;
    case Kind_Float:
    case Kind_Trapezium:
    case Kind_FreeForm:
        return 0;
    case Kind_Binarise:
        return 2;
    case Kind_Average:
        return 3;
    default:
        return recipe.filterSample == FilterSample_Pixel ? 1 : 0;
    }
}

} // namespace

int TableEntry(const std::vector<double>& table, std::int64_t group)
{
    const auto last = static_cast<std::int64_t>(table.size()) - 1;
    return static_cast<int>(table[static_cast<std::size_t>(std::min(group, last))] * nFraction);
}

InspectionPlan::InspectionPlan(CheckedRecipe checked, int width, int height)
    : m_recipe(CheckedForImage(std::move(checked), width, height)), m_width(width), m_cell(CellOf(m_recipe))
{
    const Recipe& recipe = m_recipe;
    m_param.nImageWidth = RowLengthOf(width);
    m_param.nImageHeight = height;
    m_param.rtInspect = RegionOf(recipe, width, height);
    if (recipe.GetKind() == Kind_Texture || recipe.GetKind() == Kind_Lattice)
        return; // the comparison of its scores or with its reference has a plan of its own
    m_param.rtMarginFrame = recipe.marginFrame.value_or(CRect());
    std::copy(recipe.deadZones.begin(), recipe.deadZones.end(), m_param.rtDeadZone);
    FillScalars(recipe);
    FillThresholds(recipe);
    FillTables(recipe);
    FillShape(recipe);
    if (recipe.GetKind() != Kind_Zone && recipe.GetKind() != Kind_Asg)
        return;

    const bool vertical = ResolveDirection(recipe, m_param.rtInspect) == Direction_Vertical;
    FillZoneTables(recipe);
    if (recipe.maps != nullptr)
    {
        FillRegionMaps(recipe, vertical);
        return;
    }
    m_mapExtent = CellMap::Extent(m_cell);
    // The asg kernels stay in the first cell that they meet across the direction.
    if (recipe.GetKind() == Kind_Asg && vertical)
        m_mapExtent.right += m_param.rtInspect.Width();
    else if (recipe.GetKind() == Kind_Asg)
        m_mapExtent.bottom += m_param.rtInspect.Height();
    FillMaps(recipe);
    m_origins.emplace(m_cell, m_param.rtInspect, recipe.skippedCells);
    m_param.pZoneOriginTable = m_origins->Entry(vertical);
    m_param.nZoneColumns = m_origins->Columns();
}

void InspectionPlan::CheckSize(const GreyView& image) const
{
    if (!Fits(image.Width(), image.Height()))
        throw HostError({{"image", SizeText(image.Width(), image.Height()), SizeText(m_width, m_param.nImageHeight)}});
}

CConvParam InspectionPlan::BlockFor(const GreyView& image) const
{
    CheckSize(image);
    CConvParam block = m_param;
    block.pImage = const_cast<unsigned char*>(image.Row(0));
    return block;
}

void InspectionPlan::FillScalars(const Recipe& recipe)
{
    m_param.nInspectMode = InspectModeOf(recipe);
    m_param.nDirection = recipe.autoDirection ? recipe.direction : ResolveDirection(recipe, m_param.rtInspect);
    m_param.bAutoDirection = recipe.autoDirection;
    // A free-form pass ends at a row, which the search for the column to go on from would misread.
    m_param.nMaxReinspect = recipe.GetKind() == Kind_FreeForm ? 0 : recipe.maxReruns;
    m_param.nMultiType = recipe.label;
    m_param.nConvWidth = recipe.windowWidth;
    m_param.nConvHeight = recipe.windowHeight;
    m_param.dConvPitch = recipe.pitchX;
    m_param.nConvMultiple = recipe.multipleX;
    m_param.dScanPitch = recipe.pitchY;
    m_param.nScanMultiple = recipe.multipleY;
    m_param.nGrayLimit = GreyLimitOf(recipe);
    m_param.bKeepSingle = recipe.keepSingles;
    // The engine's check wants three windows across, of a band too; what it says of a band is not looked at.
    m_param.bBandThread = recipe.bandSplit && 3 * recipe.windowWidth <= nNarrowestBand;
    m_param.nMergeDivision = recipe.mergeDistance;
    // The block pairs its two sizes with the axes crosswise.
    m_param.dPixelSizeY = recipe.pixelSizeX;
    m_param.dPixelSizeX = recipe.pixelSizeY;
    m_param.bExtendedKernel = recipe.extendedKernel;
    m_param.bAverage2by2 = recipe.average2by2;
    m_param.bUseLineBuffer = recipe.lineBuffer;
    m_param.fVtdPitch = static_cast<float>(recipe.crossShift);
    m_param.dClassPitch = recipe.classPitch;
    m_param.bFalseFilter = recipe.filters;
    m_param.bMarginFilter = recipe.marginFilter;
    m_param.nFilterMode = recipe.filterTest == FilterTest_Jump ? 1 : 0;
    m_param.nFilterMode2 = recipe.filterPairs ? 1 : 0;
    m_param.nZoneConvMultiple = recipe.zoneMultipleX;
    m_param.nZoneScanMultiple = recipe.zoneMultipleY;
    m_param.bZoneFlagged = recipe.skippedCells.empty() ? 0 : 1;
}

void InspectionPlan::FillThresholds(const Recipe& recipe)
{
    m_param.nThresholdExtra = recipe.thresholdExtra;
    m_param.nBlackFilterGray = recipe.darkFilterBase;
    m_param.nBlackFilterGain = recipe.darkFilterGain;
    switch (recipe.GetKind())
    {
    case Kind_Pixel:
    case Kind_Float:
    case Kind_FreeForm:
    case Kind_Trapezium:
        m_param.nThreshold = recipe.thresholdBase;
        m_param.nThresholdGain = recipe.thresholdGain;
        break;
    case Kind_Binarise:
        m_param.nThreshold = recipe.binariseLimit;
        break;
    case Kind_Average:
        m_param.nThreshold = recipe.averageBright;
        m_param.nBlackFilterGray = recipe.averageDark;
        m_param.nAverageParam1 = recipe.averageBackground;
        m_param.nAverageParam2 = recipe.averageWindow;
        break;
    default:
        break; // thresholds of the zones
    }
    if (recipe.twicePitch != 0.0)
    {
        m_param.bTwice = 1;
        m_param.dTwicePitch = recipe.twicePitch;
        m_param.nTwiceThreshold = recipe.twiceBase;
        m_param.nTwiceThresholdGain = recipe.twiceGain;
    }
}

void InspectionPlan::FillShape(const Recipe& recipe)
{
    if (recipe.GetKind() == Kind_Trapezium)
        m_trapezia = TrapeziaOf(recipe);
    if (recipe.GetKind() != Kind_FreeForm)
        return;
    m_points = recipe.regionPoints;
    m_mask = MakeMask(m_points, m_param.nImageWidth, m_param.nImageHeight);
    m_param.bZoneFlagged = 1;
    m_param.pFreeFormPoint = m_points.data();
    m_param.nFreeFormPointCount = static_cast<int>(m_points.size());
    m_param.pFreeFormMask = m_mask.data();
}

short* InspectionPlan::AddMap(const Recipe& recipe, const GreyImage& painted, int ZoneSettings::*member)
{
    std::array<short, CConvParam::nZoneLimit> values{};
    const auto valueOf = [&](const ZoneSettings& zone)
    {
        if (zone.dead && (member == &ZoneSettings::offset || member == &ZoneSettings::upperOffset))
            return nDeadOffset;
        if (zone.dead && (member == &ZoneSettings::gain || member == &ZoneSettings::upperGain))
            return short{0};
        return static_cast<short>(zone.*member);
    };
    // Without a painted cell the whole map takes value 0, which stands for the only zone.
    if (painted.IsEmpty())
        values[0] = valueOf(recipe.zones.front());
    else
        for (const ZoneSettings& zone : recipe.zones)
            values[static_cast<std::size_t>(zone.index)] = valueOf(zone);
    return m_maps.emplace_back(m_cell, painted, values, m_mapExtent).Data();
}

void InspectionPlan::FillMaps(const Recipe& recipe)
{
    m_param.pZoneIndexMap = AddMap(recipe, recipe.zoneImage, &ZoneSettings::index);
    m_param.pThresholdOffsetMap = AddMap(recipe, recipe.zoneImage, &ZoneSettings::offset);
    m_param.pThresholdGainMap = AddMap(recipe, recipe.zoneImage, &ZoneSettings::gain);
    if (recipe.twoSegment)
    {
        m_param.bTwoSegmentThreshold = 1;
        m_param.pThresholdKneeMap = AddMap(recipe, recipe.zoneImage, &ZoneSettings::knee);
        m_param.pThresholdOffsetMap2 = AddMap(recipe, recipe.zoneImage, &ZoneSettings::upperOffset);
        m_param.pThresholdGainMap2 = AddMap(recipe, recipe.zoneImage, &ZoneSettings::upperGain);
    }
    if (!recipe.classImage.IsEmpty())
    {
        std::array<short, CConvParam::nZoneLimit> ids{};
        for (std::size_t i = 0; i < ids.size(); ++i)
            ids[i] = static_cast<short>(i);
        m_param.pClassIdMap = m_maps.emplace_back(m_cell, recipe.classImage, ids, m_mapExtent).Data();
    }
    m_param.nZoneMapStride = m_maps.front().Stride();
}

void InspectionPlan::FillRegionMaps(const Recipe& recipe, bool vertical)
{
    m_regionMaps = recipe.maps;
    const auto data = [&](RegionMaps::Map map) { return m_regionMaps->IsSet(map) ? m_regionMaps->Data(map) : nullptr; };
    m_param.pThresholdOffsetMap = data(RegionMaps::Map_Offset);
    m_param.pThresholdGainMap = data(RegionMaps::Map_Gain);
    m_param.pZoneIndexMap = data(RegionMaps::Map_Zone);
    if (recipe.twoSegment)
    {
        m_param.bTwoSegmentThreshold = 1;
        m_param.pThresholdKneeMap = data(RegionMaps::Map_Knee);
        m_param.pThresholdOffsetMap2 = data(RegionMaps::Map_UpperOffset);
        m_param.pThresholdGainMap2 = data(RegionMaps::Map_UpperGain);
    }
    m_param.pClassIdMap = data(RegionMaps::Map_Class);
    m_param.nZoneMapStride = m_regionMaps->Stride();
    m_regionOrigins.emplace(m_param.rtInspect, m_regionMaps->Stride(), vertical);
    m_param.pZoneOriginTable = m_regionOrigins->Entry();
    m_param.nZoneColumns = RegionOrigins::Columns();
    // One cell that no walk comes to the end of.
    m_param.nZoneConvMultiple = static_cast<int>((m_regionMaps->Stride() + 1) / recipe.pitchX) + 1;
    m_param.nZoneScanMultiple = static_cast<int>((m_param.rtInspect.Height() + 2) / recipe.pitchY) + 1;
}

void InspectionPlan::FillTables(const Recipe& recipe)
{
    // One entry more than the image's sixteenths: the kernels count from the region's top and fetch ahead.
    const auto entries = [](int pixels) { return (pixels + nTableGroup - 1) / nTableGroup + 1; };
    const auto fill = [&](const std::vector<double>& source, int pixels, std::vector<int>& target) -> int*
    {
        if (source.empty())
            return nullptr;
        for (int i = 0; i < entries(pixels); ++i)
            target.push_back(TableEntry(source, i));
        return target.data();
    };
    m_param.pScanPitchTable = fill(recipe.scanPitches, m_param.nImageHeight, m_scanPitch);
    m_param.pTiltScanTable = fill(recipe.scanTilts, m_param.nImageHeight, m_scanTilt);
    // The trapezium kernels take their tables in places of their own, the vertical one in that of the scan pitch.
    m_param.pTiltConvTable = fill(recipe.rowPitches, m_param.nImageHeight, m_rowPitch);
    if (int* const columns = fill(recipe.columnPitches, m_param.nImageWidth, m_columnPitch))
        m_param.pScanPitchTable = columns;
    if (recipe.convPitches.empty())
        return;
    if (ResolveDirection(recipe, m_param.rtInspect) == Direction_Vertical)
    {
        // Only the verification reads the table here: an entry for each 16 columns, in 1/16 pixel.
        for (int i = 0; i < entries(m_param.nImageWidth); ++i)
            m_convPitch.push_back(static_cast<unsigned short>(TableEntry(recipe.convPitches, i)));
        m_param.pConvPitchTable = m_convPitch.data();
        return;
    }
    for (int i = 0; i < entries(m_param.nImageWidth); ++i)
    {
        const int fixed = TableEntry(recipe.convPitches, i);
        m_convPitch.insert(m_convPitch.end(), nTableGroup, static_cast<unsigned short>(fixed / nFraction));
        m_convNear.insert(m_convNear.end(), nTableGroup, static_cast<short>(nFraction - fixed % nFraction));
        m_convFar.insert(m_convFar.end(), nTableGroup, static_cast<short>(fixed % nFraction));
    }
    m_param.pConvPitchTable = m_convPitch.data();
    m_param.pConvWeightNear = m_convNear.data();
    m_param.pConvWeightFar = m_convFar.data();
}

/// The engine takes the checks of a zone as a text: the mode, then one digit of direction and two of cycles for each.
void InspectionPlan::FillVerification(const Recipe& recipe)
{
    const bool any = std::any_of(recipe.zones.begin(), recipe.zones.end(),
                                 [](const ZoneSettings& zone) { return zone.verifyMode != VerifyMode_Off; });
    if (!any)
        return;
    m_verify.resize(CConvParam::nZoneLimit);
    for (const ZoneSettings& zone : recipe.zones)
    {
        if (zone.verifyMode == VerifyMode_Off)
            continue;
        std::string text = std::to_string(zone.verifyMode);
        for (const VerifyCheck& check : zone.verifyChecks)
            text +=
                ";" + std::to_string(check.along + 1) + (check.cycles < 10 ? "0" : "") + std::to_string(check.cycles);
        m_verify[static_cast<std::size_t>(zone.index)] = CString(text.c_str());
        // Both are divided by the periods along y before they are used.
        m_param.dVeriPitchConv[zone.index] = zone.verifyPitchX * recipe.multipleY;
        m_param.dVeriPitchScan[zone.index] = zone.verifyPitchY * recipe.multipleY;
    }
    m_param.pVeriPitchString = m_verify.data();
}

void InspectionPlan::FillZoneTables(const Recipe& recipe)
{
    const auto add = [&](int ZoneSettings::*member, int other)
    {
        ZoneTable& table = m_zoneTables.emplace_back();
        table.fill(other);
        for (const ZoneSettings& zone : recipe.zones)
            table[static_cast<std::size_t>(zone.index)] = zone.*member;
        return table.data();
    };
    if (recipe.zoneFilterThresholds)
    {
        m_param.pFilterOffset = add(&ZoneSettings::darkFilterOffset, 0);
        m_param.pFilterGain = add(&ZoneSettings::darkFilterGain, 0);
        m_param.pFilterOffset1 = add(&ZoneSettings::brightFilterOffset, 0);
        m_param.pFilterGain1 = add(&ZoneSettings::brightFilterGain, 0);
    }
    if (recipe.zoneTables)
    {
        // The lowest nonzero offset is the first hurdle of every pixel: zones that are not there must not set it.
        m_param.pTspTable = add(&ZoneSettings::tableOffset, 0);
        m_param.pTspTable2 = add(&ZoneSettings::tableGain, 0);
        for (const ZoneSettings& zone : recipe.zones)
            if (zone.dead)
                m_param.pTspTable[zone.index] = nDeadTable;
    }
    FillVerification(recipe);
    for (const ZoneSettings& zone : recipe.zones)
    {
        m_param.nDarkGrayLimit[zone.index] = zone.darkGreyLimit;
        m_param.nBrightMinDiff[zone.index] = zone.brightMinDifference;
    }
}

} // namespace narvo
