#if defined(__wasm_simd128__)

#include "scaler/interp4_lanes.h"
#include "scaler/vectors_wasm.h"

namespace vantor {

const Interp4Kernels kInterp4Wasm = {InstructionSet::Wasm, Interp4<Wasm>::plan, Interp4<Wasm>::filterRow,
                                     Interp4<Wasm>::blendRows, Interp4<Wasm>::roundRow};

}  // namespace vantor

#endif
