// SPDX-License-Identifier: MIT
// Flat-field and dark-field correction of a camera's pixels. For sources of the host layer.
#pragma once

#include <string>

#include <opencv2/core.hpp>

#include "host/image/conversion_notes.h"
#include "host/image/field_images.h"

namespace narvo
{

/// (value - dark) * gain, rounded to the nearest, halves up, and cut to 0 .. `fullScale`. Pixels without light become
/// the mean of their neighbours in the row. Alpha stays. What cannot be corrected well is noted: `pixels` that are
/// saturated, and the fields' own. `pixels` are 8 or 16 bits; `name` is for problems and notes.
/// @throws HostError where the fields have another size, depth or number of channels
cv::Mat CorrectFields(const cv::Mat& pixels, int fullScale, const FieldTables& fields, const std::string& name,
                      ConversionNotes* notes);

/// The same into memory of the caller's, of the size and type of `pixels`; nothing is noted and no memory taken.
/// @throws HostError as the other
void CorrectFieldsInto(cv::Mat& corrected, const cv::Mat& pixels, int fullScale, const FieldTables& fields,
                       const std::string& name);

} // namespace narvo
