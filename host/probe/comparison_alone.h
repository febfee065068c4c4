// The comparison of an inspection without what follows it.
#pragma once

class CNarvoAssem;

namespace narvo
{

/// The comparison of a rectangle inspection without its blob steps: the records as the kernel writes them, in the
/// engine's pair store, by the parameters that the engine holds. Any mode but the twice kernels.
void RunComparisonAlone(CNarvoAssem& engine, bool asg);

} // namespace narvo
