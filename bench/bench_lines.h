// SPDX-License-Identifier: MIT
// The families of figures. A new family is a file of its own with one function here and one entry in narvo_bench.cpp.
#pragma once

#include "bench/bench_scene.h"
#include "bench/bench_table.h"

namespace bench
{

struct SOptions
{
    bool bQuick = false; ///< small images and few rounds: shows that everything runs, says nothing about speed
    bool bAll = false;   ///< also figures without a target: more hit densities, an image in cache, every vector level
    int Rounds(int nUsual) const { return bQuick ? 1 : nUsual; }
};

// Each adds its figures of the large image, which the families share; a family sets the hit density that it needs.

/// Zone kernels against the plain ones and the read pass.
void AddZoneLines(CTable& table, CScene& large, const SOptions& options);
/// A whole zone inspection against its kernel and against OpenCV, the band split, two lanes, memory.
void AddEngineLines(CTable& table, CScene& large, const SOptions& options);
/// Growth of builder, merge and shadow removal with the number of pairs.
void AddBlobLines(CTable& table, CScene& large, const SOptions& options);
/// A lone defect after the comparison.
void AddLoneLines(CTable& table, CScene& large, const SOptions& options);
/// Pixel kernels against the plain ones and the read pass, and whole pixel inspections.
void AddPixelLines(CTable& table, CScene& large, const SOptions& options);
/// Float kernels against the read pass, whole float inspections, and free-form regions.
void AddFloatLines(CTable& table, CScene& large, const SOptions& options);
/// Binarise and average mode, and the trapezium kernels.
void AddModeLines(CTable& table, CScene& large, const SOptions& options);
/// Pitch search against its scalar form.
void AddPitchLines(CTable& table, CScene& large, const SOptions& options);
/// Conversions of images to 8-bit grey against a pixel inspection. In builds with the host layer.
void AddImageLines(CTable& table, CScene& large, const SOptions& options);
/// A stream of rows against one call for the whole image. In builds with the host layer.
void AddStreamLines(CTable& table, CScene& large, const SOptions& options);

/// The host library against the raw engine. In builds with the host layer.
void AddHostLines(CTable& table, CScene& large, const SOptions& options);
/// Live frames at a camera's pace: the time to the verdict. In builds with the program.
void AddWatchLines(CTable& table, CScene& large, const SOptions& options);
/// Inspections of a made-up panel. In builds with the program.
void AddPanelLines(CTable& table, CScene& large, const SOptions& options);

} // namespace bench
