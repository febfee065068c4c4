// SPDX-License-Identifier: MIT
// The report page: what it holds, and its text. Pictures come ready; nothing here reads a file.
#pragma once

#include <string>
#include <vector>

#include "host/inspect/inspector.h"
#include "host/recipe/checked_recipe.h"
#include "tools/cell/cell_repeats.h"

namespace narvo::tools
{

/// A defect's place on a sheet of thumbnails.
struct ThumbnailPlace
{
    int sheet = -1; ///< -1: none is kept
    int place = 0;
};

struct ReportImage
{
    std::string name;
    int width = 0;
    int height = 0;
    InspectionResult result;
    std::string overview;                   ///< data URI; empty: none is kept
    std::vector<ThumbnailPlace> thumbnails; ///< for each blob of the result, or empty
    std::vector<bool> kept;                 ///< for each blob of the result, or empty: all
};

struct ReportRecipe
{
    std::string name;
    CheckedRecipe recipe;
};

/// What the images of a store's run have in common beyond chance.
struct ReportFinding
{
    std::string what;         ///< "place", "column", "grey", ...
    std::string where;        ///< of a change, the image that it begins with
    std::string shown;        ///< "64 images", "from 3.7 to 5.3"
    std::string expected;     ///< by chance; empty: nothing is counted
    double probability = 0.0; ///< that chance alone shows the like
};

/// Where images differ from a golden cell.
struct ReportCellFindings
{
    bool wanted = false; ///< whether images were held against one
    CellRepeats repeats;
    std::vector<std::string> regions; ///< names
    std::string picture;              ///< data URI, of the image that differs most; empty: none could be compared
    std::string drawn;                ///< name of that image
};

struct ReportPage
{
    std::string title;
    std::string made; ///< program, version, time
    std::vector<ReportImage> images;
    std::vector<ReportRecipe> recipes;
    bool comparesImages = false;         ///< whether findings were looked for
    std::vector<ReportFinding> findings; ///< the least probable of each kind first
    ReportCellFindings cell;
    std::vector<std::string> sheets; ///< data URIs
    int sheetCell = 0;               ///< side of a thumbnail, pixels
    int sheetColumns = 0;
    int thumbnailParts = 1;         ///< 3: source, reference, difference
    std::vector<std::string> notes; ///< what was left out, and other warnings
};

/// The page as one self-contained HTML text.
std::string BuildReportPage(const ReportPage& page);

} // namespace narvo::tools
