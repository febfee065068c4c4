// SPDX-License-Identifier: MIT
// Defects in the files of other programs: KLARF of semiconductor inspection, read and written; the labels of vision
// tools and a table, written. docs/exchange.md explains the forms.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "narvo/host_inspector.h"
#include "narvo/host_result.h"

namespace narvo::v1
{

/// A defect as such files know it.
struct ListedDefect
{
    Box box;           ///< pixels of the image; each side from -1000000000 to 1000000000
    double area = 0.0; ///< pixels, 0 .. 1e18; 0: not known
    std::string kind;  ///< UTF-8; "bright" or "dark" of inspections
};

/// One image with its defects.
struct DefectList
{
    std::string image;                 ///< name of its file; any bytes but 0
    int width = 0;                     ///< pixels, up to 1000000000; 0: not known
    int height = 0;                    ///< the same
    std::vector<ListedDefect> defects; ///< in the order in which files list them
};

/// What a file is written as. The program calls them klarf-1.2, klarf-1.8, coco, voc, yolo and csv.
enum class ExchangeForm : int
{
    Klarf12, ///< KLARF 1.2, one file for all images: a die each
    Klarf18, ///< KLARF 1.8, likewise
    Coco,    ///< one JSON file
    Voc,     ///< Pascal VOC: a folder with an XML file for each image
    Yolo,    ///< a folder with a text file for each image, and classes.txt; needs the images' sizes
    Table    ///< comma separated: image, width, height, kind, left, top, right, bottom, area
};

/// What KLARF says beside the defects. Texts are UTF-8 of up to 255 bytes without quotes and control characters.
struct KlarfHead
{
    std::string station = "narvo";            ///< make of the inspection station
    std::string model = "narvo";              ///< its model
    std::string stationId = "1";              ///< its number
    std::string lot = "lot";                  ///< name of the lot
    std::string device = "device";            ///< of the product
    std::string setup = "setup";              ///< of the recipe
    std::string step = "step";                ///< of the process step
    std::string wafer = "1";                  ///< of the wafer or panel
    int slot = 1;                             ///< 1 .. 1000
    std::string time = "2000-01-01 00:00:00"; ///< of the result, YYYY-MM-DD hh:mm:ss
    double pixelSize = 1.0;                   ///< micrometres that a pixel is wide and high, 0.01 .. 1000
};

/// What a KLARF file holds.
struct KlarfContent
{
    ExchangeForm form = ExchangeForm::Klarf12; ///< Klarf12 or Klarf18
    KlarfHead head; ///< as it stands there: absent texts empty, the slot up to 100000; the pixel size is the caller's
    std::vector<DefectList> images; ///< a die each, by row and column, named die_COLUMN_ROW; dies without defects too
};

/// One file that is to be written.
struct ExchangeFile
{
    std::filesystem::path name; ///< with its folder
    std::string text;           ///< all of it
};

/// All files of a form.
struct ExchangeFiles
{
    std::filesystem::path folder;    ///< that is made where there is none; empty: it must be there
    std::vector<ExchangeFile> files; ///< one; or one for each image in their order, and YOLO's classes at the end
};

/// The defects of an image's reports, one report for each region of the recipe; those of a store's image, too.
/// @throws Error where the reports are of images of different sizes, or hold a colour that is none
NARVOHOST_API DefectList DefectsOf(const std::string& image, const std::vector<FullReport>& reports);
/// A list for each image of a result file of the program (.json, .jsonl) with all regions of the image together, or for
/// each die of a KLARF file of any other name. `pixelSize` is micrometres, 0.01 .. 1000, and counts for KLARF. The size
/// of an image that a result does not say is that of the image file, as the result names it or beside the result.
/// @throws Error naming the file, and the line or the field in it, with what should stand there
NARVOHOST_API std::vector<DefectList> ReadDefects(const std::filesystem::path& file, double pixelSize = 1.0);
/// All of a KLARF file of either version, written by anyone: statements, records and columns in any order, unknown ones
/// passed over. Lengths become pixels of `pixelSize` micrometres. Bytes of texts that are no UTF-8 are written as % and
/// two hexadecimal digits. @throws Error as ReadDefects
NARVOHOST_API KlarfContent ReadKlarf(const std::filesystem::path& file, double pixelSize = 1.0);
/// All kinds, each once, by name: the classes of YOLO from 0, those of COCO and KLARF from 1.
NARVOHOST_API std::vector<std::string> KindsOf(const std::vector<DefectList>& images);

/// Makes the files of a form, in memory. `output` is the name of the one file, or of the folder. `head` counts for
/// KLARF, and problems name its members as in "station_id" and "pixel_size".
/// @throws Error with all that is wrong with the images, as images[0].defects[2].box, or with the head; for a form that
/// is none; where YOLO does not know an image's size; for lengths that KLARF 1.8 cannot write
NARVOHOST_API ExchangeFiles MakeExchangeFiles(const std::filesystem::path& output,
                                              const std::vector<DefectList>& images, ExchangeForm form,
                                              const KlarfHead& head = {});
/// Writes them, each whole or not at all; those that are there are replaced.
/// @throws Error where two files have one name, before any is written; WriteError naming the file when that fails
NARVOHOST_API void SaveExchangeFiles(const ExchangeFiles& files);

} // namespace narvo::v1
