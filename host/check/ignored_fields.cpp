// SPDX-License-Identifier: MIT
// Settings of a block that the selected kernel does not read.
#include "host/check/block_words.h"

namespace narvo
{

namespace
{

using engine::Comparison;
using engine::KernelOption;

struct OptionField
{
    KernelOption option;
    const char* field;
    const char* value;
    const char* neutral;
};

// Windows are the mode's own: each mode says what it reads of them.
constexpr OptionField optionFields[] = {
    {KernelOption::ConvPitches, "pConvPitchTable", "given", "null"},
    {KernelOption::ScanPitches, "pScanPitchTable", "given", "null"},
    {KernelOption::Extended, "bExtendedKernel", "set", "0"},
    {KernelOption::CrossShift, "fVtdPitch", "not 0", "0"},
    {KernelOption::NoLineBuffer, "bUseLineBuffer", "0", "1"},
    {KernelOption::TwoSegment, "bTwoSegmentThreshold, pThresholdKneeMap", "set", "0 and null"},
    {KernelOption::Flagged, "bZoneFlagged", "set", "0"},
    {KernelOption::Average, "bAverage2by2", "set", "0"},
    {KernelOption::ZoneTables, "pTspTable", "given", "null"},
    {KernelOption::SecondSet, "nBlackFilterGray", "above 0", "0"},
    {KernelOption::ClassPitch, "dClassPitch", "not 0", "0"},
    {KernelOption::ClassIds, "pClassIdMap", "given", "null"},
    {KernelOption::DeadZones, "rtDeadZone", "given", "empty"},
    {KernelOption::Twice, "bTwice", "set", "0"},
};

/// Options that something other than the kernel reads.
engine::COptionSet ReadElsewhere(const engine::CBlockTrace& trace)
{
    const CConvParam& param = trace.param;
    engine::COptionSet read;
    const bool verified = trace.steps.bFilters && trace.steps.bVertical && param.pVeriPitchString != nullptr;
    if (verified)
        read = read | KernelOption::ConvPitches | KernelOption::ScanPitches;
    // The margin test of vertical pairs.
    if (trace.steps.bFilters && trace.steps.bVertical)
        read = read | KernelOption::ScanPitches;
    // A vertical build leaves its filters out.
    if (trace.steps.bVertical)
        read = read | KernelOption::Flagged;
    if (trace.eComparison == Comparison::Trapezium)
        read = read | KernelOption::ScanPitches;
    if (trace.eComparison == Comparison::Average)
        read = read | KernelOption::SecondSet;
    return read;
}

} // namespace

std::vector<Problem> WordIgnored(const engine::CBlockTrace& trace)
{
    std::vector<Problem> problems;
    const engine::COptionSet ignored = trace.given.Without(trace.kernel.uses | ReadElsewhere(trace));
    for (const OptionField& field : optionFields)
        if (ignored.Has(field.option))
            problems.push_back({field.field, field.value,
                                std::string(field.neutral) + ", since the " + trace.kernel.pWords +
                                    " kernel, which the other fields select, does not read it"});
    return problems;
}

} // namespace narvo
