// Generated headers include this one for the handles alone.
#pragma once

#include <cutils/native_handle.h>
