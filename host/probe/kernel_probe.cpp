// SPDX-License-Identifier: MIT
// The choice of a probe by the kernel that a block selects.
#include "host/probe/kernel_probe.h"

#include "host/probe/probe_backend.h"
#include "host/problem.h"
#include "narvoassem/compare/trace.h"

namespace narvo
{

namespace
{

BackendPointer MakeBackend(const CConvParam& param, bool asg, std::string& name)
{
    switch (engine::ChooseComparison(param, asg))
    {
    case engine::Comparison::Zone:
    case engine::Comparison::AsgZone:
        return MakeZoneBackend(param, asg, name);
    case engine::Comparison::Pixel:
        return MakePixelBackend(param, name);
    case engine::Comparison::Float:
        return MakeFloatBackend(param, name);
    default:
        return nullptr;
    }
}

} // namespace

KernelProbe::KernelProbe(const CConvParam& param, bool asg)
    : m_backend(MakeBackend(param, asg, m_name)), m_horizontal(param.nDirection != 1)
{
    if (m_backend == nullptr)
        throw HostError({{"mode", "compares nothing at a pitch", "zone, pixel, float over a rectangle, or asg"}});
}

KernelProbe::~KernelProbe() = default;

int KernelProbe::Units() const
{
    return m_backend->Units();
}

int KernelProbe::Hop() const
{
    return static_cast<int>(m_backend->Bands().nHop);
}

int KernelProbe::FirstBandEnd() const
{
    return static_cast<int>(m_backend->Bands().nFirstEnd);
}

int KernelProbe::LastBandStart() const
{
    return static_cast<int>(m_backend->Bands().nLastStart);
}

bool KernelProbe::Covers(int x, int y) const
{
    return m_backend->Covers(x, y);
}

ProbedPixel KernelProbe::Compare(int x, int y) const
{
    return m_backend->Compare(x, y, true);
}

ProbedPixel KernelProbe::CompareValues(int x, int y) const
{
    return m_backend->Compare(x, y, false);
}

ProbedChain KernelProbe::Pair(int x, int y) const
{
    return m_backend->Pair(x, y);
}

} // namespace narvo
