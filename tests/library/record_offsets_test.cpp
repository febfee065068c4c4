// SPDX-License-Identifier: MIT
// The records that the host library returns in vectors, which the description of its binary interface does not reach:
// their layout, at compile time, with the C++ library of 64-bit Linux.
#include <cstddef>
#include <optional>

#include <narvo/narvohost.h>

using narvo::Box;
using narvo::CellPlace;
using narvo::CellReport;
using narvo::Defect;
using narvo::ImagePixels;
using narvo::Problem;
using narvo::Report;

using narvo::Answer;
using narvo::AxisSearch;
using narvo::BlockCheck;
using narvo::CapabilityReport;
using narvo::ColumnSpan;
using narvo::Corner;
using narvo::DefectiveImage;
using narvo::DefectList;
using narvo::EvaluatedImage;
using narvo::EvaluationFactor;
using narvo::EvaluationFigure;
using narvo::EvaluationKind;
using narvo::EvaluationPoint;
using narvo::EvaluationReport;
using narvo::EvaluationSet;
using narvo::ExchangeFile;
using narvo::ExchangeFiles;
using narvo::Explanation;
using narvo::FieldMean;
using narvo::FieldPixels;
using narvo::FullExplanation;
using narvo::FullReport;
using narvo::GoldenReport;
using narvo::GreyPicture;
using narvo::KlarfContent;
using narvo::KlarfHead;
using narvo::LabelledImage;
using narvo::LatticeOffset;
using narvo::LearnReport;
using narvo::LearntFinds;
using narvo::LearntImage;
using narvo::LearntSpots;
using narvo::LearntWay;
using narvo::ListedDefect;
using narvo::LotAlarm;
using narvo::LotChart;
using narvo::LotPlace;
using narvo::LotRegion;
using narvo::LotReport;
using narvo::LotTest;
using narvo::MapValues;
using narvo::NamedImage;
using narvo::NamedPicture;
using narvo::PitchAxis;
using narvo::PitchProposal;
using narvo::PixelArray;
using narvo::PlantedCount;
using narvo::PlantedCurve;
using narvo::Progress;
using narvo::RealPlace;
using narvo::RecipeField;
using narvo::ReferencePlace;
using narvo::Registered;
using narvo::Setting;
using narvo::StoredImage;
using narvo::StoredRun;
using narvo::StreamCounts;
using narvo::StreamDefect;
using narvo::TableRead;
using narvo::TableSize;

static_assert(sizeof(Box) == 16 && offsetof(Box, top) == 4 && offsetof(Box, right) == 8 && offsetof(Box, bottom) == 12);

static_assert(sizeof(ImagePixels) == 32 && offsetof(ImagePixels, width) == 8 && offsetof(ImagePixels, height) == 12);
static_assert(offsetof(ImagePixels, stride) == 16 && offsetof(ImagePixels, bits) == 24);

static_assert(sizeof(MapValues) == 24 && offsetof(MapValues, width) == 8 && offsetof(MapValues, height) == 12);
static_assert(offsetof(MapValues, stride) == 16);

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

static_assert(sizeof(Answer) == 40 && offsetof(Answer, y) == 4 && offsetof(Answer, bright) == 8);
static_assert(offsetof(Answer, removed) == 9 && offsetof(Answer, band) == 12 && offsetof(Answer, origin) == 16);
static_assert(offsetof(Answer, peak) == 20 && offsetof(Answer, grey) == 24 && offsetof(Answer, reference) == 28);
static_assert(offsetof(Answer, threshold) == 32 && offsetof(Answer, zone) == 36);
static_assert(sizeof(FullReport) == 296 && offsetof(FullReport, width) == 120 && offsetof(FullReport, height) == 124);
static_assert(offsetof(FullReport, unseen) == 128 && offsetof(FullReport, outlines) == 160);
static_assert(offsetof(FullReport, answerCount) == 184 && offsetof(FullReport, reruns) == 188);
static_assert(offsetof(FullReport, deadDefects) == 192 && offsetof(FullReport, inspectMilliseconds) == 200);
static_assert(offsetof(FullReport, defectMilliseconds) == 208 && offsetof(FullReport, colours) == 216);
static_assert(offsetof(FullReport, answers) == 240 && offsetof(FullReport, light) == 264);
static_assert(offsetof(FullReport, noise) == 272 && offsetof(FullReport, pitchX) == 280);
static_assert(offsetof(FullReport, pitchY) == 288);
static_assert(sizeof(RecipeField) == 256 && offsetof(RecipeField, type) == 32 && offsetof(RecipeField, unit) == 40);
static_assert(offsetof(RecipeField, low) == 72 && offsetof(RecipeField, high) == 80);
static_assert(offsetof(RecipeField, words) == 88 && offsetof(RecipeField, fallback) == 112);
static_assert(offsetof(RecipeField, allowed) == 144 && offsetof(RecipeField, required) == 176);
static_assert(offsetof(RecipeField, modes) == 200 && offsetof(RecipeField, meaning) == 224);
static_assert(sizeof(FieldPixels) == 40 && offsetof(FieldPixels, height) == 4 && offsetof(FieldPixels, channels) == 8);
static_assert(offsetof(FieldPixels, bits) == 12 && offsetof(FieldPixels, bytes) == 16);
static_assert(sizeof(StoredImage) == 104 && offsetof(StoredImage, sequence) == 32);
static_assert(offsetof(StoredImage, inspected) == 40 && offsetof(StoredImage, width) == 48);
static_assert(offsetof(StoredImage, height) == 52 && offsetof(StoredImage, problems) == 56);
static_assert(offsetof(StoredImage, reports) == 80);
static_assert(sizeof(StoredRun) == 168 && offsetof(StoredRun, key) == 8 && offsetof(StoredRun, recipe) == 40);
static_assert(offsetof(StoredRun, recipeDigest) == 72 && offsetof(StoredRun, program) == 104);
static_assert(offsetof(StoredRun, started) == 136 && offsetof(StoredRun, images) == 144);
static_assert(offsetof(StoredRun, refused) == 152 && offsetof(StoredRun, defects) == 160);
static_assert(sizeof(RealPlace) == 16 && offsetof(RealPlace, y) == 8);
static_assert(sizeof(FullExplanation) == 144 && offsetof(FullExplanation, json) == 112);

static_assert(sizeof(TableRead) == 80 && offsetof(TableRead, before) == 32 && offsetof(TableRead, count) == 40);
static_assert(offsetof(TableRead, element) == 48);
static_assert(sizeof(TableSize) == 48 && offsetof(TableSize, before) == 32 && offsetof(TableSize, count) == 40);
static_assert(sizeof(BlockCheck) == 128 && offsetof(BlockCheck, vertical) == 4 && offsetof(BlockCheck, refusals) == 8);
static_assert(offsetof(BlockCheck, hazards) == 32 && offsetof(BlockCheck, blindSpots) == 56);
static_assert(offsetof(BlockCheck, ignored) == 80 && offsetof(BlockCheck, reads) == 104);

static_assert(sizeof(Progress) == 48 && offsetof(Progress, done) == 32 && offsetof(Progress, total) == 40);
static_assert(sizeof(StreamDefect) == 136 && offsetof(StreamDefect, defect) == 8);
static_assert(sizeof(StreamCounts) == 72 && offsetof(StreamCounts, finalRows) == 8);
static_assert(offsetof(StreamCounts, defects) == 16 && offsetof(StreamCounts, cutDefects) == 24);
static_assert(offsetof(StreamCounts, crowded) == 32 && offsetof(StreamCounts, overflows) == 40);
static_assert(offsetof(StreamCounts, openChains) == 48 && offsetof(StreamCounts, memoryShort) == 56);
static_assert(offsetof(StreamCounts, exact) == 64);

static_assert(sizeof(Setting) == 40 && offsetof(Setting, value) == 32);

static_assert(sizeof(PitchAxis) == 56 && offsetof(PitchAxis, pitch) == 8 && offsetof(PitchAxis, measured) == 16);
static_assert(offsetof(PitchAxis, periods) == 24 && offsetof(PitchAxis, confidence) == 32);
static_assert(offsetof(PitchAxis, otherPitch) == 40 && offsetof(PitchAxis, otherStrength) == 48);
static_assert(sizeof(AxisSearch) == 72 && offsetof(AxisSearch, measured) == 8);
static_assert(offsetof(AxisSearch, sixteenths) == 16 && offsetof(AxisSearch, periods) == 20);
static_assert(offsetof(AxisSearch, confidence) == 24 && offsetof(AxisSearch, otherPitch) == 32);
static_assert(offsetof(AxisSearch, otherStrength) == 40 && offsetof(AxisSearch, cost) == 48);
static_assert(sizeof(LatticeOffset) == 16 && offsetof(LatticeOffset, y) == 8);
static_assert(sizeof(PitchProposal) == 160 && offsetof(PitchProposal, y) == 56);
static_assert(offsetof(PitchProposal, recipe) == 112 && offsetof(PitchProposal, notes) == 136);

static_assert(sizeof(GreyPicture) == 32 && offsetof(GreyPicture, height) == 4 && offsetof(GreyPicture, pixels) == 8);
static_assert(sizeof(Registered) == 112 && offsetof(Registered, shiftX) == 32 && offsetof(Registered, shiftY) == 40);
static_assert(offsetof(Registered, rotation) == 48 && offsetof(Registered, scaleX) == 56);
static_assert(offsetof(Registered, scaleY) == 64 && offsetof(Registered, shear) == 72);
static_assert(offsetof(Registered, largestLocal) == 80 && offsetof(Registered, correlation) == 88);
static_assert(offsetof(Registered, overlap) == 96 && offsetof(Registered, atLimit) == 104);
static_assert(sizeof(ReferencePlace) == 32 && offsetof(ReferencePlace, centerY) == 8);
static_assert(offsetof(ReferencePlace, box) == 16);
static_assert(sizeof(GoldenReport) == 288 && offsetof(GoldenReport, registration) == 120);
static_assert(offsetof(GoldenReport, places) == 232 && offsetof(GoldenReport, compared) == 256);
static_assert(offsetof(GoldenReport, edgeGrowth) == 264 && offsetof(GoldenReport, threshold) == 272);
static_assert(offsetof(GoldenReport, edgeThreshold) == 276 && offsetof(GoldenReport, masked) == 280);

static_assert(sizeof(PixelArray) == 24 && offsetof(PixelArray, width) == 8 && offsetof(PixelArray, height) == 12);
static_assert(offsetof(PixelArray, channels) == 16 && offsetof(PixelArray, bits) == 20);
static_assert(sizeof(NamedPicture) == 48 && offsetof(NamedPicture, image) == 32);
static_assert(sizeof(FieldMean) == 72 && offsetof(FieldMean, mean) == 40 && offsetof(FieldMean, low) == 48);
static_assert(offsetof(FieldMean, high) == 56 && offsetof(FieldMean, saturated) == 64 &&
              offsetof(FieldMean, height) == 4 && offsetof(FieldMean, channels) == 8);
static_assert(offsetof(FieldMean, values) == 16);
static_assert(sizeof(Corner) == 8 && offsetof(Corner, y) == 4);
static_assert(sizeof(ColumnSpan) == 8 && offsetof(ColumnSpan, last) == 4);
static_assert(sizeof(PlantedCount) == 24 && offsetof(PlantedCount, planted) == 8 &&
              offsetof(PlantedCount, found) == 16);
static_assert(sizeof(PlantedCurve) == 96 && offsetof(PlantedCurve, place) == 32);
static_assert(offsetof(PlantedCurve, contrast) == 64 && offsetof(PlantedCurve, counts) == 72);
static_assert(sizeof(CapabilityReport) == 112 && offsetof(CapabilityReport, falseBlobs) == 24);
static_assert(offsetof(CapabilityReport, megapixels) == 32 && offsetof(CapabilityReport, falseRate) == 40);
static_assert(offsetof(CapabilityReport, falseBound) == 48 && offsetof(CapabilityReport, warnings) == 56);
static_assert(offsetof(CapabilityReport, text) == 80);

static_assert(sizeof(NamedImage) == 64 && offsetof(NamedImage, pixels) == 32);
static_assert(sizeof(DefectiveImage) == 96 && offsetof(DefectiveImage, known) == 64);
static_assert(offsetof(DefectiveImage, defects) == 72);
static_assert(sizeof(LearntImage) == 80 && offsetof(LearntImage, area) == 32 && offsetof(LearntImage, level) == 40);
static_assert(offsetof(LearntImage, contrast) == 48 && offsetof(LearntImage, score) == 56);
static_assert(offsetof(LearntImage, falseBlobs) == 64 && offsetof(LearntImage, width) == 72);
static_assert(offsetof(LearntImage, height) == 76);
static_assert(sizeof(LearntSpots) == 24 && offsetof(LearntSpots, contrast) == 4 && offsetof(LearntSpots, planted) == 8);
static_assert(offsetof(LearntSpots, found) == 16);
static_assert(sizeof(LearntWay) == 56 && offsetof(LearntWay, found) == 32 && offsetof(LearntWay, defectsFound) == 40);
static_assert(offsetof(LearntWay, chosen) == 48);
static_assert(sizeof(LearntFinds) == 72 && offsetof(LearntFinds, blobs) == 32 && offsetof(LearntFinds, known) == 40);
static_assert(offsetof(LearntFinds, defects) == 48 && offsetof(LearntFinds, found) == 56);
static_assert(offsetof(LearntFinds, falseBlobs) == 64);
static_assert(sizeof(LearnReport) == 184 && offsetof(LearnReport, reasons) == 24);
static_assert(offsetof(LearnReport, warnings) == 48 && offsetof(LearnReport, images) == 72);
static_assert(offsetof(LearnReport, ways) == 96 && offsetof(LearnReport, finds) == 120);
static_assert(offsetof(LearnReport, falseBlobs) == 144 && offsetof(LearnReport, falseBound) == 152);
static_assert(offsetof(LearnReport, spots) == 160);

static_assert(sizeof(Explanation) == 112 && offsetof(Explanation, value) == 8 && offsetof(Explanation, outcome) == 16);
static_assert(offsetof(Explanation, defect) == 48 && offsetof(Explanation, why) == 56);
static_assert(offsetof(Explanation, text) == 80);

static_assert(sizeof(CellPlace) == 48 && offsetof(CellPlace, centerX) == 16 && offsetof(CellPlace, centerY) == 20);
static_assert(offsetof(CellPlace, area) == 24 && offsetof(CellPlace, difference) == 32 &&
              offsetof(CellPlace, standardErrors) == 40);
static_assert(sizeof(CellReport) == 200 && offsetof(CellReport, places) == 32 && offsetof(CellReport, parts) == 56);
static_assert(offsetof(CellReport, partsLeftOut) == 64 && offsetof(CellReport, displacementX) == 72);
static_assert(offsetof(CellReport, displacementY) == 80 && offsetof(CellReport, gain) == 88);
static_assert(offsetof(CellReport, offset) == 96 && offsetof(CellReport, resemblance) == 104);
static_assert(offsetof(CellReport, width) == 112 && offsetof(CellReport, height) == 116);
static_assert(offsetof(CellReport, mean) == 120 && offsetof(CellReport, difference) == 144);
static_assert(offsetof(CellReport, text) == 168);

static_assert(sizeof(LotPlace) == 80 && offsetof(LotPlace, box) == 8 && offsetof(LotPlace, images) == 24);
static_assert(offsetof(LotPlace, defects) == 32 && offsetof(LotPlace, cells) == 40 &&
              offsetof(LotPlace, expected) == 48);
static_assert(offsetof(LotPlace, probability) == 56 && offsetof(LotPlace, first) == 64 &&
              offsetof(LotPlace, last) == 72);
static_assert(sizeof(LotTest) == 96 && offsetof(LotTest, windows) == 32 && offsetof(LotTest, found) == 40);
static_assert(offsetof(LotTest, places) == 48 && offsetof(LotTest, notes) == 72);
static_assert(sizeof(LotAlarm) == 48 && offsetof(LotAlarm, rule) == 8 && offsetof(LotAlarm, above) == 12);
static_assert(offsetof(LotAlarm, text) == 16);
static_assert(sizeof(LotChart) == 240 && offsetof(LotChart, unit) == 32 && offsetof(LotChart, imagesAPoint) == 64);
static_assert(offsetof(LotChart, first) == 72 && offsetof(LotChart, points) == 96 && offsetof(LotChart, scores) == 120);
static_assert(offsetof(LotChart, center) == 144 && offsetof(LotChart, deviation) == 152);
static_assert(offsetof(LotChart, dispersion) == 160 && offsetof(LotChart, alarms) == 168);
static_assert(offsetof(LotChart, alarmsByChance) == 192 && offsetof(LotChart, change) == 200);
static_assert(offsetof(LotChart, before) == 208 && offsetof(LotChart, after) == 216);
static_assert(offsetof(LotChart, probability) == 224 && offsetof(LotChart, changes) == 232 &&
              offsetof(LotChart, counts) == 233);
static_assert(sizeof(LotRegion) == 88 && offsetof(LotRegion, box) == 32 && offsetof(LotRegion, area) == 48);
static_assert(offsetof(LotRegion, noCell) == 56);
static_assert(sizeof(LotReport) == 240 && offsetof(LotReport, runs) == 32 && offsetof(LotReport, recipe) == 56);
static_assert(offsetof(LotReport, regions) == 88 && offsetof(LotReport, images) == 112);
static_assert(offsetof(LotReport, refused) == 136 && offsetof(LotReport, comparable) == 144);
static_assert(offsetof(LotReport, defects) == 152 && offsetof(LotReport, tests) == 160);
static_assert(offsetof(LotReport, charts) == 184 && offsetof(LotReport, text) == 208);

static_assert(sizeof(ListedDefect) == 56 && offsetof(ListedDefect, area) == 16 && offsetof(ListedDefect, kind) == 24);
static_assert(sizeof(DefectList) == 64 && offsetof(DefectList, width) == 32 && offsetof(DefectList, height) == 36);
static_assert(offsetof(DefectList, defects) == 40);
static_assert(sizeof(KlarfHead) == 304 && offsetof(KlarfHead, model) == 32 && offsetof(KlarfHead, stationId) == 64);
static_assert(offsetof(KlarfHead, lot) == 96 && offsetof(KlarfHead, device) == 128 &&
              offsetof(KlarfHead, setup) == 160);
static_assert(offsetof(KlarfHead, step) == 192 && offsetof(KlarfHead, wafer) == 224 &&
              offsetof(KlarfHead, slot) == 256);
static_assert(offsetof(KlarfHead, time) == 264 && offsetof(KlarfHead, pixelSize) == 296);
static_assert(sizeof(KlarfContent) == 336 && offsetof(KlarfContent, head) == 8 &&
              offsetof(KlarfContent, images) == 312);
static_assert(sizeof(ExchangeFile) == 72 && offsetof(ExchangeFile, text) == 40);
static_assert(sizeof(ExchangeFiles) == 64 && offsetof(ExchangeFiles, files) == 40);

static_assert(sizeof(LabelledImage) == 216 && offsetof(LabelledImage, file) == 32);
static_assert(offsetof(LabelledImage, reference) == 72 && offsetof(LabelledImage, mask) == 112);
static_assert(offsetof(LabelledImage, boxes) == 152 && offsetof(LabelledImage, defective) == 176);
static_assert(offsetof(LabelledImage, kind) == 184);
static_assert(sizeof(EvaluationSet) == 56 && offsetof(EvaluationSet, images) == 32);
static_assert(sizeof(narvo::TrueBox) == 48 && offsetof(narvo::TrueBox, box) == 32);
static_assert(sizeof(narvo::ScoreMap) == 16 && offsetof(narvo::ScoreMap, width) == 8);
static_assert(offsetof(narvo::ScoreMap, height) == 12);
static_assert(sizeof(EvaluationFigure) == 32 && offsetof(EvaluationFigure, low) == 16);
static_assert(offsetof(EvaluationFigure, high) == 24);
static_assert(sizeof(EvaluationPoint) == 16 && offsetof(EvaluationPoint, y) == 8);
static_assert(sizeof(EvaluationFactor) == 32 && offsetof(EvaluationFactor, found) == 8);
static_assert(offsetof(EvaluationFactor, falseAnImage) == 24);
static_assert(sizeof(EvaluationKind) == 48 && offsetof(EvaluationKind, defects) == 32);
static_assert(offsetof(EvaluationKind, found) == 40);
static_assert(sizeof(EvaluatedImage) == 96 && offsetof(EvaluatedImage, defective) == 32);
static_assert(offsetof(EvaluatedImage, score) == 40 && offsetof(EvaluatedImage, defects) == 48);
static_assert(offsetof(EvaluatedImage, found) == 56 && offsetof(EvaluatedImage, falseBlobs) == 64);
static_assert(offsetof(EvaluatedImage, problems) == 72);
static_assert(sizeof(EvaluationReport) == 384 && offsetof(EvaluationReport, pixelAuroc) == 32);
static_assert(offsetof(EvaluationReport, regionOverlap) == 64 && offsetof(EvaluationReport, imageF1) == 96);
static_assert(offsetof(EvaluationReport, found) == 128 && offsetof(EvaluationReport, falseAnImage) == 160);
static_assert(offsetof(EvaluationReport, bestImageF1) == 192 && offsetof(EvaluationReport, bestPixelF1) == 208);
static_assert(offsetof(EvaluationReport, kinds) == 224 && offsetof(EvaluationReport, imageCurve) == 248);
static_assert(offsetof(EvaluationReport, overlapCurve) == 272 && offsetof(EvaluationReport, factors) == 296);
static_assert(offsetof(EvaluationReport, images) == 320 && offsetof(EvaluationReport, refused) == 344);
static_assert(offsetof(EvaluationReport, text) == 352);
