// SPDX-License-Identifier: MIT
/// @file
/// The blob store: grows pairs into blobs, merges pieces, removes ghosts, verifies and classifies.
#pragma once

#include "narvoassem/defectblob.h"
#include "narvoassem/export.h"
#include "narvoassem/pairstorage.h"

/// Blobs, by value. They accumulate over builds until ResetBlobStorage. Copies share the array: only one of two
/// copies may be destroyed. Every operation that returns int gives 1 unless its line says otherwise.
class NARVO_API CBlobStorage : public CPairStorage
{
public:
    /// A vertical comparison with more pairs than this builds no blobs: it is taken to have overflowed.
    static constexpr int nVerticalPairLimit = 100000;

    int nBlobCount;      ///< blobs held
    CDefectBlob* pBlob;  ///< the blobs, owned
    int nBlobSize;       ///< size last asked for: the limit for opening a blob
    int nBlobCapacity;   ///< blobs allocated, not counting 16 spare ones
    double dBlobTime;    ///< milliseconds of the last vertical build
    int nRemovedByFalse; ///< cleared and copied, never counted
    int nRemovedPair;    ///< pairs dropped in the last build
    int nRemovedByClass; ///< counted by ClassificationDefectVert
    int nMergedBlob;     ///< merges done
    int nRemovedScan;    ///< pairs removed by a verification along y or the tilt
    int nRemovedConv;    ///< pairs removed by a verification along x

    /// Empty store.
    CBlobStorage();
    /// Shares every array with the other store.
    CBlobStorage(const CBlobStorage& other) = default;
    /// As the copy; what this store held is not freed.
    CBlobStorage& operator=(const CBlobStorage& other) = default;
    /// Frees the blobs.
    ~CBlobStorage() override;

    /// Makes room for nSize blobs, as InitPixelStorage. @return nBlobSize; 0 when memory ran out.
    int InitBlobStorage(int nSize);
    /// Clears the counters, resets the blobs in use, nBlobCount to 0.
    void ResetBlobStorage();
    /// Clears the counters, resets the first nBlobSize blobs, nBlobCount to 0.
    void TotalResetBlobStorage();

    // --- building: pairs of the store become blobs, appended to those held ---
    /// Horizontal build with grey correction and filters.
    int BlobDefect();
    /// Horizontal build of the pairs as they are.
    int BlobDefect_NonFilter();
    /// Vertical build with grey correction, filters (unless bZoneFlagged) and pitch verification; timed.
    int BlobDefectVert();
    /// Vertical build of the pairs as they are; timed.
    int BlobDefectVert_NonFilter();
    /// Vertical build with correction and filters over another store's pairs; null means the store's own.
    int BlobDefectVert(CPairStorage* pPairs);
    /// Appends a copy. @return 1 if there is room for another one; 0 when the store was full or is full now.
    int AddBlob(CDefectBlob* pNewBlob);
    /// Appends all blobs of another store. @return 0 at the first AddBlob that gives 0, and for null.
    int ReadBlob(CBlobStorage* pOther);
    /// nBlobCount.
    int GetBlobCount() const;
    /// Address of a blob; the index is not checked.
    CDefectBlob* GetBlobDefect(int nIndex);

    // --- tidying: each step works on the blobs from nFirstBlob on ---
    /// Merges blobs of one type whose rectangles lie within nDist pixels, in one forward walk.
    int MergeDivision(int nFirstBlob, int nDist);
    /// Merges every blob whose own rectangle passes the test against itself into the first: for nDist >= 0 all.
    int MergeMix(int nFirstBlob, int nDist);
    /// Removes blobs of the edge bands that have a neighbour one pitch inward along x. dPitch in pixels.
    void ShadowFilter(int nFirstBlob, double dPitch);
    /// The same along y.
    void ShadowFilterVert(int nFirstBlob, double dPitch);
    /// As CDefectBlob::CheckDefectRect on `blob`.
    void CheckDefectRect(CDefectBlob& blob, int x, int y);
    /// Diameter of eight points, x scaled by dPixelSizeY and y by dPixelSizeX, rounded.
    int CalcRScale(const CPoint* pPoints) const;
    /// Mean difference of a block and the block dPitch along x, values clipped above to nClip. Source and reference
    /// run over the block with rows and columns exchanged. nWidth * nHeight must not be 0.
    int GetAreaValue(int x, int y, int nWidth, int nHeight, double dPitch, int nClip) const;
    /// The same along y; 0 when row y + 1 + (int)dPitch lies at or below the image's end.
    int GetAreaValueVert(int x, int y, int nWidth, int nHeight, double dPitch, int nClip) const;

    // --- vertical classification ---
    /// Classifies the singles from nFirstBlob on by the image one pitch ahead and back, and drops what stays single.
    int ClassificationDefectVert(int nFirstBlob);
    /// Tests one pair against one pitch. @return 1 it is kept; 0 it failed (marked removed) or cannot be tested.
    int ClassifyVertical(int nPairIndex, int nLimit);

    // --- pitch verification ---
    /// @return 1: the pair matches at a short pitch of its zone, is pattern and gets nDefectType 4; 0: it is kept.
    int VeriPitchDPCFiltering(CDefectPair* pDefect);
    /// @return 1: the pair matches along the tilted direction; 0: it is kept.
    int DPCTiltFiltering(CDefectPair* pDefect);
    /// Bilinear grey value at row nY + dPitch, column nX + dTilt; dTilt within -1 .. 1, reversed with a negative
    /// dPitch.
    double GetReferenceValTilt(int nY, int nX, double dPitch, double dTilt) const;
    /// Sum difference of an nConvWidth by nConvHeight window and the window dPitch along x, clipped above to nClip.
    int GetConvolutionValue(int x, int y, double dPitch, int nClip) const;
    /// The same along y; 0 when row y + 1 + (int)dPitch lies outside the image.
    int GetConvolutionValueVert(int x, int y, double dPitch, int nClip) const;
};
