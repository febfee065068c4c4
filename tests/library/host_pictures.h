// SPDX-License-Identifier: MIT
// Pictures for the tests of the host library.
#pragma once

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

#include <narvo/narvohost.h>

namespace narvo::test
{

/// Grey pixels in rows without gaps.
struct Picture8
{
    int width = 0;
    int height = 0;
    std::vector<std::uint8_t> pixels;

    Picture8(int columns, int rows, std::uint8_t value = 0)
        : width(columns), height(rows),
          pixels(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows), value)
    {
    }
    std::uint8_t& At(int x, int y)
    {
        return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)];
    }
    void Fill(const Box& box, int value)
    {
        for (int y = std::max(box.top, 0); y < std::min(box.bottom, height); ++y)
            for (int x = std::max(box.left, 0); x < std::min(box.right, width); ++x)
                At(x, y) = static_cast<std::uint8_t>(value);
    }
    ImagePixels Pixels() const { return {pixels.data(), width, height}; }
};

/// A pattern with periods of `pitchX` by `pitchY` pixels and a little noise.
inline Picture8 PeriodicPicture(int width, int height, int pitchX, int pitchY, unsigned seed = 1)
{
    std::mt19937 random(seed);
    Picture8 picture(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            picture.At(x, y) = static_cast<std::uint8_t>(
                (x % pitchX < pitchX / 2 && y % pitchY < pitchY * 2 / 3 ? 150 : 60) + random() % 5);
    return picture;
}

/// A pattern that does not repeat: bright fields at places that a fixed seed decides, `shift` pixels to the right and
/// half as many down.
inline Picture8 BoardPicture(int width, int height, int shift = 0, unsigned noise = 1)
{
    std::mt19937 places(77);
    std::mt19937 random(noise);
    Picture8 picture(width, height, 60);
    for (int i = 0; i < width * height / 1500; ++i)
    {
        const int left = static_cast<int>(places() % static_cast<unsigned>(width)) + shift;
        const int top = static_cast<int>(places() % static_cast<unsigned>(height)) + shift / 2;
        const int wide = 8 + static_cast<int>(places() % 30);
        const int high = 8 + static_cast<int>(places() % 30);
        picture.Fill({left, top, left + wide, top + high}, i % 3 == 0 ? 60 : 180);
    }
    for (std::uint8_t& pixel : picture.pixels)
        pixel = static_cast<std::uint8_t>(pixel + random() % 5);
    return picture;
}

} // namespace narvo::test
