// SPDX-License-Identifier: MIT
// One call of a trapezium kernel as a test sets it up, and the ways to run it: the plain reference, and the library's
// kernel.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fast/kernel_outcome.h"
#include "reference/trapezium_reference.h"

namespace narvo::test
{

/// The inputs of a call, for either direction. Pointers refer to memory of the test; the outputs are not set. No
/// kernel of this family writes an end line, nor the value arrays of the hits: those keep their pattern.
template <typename TCall>
struct CTrapeziumScene
{
    TCall call;
    std::vector<CStartHit> aStartHits; ///< the hit count at the start is their number

    std::string Describe() const;
};

using CTrapeziumHoriScene = CTrapeziumScene<engine::CTrapeziumHoriCall>;
using CTrapeziumVertScene = CTrapeziumScene<engine::CTrapeziumVertCall>;

template <>
std::string CTrapeziumHoriScene::Describe() const;
template <>
std::string CTrapeziumVertScene::Describe() const;

/// The scene's call with an outcome's arrays, prepared.
engine::CTrapeziumHoriCall CallOf(const CTrapeziumHoriScene& scene, CKernelOutcome& outcome);
engine::CTrapeziumVertCall CallOf(const CTrapeziumVertScene& scene, CKernelOutcome& outcome);
void RunReference(const CTrapeziumHoriScene& scene, CKernelOutcome& outcome);
void RunReference(const CTrapeziumVertScene& scene, CKernelOutcome& outcome);
void RunPublic(const CTrapeziumHoriScene& scene, CKernelOutcome& outcome);
void RunPublic(const CTrapeziumVertScene& scene, CKernelOutcome& outcome);
/// Through the common call record, with the scene's image height as given.
void RunThroughCall(const CTrapeziumHoriScene& scene, CKernelOutcome& outcome);
void RunThroughCall(const CTrapeziumVertScene& scene, CKernelOutcome& outcome);

/// A way to run scenes, for tests that hold for each of them.
struct CTrapeziumRunner
{
    std::string strName;
    std::function<void(const CTrapeziumHoriScene&, CKernelOutcome&)> fnRunHori;
    std::function<void(const CTrapeziumVertScene&, CKernelOutcome&)> fnRunVert;

    friend std::ostream& operator<<(std::ostream& out, const CTrapeziumRunner& runner) { return out << runner.strName; }
};

class TrapeziumKernels : public testing::TestWithParam<CTrapeziumRunner>
{
};

} // namespace narvo::test
