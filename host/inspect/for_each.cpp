// SPDX-License-Identifier: MIT
// Threads that take the next number until there is none.
#include "host/inspect/for_each.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <system_error>
#include <thread>

#include "host/problem.h"

namespace narvo
{

void ForEachNumber(std::size_t count, int threads, const std::function<void(std::size_t number, int lane)>& work)
{
    std::vector<std::exception_ptr> failures(count);
    std::atomic<std::size_t> next{0};
    std::atomic<bool> failed{false};
    const auto serve = [&](int lane)
    {
        // Numbers begin in order, so those below one that fails have begun and come to their end.
        for (std::size_t i = next++; i < count && !failed; i = next++)
            try
            {
                work(i, lane);
            }
            catch (...)
            {
                failures[i] = std::current_exception();
                failed = true;
            }
    };
    {
        std::vector<std::jthread> running;
        const int useful =
            static_cast<int>(std::min<std::size_t>(static_cast<std::size_t>(std::max(threads, 1)), count));
        try
        {
            for (int lane = 1; lane < useful; ++lane)
                running.emplace_back([&serve, lane] { serve(lane); });
        }
        catch (const std::system_error&)
        {
            // No more threads are to be had: those that run do the work.
        }
        serve(0);
    }
    for (const std::exception_ptr& failure : failures)
        if (failure)
            std::rethrow_exception(failure);
}

std::vector<Problem> NameImage(const std::string& name, std::vector<Problem> problems)
{
    for (Problem& problem : problems)
        if (problem.field.find(name) == std::string::npos)
            problem.field = "image " + name + ", " + problem.field;
    return problems;
}

void ForEachImage(const std::vector<BatchImage>& images, int threads,
                  const std::function<void(std::size_t number, const GreyImage& image, int lane)>& work)
{
    ForEachNumber(images.size(), threads,
                  [&](std::size_t i, int lane)
                  {
                      try
                      {
                          work(i, *images[i].load(), lane);
                      }
                      catch (const HostError& error)
                      {
                          throw HostError(NameImage(images[i].name, error.Problems()));
                      }
                  });
}

} // namespace narvo
