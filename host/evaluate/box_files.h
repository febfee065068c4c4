// SPDX-License-Identifier: MIT
// Files of true boxes. For the reader of evaluation sets.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "host/evaluate/evaluation_set.h"

namespace narvo
{

/// Lines of left, top, right, bottom and kind, separated by blanks or commas. @throws HostError naming the line
std::vector<TrueBox> ReadBoxLines(const std::filesystem::path& file);

/// Whether a text file holds a line of YOLO's: a class and four shares from 0 to 1.
bool HoldsYoloLines(const std::filesystem::path& file);

/// Lines of class, centre x and y, width and height in shares of an image of that size. @throws HostError naming the
/// line
std::vector<TrueBox> ReadYoloLines(const std::filesystem::path& file, int width, int height,
                                   const std::vector<std::string>& classes);

/// Names of classes, one a line. @throws HostError when it cannot be read
std::vector<std::string> ReadClassNames(const std::filesystem::path& file);

/// Boxes of an annotation in Pascal VOC's XML; `image` gets the file name that it gives, or nothing.
/// @throws HostError where an object has no name or no box
std::vector<TrueBox> ReadVocBoxes(const std::filesystem::path& file, std::string& image);

/// Boxes by the image's file name, from a COCO file; images without annotations have none. @return nothing for another
/// file than an object with images and annotations @throws HostError, also for more than nSetByteLimit bytes
std::optional<std::map<std::string, std::vector<TrueBox>>> ReadCocoBoxes(const std::filesystem::path& file);

} // namespace narvo
