// One function per library. CMake compiles those whose library it finds.
#pragma once

#include "bench/contender.h"

namespace vantor::bench {

Contender libyuvContender();
Contender swscaleContender();
Contender zimgContender();
Contender opencvContender();

}  // namespace vantor::bench
