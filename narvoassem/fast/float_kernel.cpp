// The float kernels: one text, stamped out once for each row of the table.
#include "narvoassem/fast/float_rows.h"
#include "narvoassem/fast/float_strips.h"
#include "narvoassem/fast/float_table.h"
#include "narvoassem/fast/kernel_call.h"

namespace narvo
{

int RunFloatKernel(FloatKernel eKernel, const CFloatCall& call)
{
    return CallWithEntry<floatKernels.size()>(static_cast<std::size_t>(eKernel),
                                              [&](auto kernel)
                                              {
                                                  constexpr CFloatTraits kTraits = floatKernels[kernel].traits;
                                                  if constexpr (kTraits.bHorizontal)
                                                      return CFloatRows<kTraits>(call).Run();
                                                  else
                                                      return CFloatStrips<kTraits>(call).Run();
                                              });
}

} // namespace narvo
