// The families of figures. A new family is a file of its own with one function here and one entry in narvo_bench.cpp.
#pragma once

#include "bench/bench_table.h"

namespace bench
{

struct SOptions
{
    bool bQuick = false; ///< small images and few rounds: shows that everything runs, says nothing about speed
    int Rounds(int nUsual) const { return bQuick ? 1 : nUsual; }
};

/// Zone kernels against the plain ones and the read pass.
void AddZoneLines(CTable& table, const SOptions& options);
/// A whole inspection against its kernel and against OpenCV, the band split, two lanes, memory.
void AddEngineLines(CTable& table, const SOptions& options);
/// Growth of builder, merge and shadow removal with the number of pairs.
void AddBlobLines(CTable& table, const SOptions& options);

} // namespace bench
