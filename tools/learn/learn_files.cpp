// SPDX-License-Identifier: MIT
// One recipe for each way to read the files, of which the best is kept.
#include "tools/learn/learn_files.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "host/counted.h"
#include "host/image/reading_choice.h"
#include "host/inspect/batch.h"
#include "host/problem.h"
#include "host/recipe/image_section.h"
#include "tools/image_options.h"

namespace narvo::tools
{

namespace
{

LearnResult LearnAsRead(const std::vector<std::string>& good, const std::vector<DefectiveFile>& defective,
                        const ImageReading& reading, const LearnSettings& settings, int lanes)
{
    std::vector<BatchImage> images;
    for (const std::string& file : good)
        images.push_back(ImageFromFile(file, reading, &ProgramNotes()));
    std::vector<LearnDefective> bad;
    for (const DefectiveFile& file : defective)
        bad.push_back({ImageFromFile(file.file, reading, &ProgramNotes()), file.defects});
    LearnSettings asRead = settings;
    asRead.eachChannel = reading.channel == Channel_Each;
    LearnResult result = LearnRecipe(images, asRead, lanes, bad);
    static_cast<ImageReading&>(result.recipe) = reading;
    return result;
}

/// The more known defects its recipe finds and, with as many, the fewer false blobs.
std::pair<std::size_t, long> WorthOf(const LearnResult& result)
{
    std::pair<std::size_t, long> worth;
    for (const LearnFinds& image : result.finds)
    {
        worth.first += image.found;
        worth.second -= static_cast<long>(image.falseBlobs);
    }
    return worth;
}

const char* NameOf(int channel)
{
    static constexpr const char* names[] = {"auto", "luma", "red", "green", "blue", "a mixture", "each channel"};
    return names[channel];
}

std::string ChannelReason(const std::vector<LearnResult>& tried, std::size_t best)
{
    std::string found;
    for (const LearnResult& result : tried)
        found += (found.empty() ? "by " : ", by ") + std::string(NameOf(result.recipe.channel)) + ' ' +
                 std::to_string(WorthOf(result).first);
    return "Colours: of " + Counted(tried[best].defects, "known defect") + " were found " + found +
           ". The recipe takes " + NameOf(tried[best].recipe.channel) + '.';
}

} // namespace

LearnResult LearnFromFiles(const std::vector<std::string>& good, const std::vector<DefectiveFile>& defective,
                           const ImageReading& reading, const LearnSettings& settings, int lanes)
{
    ReadingChoice choice = ChooseReadings({good.begin(), good.end()}, reading);
    const bool coloured = choice.readings.size() > 1;
    const bool known = std::any_of(defective.begin(), defective.end(),
                                   [](const DefectiveFile& file) { return file.defects && !file.defects->empty(); });
    if (!known)
        choice.readings.resize(1);
    std::vector<LearnResult> tried;
    std::exception_ptr refused;
    for (const ImageReading& one : choice.readings)
        try
        {
            tried.push_back(LearnAsRead(good, defective, one, settings, lanes));
        }
        catch (const HostError&)
        {
            if (!refused)
                refused = std::current_exception();
        }
    if (tried.empty())
        std::rethrow_exception(refused);
    const auto best = std::max_element(
        tried.begin(), tried.end(), [](const LearnResult& a, const LearnResult& b) { return WorthOf(a) < WorthOf(b); });
    std::vector<std::string> reasons;
    if (!choice.reason.empty())
        reasons.push_back(choice.reason);
    if (coloured)
        reasons.push_back(
            known ? ChannelReason(tried, static_cast<std::size_t>(best - tried.begin()))
                  : "Colours are read as luma. Images with known defects would say which channel shows them.");
    LearnResult result = std::move(*best);
    result.reasons.insert(result.reasons.begin(), reasons.begin(), reasons.end());
    return result;
}

} // namespace narvo::tools
