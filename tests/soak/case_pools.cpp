// SPDX-License-Identifier: MIT
// See case_pools.h.
#include "soak/case_pools.h"

#include <algorithm>

namespace narvo::test
{

namespace
{

constexpr std::size_t nMapElements = std::size_t{1} << 19;
constexpr int nMapShift = 8000; ///< distance between the beginnings of maps

int MakeOffset(CRandom& random, std::size_t nGrade)
{
    switch (nGrade)
    {
    case 0:
        return random.Int(8, 24);
    case 1:
        return random.Int(0, 60);
    case 2:
        return random.OneIn(6) ? 32767 : random.Int(4, 30);
    default:
        return random.Pick({12, 20, 32767, -32768, -1, 0, 1, 254, 255, 256, -256, 32512});
    }
}

int MakeGain(CRandom& random, std::size_t nGrade)
{
    switch (nGrade)
    {
    case 0:
        return random.Int(0, 20);
    case 1:
        return random.Int(0, 120);
    case 2:
        return random.Int(-30, 30);
    default:
        return random.Pick({0, 20, -1, 255, 256, 257, 300, 32767, -32768});
    }
}

int MakeKnee(CRandom& random, std::size_t nGrade)
{
    switch (nGrade)
    {
    case 0:
        return random.Int(90, 160);
    case 1:
        return random.Int(0, 255);
    case 2:
        return random.OneIn(2) ? 0 : 255;
    default:
        return random.Pick({100, 254, 255, 256, -1, 32767, -32768});
    }
}

int MakeValue(CRandom& random, MapKind eKind, std::size_t nGrade)
{
    switch (eKind)
    {
    case MapKind::Offset:
        return MakeOffset(random, nGrade);
    case MapKind::Gain:
        return MakeGain(random, nGrade);
    case MapKind::Knee:
        return MakeKnee(random, nGrade);
    default:
        return random.Int(0, nGrade == 0 ? 3 : 15);
    }
}

CString MakeText(CRandom& random)
{
    // Mode, then checks of a direction and two digits of cycle; malformed ones among them.
    const char* const szText =
        random.Pick({"1;101;201", "1;201;101", "1;202;102;301", "2;301", "2;101;201;301", "2;301;201", "0;101", "", "1",
                     "1;1", ";;;;", "1;10", "3;101", "abc;-7;1e400", "1;401;101", "2;199;202", "1;1012;2013"});
    return {szText};
}

} // namespace

const CCasePools& CCasePools::Get()
{
    static const CCasePools pools;
    return pools;
}

CCasePools::CCasePools() : m_aNoise(2 * nNoiseReach)
{
    CRandom random(77);
    for (std::size_t nKind = 0; nKind < nKinds; ++nKind)
        for (std::size_t nGrade = 0; nGrade < nGrades; ++nGrade)
        {
            std::vector<short>& aMap = m_aMaps[nKind][nGrade];
            aMap.resize(nMapElements);
            for (short& nValue : aMap)
                nValue = static_cast<short>(MakeValue(random, static_cast<MapKind>(nKind), nGrade));
        }
    for (std::uint8_t& nByte : m_aNoise)
        nByte = static_cast<std::uint8_t>(random.Next() >> 40);
    for (std::array<CString, 16>& aTexts : m_aTexts)
        for (CString& strText : aTexts)
            strText = MakeText(random);
}

short* CCasePools::PickMap(CCaseSource& source, MapKind eKind) const
{
    const std::size_t nGrade = std::min(source.Below(nGrades), source.Below(nGrades));
    const auto nShift = source.Below(nMapShift + 1);
    return m_aMaps[static_cast<std::size_t>(eKind)][nGrade].data() + nMapElements / 2 - nMapShift / 2 + nShift;
}

const std::uint8_t* CCasePools::PickNoise(CCaseSource& source) const
{
    return m_aNoise.data() + source.Below(nNoiseReach);
}

CString* CCasePools::PickTexts(CCaseSource& source) const
{
    return m_aTexts[source.Below(nTextSets)].data();
}

} // namespace narvo::test
