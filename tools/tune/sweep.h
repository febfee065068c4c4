// SPDX-License-Identifier: MIT
// A sweep of one recipe field: which field, what each of its values finds, and which value to take.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/recipe/recipe.h"

namespace narvo::tools
{

/// A numeric field of a recipe, by its dotted name. zones.list.NAME stands for all zones, zones.list[I].NAME for the
/// zone with index I.
class SweepField
{
public:
    /// @throws HostError for a name that is no numeric field, or that the recipe's mode does not read
    SweepField(const Recipe& recipe, const std::string& path);

    const std::string& Path() const { return m_path; }
    const std::string& Unit() const { return m_unit; }
    bool IsWhole() const { return m_whole; }
    /// What the recipe has; the least of several zones.
    double Own(const Recipe& recipe) const;

    /// The recipe with that value, or, with `shift`, with that much added to its own.
    /// @throws HostError when a value leaves the field's range
    Recipe With(const Recipe& recipe, double value, bool shift) const;

private:
    std::string m_path;
    std::string m_name; ///< of the zone's field, without what stands before it
    std::string m_unit;
    bool m_zones = false;
    std::optional<int> m_zone;
    bool m_whole = false;
};

/// Evenly spaced values from one end to the other, whole where the field is; no value twice.
std::vector<double> SweepValues(double from, double to, int steps, bool whole);

/// What one value finds over all images.
struct SweepPoint
{
    double value = 0.0;
    long defects = 0;    ///< true ones, where truth is given
    long found = 0;      ///< of these
    long falseBlobs = 0; ///< blobs that touch no true defect
    long blobs = 0;
    int incomplete = 0; ///< images that were not wholly looked at

    double Recall() const { return defects == 0 ? 1.0 : static_cast<double>(found) / static_cast<double>(defects); }
    /// The harmonic mean of recall and precision, with defects found counted once each.
    double Score() const;
};

struct Sweep
{
    std::string field;
    std::string unit;
    bool shift = false;
    double own = 0.0; ///< with shift, the least value that it is added to
    bool hasTruth = false;
    int images = 0;
    std::vector<SweepPoint> points; ///< by ascending value
};

/// A point's value, with its sign where it is added to what the recipe has.
std::string ValueText(const Sweep& sweep, std::size_t point);
/// A share in percent.
std::string ShareText(double share);

/// The table as text for a terminal, with the proposed point marked, and as CSV.
std::string SweepTable(const Sweep& sweep, std::optional<std::size_t> proposed);
std::string SweepCsv(const Sweep& sweep);

} // namespace narvo::tools
