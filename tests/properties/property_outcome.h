// SPDX-License-Identifier: MIT
// The results of an inspection in every field: read from a lane, moved, compared.
#pragma once

#include <string>
#include <vector>

#include "narvoassem/narvoassem.h"

namespace narvo::test
{

struct CPropertyOutcome
{
    int nCode = 0;
    std::vector<CDefectPair> aPairs; ///< in the order of the pair store; empty after a band split
    std::vector<CDefectBlob> aBlobs; ///< in the order of the blob store

    /// The lane's contents after a call that returned nResult. After a band split (bForked) a lane holds the number of
    /// pairs but no pairs.
    static CPropertyOutcome Read(CNarvoAssem& lane, int nResult, bool bForked = false);

    /// Adds (nX, nY) to every position.
    void Move(int nX, int nY);

    /// Empty if both outcomes are equal in every field, otherwise the first differences as text.
    std::string DifferenceFrom(const CPropertyOutcome& expected) const;
};

/// Adds (nX, nY) to every position in the record.
void MoveRecord(CDefectPair& pair, int nX, int nY);
void MoveRecord(CDefectBlob& blob, int nX, int nY);

/// The first difference between two lists of records, by field; empty if there is none.
std::string DifferenceOf(const std::vector<CDefectPair>& aFound, const std::vector<CDefectPair>& aExpected);
std::string DifferenceOf(const std::vector<CDefectBlob>& aFound, const std::vector<CDefectBlob>& aExpected);

/// The records sorted by all their fields: for properties that do not preserve the order.
std::vector<CDefectPair> InOrder(const std::vector<CDefectPair>& aPairs);
std::vector<CDefectBlob> InOrder(const std::vector<CDefectBlob>& aBlobs);

} // namespace narvo::test
