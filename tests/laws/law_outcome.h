// What an inspection leaves for its host, every field of it: taken out of a lane, moved, compared.
#pragma once

#include <string>
#include <vector>

#include "narvoassem/narvoassem.h"

namespace narvo::test
{

struct CLawOutcome
{
    int nCode = 0;
    std::vector<CDefectPair> aPairs; ///< in the order of the pair store; empty after a band split
    std::vector<CDefectBlob> aBlobs; ///< in the order of the blob store

    /// What lies in the lane after a call that gave nResult. A lane that forked holds a number of pairs but none of
    /// them: say so with bForked.
    static CLawOutcome Read(CNarvoAssem& lane, int nResult, bool bForked = false);

    /// Adds (nX, nY) to every position.
    void Move(int nX, int nY);

    /// Empty where both outcomes are the same in every field, otherwise the first differences in words.
    std::string DifferenceFrom(const CLawOutcome& expected) const;
};

/// Adds (nX, nY) to every position in the record.
void MoveRecord(CDefectPair& pair, int nX, int nY);
void MoveRecord(CDefectBlob& blob, int nX, int nY);

/// The first difference between two lists of records, by field; empty where there is none.
std::string DifferenceOf(const std::vector<CDefectPair>& aFound, const std::vector<CDefectPair>& aExpected);
std::string DifferenceOf(const std::vector<CDefectBlob>& aFound, const std::vector<CDefectBlob>& aExpected);

/// The records in an order of their own, by all their fields: for laws under which the order may change.
std::vector<CDefectPair> InOrder(const std::vector<CDefectPair>& aPairs);
std::vector<CDefectBlob> InOrder(const std::vector<CDefectBlob>& aBlobs);

} // namespace narvo::test
