#if defined(__x86_64__)

#include "scaler/bicubic_luma_lanes.h"
#include "scaler/vectors_avx512.h"

namespace vantor {

const BicubicLumaKernels kBicubicLumaAvx512 = {InstructionSet::Avx512, BicubicLuma<Avx512>::plan,
                                               BicubicLuma<Avx512>::filterRow,
                                               BicubicLuma<Avx512>::blendRows};

}  // namespace vantor

#endif
