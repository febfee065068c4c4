// SPDX-License-Identifier: MIT
// Classification of singles after a vertical inspection: the image one pitch ahead and one pitch back shows on
// which side of the compare the defect lies.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "narvoassem/base/pixel_read.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/blobstorage.h"
#include "narvoassem/storage/blobs/blob_tidy.h"

using namespace narvo::engine;

namespace narvo::engine
{

namespace
{

class CVerticalClassifier
{
public:
    explicit CVerticalClassifier(CBlobStorage& store)
        : m_store(store), m_dPitch(store.ConvParam.GetRealScanPitch()), m_nPitch(TruncateToInt(m_dPitch)),
          m_nThreshold(store.ConvParam.nThreshold), m_nClip(store.ConvParam.nGrayLimit)
    {
    }

    // Here a value equal to the threshold counts as reached; in the middle band it does not. The polarity of a
    // positive value differs between the bands, too.
    void SettleFirstBand(CDefectBlob& blob)
    {
        const int nX = blob.ptCenter.x;
        const int nY = WrapRow(blob.ptCenter.y);
        const int nVal1 = m_store.GetConvolutionValueVert(nX, nY, m_dPitch, m_nClip);
        const int nVal2 = m_store.GetConvolutionValueVert(nX, TruncateToInt(nY + m_dPitch), m_dPitch, m_nClip);
        const bool bReached1 = GetSize(nVal1) >= m_nThreshold;
        const bool bReached2 = GetSize(nVal2) >= m_nThreshold;
        if (!bReached1)
            return;
        blob.nDefectPair = DefectPair_FirstSettled;
        if (!bReached2)
        {
            blob.nDefectType = nVal1 >= 0 ? DefectType_Dark : DefectType_Bright;
            ++m_store.nRemovedByClass;
        }
    }

    void SettleMiddleBand(CDefectBlob& blob)
    {
        const int nWidth = blob.rtDefect.Width();
        const int nHeight = blob.rtDefect.Height();
        if (nWidth < 2 || nHeight < 2)
            return;
        const int nX = blob.rtDefect.left;
        const int nY = WrapRow(blob.rtDefect.top);
        const int nBlockW = std::min(nWidth, m_nPitch);
        const int nAhead = m_store.GetAreaValueVert(nX, nY, nBlockW, nHeight, m_dPitch, m_nClip);
        const int nBack =
            m_store.GetAreaValueVert(nX, TruncateToInt(nY - m_dPitch), nBlockW, nHeight, m_dPitch, m_nClip);
        const bool bAhead = GetSize(nAhead) > m_nThreshold;
        const bool bBack = GetSize(nBack) > m_nThreshold;
        if (!bAhead && !bBack)
            return;
        blob.nDefectPair = DefectPair_MiddleSettled;
        if (!bAhead)
        {
            MoveAlongY(blob, WrapSub(0, m_nPitch));
            blob.nDefectType = nBack >= 0 ? DefectType_Bright : DefectType_Dark;
            m_store.nRemovedByClass += 1;
        }
        else if (!bBack)
        {
            MoveAlongY(blob, m_nPitch);
            blob.nDefectType = nAhead > 0 ? DefectType_Dark : DefectType_Bright;
            m_store.nRemovedByClass += 2; // by definition of the statistic
        }
    }

private:
    static std::int64_t GetSize(int nValue) { return std::abs(static_cast<std::int64_t>(nValue)); }

    int WrapRow(int y) const
    {
        const int nHeight = m_store.ConvParam.nImageHeight;
        return nHeight > 0 ? y % nHeight : y;
    }

    // The outline and the peak positions stay where they were.
    static void MoveAlongY(CDefectBlob& blob, int nStep)
    {
        blob.ptCenter.y = WrapAdd(blob.ptCenter.y, nStep);
        blob.rtDefect.top = WrapAdd(blob.rtDefect.top, nStep);
        blob.rtDefect.bottom = WrapAdd(blob.rtDefect.bottom, nStep);
    }

    CBlobStorage& m_store;
    double m_dPitch;
    int m_nPitch;
    int m_nThreshold;
    int m_nClip;
};

} // namespace

} // namespace narvo::engine

int CBlobStorage::ClassificationDefectVert(int nFirstBlob)
{
    CVerticalClassifier classifier(*this);
    for (int i = nBlobCount - 1; i >= nFirstBlob; --i)
    {
        CDefectBlob& blob = pBlob[i];
        if (blob.nDefectPair != DefectPair_Single)
            continue;
        if (blob.nDefectPos == DefectPos_First)
            classifier.SettleFirstBand(blob);
        else if (blob.nDefectPos == DefectPos_Middle)
            classifier.SettleMiddleBand(blob);
    }
    for (int i = nFirstBlob; i < nBlobCount; ++i)
    {
        if (pBlob[i].nDefectPair == DefectPair_Single)
            pBlob[i].bRemoved = 1;
    }
    CompactBlobs(*this, nFirstBlob);
    return 1;
}

int CBlobStorage::ClassifyVertical(int nPairIndex, int nLimit)
{
    CDefectPair& pair = pPair[nPairIndex];
    const CRect& rtInspect = ConvParam.rtInspect;
    const double dReal = ConvParam.GetRealScanPitch();
    const std::int64_t nPitch = TruncateToInt(dReal);
    const double dFrac = dReal - static_cast<double>(nPitch);
    if (rtInspect.Height() <= 2 * nPitch)
        return 0;

    std::int64_t nStep = nPitch;
    double dRest = 1.0 - dFrac;
    if (pair.ptDefect.y + nPitch + 1 >= rtInspect.bottom)
    {
        nStep = -nPitch - 1;
        dRest = dFrac; // both weights, upward
    }
    const CPixelReader reader(ConvParam);
    const std::int64_t nX = pair.ptDefect.x;
    const std::int64_t nY = pair.ptDefect.y;
    const double dSrc = reader.Read(nX, nY);
    const double dRef = reader.Read(nX, nY + nStep) * dRest + reader.Read(nX, nY + nStep + 1) * dFrac;
    const bool bFails = (pair.nDefectType == DefectType_Dark && TruncateToInt(dRef - dSrc) < nLimit) ||
                        (pair.nDefectType == DefectType_Bright && TruncateToInt(dSrc - dRef) < nLimit);
    if (!bFails)
        return 1;
    pair.nDefectType = DefectType_Removed;
    return 0;
}
