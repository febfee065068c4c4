// SPDX-License-Identifier: MIT
// Defects as whole files of a form, whatever the form: names and texts, and their way to the disk.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/exchange/defect_list.h"
#include "host/exchange/klarf.h"

namespace narvo
{

enum ExchangeForm
{
    Exchange_Klarf12,
    Exchange_Klarf18,
    Exchange_Coco,
    Exchange_Voc,  ///< a file for each image
    Exchange_Yolo, ///< likewise, and classes.txt
    Exchange_Table,
};

struct ExchangeFile
{
    std::filesystem::path name;
    std::string text;
};

/// What is to be written.
struct ExchangeFiles
{
    std::filesystem::path folder;    ///< that is made where there is none; empty: the file's own must be there
    std::vector<ExchangeFile> files; ///< one; or one for each image, in their order, and YOLO's classes
};

/// `output` is the name of the one file, or of the folder. `head` counts for KLARF.
/// @throws HostError as CheckDefectLists and the form's writer
ExchangeFiles MakeExchangeFiles(const std::filesystem::path& output, const std::vector<DefectList>& images,
                                ExchangeForm form, const KlarfHead& head);

/// @throws HostError, before anything is written, where two files have one name; WriteError
void WriteExchangeFiles(const ExchangeFiles& files);

} // namespace narvo
