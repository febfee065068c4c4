// SPDX-License-Identifier: MIT
// The writer of each form, and the names of its files.
#include "host/exchange/exchange_files.h"

#include <map>
#include <system_error>

#include "host/exchange/label_files.h"
#include "host/file/output_file.h"
#include "host/problem.h"

namespace narvo
{

namespace
{

namespace fs = std::filesystem;

/// The text of forms that are one file.
std::string WholeText(const std::vector<DefectList>& images, ExchangeForm form, const KlarfHead& head)
{
    switch (form)
    {
    case Exchange_Klarf12:
        return KlarfText(images, head, Klarf_1_2);
    case Exchange_Klarf18:
        return KlarfText(images, head, Klarf_1_8);
    case Exchange_Coco:
        return CocoText(images);
    default:
        return DefectTable(images);
    }
}

} // namespace

ExchangeFiles MakeExchangeFiles(const fs::path& output, const std::vector<DefectList>& images, ExchangeForm form,
                                const KlarfHead& head)
{
    CheckDefectLists(images);
    if (form != Exchange_Voc && form != Exchange_Yolo)
        return {{}, {{output, WholeText(images, form, head)}}};
    const std::vector<std::string> kinds = KindsOf(images);
    ExchangeFiles made;
    made.folder = output;
    for (std::size_t i = 0; i < images.size(); ++i)
    {
        const DefectList& image = images[i];
        const fs::path stem = fs::path(image.image).stem();
        if (stem.empty())
            throw HostError(
                {{"images[" + std::to_string(i) + "].image", image.image, "a name that ends with that of a file"}});
        const fs::path name = output / stem;
        if (form == Exchange_Voc)
            made.files.push_back({name.string() + ".xml", VocText(image)});
        else
            made.files.push_back({name.string() + ".txt", YoloText(image, kinds)});
    }
    if (form == Exchange_Yolo)
        made.files.push_back({output / "classes.txt", YoloClasses(kinds)});
    return made;
}

void WriteExchangeFiles(const ExchangeFiles& files)
{
    std::vector<Problem> found;
    std::map<fs::path, std::size_t> places;
    for (std::size_t i = 0; i < files.files.size(); ++i)
        if (const auto [first, added] = places.emplace(files.files[i].name, i); !added)
            found.push_back({files.files[i].name.string(),
                             "the name of files " + std::to_string(first->second) + " and " + std::to_string(i),
                             "images whose names differ before their ending"});
    ThrowIfAny(std::move(found));
    if (!files.folder.empty())
    {
        std::error_code error;
        fs::create_directories(files.folder, error);
        if (error)
            throw WriteError(files.folder, error.message(), "a folder that can be made");
    }
    for (const ExchangeFile& file : files.files)
        WriteTextFile(file.name, file.text);
}

} // namespace narvo
