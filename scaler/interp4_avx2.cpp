#if defined(__x86_64__)

#include "scaler/interp4_lanes.h"
#include "scaler/vectors_avx2.h"

namespace vantor {

const Interp4Kernels kInterp4Avx2 = {InstructionSet::Avx2, Interp4<Avx2>::plan, Interp4<Avx2>::filterRow,
                                     Interp4<Avx2>::blendRows, Interp4<Avx2>::roundRow};

}  // namespace vantor

#endif
