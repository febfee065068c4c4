// SPDX-License-Identifier: MIT
// Files of pairs, their boxes, and the cuts that move them.
#include "tools/golden/golden_pairs.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <system_error>

#include "host/problem.h"
#include "tools/image_options.h"
#include "tools/quiet_codecs.h"

namespace narvo::tools
{

namespace
{

GreyImage Cut(const GreyImage& image, int left, int top)
{
    return {image.Row(top) + left, image.Width() - left, image.Height() - top, image.Stride()};
}

/// Moves the image against the reference by cutting off the left and upper side of one of them, so that no pixel is
/// made up.
void Move(TruePair& pair)
{
    const CRect whole(0, 0, pair.image.Width(), pair.image.Height());
    pair.reference = Cut(pair.reference, std::max(pair.moveX, 0), std::max(pair.moveY, 0));
    pair.image = Cut(pair.image, std::max(-pair.moveX, 0), std::max(-pair.moveY, 0));
    const CRect shown(std::abs(pair.moveX), std::abs(pair.moveY), whole.right, whole.bottom);
    std::vector<TruthDefect> kept;
    for (TruthDefect defect : pair.truth)
    {
        CRect& box = defect.box;
        const double area = static_cast<double>(box.Width()) * box.Height();
        box = CRect(std::max(box.left, shown.left), std::max(box.top, shown.top), std::min(box.right, shown.right),
                    std::min(box.bottom, shown.bottom));
        if (box.IsRectEmpty() || 2.0 * box.Width() * box.Height() < area)
            continue;
        const int x = std::max(-pair.moveX, 0);
        const int y = std::max(-pair.moveY, 0);
        box = CRect(box.left - x, box.top - y, box.right - x, box.bottom - y);
        kept.push_back(defect);
    }
    pair.cutOff = static_cast<int>(pair.truth.size() - kept.size());
    pair.truth = std::move(kept);
}

/// The readable kind of file whose name without its ending is `stem`, whatever the ending.
std::filesystem::path ImageOfStem(const std::vector<std::filesystem::path>& files, const std::string& stem)
{
    const auto found = std::find_if(files.begin(), files.end(),
                                    [&](const std::filesystem::path& file) { return file.stem().string() == stem; });
    return found == files.end() ? std::filesystem::path() : *found;
}

} // namespace

std::vector<PairFiles> ListPairs(const std::filesystem::path& folder, int displacement, std::uint64_t seed)
{
    const std::string reference = "_temp";
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error))
        if (entry.path().extension() != ".txt")
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());

    std::mt19937_64 random(seed);
    const auto move = [&]
    {
        const std::uint64_t steps = 2 * static_cast<std::uint64_t>(displacement) + 1;
        return static_cast<int>(random() % steps) - displacement;
    };
    std::vector<PairFiles> pairs;
    for (const std::filesystem::path& file : files)
        if (const std::string stem = file.stem().string(); stem.size() > reference.size() && stem.ends_with(reference))
        {
            PairFiles pair;
            pair.name = stem.substr(0, stem.size() - reference.size());
            pair.reference = file;
            pair.image = ImageOfStem(files, pair.name + "_test");
            pair.moveX = move();
            pair.moveY = move();
            pairs.push_back(std::move(pair));
        }
    if (pairs.empty())
        throw HostError(
            {{"truth " + folder.string(), "no pairs", "a readable folder with NAME_temp.*, NAME_test.* and NAME.txt"}});
    return pairs;
}

TruePair LoadPair(const PairFiles& files)
{
    if (files.image.empty())
        throw HostError({{"image " + files.name + "_test", "no such file", "an image beside the reference"}});
    const QuietCodecs quiet;
    TruePair pair;
    pair.name = files.name;
    pair.reference = LoadImage(files.reference);
    pair.image = LoadImage(files.image);
    pair.truth = LoadTruth(files.reference.parent_path() / (files.name + ".txt"));
    pair.moveX = files.moveX;
    pair.moveY = files.moveY;
    Move(pair);
    return pair;
}

} // namespace narvo::tools
