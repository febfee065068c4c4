// SPDX-License-Identifier: MIT
// Pixel comparison over all of its inputs: every near, far and source grey at every fraction of the pitch; every gain,
// base and limit of grey with every grey or difference; every pitch.
#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "fast/every_case.h"
#include "fast/picture.h"
#include "fast/pixel_scene.h"
#include "support/random.h"

namespace narvo::test
{
namespace
{

constexpr int nBelowAllDifferences =
    -32768; ///< a base with which every pixel is a hit, whatever the gain adds in 16 bits

/// A picture of cells, each of which holds a source grey and the near and far grey of its reference: a column for
/// vertical kernels, three places of a row for horizontal ones, of which the pairing takes short rows.
class CGreyPicture
{
public:
    CGreyPicture(PixelKernel eKernel, int nCells)
        : m_eKernel(eKernel), m_bHorizontal(IsHorizontal(eKernel)), m_nCells(nCells),
          m_picture(m_bHorizontal ? 2 * nCellsOfRow + 16 : nCells, m_bHorizontal ? nCells / nCellsOfRow : 4, 0)
    {
    }

    int Cells() const { return m_nCells; }

    void SetSource(int nCell, int nGrey) { At(nCell, 0) = static_cast<std::uint8_t>(nGrey); }
    /// In a row, the far grey of a cell is the near grey of the next.
    void SetNear(int nCell, int nGrey) { At(nCell, 1) = static_cast<std::uint8_t>(nGrey); }
    void SetFar(int nCell, int nGrey) { At(nCell, 2) = static_cast<std::uint8_t>(nGrey); }

    /// All pixels of the first row, or of the first half of all rows, are compared; single hits are kept.
    CPixelScene Scene(int nFraction, int nBase) const
    {
        CPixelScene scene;
        scene.eKernel = m_eKernel;
        scene.call.image = m_picture.View();
        scene.call.region = {0, 0, m_bHorizontal ? 2 * nCellsOfRow : m_nCells, m_picture.nHeight};
        if (m_eKernel == PixelKernel::VertDirect)
            scene.call.region.nBottom--; // it compares a row more
        scene.call.hits.nSize = 2 * nCellsOfRow;
        scene.call.pairs.nSize = 2 * m_nCells;
        scene.call.nPitch16 = (m_bHorizontal ? nCellsOfRow : 1) * 16 + nFraction;
        scene.call.nGrayLimit = 255;
        scene.call.bKeepSingle = 1;
        scene.call.first.nBase = nBase;
        return scene;
    }

    static constexpr int nCellsOfRow = 64;

private:
    std::uint8_t& At(int nCell, int nPlace)
    {
        if (!m_bHorizontal)
            return m_picture.At(nCell, nPlace);
        const int nFirst = nPlace == 0 ? 0 : nCellsOfRow + nPlace - 1;
        return m_picture.At(nFirst + nCell % nCellsOfRow, nCell / nCellsOfRow);
    }

    PixelKernel m_eKernel;
    bool m_bHorizontal;
    int m_nCells;
    CPicture m_picture;
};

class EveryPixelInput : public testing::TestWithParam<PixelKernel>
{
};

INSTANTIATE_TEST_SUITE_P(Each, EveryPixelInput,
                         testing::Values(PixelKernel::Vert, PixelKernel::VertDirect, PixelKernel::VertIntrin,
                                         PixelKernel::Hori, PixelKernel::HoriIntrin),
                         [](const auto& kernel) { return std::string(KernelName(kernel.param)); });

/// Calls fnRun(picture, source) with every source grey on pictures that together hold every pair of near and far grey.
template <typename TRun>
void ForEveryGrey(PixelKernel eKernel, const TRun& fnRun)
{
    constexpr int nPictures = 16;
    CGreyPicture picture(eKernel, nGreys * nGreys / nPictures);
    const std::vector<int> aPairs = EveryPair(nGreys);
    for (int nPicture = 0; nPicture < nPictures; nPicture++)
    {
        for (int nCell = 0; nCell < picture.Cells(); nCell++)
        {
            const auto nPair = static_cast<std::size_t>(nPicture * picture.Cells() + nCell);
            picture.SetNear(nCell, aPairs[nPair]);
            picture.SetFar(nCell, aPairs[(nPair + 1) % aPairs.size()]);
        }
        for (int nSource = 0; nSource < nGreys && !testing::Test::HasFailure(); nSource++)
        {
            for (int nCell = 0; nCell < picture.Cells(); nCell++)
                picture.SetSource(nCell, nSource);
            fnRun(picture, nSource);
        }
    }
}

TEST_P(EveryPixelInput, NearFarAndSourceGreyAtEveryFraction)
{
    CEveryCase every;
    ForEveryGrey(GetParam(),
                 [&](const CGreyPicture& picture, int nSource)
                 {
                     for (int nFraction = 0; nFraction < 16; nFraction++)
                         ASSERT_TRUE(
                             every.Agrees(picture.Scene(nFraction, nBelowAllDifferences), Inputs("source", nSource)));
                 });
    every.ExpectRecords(std::int64_t{16} * nGreys * nGreys * nGreys);
}

/// The greatest differences of each picture, at which most pixels are dismissed in groups.
TEST_P(EveryPixelInput, NearFarAndSourceGreyAtEveryFractionWhereHitsAreRare)
{
    CEveryCase every;
    ForEveryGrey(
        GetParam(),
        [&](const CGreyPicture& picture, int nSource)
        {
            for (int nFraction = 0; nFraction < 16; nFraction++)
                ASSERT_TRUE(every.Agrees(picture.Scene(nFraction, std::max(nSource, 255 - nSource) - 2 - nFraction % 3),
                                         Inputs("source", nSource)));
        });
    every.ExpectRecords(1);
}

/// A picture of source and reference greys without a fraction between them.
CGreyPicture DifferencePicture(PixelKernel eKernel, const std::vector<std::pair<int, int>>& aGreys)
{
    CGreyPicture picture(eKernel, static_cast<int>(aGreys.size()));
    for (int nCell = 0; nCell < picture.Cells(); nCell++)
    {
        const auto [nSource, nReference] = aGreys[static_cast<std::size_t>(nCell)];
        picture.SetSource(nCell, nSource);
        picture.SetNear(nCell, nReference);
    }
    return picture;
}

/// Every grey against 0.
CGreyPicture EveryGrey(PixelKernel eKernel)
{
    std::vector<std::pair<int, int>> aGreys;
    for (int nGrey = 0; nGrey < nGreys; nGrey++)
        aGreys.emplace_back(nGrey, 0);
    return DifferencePicture(eKernel, aGreys);
}

TEST_P(EveryPixelInput, GainOfEveryGrey)
{
    CEveryCase every;
    const CGreyPicture picture = EveryGrey(GetParam());
    CPixelScene scene = picture.Scene(0, nBelowAllDifferences);
    for (int nGain = -32768; nGain <= 32767; nGain++)
    {
        scene.call.first.nGain = nGain;
        ASSERT_TRUE(every.Agrees(scene, Inputs("gain", nGain)));
    }
    every.ExpectRecords(65536 * 127);
}

TEST_P(EveryPixelInput, BaseAgainstEveryDifference)
{
    std::vector<std::pair<int, int>> aGreys;
    for (int nGrey = 0; nGrey < nGreys; nGrey++)
    {
        aGreys.emplace_back(nGrey, 0);
        aGreys.emplace_back(0, nGrey);
    }
    CEveryCase every;
    const CGreyPicture picture = DifferencePicture(GetParam(), aGreys);
    for (int nBase = -32768; nBase <= 32767; nBase++)
        ASSERT_TRUE(every.Agrees(picture.Scene(0, nBase), Inputs("base", nBase)));
    every.ExpectRecords(32768 * 2 * nGreys);
}

/// Base and gain together wrap in 16 bits.
TEST_P(EveryPixelInput, BaseUnderTheGreatestGains)
{
    CEveryCase every;
    const CGreyPicture picture = EveryGrey(GetParam());
    for (const int nGain : {-1, 256, 257, 32767})
        for (int nBase = -32768; nBase <= 32767; nBase++)
        {
            CPixelScene scene = picture.Scene(0, nBase);
            scene.call.first.nGain = nGain;
            ASSERT_TRUE(every.Agrees(scene, Inputs("gain", nGain) + Inputs(" base", nBase)));
        }
    every.ExpectRecords(32768 * nGreys);
}

TEST_P(EveryPixelInput, LimitOfEveryGrey)
{
    std::vector<std::pair<int, int>> aGreys;
    for (int nGrey = 0; nGrey < nGreys; nGrey++)
        aGreys.emplace_back(nGrey, 255 - nGrey);
    CEveryCase every;
    const CGreyPicture picture = DifferencePicture(GetParam(), aGreys);
    CPixelScene scene = picture.Scene(0, nBelowAllDifferences);
    for (int nLimit = 0; nLimit < 65536; nLimit++)
    {
        scene.call.nGrayLimit = nLimit;
        ASSERT_TRUE(every.Agrees(scene, Inputs("limit", nLimit)));
    }
    every.ExpectRecords(65536 * nGreys);
}

/// Every pitch from one pixel to 2048 in sixteenths, on noise: a reference from elsewhere has another grey.
TEST_P(EveryPixelInput, PitchInSixteenths)
{
    constexpr int nPitches = 2048;
    const bool bHorizontal = IsHorizontal(GetParam());
    CPicture picture(bHorizontal ? nPitches + 48 : 16, bHorizontal ? 1 : nPitches + 8, 0);
    CRandom random(1);
    for (std::uint8_t& nGrey : picture.aPixels)
        nGrey = static_cast<std::uint8_t>(random.Int(0, 255));
    CEveryCase every;
    for (int nPitch16 = 16; nPitch16 < nPitches * 16; nPitch16++)
    {
        const int nWhole = nPitch16 / 16;
        CPixelScene scene;
        scene.eKernel = GetParam();
        scene.call.image = picture.View();
        scene.call.region = {0, 0, bHorizontal ? nWhole + 16 : 16, bHorizontal ? 1 : nWhole + 3};
        scene.call.hits.nSize = 64;
        scene.call.pairs.nSize = 64;
        scene.call.nPitch16 = nPitch16;
        scene.call.nGrayLimit = 255;
        scene.call.bKeepSingle = 1;
        scene.call.first.nBase = nBelowAllDifferences;
        ASSERT_TRUE(every.Agrees(scene, Inputs("pitch", nPitch16)));
    }
    every.ExpectRecords(16 * 16 * (nPitches - 16));
}

} // namespace
} // namespace narvo::test
