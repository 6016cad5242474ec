#if defined(__x86_64__)

#include "scaler/bicubic_luma_lanes.h"
#include "scaler/vectors_avx2.h"

namespace vantor {

const BicubicLumaKernels kBicubicLumaAvx2 = {InstructionSet::Avx2, BicubicLuma<Avx2>::plan,
                                             BicubicLuma<Avx2>::filterRow, BicubicLuma<Avx2>::blendRows};

}  // namespace vantor

#endif
