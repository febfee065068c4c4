// SPDX-License-Identifier: MIT
// Ground truth of an image: its true defects as boxes, their JSON form, and the comparison with what was found.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "host/inspect/inspector.h"
#include "narvoassem/platform.h"

namespace narvo::tools
{

/// A true defect.
struct TruthDefect
{
    std::string kind;
    bool bright = false;
    CRect box;           ///< right and bottom exclusive
    double contrast = 0; ///< largest change against the good pattern, grey levels
};

/// Found against true. A defect counts as found when a blob touches its box grown by `nTruthMargin` pixels; a blob
/// that touches no such box is false.
struct TruthScore
{
    std::vector<bool> found;      ///< for each true defect
    std::vector<bool> falseBlobs; ///< for each blob

    int FoundCount() const;
    int FalseCount() const;
    /// Share of the true defects that were found; 1 where there are none.
    double Recall() const;
};

constexpr int nTruthMargin = 3;

TruthScore CompareWithTruth(const std::vector<TruthDefect>& truth, const std::vector<Blob>& blobs);

/// Found and true counts by kind, one line each.
std::string DescribeScore(const std::vector<TruthDefect>& truth, const TruthScore& score);

/// JSON form with the image's name. @throws HostError when it cannot be written
void SaveTruth(const std::filesystem::path& file, const std::string& imageName, const std::vector<TruthDefect>& truth);

/// Reads the form of SaveTruth, or lines of left, top, right, bottom and kind in a file whose name does not end in
/// .json and which does not begin with a brace. A text without lines has no defects.
/// @throws HostError when unreadable or not of the right form, with all problems
std::vector<TruthDefect> LoadTruth(const std::filesystem::path& file);

} // namespace narvo::tools
