// One call of a zone kernel as a test sets it up, what the call leaves behind, and the ways to run it: the plain
// reference, the library's kernel by name, and the library's kernel through the common call record.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "narvoassem/convparam.h"
#include "narvoassem/defectpair.h"
#include "narvoassem/fast/kernel_call.h"

namespace narvo::test
{

/// A hit that is in the arrays before the kernel starts.
struct CHit
{
    int x = 0;
    int y = 0;
    short nType = 0;
    short nPeak = 0;
    int nSrcGray = 0;
    int nCmpGray = 0;
    int nZoneIndex = 0;
    int nThreshold = 0;
};

/// The inputs of a call. Pointers of the call refer to memory of the test; its outputs are not set.
struct CZoneScene
{
    ZoneKernel eKernel = ZoneKernel::Vert;
    CZoneCall call;
    CConvParam param;             ///< read by the members only
    std::vector<CHit> aHits;      ///< hits at the start: nPixelCount is their number
    bool bDoublePitch = false;    ///< class-id kernel: the overload with the pitch in pixels
    double dPitchRemainder = 0.0; ///< of 1/16 pixel, lost in the conversion of that overload

    std::string Describe() const;
};

/// What a call leaves behind. Everything is set to a pattern first, so that an untouched entry shows.
class CZoneOutcome
{
public:
    int nReturned = 0;
    int nEndLine = 0;
    std::vector<int> aX, aY, aSrcGray, aCmpGray, aZoneIndex, aThreshold;
    std::vector<short> aType, aPeak;
    std::vector<CDefectPair> aPairs;

    /// Sizes the arrays to what the scene's capacities promise, sets the pattern and the hits at the start.
    void Prepare(const CZoneScene& scene);
    /// The scene's call with this outcome's arrays.
    CZoneCall CallOf(const CZoneScene& scene);
    /// The first place where the two differ, in words; empty when nothing does.
    std::string DifferenceFrom(const CZoneOutcome& other) const;
};

constexpr int nPattern = 0x5A5A5A5A;
constexpr short nShortPattern = 0x5A5A;

const char* KernelName(ZoneKernel eKernel);
bool IsHorizontal(ZoneKernel eKernel);
bool IsMember(ZoneKernel eKernel);
bool HasPeaks(ZoneKernel eKernel);
/// All kernels of the family.
const std::vector<ZoneKernel>& AllZoneKernels();

void RunReference(const CZoneScene& scene, CZoneOutcome& outcome);
/// Through the public function or member of that name; the image's height is not known to it.
void RunPublic(const CZoneScene& scene, CZoneOutcome& outcome);
/// Through the common call record, with the scene's image height as given.
void RunThroughCall(const CZoneScene& scene, CZoneOutcome& outcome);

} // namespace narvo::test
