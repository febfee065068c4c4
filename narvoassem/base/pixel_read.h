// SPDX-License-Identifier: MIT
// Reads of the image that stay inside its bytes for any position. Which pixels are read, and with what weights, is
// decided by the callers.
#pragma once

#include <algorithm>
#include <cstdint>

#include "narvoassem/base/image_read.h"
#include "narvoassem/base/truncate.h"
#include "narvoassem/convparam.h"
#include "narvoassem/narvostrg.h"

namespace narvo::engine
{

/// An image addressed by row and column; positions outside follow the rule of image_read.h. Without an image all is 0.
class CPixelReader
{
public:
    /// The image of the parameter block, rows nImageWidth apart.
    explicit CPixelReader(const CConvParam& param)
        : CPixelReader(param.pImage, param.nImageWidth, param.nImageWidth, param.nImageHeight)
    {
    }
    /// The image of a view, rows as far apart as the view says.
    explicit CPixelReader(const CNarvoBufferSudo& view)
        : CPixelReader(view.pBuffer, view.nPitch, view.nWidth, view.nHeight)
    {
    }

    int Read(std::int64_t x, std::int64_t y) const
    {
        if (m_nLast < 0)
            return 0;
        return m_pImage[NearestAddress(x, y, m_nPitch, m_nHeight, m_nLast)];
    }

    /// Fetches into the caches what a later Read of the place needs.
    void Prefetch(std::int64_t x, std::int64_t y) const
    {
        if (m_nLast >= 0)
            __builtin_prefetch(m_pImage + NearestAddress(x, y, m_nPitch, m_nHeight, m_nLast));
    }

private:
    CPixelReader(const unsigned char* pImage, int nPitch, int nWidth, int nHeight)
        : m_pImage(pImage), m_nPitch(nPitch), m_nHeight(nHeight), m_nLast(-1)
    {
        if (pImage != nullptr && nWidth > 0 && nHeight > 0)
            m_nLast = static_cast<std::int64_t>(nWidth) * nHeight - 1;
    }

    const unsigned char* m_pImage;
    std::int64_t m_nPitch;
    std::int64_t m_nHeight;
    std::int64_t m_nLast; ///< last address inside; -1 without an image
};

/// Entry of a table with one element per 16 pixels of an axis, for the position nPos; positions outside the image
/// take the entry of its nearest pixel. nLength is the image's extent along the axis.
template <class TElement>
TElement ReadPer16(const TElement* pTable, int nPos, int nLength)
{
    return pTable[std::clamp(nPos, 0, std::max(nLength - 1, 0)) / 16];
}

} // namespace narvo::engine
