// SPDX-License-Identifier: MIT
// Images of the host library between NumPy and C++: copies that calls keep, or read on other threads.
#pragma once

#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <narvo/host_images.h>

namespace narvo::python
{

namespace py = pybind11;

/// One image or a sequence of them; one is as good as a list of one. Arrays of shape (rows, columns, 3) are images of
/// which each colour is inspected. They are named "images[0]" and so on.
/// @throws HostError unless all are arrays as ImageArgument takes them
std::vector<v1::NamedPicture> GoodPictures(const py::handle& images);

/// @throws v1::Error for an image of colours unless the rules inspect each of them
void CheckColours(const v1::Image& image, const v1::ImageRules& rules);

/// The image as an array of its own: (rows, columns), or (rows, columns, 3) where each colour is inspected.
py::array_t<std::uint8_t> ToArray(const v1::Image& image);

} // namespace narvo::python
