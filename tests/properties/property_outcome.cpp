// SPDX-License-Identifier: MIT
// See property_outcome.h. Records are compared as lists of numbers with names; a double holds every field exactly.
#include "properties/property_outcome.h"

#include <algorithm>
#include <cstddef>
#include <sstream>

namespace narvo::test
{

namespace
{

struct CField
{
    const char* pName;
    int nIndex; ///< negative for a field that is no array
    double dValue;

    std::string Name() const { return nIndex < 0 ? pName : pName + ('[' + std::to_string(nIndex) + ']'); }
};

using CFields = std::vector<CField>;

template <typename T, int nCount>
void AddArray(CFields& aFields, const char* pName, const T (&values)[nCount])
{
    for (int i = 0; i < nCount; ++i)
        aFields.push_back({pName, i, static_cast<double>(values[i])});
}

#define NARVO_FIELD(name) aFields.push_back({#name, -1, static_cast<double>(record.name)})
#define NARVO_POINT(name) NARVO_FIELD(name.x), NARVO_FIELD(name.y)

CFields FieldsOf(const CDefectPair& record)
{
    CFields aFields;
    aFields.reserve(160);
    NARVO_POINT(ptDefect);
    NARVO_FIELD(nDefectPos);
    NARVO_FIELD(nDefectPair);
    NARVO_FIELD(nDefectType);
    NARVO_FIELD(nPeak);
    NARVO_FIELD(nSrcGray);
    NARVO_FIELD(nCmpGray);
    NARVO_FIELD(nZoneIndex);
    NARVO_FIELD(nThreshold);
    NARVO_FIELD(nSubZone);
    return aFields;
}

CFields FieldsOf(const CDefectBlob& record)
{
    CFields aFields;
    aFields.reserve(160);
    NARVO_FIELD(rtDefect.left);
    NARVO_FIELD(rtDefect.top);
    NARVO_FIELD(rtDefect.right);
    NARVO_FIELD(rtDefect.bottom);
    NARVO_FIELD(nDefectType);
    NARVO_FIELD(nDefectPos);
    NARVO_FIELD(nDefectPair);
    NARVO_FIELD(nBlobId);
    NARVO_FIELD(nPairCount);
    NARVO_FIELD(nClass);
    NARVO_POINT(ptCenter);
    NARVO_POINT(ptPeak);
    NARVO_POINT(ptMaxGray);
    NARVO_FIELD(nRScale);
    NARVO_FIELD(nMaxPeak);
    NARVO_FIELD(nMinSrcGray);
    NARVO_FIELD(nMaxSrcGray);
    NARVO_FIELD(nAvgSrcGray);
    NARVO_FIELD(nMinCmpGray);
    NARVO_FIELD(nMaxCmpGray);
    NARVO_FIELD(nAvgCmpGray);
    NARVO_FIELD(nMinDiff);
    NARVO_FIELD(nMaxDiff);
    NARVO_FIELD(nAvgDiff);
    NARVO_FIELD(nSumSrcGray);
    NARVO_FIELD(nSumCmpGray);
    NARVO_FIELD(nSumDiff);
    NARVO_FIELD(nMaxThreshold);
    NARVO_FIELD(nAvgThreshold);
    NARVO_FIELD(nSumThreshold);
    AddArray(aFields, "nZoneCount", record.nZoneCount);
    AddArray(aFields, "nSubZoneCount", record.nSubZoneCount);
    AddArray(aFields, "nZoneMinPeak", record.nZoneMinPeak);
    AddArray(aFields, "nZoneMaxPeak", record.nZoneMaxPeak);
    AddArray(aFields, "nZoneSumPeak", record.nZoneSumPeak);
    NARVO_FIELD(nMultiType);
    NARVO_FIELD(bRemoved);
    for (int i = 0; i < CDefectBlob::nExtremeCount; ++i)
    {
        aFields.push_back({"ptExtreme.x", i, static_cast<double>(record.ptExtreme[i].x)});
        aFields.push_back({"ptExtreme.y", i, static_cast<double>(record.ptExtreme[i].y)});
    }
    NARVO_FIELD(dAngle);
    NARVO_FIELD(dMajorAxis);
    NARVO_FIELD(dMinorAxis);
    NARVO_FIELD(dCircularity);
    NARVO_FIELD(dElongation);
    return aFields;
}

#undef NARVO_POINT
#undef NARVO_FIELD

bool operator==(const CField& left, const CField& right)
{
    return left.dValue == right.dValue;
}

bool operator<(const CField& left, const CField& right)
{
    return left.dValue < right.dValue;
}

template <typename TRecord>
std::string DifferenceOfLists(const char* pKind, const std::vector<TRecord>& aFound,
                              const std::vector<TRecord>& aExpected)
{
    std::ostringstream text;
    if (aFound.size() != aExpected.size())
        text << aFound.size() << ' ' << pKind << "s in place of " << aExpected.size() << "; ";
    for (std::size_t i = 0; i < std::min(aFound.size(), aExpected.size()); ++i)
    {
        const CFields aFoundFields = FieldsOf(aFound[i]);
        const CFields aExpectedFields = FieldsOf(aExpected[i]);
        if (aFoundFields == aExpectedFields)
            continue;
        text << pKind << ' ' << i << ':';
        for (std::size_t k = 0; k < aFoundFields.size(); ++k)
            if (!(aFoundFields[k] == aExpectedFields[k]))
                text << ' ' << aFoundFields[k].Name() << ' ' << aFoundFields[k].dValue << " in place of "
                     << aExpectedFields[k].dValue;
        break;
    }
    return text.str();
}

/// Through an index, since the assignment of a blob skips one field.
template <typename TRecord>
std::vector<TRecord> InOrderOfFields(const std::vector<TRecord>& aRecords)
{
    std::vector<std::pair<CFields, std::size_t>> aKeys;
    for (std::size_t i = 0; i < aRecords.size(); ++i)
        aKeys.emplace_back(FieldsOf(aRecords[i]), i);
    std::sort(aKeys.begin(), aKeys.end());
    std::vector<TRecord> aResult;
    aResult.reserve(aRecords.size());
    for (const auto& key : aKeys)
        aResult.emplace_back(aRecords[key.second]);
    return aResult;
}

} // namespace

CPropertyOutcome CPropertyOutcome::Read(CNarvoAssem& lane, int nResult, bool bForked)
{
    CPropertyOutcome outcome;
    outcome.nCode = nResult;
    for (int i = 0; !bForked && i < lane.GetPairCount(); ++i)
        outcome.aPairs.push_back(*lane.GetPairDefect(i));
    outcome.aBlobs.reserve(static_cast<std::size_t>(lane.GetBlobCount()));
    for (int i = 0; i < lane.GetBlobCount(); ++i)
        outcome.aBlobs.emplace_back(*lane.GetBlobDefect(i));
    return outcome;
}

void MoveRecord(CDefectPair& pair, int nX, int nY)
{
    pair.ptDefect.x += nX;
    pair.ptDefect.y += nY;
}

void MoveRecord(CDefectBlob& blob, int nX, int nY)
{
    const auto Move = [&](CPoint& pt)
    {
        pt.x += nX;
        pt.y += nY;
    };
    Move(blob.ptCenter);
    Move(blob.ptPeak);
    Move(blob.ptMaxGray);
    for (CPoint& pt : blob.ptExtreme)
        Move(pt);
    blob.rtDefect.OffsetRect(nX, nY);
}

void CPropertyOutcome::Move(int nX, int nY)
{
    for (CDefectPair& pair : aPairs)
        MoveRecord(pair, nX, nY);
    for (CDefectBlob& blob : aBlobs)
        MoveRecord(blob, nX, nY);
}

std::string CPropertyOutcome::DifferenceFrom(const CPropertyOutcome& expected) const
{
    std::string strDifference;
    if (nCode != expected.nCode)
        strDifference = "code " + std::to_string(nCode) + " in place of " + std::to_string(expected.nCode) + "; ";
    return strDifference + DifferenceOf(aPairs, expected.aPairs) + DifferenceOf(aBlobs, expected.aBlobs);
}

std::string DifferenceOf(const std::vector<CDefectPair>& aFound, const std::vector<CDefectPair>& aExpected)
{
    return DifferenceOfLists("pair", aFound, aExpected);
}

std::string DifferenceOf(const std::vector<CDefectBlob>& aFound, const std::vector<CDefectBlob>& aExpected)
{
    return DifferenceOfLists("blob", aFound, aExpected);
}

std::vector<CDefectPair> InOrder(const std::vector<CDefectPair>& aPairs)
{
    return InOrderOfFields(aPairs);
}

std::vector<CDefectBlob> InOrder(const std::vector<CDefectBlob>& aBlobs)
{
    return InOrderOfFields(aBlobs);
}

} // namespace narvo::test
