// SPDX-License-Identifier: MIT
// The plain form of the float comparison for the narrow parts of a free-form region: one column at a time, with the
// pitch in double precision. Sums stay sums: values are in quarters of a grey level.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

#include "narvoassem/base/fixed_pitch.h"
#include "narvoassem/base/image_read.h"
#include "narvoassem/base/memory_shortage.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/fast/pair/band_pairing.h"
#include "narvoassem/fast/scan/scan_scratch.h"
#include "narvoassem/narvoassem.h"

using namespace narvo::engine;

namespace
{

/// One call over one region.
class CFloatColumns
{
public:
    CFloatColumns(CNarvoAssem& assem, const CRect& rtRegion)
        : m_assem(assem), m_param(assem.ConvParam),
          m_rt(rtRegion), m_image{m_param.pImage, m_param.nImageWidth, m_param.nImageHeight},
          m_sums(GetScanScratch().lineSums[0]), m_nPairs(assem.nPairCount)
    {
        const double dPitch = m_param.GetRealScanPitch();
        m_nWhole = TruncateToInt(dPitch);
        m_nHop = TruncateToInt(dPitch + 0.5); // rounds the real value, unlike the fixed-point kernels
        m_dFar = dPitch - m_nWhole;
        m_dNear = 1.0 - m_dFar;
        m_nFillEnd = m_rt.bottom - 1;
        m_nScanEnd = m_nFillEnd - m_nWhole - 2;
        m_nBase2 = m_param.nThreshold;
        m_nGain2 = m_param.nThresholdGain;
        if (m_param.nBlackFilterGray >= 1)
        {
            m_nBase2 = WrapMul(m_param.nBlackFilterGray, 4);
            m_nGain2 = m_param.nBlackFilterGain;
        }
    }

    /// @return the new pair count
    int Run(int& nEndLine)
    {
        if (IsFull())
            return m_nPairs;
        if (!m_sums.Reserve(static_cast<std::size_t>(std::max(m_rt.Height(), 0)) + 1))
        {
            NoteMemoryShortage();
            nEndLine = m_rt.left;
            return m_nPairs;
        }
        for (int x = m_rt.left; x < m_rt.right; ++x)
        {
            FormSums(x);
            FindHits(x);
            if (!PairHits())
            {
                nEndLine = x + 1;
                return m_nPairs;
            }
        }
        nEndLine = m_rt.right + 1;
        return m_nPairs;
    }

private:
    /// One place is kept free.
    bool IsFull() const { return m_nPairs >= m_assem.nPairSize - 1; }

    void FormSums(int x)
    {
        for (int y = m_rt.top; y < m_nFillEnd; ++y)
            m_sums[static_cast<std::size_t>(y - m_rt.top)] =
                static_cast<std::uint16_t>(ReadPixel(m_image, x, y) + ReadPixel(m_image, x + 1, y));
    }

    /// Sum across two columns; 0 in rows where none was formed.
    int Sum(std::int64_t y) const
    {
        return y >= m_rt.top && y < m_nFillEnd ? m_sums[static_cast<std::size_t>(y - m_rt.top)] : 0;
    }

    void FindHits(int x)
    {
        m_nHits = 0;
        const int nLimit = WrapMul(m_param.nGrayLimit, 4);
        for (int y = m_rt.top; y < m_nScanEnd; ++y)
        {
            const std::int64_t nAt = std::int64_t{y} + m_nWhole;
            const int nSrc = std::min(Sum(y) + Sum(y + 1), nLimit);
            const double dCmp = (m_dNear * Sum(nAt) + Sum(nAt + 1)) + m_dFar * Sum(nAt + 2);
            const int nCmp = std::min(static_cast<int>(dCmp), nLimit);
            const int nMax = std::max(nSrc, nCmp);
            const int nThreshold = std::min(Threshold(nMax, m_param.nThresholdGain, m_param.nThreshold),
                                            Threshold(nMax, m_nGain2, m_nBase2));
            const int nDiff = std::abs(nSrc - nCmp);
            if (nThreshold >= nDiff)
                continue;
            m_assem.pPixelX[m_nHits] = x;
            m_assem.pPixelY[m_nHits] = y;
            m_assem.pSrcGray[m_nHits] = nSrc;
            m_assem.pCmpGray[m_nHits] = nCmp;
            m_assem.pThreshold[m_nHits] = nThreshold;
            m_assem.pPeak[m_nHits] = static_cast<short>(WrapSub(nDiff, nThreshold));
            m_assem.pPixelType[m_nHits] = nSrc > nCmp ? DefectType_Bright : DefectType_Dark;
            if (++m_nHits >= m_assem.nPixelSize - 1)
                return;
        }
    }

    static int Threshold(int nValue, int nGain, int nBase) { return WrapAdd(WrapMul(nValue, nGain) / 256, nBase); }

    /// The band rule of the column, with two exceptions in the first band: a pair that its threshold refuses leaves
    /// hit i as a single, and any later hit of the column gives a single beside the pair.
    /// @return false when the pair array is full
    bool PairHits()
    {
        CSearchCursor cursor;
        for (int i = 0; i < m_nHits; ++i)
        {
            if (IsOutOfPlay(m_assem.pPixelType[i]))
                continue;
            const int y = m_assem.pPixelY[i];
            const int nTarget = WrapAdd(y, m_nHop);
            const bool bInFirst = y < std::int64_t{m_rt.top} + m_nWhole;
            if (!bInFirst && y > std::int64_t{m_nScanEnd} - m_nWhole)
            {
                if (Write(DefectPos_Last, DefectPair_Single, i, nTarget, true) && IsFull())
                    return false;
                continue;
            }
            cursor.Advance(m_assem.pPixelY, m_nHits, i, nTarget);
            const std::int64_t j = cursor.nNext;
            if (j < m_nHits && m_assem.pPixelY[j] == nTarget)
            {
                if (IsOutOfPlay(m_assem.pPixelType[j]) || m_assem.pPixelType[j] == m_assem.pPixelType[i])
                    continue;
                if (Write(bInFirst ? DefectPos_First : DefectPos_Middle, DefectPair_Paired, j, nTarget, false))
                {
                    m_assem.pPixelType[j] = DefectType_Removed;
                    if (IsFull())
                        return false;
                    if (j + 1 >= m_nHits)
                        continue;
                }
            }
            if (bInFirst && Write(DefectPos_First, DefectPair_Single, i, y, false) && IsFull())
                return false;
        }
        return true;
    }

    /// Judges and writes a record with the values of hit nHit. Dead zones have no effect in this form.
    /// @return whether it was written
    bool Write(DefectPos ePos, DefectPair ePair, std::int64_t nHit, int y, bool bMirrored)
    {
        int nSrc = m_assem.pSrcGray[nHit];
        int nCmp = m_assem.pCmpGray[nHit];
        int nType = m_assem.pPixelType[nHit];
        if (bMirrored)
        {
            std::swap(nSrc, nCmp);
            nType = (nType + 1) & 1;
        }
        const int nThreshold = nSrc <= nCmp ? Threshold(nCmp, m_nGain2, m_nBase2)
                                            : Threshold(nSrc, m_param.nThresholdGain, m_param.nThreshold);
        m_assem.pThreshold[nHit] = nThreshold;
        if (std::abs(nSrc - nCmp) <= nThreshold)
            return false;

        CDefectPair& pair = m_assem.pPair[m_nPairs++];
        pair.nDefectPos = ePos;
        pair.nDefectPair = ePair;
        pair.nDefectType = nType;
        pair.nPeak = m_assem.pPeak[nHit] / 4;
        pair.ptDefect = CPoint(m_assem.pPixelX[nHit], y);
        pair.nSrcGray = nSrc / 4;
        pair.nCmpGray = nCmp / 4;
        pair.nThreshold = nThreshold / 4;
        if (ePair == DefectPair_Single && m_assem.JumpFilter_Vert2by2(&pair, m_rt) == 0)
            pair.nDefectType = DefectType_Removed;
        return true;
    }

    CNarvoAssem& m_assem;
    const CConvParam& m_param;
    CRect m_rt;
    CImageView m_image;
    CGrowBuffer<std::uint16_t>& m_sums;
    int m_nWhole;
    int m_nHop;
    double m_dNear;
    double m_dFar;
    int m_nFillEnd; ///< sums across exist for the rows above this one
    int m_nScanEnd; ///< rows compared end above this one
    int m_nBase2;
    int m_nGain2;
    int m_nPairs;
    int m_nHits = 0;
};

} // namespace

int CNarvoAssem::ConvFloatVJF_Cpp(CRect rtRegion, int& nEndLine)
{
    return CFloatColumns(*this, rtRegion).Run(nEndLine);
}
