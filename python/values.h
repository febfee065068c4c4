// SPDX-License-Identifier: MIT
// Small values on their way between Python and the host layer: texts, paths, rectangles, points, JSON, problems.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include "host/problem.h"
#include "narvoassem/platform.h"

namespace narvo::python
{

namespace py = pybind11;

/// Text that may hold a file's name, whose bytes need not be UTF-8.
py::str ToText(const std::string& text);
/// The text as one line that a terminal shows as it stands.
py::str ToPrintable(const py::str& text);
/// A list of narvoassem.errors.Problem.
py::list ToPython(const std::vector<Problem>& problems);
/// A narvoassem.regions.Rect.
py::object ToPython(const CRect& rect);
/// An array of shape (n, 2), columns x and y.
py::array_t<int> ToPython(const std::vector<CPoint>& points);
py::object ToPython(const nlohmann::ordered_json& value);

/// str, bytes or os.PathLike. @throws TypeError as open() would
std::filesystem::path ToPath(const py::handle& value);

/// Dicts, lists, tuples, texts, numbers and None, NumPy's own numbers among them. @throws HostError where something
/// else is met, or all is nested too deeply
nlohmann::json ToJson(const py::handle& value);

/// A whole number that fits; nothing for others.
std::optional<int> ToInt(const py::handle& value);

/// Four whole numbers: left, top, right, bottom; `fallback` for None. @throws HostError naming `name` for others
CRect ToRect(const py::handle& value, const CRect& fallback, const char* name);

/// Pairs of whole numbers. @throws HostError naming `name` for others
std::vector<CPoint> ToPoints(const py::handle& value, const char* name);

/// Rows and columns, 1 to 2^31 - 1 each. @throws HostError naming "shape" for others
std::pair<int, int> ToShape(const py::handle& value);

/// repr() cut to a length that fits a message.
std::string Shown(const py::handle& value);

} // namespace narvo::python
