// SPDX-License-Identifier: MIT
/// @file
/// The pool of engines, one per inspection lane, and the small private pool of the band split.
#pragma once

#include "narvoassem/convparam.h"
#include "narvoassem/export.h"
#include "narvoassem/inspectcode.h"

class CNarvoAssem;

/// The entry point: owns one engine per lane, checks each call and passes it on. Calls for different lanes may run
/// on different threads at once; two calls on one lane, and InitAssemControl with any inspection, must not overlap.
///
/// Fork: a child may inspect on its parent's pools, except on lanes that another thread was using at the fork. Bands
/// run one after the other in a child, since it has none of the parent's threads; results are the same.
class NARVO_API CAssemControl
{
public:
    int nAssemCount;     ///< lanes in use
    int nAssemCapacity;  ///< engines allocated
    CNarvoAssem* pAssem; ///< the engines, owned

    /// No lanes.
    CAssemControl();
    /// Copies share the array: only one of two copies may be destroyed.
    CAssemControl(const CAssemControl& other) = default;
    /// As the copy: shares the array, frees nothing.
    CAssemControl& operator=(const CAssemControl& other) = default;
    /// Frees the engines.
    virtual ~CAssemControl();

    /// Makes nCount lanes, each with stores for nDefectSize blobs (and at least 160000 hits and pairs) and four
    /// sub-engines. Sub-engines keep the size of their first creation. @return nAssemCount; 0 without memory.
    int InitAssemControl(int nCount, int nDefectSize);
    /// The engine of a lane; null below 0 or above nAssemCount. The index nAssemCount itself gives the address one
    /// past the lanes in use: not to be used as an engine.
    CNarvoAssem* GetNarvoAssem(int nIndex);
    /// Resets the re-run counter of every allocated engine. To be called per image, between inspections.
    void ResetReinspectCount();

    /// Inspects a rectangle on a lane. Writes to *pParam: nDirection when it swaps the direction (bAutoDirection), and
    /// the signs of nThreshold and nBlackFilterGray in average mode.
    /// @return 1 done; 8 bad index or parameter; 16 done, with re-runs, more pairs than fit or memory short; 64 region
    /// too small
    int Inspect_Rect(int nIndex, CConvParam* pParam, int bASG);
    /// Inspects a trapezium. @return 8 for a bad index; otherwise as CNarvoAssem::Inspect_Trapezium
    int Inspect_Trapezium(int nIndex, CConvParam* pParam);
    /// The ASG comparison. @return 8 for a bad index; otherwise as CNarvoAssem::Inspect_ASG
    int Inspect_ASG(int nIndex, CConvParam* pParam);
};

/// Sub-engines of one engine's band split.
class NARVO_API CAssemThreadControl
{
public:
    int nAssemCount;     ///< sub-engines in use
    int nAssemCapacity;  ///< sub-engines allocated
    CNarvoAssem* pAssem; ///< owned

    /// No sub-engines.
    CAssemThreadControl();
    /// Copies share the array: only one of two copies may be destroyed.
    CAssemThreadControl(const CAssemThreadControl& other) = default;
    /// As the copy: shares the array, frees nothing.
    CAssemThreadControl& operator=(const CAssemThreadControl& other) = default;
    /// Frees the sub-engines.
    virtual ~CAssemThreadControl();

    /// @return 1, or 0 without memory. A count up to the capacity leaves the engines as they are.
    int Init(int nCount, int nDefectSize);
    /// Inspects one band on a sub-engine; moves the origin table of *pParam to the band's first column.
    /// @return 8 for a bad index or when no origin record lies right of the band's left side; otherwise as
    /// CNarvoAssem::Inspect_Rect
    int Inspect(int nIndex, CConvParam* pParam);
    /// The element; the index is not checked.
    CNarvoAssem* GetAssem(int nIndex);
    /// nAssemCount.
    int GetCount() const;
};
