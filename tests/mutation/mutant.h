// SPDX-License-Identifier: MIT
// What mutated sources call: every mutant is compiled in, and the environment chooses the one that is alive. Included
// in front of every source of a build for mutation testing (scripts/mutants).
#pragma once
#ifdef __cplusplus // C sources have no mutants

#include <cstdio>
#include <cstdlib>
#include <type_traits>

namespace narvo_mutant
{

inline constexpr int nMost = 65536;

/// The mutant that is alive; 0: none.
inline const int chosen = []
{
    const char* const text = std::getenv("NARVO_MUTANT");
    return text == nullptr ? 0 : std::atoi(text);
}();

/// Which mutants the program came by; written to the file NARVO_MUTANTS_REACHED at its end.
inline unsigned char reached[nMost];
inline struct ReachedWriter
{
    ~ReachedWriter()
    {
        const char* const name = std::getenv("NARVO_MUTANTS_REACHED");
        std::FILE* const file = name == nullptr ? nullptr : std::fopen(name, "a");
        if (file == nullptr)
            return;
        for (int i = 0; i < nMost; ++i)
            if (reached[i] != 0)
                std::fprintf(file, "%d\n", i);
        std::fclose(file);
    }
} reachedWriter;

/// Whether mutant `id` is alive.
inline bool Is(int id)
{
    reached[id] = 1;
    return chosen == id;
}

// Each comparison has two mutants: the one that differs where both sides are equal, and its opposite; == and != have
// their opposite and a constant.
template <typename A, typename B>
bool Less(int id, const A& a, const B& b)
{
    return Is(id) ? a <= b : Is(id + 1) ? !(a < b) : a < b;
}
template <typename A, typename B>
bool Greater(int id, const A& a, const B& b)
{
    return Is(id) ? a >= b : Is(id + 1) ? !(a > b) : a > b;
}
template <typename A, typename B>
bool LessEqual(int id, const A& a, const B& b)
{
    return Is(id) ? a < b : Is(id + 1) ? !(a <= b) : a <= b;
}
template <typename A, typename B>
bool GreaterEqual(int id, const A& a, const B& b)
{
    return Is(id) ? a > b : Is(id + 1) ? !(a >= b) : a >= b;
}
template <typename A, typename B>
bool Equal(int id, const A& a, const B& b)
{
    return Is(id) ? a != b : Is(id + 1) ? false : a == b;
}
template <typename A, typename B>
bool Unequal(int id, const A& a, const B& b)
{
    return Is(id) ? a == b : Is(id + 1) ? true : a != b;
}

template <typename A, typename B>
auto Add(int id, const A& a, const B& b) -> decltype(a + b)
{
    return Is(id) ? a - b : a + b;
}
template <typename A, typename B>
auto Subtract(int id, const A& a, const B& b) -> decltype(a - b)
{
    return Is(id) ? a + b : a - b;
}
template <typename A, typename B>
auto Multiply(int id, const A& a, const B& b) -> decltype(a * b)
{
    return Is(id) ? static_cast<decltype(a * b)>(a + b) : a * b;
}
template <typename A, typename B>
auto Divide(int id, const A& a, const B& b) -> decltype(a / b)
{
    return Is(id) ? static_cast<decltype(a / b)>(a * b) : a / b;
}
template <typename A, typename B>
auto Modulo(int id, const A& a, const B& b) -> decltype(a % b)
{
    return Is(id) ? a / b : a % b;
}
template <typename A, typename B>
auto ShiftLeft(int id, const A& a, const B& b) -> decltype(a << b)
{
    return Is(id) ? a >> b : a << b;
}
template <typename A, typename B>
auto ShiftRight(int id, const A& a, const B& b) -> decltype(a >> b)
{
    return Is(id) ? a << b : a >> b;
}

/// A condition that is no comparison: always true, always false.
inline bool Condition(int id, bool value)
{
    return Is(id) ? true : Is(id + 1) ? false : value;
}

/// A whole number: one more.
template <typename Value>
Value Number(int id, Value value)
{
    return Is(id) ? static_cast<Value>(value + 1) : value;
}

/// A statement: left out.
inline bool Keep(int id)
{
    return !Is(id);
}

} // namespace narvo_mutant

#endif
