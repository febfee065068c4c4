// Pairs of a folder, random moves, totals, and the choice of settings on one half of the pairs.
#include "tools/golden/golden_score.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <optional>
#include <random>
#include <sstream>
#include <string>

#include "host/file/input_file.h"
#include "host/foreign_text.h"
#include "host/golden/golden.h"
#include "host/problem.h"
#include "tools/exit_code.h"
#include "tools/quiet_codecs.h"
#include "tools/synthetic/truth.h"

namespace narvo
{

namespace
{

constexpr double dWantedRecall = 0.997;

struct TruePair
{
    std::string name;
    GreyImage reference;
    GreyImage image;
    std::vector<TruthDefect> truth; ///< that lie, by half of their box or more, where both pictures are
    int cutOff = 0;                 ///< the others
    int moveX = 0;
    int moveY = 0;
    std::optional<Registration> registration;
};

/// What a setting gives on some pairs.
struct Totals
{
    int pairs = 0;
    int truth = 0;
    int found = 0;
    int falseBlobs = 0;
    int failed = 0; ///< pairs that could not be registered: their defects count as missed

    double Recall() const { return truth == 0 ? 1.0 : static_cast<double>(found) / truth; }
    double FalseAnImage() const { return pairs == 0 ? 0.0 : static_cast<double>(falseBlobs) / pairs; }
    void Add(const Totals& other)
    {
        pairs += other.pairs;
        truth += other.truth;
        found += other.found;
        falseBlobs += other.falseBlobs;
        failed += other.failed;
    }
    std::string Text() const
    {
        char text[160];
        std::snprintf(text, sizeof text, "%d pairs, found %d of %d (%.4f), false %d (%.2f an image)%s", pairs, found,
                      truth, Recall(), falseBlobs, FalseAnImage(),
                      failed == 0 ? "" : (", not registered " + std::to_string(failed)).c_str());
        return text;
    }
};

std::vector<TruthDefect> LoadBoxes(const std::filesystem::path& file)
{
    std::istringstream stream(ReadTextFile(file, "truth " + file.string(), "a readable text file"));
    std::vector<TruthDefect> boxes;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number)
    {
        std::replace(line.begin(), line.end(), ',', ' ');
        if (line.find_first_not_of(" \t\r") == std::string::npos)
            continue;
        std::istringstream fields(line);
        TruthDefect box;
        if (!(fields >> box.box.left >> box.box.top >> box.box.right >> box.box.bottom >> box.kind) ||
            box.box.IsRectEmpty())
            throw HostError({{"truth " + file.string() + ", line " + std::to_string(number), line,
                              "left top right bottom kind, in pixels, right and bottom the greater"}});
        boxes.push_back(box);
    }
    return boxes;
}

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

/// A pair's files.
struct PairFiles
{
    std::string name;
    std::filesystem::path reference;
    std::filesystem::path image;
    int moveX = 0;
    int moveY = 0;
};

/// The readable kind of file whose name without its ending is `stem`, whatever the ending.
std::filesystem::path ImageOfStem(const std::vector<std::filesystem::path>& files, const std::string& stem)
{
    const auto found = std::find_if(files.begin(), files.end(),
                                    [&](const std::filesystem::path& file) { return file.stem().string() == stem; });
    return found == files.end() ? std::filesystem::path() : *found;
}

/// All pairs of the folder by name, with their moves.
std::vector<PairFiles> ListPairs(const ScoreOptions& options)
{
    const std::string reference = "_temp";
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(options.folder, error))
        if (entry.path().extension() != ".txt")
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());

    std::mt19937_64 random(options.seed);
    const auto move = [&]
    {
        const std::uint64_t steps = 2 * static_cast<std::uint64_t>(options.displacement) + 1;
        return static_cast<int>(random() % steps) - options.displacement;
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
        throw HostError({{"truth " + options.folder.string(), "no pairs",
                          "a readable folder with NAME_temp.*, NAME_test.* and NAME.txt"}});
    return pairs;
}

TruePair LoadPair(const PairFiles& files)
{
    if (files.image.empty())
        throw HostError({{"image " + files.name + "_test", "no such file", "an image beside the reference"}});
    const QuietCodecs quiet;
    TruePair pair;
    pair.name = files.name;
    pair.reference = LoadGreyImage(files.reference);
    pair.image = LoadGreyImage(files.image);
    pair.truth = LoadBoxes(files.reference.parent_path() / (files.name + ".txt"));
    pair.moveX = files.moveX;
    pair.moveY = files.moveY;
    Move(pair);
    return pair;
}

/// Loads and measures one pair after the other. A pair that cannot be read is named and left out.
/// @return how many that were
template <typename Use>
int ForPairs(const std::vector<PairFiles>& files, Use use)
{
    int unread = 0;
    for (const PairFiles& file : files)
        try
        {
            TruePair pair = LoadPair(file);
            use(pair);
        }
        catch (const HostError& error)
        {
            ++unread;
            std::cerr << "narvo: " << Printable(file.name) << ": " << error.what() << std::endl;
        }
    return unread;
}

void Register(TruePair& pair, const GoldenSettings& settings)
{
    try
    {
        pair.registration = RegisterImage(pair.reference, pair.image, settings.registration);
    }
    catch (const HostError& error)
    {
        pair.registration.reset();
        std::cerr << "narvo: " << Printable(pair.name) << ": " << error.what() << std::endl;
    }
}

Totals Score(Inspector& inspector, const TruePair& pair, const GoldenSettings& settings)
{
    Totals totals;
    totals.pairs = 1;
    totals.truth = static_cast<int>(pair.truth.size());
    if (!pair.registration)
    {
        totals.failed = 1;
        return totals;
    }
    const GoldenModel model({pair.reference}, settings);
    const GoldenResult result = InspectRegistered(inspector, 0, model, pair.image, *pair.registration);
    const TruthScore score = CompareWithTruth(pair.truth, result.inspection.blobs);
    totals.found = score.FoundCount();
    totals.falseBlobs = score.FalseCount();
    return totals;
}

std::string SettingsText(const GoldenSettings& settings)
{
    return "mesh spacing " + std::to_string(settings.registration.meshSpacing) + ", edge tolerance " +
           FormatNumber(settings.edgeTolerance) + ", threshold " +
           (settings.threshold == 0 ? "from the noise" : std::to_string(settings.threshold));
}

/// Every setting that the cross-check chooses from.
std::vector<GoldenSettings> Candidates(const GoldenSettings& settings)
{
    std::vector<GoldenSettings> candidates;
    for (const int spacing : {0, 32, 64, 128})
        for (const double tolerance : {1.0, 1.5, 2.0, 2.5, 3.0})
            for (const int threshold : {0, 20, 40, 80})
            {
                GoldenSettings& candidate = candidates.emplace_back(settings);
                candidate.registration.meshSpacing = spacing;
                candidate.edgeTolerance = tolerance;
                candidate.threshold = threshold;
            }
    return candidates;
}

/// Settings with the wanted recall come first, fewer false blobs before more; then higher recall.
bool IsBetter(const Totals& a, const Totals& b)
{
    const bool enough = a.Recall() >= dWantedRecall;
    if (enough != (b.Recall() >= dWantedRecall))
        return enough;
    if (!enough && a.found != b.found)
        return a.found > b.found;
    return a.falseBlobs < b.falseBlobs;
}

int CrossCheck(Inspector& inspector, const std::vector<PairFiles>& files, const GoldenSettings& settings, bool quiet)
{
    const std::vector<GoldenSettings> candidates = Candidates(settings);
    std::vector<std::array<Totals, 2>> totals(candidates.size()); // of the pairs with even and odd place
    std::size_t place = 0;
    const int unread = ForPairs(files,
                                [&](TruePair& pair)
                                {
                                    int registered = -1;
                                    for (std::size_t i = 0; i < candidates.size(); ++i)
                                    {
                                        if (candidates[i].registration.meshSpacing != registered)
                                            Register(pair, candidates[i]);
                                        registered = candidates[i].registration.meshSpacing;
                                        totals[i][place % 2].Add(Score(inspector, pair, candidates[i]));
                                    }
                                    ++place;
                                    if (!quiet)
                                        std::cout << Printable(pair.name) << ": " << place << " of " << files.size()
                                                  << std::endl;
                                });
    for (std::size_t i = 0; i < candidates.size() && !quiet; ++i)
    {
        Totals both = totals[i][0];
        both.Add(totals[i][1]);
        std::cout << SettingsText(candidates[i]) << ": " << both.Text() << std::endl;
    }
    Totals measured;
    for (const std::size_t half : {0U, 1U})
    {
        std::size_t best = 0;
        for (std::size_t i = 1; i < totals.size(); ++i)
            if (IsBetter(totals[i][half], totals[best][half]))
                best = i;
        std::cout << "chosen on half " << half + 1 << ": " << SettingsText(candidates[best]) << "; "
                  << totals[best][half].Text() << "\n  on the other half: " << totals[best][1 - half].Text() << '\n';
        measured.Add(totals[best][1 - half]);
    }
    std::cout << "both halves by the choice of the other: " << measured.Text() << std::endl;
    return unread;
}

} // namespace

int RunGoldenScore(const ScoreOptions& options, const GoldenSettings& settings, bool quiet)
{
    std::vector<Problem> found = CheckGoldenSettings(settings);
    if (options.displacement < 0 || options.displacement > nDisplacementHigh)
        found.push_back({"displace", std::to_string(options.displacement),
                         "0 to " + std::to_string(nDisplacementHigh) + " pixels"});
    try
    {
        ThrowIfAny(std::move(found));
        const std::vector<PairFiles> files = ListPairs(options);
        Inspector inspector(1, settings.maxBlobs);
        int unread = 0;
        if (options.crossCheck)
            unread = CrossCheck(inspector, files, settings, quiet);
        else
        {
            Totals all;
            int cutOff = 0;
            unread =
                ForPairs(files,
                         [&](TruePair& pair)
                         {
                             Register(pair, settings);
                             const Totals one = Score(inspector, pair, settings);
                             all.Add(one);
                             cutOff += pair.cutOff;
                             if (!quiet)
                                 std::cout
                                     << Printable(pair.name) << ": moved " << pair.moveX << ", " << pair.moveY
                                     << "; correlation "
                                     << (pair.registration
                                             ? FormatNumber(std::round(pair.registration->correlation * 1000) / 1000)
                                             : "-")
                                     << "; found " << one.found << " of " << one.truth << ", false " << one.falseBlobs
                                     << std::endl;
                         });
            std::cout << SettingsText(settings) << ": " << all.Text() << "; boxes cut off by the move: " << cutOff
                      << std::endl;
        }
        if (unread > 0)
            std::cerr << "narvo: " << unread << " of " << files.size() << " pairs could not be read" << std::endl;
        return unread > 0 ? ExitCode_BadInput : ExitCode_Done;
    }
    catch (const HostError& error)
    {
        PrintProblems(error.Problems());
        return ExitCode_BadInput;
    }
}

} // namespace narvo
