// SPDX-License-Identifier: MIT
// What tests of the C interface share.
#pragma once

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "library/host_pictures.h"
#include <narvo/narvo_c.h>

namespace narvo::test
{

/// The fields of the last failure in this thread, in a row.
inline std::string CFields()
{
    std::string fields;
    for (std::int64_t i = 0; i < narvo_problem_count(); ++i)
    {
        narvo_problem problem = {};
        problem.size = sizeof(problem);
        EXPECT_EQ(narvo_problem_get(i, &problem), NARVO_OK);
        EXPECT_STRNE(problem.allowed, "");
        if (!fields.empty())
            fields += ' ';
        fields += problem.field;
    }
    return fields;
}

inline narvo_image ImageOf(const Picture8& picture)
{
    return {sizeof(narvo_image), picture.width, picture.height, 8, 0, picture.pixels.data()};
}

} // namespace narvo::test
