// SPDX-License-Identifier: MIT
// Both forms of the file: the same values, in the units and words of each.
#include "host/exchange/klarf.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <utility>

#include "host/file/name_text.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

constexpr const char* unclassified = "unclassified";

/// A defect's lengths, in the units of the file.
struct KlarfRow
{
    int die; ///< number of its image
    double x;
    double y;
    double width;
    double height;
    double area;
    int kind; ///< 1, 2, ... by name
};

/// What both forms say.
struct KlarfSheet
{
    double pitchX; ///< of the dies, in the units of the file
    double pitchY;
    double diameter; ///< of the smallest circle around the row of dies
    std::vector<std::string> kinds;
    std::vector<KlarfRow> rows;
    int dies;
    int diesWithDefects;
    double dieArea;
};

void CheckText(std::vector<Problem>& found, const char* field, const std::string& text)
{
    constexpr std::size_t nLongest = 255;
    const bool plain = std::none_of(text.begin(), text.end(),
                                    [](char sign) { return sign == '"' || static_cast<unsigned char>(sign) < 0x20; });
    if (!plain || text.size() > nLongest || !IsUtf8(text))
        found.push_back({field, text.substr(0, 60), "up to 255 bytes of UTF-8 without quotes and control characters"});
}

bool IsTime(const std::string& time)
{
    const std::string form = "dddd-dd-dd dd:dd:dd";
    if (time.size() != form.size())
        return false;
    for (std::size_t i = 0; i < form.size(); ++i)
        if (form[i] == 'd' ? time[i] < '0' || time[i] > '9' : time[i] != form[i])
            return false;
    const auto part = [&](std::size_t place) { return std::stoi(time.substr(place, 2)); };
    return part(5) >= 1 && part(5) <= 12 && part(8) >= 1 && part(8) <= 31 && part(11) <= 23 && part(14) <= 59 &&
           part(17) <= 59;
}

void CheckHead(const KlarfHead& head)
{
    std::vector<Problem> found;
    const std::pair<const char*, const std::string*> texts[] = {
        {"station", &head.station}, {"model", &head.model},   {"station_id", &head.stationId},
        {"lot", &head.lot},         {"device", &head.device}, {"setup", &head.setup},
        {"step", &head.step},       {"wafer", &head.wafer}};
    for (const auto& [field, text] : texts)
        CheckText(found, field, *text);
    if (head.slot < 1 || head.slot > 1000)
        found.push_back({"slot", std::to_string(head.slot), "1 to 1000"});
    if (!IsTime(head.time))
        found.push_back({"time", head.time.substr(0, 60), "YYYY-MM-DD hh:mm:ss"});
    if (!(head.pixelSize >= 0.01 && head.pixelSize <= 1000.0))
        found.push_back({"pixel_size", FormatNumber(head.pixelSize), "0.01 to 1000 micrometres"});
    ThrowIfAny(std::move(found));
}

/// `unit` is the size of a pixel in the file's unit of length.
KlarfSheet SheetOf(const std::vector<DefectList>& images, double unit)
{
    KlarfSheet sheet{};
    sheet.kinds = KindsOf(images);
    sheet.dies = static_cast<int>(images.size());
    int width = 1;
    int height = 1;
    for (const DefectList& image : images)
    {
        width = std::max(width, image.width);
        height = std::max(height, image.height);
        for (const ListedDefect& defect : image.defects)
        {
            width = std::max(width, static_cast<int>(defect.box.right));
            height = std::max(height, static_cast<int>(defect.box.bottom));
        }
        sheet.diesWithDefects += !image.defects.empty();
    }
    sheet.pitchX = width * unit;
    sheet.pitchY = height * unit;
    sheet.diameter = std::ceil(std::hypot(sheet.pitchX * std::max(1, sheet.dies), sheet.pitchY));
    sheet.dieArea = sheet.pitchX * sheet.pitchY;
    for (int die = 0; die < sheet.dies; ++die)
        for (const ListedDefect& defect : images[static_cast<std::size_t>(die)].defects)
        {
            const CRect& box = defect.box;
            const auto kind = std::lower_bound(sheet.kinds.begin(), sheet.kinds.end(), defect.kind);
            sheet.rows.push_back({die, (box.left + box.right) / 2.0 * unit,
                                  (height - (box.top + box.bottom) / 2.0) * unit, (box.right - box.left) * unit,
                                  (box.bottom - box.top) * unit, defect.area * unit * unit,
                                  static_cast<int>(kind - sheet.kinds.begin()) + 1});
        }
    return sheet;
}

std::string Quoted(const std::string& text)
{
    std::string plain = text;
    std::replace_if(
        plain.begin(), plain.end(), [](char sign) { return sign == '"' || static_cast<unsigned char>(sign) < 0x20; },
        '_');
    return '"' + plain + '"';
}

std::string Number(double value, const char* form)
{
    char text[64];
    std::snprintf(text, sizeof text, form, value);
    return text;
}

std::string Real(double value)
{
    return Number(value, "%.10e");
}

std::string Micrometres(double value)
{
    return Number(value, "%.4f");
}

std::string Nanometres(double value)
{
    return Number(std::round(value), "%.0f");
}

/// Joins values with a separator.
std::string Joined(const std::vector<std::string>& values, const char* between)
{
    std::string text;
    for (const std::string& value : values)
        text += (text.empty() ? "" : between) + value;
    return text;
}

/// The month first, as in both versions; years with two digits in 1.2.
std::string DateOf(const std::string& time, bool shortYear)
{
    return time.substr(5, 5) + "-" + (shortYear ? time.substr(2, 2) : time.substr(0, 4));
}

std::string TimeOf(const std::string& time)
{
    return time.substr(11);
}

const std::vector<std::string> defectColumns = {"DEFECTID", "XREL",       "YREL",  "XINDEX",      "YINDEX", "XSIZE",
                                                "YSIZE",    "DEFECTAREA", "DSIZE", "CLASSNUMBER", "TEST"};

template <typename Length, typename Area>
std::vector<std::string> DefectCells(const KlarfRow& row, std::size_t number, Length length, Area area)
{
    return {std::to_string(number),
            length(row.x),
            length(row.y),
            std::to_string(row.die),
            "0",
            length(row.width),
            length(row.height),
            area(row.area),
            length(std::max(row.width, row.height)),
            std::to_string(row.kind),
            "1"};
}

/// Defects of each square centimetre.
double DensityOf(const KlarfSheet& sheet, double unitsPerCentimetre)
{
    const double area = sheet.dieArea * std::max(1, sheet.dies) / (unitsPerCentimetre * unitsPerCentimetre);
    return static_cast<double>(sheet.rows.size()) / area;
}

std::string Text12(const KlarfSheet& sheet, const KlarfHead& head)
{
    const std::string stamp = DateOf(head.time, true) + " " + TimeOf(head.time);
    std::string text = "FileVersion 1 2;\nFileTimestamp " + stamp + ";\n";
    text += "InspectionStationID " + Quoted(head.station) + " " + Quoted(head.model) + " " + Quoted(head.stationId) +
            ";\nSampleType WAFER;\nResultTimestamp " + stamp + ";\nLotID " + Quoted(head.lot) + ";\nSampleSize 1 " +
            Number(std::max(1.0, std::ceil(sheet.diameter / 1000.0)), "%.0f") + ";\nDeviceID " + Quoted(head.device) +
            ";\nSetupID " + Quoted(head.setup) + " " + stamp + ";\nStepID " + Quoted(head.step) +
            ";\nSampleOrientationMarkType NOTCH;\nOrientationMarkLocation DOWN;\nDiePitch " + Real(sheet.pitchX) + " " +
            Real(sheet.pitchY) + ";\nDieOrigin " + Real(0.0) + " " + Real(0.0) + ";\nWaferID " + Quoted(head.wafer) +
            ";\nSlot " + std::to_string(head.slot) + ";\nSampleCenterLocation " +
            Real(sheet.pitchX * sheet.dies / 2.0) + " " + Real(sheet.pitchY / 2.0) + ";\n";
    text += "ClassLookup " + std::to_string(sheet.kinds.size() + 1) + "\n 0 " + Quoted(unclassified);
    for (std::size_t i = 0; i < sheet.kinds.size(); ++i)
        text += "\n " + std::to_string(i + 1) + " " + Quoted(sheet.kinds[i]);
    text += ";\nInspectionTest 1;\nSampleTestPlan " + std::to_string(sheet.dies);
    for (int die = 0; die < sheet.dies; ++die)
        text += "\n " + std::to_string(die) + " 0";
    text += ";\nAreaPerTest " + Real(sheet.dieArea * sheet.dies) + ";\nDefectRecordSpec " +
            std::to_string(defectColumns.size()) + " " + Joined(defectColumns, " ") + ";\nDefectList";
    for (std::size_t i = 0; i < sheet.rows.size(); ++i)
        text += "\n " + Joined(DefectCells(sheet.rows[i], i + 1, Micrometres, Micrometres), " ");
    text += ";\nSummarySpec 5 TESTNO NDEFECT DEFDENSITY NDIE NDEFDIE;\nSummaryList\n 1 " +
            std::to_string(sheet.rows.size()) + " " + Real(DensityOf(sheet, 1e4)) + " " + std::to_string(sheet.dies) +
            " " + std::to_string(sheet.diesWithDefects) + ";\nEndOfFile;\n";
    return text;
}

/// The nested form: each line as deep as its record.
class NestedText
{
public:
    void Open(const std::string& head)
    {
        Line(head);
        Line("{");
        ++m_depth;
    }
    void Close()
    {
        --m_depth;
        Line("}");
    }
    void Field(const std::string& name, const std::vector<std::string>& values)
    {
        Line("Field " + name + " " + std::to_string(values.size()) + " {" + Joined(values, ", ") + "}");
    }
    void List(const std::string& name, const std::vector<std::string>& columns,
              const std::vector<std::vector<std::string>>& rows)
    {
        Open("List " + name);
        Line("Columns " + std::to_string(columns.size()) + " { " + Joined(columns, ", ") + " }");
        Open("Data " + std::to_string(rows.size()));
        for (const std::vector<std::string>& row : rows)
            Line(Joined(row, " ") + " ;");
        Close();
        Close();
    }
    std::string Take() { return std::move(m_text); }

private:
    void Line(const std::string& text) { m_text += std::string(m_depth * 2, ' ') + text + "\n"; }

    std::string m_text;
    std::size_t m_depth = 0;
};

std::string Text18(const KlarfSheet& sheet, const KlarfHead& head)
{
    const std::vector<std::string> stamp = {Quoted(DateOf(head.time, false)), Quoted(TimeOf(head.time))};
    const auto area = [](double value) { return Number(value, "%.1f"); };
    std::vector<std::vector<std::string>> classes = {{"0", Quoted(unclassified), "\"\""}};
    for (std::size_t i = 0; i < sheet.kinds.size(); ++i)
        classes.push_back({std::to_string(i + 1), Quoted(sheet.kinds[i]), "\"\""});
    std::vector<std::vector<std::string>> dies;
    dies.reserve(static_cast<std::size_t>(sheet.dies));
    for (int die = 0; die < sheet.dies; ++die)
        dies.push_back({std::to_string(die), "0"});
    std::vector<std::vector<std::string>> defects;
    defects.reserve(sheet.rows.size());
    for (std::size_t i = 0; i < sheet.rows.size(); ++i)
        defects.push_back(DefectCells(sheet.rows[i], i + 1, Nanometres, area));
    std::vector<std::string> columns;
    columns.reserve(defectColumns.size());
    for (const std::string& column : defectColumns)
        columns.push_back((column == "DEFECTAREA" ? "float " : "int32 ") + column);

    NestedText text;
    text.Open("Record FileRecord \"1.8\"");
    text.Field("FileTimestamp", stamp);
    text.Open("Record LotRecord " + Quoted(head.lot));
    text.Field("DeviceID", {Quoted(head.device)});
    text.Field("DiePitch", {Nanometres(sheet.pitchX), Nanometres(sheet.pitchY)});
    text.Field("InspectionStationID", {Quoted(head.station), Quoted(head.model), Quoted(head.stationId)});
    text.Field("OrientationMarkLocation", {"0"});
    text.Field("RecipeID", {Quoted(head.setup), stamp[0], stamp[1]});
    text.Field("ResultTimestamp", stamp);
    text.Field("SampleOrientationMarkType", {"\"NOTCH\""});
    text.Field("SampleSize", {Nanometres(sheet.diameter), "0"});
    text.Field("SampleType", {"\"WAFER\""});
    text.Field("StepID", {Quoted(head.step)});
    text.List("ClassLookupList", {"int32 CLASSNUMBER", "string CLASSNAME", "string CLASSCODE"}, classes);
    text.Open("Record WaferRecord " + Quoted(head.wafer));
    text.Field("DieOrigin", {"0", "0"});
    text.Field("SampleCenterLocation", {Nanometres(sheet.pitchX * sheet.dies / 2.0), Nanometres(sheet.pitchY / 2.0)});
    text.Field("SlotNumber", {std::to_string(head.slot)});
    text.List("DefectList", columns, defects);
    text.Open("Record TestRecord \"1\"");
    text.Field("AreaPerTest", {Real(sheet.dieArea * sheet.dies)});
    text.Field("InspectionTest", {"1", "\"1\""});
    text.List("SampleTestPlanList", {"int32 XINDEX", "int32 YINDEX"}, dies);
    text.Close();
    text.Open("Record SummaryRecord");
    text.List("TestSummaryList", {"int32 TESTNO", "int32 NDEFECT", "float DEFDENSITY", "int32 NDIE", "int32 NDEFDIE"},
              {{"1", std::to_string(sheet.rows.size()), Real(DensityOf(sheet, 1e7)), std::to_string(sheet.dies),
                std::to_string(sheet.diesWithDefects)}});
    text.Close();
    text.Close();
    text.Close();
    text.Close();
    return text.Take() + "EndOfFile;\n";
}

} // namespace

std::string KlarfText(const std::vector<DefectList>& images, const KlarfHead& head, KlarfVersion version)
{
    CheckHead(head);
    constexpr double dNanometres = 1000.0;
    constexpr double dLongest = std::numeric_limits<std::int32_t>::max();
    const KlarfSheet sheet = SheetOf(images, version == Klarf_1_8 ? head.pixelSize * dNanometres : head.pixelSize);
    if (version == Klarf_1_8 && sheet.diameter > dLongest)
        throw HostError({{"pixel_size", FormatNumber(head.pixelSize) + " micrometres",
                          "a row of dies up to 2147 mm long, the longest that version 1.8 can write"}});
    for (const KlarfRow& row : sheet.rows)
        if (version == Klarf_1_8 && std::max({std::abs(row.x), std::abs(row.y), row.width, row.height}) > dLongest)
            throw HostError({{"place of a defect of " + images[static_cast<std::size_t>(row.die)].image,
                              FormatNumber(std::max(std::abs(row.x), std::abs(row.y)) / 1e6) + " mm",
                              "places up to 2147 mm from the corner, the farthest that version 1.8 can write"}});
    return version == Klarf_1_8 ? Text18(sheet, head) : Text12(sheet, head);
}

} // namespace narvo
