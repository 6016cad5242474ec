// The lanes of 512-bit vectors. For the files that are compiled for AVX-512 alone.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace vantor {
namespace {

struct Avx512Lanes {
    using Vector = __m512i;
    static constexpr int kBytes = 64;
    static constexpr int kLanes16 = 32;
    static constexpr int kLanes32 = 16;

    static Vector load(const void* from) { return _mm512_loadu_si512(from); }
    static void store(void* to, Vector bytes) { _mm512_storeu_si512(to, bytes); }

    static Vector broadcast16(int value) { return _mm512_set1_epi16(static_cast<int16_t>(value)); }
    static Vector add16(Vector a, Vector b) { return _mm512_add_epi16(a, b); }
    static Vector subtract16(Vector a, Vector b) { return _mm512_sub_epi16(a, b); }
    static Vector min16(Vector a, Vector b) { return _mm512_min_epi16(a, b); }
    static Vector max16(Vector a, Vector b) { return _mm512_max_epi16(a, b); }
    static Vector multiply16(Vector a, Vector b) { return _mm512_mullo_epi16(a, b); }
    static Vector multiplyHigh16(Vector a, Vector b) { return _mm512_mulhi_epi16(a, b); }
    static Vector multiplyHighUnsigned16(Vector a, Vector b) { return _mm512_mulhi_epu16(a, b); }
    /// (a + b + 1) >> 1, unsigned
    static Vector average16(Vector a, Vector b) { return _mm512_avg_epu16(a, b); }
    /// (a x b + 16384) >> 15
    static Vector multiplyRounded16(Vector a, Vector b) { return _mm512_mulhrs_epi16(a, b); }
    template <int Bits>
    static Vector shiftLeft16(Vector a) {
        return _mm512_slli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector shiftRight16(Vector a) {
        return _mm512_srli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector shiftRightSigned16(Vector a) {
        return _mm512_srai_epi16(a, Bits);
    }

    /// In each 16-bit lane the sum of two products of unsigned bytes and signed weights.
    static Vector multiplyAdd8(Vector bytes, Vector weights) { return _mm512_maddubs_epi16(bytes, weights); }

    /// In each 32-bit lane the sum of the products of four unsigned bytes and signed weights, and of four
    /// more.
    static Vector sumProducts8(Vector a, Vector weightsA, Vector b, Vector weightsB) {
        return _mm512_dpbusd_epi32(_mm512_dpbusd_epi32(_mm512_setzero_si512(), a, weightsA), b, weightsB);
    }

    /// In each 32-bit lane the sum of two products of signed 16-bit lanes.
    static Vector multiplyAdd16(Vector a, Vector b) { return _mm512_madd_epi16(a, b); }
    static Vector addProducts16(Vector sum, Vector a, Vector b) { return _mm512_dpwssd_epi32(sum, a, b); }
    static Vector broadcast32(int value) { return _mm512_set1_epi32(value); }
    /// 0, 1, 2, ...
    static Vector iota32() { return _mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15); }
    static Vector add32(Vector a, Vector b) { return _mm512_add_epi32(a, b); }
    static Vector subtract32(Vector a, Vector b) { return _mm512_sub_epi32(a, b); }
    static Vector multiply32(Vector a, Vector b) { return _mm512_mullo_epi32(a, b); }
    static Vector min32(Vector a, Vector b) { return _mm512_min_epi32(a, b); }
    static Vector max32(Vector a, Vector b) { return _mm512_max_epi32(a, b); }
    static Vector abs32(Vector a) { return _mm512_abs_epi32(a); }
    static int32_t largest32(Vector a) {
        const __m256i half = _mm256_max_epi32(_mm512_castsi512_si256(a), _mm512_extracti64x4_epi64(a, 1));
        __m128i quarter = _mm_max_epi32(_mm256_castsi256_si128(half), _mm256_extracti128_si256(half, 1));
        quarter = _mm_max_epi32(quarter, _mm_unpackhi_epi64(quarter, quarter));
        return _mm_cvtsi128_si32(_mm_max_epi32(quarter, _mm_shuffle_epi32(quarter, 1)));
    }
    template <int Bits>
    static Vector shiftLeft32(Vector a) {
        return _mm512_slli_epi32(a, Bits);
    }
    template <int Bits>
    static Vector shiftRightSigned32(Vector a) {
        return _mm512_srai_epi32(a, Bits);
    }

    /// A third of each lane, towards zero, of magnitudes below 2^23.
    static Vector third32(Vector a) {
        return _mm512_cvttps_epi32(_mm512_mul_ps(_mm512_cvtepi32_ps(a), _mm512_set1_ps(1 / 3.0F)));
    }

    /// Sixteen-bit lanes, sign-extended: as many from memory as fill a vector, or one half of a vector's.
    static Vector loadWidened16(const void* from) {
        return _mm512_cvtepi16_epi32(_mm256_loadu_si256(static_cast<const __m256i*>(from)));
    }
    static Vector widenLow16(Vector a) { return _mm512_cvtepi16_epi32(_mm512_castsi512_si256(a)); }
    static Vector widenHigh16(Vector a) { return _mm512_cvtepi16_epi32(_mm512_extracti64x4_epi64(a, 1)); }

    /// Each lane by as many bits as `counts` says.
    static Vector shiftRightBy32(Vector a, Vector counts) { return _mm512_srlv_epi32(a, counts); }
    /// 32-bit lanes from these bytes on.
    static Vector gather32(const void* from, Vector offsets) {
        return _mm512_i32gather_epi32(offsets, from, 1);
    }

    /// a[0], b[0], a[2], b[2], ...
    static Vector interleaveEven16(Vector a, Vector b) {
        return _mm512_mask_blend_epi16(0xAAAAAAAA, a, shiftLeft32<16>(b));
    }

    /// The same sixteen bytes in every 128 bits.
    static Vector repeat128(int64_t low, int64_t high) {
        return _mm512_broadcast_i32x4(_mm_set_epi64x(high, low));
    }
    /// The bytes at these indexes, within 128 bits.
    static Vector shuffle8(Vector a, Vector indexes) { return _mm512_shuffle_epi8(a, indexes); }

    /// The bytes at these indexes, in every 128 bits: the lower half of them in a, the upper in b.
    static Vector shuffleHalves8(Vector a, Vector b, Vector indexes) {
        return _mm512_mask_shuffle_epi8(shuffle8(a, indexes), 0xFF00FF00FF00FF00, b, indexes);
    }
    /// The lower bytes of 16-bit lanes: a[0], b[0], a[1], b[1], ...
    static Vector mergeLowBytes(Vector a, Vector b) {
        return _mm512_mask_mov_epi8(a, 0xAAAAAAAAAAAAAAAA, shiftLeft16<8>(b));
    }

    /// Of bytes.
    static Vector add8(Vector a, Vector b) { return _mm512_add_epi8(a, b); }
    /// Of unsigned bytes.
    static Vector min8(Vector a, Vector b) { return _mm512_min_epu8(a, b); }
    static Vector max8(Vector a, Vector b) { return _mm512_max_epu8(a, b); }

    static Vector bitAnd(Vector a, Vector b) { return _mm512_and_si512(a, b); }
    static Vector bitNot(Vector a) { return _mm512_ternarylogic_epi32(a, a, a, 0x55); }
    static Vector bitOr(Vector a, Vector b) { return _mm512_or_si512(a, b); }

    /// These interleave and pack within 128 bits; what was interleaved is packed back in order. Packing
    /// saturates, 16-bit lanes to unsigned bytes, 32-bit lanes to 16-bit ones.
    static Vector interleaveLow8(Vector a, Vector b) { return _mm512_unpacklo_epi8(a, b); }
    static Vector interleaveHigh8(Vector a, Vector b) { return _mm512_unpackhi_epi8(a, b); }
    static Vector interleaveLow16(Vector a, Vector b) { return _mm512_unpacklo_epi16(a, b); }
    static Vector interleaveHigh16(Vector a, Vector b) { return _mm512_unpackhi_epi16(a, b); }
    static Vector pack16(Vector low, Vector high) { return _mm512_packus_epi16(low, high); }
    static Vector pack32(Vector low, Vector high) { return _mm512_packs_epi32(low, high); }
    static Vector packUnsigned32(Vector low, Vector high) { return _mm512_packus_epi32(low, high); }
};

}  // namespace
}  // namespace vantor
