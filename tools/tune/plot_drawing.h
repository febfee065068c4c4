// SPDX-License-Identifier: MIT
// What charts are drawn on: SVG or PNG.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace narvo::tools
{

/// 0 .. 255 each.
struct Colour
{
    int red;
    int green;
    int blue;
};
/// In pixels of the drawing, x to the right, y down.
struct Place
{
    double x;
    double y;
};

/// What of a text lies at its place.
enum class Anchor
{
    Start,
    Middle,
    End
};

/// A white area that charts are drawn on, as a vector file or as pixels.
class Drawing
{
public:
    virtual ~Drawing() = default;
    /// Joined by straight lines, `width` in pixels.
    virtual void Line(const std::vector<Place>& places, Colour colour, double width, bool dashed) = 0;
    virtual void Dot(Place place, double radius, Colour colour) = 0;
    virtual void Text(Place place, const std::string& text, Colour colour, Anchor anchor) = 0;
    /// Throws InputError when the file cannot be written.
    virtual void Save(const std::filesystem::path& file) = 0;
};

/// Six digits at most.
std::string DrawnNumber(double value);

/// A drawing of this size in pixels, as SVG where the file's name ends in .svg, else as an image file.
std::unique_ptr<Drawing> MakeDrawing(const std::filesystem::path& file, int width, int height);

} // namespace narvo::tools
