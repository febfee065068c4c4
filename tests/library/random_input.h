// SPDX-License-Identifier: MIT
// Random input for the host library, right and wrong, and the way to ask it.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <string>
#include <vector>

#include "fuzz/require.h"
#include "soak/case_source.h"
#include "support/random.h"
#include <narvo/narvohost.h>

namespace narvo::test
{

/// Runs a call; what it refuses must be said in full, and nothing else may come out of it. @return it was answered
template <typename Call>
bool Ask(Call call)
{
    try
    {
        call();
        return true;
    }
    catch (const Error& error)
    {
        Require(!error.Problems().empty() && error.what()[0] != '\0', "a refusal has a text");
        for (const Problem& problem : error.Problems())
            Require(!problem.field.empty() && !problem.allowed.empty(),
                    "a problem names its field and what is allowed: " + problem.field + ", " + problem.value);
    }
    catch (const std::exception& other)
    {
        Require(false, std::string("nothing but an Error comes out of a call: ") + other.what());
    }
    return false;
}

/// A call that must be refused.
template <typename Call>
void RequireRefused(Call call, const char* claim)
{
    Require(!Ask(call), claim);
}

/// Pixels of exactly the bytes that an image needs, so that a read behind them shows.
struct RandomImage
{
    std::vector<std::uint8_t> bytes;
    std::vector<std::uint16_t> words;
    ImagePixels pixels;
};

class RandomInput
{
public:
    explicit RandomInput(CCaseSource& source) : random(source) {}

    int Wild()
    {
        return random.Pick({0, 1, -1, 2, 255, 256, 65536, -4096, std::numeric_limits<int>::max(),
                            std::numeric_limits<int>::min(), 1048577});
    }

    double WildNumber()
    {
        constexpr double most = std::numeric_limits<double>::max();
        return random.Pick({0.0, -0.0, 1e-300, 0.0625, 1.5, -3.0, 1e9, 1e300, most, -most,
                            std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()});
    }

    int Side(int most) { return random.OneIn(4) ? random.Int(1, 20) : random.Int(1, most); }

    /// A pattern, noise, or one value; sometimes described wrongly.
    RandomImage Image(int most, int least = 1)
    {
        RandomImage image;
        const int width = std::max(least, Side(most));
        const int height = std::max(least, Side(most));
        const int bits = random.OneIn(4) ? random.Int(9, 16) : 8;
        const int gap = random.OneIn(2) ? 0 : random.Int(0, 40);
        const std::size_t values = static_cast<std::size_t>(width + gap) * static_cast<std::size_t>(height - 1) +
                                   static_cast<std::size_t>(width);
        const int kind = random.Int(0, 5);
        const int pitchX = random.Int(3, 40);
        const int pitchY = random.Int(3, 40);
        CRandom noise = Noise();
        const auto value = [&](std::size_t i)
        {
            const int x = static_cast<int>(i % static_cast<std::size_t>(width + gap));
            const int y = static_cast<int>(i / static_cast<std::size_t>(width + gap));
            if (kind == 0)
                return static_cast<int>(noise.Next() & 255U);
            if (kind == 1)
                return 77;
            if (kind <= 3) // fields of a pattern that does not repeat
                return ((x / 11 * 7919 + y / 9 * 104729) >> 4) % 3 == 0 ? 150 : 60;
            return (x % pitchX < pitchX / 2 && y % pitchY < pitchY / 2 ? 150 : 60) +
                   (noise.OneIn(500) ? 90 : noise.Int(0, 3));
        };
        if (bits == 8)
        {
            image.bytes.resize(values);
            for (std::size_t i = 0; i < values; ++i)
                image.bytes[i] = static_cast<std::uint8_t>(value(i));
            image.pixels = ImagePixels(image.bytes.data(), width, height, gap == 0 ? 0 : width + gap);
        }
        else
        {
            image.words.resize(values);
            for (std::size_t i = 0; i < values; ++i)
                image.words[i] = static_cast<std::uint16_t>(noise.OneIn(999) ? 65535 : value(i) << (bits - 8));
            image.pixels = ImagePixels(image.words.data(), width, height, gap == 0 ? 0 : 2 * (width + gap), bits);
        }
        if (random.OneIn(12))
            Spoil(image.pixels);
        return image;
    }

    /// Describes an image in a way that must be refused, or that reads less.
    void Spoil(ImagePixels& pixels)
    {
        const int width = pixels.width;
        switch (random.Int(0, 4))
        {
        case 0:
            pixels.pixels = nullptr;
            break;
        case 1:
            pixels.width = random.Pick({0, -1, -width, std::numeric_limits<int>::min(), 1048577});
            break;
        case 2:
            pixels.height = random.Pick({0, -1, std::numeric_limits<int>::min(), 1048577});
            break;
        case 3:
            pixels.stride = random.Pick<std::ptrdiff_t>({-1, -width, 1, std::numeric_limits<std::ptrdiff_t>::min(),
                                                         std::numeric_limits<std::ptrdiff_t>::max()});
            if (pixels.stride == 1 && (width == 1 || pixels.height == 1))
                pixels.stride = -1;
            break;
        default:
            pixels.bits = random.Pick({0, 7, 17, -8, std::numeric_limits<int>::max()});
        }
    }

    /// A region anywhere, as the JSON form has it.
    std::string Region()
    {
        const int left = random.Int(-5, 60);
        const int top = random.Int(-5, 60);
        const auto number = [&](const char* name, int value)
        { return std::string("\"") + name + "\": " + std::to_string(random.OneIn(30) ? Wild() : value); };
        return "{" + number("left", left) + ", " + number("top", top) + ", " +
               number("right", left + random.Int(-2, 300)) + ", " + number("bottom", top + random.Int(-2, 300)) + "}";
    }

    /// Numbers for what would need too many draws, such as the noise of pixels.
    CRandom Noise() { return CRandom(random.Below(std::uint64_t{1} << 16)); }

    CCaseSource& random;
};

} // namespace narvo::test
