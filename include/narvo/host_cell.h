// SPDX-License-Identifier: MIT
// The golden cell: what the cell of a pattern looks like in good images, kept so that later images can be held against
// it. It shows what is wrong in every cell alike, which a comparison of a pattern with itself cannot. docs/lot.md
// explains it.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "narvo/host_inspector.h"
#include "narvo/host_recipe.h"
#include "narvo/host_setting.h"
#include "narvo/image_pixels.h"

namespace narvo::v1
{

/// A place of the cell that differs from the golden one.
struct CellPlace
{
    Box box;                 ///< pixels from the corner of the golden cell along its vectors; may end beyond its edge
    int centerX = 0;         ///< weighted by the difference, pixels from the same corner
    int centerY = 0;         ///< the same along the other vector
    int area = 0;            ///< places of the cell, about a pixel each
    double difference = 0.0; ///< the greatest, grey levels; positive where the image is brighter
    double standardErrors = 0.0; ///< the greatest difference in standard errors
};

/// What a comparison found in one region.
struct CellReport
{
    std::string region;            ///< name in the recipe
    std::vector<CellPlace> places; ///< the most certain first
    std::size_t parts = 0;         ///< of the image that its mean cell is made of
    std::size_t partsLeftOut = 0;  ///< parts that do not resemble the golden cell
    double displacementX = 0.0; ///< by which the pattern lies elsewhere in the middle, pixels along the cell's vectors
    double displacementY = 0.0; ///< the same along the other vector
    double gain = 1.0;          ///< of the light in the middle: grey is gain times golden grey, and offset
    double offset = 0.0;        ///< grey levels
    double resemblance = 0.0;   ///< correlation of the middle part with the golden cell, up to 1
    int width = 0;              ///< places across the cell
    int height = 0;             ///< places down the cell
    std::vector<float> mean;    ///< the image's cell in golden light, grey levels, row by row, width by height
    std::vector<float> difference; ///< from the golden cell, the same
    std::string text;              ///< for a person, as the program's `narvo cell` prints it
};

/// The golden cells of a recipe's regions. Nothing changes it once it is made: copies share it, and any number of
/// threads may use it. One that was moved from refuses every call with Error.
class NARVOHOST_API GoldenCell
{
public:
    /// From 1 to 1000 good images of at least 2 by 2 cells; several are better, since the scatter among them is allowed
    /// for later. Of images of more than 8 bits the recipe's image.levels say how they become grey.
    /// @throws Error for a recipe with a region that has no pitch along both axes and no lattice, and for images that
    /// are too small or do not show the pattern, naming them as images[0]
    static GoldenCell Learn(const Recipe& recipe, const std::vector<ImagePixels>& images);
    /// From a file that Save or `narvo cell` wrote. @throws Error naming file and field
    static GoldenCell FromFile(const std::filesystem::path& file);
    /// Writes a JSON file. @throws WriteError when that fails
    void Save(const std::filesystem::path& file) const;

    /// Regions, as the recipe that it was learnt by has.
    std::size_t Regions() const;
    /// Good images that it was learnt from.
    int Images() const;
    /// Places across and down the cell of a region. @throws Error for a region that it does not have
    std::pair<int, int> Size(std::size_t region = 0) const;
    /// Grey levels of the cell, row by row. @throws Error as Size
    std::vector<float> Mean(std::size_t region = 0) const;

    /// Whether images inspected by a recipe can be held against it, before there is one.
    /// @throws Error for a recipe with other regions or cells
    void Check(const Recipe& recipe) const;
    /// How an image differs, one report for each region. `settings` are
    /// - "least_difference": grey levels below which nothing is reported, 0 .. 255; 2 unless given
    /// - "tolerance": pixels by which edges may lie elsewhere, 0 .. 4; 0.15 unless given
    /// - "certainty": standard errors that a difference must exceed, 3 .. 100; 6 unless given
    ///
    /// The same image, cell and settings give the same reports.
    /// @throws Error for settings that do not exist or are outside their range, for a recipe with other regions or
    /// cells, and for an image that is too small or does not resemble the cell
    std::vector<CellReport> Compare(const ImagePixels& image, const Recipe& recipe,
                                    const Settings& settings = {}) const;
    /// The same, with `json` set to the JSON of all regions, a list `regions` of what the program's `narvo cell`
    /// writes.
    /// @throws Error as the other, which leaves `json` as it is
    std::vector<CellReport> Compare(const ImagePixels& image, const Recipe& recipe, const Settings& settings,
                                    std::string& json) const;

    struct Content; ///< of the library
    /// For the library itself.
    explicit GoldenCell(std::shared_ptr<const Content> content) : m_content(std::move(content)) {}

private:
    const Content& Own() const;
    std::shared_ptr<const Content> m_content;
};

} // namespace narvo::v1
