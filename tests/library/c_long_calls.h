// SPDX-License-Identifier: MIT
// Random calls of the C interface's learning, explanations and streams.
#pragma once

#include "library/c_call_kit.h"

namespace narvo::test
{

/// Uses recipes of the caller's; recipes and reports that come out go there.
class CLongCalls : private CCallKit
{
public:
    CLongCalls(CCaseSource& source, Handles<narvo_recipe>& recipes, Handles<narvo_reports>& reports)
        : CCallKit(source), m_recipes(recipes), m_reports(reports)
    {
    }
    ~CLongCalls();
    CLongCalls(const CLongCalls&) = delete;
    CLongCalls& operator=(const CLongCalls&) = delete;

    void CallOnce();

private:
    void MakeStream();
    void Push();
    void TakeDefects();
    void AskStream();
    void Learn();
    void AskLearning();
    void MakeExplainer();
    void Explain();
    void FreeOne();

    Handles<narvo_recipe>& m_recipes;
    Handles<narvo_reports>& m_reports;
    Handles<narvo_stream> m_streams;
    Handles<narvo_learning> m_learnings;
    Handles<narvo_explainer> m_explainers;
    Handles<narvo_explanation> m_explanations;
};

} // namespace narvo::test
