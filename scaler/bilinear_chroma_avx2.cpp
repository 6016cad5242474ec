#if defined(__x86_64__)

#include "scaler/bilinear_chroma_x86.h"
#include "scaler/vectors_avx2.h"

namespace vantor {

const PairKernels kCutPairsAvx2 = {InstructionSet::Avx2, BilinearPairs<Avx2, 5>::plan,
                                   BilinearPairs<Avx2, 5>::filterRow, BilinearPairs<Avx2, 5>::blendRows};

const PairKernels kRoundedPairsAvx2 = {InstructionSet::Avx2, BilinearPairs<Avx2, 6>::plan,
                                       BilinearPairs<Avx2, 6>::filterRow, BilinearPairs<Avx2, 6>::blendRows};

}  // namespace vantor

#endif
