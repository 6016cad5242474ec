// The lanes of 256-bit vectors. For the files that are compiled for AVX2 alone.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace vantor {
namespace {

struct Avx2Lanes {
    using Vector = __m256i;
    static constexpr int kBytes = 32;
    static constexpr int kLanes16 = 16;
    static constexpr int kLanes32 = 8;

    static Vector load(const void* from) { return _mm256_loadu_si256(static_cast<const Vector*>(from)); }
    static void store(void* to, Vector bytes) { _mm256_storeu_si256(static_cast<Vector*>(to), bytes); }

    static Vector broadcast16(int value) { return _mm256_set1_epi16(static_cast<int16_t>(value)); }
    static Vector add16(Vector a, Vector b) { return _mm256_add_epi16(a, b); }
    static Vector subtract16(Vector a, Vector b) { return _mm256_sub_epi16(a, b); }
    static Vector subtractSaturated16(Vector a, Vector b) { return _mm256_subs_epi16(a, b); }
    static Vector min16(Vector a, Vector b) { return _mm256_min_epi16(a, b); }
    static Vector max16(Vector a, Vector b) { return _mm256_max_epi16(a, b); }
    /// Lanes of ones where a <= b, unsigned
    static Vector isAtMost16(Vector a, Vector b) { return _mm256_cmpeq_epi16(_mm256_min_epu16(a, b), a); }
    static Vector multiply16(Vector a, Vector b) { return _mm256_mullo_epi16(a, b); }
    static Vector multiplyHigh16(Vector a, Vector b) { return _mm256_mulhi_epi16(a, b); }
    static Vector multiplyHighUnsigned16(Vector a, Vector b) { return _mm256_mulhi_epu16(a, b); }
    /// (a + b + 1) >> 1, unsigned
    static Vector average16(Vector a, Vector b) { return _mm256_avg_epu16(a, b); }
    /// (a x b + 16384) >> 15
    static Vector multiplyRounded16(Vector a, Vector b) { return _mm256_mulhrs_epi16(a, b); }
    template <int Bits>
    static Vector shiftLeft16(Vector a) {
        return _mm256_slli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector shiftRight16(Vector a) {
        return _mm256_srli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector shiftRightSigned16(Vector a) {
        return _mm256_srai_epi16(a, Bits);
    }

    /// In each 16-bit lane the sum of two products of unsigned bytes and signed weights.
    static Vector multiplyAdd8(Vector bytes, Vector weights) { return _mm256_maddubs_epi16(bytes, weights); }

    /// In each 32-bit lane the sum of the products of four unsigned bytes and signed weights, and of four
    /// more, where any two neighbours' and two more fit 16 bits.
    static Vector sumProducts8(Vector a, Vector weightsA, Vector b, Vector weightsB) {
        return multiplyAdd16(add16(multiplyAdd8(a, weightsA), multiplyAdd8(b, weightsB)), broadcast16(1));
    }

    /// In each 32-bit lane the sum of two products of signed 16-bit lanes.
    static Vector multiplyAdd16(Vector a, Vector b) { return _mm256_madd_epi16(a, b); }
    static Vector addProducts16(Vector sum, Vector a, Vector b) { return add32(sum, multiplyAdd16(a, b)); }
    static Vector broadcast32(int value) { return _mm256_set1_epi32(value); }
    /// 0, 1, 2, ...
    static Vector iota32() { return _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7); }
    static Vector add32(Vector a, Vector b) { return _mm256_add_epi32(a, b); }
    static Vector subtract32(Vector a, Vector b) { return _mm256_sub_epi32(a, b); }
    static Vector multiply32(Vector a, Vector b) { return _mm256_mullo_epi32(a, b); }
    static Vector min32(Vector a, Vector b) { return _mm256_min_epi32(a, b); }
    static Vector max32(Vector a, Vector b) { return _mm256_max_epi32(a, b); }
    static Vector abs32(Vector a) { return _mm256_abs_epi32(a); }
    static int32_t largest32(Vector a) {
        __m128i half = _mm_max_epi32(_mm256_castsi256_si128(a), _mm256_extracti128_si256(a, 1));
        half = _mm_max_epi32(half, _mm_unpackhi_epi64(half, half));
        return _mm_cvtsi128_si32(_mm_max_epi32(half, _mm_shuffle_epi32(half, 1)));
    }
    /// Lanes of ones where a <= b, unsigned
    static Vector isAtMost32(Vector a, Vector b) { return _mm256_cmpeq_epi32(_mm256_min_epu32(a, b), a); }
    template <int Bits>
    static Vector shiftLeft32(Vector a) {
        return _mm256_slli_epi32(a, Bits);
    }
    template <int Bits>
    static Vector shiftRightSigned32(Vector a) {
        return _mm256_srai_epi32(a, Bits);
    }

    /// A third of each lane, towards zero, of magnitudes below 2^23.
    static Vector third32(Vector a) {
        return _mm256_cvttps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(a), _mm256_set1_ps(1 / 3.0F)));
    }

    /// Sixteen-bit lanes, sign-extended: as many from memory as fill a vector, or one half of a vector's.
    static Vector loadWidened16(const void* from) {
        return _mm256_cvtepi16_epi32(_mm_loadu_si128(static_cast<const __m128i*>(from)));
    }
    static Vector widenLow16(Vector a) { return _mm256_cvtepi16_epi32(_mm256_castsi256_si128(a)); }
    static Vector widenHigh16(Vector a) { return _mm256_cvtepi16_epi32(_mm256_extracti128_si256(a, 1)); }

    /// Each lane by as many bits as `counts` says.
    static Vector shiftRightBy32(Vector a, Vector counts) { return _mm256_srlv_epi32(a, counts); }
    /// 32-bit lanes from these bytes on.
    static Vector gather32(const void* from, Vector offsets) {
        return _mm256_i32gather_epi32(static_cast<const int*>(from), offsets, 1);
    }

    /// The even ones of two vectors of 32-bit lanes.
    static Vector evenLanes32(Vector a, Vector b) {
        const __m256 pairs = _mm256_shuffle_ps(_mm256_castsi256_ps(a), _mm256_castsi256_ps(b), 0x88);
        return _mm256_permute4x64_epi64(_mm256_castps_si256(pairs), 0xD8);
    }

    /// a[0], b[0], a[2], b[2], ...
    static Vector interleaveEven16(Vector a, Vector b) {
        return _mm256_blend_epi16(a, shiftLeft32<16>(b), 0xAA);
    }

    /// The same sixteen bytes in every 128 bits.
    static Vector repeat128(int64_t low, int64_t high) {
        return _mm256_broadcastsi128_si256(_mm_set_epi64x(high, low));
    }
    /// The bytes at these indexes, within 128 bits.
    static Vector shuffle8(Vector a, Vector indexes) { return _mm256_shuffle_epi8(a, indexes); }

    /// The bytes at these indexes, in every 128 bits: the lower half of them in a, the upper in b.
    static Vector shuffleHalves8(Vector a, Vector b, Vector indexes) {
        return _mm256_blend_epi32(shuffle8(a, indexes), shuffle8(b, indexes), 0xCC);
    }
    /// The lower bytes of 16-bit lanes: a[0], b[0], a[1], b[1], ...
    static Vector mergeLowBytes(Vector a, Vector b) {
        return bitOr(bitAnd(a, broadcast16(255)), shiftLeft16<8>(b));
    }

    /// Of bytes.
    static Vector add8(Vector a, Vector b) { return _mm256_add_epi8(a, b); }
    /// Of unsigned bytes.
    static Vector min8(Vector a, Vector b) { return _mm256_min_epu8(a, b); }
    static Vector max8(Vector a, Vector b) { return _mm256_max_epu8(a, b); }

    static Vector bitAnd(Vector a, Vector b) { return _mm256_and_si256(a, b); }
    static Vector bitNot(Vector a) { return _mm256_xor_si256(a, broadcast32(-1)); }
    static Vector bitOr(Vector a, Vector b) { return _mm256_or_si256(a, b); }
    /// Of lanes of ones or zeros.
    static bool areAllSet(Vector mask) { return _mm256_movemask_epi8(mask) == -1; }
    static bool isAnySet(Vector mask) { return _mm256_movemask_epi8(mask) != 0; }
    static Vector select(Vector mask, Vector whereSet, Vector elsewhere) {
        return _mm256_blendv_epi8(elsewhere, whereSet, mask);
    }

    /// These interleave and pack within 128 bits; what was interleaved is packed back in order. Packing
    /// saturates, 16-bit lanes to unsigned bytes, 32-bit lanes to 16-bit ones.
    static Vector interleaveLow8(Vector a, Vector b) { return _mm256_unpacklo_epi8(a, b); }
    static Vector interleaveHigh8(Vector a, Vector b) { return _mm256_unpackhi_epi8(a, b); }
    static Vector interleaveLow16(Vector a, Vector b) { return _mm256_unpacklo_epi16(a, b); }
    static Vector interleaveHigh16(Vector a, Vector b) { return _mm256_unpackhi_epi16(a, b); }
    static Vector pack16(Vector low, Vector high) { return _mm256_packus_epi16(low, high); }
    static Vector pack32(Vector low, Vector high) { return _mm256_packs_epi32(low, high); }
    static Vector packUnsigned32(Vector low, Vector high) { return _mm256_packus_epi32(low, high); }

    /// Saturated: 16-bit lanes, in the order of pack32, as bytes; 32-bit lanes as two bytes each.
    static void storePacked16(uint8_t* to, Vector a) {
        const Vector packed = pack16(a, a);  // 0-3, 8-11 in one half, 4-7, 12-15 in the other
        storeHalf(to,
                  _mm_unpacklo_epi32(_mm256_castsi256_si128(packed), _mm256_extracti128_si256(packed, 1)));
    }
    static void storePacked32(uint8_t* to, Vector a) {
        const Vector packed = packUnsigned32(a, a);
        storeHalf(to,
                  _mm_unpacklo_epi64(_mm256_castsi256_si128(packed), _mm256_extracti128_si256(packed, 1)));
    }

private:
    static void storeHalf(uint8_t* to, __m128i bytes) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
    }
};

}  // namespace
}  // namespace vantor
