// The layouts that hosts and kernels agree on: sizes, and the order of fields without a gap or an extra field.
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "narvoassem/convparam.h"
#include "narvoassem/defectpair.h"

namespace
{

struct SField
{
    const char* pName;
    std::size_t nOffset;
    std::size_t nSize;
    std::size_t nAlignment;
};

template <class TRecord, class TField>
SField Place(const TRecord& record, const TField& field, const char* pName)
{
    const auto nOffset = reinterpret_cast<std::uintptr_t>(&field) - reinterpret_cast<std::uintptr_t>(&record);
    return {pName, nOffset, sizeof(TField), alignof(TField)};
}

std::size_t AlignUp(std::size_t nOffset, std::size_t nAlignment)
{
    return (nOffset + nAlignment - 1) / nAlignment * nAlignment;
}

/// Each field begins at the first place that its alignment allows behind the one before it.
void ExpectTight(const std::vector<SField>& fields, std::size_t nFirst, std::size_t nRecordSize,
                 std::size_t nRecordAlignment)
{
    std::size_t nNext = nFirst;
    for (const SField& field : fields)
    {
        EXPECT_EQ(field.nOffset, AlignUp(nNext, field.nAlignment)) << field.pName;
        nNext = field.nOffset + field.nSize;
    }
    EXPECT_EQ(nRecordSize, AlignUp(nNext, nRecordAlignment));
}

TEST(RecordLayout, PairRecordIsElevenWordsInTheListedOrder)
{
    static_assert(sizeof(CDefectPair) == 44);
    static_assert(std::is_standard_layout_v<CDefectPair> && std::is_trivially_copyable_v<CDefectPair>);
    const CDefectPair pair;
#define NARVO_FIELD(name) Place(pair, pair.name, #name)
    ExpectTight({NARVO_FIELD(nDefectPos), NARVO_FIELD(nDefectPair), NARVO_FIELD(nDefectType), NARVO_FIELD(nPeak),
                 NARVO_FIELD(ptDefect.x), NARVO_FIELD(ptDefect.y), NARVO_FIELD(nSrcGray), NARVO_FIELD(nCmpGray),
                 NARVO_FIELD(nZoneIndex), NARVO_FIELD(nThreshold), NARVO_FIELD(nSubZone)},
                0, sizeof(CDefectPair), alignof(CDefectPair));
#undef NARVO_FIELD
}

TEST(RecordLayout, ResultRecordIs24Bytes)
{
    static_assert(sizeof(CConvResult) == 24);
    const CConvResult result;
    EXPECT_EQ(static_cast<const void*>(result.nData), static_cast<const void*>(&result));
}

TEST(RecordLayout, ParameterBlockHoldsItsFieldsInTheListedOrderReservedOnesIncluded)
{
    static_assert(std::has_virtual_destructor_v<CConvParam>);
    const CConvParam param;
#define NARVO_FIELD(name) Place(param, param.name, #name)
    const std::vector<SField> fields = {NARVO_FIELD(nInspectMode),
                                        NARVO_FIELD(nDirection),
                                        NARVO_FIELD(nMaxReinspect),
                                        NARVO_FIELD(bAverage2by2),
                                        NARVO_FIELD(bExtendedKernel),
                                        NARVO_FIELD(bZoneFlagged),
                                        NARVO_FIELD(pImage),
                                        NARVO_FIELD(nImageWidth),
                                        NARVO_FIELD(nImageHeight),
                                        NARVO_FIELD(trapInspect),
                                        NARVO_FIELD(rtInspect),
                                        NARVO_FIELD(rtMarginFrame),
                                        NARVO_FIELD(rtDeadZone),
                                        NARVO_FIELD(pFreeFormPoint),
                                        NARVO_FIELD(nFreeFormPointCount),
                                        NARVO_FIELD(nConvWidth),
                                        NARVO_FIELD(nConvHeight),
                                        NARVO_FIELD(dConvPitch),
                                        NARVO_FIELD(nConvMultiple),
                                        NARVO_FIELD(dScanPitch),
                                        NARVO_FIELD(nScanMultiple),
                                        NARVO_FIELD(fVtdPitch),
                                        NARVO_FIELD(dClassPitch),
                                        NARVO_FIELD(nThreshold),
                                        NARVO_FIELD(nThresholdGain),
                                        NARVO_FIELD(nGrayLimit),
                                        NARVO_FIELD(nReservedGray),
                                        NARVO_FIELD(nBlackFilterGray),
                                        NARVO_FIELD(nBlackFilterGain),
                                        NARVO_FIELD(bBandThread),
                                        NARVO_FIELD(bUseLineBuffer),
                                        NARVO_FIELD(bAutoDirection),
                                        NARVO_FIELD(bKeepSingle),
                                        NARVO_FIELD(nPairSearchSlack),
                                        NARVO_FIELD(nThresholdExtra),
                                        NARVO_FIELD(pScanPitchTable),
                                        NARVO_FIELD(pReservedTable),
                                        NARVO_FIELD(nReservedTable),
                                        NARVO_FIELD(pTiltScanTable),
                                        NARVO_FIELD(pTiltConvTable),
                                        NARVO_FIELD(pConvPitchTable),
                                        NARVO_FIELD(pConvWeightNear),
                                        NARVO_FIELD(pConvWeightFar),
                                        NARVO_FIELD(bTwoSegmentThreshold),
                                        NARVO_FIELD(pZoneIndexMap),
                                        NARVO_FIELD(pThresholdOffsetMap),
                                        NARVO_FIELD(pThresholdGainMap),
                                        NARVO_FIELD(pThresholdOffsetMap2),
                                        NARVO_FIELD(pThresholdGainMap2),
                                        NARVO_FIELD(pThresholdKneeMap),
                                        NARVO_FIELD(pClassIdMap),
                                        NARVO_FIELD(nZoneMapStride),
                                        NARVO_FIELD(nZoneMapHeight),
                                        NARVO_FIELD(nZoneMapLeft),
                                        NARVO_FIELD(nZoneMapTop),
                                        NARVO_FIELD(pZoneOriginTable),
                                        NARVO_FIELD(nZoneColumns),
                                        NARVO_FIELD(nZoneConvMultiple),
                                        NARVO_FIELD(nZoneScanMultiple),
                                        NARVO_FIELD(pFilterOffset),
                                        NARVO_FIELD(pFilterGain),
                                        NARVO_FIELD(pFilterOffset1),
                                        NARVO_FIELD(pFilterGain1),
                                        NARVO_FIELD(pTspTable),
                                        NARVO_FIELD(pTspTable2),
                                        NARVO_FIELD(nAverageParam1),
                                        NARVO_FIELD(nAverageParam2),
                                        NARVO_FIELD(nCheckLimit1),
                                        NARVO_FIELD(nCheckLimit2),
                                        NARVO_FIELD(bFalseFilter),
                                        NARVO_FIELD(bMarginFilter),
                                        NARVO_FIELD(nFilterMode),
                                        NARVO_FIELD(nFilterMode2),
                                        NARVO_FIELD(nReservedFilter),
                                        NARVO_FIELD(nMergeDivision),
                                        NARVO_FIELD(pReservedMerge),
                                        NARVO_FIELD(nReservedMerge),
                                        NARVO_FIELD(dPixelSizeX),
                                        NARVO_FIELD(dPixelSizeY),
                                        NARVO_FIELD(nReservedShort),
                                        NARVO_FIELD(nReservedSize),
                                        NARVO_FIELD(nMultiType),
                                        NARVO_FIELD(bTwice),
                                        NARVO_FIELD(nTwiceThreshold),
                                        NARVO_FIELD(nTwiceThresholdGain),
                                        NARVO_FIELD(dTwicePitch),
                                        NARVO_FIELD(nReservedTwice),
                                        NARVO_FIELD(pFreeFormMask),
                                        NARVO_FIELD(nReservedMask),
                                        NARVO_FIELD(nFreeFormMaskParam),
                                        NARVO_FIELD(nDarkGrayLimit),
                                        NARVO_FIELD(nBrightMinDiff),
                                        NARVO_FIELD(dVeriPitchConv),
                                        NARVO_FIELD(dVeriPitchScan),
                                        NARVO_FIELD(pVeriPitchString)};
#undef NARVO_FIELD
    // The destructor is virtual: one pointer precedes the fields.
    ExpectTight(fields, sizeof(void*), sizeof(CConvParam), alignof(CConvParam));
}

TEST(RecordLayout, RectangleAndPointsArePlainInts)
{
    static_assert(sizeof(CRect) == 16 && sizeof(CPoint) == 8 && sizeof(CPadPoint) == 8 && sizeof(CTrapezium) == 32);
    const CRect rect(1, 2, 3, 4);
#define NARVO_FIELD(name) Place(rect, rect.name, #name)
    ExpectTight({NARVO_FIELD(left), NARVO_FIELD(top), NARVO_FIELD(right), NARVO_FIELD(bottom)}, 0, sizeof(CRect),
                alignof(CRect));
#undef NARVO_FIELD
}

} // namespace
