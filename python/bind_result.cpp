// SPDX-License-Identifier: MIT
// Results: blobs and pairs as structured arrays, texts, the overlay, and the way through pickle.
#include <array>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "python/bind.h"
#include "python/image_array.h"
#include "python/narvo_errors.h"
#include "python/notebook.h"
#include "python/result_arrays.h"
#include "python/sealed_class.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

// Rows of the arrays. Names and order are those of the CSV form, polarity but for its being a truth value.

struct BlobRow
{
    int number;
    bool bright;
    int left;
    int top;
    int right;
    int bottom;
    int center_x;
    int center_y;
    int area;
    int peak;
    int peak_x;
    int peak_y;
    int max_difference;
    int mean_difference;
    int mean_grey;
    int mean_reference;
    int zone;
    int band;
    bool single;
    int scale;
    std::array<char, 8> channel; ///< as ASCII bytes, filled up with 0
    int label;
    int diameter;
    double angle;
    double major_axis;
    double minor_axis;
    double circularity;
    double elongation;
};

struct PairRow
{
    int x;
    int y;
    bool bright;
    bool removed;
    int band;
    int origin;
    int peak;
    int grey;
    int reference;
    int threshold;
    int zone;
};

const char* ColourName(v1::DefectColour colour)
{
    constexpr std::array names = {"grey", "red", "green", "blue"}; // in their order
    return names[static_cast<std::size_t>(colour)];
}

void FillRow(BlobRow& row, const v1::Defect& defect, v1::DefectColour colour)
{
    row.number = defect.number;
    row.bright = defect.bright;
    row.left = defect.box.left;
    row.top = defect.box.top;
    row.right = defect.box.right;
    row.bottom = defect.box.bottom;
    row.center_x = defect.centerX;
    row.center_y = defect.centerY;
    row.area = defect.area;
    row.peak = defect.peak;
    row.peak_x = defect.peakX;
    row.peak_y = defect.peakY;
    row.max_difference = defect.maxDifference;
    row.mean_difference = defect.meanDifference;
    row.mean_grey = defect.meanGrey;
    row.mean_reference = defect.meanReference;
    row.zone = defect.zone;
    row.band = defect.band;
    row.single = defect.single;
    row.scale = defect.scale;
    row.channel = {};
    std::strncpy(row.channel.data(), ColourName(colour), row.channel.size() - 1);
    row.label = defect.label;
    row.diameter = defect.diameter;
    row.angle = defect.angle;
    row.major_axis = defect.majorAxis;
    row.minor_axis = defect.minorAxis;
    row.circularity = defect.circularity;
    row.elongation = defect.elongation;
}

void FillRow(PairRow& row, const v1::Answer& answer)
{
    row.x = answer.x;
    row.y = answer.y;
    row.bright = answer.bright;
    row.removed = answer.removed;
    row.band = answer.band;
    row.origin = answer.origin;
    row.peak = answer.peak;
    row.grey = answer.grey;
    row.reference = answer.reference;
    row.threshold = answer.threshold;
    row.zone = answer.zone;
}

/// Rows whose bytes are all 0: equal results have equal bytes, those between the fields included.
template <typename Row>
py::array_t<Row> EmptyRows(std::size_t count)
{
    py::array_t<Row> rows(static_cast<py::ssize_t>(count));
    if (count > 0)
        std::memset(static_cast<void*>(rows.mutable_data()), 0, count * sizeof(Row));
    return rows;
}

py::array ToBlobRows(const v1::FullReport& outcome)
{
    const std::vector<v1::Defect>& defects = outcome.report.defects;
    py::array_t<BlobRow> rows = EmptyRows<BlobRow>(defects.size());
    BlobRow* row = rows.mutable_data();
    for (std::size_t i = 0; i < defects.size(); ++i)
        FillRow(row[i], defects[i], i < outcome.colours.size() ? outcome.colours[i] : v1::DefectColour::Grey);
    return rows;
}

py::array ToPairRows(const v1::FullReport& outcome)
{
    py::array_t<PairRow> rows = EmptyRows<PairRow>(outcome.answers.size());
    PairRow* row = rows.mutable_data();
    for (const v1::Answer& answer : outcome.answers)
        FillRow(*row++, answer);
    return rows;
}

/// The image that an overlay is drawn on, of the inspected one's size.
ImageArgument ToCanvas(const Result& result, const py::handle& image)
{
    return Translated(
        Fault::Image,
        [&]
        {
            ImageArgument canvas(image, "image", Colours::EachInspected);
            const v1::FullReport& outcome = result.outcome;
            if (canvas.Width() != outcome.width || canvas.Height() != outcome.height)
                throw v1::Error(
                    {{"image", std::to_string(canvas.Width()) + " by " + std::to_string(canvas.Height()) + " pixels",
                      "the size of the inspected image, " + std::to_string(outcome.width) + " by " +
                          std::to_string(outcome.height)}});
            return canvas;
        });
}

std::vector<v1::Box> ToBoxes(const py::handle& boxes)
{
    return Translated(Fault::Argument,
                      [&]
                      {
                          std::vector<v1::Box> made;
                          for (const py::handle box : py::iter(boxes))
                              made.push_back(ToRect(box, {}, "missed"));
                          return made;
                      });
}

py::array_t<std::uint8_t> MakeOverlay(const Result& result, const py::handle& image, const py::handle& missed)
{
    const ImageArgument canvas = ToCanvas(result, image);
    const std::vector<v1::Box> boxes = ToBoxes(missed);
    using Pixels = std::vector<std::uint8_t>;
    auto drawn =
        Translated(Fault::Image,
                   [&]
                   {
                       return Unlocked(
                           [&]
                           {
                               return std::make_unique<Pixels>(canvas.With(
                                   [&](const auto& pixels) { return v1::DrawOverlay(pixels, result.outcome, boxes); }));
                           });
                   });
    // The array keeps the pixels as they were drawn.
    const std::uint8_t* const first = drawn->data();
    const py::capsule keeper(drawn.get(), [](void* pixels) { delete static_cast<Pixels*>(pixels); });
    static_cast<void>(drawn.release());
    return py::array_t<std::uint8_t>(
        {py::ssize_t{result.outcome.height}, py::ssize_t{result.outcome.width}, py::ssize_t{3}}, first, keeper);
}

// --- pickle ---

// Records as the state holds them, byte by byte.

struct BlobState
{
    int number;
    bool bright;
    int band;
    bool single;
    int area;
    v1::Box box;
    v1::Corner center;
    v1::Corner peakPlace;
    int peak;
    int maxDifference;
    int meanDifference;
    int meanGrey;
    int meanReference;
    int zone;
    int scale;
    int channel; ///< 0 grey, 2 red, 3 green, 4 blue
    int label;
    int diameter;
    double angle;
    double majorAxis;
    double minorAxis;
    double circularity;
    double elongation;
};

struct PairState
{
    v1::Corner place;
    bool bright;
    bool removed;
    int band;
    int origin;
    int peak;
    int grey;
    int reference;
    int threshold;
    int zone;
};

static_assert(sizeof(BlobState) == 136 && sizeof(PairState) == 40, "states of earlier versions have these sizes");

BlobState ToRecord(const v1::Defect& defect, v1::DefectColour colour)
{
    const int channel = colour == v1::DefectColour::Grey ? 0 : static_cast<int>(colour) + 1;
    return {defect.number,
            defect.bright,
            defect.band,
            defect.single,
            defect.area,
            defect.box,
            {defect.centerX, defect.centerY},
            {defect.peakX, defect.peakY},
            defect.peak,
            defect.maxDifference,
            defect.meanDifference,
            defect.meanGrey,
            defect.meanReference,
            defect.zone,
            defect.scale,
            channel,
            defect.label,
            defect.diameter,
            defect.angle,
            defect.majorAxis,
            defect.minorAxis,
            defect.circularity,
            defect.elongation};
}

v1::Defect FromRecord(const BlobState& state)
{
    v1::Defect defect;
    defect.number = state.number;
    defect.bright = state.bright;
    defect.band = state.band;
    defect.single = state.single;
    defect.area = state.area;
    defect.box = state.box;
    defect.centerX = state.center.x;
    defect.centerY = state.center.y;
    defect.peakX = state.peakPlace.x;
    defect.peakY = state.peakPlace.y;
    defect.peak = state.peak;
    defect.maxDifference = state.maxDifference;
    defect.meanDifference = state.meanDifference;
    defect.meanGrey = state.meanGrey;
    defect.meanReference = state.meanReference;
    defect.zone = state.zone;
    defect.scale = state.scale;
    defect.label = state.label;
    defect.diameter = state.diameter;
    defect.angle = state.angle;
    defect.majorAxis = state.majorAxis;
    defect.minorAxis = state.minorAxis;
    defect.circularity = state.circularity;
    defect.elongation = state.elongation;
    return defect;
}

v1::DefectColour ColourOf(const BlobState& state)
{
    return state.channel >= 2 && state.channel <= 4 ? static_cast<v1::DefectColour>(state.channel - 1)
                                                    : v1::DefectColour::Grey;
}

PairState ToRecord(const v1::Answer& answer)
{
    return {{answer.x, answer.y}, answer.bright, answer.removed,   answer.band,      answer.origin,
            answer.peak,          answer.grey,   answer.reference, answer.threshold, answer.zone};
}

v1::Answer FromRecord(const PairState& state)
{
    return {state.place.x, state.place.y, state.bright,    state.removed,   state.band, state.origin,
            state.peak,    state.grey,    state.reference, state.threshold, state.zone};
}

template <typename Record>
py::bytes ToBytes(const std::vector<Record>& records)
{
    static_assert(std::is_trivially_copyable_v<Record>);
    return {reinterpret_cast<const char*>(records.data()), records.size() * sizeof(Record)};
}

template <typename Record>
std::vector<Record> FromBytes(const py::handle& value)
{
    const auto bytes = value.cast<std::string>();
    if (bytes.size() % sizeof(Record) != 0)
        throw py::value_error("not the state of a Result of this version");
    std::vector<Record> records(bytes.size() / sizeof(Record));
    if (!bytes.empty())
        std::memcpy(static_cast<void*>(records.data()), bytes.data(), bytes.size());
    return records;
}

/// None for a measure that is not known: NaN is unequal to itself, so that results would be.
py::object KnownOrNone(double value)
{
    return std::isnan(value) ? py::object(py::none()) : py::object(py::float_(value));
}

double FromKnown(const py::handle& value)
{
    return value.is_none() ? std::numeric_limits<double>::quiet_NaN() : value.cast<double>();
}

py::tuple ToState(const Result& result)
{
    const v1::FullReport& outcome = result.outcome;
    const v1::Report& report = outcome.report;
    py::list outlines;
    for (const std::vector<v1::Corner>& outline : outcome.outlines)
        outlines.append(ToPython(outline));
    py::list warnings;
    for (const std::string& warning : report.warnings)
        warnings.append(ToText(warning));
    std::vector<BlobState> blobs;
    for (std::size_t i = 0; i < report.defects.size(); ++i)
        blobs.push_back(ToRecord(report.defects[i], outcome.colours[i]));
    std::vector<PairState> pairs;
    pairs.reserve(outcome.answers.size());
    for (const v1::Answer& answer : outcome.answers)
        pairs.push_back(ToRecord(answer));
    return py::make_tuple(outcome.width, outcome.height, report.code, report.vertical ? 1 : 0, ToPython(report.region),
                          outlines, outcome.answerCount, report.overflowed, outcome.reruns, outcome.inspectMilliseconds,
                          outcome.defectMilliseconds, report.milliseconds, warnings, ToBytes(blobs), ToBytes(pairs),
                          ToText(report.name), outcome.deadDefects, KnownOrNone(outcome.light),
                          KnownOrNone(outcome.noise), KnownOrNone(outcome.pitchX), KnownOrNone(outcome.pitchY));
}

Result FromState(const py::tuple& state)
{
    constexpr std::size_t nMembers = 21;
    if (state.size() != nMembers)
        throw py::value_error("not the state of a Result of this version");
    return Translated(Fault::Argument,
                      [&]
                      {
                          v1::FullReport outcome;
                          v1::Report& report = outcome.report;
                          outcome.width = state[0].cast<int>();
                          outcome.height = state[1].cast<int>();
                          report.code = state[2].cast<int>();
                          report.vertical = state[3].cast<int>() == 1;
                          report.region = ToRect(state[4], {}, "region");
                          for (const py::handle outline : state[5])
                              outcome.outlines.push_back(ToPoints(outline, "outlines"));
                          outcome.answerCount = state[6].cast<int>();
                          report.overflowed = state[7].cast<bool>();
                          outcome.reruns = state[8].cast<int>();
                          outcome.inspectMilliseconds = state[9].cast<double>();
                          outcome.defectMilliseconds = state[10].cast<double>();
                          report.milliseconds = state[11].cast<double>();
                          for (const py::handle warning : state[12])
                              report.warnings.push_back(warning.cast<std::string>());
                          for (const BlobState& blob : FromBytes<BlobState>(state[13]))
                          {
                              report.defects.push_back(FromRecord(blob));
                              outcome.colours.push_back(ColourOf(blob));
                          }
                          for (const PairState& pair : FromBytes<PairState>(state[14]))
                              outcome.answers.push_back(FromRecord(pair));
                          report.name = state[15].cast<std::string>();
                          outcome.deadDefects = state[16].cast<int>();
                          outcome.light = FromKnown(state[17]);
                          outcome.noise = FromKnown(state[18]);
                          outcome.pitchX = FromKnown(state[19]);
                          outcome.pitchY = FromKnown(state[20]);
                          return Result(std::move(outcome));
                      });
}

} // namespace

Result::Result(v1::FullReport found) : outcome(std::move(found)), blobs(ToBlobRows(outcome)), pairs(ToPairRows(outcome))
{
}

void BindResult(py::module_& module)
{
    PYBIND11_NUMPY_DTYPE(BlobRow, number, bright, left, top, right, bottom, center_x, center_y, area, peak, peak_x,
                         peak_y, max_difference, mean_difference, mean_grey, mean_reference, zone, band, single, scale,
                         channel, label, diameter, angle, major_axis, minor_axis, circularity, elongation);
    PYBIND11_NUMPY_DTYPE(PairRow, x, y, bright, removed, band, origin, peak, grey, reference, threshold, zone);

    module.attr("blob_dtype") = py::dtype::of<BlobRow>();
    module.attr("pair_dtype") = py::dtype::of<PairRow>();

    py::class_<Result>(module, "Result", py::is_final(), "What came out of one inspection.")
        .def_readonly(
            "blobs", &Result::blobs,
            "The defects, a structured array with one row for each; pandas.DataFrame(result.blobs) makes a table.\n\n"
            "number           1, 2, ... as in the overlay\n"
            "bright           brighter than its reference, otherwise darker\n"
            "left, top, right, bottom   box in pixels, right and bottom exclusive\n"
            "center_x, center_y         mean place of its pixels\n"
            "area             pixels\n"
            "peak             how far it rises above its threshold where it stands out most, grey levels\n"
            "peak_x, peak_y   that place\n"
            "max_difference   difference there, grey levels\n"
            "mean_difference  grey levels\n"
            "mean_grey        of its pixels\n"
            "mean_reference   of what they were compared with\n"
            "zone             the zone that holds most of its pixels\n"
            "band             1 first pitch of the region, 2 middle, 3 last\n"
            "single           seen against one neighbour only\n"
            "scale            reduction of the image at which it stands out most\n"
            "channel          where each colour channel is inspected, the one that shows it most: b\"red\", b\"green\" "
            "or b\"blue\"; otherwise b\"grey\"\n"
            "label            the recipe's\n"
            "diameter         in the recipe's pixel sizes\n"
            "angle            of the long axis, degrees\n"
            "major_axis, minor_axis     pixels\n"
            "circularity      1 for a disc, less for other shapes\n"
            "elongation       area over major_axis, pixels: the mean width of a long defect")
        .def_readonly("pairs", &Result::pairs,
                      "The single answers of the comparison that blobs are made of, a structured array.\n\n"
                      "x, y       pixels\n"
                      "bright     brighter than its reference, otherwise darker\n"
                      "removed    a filter took it for a false answer: it is in no blob\n"
                      "band       1 first pitch of the region, 2 middle, 3 last\n"
                      "origin     1 both answers found, 3 or 4 settled by classification, 5 one answer only\n"
                      "peak       how far it rises above its threshold, grey levels; of window sums, in their units\n"
                      "grey       value at its place\n"
                      "reference  what it was compared with\n"
                      "threshold  that applied there\n"
                      "zone       its zone")
        .def_property_readonly(
            "name", [](const Result& result) { return ToText(result.outcome.report.name); }, "The recipe's name.")
        .def_property_readonly(
            "code", [](const Result& result) { return result.outcome.report.code; },
            "The engine's: 1 done, 16 done with re-runs or with more pairs than fit.")
        .def_property_readonly(
            "complete", [](const Result& result) { return result.outcome.report.warnings.empty(); },
            "Whether all of the region was looked at and nothing was lost, as far as the engine can tell.")
        .def_property_readonly(
            "warnings",
            [](const Result& result)
            {
                py::list warnings;
                for (const std::string& warning : result.outcome.report.warnings)
                    warnings.append(ToText(warning));
                return warnings;
            },
            "What was perhaps not looked at, or lost, in words.")
        .def_property_readonly(
            "direction",
            [](const Result& result) { return result.outcome.report.vertical ? "vertical" : "horizontal"; },
            "The direction that the comparison took.")
        .def_property_readonly(
            "region", [](const Result& result) { return ToPython(result.outcome.report.region); },
            "The Rect that was inspected.")
        .def_property_readonly(
            "outlines",
            [](const Result& result)
            {
                py::list outlines;
                for (const std::vector<v1::Corner>& outline : result.outcome.outlines)
                    outlines.append(ToPython(outline));
                return outlines;
            },
            "Of a region that is no rectangle, the corners of its parts, arrays of shape (n, 2).")
        .def_property_readonly(
            "pair_count", [](const Result& result) { return result.outcome.answerCount; }, "Pairs of the last pass.")
        .def_property_readonly(
            "reruns", [](const Result& result) { return result.outcome.reruns; },
            "Passes that had to be started again behind an overflow.")
        .def_property_readonly(
            "light", [](const Result& result) { return KnownOrNone(result.outcome.light); },
            "Mean grey level of some pixels of the region; None where it is no rectangle of grey.")
        .def_property_readonly(
            "noise", [](const Result& result) { return KnownOrNone(result.outcome.noise); },
            "Standard deviation of a pixel, grey levels; None as light, and without a pitch.")
        .def_property_readonly(
            "pitch_x", [](const Result& result) { return KnownOrNone(result.outcome.pitchX); },
            "Pixels at which the pattern is most like itself along x; None where that is not certain.")
        .def_property_readonly(
            "pitch_y", [](const Result& result) { return KnownOrNone(result.outcome.pitchY); }, "The same along y.")
        .def_property_readonly(
            "dead_blobs", [](const Result& result) { return result.outcome.deadDefects; },
            "Blobs that were left out as lying in the recipe's painted dead places.")
        .def_property_readonly(
            "overflowed", [](const Result& result) { return result.outcome.report.overflowed; },
            "Whether a pass ran full.")
        .def_property_readonly(
            "milliseconds",
            [](const Result& result)
            {
                py::dict times;
                times["inspect"] = result.outcome.inspectMilliseconds;
                times["blobs"] = result.outcome.defectMilliseconds;
                times["total"] = result.outcome.report.milliseconds;
                return times;
            },
            "Times in milliseconds: the engine's (inspect), its blob step alone (blobs), tables and copies included "
            "(total).")
        .def_property_readonly(
            "shape", [](const Result& result) { return py::make_tuple(result.outcome.height, result.outcome.width); },
            "Rows and columns of the inspected image.")
        .def(
            "to_dict",
            [](const Result& result)
            { return ToPython(nlohmann::ordered_json::parse(v1::ReportText(result.outcome))); },
            "Everything but the pairs as a dict that json.dumps() takes.")
        .def(
            "to_csv", [](const Result& result) { return ToText(v1::DefectTable(result.outcome)); },
            "The blobs as comma separated text with a header line.")
        .def("overlay", &MakeOverlay, py::arg("image"), py::arg("missed") = py::tuple(),
             "The image in colour, an array of shape (rows, columns, 3) in the order red, green, blue, with the region "
             "framed green, dark blobs cyan, bright ones orange, each with its number, and the boxes of missed (left, "
             "top, right, bottom) magenta.")
        .def(
            "save_overlay",
            [](const Result& result, const py::handle& path, const py::handle& image, const py::handle& missed)
            {
                const std::filesystem::path file = ToPath(path);
                const ImageArgument canvas = ToCanvas(result, image);
                const std::vector<v1::Box> boxes = ToBoxes(missed);
                Translated(Fault::File,
                           [&] {
                               Unlocked(
                                   [&] {
                                       canvas.With([&](const auto& pixels)
                                                   { v1::SaveOverlay(file, pixels, result.outcome, boxes); });
                                   });
                           });
            },
            py::arg("path"), py::arg("image"), py::arg("missed") = py::tuple(),
            "Write the overlay as an image file. Raises FileError.")
        .def("__repr__",
             [](const Result& result)
             {
                 return "<narvoassem.Result: " + std::to_string(result.outcome.report.defects.size()) +
                        " blobs, code " + std::to_string(result.outcome.report.code) +
                        (result.outcome.report.warnings.empty() ? "" : ", incomplete") + ">";
             })
        .def_static("_from_state", &FromState, py::arg("state"), "The way back from pickle.")
        .def(
            "__reduce__",
            [](const Result& result)
            {
                return py::make_tuple(py::module_::import("narvoassem.pickles").attr("restore_result"),
                                      py::make_tuple(ToState(result)));
            },
            "For pickle and copy.");
    SealUnconstructed(module.attr("Result"));
    ShowInNotebooks(module.attr("Result"), "result_html");
}

} // namespace narvo::python
