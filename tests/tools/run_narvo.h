// SPDX-License-Identifier: MIT
// Runs the built program as a user would and keeps what it said.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include <sys/wait.h>

#include "host/host_test_help.h"
#include "host/image/grey_image.h"

namespace narvo::test
{

struct Outcome
{
    int code;
    std::string out;
    std::string error;
};

inline std::string ReadText(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// Arguments must not contain single quotes.
inline Outcome RunNarvo(const TestFolder& folder, const std::vector<std::string>& arguments)
{
    std::string command = "cd '" + folder.Path().string() + "' && '" NARVO_PROGRAM "'";
    for (const std::string& argument : arguments)
        command += " '" + argument + "'";
    command += " > out.txt 2> error.txt";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadText(folder / "out.txt"), ReadText(folder / "error.txt")};
}

inline Outcome RunNarvo(const TestFolder& folder, std::initializer_list<std::string> arguments)
{
    return RunNarvo(folder, std::vector<std::string>(arguments));
}

/// Runs a line of bash in the folder, in which `narvo` is the program with a limit of 30 s, after which it is killed
/// and the code is 137. The line may send the program's streams elsewhere; what it leaves alone is kept.
inline Outcome RunLine(const TestFolder& folder, const std::string& line)
{
    std::ofstream(folder / "line.sh") << "narvo() { timeout -s KILL 30 '" NARVO_PROGRAM "' \"$@\"; }\n" << line << '\n';
    const std::string place = folder.Path().string();
    const std::string command = "cd '" + place + "' && bash line.sh > out.txt 2> error.txt < /dev/null";
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadText(folder / "out.txt"), ReadText(folder / "error.txt")};
}

/// A small panel with its recipe and truth: panel.png and so on.
inline Outcome MakeSmallPanel(const TestFolder& folder)
{
    return RunNarvo(folder, {"synth", "--width", "512", "--height", "640", "--pitch-x", "40.5", "--pitch-y", "48.25",
                             "--defects", "8", "--seed", "3", "--quiet"});
}

/// The rows of NAME.png as a grabber sends them, without a header: NAME.raw.
inline void WriteRows(const TestFolder& folder, const std::string& name)
{
    const GreyImage image = LoadGreyImage(folder / (name + ".png"));
    std::ofstream raw(folder / (name + ".raw"), std::ios::binary);
    for (int y = 0; y < image.Height(); ++y)
        raw.write(reinterpret_cast<const char*>(image.Row(y)), image.Width());
}

} // namespace narvo::test
