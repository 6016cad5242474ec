// WebAssembly's vectors on CPUs, so that their kernels run natively and under the sanitizers.
#pragma once

#define SIMDE_ENABLE_NATIVE_ALIASES
#include <simde/wasm/simd128.h>

template <typename Lanes, int... indexes>
v128_t emulatedShuffle(v128_t a, v128_t b) {
    return (v128_t)__builtin_shufflevector((Lanes)a, (Lanes)b, indexes...);
}
using EmulatedLanes8 = int8_t __attribute__((vector_size(16)));
using EmulatedLanes16 = int16_t __attribute__((vector_size(16)));
using EmulatedLanes32 = int32_t __attribute__((vector_size(16)));
using EmulatedLanes64 = int64_t __attribute__((vector_size(16)));
#define wasm_i8x16_shuffle(a, b, ...) emulatedShuffle<EmulatedLanes8, __VA_ARGS__>(a, b)
#define wasm_i16x8_shuffle(a, b, ...) emulatedShuffle<EmulatedLanes16, __VA_ARGS__>(a, b)
#define wasm_i32x4_shuffle(a, b, ...) emulatedShuffle<EmulatedLanes32, __VA_ARGS__>(a, b)
#define wasm_i64x2_shuffle(a, b, ...) emulatedShuffle<EmulatedLanes64, __VA_ARGS__>(a, b)
