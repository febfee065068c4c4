// SPDX-License-Identifier: MIT
// The records that the host library returns in vectors, which the description of its binary interface does not reach:
// their layout, at compile time, with the C++ library of 64-bit Linux.
#include <cstddef>

#include <narvo/narvohost.h>

using narvo::Box;
using narvo::Defect;
using narvo::ImagePixels;
using narvo::Problem;
using narvo::Report;

static_assert(sizeof(Box) == 16 && offsetof(Box, top) == 4 && offsetof(Box, right) == 8 && offsetof(Box, bottom) == 12);

static_assert(sizeof(ImagePixels) == 32 && offsetof(ImagePixels, width) == 8 && offsetof(ImagePixels, height) == 12);
static_assert(offsetof(ImagePixels, stride) == 16 && offsetof(ImagePixels, bits) == 24);

static_assert(sizeof(Problem) == 96 && offsetof(Problem, value) == 32 && offsetof(Problem, allowed) == 64);

static_assert(sizeof(Defect) == 128 && offsetof(Defect, bright) == 4 && offsetof(Defect, band) == 8);
static_assert(offsetof(Defect, single) == 12 && offsetof(Defect, area) == 16 && offsetof(Defect, box) == 20);
static_assert(offsetof(Defect, centerX) == 36 && offsetof(Defect, centerY) == 40 && offsetof(Defect, peakX) == 44);
static_assert(offsetof(Defect, peakY) == 48 && offsetof(Defect, peak) == 52 && offsetof(Defect, maxDifference) == 56);
static_assert(offsetof(Defect, meanDifference) == 60 && offsetof(Defect, meanGrey) == 64);
static_assert(offsetof(Defect, meanReference) == 68 && offsetof(Defect, zone) == 72 && offsetof(Defect, scale) == 76);
static_assert(offsetof(Defect, label) == 80 && offsetof(Defect, diameter) == 84 && offsetof(Defect, angle) == 88);
static_assert(offsetof(Defect, majorAxis) == 96 && offsetof(Defect, minorAxis) == 104);
static_assert(offsetof(Defect, circularity) == 112 && offsetof(Defect, elongation) == 120);

static_assert(sizeof(Report) == 120 && offsetof(Report, code) == 32 && offsetof(Report, vertical) == 36);
static_assert(offsetof(Report, region) == 40 && offsetof(Report, overflowed) == 56);
static_assert(offsetof(Report, milliseconds) == 64 && offsetof(Report, warnings) == 72);
static_assert(offsetof(Report, defects) == 96);
