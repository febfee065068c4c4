// SPDX-License-Identifier: MIT
// The command line program: reads the command line, runs the command that it names and tells how that ended.
#include <algorithm>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "host/file/output_file.h"
#include "host/foreign_text.h"
#include "tools/command.h"
#include "tools/exit_code.h"
#include "tools/image_options.h"
#include "tools/standard_streams.h"

namespace
{

/// The words in which the parser refused the command line, or the help that was asked for. @return exit code
int Leave(const CLI::App& app, const CLI::ParseError& error)
{
    const std::vector<std::string> rest = app.remaining();
    const auto word =
        std::find_if(rest.begin(), rest.end(), [](const std::string& one) { return !one.starts_with('-'); });
    if (error.get_exit_code() == 0)
    {
        app.exit(error);
        return narvo::tools::ExitCode_Done;
    }
    if (app.get_subcommands().empty() && word != rest.end())
    {
        std::string names;
        for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
            names += (names.empty() ? "" : ", ") + command->get_name();
        narvo::tools::PrintProblems({{"command", *word, "one of " + names}});
    }
    else
        std::cerr << narvo::Printable(error.what()) << "\nRun with --help for more information.\n";
    return narvo::tools::ExitCode_BadInput;
}

int Run(int argc, char** argv)
{
    narvo::tools::Action action;
    CLI::App app;
    narvo::tools::BuildCommandLine(app, action);
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return Leave(app, error);
    }
    const int code = action();
    narvo::tools::TellConversions();
    return code;
}

/// Tells of what was thrown. @return exit code
int RunAndTell(int argc, char** argv)
{
    try
    {
        return Run(argc, argv);
    }
    catch (const narvo::WriteError& error)
    {
        narvo::tools::PrintProblems(error.Problems());
        return narvo::tools::ExitCode_NotWritten;
    }
    catch (const narvo::v1::WriteError& error)
    {
        narvo::tools::PrintProblems(narvo::tools::ProblemsOf(error));
        return narvo::tools::ExitCode_NotWritten;
    }
    catch (const narvo::v1::Error& error)
    {
        narvo::tools::PrintProblems(narvo::tools::ProblemsOf(error));
        return narvo::tools::ExitCode_BadInput;
    }
    catch (const narvo::HostError& error)
    {
        narvo::tools::PrintProblems(error.Problems());
        return narvo::tools::ExitCode_BadInput;
    }
    catch (const std::bad_alloc&)
    {
        std::cerr << "narvo: not enough memory\n";
        return narvo::tools::ExitCode_Unexpected;
    }
    catch (const std::exception& error)
    {
        std::cerr << "narvo: unexpected error: " << narvo::Printable(error.what()) << '\n';
        return narvo::tools::ExitCode_Unexpected;
    }
}

} // namespace

int main(int argc, char** argv)
{
    narvo::tools::StandardStreams streams;
    return streams.Finish(RunAndTell(argc, argv));
}
