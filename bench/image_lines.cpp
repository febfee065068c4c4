// SPDX-License-Identifier: MIT
// Figures of the conversions to 8-bit grey, each against a pixel inspection of the image that it leaves.
#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "bench/bench_lines.h"
#include "bench/bench_timer.h"
#include "bench/inspection_lines.h"
#include "host/image/grey_image.h"

namespace bench
{

namespace
{

struct SConversion
{
    const char* pName;
    narvo::ImageReading reading;
    narvo::PixelBlock block; ///< without pixels: a frame of raw bytes
};

std::vector<SConversion> Conversions(int nWidth, int nHeight, const std::vector<std::uint16_t>& pixels)
{
    const auto block = [&](int nChannels, int nBytes) {
        return narvo::PixelBlock{pixels.data(), nWidth, nHeight, nChannels, nBytes};
    };
    narvo::ImageReading levels;
    levels.levelHigh = 4095;
    narvo::ImageReading packed;
    packed.rawFormat = narvo::RawFormat_Mono12p;
    packed.rawWidth = nWidth;
    packed.rawHeight = nHeight;
    narvo::ImageReading luma;
    luma.channel = narvo::Channel_Luma;
    narvo::ImageReading mixture;
    mixture.channel = narvo::Channel_Mixture;
    mixture.weightRed = 0.75;
    mixture.weightBlue = 0.25;
    narvo::ImageReading mosaic = luma;
    mosaic.bayer = narvo::Bayer_Rggb;
    return {{"12 bits by levels", levels, block(1, 2)},
            {"16 bits over their full scale", {}, block(1, 2)},
            {"Mono12p by levels", packed, {}},
            {"colours to luma", luma, block(3, 1)},
            {"colours to a mixture", mixture, block(3, 1)},
            {"mosaic to luma", mosaic, block(1, 1)}};
}

} // namespace

void AddImageLines(CTable& table, CScene& large, const SOptions& options)
{
    const int nWidth = std::min(4096, large.nWidth);
    const int nHeight = std::min(3072, large.nHeight);
    large.SetDensity(densitySparse);
    CNarvoAssem engine;
    engine.InitAssem(0, nBlobs);
    CConvParam param = large.RegionParam(true);
    param.rtInspect = CRect(0, 0, nWidth, nHeight);
    param.nThreshold = 20;

    // Any values will do: no conversion depends on them. Room for three channels of 8 bits.
    std::vector<std::uint16_t> pixels(static_cast<std::size_t>(nWidth) * nHeight * 3 / 2 + 1);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = static_cast<std::uint16_t>((i * 2654435761U >> 16U) & 4095U);
    const std::vector<SConversion> conversions = Conversions(nWidth, nHeight, pixels);
    std::vector<Action> actions = {[&] { InspectAnew(engine, param); }};
    for (const SConversion& conversion : conversions)
        actions.push_back(
            [&]
            {
                const std::span bytes(reinterpret_cast<const std::uint8_t*>(pixels.data()),
                                      static_cast<std::size_t>(narvo::FrameBytes(conversion.reading)));
                if (conversion.block.pixels == nullptr)
                    narvo::ConvertRawFrame(bytes, conversion.reading, "frame");
                else
                    narvo::ConvertPixels(conversion.block, conversion.reading, "image");
            });
    const std::vector<double> times = TimeInterleaved(actions, options.Rounds(7));
    const double dPixels = static_cast<double>(nWidth) * nHeight;
    table.Note("pixel inspection of 4096 by 3072", times[0] * 1e3, "ms");
    for (std::size_t i = 0; i < conversions.size(); ++i)
    {
        table.Note(std::string(conversions[i].pName), dPixels / times[i + 1] * 1e-9, "GPix/s");
        table.Note(std::string(conversions[i].pName) + ", time over the inspection's", times[i + 1] / times[0], "x");
    }
}

} // namespace bench
