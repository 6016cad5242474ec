#include "gdc_model/warp_kernels.h"

#if defined(__wasm_simd128__)

#include "gdc_model/warp_masks.h"
#include "processor/lanes_wasm.h"

namespace vantor {
namespace {

using V = WasmLanes;

}  // namespace

const WarpKernels kWarpWasm = {InstructionSet::Wasm, nodes<V>, positions<V>,
                               rowPositions<V>,      luma<V>,  chroma<V>};

}  // namespace vantor

#endif
