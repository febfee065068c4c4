// The command line program: reads the command line and runs the command that it names.
#include <exception>
#include <iostream>
#include <new>

#include <CLI/CLI.hpp>

#include "tools/command.h"
#include "tools/exit_code.h"

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

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return Run(argc, argv);
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
