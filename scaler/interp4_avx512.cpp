#if defined(__x86_64__)

#include "scaler/interp4_x86.h"
#include "scaler/vectors_avx512.h"

namespace vantor {

const FourTapKernels kFourTapAvx512 = {InstructionSet::Avx512, FourTap<Avx512>::plan,
                                       FourTap<Avx512>::filterRow, FourTap<Avx512>::blendRows,
                                       FourTap<Avx512>::roundRow};

}  // namespace vantor

#endif
