// SPDX-License-Identifier: MIT
// Random calls of the C interface that write files: stores, overlays, images.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "library/c_call_kit.h"

namespace narvo::test
{

class CStoreCalls : private CCallKit
{
public:
    CStoreCalls(CCaseSource& source, SharedHandles& shared) : CCallKit(source), m_shared(shared) {}
    ~CStoreCalls();
    CStoreCalls(const CStoreCalls&) = delete;
    CStoreCalls& operator=(const CStoreCalls&) = delete;

    void CallOnce();

private:
    void Open();
    void Begin();
    void Add();
    void AskRuns();
    void ReadImages();
    void SaveOverlay();
    void SaveImage();
    std::string FileCalled(const char* name);
    std::int64_t DrawRun();

    SharedHandles& m_shared;
    Handles<narvo_store> m_stores;
    std::int64_t m_lastRun = 1;
    std::filesystem::path m_folder; ///< of all files; made when the first is written
};

} // namespace narvo::test
