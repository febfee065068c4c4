// SPDX-License-Identifier: MIT
// Defects as the label files of vision tools: COCO, Pascal VOC, YOLO, and a table.
#pragma once

#include <string>
#include <vector>

#include "host/exchange/defect_list.h"

namespace narvo
{

/// One JSON file with images, annotations and categories; ids count from 1, bbox is [left, top, width, height].
std::string CocoText(const std::vector<DefectList>& images);

/// Pascal VOC's annotation of one image: pixels count from 1, and xmax and ymax name the last one.
std::string VocText(const DefectList& image);

/// YOLO's lines for one image: class, centre, width and height in shares of the image. Classes count from 0 in the
/// order of `kinds`. @throws HostError where an image has no size, or a kind is missing
std::string YoloText(const DefectList& image, const std::vector<std::string>& kinds);

/// The names of YOLO's classes, one a line. @throws HostError where a kind has a line end
std::string YoloClasses(const std::vector<std::string>& kinds);

/// A row for each defect: image, width, height, kind, left, top, right, bottom, area.
std::string DefectTable(const std::vector<DefectList>& images);

} // namespace narvo
