// SPDX-License-Identifier: MIT
// Memory of images: large ones get pages of 2 MiB where the system gives them on request, which cost fewer misses and
// less time to be written first.
#pragma once

#include <cstddef>

namespace narvo
{

/// Images from here on begin at a page of this size.
constexpr std::size_t nLargePage = std::size_t{2} << 20;
constexpr std::size_t nLeastPaged = 4 * nLargePage;

/// @throws std::bad_alloc
void* AllocatePixels(std::size_t bytes);
/// What AllocatePixels gave for as many bytes.
void FreePixels(void* pixels, std::size_t bytes) noexcept;

/// Both as the allocator of a container of bytes.
template <typename Byte>
struct PixelAllocator
{
    static_assert(sizeof(Byte) == 1);
    using value_type = Byte;

    PixelAllocator() = default;
    template <typename Other>
    PixelAllocator(const PixelAllocator<Other>& /*other*/) noexcept
    {
    }
    Byte* allocate(std::size_t count) { return static_cast<Byte*>(AllocatePixels(count)); }
    void deallocate(Byte* pixels, std::size_t count) noexcept { FreePixels(pixels, count); }
    friend bool operator==(const PixelAllocator&, const PixelAllocator&) { return true; }
};

} // namespace narvo
