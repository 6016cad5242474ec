// The lanes of WebAssembly's 128-bit vectors. For the files that are compiled for these alone.
#pragma once

#include <wasm_simd128.h>

#include <cstdint>

namespace vantor {
namespace {

struct WasmLanes {
    using Vector = v128_t;
    static constexpr int kBytes = 16;
    static constexpr int kLanes16 = 8;
    static constexpr int kLanes32 = 4;

    static Vector load(const void* from) { return wasm_v128_load(from); }
    static void store(void* to, Vector bytes) { wasm_v128_store(to, bytes); }

    static Vector broadcast16(int value) { return wasm_i16x8_splat(static_cast<int16_t>(value)); }
    static Vector add16(Vector a, Vector b) { return wasm_i16x8_add(a, b); }
    static Vector subtract16(Vector a, Vector b) { return wasm_i16x8_sub(a, b); }
    static Vector subtractSaturated16(Vector a, Vector b) { return wasm_i16x8_sub_sat(a, b); }
    static Vector min16(Vector a, Vector b) { return wasm_i16x8_min(a, b); }
    static Vector max16(Vector a, Vector b) { return wasm_i16x8_max(a, b); }
    /// Lanes of ones where a <= b, unsigned
    static Vector isAtMost16(Vector a, Vector b) { return wasm_u16x8_le(a, b); }
    static Vector multiply16(Vector a, Vector b) { return wasm_i16x8_mul(a, b); }
    static Vector multiplyHigh16(Vector a, Vector b) {
        return highHalves(wasm_i32x4_extmul_low_i16x8(a, b), wasm_i32x4_extmul_high_i16x8(a, b));
    }
    static Vector multiplyHighUnsigned16(Vector a, Vector b) {
        return highHalves(wasm_u32x4_extmul_low_u16x8(a, b), wasm_u32x4_extmul_high_u16x8(a, b));
    }
    /// (a + b + 1) >> 1, unsigned
    static Vector average16(Vector a, Vector b) { return wasm_u16x8_avgr(a, b); }
    /// (a x b + 16384) >> 15
    static Vector multiplyRounded16(Vector a, Vector b) { return wasm_i16x8_q15mulr_sat(a, b); }
    template <int Bits>
    static Vector shiftLeft16(Vector a) {
        return wasm_i16x8_shl(a, Bits);
    }
    template <int Bits>
    static Vector shiftRight16(Vector a) {
        return wasm_u16x8_shr(a, Bits);
    }

    template <int Bits>
    static Vector shiftRightSigned16(Vector a) {
        return wasm_i16x8_shr(a, Bits);
    }

    /// In each 16-bit lane the sum of two products of unsigned bytes and signed weights.
    static Vector multiplyAdd8(Vector bytes, Vector weights) {
        return add16(
            multiply16(bitAnd(bytes, broadcast16(255)), shiftRightSigned16<8>(shiftLeft16<8>(weights))),
            multiply16(shiftRight16<8>(bytes), shiftRightSigned16<8>(weights)));
    }

    /// In each 32-bit lane the sum of the products of four unsigned bytes and signed weights, and of four
    /// more, where any two neighbours' and two more fit 16 bits.
    static Vector sumProducts8(Vector a, Vector weightsA, Vector b, Vector weightsB) {
        return wasm_i32x4_extadd_pairwise_i16x8(add16(multiplyAdd8(a, weightsA), multiplyAdd8(b, weightsB)));
    }

    /// In each 32-bit lane the sum of two products of signed 16-bit lanes.
    static Vector multiplyAdd16(Vector a, Vector b) { return wasm_i32x4_dot_i16x8(a, b); }
    static Vector addProducts16(Vector sum, Vector a, Vector b) { return add32(sum, multiplyAdd16(a, b)); }
    static Vector broadcast32(int value) { return wasm_i32x4_splat(value); }
    /// 0, 1, 2, ...
    static Vector iota32() { return wasm_i32x4_make(0, 1, 2, 3); }
    static Vector add32(Vector a, Vector b) { return wasm_i32x4_add(a, b); }
    static Vector subtract32(Vector a, Vector b) { return wasm_i32x4_sub(a, b); }
    static Vector multiply32(Vector a, Vector b) { return wasm_i32x4_mul(a, b); }
    static Vector min32(Vector a, Vector b) { return wasm_i32x4_min(a, b); }
    static Vector max32(Vector a, Vector b) { return wasm_i32x4_max(a, b); }
    static Vector abs32(Vector a) { return wasm_i32x4_abs(a); }
    static int32_t largest32(Vector a) {
        a = wasm_i32x4_max(a, wasm_i32x4_shuffle(a, a, 2, 3, 0, 1));
        return wasm_i32x4_extract_lane(wasm_i32x4_max(a, wasm_i32x4_shuffle(a, a, 1, 0, 3, 2)), 0);
    }
    /// Lanes of ones where a <= b, unsigned
    static Vector isAtMost32(Vector a, Vector b) { return wasm_u32x4_le(a, b); }
    template <int Bits>
    static Vector shiftLeft32(Vector a) {
        return wasm_i32x4_shl(a, Bits);
    }
    template <int Bits>
    static Vector shiftRightSigned32(Vector a) {
        return wasm_i32x4_shr(a, Bits);
    }

    /// A third of each lane, towards zero, of magnitudes below 2^23.
    static Vector third32(Vector a) {
        return wasm_i32x4_trunc_sat_f32x4(
            wasm_f32x4_mul(wasm_f32x4_convert_i32x4(a), wasm_f32x4_splat(1 / 3.0F)));
    }

    /// Sixteen-bit lanes, sign-extended: as many from memory as fill a vector, or one half of a vector's.
    static Vector loadWidened16(const void* from) { return wasm_i32x4_load16x4(from); }
    static Vector widenLow16(Vector a) { return wasm_i32x4_extend_low_i16x8(a); }
    static Vector widenHigh16(Vector a) { return wasm_i32x4_extend_high_i16x8(a); }

    /// Each lane by as many bits as `counts` says.
    static Vector shiftRightBy32(Vector a, Vector counts) {
        const auto lane = [](int32_t value, int32_t count) {
            return static_cast<int32_t>(static_cast<uint32_t>(value) >> count);
        };
        return wasm_i32x4_make(lane(wasm_i32x4_extract_lane(a, 0), wasm_i32x4_extract_lane(counts, 0)),
                               lane(wasm_i32x4_extract_lane(a, 1), wasm_i32x4_extract_lane(counts, 1)),
                               lane(wasm_i32x4_extract_lane(a, 2), wasm_i32x4_extract_lane(counts, 2)),
                               lane(wasm_i32x4_extract_lane(a, 3), wasm_i32x4_extract_lane(counts, 3)));
    }
    /// 32-bit lanes from these bytes on.
    static Vector gather32(const uint8_t* from, Vector offsets) {
        Vector lanes = wasm_v128_load32_zero(from + wasm_i32x4_extract_lane(offsets, 0));
        lanes = wasm_v128_load32_lane(from + wasm_i32x4_extract_lane(offsets, 1), lanes, 1);
        lanes = wasm_v128_load32_lane(from + wasm_i32x4_extract_lane(offsets, 2), lanes, 2);
        return wasm_v128_load32_lane(from + wasm_i32x4_extract_lane(offsets, 3), lanes, 3);
    }
    /// The even ones of two vectors of 32-bit lanes.
    static Vector evenLanes32(Vector a, Vector b) { return wasm_i32x4_shuffle(a, b, 0, 2, 4, 6); }

    /// a[0], b[0], a[2], b[2], ...
    static Vector interleaveEven16(Vector a, Vector b) {
        return wasm_i16x8_shuffle(a, shiftLeft32<16>(b), 0, 9, 2, 11, 4, 13, 6, 15);
    }

    /// The same sixteen bytes in every 128 bits.
    static Vector repeat128(int64_t low, int64_t high) { return wasm_i64x2_make(low, high); }
    /// The bytes at these indexes.
    static Vector shuffle8(Vector a, Vector indexes) { return wasm_i8x16_swizzle(a, indexes); }
    /// The bytes at these indexes: the lower half of them in a, the upper in b.
    static Vector shuffleHalves8(Vector a, Vector b, Vector indexes) {
        return wasm_i64x2_shuffle(shuffle8(a, indexes), shuffle8(b, indexes), 0, 3);
    }

    /// The lower bytes of 16-bit lanes: a[0], b[0], a[1], b[1], ...
    static Vector mergeLowBytes(Vector a, Vector b) {
        return bitOr(bitAnd(a, broadcast16(255)), shiftLeft16<8>(b));
    }

    /// Of bytes.
    static Vector add8(Vector a, Vector b) { return wasm_i8x16_add(a, b); }
    /// Of unsigned bytes.
    static Vector min8(Vector a, Vector b) { return wasm_u8x16_min(a, b); }
    static Vector max8(Vector a, Vector b) { return wasm_u8x16_max(a, b); }

    static Vector bitAnd(Vector a, Vector b) { return wasm_v128_and(a, b); }
    static Vector bitNot(Vector a) { return wasm_v128_not(a); }
    static Vector bitOr(Vector a, Vector b) { return wasm_v128_or(a, b); }
    /// Of lanes of ones or zeros.
    static bool areAllSet(Vector mask) { return wasm_i8x16_bitmask(mask) == 0xFFFF; }
    static bool isAnySet(Vector mask) { return wasm_v128_any_true(mask); }
    static Vector select(Vector mask, Vector whereSet, Vector elsewhere) {
        return wasm_v128_bitselect(whereSet, elsewhere, mask);
    }

    /// Packing saturates, 16-bit lanes to unsigned bytes, 32-bit lanes to 16-bit ones.
    static Vector interleaveLow8(Vector a, Vector b) {
        return wasm_i8x16_shuffle(a, b, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    }
    static Vector interleaveHigh8(Vector a, Vector b) {
        return wasm_i8x16_shuffle(a, b, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
    }
    static Vector interleaveLow16(Vector a, Vector b) {
        return wasm_i16x8_shuffle(a, b, 0, 8, 1, 9, 2, 10, 3, 11);
    }
    static Vector interleaveHigh16(Vector a, Vector b) {
        return wasm_i16x8_shuffle(a, b, 4, 12, 5, 13, 6, 14, 7, 15);
    }
    static Vector pack16(Vector low, Vector high) { return wasm_u8x16_narrow_i16x8(low, high); }
    static Vector pack32(Vector low, Vector high) { return wasm_i16x8_narrow_i32x4(low, high); }
    static Vector packUnsigned32(Vector low, Vector high) { return wasm_u16x8_narrow_i32x4(low, high); }

    /// Saturated: 16-bit lanes as bytes; 32-bit lanes as two bytes each.
    static void storePacked16(uint8_t* to, Vector a) { wasm_v128_store64_lane(to, pack16(a, a), 0); }
    static void storePacked32(uint8_t* to, Vector a) { wasm_v128_store64_lane(to, packUnsigned32(a, a), 0); }

private:
    static Vector highHalves(Vector low, Vector high) {
        return wasm_i16x8_shuffle(low, high, 1, 3, 5, 7, 9, 11, 13, 15);
    }
};

}  // namespace
}  // namespace vantor
