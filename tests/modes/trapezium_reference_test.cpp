// The rules of trapezium_edge_test.cpp, held by the plain reference itself.
#include "modes/trapezium_scene.h"

namespace narvo::test
{

INSTANTIATE_TEST_SUITE_P(Reference, TrapeziumKernels,
                         testing::Values(CTrapeziumRunner{"plain",
                                                          [](const CTrapeziumHoriScene& scene, CKernelOutcome& outcome)
                                                          { RunReference(scene, outcome); },
                                                          [](const CTrapeziumVertScene& scene, CKernelOutcome& outcome)
                                                          { RunReference(scene, outcome); }}),
                         [](const testing::TestParamInfo<CTrapeziumRunner>& runner) { return runner.param.strName; });

} // namespace narvo::test
