// SPDX-License-Identifier: MIT
// Totals over the pairs of a folder, and the choice of settings on one half of them.
#include "tools/golden/golden_score.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <iostream>
#include <string>

#include "host/foreign_text.h"
#include "host/golden/golden.h"
#include "host/problem.h"
#include "tools/exit_code.h"
#include "tools/golden/golden_pairs.h"

namespace narvo::tools
{

namespace
{

constexpr double dWantedRecall = 0.997;

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
        const std::vector<PairFiles> files = ListPairs(options.folder, options.displacement, options.seed);
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

} // namespace narvo::tools
