// SPDX-License-Identifier: MIT
// Defects in the files of other programs.
#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <narvo/host_exchange.h>

#include "python/bind.h"
#include "python/narvo_errors.h"
#include "python/result_arrays.h"
#include "python/unlocked.h"
#include "python/values.h"

namespace narvo::python
{

namespace
{

constexpr std::array<std::pair<const char*, v1::ExchangeForm>, 6> forms = {{{"klarf-1.2", v1::ExchangeForm::Klarf12},
                                                                            {"klarf-1.8", v1::ExchangeForm::Klarf18},
                                                                            {"coco", v1::ExchangeForm::Coco},
                                                                            {"voc", v1::ExchangeForm::Voc},
                                                                            {"yolo", v1::ExchangeForm::Yolo},
                                                                            {"csv", v1::ExchangeForm::Table}}};

v1::ExchangeForm ToForm(const py::handle& value)
{
    std::string names;
    for (const auto& [name, form] : forms)
    {
        if (py::isinstance<py::str>(value) && py::str(name).equal(value))
            return form;
        names += (names.empty() ? "" : ", ") + std::string(name);
    }
    throw v1::Error({{"form", Shown(value), "one of " + names}});
}

const char* NameOf(v1::ExchangeForm form)
{
    return forms[static_cast<std::size_t>(form)].first;
}

// Lists are tuples on their way to and from exchange.py: name, width, height, defects; and these box, area, kind.

py::tuple ListToPython(const v1::DefectList& list)
{
    py::list defects;
    for (const v1::ListedDefect& defect : list.defects)
        defects.append(py::make_tuple(ToPython(defect.box), defect.area, ToText(defect.kind)));
    return py::make_tuple(ToText(list.image), list.width, list.height, std::move(defects));
}

py::list ListsToPython(const std::vector<v1::DefectList>& lists)
{
    py::list made;
    for (const v1::DefectList& list : lists)
        made.append(ListToPython(list));
    return made;
}

int ToPixels(const py::handle& value, const std::string& name)
{
    if (const std::optional<int> pixels = ToInt(value))
        return *pixels;
    throw v1::Error({{name, Shown(value), "a whole number of pixels"}});
}

/// Text that is UTF-8, not a name.
std::string ToKind(const py::handle& value, const std::string& name)
{
    if (!py::isinstance<py::str>(value))
        throw v1::Error({{name, Shown(value), "text"}});
    return ToKey(value, name.c_str());
}

v1::ListedDefect ToDefect(const py::handle& value, const std::string& name)
{
    const auto fields = value.cast<py::tuple>();
    const std::string box = name + ".box";
    return {ToRect(fields[0], {}, box.c_str()), ToSetting(fields[1]), ToKind(fields[2], name + ".kind")};
}

std::vector<v1::DefectList> ToLists(const py::list& values)
{
    std::vector<v1::DefectList> lists;
    for (const py::handle value : values)
    {
        const std::string name = "images[" + std::to_string(lists.size()) + "]";
        const auto fields = value.cast<py::tuple>();
        v1::DefectList& list = lists.emplace_back();
        list.image = ToPath(fields[0]).string();
        list.width = ToPixels(fields[1], name + ".width");
        list.height = ToPixels(fields[2], name + ".height");
        for (const py::handle defect : fields[3].cast<py::list>())
            list.defects.push_back(ToDefect(defect, name + ".defects[" + std::to_string(list.defects.size()) + "]"));
    }
    return lists;
}

/// Of the texts in the order of the record; a number that no int holds is outside of its range.
v1::KlarfHead ToHead(const py::dict& values)
{
    v1::KlarfHead head;
    const std::pair<const char*, std::string*> texts[] = {
        {"station", &head.station}, {"model", &head.model},   {"station_id", &head.stationId},
        {"lot", &head.lot},         {"device", &head.device}, {"setup", &head.setup},
        {"step", &head.step},       {"wafer", &head.wafer},   {"time", &head.time}};
    for (const auto& [name, text] : texts)
        *text = ToKind(values[name], name);
    head.slot = ToNearestInt(values["slot"]);
    head.pixelSize = ToSetting(values["pixel_size"]);
    return head;
}

py::dict HeadToPython(const v1::KlarfHead& head)
{
    return py::dict(py::arg("station") = ToText(head.station), py::arg("model") = ToText(head.model),
                    py::arg("station_id") = ToText(head.stationId), py::arg("lot") = ToText(head.lot),
                    py::arg("device") = ToText(head.device), py::arg("setup") = ToText(head.setup),
                    py::arg("step") = ToText(head.step), py::arg("wafer") = ToText(head.wafer),
                    py::arg("slot") = head.slot, py::arg("time") = ToText(head.time),
                    py::arg("pixel_size") = head.pixelSize);
}

/// A size of pixels that is none is an argument's fault, all else the file's.
template <typename Call>
auto Reading(Call call)
{
    try
    {
        return Unlocked(call);
    }
    catch (const v1::Error& error)
    {
        Raise(error.Problems().front().field == "pixel_size" ? Fault::Argument : Fault::File, error);
    }
}

py::tuple ListedDefects(const py::handle& image, const Result& result)
{
    const std::string name = ToPath(image).string();
    v1::FullReport report; // the answers are not read
    report.report = result.outcome.report;
    report.width = result.outcome.width;
    report.height = result.outcome.height;
    return ListToPython(Translated(Fault::Argument, [&] { return v1::DefectsOf(name, {report}); }));
}

py::list DefectsOfFile(const py::handle& path, const py::handle& pixelSize)
{
    const std::filesystem::path file = ToPath(path);
    const double size = ToSetting(pixelSize);
    return ListsToPython(Reading([&] { return v1::ReadDefects(file, size); }));
}

py::tuple KlarfOfFile(const py::handle& path, const py::handle& pixelSize)
{
    const std::filesystem::path file = ToPath(path);
    const double size = ToSetting(pixelSize);
    const v1::KlarfContent content = Reading([&] { return v1::ReadKlarf(file, size); });
    return py::make_tuple(NameOf(content.form), HeadToPython(content.head), ListsToPython(content.images));
}

py::list WriteDefects(const py::handle& output, const py::list& images, const py::handle& form, const py::dict& head)
{
    const std::filesystem::path place = ToPath(output);
    const v1::ExchangeFiles files =
        Translated(Fault::Argument,
                   [&]
                   {
                       const v1::ExchangeForm chosen = ToForm(form);
                       const std::vector<v1::DefectList> lists = ToLists(images);
                       const v1::KlarfHead own = ToHead(head);
                       return Unlocked([&] { return v1::MakeExchangeFiles(place, lists, chosen, own); });
                   });
    Translated(Fault::File, [&] { Unlocked([&] { v1::SaveExchangeFiles(files); }); });
    py::list names;
    for (const v1::ExchangeFile& file : files.files)
        names.append(ToText(file.name.string()));
    return names;
}

} // namespace

void BindExchange(py::module_& module)
{
    module.def("listed_defects", &ListedDefects, py::arg("image"), py::arg("result"),
               "The defects of a result: name, width, height, and box, area and kind of each. Raises ArgumentError.");
    module.def("defects_of_file", &DefectsOfFile, py::arg("path"), py::arg("pixel_size"),
               "The same of each image of a result file, or of each die of a KLARF file. Raises FileError or "
               "ArgumentError.");
    module.def("klarf_of_file", &KlarfOfFile, py::arg("path"), py::arg("pixel_size"),
               "Form, head and images of a KLARF file. Raises FileError or ArgumentError.");
    module.def("write_defects", &WriteDefects, py::arg("output"), py::arg("images"), py::arg("form"), py::arg("head"),
               "Writes the files of a form and returns their names. Raises ArgumentError or FileError.");
}

} // namespace narvo::python
