// SPDX-License-Identifier: MIT
// The columns of a blob, once for writing and reading: names and order of the result files.
#pragma once

namespace narvo
{

/// Calls `columns` with each column's name and member; Blob is const or not.
template <typename Blob, typename Columns>
void ForEachBlobColumn(Blob& blob, Columns& columns)
{
    columns.Number("number", blob.number);
    columns.Polarity("polarity", blob.bright);
    columns.Number("left", blob.box.left);
    columns.Number("top", blob.box.top);
    columns.Number("right", blob.box.right);
    columns.Number("bottom", blob.box.bottom);
    columns.Number("center_x", blob.center.x);
    columns.Number("center_y", blob.center.y);
    columns.Number("area", blob.area);
    columns.Number("peak", blob.peak);
    columns.Number("peak_x", blob.peakPlace.x);
    columns.Number("peak_y", blob.peakPlace.y);
    columns.Number("max_difference", blob.maxDifference);
    columns.Number("mean_difference", blob.meanDifference);
    columns.Number("mean_grey", blob.meanGrey);
    columns.Number("mean_reference", blob.meanReference);
    columns.Number("zone", blob.zone);
    columns.Number("band", blob.band);
    columns.Flag("single", blob.single);
    columns.Number("scale", blob.scale);
    columns.Channel("channel", blob.channel);
    columns.Number("label", blob.label);
    columns.Number("diameter", blob.diameter);
    columns.Real("angle", blob.angle);
    columns.Real("major_axis", blob.majorAxis);
    columns.Real("minor_axis", blob.minorAxis);
    columns.Real("circularity", blob.circularity);
    columns.Real("elongation", blob.elongation);
}

} // namespace narvo
