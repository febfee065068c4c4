// SPDX-License-Identifier: MIT
// The valid blocks from which the guard tests start: every comparison with every kernel that it selects, through every
// entry that reaches it.
#pragma once

#include <vector>

#include "engine/guard_scene.h"
#include "reference/check_reference.h"

namespace narvo::test
{

struct CGuardBase
{
    const char* pName;
    narvo::test::Entry eEntry;
    void (*pSet)(CGuardScene& scene, CConvParam& param);

    CConvParam Make(CGuardScene& scene) const
    {
        CConvParam param = scene.MakeParam();
        pSet(scene, param);
        return param;
    }
};

const std::vector<CGuardBase>& GuardBases();

/// Runs a block by an entry of the pool's first lane, or of its engine. @return the code
int RunEntry(CAssemControl& control, narvo::test::Entry eEntry, CConvParam param);

} // namespace narvo::test
