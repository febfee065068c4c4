// SPDX-License-Identifier: MIT
// Images with what is known to be wrong in them, from a folder in one of the usual layouts.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "narvoassem/platform.h"

namespace narvo
{

/// A true defect as a box; right and bottom exclusive.
struct TrueBox
{
    std::string kind;
    CRect box;
};

struct SetImage
{
    std::string name; ///< file name below the folder
    std::filesystem::path file;
    std::filesystem::path reference; ///< the good image that it is compared with; empty: none
    std::filesystem::path mask;      ///< white is defect; empty: none
    std::vector<TrueBox> boxes;
    bool defective = false;
    std::string kind; ///< of the defects in the mask
};

struct EvaluationSet
{
    std::string layout;           ///< what the folder was read as, in words
    std::vector<SetImage> images; ///< by name
};

constexpr std::size_t nSetImageLimit = 100000;
constexpr std::size_t nTrueBoxLimit = 1000000; ///< in all images together

/// Reads a folder that is laid out in one of these ways:
/// - `good/`, `defective/` and `mask/` with the same names below; folders in `defective/` are kinds of defect. Where
///   `mask/` has no file for a defective image, all that is known is that it is defective.
/// - NAME_temp.*, NAME_test.* and NAME.txt with a box a line: left top right bottom kind
/// - COCO: a JSON file with images, annotations and categories
/// - Pascal VOC: an XML file for each image
/// - YOLO: a text file for each image, with a class and a box in shares of the image a line, and classes.txt
/// - a text file for each image, with left top right bottom kind a line; images without one are good. NAME.txt also
///   belongs to NAME_test.*
/// Images and annotations lie in the folder, in `images/` and `labels/` or `annotations/`.
/// @throws HostError where the folder has none of these layouts, and with all that is wrong in its files
EvaluationSet ReadEvaluationSet(const std::filesystem::path& folder);

/// Takes the first good images by name out of the set. @throws HostError, in which `field` is what asked for them,
/// where the set has fewer or none would be left to measure
std::vector<SetImage> TakeGoodImages(EvaluationSet& set, std::size_t count, const std::string& field);

} // namespace narvo
