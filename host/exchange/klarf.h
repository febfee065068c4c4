// SPDX-License-Identifier: MIT
// KLARF, the result files of semiconductor inspection: version 1.2, a list of statements, and version 1.8, nested
// records. Each image stands for a die, by number from left to right.
//
// Lengths are micrometres in 1.2 and nanometres in 1.8, and y points up: a defect's XREL and YREL are the centre of its
// box, from the lower left corner of its die. XSIZE and YSIZE are those of the box, DSIZE the greater of both,
// DEFECTAREA the area in square micrometres, in both versions. CLASSNUMBER is a kind's place by name, from 1.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/exchange/defect_list.h"

namespace narvo
{

enum KlarfVersion
{
    Klarf_1_2,
    Klarf_1_8,
};

/// What a file says beside the defects. Texts are UTF-8 without quotes and control characters.
struct KlarfHead
{
    std::string station = "narvo"; ///< make of the inspection station
    std::string model = "narvo";
    std::string stationId = "1";
    std::string lot = "lot";
    std::string device = "device";
    std::string setup = "setup"; ///< the recipe
    std::string step = "step";
    std::string wafer = "1";
    int slot = 1;                             ///< 1 to 1000
    std::string time = "2000-01-01 00:00:00"; ///< YYYY-MM-DD hh:mm:ss
    double pixelSize = 1.0;                   ///< micrometres, 0.01 to 1000
};

/// The file's text. Dies are as large as the largest image.
/// @throws HostError naming each member of `head` that cannot be written; for version 1.8 also for lengths and places
/// beyond 32 bits of nanometres
std::string KlarfText(const std::vector<DefectList>& images, const KlarfHead& head, KlarfVersion version);

/// @throws HostError for what is no size of a pixel, in micrometres
void CheckPixelSize(double pixelSize);

/// What a file holds.
struct KlarfContent
{
    KlarfVersion version = Klarf_1_2;
    KlarfHead head;                 ///< as it stands there, bytes that are no UTF-8 as NameToText; the pixel size is
                                    ///< the caller's
    std::vector<DefectList> images; ///< a die each, by row and column, named die_COLUMN_ROW; dies without defects too
};

/// Reads either version, written by anyone: the statements, records and columns may come in any order, and unknown ones
/// are passed over. Lengths become pixels of `pixelSize` micrometres, boxes whole ones.
/// @throws HostError naming the line and what should stand there
KlarfContent ReadKlarf(const std::filesystem::path& file, double pixelSize);

/// Whether a text begins as a file of either version does.
bool IsKlarf(const std::string& text);

} // namespace narvo
