// SPDX-License-Identifier: MIT
// Random calls of the C interface's pictures, of inspections and golden models of them, and of capability.
#pragma once

#include "library/c_call_kit.h"

namespace narvo::test
{

class CPictureCalls : private CCallKit
{
public:
    CPictureCalls(CCaseSource& source, SharedHandles& shared) : CCallKit(source), m_shared(shared) {}
    ~CPictureCalls();
    CPictureCalls(const CPictureCalls&) = delete;
    CPictureCalls& operator=(const CPictureCalls&) = delete;

    void CallOnce();

private:
    void MakeRules();
    void MakePicture();
    void MakeFrame();
    void KeepPicture(narvo_picture* made, std::int32_t status, bool mayRun);
    void AskPicture();
    void InspectPicture();
    void InspectFully();
    void ReadAnswers();
    void MakeGolden();
    void UseGolden();
    void AskGolden();
    void Measure();
    void AskCapability();
    void Learn();
    void FreeOne();

    SharedHandles& m_shared;
    Handles<narvo_rules> m_rules;
    Handles<narvo_picture> m_pictures;
    Handles<narvo_capability> m_capabilities;
};

} // namespace narvo::test
