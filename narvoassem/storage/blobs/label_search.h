// SPDX-License-Identifier: MIT
// Blobs by the label that opened them, from the newest to the oldest, those of earlier builds included.
#pragma once

class CDefectBlob;

namespace narvo::engine
{

/// Without a set-up, or without memory for it, the blobs are walked.
class CLabelSearch
{
public:
    /// Sets up for nLabels labels; the blobs pBlobs[0 .. nFirstBlob - 1] are those of earlier builds. Takes the scratch
    /// memory of the thread.
    void Init(const CDefectBlob* pBlobs, int nFirstBlob, int nLabels);
    /// Notes the blob that this build has opened for a label.
    void NoteOpened(int nLabel, int nBlob)
    {
        if (m_pOpened != nullptr)
            m_pOpened[nLabel] = nBlob;
    }
    /// The newest of the nBlobCount blobs that has the label, which has been opened in this build.
    int FindNewest(int nLabel, int nBlobCount) const
    {
        return m_pOpened != nullptr ? m_pOpened[nLabel] : WalkBack(nLabel, nBlobCount - 1);
    }
    /// The next older blob of the label, or -1.
    int FindOlder(int nLabel, int nBlob);

private:
    int WalkBack(int nLabel, int nFrom) const;
    void ChainEarlierBlobs();

    const CDefectBlob* m_pBlobs = nullptr;
    int m_nFirstBlob = 0;
    int m_nLabels = 0;
    int* m_pOpened = nullptr;  ///< blob that this build opened, per label
    int* m_pEarlier = nullptr; ///< newest blob of earlier builds, per label; valid once chained
    int* m_pOlder = nullptr;   ///< next older blob of the same id, per blob of earlier builds
    bool m_bChained = false;
};

} // namespace narvo::engine
