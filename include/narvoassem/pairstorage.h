// SPDX-License-Identifier: MIT
/// @file
/// The pair store: pair records, the plain pairing walks over the hit arrays, and the filters that mark false pairs.
#pragma once

#include "narvoassem/defectpair.h"
#include "narvoassem/export.h"
#include "narvoassem/pixelstorage.h"

/// Pair records with their label arrays. Copies share the arrays: only one of two copies may be destroyed.
///
/// Filters take a pair and return 1 when it is real and 0 when it is false; they never delete, the walks mark a false
/// pair by nDefectType 4. They read the image through rows of nImageWidth rounded up to a multiple of 4, so images
/// of other widths are read askew; reads outside the image count as its nearest pixel.
class NARVO_API CPairStorage : public CPixelStorage
{
public:
    int nPairCount;     ///< pairs held; -1 before the first InitPairStorage
    CDefectPair* pPair; ///< the pairs, in the order of the hits that made them
    int nPairSize;      ///< size last asked for: the kernels' limit
    int nPairCapacity;  ///< pairs allocated, not counting 16 spare ones
    int* pPairLabel;    ///< per pair: label of its group
    int* pPairLinked;   ///< per pair: 1 once an earlier pair has claimed it
    int* pLabelOpened;  ///< per label: 1 once a blob exists for it

    /// Empty store: count, size and capacity -1.
    CPairStorage();
    /// Shares every array with the other store.
    CPairStorage(const CPairStorage& other) = default;
    /// As the copy; what this store held is not freed.
    CPairStorage& operator=(const CPairStorage& other) = default;
    /// Frees pairs and labels.
    ~CPairStorage() override;

    /// Makes room for nSize pairs, as InitPixelStorage. @return nPairSize; 0 when memory ran out.
    int InitPairStorage(int nSize);
    /// Resets the records in use, nPairCount to 0.
    void ResetPairStorage();
    /// nPairCount to 0, resets the first nPairSize records.
    void TotalResetPairStorage();
    /// nPairCount.
    int GetPairCount() const;
    /// Address of a pair; the index is not checked.
    CDefectPair* GetPairDefect(int nIndex);

    /// Pairs the nPixelCount hits of the hit arrays along x and appends to the pairs held. dPitch is the compare
    /// distance in pixels; partners are sought at dPitch rounded. No record beyond nPairSize + 16 is written.
    /// @return 1
    int PairingPlus_Pixel(double dPitch);
    /// As PairingPlus_Pixel; records take position, type and peak only.
    int PairingPlus_Float(double dPitch);
    /// Along y; records take position and type only, and a middle hit without partner is kept as a single.
    int PairingPlus_Vert(double dPitch);
    /// Does nothing: the plus walks handle both directions. @return 1
    int PairingMinus_Pixel(double dPitch);
    /// As PairingMinus_Pixel.
    int PairingMinus_Float(double dPitch);
    /// As PairingMinus_Pixel.
    int PairingMinus_Vert(double dPitch);

    /// Recomputes peak (from the values as the kernel left them) and source grey (from the image) of all pairs.
    /// Without an image nothing changes.
    void CorrectDefGray();
    /// Runs the filters of a vertical inspection over all pairs, by bFalseFilter, nFilterMode2 and nFilterMode.
    void Filtering_Vert();
    /// The same for a horizontal inspection; nothing with bFalseFilter 0.
    void Filtering_Hori();
    /// Does nothing.
    void Filtering_Vert_Temp();
    /// Across the direction of a vertical inspection: along x, at one conv pitch.
    int CrossFilter_Hori(CDefectPair* pDefect);
    /// Across the direction of a horizontal inspection: along y, at one scan pitch.
    int CrossFilter_Vert(CDefectPair* pDefect);
    /// Along x, at two conv pitches.
    int JumpFilter_Hori(CDefectPair* pDefect);
    /// Along y, at two scan pitches.
    int JumpFilter_Vert(CDefectPair* pDefect);
    /// Along y at two scan pitches on 2 by 2 blocks, limited by rtArea.
    int JumpFilter_Vert2by2(CDefectPair* pDefect, CRect rtArea);
    /// For a pair of an edge band, along x: the difference on the other side must have the pair's polarity.
    int MarginFilter_Hori(CDefectPair* pDefect);
    /// For a pair of an edge band, along y, for either polarity.
    int OneFilter_Vert(CDefectPair* pDefect);
    /// Marks every single (nDefectPair 5) as removed.
    void ShadowFly();
    /// Changes nothing. @return 0
    int FalseFilter_Vert();
    /// Changes nothing. @return 0
    int FalseFilter_Hori();
};
