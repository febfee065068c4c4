// SPDX-License-Identifier: MIT
// The image view.
#include "narvoassem/narvostrg.h"

#include <cstdint>

CNarvoBufferSudo::CNarvoBufferSudo(unsigned char* pImage, int nImageWidth, int nImageHeight) : pBuffer(pImage)
{
    CNarvoBufferSudo::Init(nImageWidth, nImageHeight);
}

int CNarvoBufferSudo::Init(int nImageWidth, int nImageHeight)
{
    nWidth = nImageWidth;
    nHeight = nImageHeight;
    nPitch = static_cast<int>((std::int64_t{nWidth} + 3) / 4 * 4);
    return 1;
}

unsigned char* CNarvoBufferSudo::GetPixelPtr(int x, int y) const
{
    return pBuffer + static_cast<std::int64_t>(nPitch) * y + x;
}

int CNarvoBufferSudo::GetPitch() const
{
    return nPitch;
}
