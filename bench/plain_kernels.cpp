// SPDX-License-Identifier: MIT
// See plain_kernels.h. Compiled for SSE4.1 on x86.
#include "bench/plain_kernels.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "bench/eight_words.h"

namespace bench
{

namespace
{

/// What distinguishes a kernel from the plain vertical one.
struct SPlainOptions
{
    bool bMean2by2 = false;    ///< samples are means of 2 by 2 pixels
    bool bDirect = false;      ///< reads the image, not the strip buffer
    bool bBilinear = false;    ///< reference shifted across
    bool bRowTable = false;    ///< pitch per 16 rows from a table
    bool bColumnTable = false; ///< displacement and weights per 16 columns from tables
    bool bFlagged = false;     ///< origin records have a skip field
    bool bKnee = false;        ///< two-segment threshold, no grey limit
    bool bZoneTables = false;  ///< threshold by zone, judged while pairing
    bool bDarkAgain = false;   ///< dark records are judged again while pairing
    bool bMember = false;      ///< dead zones, no peak
    bool bOneRowMore = false;
    bool bAnySingle = false; ///< singles of any peak
    bool bClassId = false;
    bool bFlat = false;    ///< one base and one gain for all pixels, no cells
    bool bTwoSets = false; ///< hits exceed the smaller of two sets, each record that of its polarity
};

constexpr int nGroup = 8;
constexpr int nStrip = 16;

/// A grid cell as the walk reads it.
struct SCell
{
    std::int64_t x0;
    std::int64_t y0;
    bool bSkip;
};

SCell ReadCell(const char* pRecord, bool bFlagged)
{
    int fields[3] = {0, 0, 0};
    std::memcpy(fields, pRecord, bFlagged ? 12 : 8);
    return {fields[0], fields[1], fields[2] != 0};
}

int ReadSkip(const char* pRecord)
{
    int nSkip = 0;
    std::memcpy(&nSkip, pRecord + 8, 4);
    return nSkip;
}

/// (near * weight16 + far * weight) >> 4 on 16-bit lanes.
Words Blend(Words near, Words nearWeight, Words far, Words farWeight)
{
    return ShiftRightUnsigned<4>(AddWords(MulWords(near, nearWeight), MulWords(far, farWeight)));
}

/// Lanes of one compared group, as stored at a hit.
struct SGroup
{
    Words a, b, threshold, difference, magnitude;
    int nMask; ///< two bits per lane
};

SGroup Judge(Words a, Words b, Words threshold)
{
    SGroup group;
    group.a = a;
    group.b = b;
    group.threshold = threshold;
    group.difference = SubSaturated(a, b);
    group.magnitude = AbsWords(group.difference);
    group.nMask = MaskBits(IsGreater(group.magnitude, threshold));
    return group;
}

constexpr short nNoZones[nGroup] = {};

/// One threshold set in all lanes.
struct SFlatThreshold
{
    Words base, gain;

    explicit SFlatThreshold(const SThresholdSet& set) : base(SetAll(set.nBase)), gain(SetAll(set.nGain)) {}
    Words Of(Words larger) const { return AddWords(ShiftRightUnsigned<8>(MulWords(larger, gain)), base); }
};

Words MapThreshold(Words larger, const short* pGain, const short* pOffset)
{
    return AddWords(ShiftRightUnsigned<8>(MulWords(larger, LoadWords(pGain))), LoadWords(pOffset));
}

struct SLaneValues
{
    alignas(16) short a[nGroup], b[nGroup], threshold[nGroup], difference[nGroup], magnitude[nGroup];

    explicit SLaneValues(const SGroup& group)
    {
        StoreWords(a, group.a);
        StoreWords(b, group.b);
        StoreWords(threshold, group.threshold);
        StoreWords(difference, group.difference);
        StoreWords(magnitude, group.magnitude);
    }
};

/// Stores the hits of a group after the nHits held. @return the new count
template <bool bPeak, bool bPlace>
std::size_t StoreHits(const SGroup& group, std::int64_t x, std::int64_t y, const short* pZones, SHitBuffers& hits,
                      std::size_t nHits, std::vector<std::ptrdiff_t>* pPlaces, std::ptrdiff_t nPlace)
{
    const SLaneValues lanes(group);
    for (int nLane = 0; nLane < nGroup; ++nLane)
        if ((group.nMask & (1 << (2 * nLane))) != 0)
        {
            hits.x[nHits] = static_cast<int>(x) + nLane;
            hits.y[nHits] = static_cast<int>(y);
            hits.src[nHits] = lanes.a[nLane];
            hits.cmp[nHits] = lanes.b[nLane];
            hits.zone[nHits] = pZones[nLane];
            hits.threshold[nHits] = lanes.threshold[nLane];
            hits.type[nHits] = lanes.difference[nLane] >= 1 ? 1 : 0;
            if constexpr (bPeak)
                hits.peak[nHits] = static_cast<short>(lanes.magnitude[nLane] - lanes.threshold[nLane]);
            if constexpr (bPlace)
                (*pPlaces)[nHits] = nPlace + nLane;
            ++nHits;
        }
    return nHits;
}

template <SPlainOptions tOptions>
int PlainStrips(SKernelCall& call)
{
    constexpr bool bMapThreshold = !tOptions.bZoneTables && !tOptions.bFlat;
    CScene& scene = *call.pScene;
    SHitBuffers& hits = *call.pHits;
    const std::uint8_t* const pImage = scene.pixels.data();
    const std::int64_t nStride = scene.nWidth;
    const std::int64_t nLeft = 0;
    const std::int64_t nTop = 0;
    const std::int64_t nRight = scene.nWidth;
    const std::int64_t nBottom = scene.nHeight;
    const std::int64_t nPitch16 = static_cast<std::int64_t>(dScanPeriod * 16.0);
    const std::int64_t nHop = (nPitch16 >> 4) + ((nPitch16 & 15) >= 8 ? 1 : 0);
    const std::int64_t nBase = nPitch16 >> 4;
    std::int64_t nWhole = nBase;
    std::int64_t nFraction = nPitch16 & 15;
    constexpr std::int64_t nShort = tOptions.bMean2by2 || tOptions.bFlagged || tOptions.bOneRowMore ? 1 : 2;
    const std::int64_t nRowEnd = nBottom - nShort - nBase;
    const std::int64_t nBandFirst = nTop + nBase;
    const std::int64_t nBandLast = nBottom - nShort - 2 * nBase;
    const std::int64_t nStripEnd = nLeft + ((nRight - nLeft) & ~std::int64_t{15});
    const std::int64_t nShift = call.nVtdPitch16 & 15;

    const std::int64_t nRecordBytes = tOptions.bFlagged ? 12 : 8;
    const std::int64_t nRowBytes = scene.nColumns * nRecordBytes;
    const char* pColumn = reinterpret_cast<const char*>(scene.Origins(true, tOptions.bFlagged)) + nRowBytes;
    const char* pRecord = pColumn;
    SCell first = ReadCell(pColumn, tOptions.bFlagged);
    std::int64_t nCellRight = first.x0 + scene.nCellWidth;
    std::ptrdiff_t nFirstPlace = (nTop - first.y0) * scene.nMapStride + (nLeft - first.x0);

    const CConvParam& param = call.pEngine->ConvParam;
    int nZoneLow = 256;
    if constexpr (tOptions.bZoneTables)
        for (int i = 0; i < 16; ++i)
            if (param.pTspTable[i] != 0 && param.pTspTable[i] < nZoneLow)
                nZoneLow = param.pTspTable[i];

    std::vector<std::ptrdiff_t> places(tOptions.bClassId ? hits.x.size() : 0);
    const SFlatThreshold flat(flatFirst);
    const SFlatThreshold flatDark(flatSecond);
    const Words limit = SetAll(call.nGrayLimit);
    const Words shiftFar = SetAll(nShift);
    const Words shiftNear = SetAll(16 - nShift);
    short* const pBuffer = call.pStripBuffer->data();
    CDefectPair* const pPairs = call.pPairs->data();
    const auto nPairSize = static_cast<int>(call.pPairs->size());
    int nPairs = 0;

    for (std::int64_t x = nLeft; x < nStripEnd; x += nStrip)
    {
        if constexpr (!tOptions.bDirect)
        {
            const std::int64_t nLastRow = nShort == 1 ? nBottom : nBottom - 1;
            for (std::int64_t y = nTop; y <= nLastRow; ++y)
                for (int nHalf = 0; nHalf < nStrip; nHalf += nGroup)
                {
                    const std::uint8_t* pRow = pImage + y * nStride + x + nHalf;
                    Words value = WidenBytes(pRow);
                    if constexpr (tOptions.bMean2by2)
                        value = ShiftRightUnsigned<2>(
                            AddWords(AddWords(value, WidenBytes(pRow + 1)),
                                     AddWords(WidenBytes(pRow + nStride), WidenBytes(pRow + nStride + 1))));
                    StoreWords(pBuffer + (y - nTop) * nStrip + nHalf, value);
                }
        }
        if (!tOptions.bFlat && x >= nCellRight)
        {
            pColumn += nRecordBytes;
            pRecord = pColumn;
            first = ReadCell(pColumn, tOptions.bFlagged);
            nCellRight = first.x0 + scene.nCellWidth;
            if (first.x0 + 2 * scene.nCellWidth >= nStripEnd)
                nCellRight = first.x0 + 2 * scene.nCellWidth;
            if constexpr (tOptions.bFlagged)
                if (ReadSkip(pColumn + nRecordBytes) == 1)
                    nCellRight = first.x0 + scene.nCellWidth - nStrip;
            nFirstPlace = (nTop - first.y0) * scene.nMapStride + (x - first.x0);
        }
        std::int64_t nCellBottom = first.y0 + scene.nCellHeight;
        std::ptrdiff_t nPlace = nFirstPlace;
        bool bSkip = first.bSkip;
        std::size_t nHits = 0;
        bool bFull = false;

        for (std::int64_t y = nTop; y < nRowEnd && !bFull; ++y, nPlace += scene.nMapStride)
        {
            if (!tOptions.bFlat && y >= nCellBottom)
            {
                pRecord += nRowBytes;
                const SCell cell = ReadCell(pRecord, tOptions.bFlagged);
                bSkip = cell.bSkip;
                nCellBottom = cell.y0 + scene.nCellHeight;
                if (cell.y0 + 2 * scene.nCellHeight >= nBottom - 1)
                    nCellBottom = cell.y0 + 2 * scene.nCellHeight;
                nPlace = (y - cell.y0) * scene.nMapStride + (x - cell.x0);
            }
            if constexpr (tOptions.bRowTable)
                if ((y - nTop) % 16 == 0)
                {
                    const int nTablePitch =
                        scene.scanPitchTable[static_cast<std::size_t>((nTop >> 4) + (y - nTop) / 16)];
                    nWhole = nTablePitch >> 4;
                    nFraction = nTablePitch & 15;
                }
            if (tOptions.bFlagged && bSkip)
                continue;
            const Words farWeight = SetAll(nFraction);
            const Words nearWeight = SetAll(16 - nFraction);
            for (int nHalf = 0; nHalf < nStrip; nHalf += nGroup)
            {
                Words source;
                Words near;
                Words far;
                if constexpr (tOptions.bDirect)
                {
                    const std::uint8_t* pRow = pImage + y * nStride + x + nHalf;
                    const std::uint8_t* pFar = pRow + nWhole * nStride;
                    source = WidenBytes(pRow);
                    near = WidenBytes(pFar);
                    far = WidenBytes(pFar + nStride);
                    if constexpr (tOptions.bBilinear)
                    {
                        near = Blend(near, shiftNear, WidenBytes(pFar + 1), shiftFar);
                        far = Blend(far, shiftNear, WidenBytes(pFar + nStride + 1), shiftFar);
                    }
                }
                else
                {
                    const short* pRow = pBuffer + (y - nTop) * nStrip + nHalf;
                    source = LoadWords(pRow);
                    near = LoadWords(pRow + nWhole * nStrip);
                    far = LoadWords(pRow + (nWhole + 1) * nStrip);
                }
                const Words reference = Blend(near, nearWeight, far, farWeight);
                const std::ptrdiff_t nAt = nPlace + nHalf;
                Words a = source;
                Words b = reference;
                Words threshold;
                if constexpr (tOptions.bKnee)
                {
                    const Words larger = MaxSigned(a, b);
                    const Words upper = IsGreater(larger, LoadWords(scene.kneeMap.data() + nAt));
                    const Words thresholdLow =
                        MapThreshold(larger, scene.gainMap.data() + nAt, scene.offsetMap.data() + nAt);
                    const Words thresholdHigh =
                        MapThreshold(larger, scene.gainMap2.data() + nAt, scene.offsetMap2.data() + nAt);
                    threshold = Select(upper, thresholdHigh, thresholdLow);
                }
                else
                {
                    a = MinUnsigned(a, limit);
                    b = MinUnsigned(b, limit);
                    if constexpr (tOptions.bFlat)
                    {
                        const Words larger = MaxUnsigned(a, b);
                        threshold = flat.Of(larger);
                        if constexpr (tOptions.bTwoSets)
                            threshold = MinSigned(threshold, flatDark.Of(larger));
                    }
                    else if constexpr (bMapThreshold)
                        threshold =
                            MapThreshold(MaxUnsigned(a, b), scene.gainMap.data() + nAt, scene.offsetMap.data() + nAt);
                    else
                        threshold = SetAll(nZoneLow);
                }
                const SGroup group = Judge(a, b, threshold);
                if (group.nMask != 0)
                    nHits = StoreHits<!tOptions.bMember, tOptions.bClassId>(
                        group, x + nHalf, y, tOptions.bFlat ? nNoZones : scene.zoneMap.data() + nAt, hits, nHits,
                        &places, nAt);
                if (nHits >= static_cast<std::size_t>(hits.nSize))
                {
                    bFull = true;
                    break;
                }
            }
        }

        for (std::size_t i = 0; i < nHits; ++i)
        {
            if (nPairs >= nPairSize)
            {
                call.nEndLine = static_cast<int>(x + nStrip);
                return nPairs;
            }
            if (hits.type[i] >= 3)
                continue;
            const int px = hits.x[i];
            const int py = hits.y[i];
            // Writes the record, from hit nFrom at (px, nY), unless one of the later tests refuses it.
            const auto write = [&](int nPos, int nPair, std::size_t nFrom, int nY, bool bMirror)
            {
                CDefectPair& pair = pPairs[nPairs];
                const int nSrc = bMirror ? hits.cmp[nFrom] : hits.src[nFrom];
                const int nCmp = bMirror ? hits.src[nFrom] : hits.cmp[nFrom];
                int nThreshold = hits.threshold[nFrom];
                if constexpr (tOptions.bZoneTables)
                {
                    nThreshold = ((std::max(nSrc, nCmp) * param.pTspTable2[hits.zone[nFrom]]) >> 8) +
                                 param.pTspTable[hits.zone[nFrom]];
                    if (std::abs(nSrc - nCmp) <= nThreshold)
                        return false;
                }
                if constexpr (tOptions.bDarkAgain)
                    if (nSrc < nCmp)
                    {
                        nThreshold = nCmp * param.nBlackFilterGain / 256 + param.nBlackFilterGray;
                        if (std::abs(nSrc - nCmp) <= nThreshold)
                            return false;
                        hits.threshold[nFrom] = nThreshold;
                    }
                if constexpr (tOptions.bTwoSets)
                {
                    const SThresholdSet& set = nSrc <= nCmp ? flatSecond : flatFirst;
                    nThreshold = std::max(nSrc, nCmp) * set.nGain / 256 + set.nBase;
                    if (std::abs(nSrc - nCmp) <= nThreshold)
                        return false;
                }
                pair.nDefectPos = nPos;
                pair.nDefectPair = nPair;
                pair.nDefectType = bMirror ? (hits.type[nFrom] + 1) & 1 : hits.type[nFrom];
                if constexpr (!tOptions.bMember)
                    pair.nPeak = hits.peak[nFrom];
                pair.ptDefect = CPoint(px, nY);
                pair.nSrcGray = nSrc;
                pair.nCmpGray = nCmp;
                pair.nZoneIndex = hits.zone[nFrom];
                pair.nThreshold = nThreshold;
                if constexpr (tOptions.bClassId)
                    pair.nSubZone = scene.classMap.data()[places[nFrom]] & 15;
                ++nPairs;
                return true;
            };
            const bool bSingle = tOptions.bMember || tOptions.bAnySingle || hits.peak[i] > call.nThresholdExtra;
            if (py > nBandLast)
            {
                if (bSingle)
                    write(3, 5, i, py + static_cast<int>(nHop), true);
                continue;
            }
            const std::int64_t nWanted = py + nHop;
            std::size_t j = i + 1;
            while (j < nHits && (hits.y[j] < nWanted || (hits.y[j] == nWanted && hits.x[j] != px)))
                ++j;
            const bool bFound = j < nHits && hits.y[j] == nWanted;
            const int nPos = py >= nBandFirst ? 2 : 1;
            if (bFound)
            {
                if (hits.type[j] < 3 && hits.type[j] != hits.type[i] &&
                    write(nPos, 1, j, static_cast<int>(nWanted), false))
                    hits.type[j] = 4;
            }
            else if (nPos == 1 && bSingle)
                write(1, 5, i, py, false);
        }
        // The walk down begins one grid row above the first used one in the next strip of this column.
        pRecord = pColumn - nRowBytes;
        nFirstPlace += nStrip;
    }
    call.nEndLine = static_cast<int>(nStripEnd) + nStrip;
    return nPairs;
}

/// The horizontal kernels: rows outside, 16 columns at a time inside, no strip buffer.
template <SPlainOptions tOptions>
int PlainRows(SKernelCall& call)
{
    CScene& scene = *call.pScene;
    SHitBuffers& hits = *call.pHits;
    const std::int64_t nPitch16 = static_cast<std::int64_t>(dConvPeriod * 16.0);
    const std::int64_t nWhole = nPitch16 >> 4;
    const std::int64_t nHop = nWhole + ((nPitch16 & 15) >= 8 ? 1 : 0);
    const std::int64_t nScanEnd = (scene.nWidth - nWhole) & ~std::int64_t{15};
    const std::int64_t nBandFirst = nWhole;
    const std::int64_t nBandLast = nScanEnd - nWhole;
    const std::int64_t nRowBytes = scene.nColumns * 8;
    const char* pRow = reinterpret_cast<const char*>(scene.Origins(false, false));
    SCell first = ReadCell(pRow, false);
    std::int64_t nCellBottom = first.y0 + scene.nCellHeight;

    const SFlatThreshold flat(flatFirst);
    const Words limit = SetAll(call.nGrayLimit);
    CDefectPair* const pPairs = call.pPairs->data();
    const auto nPairSize = static_cast<int>(call.pPairs->size());
    int nPairs = 0;

    for (std::int64_t y = 0; y < scene.nHeight; ++y)
    {
        if (!tOptions.bFlat && y >= nCellBottom)
        {
            pRow += nRowBytes;
            first = ReadCell(pRow, false);
            nCellBottom = first.y0 + scene.nCellHeight;
            if (first.y0 + 2 * scene.nCellHeight > scene.nHeight)
                nCellBottom = first.y0 + 2 * scene.nCellHeight;
        }
        const char* pRecord = pRow;
        std::int64_t nCellRight = first.x0 + scene.nCellWidth;
        std::ptrdiff_t nPlace = (y - first.y0) * scene.nMapStride - first.x0;
        const std::uint8_t* const pPixels = scene.pixels.data() + y * scene.nWidth;
        std::size_t nHits = 0;
        bool bFull = false;
        for (std::int64_t x = 0; x < nScanEnd && !bFull; x += nStrip)
        {
            if (!tOptions.bFlat && x >= nCellRight)
            {
                pRecord += 8;
                const SCell cell = ReadCell(pRecord, false);
                nCellRight = cell.x0 + scene.nCellWidth;
                if (cell.x0 + 2 * scene.nCellWidth >= nScanEnd)
                    nCellRight = cell.x0 + 2 * scene.nCellWidth;
                nPlace = (y - cell.y0) * scene.nMapStride - cell.x0;
            }
            std::int64_t nReach = nWhole;
            Words nearWeight = SetAll(16 - (nPitch16 & 15));
            Words farWeight = SetAll(nPitch16 & 15);
            if constexpr (tOptions.bColumnTable)
            {
                nReach = scene.convPitchTable[static_cast<std::size_t>(x) & ~std::size_t{15}];
                nearWeight = LoadWords(scene.weightNear.data() + (x >> 4) * 16);
                farWeight = LoadWords(scene.weightFar.data() + (x >> 4) * 16);
            }
            for (int nHalf = 0; nHalf < nStrip; nHalf += nGroup)
            {
                const std::int64_t nX = x + nHalf;
                const Words a = MinUnsigned(WidenBytes(pPixels + nX), limit);
                const Words b = MinUnsigned(Blend(WidenBytes(pPixels + nX + nReach), nearWeight,
                                                  WidenBytes(pPixels + nX + nReach + 1), farWeight),
                                            limit);
                const std::ptrdiff_t nAt = nPlace + nX;
                const Words larger = MaxUnsigned(a, b);
                const SGroup group = Judge(
                    a, b,
                    tOptions.bFlat ? flat.Of(larger)
                                   : MapThreshold(larger, scene.gainMap.data() + nAt, scene.offsetMap.data() + nAt));
                if (group.nMask != 0)
                    nHits = StoreHits<!tOptions.bMember, false>(
                        group, nX, y, tOptions.bFlat ? nNoZones : scene.zoneMap.data() + nAt, hits, nHits, nullptr, 0);
                if (nHits >= static_cast<std::size_t>(hits.nSize))
                {
                    bFull = true;
                    break;
                }
            }
        }

        for (std::size_t i = 0; i < nHits; ++i)
        {
            if (nPairs >= nPairSize)
            {
                call.nEndLine = static_cast<int>(y) + 1;
                return nPairs;
            }
            if (hits.type[i] >= 3)
                continue;
            const auto write = [&](int nPos, int nPair, std::size_t nFrom, int nX, bool bMirror)
            {
                CDefectPair& pair = pPairs[nPairs++];
                pair.nDefectPos = nPos;
                pair.nDefectPair = nPair;
                pair.nDefectType = bMirror ? (hits.type[nFrom] + 1) & 1 : hits.type[nFrom];
                if constexpr (!tOptions.bMember)
                    pair.nPeak = hits.peak[nFrom];
                pair.ptDefect = CPoint(nX, static_cast<int>(y));
                pair.nSrcGray = bMirror ? hits.cmp[nFrom] : hits.src[nFrom];
                pair.nCmpGray = bMirror ? hits.src[nFrom] : hits.cmp[nFrom];
                pair.nZoneIndex = hits.zone[nFrom];
                pair.nThreshold = hits.threshold[nFrom];
            };
            const int px = hits.x[i];
            const int nWanted = px + static_cast<int>(nHop);
            if (px > nBandLast)
            {
                write(3, 5, i, nWanted, true);
                continue;
            }
            std::size_t j = i + 1;
            while (j < nHits && (hits.x[j] < nWanted ||
                                 (hits.x[j] == nWanted && (hits.type[j] >= 3 || hits.type[j] == hits.type[i]))))
                ++j;
            const int nPos = px < nBandFirst ? 1 : 2;
            if (j < nHits && hits.x[j] == nWanted)
            {
                write(nPos, 1, j, nWanted, false);
                hits.type[j] = 4;
            }
            else if (nPos == 1)
                write(1, 5, i, px, false);
        }
    }
    call.nEndLine = scene.nHeight + 1;
    return nPairs;
}

} // namespace

const PlainKernel plainHori = PlainRows<SPlainOptions{}>;
const PlainKernel plainHoriTable = PlainRows<SPlainOptions{.bColumnTable = true}>;
const PlainKernel plainVert = PlainStrips<SPlainOptions{}>;
const PlainKernel plainVertDirect =
    PlainStrips<SPlainOptions{.bDirect = true, .bOneRowMore = true, .bAnySingle = true}>;
const PlainKernel plainVert2by2 = PlainStrips<SPlainOptions{.bMean2by2 = true}>;
const PlainKernel plainVertFlag = PlainStrips<SPlainOptions{.bFlagged = true}>;
const PlainKernel plainVertFlag2by2 = PlainStrips<SPlainOptions{.bMean2by2 = true, .bFlagged = true}>;
const PlainKernel plainVertKnee = PlainStrips<SPlainOptions{.bKnee = true, .bAnySingle = true}>;
const PlainKernel plainVtd = PlainStrips<SPlainOptions{.bDirect = true, .bBilinear = true}>;
const PlainKernel plainMember = PlainStrips<SPlainOptions{.bMember = true}>;
const PlainKernel plainMemberZones = PlainStrips<SPlainOptions{.bZoneTables = true, .bMember = true}>;
const PlainKernel plainMemberDark = PlainStrips<SPlainOptions{.bDarkAgain = true, .bMember = true}>;
const PlainKernel plainMemberVtd = PlainStrips<SPlainOptions{.bDirect = true, .bBilinear = true, .bMember = true}>;
const PlainKernel plainClassIdTable = PlainStrips<SPlainOptions{.bDirect = true, .bRowTable = true, .bClassId = true}>;

const PlainKernel plainPixelHori = PlainRows<SPlainOptions{.bFlat = true}>;
const PlainKernel plainPixelHoriMember = PlainRows<SPlainOptions{.bMember = true, .bFlat = true}>;
const PlainKernel plainPixelVert = PlainStrips<SPlainOptions{.bAnySingle = true, .bFlat = true}>;
const PlainKernel plainPixelMember = PlainStrips<SPlainOptions{.bMember = true, .bFlat = true, .bTwoSets = true}>;
const PlainKernel plainPixelMemberTable =
    PlainStrips<SPlainOptions{.bRowTable = true, .bMember = true, .bFlat = true, .bTwoSets = true}>;

} // namespace bench
