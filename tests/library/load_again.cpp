// SPDX-License-Identifier: MIT
// load_again MODULE: loads a module, calls its UseLibrary and unloads it, a hundred times by threads that end
// afterwards and a hundred times by the first thread. Fails if a call fails or memory grows from the twentieth round
// on.
#include <cstdio>
#include <fstream>
#include <thread>

#include <dlfcn.h>
#include <unistd.h>

namespace
{

constexpr int rounds = 100;
constexpr int settled = 20; ///< rounds after which all that is kept has been taken
constexpr long allowedGrowth =
    8 * 1024; ///< KiB: 80 rounds that kept an image of 960 KiB each would take nine times as much

/// Resident memory, KiB.
long ResidentKiB()
{
    long total = 0;
    long resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

bool UseOnce(const char* path)
{
    void* const module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr)
    {
        std::fprintf(stderr, "%s\n", dlerror());
        return false;
    }
    const auto use = reinterpret_cast<int (*)()>(dlsym(module, "UseLibrary"));
    const int code = use == nullptr ? -1 : use();
    if (code != 0)
        std::fprintf(stderr, "UseLibrary: %d\n", code);
    return dlclose(module) == 0 && code == 0;
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2)
        return 2;
    // Each thread takes memory of its own from the system, so both ways are measured apart.
    for (const bool ownThread : {true, false})
    {
        long before = 0;
        for (int round = 1; round <= rounds; ++round)
        {
            bool good = false;
            if (ownThread)
                std::thread([&] { good = UseOnce(arguments[1]); }).join();
            else
                good = UseOnce(arguments[1]);
            if (!good)
                return 1;
            if (round == settled)
                before = ResidentKiB();
        }
        const long growth = ResidentKiB() - before;
        std::fprintf(stderr, "%s: %ld KiB more after %d rounds than after %d\n",
                     ownThread ? "threads that end" : "first thread", growth, rounds, settled);
        if (growth > allowedGrowth)
            return 1;
    }
    return 0;
}
