// SPDX-License-Identifier: MIT
// What is true of an image of a set, from its files.
#pragma once

#include <cstdint>

#include "host/evaluate/evaluation_set.h"
#include "host/evaluate/image_measure.h"

namespace narvo
{

/// Of the mask, of the boxes, or that the image is defective and nobody knows where. Masks and images of more than
/// `maxPixels` are not taken. @throws HostError where a mask or an image cannot be read, or a box is not in it
ImageTruth TruthOfSetImage(const SetImage& image, std::int64_t maxPixels);

} // namespace narvo
