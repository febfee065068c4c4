// SPDX-License-Identifier: MIT
// Lines on their way to a terminal or pipe: a bounded buffer and one thread, so that nobody waits for who reads them.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace narvo::tools
{

/// Writes lines to descriptors in their order. A terminal that is held, or a pipe that nobody reads, stops the printing
/// and nothing else: further lines wait, and those beyond what may wait are left out and told of.
class LinePrinter
{
public:
    explicit LinePrinter(std::size_t mostLines = 10000);
    /// Drains.
    ~LinePrinter();
    LinePrinter(const LinePrinter&) = delete;
    LinePrinter& operator=(const LinePrinter&) = delete;

    /// Never waits; `text` ends with a line feed. A descriptor that fails or has no reader is given up silently.
    void Print(int descriptor, std::string text);
    /// How many lines were left out is told there, between those that were written.
    void TellOn(int descriptor);
    /// Returns when all is written, or nothing was taken for `patience`; then what waits is left out. Nothing is
    /// written behind it but what is printed anew.
    void Drain(std::chrono::milliseconds patience = std::chrono::milliseconds(2000));
    /// Whether lines for a descriptor waited when Drain gave up.
    bool IsStuck(int descriptor) const;

private:
    struct State;

    static void Run(const std::shared_ptr<State>& state);

    std::shared_ptr<State> m_state; ///< shared with the thread, which may be stuck in a write to a terminal
};

} // namespace narvo::tools
