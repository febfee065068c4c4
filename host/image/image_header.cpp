// SPDX-License-Identifier: MIT
// One small reader for each format.
#include "host/image/image_header.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <set>
#include <string>
#include <string_view>

#include "host/limits.h"

namespace narvo
{

namespace
{

/// Thrown where the file ends early or holds what cannot be; the readers need no other way out.
struct Broken
{
};

/// Numbers from a file, in its order of bytes.
class ByteReader
{
public:
    explicit ByteReader(const std::filesystem::path& file) : m_stream(file, std::ios::binary) {}

    void SetBigEndian(bool bigEndian) { m_bigEndian = bigEndian; }
    void Seek(std::uint64_t place)
    {
        if (place > static_cast<std::uint64_t>(std::numeric_limits<std::streamoff>::max()))
            throw Broken();
        m_stream.seekg(static_cast<std::streamoff>(place));
    }
    int Byte()
    {
        const int byte = m_stream.get();
        if (!m_stream)
            throw Broken();
        return byte;
    }
    std::uint64_t Number(int bytes)
    {
        std::uint64_t number = 0;
        for (int i = 0; i < bytes; ++i)
        {
            const auto byte = static_cast<std::uint64_t>(Byte());
            number = m_bigEndian ? number << 8U | byte : number | byte << static_cast<unsigned>(8 * i);
        }
        return number;
    }
    std::int64_t Signed32() { return static_cast<std::int32_t>(Number(4)); }
    std::uint64_t Size()
    {
        const std::streamoff place = m_stream.tellg();
        m_stream.seekg(0, std::ios::end);
        const std::streamoff size = m_stream.tellg();
        m_stream.seekg(place);
        return static_cast<std::uint64_t>(std::max<std::streamoff>(size, 0));
    }
    /// To behind the next byte of that value.
    void Pass(int value)
    {
        m_stream.ignore(std::numeric_limits<std::streamsize>::max(), value);
        if (!m_stream || m_stream.eof())
            throw Broken();
    }
    void Skip(std::uint64_t bytes)
    {
        m_stream.ignore(static_cast<std::streamsize>(bytes));
        if (!m_stream || m_stream.eof())
            throw Broken();
    }
    bool StartsWith(std::string_view text)
    {
        m_stream.clear();
        Seek(0);
        return std::all_of(text.begin(), text.end(),
                           [&](char letter) { return m_stream.get() == static_cast<unsigned char>(letter); });
    }

private:
    std::ifstream m_stream;
    bool m_bigEndian = true;
};

ImageHeader ReadPng(ByteReader& reader)
{
    ImageHeader header;
    reader.Seek(16); // behind signature, length and name of the first chunk
    header.width = static_cast<std::int64_t>(reader.Number(4));
    header.height = static_cast<std::int64_t>(reader.Number(4));
    const int bits = reader.Byte();
    const int colour = reader.Byte();
    // Grey, then colours, palettes, grey with alpha and colours with alpha.
    const int channels = colour == 0 ? 1 : colour == 2 ? 3 : 4;
    header.bytesPerPixel = channels * (bits == 16 ? 2 : 1);
    return header;
}

ImageHeader ReadBmp(ByteReader& reader)
{
    ImageHeader header;
    reader.SetBigEndian(false);
    reader.Seek(14);
    const bool old = reader.Number(4) == 12;
    header.width = old ? static_cast<std::int64_t>(reader.Number(2)) : reader.Signed32();
    header.height = old ? static_cast<std::int64_t>(reader.Number(2)) : std::abs(reader.Signed32()); // upside down
    reader.Number(2);
    header.bytesPerPixel = reader.Number(2) == 32 ? 4 : 3;
    return header;
}

/// The next marker of a JPEG; bytes of pixels that look like one have a zero behind them.
int NextMarker(ByteReader& reader)
{
    for (;;)
    {
        reader.Pass(0xff);
        int marker = reader.Byte();
        while (marker == 0xff)
            marker = reader.Byte();
        if (marker != 0)
            return marker;
    }
}

/// What follows a JPEG's frame: its scans, and whether it ends at all. A block of 8 by 8 pixels takes a bit at least
/// where it is coded by Huffman's method.
void ReadScans(ByteReader& reader, int components, bool huffman, ImageHeader& header)
{
    constexpr int nEnd = 0xd9;
    constexpr int nScan = 0xda;
    header.scans = 0;
    try
    {
        const std::uint64_t blocks =
            static_cast<std::uint64_t>((header.width + 7) / 8) * static_cast<std::uint64_t>((header.height + 7) / 8);
        if (huffman && reader.Size() < blocks / 8)
            throw Broken();
        reader.Skip(3 * static_cast<std::uint64_t>(components));
        for (int marker = NextMarker(reader); marker != nEnd && header.scans <= nScanLimit; marker = NextMarker(reader))
        {
            header.scans += marker == nScan ? 1 : 0;
            const bool bare = marker == 0x01 || (marker >= 0xd0 && marker <= 0xd8);
            if (!bare)
                reader.Skip(std::max<std::uint64_t>(reader.Number(2), 2) - 2);
        }
    }
    catch (const Broken&)
    {
        header.cut = true;
    }
}

ImageHeader ReadJpeg(ByteReader& reader)
{
    reader.Seek(2);
    for (;;)
    {
        const int marker = NextMarker(reader);
        const bool bare = marker == 0x01 || (marker >= 0xd0 && marker <= 0xd8); // without a length
        if (bare)
            continue;
        if (marker == 0xd9 || marker == 0xda)
            throw Broken(); // the end, or pixels before a frame
        const std::uint64_t length = reader.Number(2);
        const bool frame = marker >= 0xc0 && marker <= 0xcf && marker != 0xc4 && marker != 0xc8 && marker != 0xcc;
        if (frame)
        {
            ImageHeader header;
            reader.Byte(); // bits
            header.height = static_cast<std::int64_t>(reader.Number(2));
            header.width = static_cast<std::int64_t>(reader.Number(2));
            const int components = reader.Byte();
            header.bytesPerPixel = components == 1 ? 1 : 3;
            ReadScans(reader, components, marker <= 0xc2, header);
            return header;
        }
        reader.Skip(std::max<std::uint64_t>(length, 2) - 2);
    }
}

/// A decimal number behind white space and comments.
std::int64_t ReadDecimal(ByteReader& reader)
{
    int letter = reader.Byte();
    while (std::isdigit(letter) == 0)
    {
        if (letter == '#')
            while (letter != '\n' && letter != '\r')
                letter = reader.Byte();
        else if (std::isspace(letter) == 0)
            throw Broken();
        letter = reader.Byte();
    }
    std::int64_t number = 0;
    for (; std::isdigit(letter) != 0; letter = reader.Byte())
    {
        number = number * 10 + (letter - '0');
        if (number > std::numeric_limits<int>::max())
            throw Broken();
    }
    return number;
}

ImageHeader ReadAnymap(ByteReader& reader)
{
    ImageHeader header;
    reader.Seek(1);
    const int kind = reader.Byte();
    header.width = ReadDecimal(reader);
    header.height = ReadDecimal(reader);
    const bool colour = kind == '3' || kind == '6';
    const bool bits = kind == '1' || kind == '4'; // no largest value follows
    header.fullScale = bits ? 0 : static_cast<int>(std::min<std::int64_t>(ReadDecimal(reader), 65535));
    header.bytesPerPixel = (colour ? 3 : 1) * (header.fullScale > 255 ? 2 : 1);
    return header;
}

class TiffReader
{
public:
    TiffReader(ByteReader& reader, bool bigEndian, bool wide) : m_reader(reader), m_wide(wide)
    {
        reader.SetBigEndian(bigEndian);
    }

    ImageHeader Read()
    {
        m_reader.Seek(m_wide ? 8 : 4);
        ImageHeader header;
        std::uint64_t place = ReadDirectory(m_reader.Number(Wide()), &header);
        std::set<std::uint64_t> seen;
        while (place != 0 && header.pages < nPagesCounted && seen.insert(place).second)
            try
            {
                place = ReadDirectory(place, nullptr);
                header.pages += m_reduced ? 0 : 1;
            }
            catch (const Broken&)
            {
                break; // a chain that leads nowhere has no further page
            }
        return header;
    }

private:
    static constexpr int nPagesCounted = 1000;

    int Wide() const { return m_wide ? 8 : 4; }

    /// The first value of the entry at the reader's place.
    std::uint64_t FirstValue(int type, std::uint64_t count)
    {
        const int bytes = BytesOf(type);
        if (count * static_cast<std::uint64_t>(bytes) > static_cast<std::uint64_t>(Wide()))
            m_reader.Seek(m_reader.Number(Wide()));
        return m_reader.Number(bytes);
    }

    /// Where the values of a list of the file stand.
    struct List
    {
        std::uint64_t place = 0;
        std::uint64_t count = 0;
        int bytes = 0; ///< of each
    };

    static int BytesOf(int type) { return type == 3 ? 2 : type == 4 ? 4 : type == 16 ? 8 : 1; }

    /// The list of the entry at the reader's place.
    List ListOf(std::uint64_t place, int type, std::uint64_t count)
    {
        List list = {place, count, BytesOf(type)};
        if (count > m_reader.Size() / static_cast<std::uint64_t>(list.bytes))
            throw Broken();
        if (count * static_cast<std::uint64_t>(list.bytes) > static_cast<std::uint64_t>(Wide()))
            list.place = m_reader.Number(Wide());
        return list;
    }

    std::uint64_t Value(const List& list, std::uint64_t index)
    {
        m_reader.Seek(list.place + index * static_cast<std::uint64_t>(list.bytes));
        return m_reader.Number(list.bytes);
    }

    /// Whether strips or tiles lie within the file and hold as many bytes as the pixels take at least.
    bool HoldsPixels(const List& places, const List& sizes, int compression, std::uint64_t bytes)
    {
        if (places.count == 0 || sizes.count < places.count)
            return compression == 1; // sizes are known without
        const std::uint64_t end = m_reader.Size();
        std::uint64_t stored = 0;
        for (std::uint64_t i = 0; i < places.count; ++i)
        {
            const std::uint64_t place = Value(places, i);
            const std::uint64_t size = Value(sizes, i);
            if (place > end || size > end - place)
                return false;
            stored += size;
        }
        // How much a byte can stand for: LZW, PackBits, both numbers of deflate.
        const std::uint64_t most = compression == 5                           ? 1400
                                   : compression == 32773                     ? 64
                                   : compression == 8 || compression == 32946 ? 1032
                                                                              : std::uint64_t{1} << 32U;
        return stored >= bytes / most;
    }

    /// Sizes of the directory at a place where `header` is given; whether it holds a reduced copy otherwise.
    /// @return the place of the next one; 0: none
    std::uint64_t ReadDirectory(std::uint64_t place, ImageHeader* header)
    {
        m_reader.Seek(place);
        const std::uint64_t entries = m_reader.Number(m_wide ? 8 : 2);
        const std::uint64_t first = place + (m_wide ? 8 : 2);
        const std::uint64_t size = m_wide ? 20 : 12;
        if (entries > m_entriesLeft)
            throw Broken();
        m_entriesLeft -= entries;
        std::int64_t bits = 1;
        std::int64_t samples = 1;
        std::int64_t tileWidth = 0;
        std::int64_t tileHeight = 0;
        bool palette = false;
        int compression = 1;
        List places;
        List sizes;
        m_reduced = false;
        for (std::uint64_t i = 0; i < entries; ++i)
        {
            m_reader.Seek(first + i * size);
            const std::uint64_t tag = m_reader.Number(2);
            const int type = static_cast<int>(m_reader.Number(2));
            const std::uint64_t count = m_reader.Number(Wide());
            // Of entries that come twice the larger one holds, whichever the decoder takes.
            const auto raise = [&](std::int64_t& value) {
                value =
                    std::max(value, static_cast<std::int64_t>(std::min<std::uint64_t>(FirstValue(type, count), nMost)));
            };
            if (tag == 254)
                m_reduced = (FirstValue(type, count) & 1U) != 0;
            else if (tag == 258)
                raise(bits);
            else if (tag == 259)
                compression = static_cast<int>(FirstValue(type, count) & 0xffffU);
            else if (header != nullptr && (tag == 273 || tag == 324))
                places = ListOf(first + i * size + 4 + static_cast<std::uint64_t>(Wide()), type, count);
            else if (header != nullptr && (tag == 279 || tag == 325))
                sizes = ListOf(first + i * size + 4 + static_cast<std::uint64_t>(Wide()), type, count);
            else if (tag == 262)
                palette = FirstValue(type, count) == 3;
            else if (tag == 277)
                raise(samples);
            else if (tag == 322)
                raise(tileWidth);
            else if (tag == 323)
                raise(tileHeight);
            else if (header != nullptr && tag == 256)
                raise(header->width);
            else if (header != nullptr && tag == 257)
                raise(header->height);
        }
        if (header != nullptr)
        {
            const std::int64_t channels = palette ? 3 : std::min<std::int64_t>(samples, 64);
            header->bytesPerPixel = static_cast<int>(channels * std::clamp<std::int64_t>((bits + 7) / 8, 1, 8));
            header->tilePixels = tileWidth * tileHeight;
            const auto pixels = static_cast<std::uint64_t>(std::max<std::int64_t>(header->width, 0)) *
                                static_cast<std::uint64_t>(std::max<std::int64_t>(header->height, 0));
            header->cut = !HoldsPixels(places, sizes, compression,
                                       pixels / 8 * static_cast<std::uint64_t>(std::min<std::int64_t>(bits, 16)));
        }
        m_reader.Seek(first + entries * size);
        return m_reader.Number(Wide());
    }

    static constexpr std::uint64_t nMost = std::numeric_limits<std::int32_t>::max(); // their products fit 64 bits

    ByteReader& m_reader;
    bool m_wide;                         ///< offsets of 64 bits
    std::uint64_t m_entriesLeft = 65536; ///< of all directories: a small file can name the same ones again and again
    bool m_reduced = false;
};

std::optional<ImageHeader> ReadByKind(ByteReader& reader)
{
    using namespace std::string_view_literals;
    if (reader.StartsWith("\x89PNG\r\n\x1a\n"sv))
        return ReadPng(reader);
    if (reader.StartsWith("\xff\xd8\xff"sv))
        return ReadJpeg(reader);
    if (reader.StartsWith("BM"sv))
        return ReadBmp(reader);
    for (const bool bigEndian : {false, true})
    {
        if (reader.StartsWith(bigEndian ? "MM\0*"sv : "II*\0"sv))
            return TiffReader(reader, bigEndian, false).Read();
        if (reader.StartsWith(bigEndian ? "MM\0+"sv : "II+\0"sv))
            return TiffReader(reader, bigEndian, true).Read();
    }
    for (const std::string_view kind : {"P1"sv, "P2"sv, "P3"sv, "P4"sv, "P5"sv, "P6"sv})
        if (reader.StartsWith(kind))
            return ReadAnymap(reader);
    return std::nullopt;
}

} // namespace

bool HasImageEnding(const std::filesystem::path& file)
{
    static constexpr std::array<std::string_view, 10> endings = {".png", ".tif", ".tiff", ".bmp",  ".pgm",
                                                                 ".ppm", ".pnm", ".jpg",  ".jpeg", ".jpe"};
    std::string ending = file.extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return std::find(endings.begin(), endings.end(), ending) != endings.end();
}

std::optional<ImageHeader> ReadImageHeader(const std::filesystem::path& file)
{
    try
    {
        ByteReader reader(file);
        return ReadByKind(reader);
    }
    catch (const Broken&)
    {
        return std::nullopt;
    }
}

} // namespace narvo
