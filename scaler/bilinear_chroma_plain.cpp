#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/bilinear_pairs.h"

namespace vantor {

const ChromaKernels kChromaPlain = {InstructionSet::Plain, filterPairs<5, 0>, blendPairs<5, 0>};

}  // namespace vantor
