// SPDX-License-Identifier: MIT
// Random calls of the C interface that end in findings: lots, golden cells, evaluations; and of defects for
// other programs.
#pragma once

#include "library/c_call_kit.h"

namespace narvo::test
{

class CFindingCalls : private CCallKit
{
public:
    CFindingCalls(CCaseSource& source, SharedHandles& shared) : CCallKit(source), m_shared(shared) {}
    ~CFindingCalls();
    CFindingCalls(const CFindingCalls&) = delete;
    CFindingCalls& operator=(const CFindingCalls&) = delete;

    void CallOnce();

private:
    void MakeLot();
    void AddToLot();
    void FindInLot();
    void LearnCell();
    void AskCell();
    void CompareCell();
    void MakeExchange();
    void AddToExchange();
    void UseExchange();
    void MakeTruth();
    void MeasureImage();
    void ReportEvaluation();
    void KeepFindings(narvo_findings* made, std::int32_t status, bool mayRun);
    void FreeOne();
    narvo_setting DrawSetting(const char* known);

    SharedHandles& m_shared;
    Handles<narvo_lot> m_lots;
    Handles<narvo_cell> m_cells;
    Handles<narvo_findings> m_findings;
    Handles<narvo_exchange> m_exchanges;
    Handles<narvo_truth> m_truths;
    Handles<narvo_evaluation> m_evaluations;
};

} // namespace narvo::test
