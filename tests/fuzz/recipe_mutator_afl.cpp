// SPDX-License-Identifier: MIT
// recipe_mutator.cpp as a module that afl-fuzz loads. What the mutator leaves to the fuzzer's own bytes comes back as a
// length of 0, which afl-fuzz skips: it changes bytes by itself in its other stages.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "support/random.h"

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pBytes, std::size_t nBytes, std::size_t nMost,
                                               unsigned nSeed);

namespace
{

/// What afl-fuzz hands to every call: the seeds of the changes, and the bytes of the last one.
struct MutatorState
{
    narvo::test::CRandom random;
    std::vector<std::uint8_t> changed;
};

} // namespace

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* /*pBytes*/, std::size_t /*nBytes*/, std::size_t /*nMost*/)
{
    return 0;
}

extern "C" void* afl_custom_init(void* /*pFuzzer*/, unsigned nSeed)
{
    return new MutatorState{narvo::test::CRandom(nSeed), {}};
}

extern "C" std::size_t afl_custom_fuzz(void* pState, std::uint8_t* pBytes, std::size_t nBytes, std::uint8_t** ppChanged,
                                       std::uint8_t* /*pOther*/, std::size_t /*nOther*/, std::size_t nMost)
{
    auto& state = *static_cast<MutatorState*>(pState);
    state.changed.resize(nMost);
    std::memcpy(state.changed.data(), pBytes, nBytes < nMost ? nBytes : nMost);
    *ppChanged = state.changed.data();
    return nBytes > nMost ? 0
                          : LLVMFuzzerCustomMutator(state.changed.data(), nBytes, nMost,
                                                    static_cast<unsigned>(state.random.Int(0, 0x7fffffff)));
}

extern "C" void afl_custom_deinit(void* pState)
{
    delete static_cast<MutatorState*>(pState);
}
