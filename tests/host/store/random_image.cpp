// SPDX-License-Identifier: MIT
// Made-up results, and their text.
#include "host/store/random_image.h"

#include <limits>
#include <random>
#include <sstream>

#include "host/store/blob_columns.h"

namespace narvo::test
{

namespace
{

class Source
{
public:
    explicit Source(std::uint64_t seed) : m_engine(seed) {}

    std::uint64_t Below(std::uint64_t limit) { return m_engine() % limit; }

    int Number()
    {
        constexpr int extremes[] = {0, 1, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};
        return Below(2) == 0 ? extremes[Below(5)] : static_cast<int>(static_cast<std::uint32_t>(m_engine()));
    }

    double Real()
    {
        using Limits = std::numeric_limits<double>;
        const double extremes[] = {0.0,           Limits::quiet_NaN(),  Limits::infinity(), -Limits::infinity(),
                                   Limits::max(), Limits::denorm_min(), Limits::lowest(),   1.0 / 3.0};
        return Below(2) == 0 ? extremes[Below(8)] : static_cast<double>(m_engine()) / 1e7 - 1e11;
    }

    std::int64_t Long()
    {
        constexpr std::int64_t extremes[] = {0, std::numeric_limits<std::int64_t>::min(),
                                             std::numeric_limits<std::int64_t>::max()};
        return Below(2) == 0 ? extremes[Below(3)] : static_cast<std::int64_t>(m_engine());
    }

    /// Of bytes that matter to SQL, to JSON and to escapes more often than others.
    std::string Text()
    {
        const std::string pieces[] = {
            "%FF",   "%25",      "%00", "'",   "\"", "\\", "$1",           "?",
            "\xff",  "\xc3\xa9", "\n",  ";--", "a",  " ",  "\xed\xa0\x80", std::string(1, '\0'),
            "%2500", "100%"};
        std::string text;
        for (std::uint64_t i = Below(12); i > 0; --i)
            text += Below(2) == 0 ? pieces[Below(std::size(pieces))] : std::string(1, static_cast<char>(Below(256)));
        return text;
    }

private:
    std::mt19937_64 m_engine;
};

struct FillColumns
{
    Source& source;
    void Number(const char*, int& value) { value = source.Number(); }
    void Flag(const char*, bool& value) { value = source.Below(2) == 1; }
    void Polarity(const char*, bool& value) { value = source.Below(2) == 1; }
    void Real(const char*, double& value) { value = source.Real(); }
    void Channel(const char*, int& value)
    {
        constexpr int channels[] = {Channel_Auto, Channel_Red, Channel_Green, Channel_Blue};
        value = channels[source.Below(4)];
    }
};

struct WriteColumns
{
    std::ostream& text;
    void Any(const char* name, auto value) { text << ' ' << name << '=' << value; }
    void Number(const char* name, int value) { Any(name, value); }
    void Flag(const char* name, bool value) { Any(name, value); }
    void Polarity(const char* name, bool value) { Any(name, value); }
    void Real(const char* name, double value) { Any(name, value); }
    void Channel(const char* name, int value) { Any(name, value); }
};

InspectionResult RandomRegion(Source& source, int mostBlobs)
{
    InspectionResult region;
    region.name = source.Text();
    region.code = source.Number();
    region.direction = source.Below(2) == 0 ? Direction_Vertical : Direction_Horizontal;
    region.region = CRect(source.Number(), source.Number(), source.Number(), source.Number());
    for (std::uint64_t i = source.Below(3); i > 0; --i)
    {
        region.outlines.emplace_back();
        for (std::uint64_t j = source.Below(5); j > 0; --j)
            region.outlines.back().emplace_back(source.Number(), source.Number());
    }
    region.pairs = source.Number();
    region.overflowed = source.Below(2) == 1;
    region.reruns = source.Number();
    region.inspectMilliseconds = source.Real();
    region.blobMilliseconds = source.Real();
    region.totalMilliseconds = source.Real();
    region.drift = {source.Real(), source.Real(), source.Real(), source.Real()};
    region.deadBlobs = source.Number();
    for (std::uint64_t i = source.Below(3); i > 0; --i)
        region.warnings.push_back(source.Text());
    region.blobs.resize(source.Below(static_cast<std::uint64_t>(mostBlobs) + 1));
    for (Blob& blob : region.blobs)
    {
        FillColumns fill{source};
        ForEachBlobColumn(blob, fill);
    }
    return region;
}

} // namespace

StoredImage RandomImage(std::uint64_t seed, int mostBlobs)
{
    Source source(seed);
    StoredImage image;
    image.key = source.Text() + std::to_string(seed);
    image.sequence = static_cast<std::int64_t>(seed);
    image.inspected = source.Long();
    image.result.name = source.Text();
    image.result.width = source.Number();
    image.result.height = source.Number();
    image.result.readMilliseconds = source.Real();
    image.result.inspectMilliseconds = source.Real();
    image.identity = {static_cast<std::uint64_t>(source.Long()), source.Long(), source.Text()};
    if (source.Below(4) == 0)
        for (std::uint64_t i = source.Below(12) + 1; i > 0; --i)
            image.result.problems.push_back({source.Text(), source.Text(), source.Text()});
    else
        for (std::uint64_t i = source.Below(4); i > 0; --i)
            image.result.regions.push_back(RandomRegion(source, mostBlobs));
    for (std::uint64_t i = source.Below(3); i > 0; --i)
        image.verdicts.push_back({source.Number(), source.Number(), source.Text(), source.Text(), source.Long()});
    for (std::uint64_t i = source.Below(3); i > 0; --i)
        image.crops.push_back(
            {source.Number(), source.Number(), source.Text(), source.Number(), source.Number(), source.Text()});
    return image;
}

RunDescription RandomRun(std::uint64_t seed)
{
    Source source(seed);
    return {source.Text() + std::to_string(seed),
            {std::to_string(seed), source.Text(), source.Text()},
            source.Text(),
            static_cast<std::int64_t>(seed)};
}

std::string Described(const StoredImage& image)
{
    std::ostringstream text;
    text.precision(17);
    const ImageResult& result = image.result;
    text << image.Key() << '|' << image.sequence << '|' << image.inspected << '|' << result.name << '|' << result.width
         << '|' << result.height << '|' << result.readMilliseconds << '|' << result.inspectMilliseconds << '|'
         << image.identity.bytes << '|' << image.identity.modified << '|' << image.identity.digest << '\n';
    for (const Problem& problem : result.problems)
        text << "problem " << problem.field << '|' << problem.value << '|' << problem.allowed << '\n';
    for (const InspectionResult& region : result.regions)
    {
        text << "region " << region.name << '|' << region.code << '|' << region.direction << '|' << region.region.left
             << '|' << region.region.top << '|' << region.region.right << '|' << region.region.bottom << '|'
             << region.pairs << '|' << region.overflowed << '|' << region.reruns << '|' << region.inspectMilliseconds
             << '|' << region.blobMilliseconds << '|' << region.totalMilliseconds << '|' << region.deadBlobs << '|'
             << region.drift.light << '|' << region.drift.noise << '|' << region.drift.pitchX << '|'
             << region.drift.pitchY << '\n';
        for (const auto& outline : region.outlines)
        {
            text << "outline";
            for (const CPoint& corner : outline)
                text << ' ' << corner.x << ',' << corner.y;
            text << '\n';
        }
        for (const std::string& warning : region.warnings)
            text << "warning " << warning << '\n';
        for (const Blob& blob : region.blobs)
        {
            text << "blob";
            WriteColumns write{text};
            ForEachBlobColumn(blob, write);
            text << '\n';
        }
    }
    for (const Verdict& verdict : image.verdicts)
        text << "verdict " << verdict.region << '|' << verdict.blob << '|' << verdict.verdict << '|' << verdict.source
             << '|' << verdict.given << '\n';
    for (const Crop& crop : image.crops)
        text << "crop " << crop.region << '|' << crop.blob << '|' << crop.kind << '|' << crop.left << '|' << crop.top
             << '|' << crop.png << '\n';
    return text.str();
}

} // namespace narvo::test
