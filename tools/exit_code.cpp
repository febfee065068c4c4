// Texts of the exit codes.
#include "tools/exit_code.h"

#include <iostream>

namespace narvo
{

std::string DescribeExitCodes()
{
    return "Exit codes:\n"
           "  0  done\n"
           "  1  unexpected error, or not enough memory\n"
           "  2  bad command line, image, recipe or truth file; one line on the error stream for each problem\n"
           "  3  a result file could not be written\n"
           "  4  inspected, but part of the image was not looked at or blobs were lost; results are written\n"
           "  5  pitch search: the image has no period along either axis\n"
           "  6  interrupted; the results until then are written\n"
           "  7  of many images some could not be inspected; the results of the others are written";
}

void PrintProblems(const std::vector<Problem>& found)
{
    for (const Problem& problem : found)
        std::cerr << "narvo: " << problem.Text() << '\n';
}

} // namespace narvo
