// SPDX-License-Identifier: MIT
/// @file
/// The inspection engine. Including this header is all that a host needs.
///
/// A host creates a pool (assemcontrol.h), fills a parameter block (convparam.h) for each region and calls an
/// inspection; the blobs stay in the lane's engine until the next call. Nothing here throws or prints, and no state
/// outlives the objects. An engine serves one thread at a time. Inspections may be called at any time in a thread's
/// life, including in destructors of static and thread-local objects and in functions registered with atexit.
#pragma once

#include <cstdint>

#include "narvoassem/asginspection.h"
#include "narvoassem/assemcontrol.h"
#include "narvoassem/assemutil.h"
#include "narvoassem/blobstorage.h"
#include "narvoassem/convparam.h"
#include "narvoassem/defectblob.h"
#include "narvoassem/defectpair.h"
#include "narvoassem/export.h"
#include "narvoassem/fastkernels.h"
#include "narvoassem/inspectcode.h"
#include "narvoassem/narvostrg.h"
#include "narvoassem/padpoligon.h"
#include "narvoassem/pairstorage.h"
#include "narvoassem/pixelstorage.h"
#include "narvoassem/platform.h"
#include "narvoassem/stopwatch.h"
#include "narvoassem/version.h"
#include "narvoassem/widekernels.h"

/// The sum of the window of nFilterSize round ptPixel, from a table of sums as CompareAverageROI builds it:
/// nIntegralWidth cells a row, one row and one column more than the region. rtROIABS is the region moved to the origin,
/// ptPixel is relative to it. A window measures 2 * (nFilterSize / 2) + 1 pixels each way; where it crosses the
/// region's edge it is shifted inside and measures nFilterSize there, and the part still outside is cut off.
NARVO_API void GetFilterSum(CPoint ptPixel, std::int64_t& n64Sum, const std::int64_t* pIntegral, int nIntegralWidth,
                            const CRect& rtROIABS, int nFilterSize);

/// Compares the mean of a small window round each pixel with the mean of a large window round the same pixel and
/// writes a record per hit. nBackFilter is reduced to a multiple of nDefectFilter. A pixel whose small window has a
/// mean above nGrayLimit is skipped; it is a dark hit when the difference of the means lies below nDarkThreshold,
/// else a bright hit when it lies above nBrightThreshold. pIntegral holds (width + 1) * (height + 1) cells, cleared; it
/// takes the table of sums. rtDeadZone restricts nothing. With a window of 0, or a large one below the small one,
/// nothing is a hit. The record that brings the count to nPairSize or above is the last. *pEndLine becomes 1.
/// @return the new pair count
NARVO_API int CompareAverageROI(unsigned char* pImage, std::int64_t* pIntegral, int nImagePitch, CRect* rtInspect,
                                int nDarkThreshold, int nBrightThreshold, int nGrayLimit, CRect* rtDeadZone,
                                CDefectPair* pPair, int nPairCount, int nPairSize, int nDefectFilter, int nBackFilter,
                                int* pEndLine);

/// Origin of the zone cell that a point lies in, image pixels; (0, 0) if there is none.
class NARVO_API CGammaPoint
{
public:
    int x = 0; ///< image pixels
    int y = 0; ///< image pixels

    /// Looks (nX, nY) up in a table of cell origins (pairs x, y in rows of nColumns). A cell size of -1.0 in either
    /// argument takes the cell size from the table. With a null table nothing changes.
    void FindOrigin(int* pTable, int nColumns, int nX, int nY, double dCellWidth, double dCellHeight);
};

/// The engine: one store of hits, one of pairs, one of blobs, and one inspection at a time.
///
/// Inspection calls return an InspectCode. Copies share everything: only one of two copies may be destroyed.
class NARVO_API CNarvoAssem : public CBlobStorage
{
public:
    CAssemThreadControl* pThreadControl; ///< sub-engines of the band split, owned; null until EnableInternalThread
    int nAssemIndex;                     ///< as given to InitAssem
    double dInspectTime;                 ///< milliseconds of the last Inspect_Rect, all passes
    int nReinspectCount;                 ///< re-runs since ResetReinspectCount
    CScratchArray<short> ConBuffComp;    ///< first strip buffer
    CScratchArray<short> ConBuffComp2;   ///< second strip buffer
    CScratchArray<std::int64_t> Int64BuffComp; ///< integral image of average mode

    /// No stores, no sub-engines.
    CNarvoAssem();
    /// Shares everything with the other engine.
    CNarvoAssem(const CNarvoAssem& other) = default;
    /// As the copy; what this engine held is not freed.
    CNarvoAssem& operator=(const CNarvoAssem& other) = default;
    /// Frees stores, buffers and sub-engines.
    ~CNarvoAssem() override;

    /// Makes the stores: nDefectSize blobs, and twice the larger of nDefectSize and 80000 hits and pairs.
    /// @return 1, or 0 without memory (stores built before stay)
    int InitAssem(int nIndex, int nDefectSize);
    /// Makes nThreads sub-engines once; later calls change nothing. @return 1
    int EnableInternalThread(int nThreads, int nDefectSize);
    /// Clears hits, pairs, blobs and both times.
    void ResetNarvoAssem();
    /// Clears hits and pairs; blobs stay.
    void InspectPAD_Clear();

    /// Inspects rtInspect by nInspectMode and nDirection. Blobs join those held: call ResetNarvoAssem first. An
    /// overflow starts re-runs from where the pass stopped, as long as nReinspectCount is below nMaxReinspect; re-runs
    /// that would repeat themselves without changing the blobs are counted but not made.
    /// @return 1, 8 or 16. 8 comes from the checks below (modes 2 and 3 skip them) and, in every mode, for what would
    /// be read outside the image or the tables: a region not inside the image, a null image under a region that is not
    /// empty, a pitch that is not finite, beyond 2^26 pixels or negative along the compare direction, or one across it
    /// that is not finite or beyond 2^26 pixels where a cross filter reads it, tables or the zone grid missing where
    /// they are needed, zone cells less than a pixel high, an engine without stores
    int Inspect_Rect(CConvParam* pParam);
    /// Inspect_Rect in bands of columns, in parallel on the sub-engines, for regions of 2000 pixels or more along the
    /// split axis; blobs of all bands are gathered here, seams are not bridged. What Inspect_Rect refuses because it
    /// would read outside image or tables is refused here before the bands run, for the region or for any band of it;
    /// the bands' own results are ignored. In a forked child bands run one after the other.
    /// @return 1, 8 (no sub-engines, or refused) or 16
    int Inspect_RectThread(CConvParam* pParam);
    /// Inspects trapInspect; singles are not kept. @return 1, 8 or 16
    int Inspect_Trapezium(CConvParam* pParam);
    /// Inspects rtInspect with zone cells unbounded along one axis, or as pixel mode without zone maps; singles are
    /// not kept. @return 1, 8 or 16
    int Inspect_ASG(CConvParam* pParam);

    /// Checks the engine's parameters for a horizontal run and clamps nGrayLimit to 1 .. 255: an image is set, three
    /// real conv pitches fit into image and region, image and region hold the windows, windows are 1 .. 1023,
    /// nCheckLimit1 >= 10, nCheckLimit2 >= 2, map corners are not negative, nThreshold >= 1. nCheck becomes 0.
    /// @return 1 or 8
    int CheckParameter(int& nCheck);
    /// The same for a vertical run: three real scan pitches must fit into the region's height.
    int CheckParameter_Vert(int& nCheck);
    /// Adds 1 to nReinspectCount.
    void CountReinspect();
    /// nReinspectCount to 0.
    void ResetReinspectCount();

    /// The zone comparison: chooses a kernel, builds blobs, tidies them. @return end line: first row (horizontal) or
    /// column (vertical) not finished
    int Compare_Zone2();
    /// The zone comparison with cells unbounded across the compare direction. @return end line
    int Compare_ASGZone();
    /// The pixel comparison: scalar thresholds. Only an nDirection of exactly 1 is vertical. @return end line
    int Compare_Pixel();
    /// The float comparison: sums of windows of nConvWidth times nConvHeight pixels; the area chooses the kernel. Only
    /// an nDirection of exactly 1 is vertical. @return end line
    int Compare_Float();
    /// The trapezium comparison inside trapInspect: builds and merges blobs, without removing ghosts.
    void Compare_Trapezium();

    /// Binarise mode: reports the pixels of rtInspect with 0 < grey < nThreshold, then builds blobs. @return end line
    int BinalizeInspection();
    /// Writes a record for each pixel strictly between the two limits (the smaller is the lower one; only their low
    /// bytes are compared). Each row is scanned in whole blocks of 16 that begin left of right - 16, so its last 1 to
    /// 16 columns stay out. The record that brings the count to nPairSize or above is the last, and nEndLine its row;
    /// otherwise nEndLine is the bottom. Dead zones restrict nothing. @return the new pair count
    int BinalizeInspection(unsigned char* pImage, int nLowGray, int nHighGray, CRect rtInspect, int nImagePitch,
                           CDefectPair* pPair, int nPairCount, int nPairSize, int& nEndLine);
    /// Average mode: CompareAverageROI over rtInspect with the windows nAverageParam1 and nAverageParam2 and the
    /// thresholds nBlackFilterGray (dark) and nThreshold (bright), then builds blobs. @return 1
    int CompareAverage();

    // Zone kernels that read the engine: dead zones of the parameters drop records, peaks are not written, singles
    // need bKeepSingle exactly 1 and nothing else. Arguments as in fastkernels.h. All members that are called directly
    // take the image's height from nImageHeight of the engine's parameters, and read nothing below the last row; with
    // 0 there, reads are not bounded.

    /// As ConvZoneVertFast.
    int ConvZoneVert2S_Intrin(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                              std::int64_t nThresholdExtra, std::int64_t nGrayLimit);
    /// Thresholds from pTspTable and pTspTable2 by zone; the maps give the zone alone.
    int ConvZoneVert2S_TSP_Intrin(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                                  std::int64_t nThresholdExtra, std::int64_t nGrayLimit);
    /// Dark records must also exceed nBlackFilterGray + compare value * nBlackFilterGain / 256.
    int ConvZoneVert2S_BlackFilter(NARVO_ZONE_ARGUMENTS, short* pStripBuffer, std::int64_t bKeepSingle, int* pEndLine,
                                   std::int64_t nThresholdExtra, std::int64_t nGrayLimit);
    /// As ConvZoneVTDFast.
    int ConvZoneVTD_Intrin(NARVO_ZONE_VTD_ARGUMENTS, std::int64_t nVtdPitch16, std::int64_t bKeepSingle, int* pEndLine,
                           std::int64_t nThresholdExtra, std::int64_t nGrayLimit);

    // Pixel kernels that read the engine; peaks are not written. Arguments as in fastkernels.h.

    /// As ConvPixelFast without peaks; of the engine only nImageHeight is read.
    int ConvPixel_Intrin(NARVO_PIXEL_ARGUMENTS, int* pEndLine);
    /// Two passes of ConvPixel_Intrin, the second with a pitch and a threshold set of its own, and the blob steps of
    /// both: pairs of the second pass beside one of the first are removed. pEndLine is that of the second pass.
    int ConvPixel_Intrin_Twice(NARVO_PIXEL_ARGUMENTS, int* pEndLine, std::int64_t nTwicePitch16,
                               std::int64_t nTwiceThreshold, std::int64_t nTwiceThresholdGain);
    /// Hits exceed the smaller of the two threshold sets; bright records must exceed the first set, dark ones the
    /// second (nBlackFilterGray, nBlackFilterGain; the first set where nBlackFilterGray is below 1). Dead zones drop
    /// records; singles need bKeepSingle exactly 1.
    int ConvPixelVertS_Intrin(NARVO_PIXEL_ARGUMENTS, short* pStripBuffer, int* pEndLine, std::int64_t nThresholdExtra);
    /// As ConvPixel_Intrin_Twice, with ConvPixelVertS_Intrin.
    int ConvPixelVertS_Intrin_Twice(NARVO_PIXEL_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                                    std::int64_t nThresholdExtra, std::int64_t nTwicePitch16,
                                    std::int64_t nTwiceThreshold, std::int64_t nTwiceThresholdGain);
    /// ConvPixelVertS_Intrin with a row table.
    int ConvPixelVTDS_Intrin(NARVO_PIXEL_VTD_ARGUMENTS, short* pStripBuffer, int* pEndLine,
                             std::int64_t nThresholdExtra);

    // Float kernels that read the engine: dead zones drop records, the second threshold set judges dark ones
    // (nBlackFilterGray in grey levels, where nThreshold is in quarters), singles need bKeepSingle of the parameters.

    /// As ConvFloatVertFast4.
    int ConvFloatVert_Intrin(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VERT_TAIL);
    /// As ConvFloatVTDFast.
    int ConvFloatVTD_Intrin(NARVO_FLOAT_ARGUMENTS, NARVO_FLOAT_VTD_TAIL);

protected:
    /// ConvFloatVert_Intrin over rtRegion with all inputs from the engine: singles are kept and must pass
    /// JumpFilter_Vert2by2, which marks false ones as removed. @return the new pair count; nEndLine is the first
    /// column not finished
    int ConvFloatVJF_Intrin(CRect rtRegion, int& nEndLine);
    /// The same one column at a time with the pitch in double precision; dead zones have no effect.
    int ConvFloatVJF_Cpp(CRect rtRegion, int& nEndLine);

    /// Float inspection inside the polygon pFreeFormPoint, clipped to rtInspect: strips of the region on the VJF
    /// kernels, then the thresholds of the zone maps. nEndLine becomes the bottom of rtInspect; it stays when the
    /// polygon leaves nothing to inspect. @return the new pair count
    int Inspect_FreeForm(int& nEndLine);
    /// Pixel inspection of the source pixels that pFreeFormMask allows, then the thresholds of the zone maps.
    int Inspect_FreeFormMask(int& nEndLine);
    /// The part of a polygon inside rtFrame as rectangles of at least 16 columns. The list is allocated with
    /// std::malloc, for the caller to free. @return 1 if a list was produced, otherwise 0
    int MakeFrameRegion(CPoint* pPoint, int nCount, CRect rtFrame, int& nRectCount, CRect** prtArry);
    /// Joins the bands of a region built with x and y exchanged into such rectangles, in image coordinates. Thin bands
    /// after the last wide one are dropped. @return 1 if the region holds a rectangle, otherwise 0
    int ExtractRectInRgn(CRgn& rgn, int& nRectCount, CRect** prtArry);

    /// Sizes both strip buffers to (nSize + 32) * 16 shorts and clears them; nSize below 1 becomes 1.
    void ResetConBuff(int& nSize);
    /// The first strip buffer.
    short* GetConBuffComp();
    /// The second strip buffer.
    short* GetConBuffComp2();
    /// Sizes the 64-bit array to nCount elements and clears it.
    void GetInt64BuffComp(int nCount);
    /// The 64-bit array.
    std::int64_t* GetInt64BuffComp();

    /// The origin record whose column holds nValue: walks along the grid row in steps of one two-int record, counting
    /// from nStart up to nLimit. @return null when it walks off the limit, and for a value left of the first record
    static int* FindZoneColumn(int nValue, int* pRecord, int nStart, int nLimit);
    /// The same down a grid column, in steps of nColumns records.
    static int* FindZoneRow(int nValue, int* pRecord, int nStart, int nRowLimit, int nColumns);
};
