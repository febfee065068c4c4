// SPDX-License-Identifier: MIT
// Verification of pairs at short pitches: a pair that matches the image one short pitch away is pattern, not defect.
// Classification uses its window sums, too.
#include "narvoassem/storage/filters/pitch_verify.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "narvoassem/base/pixel_read.h"

using namespace narvo::engine;

namespace narvo::engine
{

namespace
{

constexpr int nVerifyClip = 255;   ///< the grey limit has no effect here
constexpr int nWindowLimit = 1023; ///< of the parameter checks, which binarise mode with maps does not pass through

// Form: the mode digit, then for each check a ';' and three characters, direction digit and two digits of cycle. The
// search for the next ';' continues right after the last one, without regard to its three characters.
SZoneChecks ParseChecks(const CString& strZone)
{
    SZoneChecks checks;
    if (strZone.IsEmpty())
        return checks;
    checks.nMode = strZone.GetAt(0) - '0';
    int nSeparator = -1;
    for (int i = 0; i < SZoneChecks::nCheckLimit; ++i)
    {
        nSeparator = strZone.Find(';', nSeparator + 1);
        if (nSeparator < 0)
            break;
        if (nSeparator + 3 >= strZone.GetLength())
            continue;
        checks.nDirection[i] = strZone.GetAt(nSeparator + 1) - '0';
        if (checks.nDirection[i] >= 1 && checks.nDirection[i] <= 3)
        {
            const char szCycle[] = {strZone.GetAt(nSeparator + 2), strZone.GetAt(nSeparator + 3), '\0'};
            checks.nCycle[i] = std::atoi(szCycle);
        }
    }
    return checks;
}

// Sum over the window minus sum over the reference, of which fnReference(i, j) gives the value for column i and row j
// of the window; both are clipped above.
template <class TReference>
int GetWindowDifference(const CConvParam& param, int x, int y, int nClip, TReference fnReference)
{
    const CPixelReader reader(param);
    std::int64_t nSum = 0;
    std::int64_t nRefSum = 0;
    const int nWidth = std::min(param.nConvWidth, nWindowLimit);
    const int nHeight = std::min(param.nConvHeight, nWindowLimit);
    for (std::int64_t i = 0; i < nWidth; ++i)
    {
        for (std::int64_t j = 0; j < nHeight; ++j)
        {
            nSum += std::min(reader.Read(x + i, y + j), nClip);
            nRefSum += std::min(TruncateToInt(fnReference(reader, x + i, y + j)), nClip);
        }
    }
    return static_cast<int>(nSum - nRefSum);
}

// A pitch as whole pixels and the weights of the sample there and the one after it; downward for negative pitches.
struct SSplitPitch
{
    explicit SSplitPitch(double dPitch)
    {
        if (dPitch >= 0.0)
        {
            nPos = TruncateToInt(dPitch);
            dFar = dPitch - static_cast<double>(nPos);
            dNear = 1.0 - dFar;
        }
        else
        {
            nPos = TruncateToInt(dPitch - 1.0);
            dNear = static_cast<double>(nPos) - (dPitch - 1.0);
            dFar = 1.0 - dNear;
        }
    }

    std::int64_t nPos;
    double dNear;
    double dFar;
};

} // namespace

const SZoneChecks& CPitchVerifier::GetChecks(int nZone)
{
    const auto nIndex = static_cast<std::size_t>(nZone);
    if (!m_bParsed[nIndex])
    {
        m_checks[nIndex] = ParseChecks(m_store.ConvParam.pVeriPitchString[nZone]);
        m_bParsed[nIndex] = true;
    }
    return m_checks[nIndex];
}

int CPitchVerifier::Verify(CDefectPair& pair)
{
    const int nZone = pair.nZoneIndex;
    if (pair.nDefectType == DefectType_Removed || nZone <= 0 || nZone >= CConvParam::nZoneLimit ||
        m_store.ConvParam.pVeriPitchString == nullptr)
        return 0;
    const SZoneChecks& checks = GetChecks(nZone);
    if (checks.nMode == 1)
        return VerifyFixed(pair, checks);
    return checks.nMode == 2 ? VerifyByTables(pair, checks) : 0;
}

int CPitchVerifier::VerifyFixed(CDefectPair& pair, const SZoneChecks& checks)
{
    const CConvParam& param = m_store.ConvParam;
    const double dHShortPitch = param.dVeriPitchConv[pair.nZoneIndex] / param.nScanMultiple;
    const double dVShortPitch = param.dVeriPitchScan[pair.nZoneIndex] / param.nScanMultiple;
    for (int i = 0; i < SZoneChecks::nCheckLimit && checks.nDirection[i] != 0 && checks.nCycle[i] != 0; ++i)
    {
        // The cycle only says whether the check runs.
        if (checks.nDirection[i] == 1 && checks.nCycle[i] <= param.nConvMultiple && MatchesAlongX(pair, dHShortPitch))
            return Remove(pair, m_store.nRemovedConv);
        if (checks.nDirection[i] == 2 && checks.nCycle[i] <= param.nScanMultiple && MatchesAlongY(pair, dVShortPitch))
            return Remove(pair, m_store.nRemovedScan);
    }
    return 0;
}

int CPitchVerifier::VerifyByTables(CDefectPair& pair, const SZoneChecks& checks)
{
    const CConvParam& param = m_store.ConvParam;
    double dHShortPitch = 0.0;
    double dVShortPitch = 0.0;
    if (param.pConvPitchTable != nullptr)
        dHShortPitch =
            ReadPer16(param.pConvPitchTable, pair.ptDefect.x, param.nImageWidth) / 16.0 / param.nConvMultiple;
    if (param.pScanPitchTable != nullptr)
        dVShortPitch =
            ReadPer16(param.pScanPitchTable, pair.ptDefect.y, param.nImageHeight) / 16.0 / param.nScanMultiple;
    for (int i = 0; i < SZoneChecks::nCheckLimit && checks.nDirection[i] != 0 && checks.nCycle[i] != 0; ++i)
    {
        const int nCycle = checks.nCycle[i];
        switch (checks.nDirection[i])
        {
        case 1:
            if (param.pConvPitchTable != nullptr && nCycle <= param.nConvMultiple &&
                (MatchesAlongX(pair, dHShortPitch * nCycle) || MatchesAlongX(pair, -dHShortPitch * nCycle)))
                return Remove(pair, m_store.nRemovedConv);
            break;
        case 2:
            if (param.pScanPitchTable != nullptr && nCycle <= param.nScanMultiple &&
                (MatchesAlongY(pair, dVShortPitch * nCycle) || MatchesAlongY(pair, -dVShortPitch * nCycle)))
                return Remove(pair, m_store.nRemovedScan);
            break;
        case 3:
            if (param.pTiltScanTable != nullptr && m_store.DPCTiltFiltering(&pair) != 0)
                return Remove(pair, m_store.nRemovedScan);
            break;
        default:
            break;
        }
    }
    return 0;
}

// A pitch that is not finite, which a multiple of 0 causes, turns the check off.
bool CPitchVerifier::MatchesAlongX(const CDefectPair& pair, double dPitch) const
{
    return std::isfinite(dPitch) &&
           std::abs(std::int64_t{m_store.GetConvolutionValue(pair.ptDefect.x, pair.ptDefect.y, dPitch, nVerifyClip)}) <
               pair.nThreshold;
}

bool CPitchVerifier::MatchesAlongY(const CDefectPair& pair, double dPitch) const
{
    return std::isfinite(dPitch) && std::abs(std::int64_t{m_store.GetConvolutionValueVert(
                                        pair.ptDefect.x, pair.ptDefect.y, dPitch, nVerifyClip)}) < pair.nThreshold;
}

int CPitchVerifier::Remove(CDefectPair& pair, int& nCounter)
{
    ++nCounter;
    pair.nDefectType = DefectType_Removed;
    return 1;
}

} // namespace narvo::engine

int CBlobStorage::VeriPitchDPCFiltering(CDefectPair* pDefect)
{
    return CPitchVerifier(*this).Verify(*pDefect);
}

int CBlobStorage::DPCTiltFiltering(CDefectPair* pDefect)
{
    if (ConvParam.pScanPitchTable == nullptr || ConvParam.pTiltScanTable == nullptr)
        return 0;
    const std::int64_t nStep = TruncateToInt(ConvParam.GetRealScanPitch() + 0.5);
    const double dSrc = pDefect->nSrcGray;
    const int nX = pDefect->ptDefect.x;
    const int nY = pDefect->ptDefect.y;
    const int nHeight = ConvParam.nImageHeight;
    const bool bForward = nY + nStep < ConvParam.rtInspect.bottom;
    const bool bBackward = ConvParam.rtInspect.top <= nY - nStep;
    double dDiffPlus = 0.0;
    double dDiffMinus = 0.0;
    if (bForward)
    {
        const double dPitch = ReadPer16(ConvParam.pScanPitchTable, nY, nHeight) / 16.0;
        const double dTilt = ReadPer16(ConvParam.pTiltScanTable, nY, nHeight) / 16.0;
        dDiffPlus = dSrc - GetReferenceValTilt(nY, nX, dPitch, dTilt);
        if (std::fabs(dDiffPlus) < pDefect->nThreshold)
            return 1;
    }
    if (bBackward)
    {
        const auto nRow = static_cast<int>(std::clamp<std::int64_t>(nY - nStep, 0, std::max(nHeight - 1, 0)));
        const double dPitch = ReadPer16(ConvParam.pScanPitchTable, nRow, nHeight) / 16.0;
        const double dTilt = ReadPer16(ConvParam.pTiltScanTable, nRow, nHeight) / 16.0;
        dDiffMinus = GetReferenceValTilt(nY, nX, -dPitch, dTilt) - dSrc;
        if (std::fabs(dDiffMinus) < pDefect->nThreshold)
            return 1;
    }
    // Grey values that run steadily through the pixel are a slope, not a spike.
    const bool bSlope = (dDiffPlus > 0.0 && dDiffMinus > 0.0) || (dDiffPlus < 0.0 && dDiffMinus < 0.0);
    return bForward && bBackward && bSlope ? 1 : 0;
}

double CBlobStorage::GetReferenceValTilt(int nY, int nX, double dPitch, double dTilt) const
{
    const CPixelReader reader(ConvParam);
    const double dAbs = std::fabs(dPitch);
    std::int64_t nNear = TruncateToInt(dAbs);
    const double dFrac = dAbs - static_cast<double>(nNear);
    std::int64_t nFar = nNear + 1;
    double dTiltUse = dTilt;
    if (dPitch < 0.0)
    {
        nNear = -nNear;
        nFar = -nFar;
        dTiltUse = -dTilt;
    }
    const auto fnColumn = [&](std::int64_t nColumn)
    { return reader.Read(nColumn, nY + nNear) * (1.0 - dFrac) + reader.Read(nColumn, nY + nFar) * dFrac; };
    const std::int64_t nSecond = static_cast<std::int64_t>(nX) + (dTiltUse < 0.0 ? -1 : 1);
    const double dWeight = std::fabs(dTiltUse);
    return fnColumn(nX) * (1.0 - dWeight) + fnColumn(nSecond) * dWeight;
}

int CBlobStorage::GetConvolutionValue(int x, int y, double dPitch, int nClip) const
{
    const SSplitPitch split(dPitch);
    return GetWindowDifference(
        ConvParam, x, y, nClip,
        [&split](const CPixelReader& reader, std::int64_t nX, std::int64_t nY)
        { return reader.Read(nX + split.nPos, nY) * split.dNear + reader.Read(nX + split.nPos + 1, nY) * split.dFar; });
}

int CBlobStorage::GetConvolutionValueVert(int x, int y, double dPitch, int nClip) const
{
    const SSplitPitch split(dPitch);
    const std::int64_t nRow = y + split.nPos + 1;
    if (nRow >= ConvParam.nImageHeight || nRow <= 0)
        return 0;
    return GetWindowDifference(
        ConvParam, x, y, nClip,
        [&split](const CPixelReader& reader, std::int64_t nX, std::int64_t nY)
        { return reader.Read(nX, nY + split.nPos) * split.dNear + reader.Read(nX, nY + split.nPos + 1) * split.dFar; });
}
