// SPDX-License-Identifier: MIT
// Verification of a pair against the short pitches of its zone, for a caller that verifies many pairs.
#pragma once

#include <array>

#include "narvoassem/blobstorage.h"

namespace narvo::engine
{

/// The checks that a zone's string lists.
struct SZoneChecks
{
    static constexpr int nCheckLimit = 5;

    int nMode = 0;                    ///< 1 fixed short pitches, 2 short pitches from the tables, otherwise off
    int nDirection[nCheckLimit] = {}; ///< 1 along x, 2 along y, 3 tilted; 0 ends the list
    int nCycle[nCheckLimit] = {};     ///< short pitches to step; 0 ends the list
};

/// Verifies pairs of one store; the string of each zone is parsed once. The strings must not change meanwhile.
class CPitchVerifier
{
public:
    explicit CPitchVerifier(CBlobStorage& store) : m_store(store) {}

    /// As CBlobStorage::VeriPitchDPCFiltering.
    int Verify(CDefectPair& pair);

private:
    const SZoneChecks& GetChecks(int nZone);
    int VerifyFixed(CDefectPair& pair, const SZoneChecks& checks);
    int VerifyByTables(CDefectPair& pair, const SZoneChecks& checks);
    bool MatchesAlongX(const CDefectPair& pair, double dPitch) const;
    bool MatchesAlongY(const CDefectPair& pair, double dPitch) const;
    int Remove(CDefectPair& pair, int& nCounter);

    CBlobStorage& m_store;
    std::array<SZoneChecks, CConvParam::nZoneLimit> m_checks{};
    std::array<bool, CConvParam::nZoneLimit> m_bParsed{};
};

} // namespace narvo::engine
