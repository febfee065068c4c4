// SPDX-License-Identifier: MIT
// Flat-field and dark-field images: what a camera shows of an even white and without light, and what follows from both
// for each of its pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace narvo
{

/// One of the two, as it is stored: rows without gaps, 8 or 16 bits, one channel or blue, green and red.
struct FieldImage
{
    int width = 0;
    int height = 0; ///< 1 for a line camera: every row of an image is corrected by this row
    int channels = 1;
    int bytesPerChannel = 1;
    std::vector<std::uint8_t> pixels;

    bool IsEmpty() const { return pixels.empty(); }
    bool operator==(const FieldImage& other) const = default;
};

/// A pixel without light, and the places of the nearest ones with light in its row; -1: there is none on that side.
/// Places count channels from the row's beginning.
struct DarkPixel
{
    int row = 0;
    int place = 0;
    int before = -1;
    int behind = -1;
};

/// The correction of every pixel and channel: (value - dark) * gain.
struct FieldTables
{
    int width = 0;
    int height = 0;
    int channels = 1;
    bool wide = false;                ///< of 16 bits: in the values of 16-bit images, in 1/256 of those of 8-bit ones
    std::vector<std::uint32_t> gains; ///< in 1 / 2^nGainBits
    std::vector<std::uint16_t> darks; ///< in the fields' values
    std::vector<DarkPixel> lightless; ///< by rows; the values there are made of their neighbours
    std::size_t saturated = 0;        ///< pixels of the flat field at the largest value of its depth
};

constexpr int nGainBits = 24;
/// A 16-bit field in values of 8-bit images has so many steps in each of these.
constexpr int nFieldSteps = 256;
/// Pixels with less than this share of the mean light of their field are taken for lightless.
constexpr double dLightLow = 1.0 / 16.0;

/// Both fields and their tables. Copies share them.
class FieldImages
{
public:
    /// None: nothing is corrected.
    FieldImages() = default;
    /// Either may be empty. `mosaic`: pixels under the four filters of a mosaic keep their mean values, so that a field
    /// does not change the colours.
    /// @throws HostError, naming image.flat_field and image.dark_field, where the two do not go together or the flat
    /// field shows no light
    FieldImages(FieldImage flat, FieldImage dark, bool mosaic);

    bool IsEmpty() const { return m_all == nullptr; }
    /// The fields as they were given; empty where there is none.
    const FieldImage& Flat() const;
    const FieldImage& Dark() const;
    /// Not where IsEmpty().
    const FieldTables& Tables() const;

    /// Whether the fields are the same; the tables follow from them.
    bool operator==(const FieldImages& other) const;

private:
    struct All
    {
        FieldImage flat;
        FieldImage dark;
        FieldTables tables;
    };
    std::shared_ptr<const All> m_all;
};

/// Reads a field from an image file. `field` names it in problems. @throws HostError
FieldImage LoadFieldImage(const std::filesystem::path& file, const std::string& field);
/// Writes one. @throws WriteError, also for a name that ends in a format which cannot hold its values
void SaveFieldImage(const std::filesystem::path& file, const FieldImage& image);

} // namespace narvo
