#if defined(__x86_64__)

#include "scaler/bilinear_chroma_lanes.h"
#include "scaler/vectors_avx512.h"

namespace vantor {

const BilinearChromaKernels kBilinearChromaTruncatedAvx512 = {
    InstructionSet::Avx512, BilinearChroma<Avx512, 5>::plan, BilinearChroma<Avx512, 5>::filterRow,
    BilinearChroma<Avx512, 5>::blendRows};

const BilinearChromaKernels kBilinearChromaRoundedAvx512 = {
    InstructionSet::Avx512, BilinearChroma<Avx512, 6>::plan, BilinearChroma<Avx512, 6>::filterRow,
    BilinearChroma<Avx512, 6>::blendRows};

}  // namespace vantor

#endif
