// SPDX-License-Identifier: MIT
// The passes of one inspection, found by running it again, and replayed step by step where they are asked about.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "host/probe/kernel_probe.h"
#include "narvoassem/narvoassem.h"
#include "narvoassem/trace/trace.h"

namespace narvo
{

/// The blob that a record went into, as it was built, and after merging.
struct BlobStep
{
    CRect built; ///< bounds as it was built, right and bottom exclusive
    int builtArea = 0;
    CRect merged; ///< bounds after merging; empty where no blob was left
    int mergedArea = 0;
    std::optional<CPoint> ghostOf; ///< removed as a ghost: where the true defect was looked for
};

/// Blobs held apart from an engine. The record of a blob is large, so they are copied only where a pass is replayed.
using Blobs = std::vector<CDefectBlob>;

/// A pass over a band: the parameters that it ran with, and the blobs that were there before.
struct ReplayedPass
{
    int band = 0;
    int number = 0;
    CConvParam param;
    engine::CBlobSteps steps; ///< what becomes of its records
    Blobs earlier;

    std::unique_ptr<const CKernelTrace> probe; ///< made when it is asked for

    // The replay, likewise.
    bool replayed = false;
    std::vector<CDefectPair> written; ///< as the kernel wrote them
    std::vector<CDefectPair> judged;  ///< as the build left them
    std::vector<int> labels;
    Blobs built;                      ///< earlier ones and those of this pass, before merging
    std::map<int, BlobStep> followed; ///< by the blob's place in `built`
    std::map<int, CDefectBlob> final; ///< what became of it; missing where it was a ghost

    /// The record at a place; -1 where there is none.
    int FindRecord(const CPoint& place) const;
    /// The blob of a label among this pass's own in `built`; -1 where none was opened.
    int FindBlob(int label) const;
    /// Whether the pass has more records than blobs are built from.
    bool IsDropped() const { return steps.DropsPairs(static_cast<int>(written.size())); }
};

/// All passes of one inspection.
class PassReplay
{
public:
    /// Runs the inspection; what the block points at must outlive this object. @throws HostError without memory for it
    PassReplay(const CConvParam& block, bool asg, int maxBlobs);

    /// Bands that ran in parallel.
    int Bands() const { return m_bands; }
    /// Passes over a band.
    int PassesOver(int band) const;
    /// The last pass whose part of the region holds the place; null where there is none.
    ReplayedPass* Find(const CPoint& place);

    /// The kernel of the pass, to ask for single pixels. @throws HostError where it compares nothing at a pitch
    const CKernelTrace& Probe(ReplayedPass& pass) const;
    /// Records and blobs of the pass.
    void Replay(ReplayedPass& pass);
    /// What the build of the pass says of one of its records. @throws HostError without memory
    static engine::CRecordTrace Ask(const ReplayedPass& pass, const CDefectPair& record);
    /// Merging and the search for ghosts, with an eye on one blob of a replayed pass.
    void FollowBlob(ReplayedPass& pass, int blob);

private:
    void FindPasses(const CConvParam& block, int maxBlobs);
    bool RanAgain(const CNarvoAssem& engine, int band) const;

    bool m_asg;
    std::vector<ReplayedPass> m_passes;
    int m_bands = 1;
    CNarvoAssem m_replay;
};

} // namespace narvo
