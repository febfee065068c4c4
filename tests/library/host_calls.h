// SPDX-License-Identifier: MIT
// Random use of the whole host library, right and wrong: images of 1 by 1 pixels upwards, any strides and depths,
// recipes with random fields, own maps and tables, regions anywhere, rows without end, null pointers, objects that were
// moved from. Each call answers, or says what is wrong in full; with sanitizers, nothing is read or written outside of
// what was given.
#pragma once

#include "soak/case_source.h"

namespace narvo::test
{

/// How often a kind of call was answered.
struct CallAnswers
{
    int asked = 0;
    int answered = 0;

    void Add(const CallAnswers& more)
    {
        asked += more.asked;
        answered += more.answered;
    }
};

struct HostAnswers
{
    CallAnswers inspections;
    CallAnswers drafts;
    CallAnswers models;
    CallAnswers streams;

    void Add(const HostAnswers& more)
    {
        inspections.Add(more.inspections);
        drafts.Add(more.drafts);
        models.Add(more.models);
        streams.Add(more.streams);
    }
};

/// Makes `most` calls and checks what comes out of each. What does not hold ends the program.
HostAnswers MakeHostCalls(CCaseSource& source, int most);

} // namespace narvo::test
