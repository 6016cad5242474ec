#if defined(__x86_64__)

#include "scaler/interp4_x86.h"
#include "scaler/vectors_avx2.h"

namespace vantor {

const FourTapKernels kFourTapAvx2 = {InstructionSet::Avx2, FourTap<Avx2>::plan, FourTap<Avx2>::filterRow,
                                     FourTap<Avx2>::blendRows, FourTap<Avx2>::roundRow};

}  // namespace vantor

#endif
