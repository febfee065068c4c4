// SPDX-License-Identifier: MIT
// Small images, hits, pairs and blobs for the tests of the stores.
#pragma once

#include <cstdint>
#include <vector>

#include "narvoassem/blobstorage.h"

namespace narvo::test
{

/// A grey image that a parameter block can point at.
class CTestImage
{
public:
    CTestImage(int nWidth, int nHeight, int nGray = 100)
        : m_nWidth(nWidth), m_nHeight(nHeight),
          m_pixels(static_cast<std::size_t>(nWidth) * static_cast<std::size_t>(nHeight),
                   static_cast<unsigned char>(nGray))
    {
    }

    void Set(int x, int y, int nGray)
    {
        m_pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_nWidth) + static_cast<std::size_t>(x)] =
            static_cast<unsigned char>(nGray);
    }
    int Get(int x, int y) const
    {
        return m_pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(m_nWidth) + static_cast<std::size_t>(x)];
    }
    void Fill(const CRect& rt, int nGray)
    {
        for (int y = rt.top; y < rt.bottom; ++y)
        {
            for (int x = rt.left; x < rt.right; ++x)
                Set(x, y, nGray);
        }
    }
    /// Points the block at the image and makes all of it the region.
    void Attach(CConvParam& param)
    {
        param.pImage = m_pixels.data();
        param.nImageWidth = m_nWidth;
        param.nImageHeight = m_nHeight;
        param.rtInspect = CRect(0, 0, m_nWidth, m_nHeight);
    }

private:
    int m_nWidth;
    int m_nHeight;
    std::vector<unsigned char> m_pixels;
};

inline CDefectPair MakePair(int x, int y, int nType = DefectType_Dark)
{
    CDefectPair pair;
    pair.nDefectPos = DefectPos_Middle;
    pair.nDefectPair = DefectPair_Paired;
    pair.nDefectType = nType;
    pair.ptDefect = CPoint(x, y);
    return pair;
}

inline void AddPair(CPairStorage& store, const CDefectPair& pair)
{
    store.pPair[store.nPairCount++] = pair;
}

inline void AddHit(CPixelStorage& store, int x, int y, int nType)
{
    const int i = store.nPixelCount++;
    store.pPixelX[i] = x;
    store.pPixelY[i] = y;
    store.pPixelType[i] = static_cast<short>(nType);
    store.pPeak[i] = static_cast<short>(100 + i);
    store.pSrcGray[i] = 200 + i;
    store.pCmpGray[i] = 300 + i;
    store.pZoneIndex[i] = i % 16;
    store.pThreshold[i] = 400 + i;
}

/// A closed blob of one pair whose rectangle is then set.
inline CDefectBlob MakeBlob(const CRect& rt, int nType = DefectType_Dark, int nPos = DefectPos_Middle)
{
    CDefectPair pair = MakePair(rt.left, rt.top, nType);
    pair.nDefectPos = nPos;
    CDefectBlob blob;
    blob.CreateBlob(&pair, 0);
    blob.rtDefect = rt;
    return blob;
}

/// A store with room for nPairs pairs and nBlobs blobs.
class CSampleStore : public CBlobStorage
{
public:
    explicit CSampleStore(int nPairs = 64, int nBlobs = 64)
    {
        InitPairStorage(nPairs);
        InitBlobStorage(nBlobs);
    }
};

} // namespace narvo::test
