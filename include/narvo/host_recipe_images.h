// SPDX-License-Identifier: MIT
// What a recipe holds beside its fields: painted images, flat and dark fields, maps; and where it inspects an image.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "narvo/host_images.h"
#include "narvo/host_inspector.h"
#include "narvo/host_recipe.h"

namespace narvo::v1
{

/// Painted images of a recipe.
enum class PaintedImage : int
{
    Zones,   ///< of one cell: the value of a pixel is its zone
    Classes, ///< of one cell: the value of a pixel is its class
    Dead     ///< of the whole image: nothing is reported where it is not 0
};

/// Flat and dark fields of a recipe.
enum class LightField : int
{
    Flat, ///< what the camera shows of an even white
    Dark  ///< what it shows without light
};

/// A flat or dark field as it was given.
struct FieldPixels
{
    int width = 0;                   ///< pixels; 0: there is none
    int height = 0;                  ///< pixels; 1 for a line camera
    int channels = 1;                ///< 1: grey; 3: red, green, blue
    int bits = 8;                    ///< of a channel: 8, or 16 in the byte order of the machine
    std::vector<std::uint8_t> bytes; ///< row by row without gaps

    /// Where they lie; valid as long as this object is not changed.
    PixelArray Pixels() const { return {bytes.data(), width, height, channels, bits}; }
};

// In all that follows `region` is the number of the recipe's region, from 0.

/// A painted image, shared with the recipe; nothing where it has none.
/// @throws Error for a region that the recipe does not have, or an image that is none of the enumeration
NARVOHOST_API std::optional<Image> ImageOf(const Recipe& recipe, PaintedImage image, std::size_t region = 0);
/// A copy of a field; empty where the recipe has none. @throws Error as ImageOf
NARVOHOST_API FieldPixels FieldOf(const Recipe& recipe, LightField field, std::size_t region = 0);
/// Where the values of a map lie, valid as long as a recipe that shares them exists; null where it has none.
/// @throws Error as ImageOf
NARVOHOST_API MapValues MapOf(const Recipe& recipe, RegionMap map, std::size_t region = 0);
/// The part of an image of that size that is inspected; of shapes, the bounds. Sides are 1 or more; whether the image
/// can be inspected is Recipe::CheckSize's question. @throws Error as ImageOf, or for other sides
NARVOHOST_API Box InspectedBox(const Recipe& recipe, int width, int height, std::size_t region = 0);

} // namespace narvo::v1
