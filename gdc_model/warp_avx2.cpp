#include "gdc_model/warp_kernels.h"

#if defined(__x86_64__)

#include "gdc_model/warp_masks.h"
#include "processor/lanes_avx2.h"

namespace vantor {
namespace {

using V = Avx2Lanes;

}  // namespace

const WarpKernels kWarpAvx2 = {InstructionSet::Avx2, nodes<V>, positions<V>,
                               rowPositions<V>,      luma<V>,  chroma<V>};

}  // namespace vantor

#endif
