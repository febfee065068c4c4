// SPDX-License-Identifier: MIT
// Results: blobs and pairs as structured arrays, texts, the overlay, and the way through pickle.
#include <array>
#include <cstring>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include <nlohmann/json.hpp>

#include "host/result/overlay.h"
#include "host/result/result_file.h"
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

void FillRow(BlobRow& row, const Blob& blob)
{
    row.number = blob.number;
    row.bright = blob.bright;
    row.left = blob.box.left;
    row.top = blob.box.top;
    row.right = blob.box.right;
    row.bottom = blob.box.bottom;
    row.center_x = blob.center.x;
    row.center_y = blob.center.y;
    row.area = blob.area;
    row.peak = blob.peak;
    row.peak_x = blob.peakPlace.x;
    row.peak_y = blob.peakPlace.y;
    row.max_difference = blob.maxDifference;
    row.mean_difference = blob.meanDifference;
    row.mean_grey = blob.meanGrey;
    row.mean_reference = blob.meanReference;
    row.zone = blob.zone;
    row.band = blob.band;
    row.single = blob.single;
    row.scale = blob.scale;
    row.channel = {};
    std::strncpy(row.channel.data(), ChannelName(blob.channel), row.channel.size() - 1);
    row.label = blob.label;
    row.diameter = blob.diameter;
    row.angle = blob.angle;
    row.major_axis = blob.majorAxis;
    row.minor_axis = blob.minorAxis;
    row.circularity = blob.circularity;
    row.elongation = blob.elongation;
}

void FillRow(PairRow& row, const Pair& pair)
{
    row.x = pair.place.x;
    row.y = pair.place.y;
    row.bright = pair.bright;
    row.removed = pair.removed;
    row.band = pair.band;
    row.origin = pair.origin;
    row.peak = pair.peak;
    row.grey = pair.grey;
    row.reference = pair.reference;
    row.threshold = pair.threshold;
    row.zone = pair.zone;
}

template <typename Row, typename Record>
py::array ToRows(const std::vector<Record>& records)
{
    py::array_t<Row> rows(static_cast<py::ssize_t>(records.size()));
    Row* row = rows.mutable_data();
    // Equal results have equal bytes, those between the fields included.
    if (!records.empty())
        std::memset(static_cast<void*>(row), 0, records.size() * sizeof(Row));
    for (const Record& record : records)
        FillRow(*row++, record);
    return rows;
}

/// The image that an overlay is drawn on, of the inspected one's size.
ImageArgument ToCanvas(const Result& result, const py::handle& image)
{
    return Translated(Fault::Image,
                      [&]
                      {
                          ImageArgument canvas(image, "image", Colours::EachInspected);
                          if (canvas.View().Width() != result.width || canvas.View().Height() != result.height)
                              throw HostError({{"image",
                                                std::to_string(canvas.View().Width()) + " by " +
                                                    std::to_string(canvas.View().Height()) + " pixels",
                                                "the size of the inspected image, " + std::to_string(result.width) +
                                                    " by " + std::to_string(result.height)}});
                          return canvas;
                      });
}

std::vector<CRect> ToBoxes(const py::handle& boxes)
{
    return Translated(Fault::Argument,
                      [&]
                      {
                          std::vector<CRect> rects;
                          for (const py::handle box : py::iter(boxes))
                              rects.push_back(ToRect(box, {}, "missed"));
                          return rects;
                      });
}

py::array_t<std::uint8_t> MakeOverlay(const Result& result, const py::handle& image, const py::handle& missed)
{
    const ImageArgument canvas = ToCanvas(result, image);
    const std::vector<CRect> boxes = ToBoxes(missed);
    py::array_t<std::uint8_t> rgb({py::ssize_t{result.height}, py::ssize_t{result.width}, py::ssize_t{3}});
    std::uint8_t* pixels = rgb.mutable_data();
    Unlocked([&] { DrawOverlay(pixels, canvas.View(), result.outcome, boxes); });
    return rgb;
}

// --- pickle ---

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

py::tuple ToState(const Result& result)
{
    const InspectionResult& outcome = result.outcome;
    py::list outlines;
    for (const std::vector<CPoint>& outline : outcome.outlines)
        outlines.append(ToPython(outline));
    py::list warnings;
    for (const std::string& warning : outcome.warnings)
        warnings.append(ToText(warning));
    return py::make_tuple(result.width, result.height, outcome.code, static_cast<int>(outcome.direction),
                          ToPython(outcome.region), outlines, outcome.pairs, outcome.overflowed, outcome.reruns,
                          outcome.inspectMilliseconds, outcome.blobMilliseconds, outcome.totalMilliseconds, warnings,
                          ToBytes(outcome.blobs), ToBytes(outcome.pairRecords), ToText(outcome.name),
                          outcome.deadBlobs);
}

Result FromState(const py::tuple& state)
{
    constexpr std::size_t nMembers = 17;
    if (state.size() != nMembers)
        throw py::value_error("not the state of a Result of this version");
    return Translated(Fault::Argument,
                      [&]
                      {
                          InspectionResult outcome;
                          outcome.code = state[2].cast<int>();
                          outcome.direction =
                              state[3].cast<int>() == Direction_Vertical ? Direction_Vertical : Direction_Horizontal;
                          outcome.region = ToRect(state[4], {}, "region");
                          for (const py::handle outline : state[5])
                              outcome.outlines.push_back(ToPoints(outline, "outlines"));
                          outcome.pairs = state[6].cast<int>();
                          outcome.overflowed = state[7].cast<bool>();
                          outcome.reruns = state[8].cast<int>();
                          outcome.inspectMilliseconds = state[9].cast<double>();
                          outcome.blobMilliseconds = state[10].cast<double>();
                          outcome.totalMilliseconds = state[11].cast<double>();
                          for (const py::handle warning : state[12])
                              outcome.warnings.push_back(warning.cast<std::string>());
                          outcome.blobs = FromBytes<Blob>(state[13]);
                          outcome.pairRecords = FromBytes<Pair>(state[14]);
                          outcome.name = state[15].cast<std::string>();
                          outcome.deadBlobs = state[16].cast<int>();
                          return Result(std::move(outcome), state[0].cast<int>(), state[1].cast<int>());
                      });
}

} // namespace

Result::Result(InspectionResult found, int imageWidth, int imageHeight)
    : outcome(std::move(found)), width(imageWidth), height(imageHeight), blobs(ToRows<BlobRow>(outcome.blobs)),
      pairs(ToRows<PairRow>(outcome.pairRecords))
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
            "name", [](const Result& result) { return ToText(result.outcome.name); }, "The recipe's name.")
        .def_property_readonly(
            "code", [](const Result& result) { return result.outcome.code; },
            "The engine's: 1 done, 16 done with re-runs or with more pairs than fit.")
        .def_property_readonly(
            "complete", [](const Result& result) { return result.outcome.warnings.empty(); },
            "Whether all of the region was looked at and nothing was lost, as far as the engine can tell.")
        .def_property_readonly(
            "warnings",
            [](const Result& result)
            {
                py::list warnings;
                for (const std::string& warning : result.outcome.warnings)
                    warnings.append(ToText(warning));
                return warnings;
            },
            "What was perhaps not looked at, or lost, in words.")
        .def_property_readonly(
            "direction",
            [](const Result& result)
            { return result.outcome.direction == Direction_Vertical ? "vertical" : "horizontal"; },
            "The direction that the comparison took.")
        .def_property_readonly(
            "region", [](const Result& result) { return ToPython(result.outcome.region); },
            "The Rect that was inspected.")
        .def_property_readonly(
            "outlines",
            [](const Result& result)
            {
                py::list outlines;
                for (const std::vector<CPoint>& outline : result.outcome.outlines)
                    outlines.append(ToPython(outline));
                return outlines;
            },
            "Of a region that is no rectangle, the corners of its parts, arrays of shape (n, 2).")
        .def_property_readonly(
            "pair_count", [](const Result& result) { return result.outcome.pairs; }, "Pairs of the last pass.")
        .def_property_readonly(
            "reruns", [](const Result& result) { return result.outcome.reruns; },
            "Passes that had to be started again behind an overflow.")
        .def_property_readonly(
            "dead_blobs", [](const Result& result) { return result.outcome.deadBlobs; },
            "Blobs that were left out as lying in the recipe's painted dead places.")
        .def_property_readonly(
            "overflowed", [](const Result& result) { return result.outcome.overflowed; }, "Whether a pass ran full.")
        .def_property_readonly(
            "milliseconds",
            [](const Result& result)
            {
                py::dict times;
                times["inspect"] = result.outcome.inspectMilliseconds;
                times["blobs"] = result.outcome.blobMilliseconds;
                times["total"] = result.outcome.totalMilliseconds;
                return times;
            },
            "Times in milliseconds: the engine's (inspect), its blob step alone (blobs), tables and copies included "
            "(total).")
        .def_property_readonly(
            "shape", [](const Result& result) { return py::make_tuple(result.height, result.width); },
            "Rows and columns of the inspected image.")
        .def(
            "to_dict", [](const Result& result) { return ToPython(ResultToJson(result.outcome)); },
            "Everything but the pairs as a dict that json.dumps() takes.")
        .def(
            "to_csv", [](const Result& result) { return ToText(ResultToCsv(result.outcome)); },
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
                const std::vector<CRect> boxes = ToBoxes(missed);
                Translated(Fault::File,
                           [&] { Unlocked([&] { SaveOverlay(file, canvas.View(), result.outcome, boxes); }); });
            },
            py::arg("path"), py::arg("image"), py::arg("missed") = py::tuple(),
            "Write the overlay as an image file. Raises FileError.")
        .def("__repr__",
             [](const Result& result)
             {
                 return "<narvoassem.Result: " + std::to_string(result.outcome.blobs.size()) + " blobs, code " +
                        std::to_string(result.outcome.code) + (result.outcome.warnings.empty() ? "" : ", incomplete") +
                        ">";
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
