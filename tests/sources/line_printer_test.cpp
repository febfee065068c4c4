// SPDX-License-Identifier: MIT
#include "tools/watch/line_printer.h"

#include <chrono>
#include <cstddef>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace narvo::tools
{

namespace
{

using testing::HasSubstr;
using testing::StartsWith;

class LinePrinterTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        ASSERT_EQ(fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
    }
    ~LinePrinterTest() override
    {
        close(ends[0]);
        close(ends[1]);
    }

    /// What is in the pipe now.
    std::string ReadAll()
    {
        std::string text;
        char bytes[4096];
        for (ssize_t count = 0; (count = read(ends[0], bytes, sizeof bytes)) > 0;)
            text.append(bytes, static_cast<std::size_t>(count));
        return text;
    }

    int ends[2] = {-1, -1};
};

TEST_F(LinePrinterTest, WritesLinesInTheirOrder)
{
    std::string wanted;
    {
        LinePrinter printer;
        for (int i = 0; i < 100; ++i)
        {
            const std::string line = "line " + std::to_string(i) + "\n";
            printer.Print(ends[1], line);
            wanted += line;
        }
    }
    EXPECT_EQ(ReadAll(), wanted);
}

TEST_F(LinePrinterTest, GivesUpAPipeThatNobodyReadsAndTellsOfLinesThatAreLeftOut)
{
    LinePrinter printer(100);
    printer.TellOn(ends[1]);
    const std::string line = std::string(999, 'a') + "\n";
    for (int i = 0; i < 1000; ++i)
        printer.Print(ends[1], line);
    EXPECT_FALSE(printer.IsStuck(ends[1]));
    printer.Drain(std::chrono::milliseconds(200));
    EXPECT_TRUE(printer.IsStuck(ends[1]));
    const std::string begun = ReadAll();
    EXPECT_THAT(begun, StartsWith(line + line));
    EXPECT_LT(begun.size(), 200 * line.size());
    // What waited when it was given up does not come any more; what is printed now does.
    printer.Print(ends[1], "later\n");
    printer.Drain();
    EXPECT_THAT(ReadAll(), HasSubstr(" lines could not be printed, since nobody took them\nlater\n"));
}

TEST_F(LinePrinterTest, GoesOnWithOthersWhereADescriptorFails)
{
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    {
        LinePrinter printer;
        for (int i = 0; i < 3; ++i)
        {
            printer.Print(full, "lost\n");
            printer.Print(-1, "lost\n");
            printer.Print(ends[1], "kept\n");
        }
    }
    close(full);
    EXPECT_EQ(ReadAll(), "kept\nkept\nkept\n");
}

} // namespace

} // namespace narvo::tools
