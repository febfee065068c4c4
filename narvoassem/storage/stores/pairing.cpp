// SPDX-License-Identifier: MIT
// The plain pairing walks over the hit arrays. The compare kernels implement the same rule with variants of their own.
#include <cstdint>

#include "narvoassem/base/pixel_read.h"
#include "narvoassem/base/wrap_int.h"
#include "narvoassem/pairstorage.h"
#include "narvoassem/storage/stores/store_memory.h"

using namespace narvo::engine;

namespace narvo::engine
{

namespace
{

enum class EPairFields
{
    All,
    PositionTypePeak,
    PositionType
};

class CPairingWalk
{
public:
    CPairingWalk(CPairStorage& store, double dPitch, EPairFields eFields)
        : m_store(store), m_eFields(eFields), m_dStep(dPitch + 0.5), m_nStep(TruncateToInt(m_dStep))
    {
    }

    void WalkAlongX()
    {
        const CRect& rtInspect = m_store.ConvParam.rtInspect;
        const int nLeftEnd = WrapAdd(rtInspect.left, m_nStep);
        const int nRightStart = WrapSub(rtInspect.right, TruncateToInt(2.0 * m_dStep));
        for (int i = 0; i < m_store.nPixelCount && HasRoom(); ++i)
        {
            if (IsOut(i))
                continue;
            const int x = m_store.pPixelX[i];
            if (x < nLeftEnd)
                AddPairOrSingle(i, FindAlongX(i), DefectPos_First);
            else if (x > nRightStart)
                AddMirrored(i);
            else if (const int nPartner = FindAlongX(i); nPartner >= 0)
                AddPairOrSingle(i, nPartner, DefectPos_Middle);
        }
    }

    void WalkAlongY()
    {
        const int nTopEnd = WrapAdd(m_store.ConvParam.rtInspect.top, m_nStep);
        for (int i = 0; i < m_store.nPixelCount && HasRoom(); ++i)
        {
            if (!IsOut(i))
                AddPairOrSingle(i, FindAlongY(i), m_store.pPixelY[i] < nTopEnd ? DefectPos_First : DefectPos_Middle);
        }
    }

private:
    bool HasRoom() const
    {
        return m_store.pPair != nullptr && m_store.nPairCount < WrapAdd(m_store.nPairSize, nSpareEntries);
    }

    bool IsOut(int nHit) const
    {
        const short nType = m_store.pPixelType[nHit];
        return nType == DefectType_None || nType == DefectType_Removed;
    }

    int FindAlongX(int nHit) const
    {
        const int nWanted = WrapAdd(m_store.pPixelX[nHit], m_nStep);
        for (int j = nHit + 1; j < m_store.nPixelCount; ++j)
        {
            if (IsOut(j))
                continue;
            if (m_store.pPixelY[j] != m_store.pPixelY[nHit])
                return -1;
            if (m_store.pPixelType[j] != m_store.pPixelType[nHit] && m_store.pPixelX[j] == nWanted)
                return j;
        }
        return -1;
    }

    int FindAlongY(int nHit) const
    {
        const int nWanted = WrapAdd(m_store.pPixelY[nHit], m_nStep);
        for (int j = nHit + 1; j < m_store.nPixelCount; ++j)
        {
            if (!IsOut(j) && m_store.pPixelY[j] == nWanted && m_store.pPixelX[j] == m_store.pPixelX[nHit] &&
                m_store.pPixelType[j] != m_store.pPixelType[nHit])
                return j;
        }
        return -1;
    }

    void AddPairOrSingle(int nHit, int nPartner, DefectPos ePos)
    {
        if (nPartner < 0)
        {
            AddRecord(nHit, m_store.pPixelX[nHit], ePos, DefectPair_Single);
            return;
        }
        AddRecord(nPartner, m_store.pPixelX[nPartner], ePos, DefectPair_Paired);
        m_store.pPixelType[nPartner] = DefectType_Removed;
    }

    // The partner lies past the end of the region: the record represents it, one pitch ahead, sides exchanged.
    void AddMirrored(int nHit)
    {
        m_store.pPixelType[nHit] = m_store.pPixelType[nHit] != 0 ? DefectType_Dark : DefectType_Bright;
        AddRecord(nHit, WrapAdd(m_store.pPixelX[nHit], m_nStep), DefectPos_Last, DefectPair_Single);
    }

    void AddRecord(int nHit, int x, DefectPos ePos, DefectPair ePair)
    {
        CDefectPair& pair = m_store.pPair[m_store.nPairCount++];
        pair.nDefectPos = ePos;
        pair.nDefectPair = ePair;
        pair.ptDefect = CPoint(x, m_store.pPixelY[nHit]);
        pair.nDefectType = m_store.pPixelType[nHit];
        if (m_eFields == EPairFields::PositionType)
            return;
        pair.nPeak = m_store.pPeak[nHit];
        if (m_eFields == EPairFields::PositionTypePeak)
            return;
        pair.nSrcGray = m_store.pSrcGray[nHit];
        pair.nCmpGray = m_store.pCmpGray[nHit];
        pair.nZoneIndex = m_store.pZoneIndex[nHit];
        pair.nThreshold = m_store.pThreshold[nHit];
    }

    CPairStorage& m_store;
    EPairFields m_eFields;
    double m_dStep;
    int m_nStep; ///< the pitch rounded to whole pixels
};

} // namespace

} // namespace narvo::engine

int CPairStorage::PairingPlus_Pixel(double dPitch)
{
    CPairingWalk(*this, dPitch, EPairFields::All).WalkAlongX();
    return 1;
}

int CPairStorage::PairingPlus_Float(double dPitch)
{
    CPairingWalk(*this, dPitch, EPairFields::PositionTypePeak).WalkAlongX();
    return 1;
}

int CPairStorage::PairingPlus_Vert(double dPitch)
{
    CPairingWalk(*this, dPitch, EPairFields::PositionType).WalkAlongY();
    return 1;
}

int CPairStorage::PairingMinus_Pixel(double)
{
    return 1;
}

int CPairStorage::PairingMinus_Float(double)
{
    return 1;
}

int CPairStorage::PairingMinus_Vert(double)
{
    return 1;
}
