// The command line program: reads the command line, runs the command that it names and tells how that ended.
#include <exception>
#include <iostream>
#include <new>

#include <CLI/CLI.hpp>

#include "host/file/output_file.h"
#include "tools/command.h"
#include "tools/exit_code.h"
#include "tools/standard_streams.h"

namespace
{

int Run(int argc, char** argv)
{
    narvo::Action action;
    CLI::App app;
    narvo::BuildCommandLine(app, action);
    try
    {
        app.parse(argc, argv);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? narvo::ExitCode_Done : narvo::ExitCode_BadInput;
    }
    return action();
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
        narvo::PrintProblems(error.Problems());
        return narvo::ExitCode_NotWritten;
    }
    catch (const narvo::HostError& error)
    {
        narvo::PrintProblems(error.Problems());
        return narvo::ExitCode_BadInput;
    }
    catch (const std::bad_alloc&)
    {
        std::cerr << "narvo: not enough memory\n";
        return narvo::ExitCode_Unexpected;
    }
    catch (const std::exception& error)
    {
        std::cerr << "narvo: unexpected error: " << error.what() << '\n';
        return narvo::ExitCode_Unexpected;
    }
}

} // namespace

int main(int argc, char** argv)
{
    narvo::StandardStreams streams;
    return streams.Finish(RunAndTell(argc, argv));
}
