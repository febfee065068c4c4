// SPDX-License-Identifier: MIT
// Window comparison over all of its inputs: every sum at the near and the far end of a window at every fraction of the
// pitch; every sum of the source against every weighted sum of the reference; every gain and base of the threshold.
#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "fast/every_case.h"
#include "fast/float_scene.h"
#include "fast/picture.h"

namespace narvo::test
{
namespace
{

constexpr int nBelowAllSums = -1000; ///< a base with which every window is a hit, where the gain is 0

/// A picture of cells, each of which holds one window of the source and its window of the reference. A window is a few
/// lines of which each has its sum: rows for vertical kernels, columns for horizontal ones.
class CWindowPicture
{
public:
    explicit CWindowPicture(FloatKernel eKernel)
        : m_eKernel(eKernel), m_bHorizontal(IsHorizontal(eKernel)), m_nLines(WindowArea(eKernel) == 4 ? 2 : 3),
          m_nAcross(WindowArea(eKernel) == 9 ? 3 : 2), m_nCellWidth(m_bHorizontal ? 4 : m_nAcross),
          m_nCells(m_bHorizontal ? 64 : 1024), m_picture((m_bHorizontal ? 2 : 1) * m_nCellWidth * m_nCells + 64,
                                                         m_bHorizontal ? m_nAcross : 2 * m_nLines + 1, 0)
    {
    }

    int Cells() const { return m_nCells; }
    /// Lines of the source; the reference has one more, since it lies between two places.
    int Lines() const { return m_nLines; }
    int GreatestSum() const { return m_nAcross * 255; }

    void SetSource(int nCell, int nLine, int nSum) { SetLine(nCell, nLine, 0, nSum); }
    void SetReference(int nCell, int nLine, int nSum) { SetLine(nCell, nLine, Pitch(), nSum); }

    CFloatScene Scene(int nFraction, int nBase) const
    {
        CFloatScene scene;
        scene.eKernel = m_eKernel;
        scene.call.image = m_picture.View();
        scene.call.region = m_bHorizontal ? engine::CRegion{0, 0, 2 * Pitch() + 16, 1}
                                          : engine::CRegion{0, 0, m_nCellWidth * m_nCells, m_picture.nHeight};
        scene.call.hits.nSize = m_bHorizontal ? 4 * Pitch() : 32 * m_picture.nHeight;
        scene.call.pairs.nSize = std::int64_t{4} * m_picture.nWidth;
        scene.call.nPitch16 = Pitch() * 16 + nFraction;
        scene.call.nGrayLimit = 255;
        scene.call.first.nBase = nBase;
        scene.param.bKeepSingle = 1;
        return scene;
    }

private:
    int Pitch() const { return m_bHorizontal ? m_nCellWidth * m_nCells : m_nLines; }

    void SetLine(int nCell, int nLine, int nStart, int nSum)
    {
        for (int i = 0; i < m_nAcross; i++)
        {
            const int nGrey = std::min(nSum, 255);
            (m_bHorizontal ? m_picture.At(nCell * m_nCellWidth + nStart + nLine, i)
                           : m_picture.At(nCell * m_nCellWidth + i, nStart + nLine)) = static_cast<std::uint8_t>(nGrey);
            nSum -= nGrey;
        }
    }

    FloatKernel m_eKernel;
    bool m_bHorizontal;
    int m_nLines;
    int m_nAcross;
    int m_nCellWidth;
    int m_nCells;
    CPicture m_picture;
};

class EveryFloatInput : public testing::TestWithParam<FloatKernel>
{
};

INSTANTIATE_TEST_SUITE_P(Each, EveryFloatInput,
                         testing::Values(FloatKernel::Vert4, FloatKernel::Vert6, FloatKernel::Vert9,
                                         FloatKernel::VertIntrin, FloatKernel::Hori4, FloatKernel::Hori6,
                                         FloatKernel::Hori9),
                         [](const auto& kernel) { return std::string(KernelName(kernel.param)); });

TEST_P(EveryFloatInput, NearAndFarSumAtEveryFraction)
{
    CEveryCase every;
    CWindowPicture windows(GetParam());
    const int nSums = windows.GreatestSum() + 1;
    for (int nFirst = 0; nFirst < nSums * nSums; nFirst += windows.Cells())
        for (const int nMiddle : {0, windows.GreatestSum() / 2, windows.GreatestSum()})
        {
            if (every.Skips(16))
                continue;
            for (int nCell = 0; nCell < windows.Cells(); nCell++)
            {
                const int nPair = (nFirst + nCell) % (nSums * nSums);
                for (int nLine = 0; nLine < windows.Lines(); nLine++)
                {
                    windows.SetSource(nCell, nLine, nMiddle);
                    windows.SetReference(nCell, nLine, nMiddle);
                }
                windows.SetReference(nCell, 0, nPair % nSums);
                windows.SetReference(nCell, windows.Lines(), nPair / nSums);
            }
            for (int nFraction = 0; nFraction < 16; nFraction++)
                ASSERT_TRUE(every.Agrees(windows.Scene(nFraction, nBelowAllSums),
                                         Inputs("pairs from", nFirst) + Inputs(" middle", nMiddle)));
        }
    every.ExpectRecords(std::int64_t{16} * 3 * nSums * nSums);
}

/// Sets the lines so that they add up to a sum.
template <typename TSet>
void SpreadSum(const CWindowPicture& windows, int nSum, const TSet& fnSet)
{
    for (int nLine = 0; nLine < windows.Lines(); nLine++)
    {
        const int nPart = std::min(nSum, windows.GreatestSum());
        fnSet(nLine, nPart);
        nSum -= nPart;
    }
}

/// The reference's sum is taken apart into whole greys and sixteenths: its far end is one above its near end.
TEST_P(EveryFloatInput, SumOfTheSourceAgainstEveryWeightedSum)
{
    CWindowPicture windows(GetParam());
    const int nAll = windows.Lines() * windows.GreatestSum();
    CEveryCase every;
    for (int nSource = 0; nSource <= nAll; nSource++)
        for (int nFirst = 0; nFirst <= nAll; nFirst += windows.Cells())
        {
            if (every.Skips(16))
                continue;
            for (int nCell = 0; nCell < windows.Cells(); nCell++)
            {
                const int nReference = std::min(nFirst + nCell, nAll);
                SpreadSum(windows, nSource, [&](int nLine, int nSum) { windows.SetSource(nCell, nLine, nSum); });
                int nNear = 0;
                // Full lines last, so that the near end can rise by one.
                SpreadSum(windows, nReference,
                          [&](int nLine, int nSum)
                          {
                              windows.SetReference(nCell, windows.Lines() - 1 - nLine, nSum);
                              nNear = nSum;
                          });
                windows.SetReference(nCell, windows.Lines(), std::min(nNear + 1, windows.GreatestSum()));
            }
            for (int nFraction = 0; nFraction < 16; nFraction++)
                ASSERT_TRUE(every.Agrees(windows.Scene(nFraction, nSource % 2 == 0 ? nBelowAllSums : 1),
                                         Inputs("source", nSource) + Inputs(" references from", nFirst)));
        }
    every.ExpectRecords(std::int64_t{8} * nAll * nAll);
}

/// Source windows of every mean against an empty reference.
CWindowPicture EveryMean(FloatKernel eKernel)
{
    CWindowPicture windows(eKernel);
    const int nAll = windows.Lines() * windows.GreatestSum();
    for (int nCell = 0; nCell < windows.Cells(); nCell++)
        SpreadSum(windows, nAll * nCell / (windows.Cells() - 1),
                  [&](int nLine, int nSum) { windows.SetSource(nCell, nLine, nSum); });
    return windows;
}

TEST_P(EveryFloatInput, GainOfEveryMean)
{
    const CWindowPicture windows = EveryMean(GetParam());
    CFloatScene scene = windows.Scene(0, nBelowAllSums);
    CEveryCase every;
    for (int nGain = -32768; nGain <= 32767; nGain++)
    {
        scene.call.first.nGain = nGain;
        ASSERT_TRUE(every.Agrees(scene, Inputs("gain", nGain)));
    }
    every.ExpectRecords(65536);
}

TEST_P(EveryFloatInput, BaseAgainstEveryDifference)
{
    const CWindowPicture windows = EveryMean(GetParam());
    CFloatScene scene = windows.Scene(0, 0);
    CEveryCase every;
    for (int nBase = -32768; nBase <= 32767; nBase++)
    {
        scene.call.first.nBase = nBase;
        ASSERT_TRUE(every.Agrees(scene, Inputs("base", nBase)));
    }
    every.ExpectRecords(65536);
}

} // namespace
} // namespace narvo::test
