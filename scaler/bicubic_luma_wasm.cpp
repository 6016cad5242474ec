#if defined(__wasm_simd128__)

#include "scaler/bicubic_luma_lanes.h"
#include "scaler/vectors_wasm.h"

namespace vantor {

const BicubicLumaKernels kBicubicLumaWasm = {InstructionSet::Wasm, BicubicLuma<Wasm>::plan,
                                             BicubicLuma<Wasm>::filterRow, BicubicLuma<Wasm>::blendRows};

}  // namespace vantor

#endif
