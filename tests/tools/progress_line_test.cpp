// SPDX-License-Identifier: MIT
// Lines of progress: when they are shown, and where.
#include "tools/progress_line.h"

#include <array>
#include <chrono>
#include <string>

#include <unistd.h>

#include "gtest/gtest.h"

namespace narvo::test
{

namespace
{

using namespace std::chrono_literals;

/// What two lines leave on a stream.
std::string TwoLines(bool quiet, tools::ProgressLine::Clock::duration pause)
{
    std::array<int, 2> ends = {};
    EXPECT_EQ(pipe(ends.data()), 0);
    tools::ProgressLine progress(ends[1], quiet, pause);
    progress.Show("set: 1 of 2 images");
    progress.Show("set\n: 2 of 2 images");
    close(ends[1]);
    std::string text(200, '\0');
    text.resize(static_cast<std::size_t>(read(ends[0], text.data(), text.size())));
    close(ends[0]);
    return text;
}

TEST(ProgressLine, IsShownOnceInAPauseWithForeignTextEscaped)
{
    EXPECT_EQ(TwoLines(false, 0s), "narvo: set: 1 of 2 images\nnarvo: set\\n: 2 of 2 images\n");
    EXPECT_EQ(TwoLines(false, 1h), "");
}

TEST(ProgressLine, QuietOrWithoutAStreamNothingIsShown)
{
    EXPECT_EQ(TwoLines(true, 0s), "");
    tools::ProgressLine(-1, false, 0s).Show("nowhere");
}

} // namespace

} // namespace narvo::test
