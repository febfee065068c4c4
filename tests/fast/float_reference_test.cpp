// The rules of float_edge_test.cpp, held by the plain reference itself.
#include "fast/float_scene.h"

namespace narvo::test
{

INSTANTIATE_TEST_SUITE_P(Reference, FloatKernels,
                         testing::Values(CFloatRunner{"plain",
                                                      [](const CFloatScene& scene, CKernelOutcome& outcome)
                                                      { RunReference(scene, outcome); },
                                                      [](const CFloatRegionScene& scene, CKernelOutcome& outcome)
                                                      { RunReference(scene, outcome); }}),
                         [](const testing::TestParamInfo<CFloatRunner>& runner) { return runner.param.strName; });

} // namespace narvo::test
