// SPDX-License-Identifier: MIT
// The modes that do not compare pitches, up to their pairs, by an engine's parameters.
#pragma once

class CNarvoAssem;

namespace narvo::engine
{

/// The pixels of rtInspect with 0 < grey < nThreshold. @return the new pair count
int RunBinarise(CNarvoAssem& engine, int& nEndLine);
/// The pixels of rtInspect whose window differs from its background. @return the new pair count
int RunAverage(CNarvoAssem& engine, int& nEndLine);

} // namespace narvo::engine
