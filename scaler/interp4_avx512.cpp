#if defined(__x86_64__)

#include "scaler/interp4_lanes.h"
#include "scaler/vectors_avx512.h"

namespace vantor {

const Interp4Kernels kInterp4Avx512 = {InstructionSet::Avx512, Interp4<Avx512>::plan,
                                       Interp4<Avx512>::filterRow, Interp4<Avx512>::blendRows,
                                       Interp4<Avx512>::roundRow};

}  // namespace vantor

#endif
