// SPDX-License-Identifier: MIT
// Threads that take the next image until there is none.
#include "host/learn/for_each.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <system_error>
#include <thread>

#include "host/problem.h"

namespace narvo
{

namespace
{

/// Problems that do not name the image get its name.
void Rethrow(std::exception_ptr failure, const std::string& name)
{
    try
    {
        std::rethrow_exception(failure);
    }
    catch (const HostError& error)
    {
        std::vector<Problem> found = error.Problems();
        for (Problem& problem : found)
            if (problem.field.find(name) == std::string::npos)
                problem.field = "image " + name + ", " + problem.field;
        throw HostError(std::move(found));
    }
}

} // namespace

void ForEachImage(const std::vector<BatchImage>& images, int threads,
                  const std::function<void(std::size_t number, const GreyImage& image, int lane)>& work)
{
    std::vector<std::exception_ptr> failures(images.size());
    std::atomic<std::size_t> next{0};
    std::atomic<bool> failed{false};
    const auto serve = [&](int lane)
    {
        for (std::size_t i = next++; i < images.size() && !failed; i = next++)
            try
            {
                work(i, *images[i].load(), lane);
            }
            catch (...)
            {
                failures[i] = std::current_exception();
                failed = true;
            }
    };
    {
        std::vector<std::jthread> running;
        const int useful = std::clamp(threads, 1, static_cast<int>(std::max<std::size_t>(images.size(), 1)));
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
    for (std::size_t i = 0; i < images.size(); ++i)
        if (failures[i] != nullptr)
            Rethrow(failures[i], images[i].name);
}

} // namespace narvo
