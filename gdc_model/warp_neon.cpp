#include "gdc_model/warp_kernels.h"
