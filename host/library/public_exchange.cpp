// SPDX-License-Identifier: MIT
// Defects for other programs in the public form.
#include "narvo/host_exchange.h"

#include <string>
#include <utility>
#include <vector>

#include "host/exchange/exchange_files.h"
#include "host/exchange/listed_results.h"
#include "host/library/public_report.h"
#include "host/library/translate.h"
#include "host/problem.h"

namespace narvo::v1
{

namespace
{

DefectList PublicList(narvo::DefectList list)
{
    DefectList made{std::move(list.image), list.width, list.height, {}};
    made.defects.reserve(list.defects.size());
    for (narvo::ListedDefect& defect : list.defects)
        made.defects.push_back({library::PublicBox(defect.box), defect.area, std::move(defect.kind)});
    return made;
}

std::vector<DefectList> PublicLists(std::vector<narvo::DefectList> lists)
{
    std::vector<DefectList> made;
    made.reserve(lists.size());
    for (narvo::DefectList& list : lists)
        made.push_back(PublicList(std::move(list)));
    return made;
}

std::vector<narvo::DefectList> LayerLists(const std::vector<DefectList>& lists)
{
    std::vector<narvo::DefectList> made;
    made.reserve(lists.size());
    for (const DefectList& list : lists)
    {
        narvo::DefectList& one = made.emplace_back();
        one.image = list.image;
        one.width = list.width;
        one.height = list.height;
        one.defects.reserve(list.defects.size());
        for (const ListedDefect& defect : list.defects)
            one.defects.push_back({library::LayerRect(defect.box), defect.area, defect.kind});
    }
    return made;
}

KlarfHead PublicHead(narvo::KlarfHead head)
{
    return {std::move(head.station), std::move(head.model),  std::move(head.stationId),
            std::move(head.lot),     std::move(head.device), std::move(head.setup),
            std::move(head.step),    std::move(head.wafer),  head.slot,
            std::move(head.time),    head.pixelSize};
}

narvo::KlarfHead LayerHead(const KlarfHead& head)
{
    return {head.station, head.model, head.stationId, head.lot,  head.device,   head.setup,
            head.step,    head.wafer, head.slot,      head.time, head.pixelSize};
}

narvo::ExchangeForm LayerForm(ExchangeForm form)
{
    switch (form)
    {
    case ExchangeForm::Klarf12:
        return Exchange_Klarf12;
    case ExchangeForm::Klarf18:
        return Exchange_Klarf18;
    case ExchangeForm::Coco:
        return Exchange_Coco;
    case ExchangeForm::Voc:
        return Exchange_Voc;
    case ExchangeForm::Yolo:
        return Exchange_Yolo;
    case ExchangeForm::Table:
        return Exchange_Table;
    }
    throw HostError({{"form", std::to_string(static_cast<int>(form)), "one of ExchangeForm"}});
}

} // namespace

DefectList DefectsOf(const std::string& image, const std::vector<FullReport>& reports)
{
    return library::Translated(
        [&]
        {
            narvo::DefectList list;
            list.image = image;
            for (std::size_t i = 0; i < reports.size(); ++i)
            {
                if (i == 0)
                {
                    list.width = reports[i].width;
                    list.height = reports[i].height;
                }
                else if (reports[i].width != list.width || reports[i].height != list.height)
                    throw HostError({{"reports[" + std::to_string(i) + "]",
                                      "of " + std::to_string(reports[i].width) + " by " +
                                          std::to_string(reports[i].height) + " pixels",
                                      "of one image, which is " + std::to_string(list.width) + " by " +
                                          std::to_string(list.height) + " pixels"}});
                AddListed(library::LayerResult(reports[i]), list.defects);
            }
            return PublicList(std::move(list));
        });
}

std::vector<DefectList> ReadDefects(const std::filesystem::path& file, double pixelSize)
{
    return library::Translated(
        [&]
        {
            CheckPixelSize(pixelSize);
            return PublicLists(ReadDefectLists(file, pixelSize));
        });
}

KlarfContent ReadKlarf(const std::filesystem::path& file, double pixelSize)
{
    return library::Translated(
        [&]
        {
            narvo::KlarfContent content = narvo::ReadKlarf(file, pixelSize);
            return KlarfContent{content.version == Klarf_1_8 ? ExchangeForm::Klarf18 : ExchangeForm::Klarf12,
                                PublicHead(std::move(content.head)), PublicLists(std::move(content.images))};
        });
}

std::vector<std::string> KindsOf(const std::vector<DefectList>& images)
{
    return narvo::KindsOf(LayerLists(images));
}

ExchangeFiles MakeExchangeFiles(const std::filesystem::path& output, const std::vector<DefectList>& images,
                                ExchangeForm form, const KlarfHead& head)
{
    return library::Translated(
        [&]
        {
            if (output.empty())
                throw HostError({{"output", "empty", "name of a file or of a folder"}});
            narvo::ExchangeFiles files =
                narvo::MakeExchangeFiles(output, LayerLists(images), LayerForm(form), LayerHead(head));
            ExchangeFiles made;
            made.folder = std::move(files.folder);
            for (narvo::ExchangeFile& file : files.files)
                made.files.push_back({std::move(file.name), std::move(file.text)});
            return made;
        });
}

void SaveExchangeFiles(const ExchangeFiles& files)
{
    library::Translated(
        [&]
        {
            narvo::ExchangeFiles made;
            made.folder = files.folder;
            for (const ExchangeFile& file : files.files)
                made.files.push_back({file.name, file.text});
            WriteExchangeFiles(made);
        });
}

} // namespace narvo::v1
