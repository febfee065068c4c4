// SPDX-License-Identifier: MIT
/// @file
/// The codes that inspection calls return.
#pragma once

/// The result of an inspection call.
enum InspectCode : int
{
    InspectCode_Done = 1,           ///< inspected
    InspectCode_BadParameter = 8,   ///< refused: bad lane index or parameter
    InspectCode_Partial = 16,       ///< inspected, with a warning about coverage: re-runs were started or could not be,
                                    ///< more pairs exist than fit, or memory for the search ran out
    InspectCode_RegionTooSmall = 64 ///< refused by the pool: fewer than three pitches, or than a window
};
