// For files whose results depend on how floats are rounded: each sum and product to its own type.
#pragma once

#include <float.h>

static_assert(FLT_EVAL_METHOD == 0,
              "x87 arithmetic would change the results: compile with SSE2 (-msse2 -mfpmath=sse)");
