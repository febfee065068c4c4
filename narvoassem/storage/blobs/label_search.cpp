// SPDX-License-Identifier: MIT
// The chains of the label search.
#include "narvoassem/storage/blobs/label_search.h"

#include <algorithm>
#include <cstddef>

#include "narvoassem/defectblob.h"
#include "narvoassem/storage/blobs/thread_scratch.h"

namespace narvo::engine
{

namespace
{

constexpr int nPlainLimit = 64; ///< up to this many labels the blobs are walked

} // namespace

void CLabelSearch::Init(const CDefectBlob* pBlobs, int nFirstBlob, int nLabels)
{
    m_pBlobs = pBlobs;
    m_nFirstBlob = nFirstBlob;
    m_nLabels = nLabels;
    if (nLabels <= nPlainLimit)
        return;
    m_pOpened = GetThreadScratch(2 * static_cast<std::size_t>(nLabels) + static_cast<std::size_t>(nFirstBlob));
    if (m_pOpened == nullptr)
        return;
    m_pEarlier = m_pOpened + nLabels;
    m_pOlder = m_pEarlier + nLabels;
}

int CLabelSearch::FindOlder(int nLabel, int nBlob)
{
    if (m_pOpened == nullptr)
        return WalkBack(nLabel, nBlob - 1);
    if (nBlob < m_nFirstBlob)
        return m_pOlder[nBlob];
    // A build opens one blob for a label: all others are of earlier builds.
    if (!m_bChained)
        ChainEarlierBlobs();
    return m_pEarlier[nLabel];
}

int CLabelSearch::WalkBack(int nLabel, int nFrom) const
{
    int nBlob = nFrom;
    while (nBlob >= 0 && m_pBlobs[nBlob].nBlobId != nLabel)
        --nBlob;
    return nBlob;
}

void CLabelSearch::ChainEarlierBlobs()
{
    std::fill_n(m_pEarlier, m_nLabels, -1);
    for (int i = 0; i < m_nFirstBlob; ++i)
    {
        const int nLabel = m_pBlobs[i].nBlobId;
        if (nLabel < 0 || nLabel >= m_nLabels)
            continue;
        m_pOlder[i] = m_pEarlier[nLabel];
        m_pEarlier[nLabel] = i;
    }
    m_bChained = true;
}

} // namespace narvo::engine
