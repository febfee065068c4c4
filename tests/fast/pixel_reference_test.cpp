// The rules of pixel_edge_test.cpp, held by the plain reference itself.
#include "fast/pixel_scene.h"

namespace narvo::test
{

INSTANTIATE_TEST_SUITE_P(Reference, PixelKernels, testing::Values(CPixelRunner{"plain", RunReference}),
                         [](const testing::TestParamInfo<CPixelRunner>& runner) { return runner.param.strName; });

} // namespace narvo::test
