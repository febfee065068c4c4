// SPDX-License-Identifier: MIT
// Plain scalar trapezium kernels. Speed does not matter here; every rule is where a reader would look for it.
#include "reference/trapezium_reference.h"

#include <algorithm>
#include <cstdint>

#include "reference/scalar.h"

namespace narvo::test::reference
{
namespace
{

using std::int32_t;
using std::int64_t;
using std::uint16_t;

constexpr int64_t nShortestUseful = 48; ///< stands in for a shortest row or strip below 16

/// Place of a slanted side nStep steps from its start: a 32-bit product over a 32-bit length, toward zero.
int64_t SideAt(int64_t nStep, int64_t nLength, int64_t nStart, int64_t nEnd)
{
    const int32_t nProduct =
        Wrap32(static_cast<int64_t>(static_cast<std::uint64_t>(nStep) * static_cast<std::uint64_t>(nEnd - nStart)));
    return nProduct / int64_t{Wrap32(nLength)} + nStart;
}

/// One pixel's two windows, limited, on a scale of 64 to the grey level.
struct CWindows
{
    uint16_t nCurrent = 0;
    uint16_t nShifted = 0;
};

/// The parts that both kernels share: the compare pitch, the hit list, the pair array.
class CTrapeziumWalk
{
public:
    explicit CTrapeziumWalk(const engine::CTrapeziumCall& trapeziumCall)
        : base(trapeziumCall), hits(trapeziumCall.hits), nHits(trapeziumCall.hits.nCount),
          nPairs(trapeziumCall.pairs.nCount)
    {
        SetPitch(base.nPitch16);
    }

protected:
    const engine::CTrapeziumCall& base;
    const engine::CHitArrays& hits;

    int64_t P = 0; ///< whole part of the compare distance
    int64_t f = 0; ///< its fraction in sixteenths
    int64_t nHits;
    int64_t nPairs;

    void SetPitch(int64_t nPitch16)
    {
        P = nPitch16 >> 4;
        f = nPitch16 & 15;
    }

    int Pixel(int64_t x, int64_t y) const { return ReadPixel(base.image, x, y); }

    uint16_t Limited(int64_t nValue) const { return std::min(Low16(nValue), Low16(base.nGrayLimit * 64)); }

    void NoteHit(int64_t x, int64_t y, short nType, int64_t nDifference)
    {
        hits.pX[nHits] = static_cast<int>(x);
        hits.pY[nHits] = static_cast<int>(y);
        hits.pType[nHits] = nType;
        hits.pPeak[nHits] = static_cast<short>(nDifference >> 6);
        nHits++;
    }

    bool PairsAreFull() const { return nPairs >= base.pairs.nSize; }

    void Write(CDefectPair& pair, int64_t nHit, DefectPos ePos, DefectPair ePair, int64_t x, int64_t y, int nType)
    {
        pair.nDefectPos = ePos;
        pair.nDefectPair = ePair;
        pair.ptDefect.x = static_cast<int>(x);
        pair.ptDefect.y = static_cast<int>(y);
        pair.nDefectType = nType;
        pair.nPeak = hits.pPeak[nHit];
        nPairs++;
    }
};

// ---- horizontal ----

class CHoriWalk : CTrapeziumWalk
{
public:
    explicit CHoriWalk(const engine::CTrapeziumHoriCall& horiCall) : CTrapeziumWalk(horiCall), call(horiCall)
    {
        D = P + (call.nPitchRound >= 8 ? 1 : 0);
        SetShortest();
    }

    int Run()
    {
        int nRowCounter = 0;
        if (call.nTop == call.nBottom)
            return static_cast<int>(nPairs);
        for (int64_t y = call.nTop; y == call.nTop || y < call.nBottom; y++, nRowCounter = (nRowCounter + 1) % 16)
        {
            if (nRowCounter == 0 && call.pPitchTable != nullptr)
            {
                SetPitch(call.pPitchTable[y >> 4]);
                D = P + (f >= 8 ? 1 : 0);
                SetShortest();
            }
            const int64_t nHeight = call.nBottom - call.nTop;
            L1 = SideAt(y - call.nTop, nHeight, call.nLeftTop, call.nLeftBottom);
            const int64_t R1 = SideAt(y - call.nTop, nHeight, call.nRightTop, call.nRightBottom);
            W = FloorTo16(R1 - L1);
            E = FloorTo8(W - P - 1) + L1;
            if (E - L1 < nShortest)
                continue;

            CompareRow(y);
            if (!PairRow())
                break;
            nHits = 0;
        }
        return static_cast<int>(nPairs);
    }

private:
    const engine::CTrapeziumHoriCall& call;
    int64_t D = 0; ///< distance of a partner
    int64_t nShortest = 0;
    int64_t L1 = 0; ///< first column of the current row
    int64_t W = 0;  ///< columns that it fills the line buffer with
    int64_t E = 0;  ///< end of the compared columns

    void SetShortest()
    {
        nShortest = 3 * P;
        if (nShortest < 16)
            nShortest = nShortestUseful;
    }

    /// b[c]; sums that the row does not form count as 0.
    int64_t DownSum(int64_t c, int64_t y) const
    {
        if (c < L1 || c >= L1 + W)
            return 0;
        return Pixel(c, y) + Pixel(c, y + 1);
    }

    CWindows Windows(int64_t c, int64_t y) const
    {
        return {Limited((DownSum(c, y) + DownSum(c + 1, y)) * 16),
                Limited(DownSum(c + P, y) * (16 - f) + DownSum(c + P + 1, y) * 16 + DownSum(c + P + 2, y) * f)};
    }

    void CompareRow(int64_t y)
    {
        for (int64_t c = L1; c < E; c += nGroupWidth)
        {
            for (int64_t k = c; k < c + nGroupWidth; k++)
            {
                const CWindows w = Windows(k, y);
                if (w.nShifted - w.nCurrent > call.nThreshold16)
                    NoteHit(k, y, 0, w.nShifted - w.nCurrent);
            }
            for (int64_t k = c; k < c + nGroupWidth; k++)
            {
                const CWindows w = Windows(k, y);
                if (w.nCurrent - w.nShifted > call.nThreshold16)
                    NoteHit(k, y, 1, w.nCurrent - w.nShifted);
            }
            if (nHits >= hits.nSize - 16)
                return;
        }
    }

    /// @return false when the pair array is full
    bool PairRow()
    {
        for (int64_t i = 0; i < nHits; i++)
        {
            if (PairsAreFull())
                return false;
            if (hits.pType[i] >= nTypeUnusable)
                continue;

            const int64_t x = hits.pX[i];
            const int64_t nTarget = x + D;
            const bool bFirstBand = x < L1 + P;
            CDefectPair& pair = call.pairs.At(nPairs);
            if (!bFirstBand && x >= E - P)
            {
                if (call.bKeepSingle == 1)
                    Write(pair, i, DefectPos_Last, DefectPair_Single, nTarget, hits.pY[i], (hits.pType[i] + 1) % 2);
                continue;
            }

            int64_t nPartner = -1;
            for (int64_t j = i + 1; j < nHits && hits.pX[j] <= nTarget; j++)
            {
                if (hits.pX[j] == nTarget && hits.pType[j] < nTypeUnusable && hits.pType[j] != hits.pType[i])
                {
                    nPartner = j;
                    break;
                }
            }

            if (nPartner >= 0)
            {
                Write(pair, nPartner, bFirstBand ? DefectPos_First : DefectPos_Middle, DefectPair_Paired,
                      hits.pX[nPartner], hits.pY[nPartner], hits.pType[nPartner]);
                hits.pType[nPartner] = nTypeConsumed;
            }
            else if (bFirstBand && call.bKeepSingle == 1)
                Write(pair, i, DefectPos_First, DefectPair_Single, x, hits.pY[i], hits.pType[i]);
        }
        return true;
    }
};

// ---- vertical ----

class CVertWalk : CTrapeziumWalk
{
public:
    explicit CVertWalk(const engine::CTrapeziumVertCall& vertCall) : CTrapeziumWalk(vertCall), call(vertCall)
    {
        nShortest = 2 * (call.nConvPitch16 >> 4) + P;
        if (nShortest < 16)
            nShortest = nShortestUseful;
        SetPartnerDistance();
    }

    int Run()
    {
        const int64_t XE = call.nLeft + FloorTo16(call.nRight - call.nLeft);
        int64_t x = call.nLeft;
        while (x < XE)
        {
            if (call.pPitchTable != nullptr)
            {
                SetPitch(call.pPitchTable[x >> 4]);
                SetPartnerDistance();
            }
            SetLimits(x);
            while (YE - T1 < nShortest)
            {
                if (call.nTopRight - call.nTopLeft >= call.nBottomRight - call.nBottomLeft)
                    return static_cast<int>(nPairs);
                x++;
                if (x >= XE)
                    return static_cast<int>(nPairs);
                SetLimits(x);
            }

            const int64_t nBlockX = x;
            const int64_t nPairsBefore = nPairs;
            bool bBroken = !ComparePass(x);
            if (!bBroken)
            {
                x += nGroupWidth;
                bBroken = !ComparePass(x);
                if (!bBroken)
                    x += nGroupWidth;
            }
            if (!PairBlock())
                break;
            nHits = 0;
            if (bBroken && nPairs == nPairsBefore)
                x = nBlockX + nGroupWidth; // reading the first half again could not add any
        }
        return static_cast<int>(nPairs);
    }

private:
    const engine::CTrapeziumVertCall& call;
    int64_t D = 0; ///< distance of a partner
    int64_t nShortest = 0;
    int64_t T1 = 0; ///< first row of the current block
    int64_t B1 = 0; ///< last row that it forms sums for
    int64_t YE = 0; ///< end of the compared rows

    void SetPartnerDistance() { D = P + (f >= 8 ? 1 : 0); }

    /// The limits of a block are those of its tighter end.
    void SetLimits(int64_t x)
    {
        const int64_t nWidth = call.nRight - call.nLeft;
        const int64_t nTopX = call.nTopRight > call.nTopLeft ? x + nStripWidth : x;
        const int64_t nBottomX = call.nBottomRight - call.nBottomLeft < 0 ? x + nStripWidth : x;
        T1 = SideAt(nTopX - call.nLeft, nWidth, call.nTopLeft, call.nTopRight);
        B1 = SideAt(nBottomX - call.nLeft, nWidth, call.nBottomLeft, call.nBottomRight);
        YE = B1 - P - 1;
    }

    /// s[y]; sums that the block does not form count as 0.
    int64_t AcrossSum(int64_t x, int64_t y) const
    {
        if (y < T1 - 1 || y > B1)
            return 0;
        return Pixel(x, y) + Pixel(x + 1, y);
    }

    CWindows Windows(int64_t x, int64_t y) const
    {
        return {Limited((AcrossSum(x, y) + AcrossSum(x, y + 1)) * 16),
                Limited(AcrossSum(x, y + P) * (16 - f) + AcrossSum(x, y + P + 1) * 16 + AcrossSum(x, y + P + 2) * f)};
    }

    /// How far one window lies above the other, 0 at least.
    static int64_t Above(int64_t a, int64_t b) { return std::max<int64_t>(a - b, 0); }

    bool IsHit(int64_t x, int64_t y, short nType, int64_t& nDifference) const
    {
        const CWindows w = Windows(x, y);
        const int64_t nBack = AcrossSum(x, y - 1) * f + AcrossSum(x, y) * 16 + AcrossSum(x, y + 1) * (16 - f);
        const int64_t nAhead = (AcrossSum(x, y + P) + AcrossSum(x, y + P + 1)) * 16;
        const int64_t T = call.nThreshold16;
        nDifference = nType == 0 ? Above(w.nShifted, w.nCurrent) : Above(w.nCurrent, w.nShifted);
        return nDifference > T && (nType == 0 ? Above(nAhead, nBack) : Above(nBack, nAhead)) > T;
    }

    /// The rows of 8 columns from x on. @return false when the hit arrays were full before a row began
    bool ComparePass(int64_t x)
    {
        for (int64_t y = T1;; y++)
        {
            if (nHits >= hits.nSize)
                return false;
            if (y >= YE)
                return true;
            for (const short nType : {short{0}, short{1}})
                for (int64_t k = x; k < x + nGroupWidth; k++)
                {
                    int64_t nDifference = 0;
                    if (IsHit(k, y, nType, nDifference))
                        NoteHit(k, y, nType, nDifference);
                }
        }
    }

    /// Records go to the start of the pair array, for any start count.
    CDefectPair& NextRecord() const { return call.pairs.At(nPairs - call.pairs.nCount); }

    /// @return false when the pair array is full
    bool PairBlock()
    {
        for (int64_t i = 0; i < nHits; i++)
        {
            if (PairsAreFull())
                return false;
            if (hits.pType[i] >= nTypeUnusable)
                continue;

            const int64_t y = hits.pY[i];
            const int64_t nTarget = y + D;
            if (y > YE - P)
            {
                if (call.bKeepSingle == 1)
                    Write(NextRecord(), i, DefectPos_Last, DefectPair_Single, hits.pX[i], nTarget,
                          (hits.pType[i] + 1) % 2);
                continue;
            }

            const bool bFirstBand = y < T1 + P;
            int64_t nFound = -1; // the first hit of the target row in the same column, of any polarity
            for (int64_t j = i + 1; j < nHits && hits.pY[j] <= nTarget; j++)
            {
                if (hits.pY[j] == nTarget && hits.pX[j] == hits.pX[i])
                {
                    nFound = j;
                    break;
                }
            }

            if (nFound >= 0)
            {
                if (hits.pType[nFound] >= nTypeUnusable || hits.pType[nFound] == hits.pType[i])
                    continue;
                Write(NextRecord(), nFound, bFirstBand ? DefectPos_First : DefectPos_Middle, DefectPair_Paired,
                      hits.pX[nFound], hits.pY[nFound], hits.pType[nFound]);
                hits.pType[nFound] = nTypeConsumed;
            }
            else if (bFirstBand && call.bKeepSingle == 1)
                Write(NextRecord(), i, DefectPos_First, DefectPair_Single, hits.pX[i], y, hits.pType[i]);
        }
        return true;
    }
};

} // namespace

int RunTrapeziumHori(const engine::CTrapeziumHoriCall& call)
{
    return CHoriWalk(call).Run();
}

int RunTrapeziumVert(const engine::CTrapeziumVertCall& call)
{
    return CVertWalk(call).Run();
}

} // namespace narvo::test::reference
