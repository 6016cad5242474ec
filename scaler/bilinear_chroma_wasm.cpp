#if defined(__wasm_simd128__)

#include "scaler/bilinear_chroma_lanes.h"
#include "scaler/vectors_wasm.h"

namespace vantor {

const BilinearChromaKernels kBilinearChromaTruncatedWasm = {
    InstructionSet::Wasm, BilinearChroma<Wasm, 5>::plan, BilinearChroma<Wasm, 5>::filterRow,
    BilinearChroma<Wasm, 5>::blendRows};

const BilinearChromaKernels kBilinearChromaRoundedWasm = {InstructionSet::Wasm, BilinearChroma<Wasm, 6>::plan,
                                                          BilinearChroma<Wasm, 6>::filterRow,
                                                          BilinearChroma<Wasm, 6>::blendRows};

}  // namespace vantor

#endif
