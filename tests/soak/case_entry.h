// SPDX-License-Identifier: MIT
// The plain checks' name for the call of a made-up case.
#pragma once

#include "reference/check_reference.h"
#include "soak/case_maker.h"

namespace narvo::test
{

constexpr Entry EntryOf(CaseCall eCall)
{
    switch (eCall)
    {
    case CaseCall::RectAsg:
        return Entry::RectAsg;
    case CaseCall::Asg:
        return Entry::Asg;
    case CaseCall::Trapezium:
        return Entry::Trapezium;
    default:
        return Entry::Rect;
    }
}

} // namespace narvo::test
