// SPDX-License-Identifier: MIT
// Gains from the light of each pixel: the mean of (flat - dark) over (flat - dark). Pixels without light get the mean
// of their neighbours.
#include "host/image/field_images.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstring>
#include <string_view>
#include <utility>

#include <opencv2/core.hpp>

#include "host/file/output_file.h"
#include "host/image/camera_pixels.h"
#include "host/image/cv_image.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr const char* szFlatField = "image.flat_field";
constexpr const char* szDarkField = "image.dark_field";
constexpr std::uint32_t nUnitGain = 1U << nGainBits;

/// Reads values of a field row by row; one row stands for all.
class FieldValues
{
public:
    explicit FieldValues(const FieldImage& image) : m_image(image) {}

    int operator()(int row, int place) const
    {
        if (m_image.IsEmpty())
            return 0;
        const std::size_t rowLength =
            static_cast<std::size_t>(m_image.width) * static_cast<std::size_t>(m_image.channels);
        const std::size_t at =
            (m_image.height == 1 ? 0 : static_cast<std::size_t>(row)) * rowLength + static_cast<std::size_t>(place);
        if (m_image.bytesPerChannel == 1)
            return m_image.pixels[at];
        std::uint16_t value;
        std::memcpy(&value, m_image.pixels.data() + 2 * at, sizeof value);
        return value;
    }

private:
    const FieldImage& m_image;
};

void CheckPair(const FieldImage& flat, const FieldImage& dark)
{
    if (flat.IsEmpty() || dark.IsEmpty())
        return;
    std::vector<Problem> found;
    const auto demand = [&](bool holds, const std::string& value, const std::string& allowed)
    {
        if (!holds)
            found.push_back({szDarkField, value, allowed + ", as " + szFlatField + " has"});
    };
    const bool fits = dark.width == flat.width && (dark.height == flat.height || dark.height == 1 || flat.height == 1);
    demand(fits, SizeText(dark.width, dark.height),
           SizeText(flat.width, flat.height) + (flat.height == 1 ? "" : " or a single row of them"));
    demand(dark.channels == flat.channels, std::to_string(dark.channels) + " channels",
           std::to_string(flat.channels) + (flat.channels == 1 ? " channel" : " channels"));
    demand(dark.bytesPerChannel == flat.bytesPerChannel, std::to_string(8 * dark.bytesPerChannel) + " bits",
           std::to_string(8 * flat.bytesPerChannel) + " bits");
    ThrowIfAny(std::move(found));
}

/// Pixels that are made equal to each other: those of a channel, or those under one filter of a mosaic.
constexpr int nGroups = 4;

class TableMaker
{
public:
    TableMaker(const FieldImage& flat, const FieldImage& dark, bool mosaic)
        : m_flat(flat), m_dark(dark), m_flatImage(flat), m_mosaic(mosaic)
    {
        const FieldImage& first = flat.IsEmpty() ? dark : flat;
        m_tables.width = first.width;
        m_tables.height = std::max(flat.height, dark.height);
        m_tables.channels = first.channels;
        m_tables.wide = first.bytesPerChannel == 2;
        m_places = first.width * first.channels;
    }

    FieldTables Make()
    {
        const std::size_t count = static_cast<std::size_t>(m_tables.height) * static_cast<std::size_t>(m_places);
        m_tables.gains.assign(count, nUnitGain);
        m_tables.darks.resize(count);
        for (int y = 0; y < m_tables.height; ++y)
            for (int x = 0; x < m_places; ++x)
                m_tables.darks[At(y, x)] = static_cast<std::uint16_t>(m_dark(y, x));
        if (!m_flatImage.IsEmpty())
            SetGains();
        return std::move(m_tables);
    }

private:
    std::size_t At(int y, int x) const
    {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(m_places) + static_cast<std::size_t>(x);
    }
    int LightOf(int y, int x) const { return m_flat(y, x) - m_dark(y, x); }
    std::size_t GroupOf(int y, int x) const
    {
        return static_cast<std::size_t>(m_mosaic ? 2 * (y % 2) + x % 2 : x % m_tables.channels);
    }

    /// Mean light of a group over `count` of its values.
    struct Mean
    {
        double light = 0.0;
        std::int64_t count = 0;
    };

    /// Of the values with at least `low` light.
    std::array<Mean, nGroups> MeansOf(const std::array<double, nGroups>& low) const
    {
        std::array<std::int64_t, nGroups> sums{};
        std::array<Mean, nGroups> means{};
        for (int y = 0; y < m_tables.height; ++y)
            for (int x = 0; x < m_places; ++x)
                if (const std::size_t group = GroupOf(y, x); LightOf(y, x) >= low[group])
                {
                    sums[group] += LightOf(y, x);
                    ++means[group].count;
                }
        for (std::size_t group = 0; group < nGroups; ++group)
            if (means[group].count != 0)
                means[group].light = static_cast<double>(sums[group]) / static_cast<double>(means[group].count);
        return means;
    }

    void SetGains()
    {
        const int full = m_tables.wide ? 65535 : 255;
        std::array<double, nGroups> low{};
        low.fill(-65536.0);
        const std::array<Mean, nGroups> all = MeansOf(low);
        for (std::size_t group = 0; group < nGroups; ++group)
            low[group] = std::max(all[group].light * dLightLow, 1.0);
        const std::array<Mean, nGroups> lit = MeansOf(low);
        for (std::size_t group = 0; group < nGroups; ++group)
            if (2 * lit[group].count < all[group].count)
                throw HostError(
                    {{szFlatField,
                      std::to_string(all[group].count - lit[group].count) + " of " + std::to_string(all[group].count) +
                          " values of a channel have less than 1/16 of " + "its mean light above " + szDarkField,
                      "an evenly lit white: at most half of them"}});
        std::vector<bool> dark(static_cast<std::size_t>(m_places));
        for (int y = 0; y < m_tables.height; ++y)
        {
            bool whole = true;
            for (int x = 0; x < m_places; ++x)
            {
                const std::size_t group = GroupOf(y, x);
                const int light = LightOf(y, x);
                m_tables.saturated += m_flat(y, x) == full ? 1 : 0;
                dark[static_cast<std::size_t>(x)] = light < low[group];
                whole = whole && light >= low[group];
                if (light >= low[group])
                    m_tables.gains[At(y, x)] =
                        static_cast<std::uint32_t>(std::llround(lit[group].light * nUnitGain / light));
            }
            if (!whole)
                AddLightless(y, dark);
        }
    }

    /// Neighbours are pixels of the same channel or under the same filter.
    void AddLightless(int y, const std::vector<bool>& dark)
    {
        const int step = m_tables.channels * (m_mosaic ? 2 : 1);
        const auto nearest = [&](int x, int by)
        {
            do
                x += by;
            while (x >= 0 && x < m_places && dark[static_cast<std::size_t>(x)]);
            return x >= 0 && x < m_places ? x : -1;
        };
        for (int x = 0; x < m_places; ++x)
            if (dark[static_cast<std::size_t>(x)])
                m_tables.lightless.push_back({y, x, nearest(x, -step), nearest(x, step)});
    }

    FieldValues m_flat;
    FieldValues m_dark;
    const FieldImage& m_flatImage;
    bool m_mosaic;
    int m_places = 0; ///< values of a row
    FieldTables m_tables;
};

const FieldImage noField;

} // namespace

FieldImages::FieldImages(FieldImage flat, FieldImage dark, bool mosaic)
{
    if (flat.IsEmpty() && dark.IsEmpty())
        return;
    CheckPair(flat, dark);
    const FieldImage& first = flat.IsEmpty() ? dark : flat;
    if (mosaic && (first.channels != 1 || std::max(flat.height, dark.height) == 1))
        throw HostError({{flat.IsEmpty() ? szDarkField : szFlatField,
                          SizeText(first.width, first.height) + " of " + std::to_string(first.channels) + " channels",
                          "a whole image of 1 channel where image.bayer names a mosaic"}});
    const auto all = std::make_shared<All>();
    all->tables = TableMaker(flat, dark, mosaic).Make();
    all->flat = std::move(flat);
    all->dark = std::move(dark);
    m_all = all;
}

const FieldImage& FieldImages::Flat() const
{
    return m_all == nullptr ? noField : m_all->flat;
}

const FieldImage& FieldImages::Dark() const
{
    return m_all == nullptr ? noField : m_all->dark;
}

const FieldTables& FieldImages::Tables() const
{
    return m_all->tables;
}

bool FieldImages::operator==(const FieldImages& other) const
{
    return m_all == other.m_all || (Flat() == other.Flat() && Dark() == other.Dark());
}

FieldImage LoadFieldImage(const std::filesystem::path& file, const std::string& field)
{
    CameraPixels loaded;
    try
    {
        loaded = LoadCameraPixels(file, {}, MaxImagePixels());
    }
    catch (const HostError& error)
    {
        std::vector<Problem> found;
        for (const Problem& problem : error.Problems())
            found.push_back({field, problem.field + ", " + problem.value, problem.allowed});
        throw HostError(std::move(found));
    }
    const cv::Mat& pixels = loaded.pixels;
    if (pixels.channels() != 1 && pixels.channels() != 3)
        throw HostError({{field, "image " + file.string() + ", " + std::to_string(pixels.channels()) + " channels",
                          "1 or 3 channels"}});
    FieldImage image{pixels.cols, pixels.rows, pixels.channels(), static_cast<int>(pixels.elemSize1()), {}};
    const std::size_t row = static_cast<std::size_t>(pixels.cols) * pixels.elemSize();
    image.pixels.resize(row * static_cast<std::size_t>(pixels.rows));
    for (int y = 0; y < pixels.rows; ++y)
        std::memcpy(image.pixels.data() + row * static_cast<std::size_t>(y), pixels.ptr(y), row);
    return image;
}

void SaveFieldImage(const std::filesystem::path& file, const FieldImage& image)
{
    static constexpr const char* szAllowed =
        "a writable place and a name ending in a format that can hold it (.png, .tif)";
    // Other formats would be written, too, with what is left of the values in 8 bits.
    std::string ending = file.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    constexpr std::array<std::string_view, 6> wide = {".png", ".tif", ".tiff", ".pgm", ".ppm", ".pnm"};
    if (image.bytesPerChannel == 2 && std::find(wide.begin(), wide.end(), ending) == wide.end())
        throw WriteError(file, "no image format that can hold it", szAllowed);
    const cv::Mat view(image.height, image.width,
                       CV_MAKETYPE(image.bytesPerChannel == 2 ? CV_16U : CV_8U, image.channels),
                       const_cast<std::uint8_t*>(image.pixels.data()));
    SaveImage(file, view, szAllowed);
}

} // namespace narvo
