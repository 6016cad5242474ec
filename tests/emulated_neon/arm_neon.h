// NEON on other CPUs, so that its kernels run natively and under the sanitizers.
#pragma once

#undef __ARM_NEON
#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/arm/neon.h>
#define __ARM_NEON 1
