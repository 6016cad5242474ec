#if defined(__x86_64__)

#include "scaler/bilinear_chroma_lanes.h"
#include "scaler/vectors_avx2.h"

namespace vantor {

const BilinearChromaKernels kBilinearChromaTruncatedAvx2 = {
    InstructionSet::Avx2, BilinearChroma<Avx2, 5>::plan, BilinearChroma<Avx2, 5>::filterRow,
    BilinearChroma<Avx2, 5>::blendRows};

const BilinearChromaKernels kBilinearChromaRoundedAvx2 = {InstructionSet::Avx2, BilinearChroma<Avx2, 6>::plan,
                                                          BilinearChroma<Avx2, 6>::filterRow,
                                                          BilinearChroma<Avx2, 6>::blendRows};

}  // namespace vantor

#endif
