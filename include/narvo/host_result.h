// SPDX-License-Identifier: MIT
// All that an inspection gave, beyond the report of its defects: the answers that defects are made of, outlines, times;
// as text, as a table, and as a picture.
#pragma once

#include <cstdint>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "narvo/host_images.h"
#include "narvo/host_inspector.h"
#include "narvo/host_shapes.h"

namespace narvo::v1
{

/// Where each colour is inspected, the one that shows a defect most.
enum class DefectColour : int
{
    Grey, ///< colours were not inspected one by one
    Red,
    Green,
    Blue
};

/// One answer of the comparison, as it stands once defects have been made of all of them.
struct Answer
{
    int x = 0;            ///< column
    int y = 0;            ///< row
    bool bright = false;  ///< brighter than its reference, otherwise darker; of a removed one, darker
    bool removed = false; ///< a filter took it for a false answer: it is in no defect
    int band = 0;         ///< 1 first pitch of the region, 2 middle, 3 last
    int origin = 0;       ///< 1 both neighbours answered, 3 or 4 settled by classification, 5 one answer only
    int peak = 0;         ///< how far it rises above its threshold, grey levels; of window sums, in their units
    int grey = 0;         ///< at its place
    int reference = 0;    ///< what it was compared with
    int threshold = 0;    ///< that applied there
    int zone = 0;         ///< its zone
};

/// Everything that came out of one region of an image. Its fields may be filled by a program, too: calls that take one
/// read it as it is.
struct FullReport
{
    Report report;                             ///< as Inspector::Inspect gives it, but for `unseen`
    int width = 0;                             ///< of the image, pixels; 0: not known
    int height = 0;                            ///< of the image, pixels; 0: not known
    std::string unseen;                        ///< columns that the region has and no comparison reaches, in words
    std::vector<std::vector<Corner>> outlines; ///< corners of the region's parts where it is no rectangle
    int answerCount = 0;                       ///< answers of the last pass, all bands and parts together
    int reruns = 0;                            ///< passes that had to be started again behind an overflow
    int deadDefects = 0;                       ///< left out as lying in the recipe's painted dead places
    double inspectMilliseconds = 0.0;          ///< of the engine
    double defectMilliseconds = 0.0;           ///< of that, making defects of answers
    std::vector<DefectColour> colours;         ///< one for each defect; empty: all Grey
    std::vector<Answer> answers;               ///< in no order that means something
    /// How a rectangle of grey looks apart from its defects, from some of its pixels; NaN where that is not known.
    double light = std::numeric_limits<double>::quiet_NaN(); ///< mean, grey levels
    double noise = std::numeric_limits<double>::quiet_NaN(); ///< standard deviation of a pixel, grey levels
    double pitchX =
        std::numeric_limits<double>::quiet_NaN(); ///< pixels at which the pattern is most like itself along x
    double pitchY = std::numeric_limits<double>::quiet_NaN(); ///< the same along y
};

/// The JSON that the program `narvo` writes for a region, in which defects are called blobs and answers pairs; of the
/// answers, it holds their number alone. Text that is no UTF-8 is written with replacement characters.
NARVOHOST_API std::string ReportText(const FullReport& report);
/// Reads such a text back. Width, height and `unseen` are not part of it.
/// @throws Error with all that is missing or ill-typed, each field by its path
NARVOHOST_API FullReport ReportFromText(const std::string& json);
/// The defects as comma separated values with a header line, in the columns that the program writes.
NARVOHOST_API std::string DefectTable(const FullReport& report);

/// The inspected image in colour with the region framed green (its outlines where it has some), dark defects cyan,
/// bright ones orange, each with its number, and the boxes of `missed` magenta: red, green and blue of each pixel, row
/// by row without gaps. An image with colours is drawn in grey. Boxes may lie anywhere.
/// @throws Error when the image is not valid, or has another size than the report says
NARVOHOST_API std::vector<std::uint8_t> DrawOverlay(const ImagePixels& image, const FullReport& report,
                                                    const std::vector<Box>& missed = {});
/// The same of an image that was read or made of colours.
NARVOHOST_API std::vector<std::uint8_t> DrawOverlay(const Image& image, const FullReport& report,
                                                    const std::vector<Box>& missed = {});
/// Draws and writes it in the format that the file name's ending says. A picture of more than `mostPixels`, 1 ..
/// HighestMaxPixels, is reduced by the smallest whole factor that makes it small enough, its frames and numbers being
/// drawn at their usual size. @throws Error as DrawOverlay, or for another limit; WriteError naming the file when that
/// fails
NARVOHOST_API void SaveOverlay(const std::filesystem::path& file, const ImagePixels& image, const FullReport& report,
                               const std::vector<Box>& missed = {}, std::int64_t mostPixels = HighestMaxPixels);
/// The same of an image that was read or made of colours.
NARVOHOST_API void SaveOverlay(const std::filesystem::path& file, const Image& image, const FullReport& report,
                               const std::vector<Box>& missed = {}, std::int64_t mostPixels = HighestMaxPixels);

} // namespace narvo::v1
