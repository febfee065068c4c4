// SPDX-License-Identifier: MIT
// Conversions of small values.
#include "python/values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <optional>

#include <narvo/host_recipe_fields.h>

namespace narvo::python
{

using nlohmann::json;
using nlohmann::ordered_json;

namespace
{

constexpr int nDepthLimit = 16; // as deep as recipes in JSON may be nested

/// What a field takes, by its path with the places in lists, "zones.list[2].gain"; `otherwise` where there is none.
std::string AllowedAt(const std::string& path, const char* otherwise)
{
    std::string plain;
    bool inside = false;
    for (const char c : path)
    {
        if (c == ']')
            inside = false;
        if (!inside)
            plain += c;
        if (c == '[')
            inside = true;
    }
    for (const v1::RecipeField& field : v1::RecipeFields())
        if (field.path == plain)
            return field.allowed;
    return otherwise;
}

/// JSON has no word for what is not finite.
json FiniteNumber(double number, const std::string& path)
{
    if (!std::isfinite(number))
        throw v1::Error({{path.empty() ? "recipe" : path, NumberText(number), AllowedAt(path, "a finite number")}});
    return number;
}

/// `place` is that inside the value that was handed over, `within` the path of that value.
json ToJsonAt(const py::handle& value, const std::string& place, int depth, const std::string& within)
{
    const auto refuse = [&](const char* allowed) -> json {
        throw v1::Error({{place.empty() ? "recipe" : place, Shown(value), allowed}});
    };
    const std::string path = within + (within.empty() || place.empty() ? "" : ".") + place;
    if (depth > nDepthLimit)
        return refuse("no deeper nesting");
    if (value.is_none())
        return nullptr;
    // NumPy's truth values are no subclass of bool; their type is numpy.bool_ before version 2.
    const std::string type = Py_TYPE(value.ptr())->tp_name;
    if (py::isinstance<py::bool_>(value) || type == "numpy.bool_" || type == "numpy.bool")
        return PyObject_IsTrue(value.ptr()) == 1;
    if (py::isinstance<py::str>(value))
    {
        const char* text = PyUnicode_AsUTF8(value.ptr());
        if (text == nullptr)
            PyErr_Clear();
        return text != nullptr ? json(text) : refuse("text without lone surrogates");
    }
    if (py::isinstance<py::float_>(value))
        return FiniteNumber(PyFloat_AsDouble(value.ptr()), path);
    if (PyIndex_Check(value.ptr()) != 0)
    {
        const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
        if (!number)
            throw py::error_already_set();
        int overflow = 0;
        const long long whole = PyLong_AsLongLongAndOverflow(number.ptr(), &overflow);
        if (overflow != 0)
            throw v1::Error(
                {{path.empty() ? "recipe" : path, Shown(number), AllowedAt(path, "a number of at most 64 bits")}});
        return whole;
    }
    if (py::isinstance<py::dict>(value))
    {
        json object = json::object();
        for (const auto& [key, member] : py::reinterpret_borrow<py::dict>(value))
        {
            const char* name = py::isinstance<py::str>(key) ? PyUnicode_AsUTF8(key.ptr()) : nullptr;
            if (name == nullptr)
            {
                PyErr_Clear();
                throw v1::Error({{place.empty() ? "recipe" : place, "key " + Shown(key), "text as keys"}});
            }
            const std::string owned = name;
            object[owned] = ToJsonAt(member, place.empty() ? owned : place + "." + owned, depth + 1, within);
        }
        return object;
    }
    if (py::isinstance<py::list>(value) || py::isinstance<py::tuple>(value) || py::isinstance<py::array>(value))
    {
        const py::object entries =
            py::isinstance<py::array>(value) ? value.attr("tolist")() : py::reinterpret_borrow<py::object>(value);
        if (!py::isinstance<py::sequence>(entries))
            return ToJsonAt(entries, place, depth + 1, within);
        json list = json::array();
        for (const py::handle entry : py::reinterpret_borrow<py::sequence>(entries))
            list.push_back(ToJsonAt(entry, place + "[" + std::to_string(list.size()) + "]", depth + 1, within));
        return list;
    }
    if (py::hasattr(value, "__float__"))
        return FiniteNumber(py::float_(py::reinterpret_borrow<py::object>(value)).cast<double>(), path);
    return refuse("a dict, list, text, number, truth value or None");
}

} // namespace

std::string ToKey(const py::handle& value, const char* name)
{
    const py::str text = py::str(value);
    const char* bytes = PyUnicode_AsUTF8(text.ptr());
    if (bytes == nullptr)
    {
        PyErr_Clear();
        throw v1::Error({{name, "key " + Shown(value), "text without lone surrogates"}});
    }
    return bytes;
}

std::optional<int> ToInt(const py::handle& value)
{
    if (PyIndex_Check(value.ptr()) == 0)
        return std::nullopt;
    const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    int overflow = 0;
    const long long whole = number ? PyLong_AsLongLongAndOverflow(number.ptr(), &overflow) : 0;
    PyErr_Clear();
    if (!number || overflow != 0 || whole < std::numeric_limits<int>::min() || whole > std::numeric_limits<int>::max())
        return std::nullopt;
    return static_cast<int>(whole);
}

int ToNearestInt(const py::handle& value)
{
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(
        std::clamp<double>(ToWholeSetting(value), Limits::min(), Limits::max())); // every int is a double
}

double ToSetting(const py::handle& value)
{
    const double number = PyFloat_AsDouble(value.ptr());
    if (PyErr_Occurred() == nullptr)
        return number;
    if (PyErr_ExceptionMatches(PyExc_OverflowError) == 0)
    {
        PyErr_Clear();
        throw py::type_error(Shown(value) + " is no number");
    }
    PyErr_Clear();
    const int sign = PyObject_RichCompareBool(value.ptr(), py::int_(0).ptr(), Py_LT) == 1 ? -1 : 1;
    return sign * std::numeric_limits<double>::max();
}

double ToWholeSetting(const py::handle& value)
{
    if (PyIndex_Check(value.ptr()) == 0)
        throw py::type_error(Shown(value) + " is no whole number");
    const auto whole = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
    if (!whole)
        throw py::error_already_set();
    return ToSetting(whole);
}

namespace
{

/// The entries of a sequence or array that is no text; nothing for others.
std::optional<py::list> ToEntries(const py::handle& value)
{
    if (!py::isinstance<py::sequence>(value) || py::isinstance<py::str>(value) || py::isinstance<py::bytes>(value))
        return std::nullopt;
    auto entries = py::reinterpret_steal<py::object>(PySequence_List(value.ptr()));
    if (!entries)
    {
        PyErr_Clear(); // an array without dimensions
        return std::nullopt;
    }
    return py::reinterpret_borrow<py::list>(entries);
}

} // namespace

py::str ToText(const std::string& text)
{
    PyObject* made = PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape");
    if (made == nullptr)
        throw py::error_already_set();
    return py::reinterpret_steal<py::str>(made);
}

py::str ToPrintable(const py::str& text)
{
    // Bytes of a file's name that are no UTF-8 come back; other halves of surrogate pairs are broken UTF-8.
    PyObject* encoded = PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogateescape");
    if (encoded == nullptr)
    {
        PyErr_Clear();
        encoded = PyUnicode_AsEncodedString(text.ptr(), "utf-8", "surrogatepass");
    }
    if (encoded == nullptr)
        throw py::error_already_set();
    return ToText(v1::Printable(std::string(py::reinterpret_steal<py::bytes>(encoded))));
}

py::list ToPython(const std::vector<v1::Problem>& problems)
{
    const py::object type = py::module_::import("narvoassem.errors").attr("Problem");
    py::list list;
    for (const v1::Problem& problem : problems)
        list.append(type(ToText(problem.field), ToText(problem.value), ToText(problem.allowed)));
    return list;
}

py::object ToPython(const v1::Box& box)
{
    return py::module_::import("narvoassem.regions").attr("Rect")(box.left, box.top, box.right, box.bottom);
}

py::array_t<int> ToPython(const std::vector<v1::Corner>& points)
{
    py::array_t<int> array({static_cast<py::ssize_t>(points.size()), py::ssize_t{2}});
    auto places = array.mutable_unchecked<2>();
    for (std::size_t i = 0; i < points.size(); ++i)
    {
        places(static_cast<py::ssize_t>(i), 0) = points[i].x;
        places(static_cast<py::ssize_t>(i), 1) = points[i].y;
    }
    return array;
}

py::object ToPython(const ordered_json& value)
{
    switch (value.type())
    {
    case ordered_json::value_t::object:
    {
        py::dict object;
        for (const auto& [key, member] : value.items())
            object[ToText(key)] = ToPython(member);
        return object;
    }
    case ordered_json::value_t::array:
    {
        py::list list;
        for (const ordered_json& entry : value)
            list.append(ToPython(entry));
        return list;
    }
    case ordered_json::value_t::string:
        return ToText(value.get<std::string>());
    case ordered_json::value_t::boolean:
        return py::bool_(value.get<bool>());
    case ordered_json::value_t::number_integer:
    case ordered_json::value_t::number_unsigned:
        return py::int_(value.get<long long>());
    case ordered_json::value_t::number_float:
        return py::float_(value.get<double>());
    default:
        return py::none();
    }
}

std::filesystem::path ToPath(const py::handle& value)
{
    PyObject* encoded = nullptr;
    if (PyUnicode_FSConverter(value.ptr(), &encoded) == 0)
        throw py::error_already_set();
    return py::reinterpret_steal<py::bytes>(encoded).cast<std::string>();
}

json ToJson(const py::handle& value, const std::string& within)
{
    return ToJsonAt(value, "", 0, within);
}

v1::Box ToRect(const py::handle& value, const v1::Box& fallback, const char* name)
{
    if (value.is_none())
        return fallback;
    std::array<int, 4> sides{};
    const std::optional<py::list> entries = ToEntries(value);
    bool good = entries && entries->size() == sides.size();
    for (std::size_t i = 0; good && i < sides.size(); ++i)
    {
        const std::optional<int> side = ToInt((*entries)[i]);
        good = side.has_value();
        sides[i] = side.value_or(0);
    }
    if (!good)
        throw v1::Error({{name, Shown(value), "four whole numbers: left, top, right, bottom"}});
    return {sides[0], sides[1], sides[2], sides[3]};
}

std::vector<v1::Corner> ToPoints(const py::handle& value, const char* name)
{
    std::vector<v1::Corner> points;
    const std::optional<py::list> entries = ToEntries(value);
    if (!entries)
        throw v1::Error({{name, Shown(value), "a list of [x, y] in whole pixels"}});
    for (const py::handle entry : *entries)
    {
        const std::optional<py::list> place = ToEntries(entry);
        const bool two = place && place->size() == 2;
        const std::optional<int> x = two ? ToInt((*place)[0]) : std::nullopt;
        const std::optional<int> y = two ? ToInt((*place)[1]) : std::nullopt;
        if (!x || !y)
            throw v1::Error(
                {{name + ("[" + std::to_string(points.size()) + "]"), Shown(entry), "[x, y] in whole pixels"}});
        points.push_back({*x, *y});
    }
    return points;
}

std::pair<int, int> ToShape(const py::handle& value)
{
    const std::optional<py::list> sides = ToEntries(value);
    const bool two = sides && sides->size() == 2;
    const std::optional<int> rows = two ? ToInt((*sides)[0]) : std::nullopt;
    const std::optional<int> columns = two ? ToInt((*sides)[1]) : std::nullopt;
    if (!rows || !columns || *rows < 1 || *columns < 1)
        throw v1::Error({{"shape", Shown(value), "(rows, columns), 1 or more each"}});
    return {*rows, *columns};
}

std::string NumberText(double value)
{
    // Without an exponent where people would not write one.
    const double size = std::fabs(value);
    const auto format =
        size < 1e12 && (size >= 1e-6 || size == 0.0) ? std::chars_format::fixed : std::chars_format::general;
    std::array<char, 32> text{};
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value, format).ptr};
}

std::string Shown(const py::handle& value)
{
    constexpr std::size_t nLimit = 60; // characters
    PyObject* made = PyObject_Repr(value.ptr());
    if (made == nullptr)
    {
        PyErr_Clear();
        return Py_TYPE(value.ptr())->tp_name;
    }
    const auto text = py::reinterpret_steal<py::object>(made);
    const auto part = py::reinterpret_steal<py::object>(PyUnicode_Substring(text.ptr(), 0, nLimit));
    const auto bytes =
        py::reinterpret_steal<py::bytes>(PyUnicode_AsEncodedString(part.ptr(), "utf-8", "backslashreplace"));
    return std::string(bytes) + (PyUnicode_GetLength(text.ptr()) > static_cast<Py_ssize_t>(nLimit) ? "..." : "");
}

} // namespace narvo::python
