// SPDX-License-Identifier: MIT
// Small values on their way between Python and the host library: texts, paths, rectangles, points, JSON, problems.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <narvo/host_error.h>
#include <narvo/host_inspector.h>
#include <narvo/host_shapes.h>

namespace narvo::python
{

namespace py = pybind11;

/// Text that may hold a file's name, whose bytes need not be UTF-8.
py::str ToText(const std::string& text);
/// The text as one line that a terminal shows as it stands.
py::str ToPrintable(const py::str& text);
/// A list of narvoassem.errors.Problem.
py::list ToPython(const std::vector<v1::Problem>& problems);
/// A narvoassem.regions.Rect.
py::object ToPython(const v1::Box& box);
/// An array of shape (n, 2), columns x and y.
py::array_t<int> ToPython(const std::vector<v1::Corner>& points);
py::object ToPython(const nlohmann::ordered_json& value);

/// str, bytes or os.PathLike. @throws TypeError as open() would
std::filesystem::path ToPath(const py::handle& value);

/// Dicts, lists, tuples, texts, finite numbers and None, NumPy's own numbers among them. @throws v1::Error where
/// something else is met, or all is nested too deeply; `within` is the path of the field that the value is for
nlohmann::json ToJson(const py::handle& value, const std::string& within = {});

/// A dict's key, or its text. @throws v1::Error naming `name` for text that is no Unicode
std::string ToKey(const py::handle& value, const char* name);

/// A whole number that fits; nothing for others.
std::optional<int> ToInt(const py::handle& value);

/// A whole number, or the nearest one that an int holds, for calls that say what is allowed. @throws TypeError for what
/// is no whole number
int ToNearestInt(const py::handle& value);

/// A number as a setting of the host library, which says what is allowed; one that no double holds is beyond every
/// range. @throws TypeError for what is no number, or no whole one
double ToSetting(const py::handle& value);
double ToWholeSetting(const py::handle& value);

/// Runs `call`; what it refuses of the argument `name` is shown as it was written in Python.
template <typename Call>
auto Showing(const char* name, const std::string& written, Call call)
{
    try
    {
        return call();
    }
    catch (const v1::Error& error)
    {
        std::vector<v1::Problem> problems = error.Problems();
        for (v1::Problem& problem : problems)
            if (problem.field == name)
                problem.value = written;
        throw v1::Error(std::move(problems));
    }
}

/// Four whole numbers: left, top, right, bottom; `fallback` for None. @throws v1::Error naming `name` for others
v1::Box ToRect(const py::handle& value, const v1::Box& fallback, const char* name);

/// Pairs of whole numbers. @throws v1::Error naming `name` for others
std::vector<v1::Corner> ToPoints(const py::handle& value, const char* name);

/// Rows and columns, 1 to 2^31 - 1 each. @throws v1::Error naming "shape" for others
std::pair<int, int> ToShape(const py::handle& value);

/// A number as short as it can be written without changing it.
std::string NumberText(double value);

/// repr() cut to a length that fits a message.
std::string Shown(const py::handle& value);

} // namespace narvo::python
