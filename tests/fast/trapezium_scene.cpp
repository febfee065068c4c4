// SPDX-License-Identifier: MIT
// See trapezium_scene.h.
#include "fast/trapezium_scene.h"

#include <sstream>

namespace narvo::test
{

namespace
{

void DescribeCommon(std::ostream& out, const engine::CTrapeziumCall& call, std::size_t nStartHits)
{
    out << " stride " << call.image.nStride << " pitch16 " << call.nPitch16 << " table "
        << (call.pPitchTable != nullptr) << " hits " << nStartHits << '/' << call.hits.nSize << " pairs "
        << call.pairs.nCount << '/' << call.pairs.nSize << " keep " << call.bKeepSingle << " threshold "
        << call.nThreshold16 << " limit " << call.nGrayLimit;
}

template <typename TCall>
TCall Prepared(const CTrapeziumScene<TCall>& scene, CKernelOutcome& outcome)
{
    const auto nStart = static_cast<std::int64_t>(scene.aStartHits.size());
    outcome.Prepare(scene.call.hits.nSize, scene.aStartHits, scene.call.pairs.nCount, scene.call.pairs.nSize);
    TCall call = scene.call;
    call.hits = outcome.HitArrays(scene.call.hits.nSize, nStart);
    call.pairs = outcome.PairSink(scene.call.pairs.nCount, scene.call.pairs.nSize);
    return call;
}

} // namespace

template <>
std::string CTrapeziumHoriScene::Describe() const
{
    std::ostringstream out;
    out << "ConvTrapeziumHori rows " << call.nTop << " to " << call.nBottom << " left " << call.nLeftTop << " to "
        << call.nLeftBottom << " right " << call.nRightTop << " to " << call.nRightBottom << " round "
        << call.nPitchRound;
    DescribeCommon(out, call, aStartHits.size());
    return out.str();
}

template <>
std::string CTrapeziumVertScene::Describe() const
{
    std::ostringstream out;
    out << "ConvTrapeziumVert columns " << call.nLeft << " to " << call.nRight << " top " << call.nTopLeft << " to "
        << call.nTopRight << " bottom " << call.nBottomLeft << " to " << call.nBottomRight << " conv pitch16 "
        << call.nConvPitch16;
    DescribeCommon(out, call, aStartHits.size());
    return out.str();
}

engine::CTrapeziumHoriCall CallOf(const CTrapeziumHoriScene& scene, CKernelOutcome& outcome)
{
    return Prepared(scene, outcome);
}

engine::CTrapeziumVertCall CallOf(const CTrapeziumVertScene& scene, CKernelOutcome& outcome)
{
    return Prepared(scene, outcome);
}

void RunReference(const CTrapeziumHoriScene& scene, CKernelOutcome& outcome)
{
    const engine::CTrapeziumHoriCall call = CallOf(scene, outcome);
    outcome.nReturned = reference::RunTrapeziumHori(call);
}

void RunReference(const CTrapeziumVertScene& scene, CKernelOutcome& outcome)
{
    const engine::CTrapeziumVertCall call = CallOf(scene, outcome);
    outcome.nReturned = reference::RunTrapeziumVert(call);
}

} // namespace narvo::test
