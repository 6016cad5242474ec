#if defined(__x86_64__)

#include "scaler/bilinear_chroma_x86.h"
#include "scaler/vectors_avx512.h"

namespace vantor {

const PairKernels kCutPairsAvx512 = {InstructionSet::Avx512, BilinearPairs<Avx512, 5>::plan,
                                     BilinearPairs<Avx512, 5>::filterRow,
                                     BilinearPairs<Avx512, 5>::blendRows};

const PairKernels kRoundedPairsAvx512 = {InstructionSet::Avx512, BilinearPairs<Avx512, 6>::plan,
                                         BilinearPairs<Avx512, 6>::filterRow,
                                         BilinearPairs<Avx512, 6>::blendRows};

}  // namespace vantor

#endif
