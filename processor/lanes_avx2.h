// The lanes of 256-bit vectors. For the files that are compiled for AVX2 alone.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace vantor {
namespace {

struct Avx2Lanes {
    using Vector = __m256i;
    static constexpr int kBytes = 32;
    static constexpr int kWords = 16;
    static constexpr int kDwords = 8;

    static Vector load(const void* from) { return _mm256_loadu_si256(static_cast<const Vector*>(from)); }
    static void store(void* to, Vector bytes) { _mm256_storeu_si256(static_cast<Vector*>(to), bytes); }

    /// In 16-bit lanes.
    static Vector words(int value) { return _mm256_set1_epi16(static_cast<int16_t>(value)); }
    static Vector add(Vector a, Vector b) { return _mm256_add_epi16(a, b); }
    static Vector subtract(Vector a, Vector b) { return _mm256_sub_epi16(a, b); }
    static Vector multiply(Vector a, Vector b) { return _mm256_mullo_epi16(a, b); }
    static Vector multiplyHigh(Vector a, Vector b) { return _mm256_mulhi_epi16(a, b); }
    static Vector multiplyHighUnsigned(Vector a, Vector b) { return _mm256_mulhi_epu16(a, b); }
    /// (a + b + 1) >> 1, unsigned
    static Vector average(Vector a, Vector b) { return _mm256_avg_epu16(a, b); }
    /// (a x b + 16384) >> 15
    static Vector multiplyRounded(Vector a, Vector b) { return _mm256_mulhrs_epi16(a, b); }
    template <int Bits>
    static Vector shiftLeft(Vector a) {
        return _mm256_slli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector shiftRight(Vector a) {
        return _mm256_srli_epi16(a, Bits);
    }
    template <int Bits>
    static Vector shiftRightSigned(Vector a) {
        return _mm256_srai_epi16(a, Bits);
    }

    /// In each lane the sum of two products of unsigned bytes and signed weights.
    static Vector weigh(Vector bytes, Vector weights) { return _mm256_maddubs_epi16(bytes, weights); }

    /// In each 32-bit lane the sum of two products of words.
    static Vector weighWords(Vector a, Vector b) { return _mm256_madd_epi16(a, b); }
    static Vector dwords(int value) { return _mm256_set1_epi32(value); }
    /// 0, 1, 2, ...
    static Vector countDwords() { return _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7); }
    static Vector addDwords(Vector a, Vector b) { return _mm256_add_epi32(a, b); }
    static Vector subtractDwords(Vector a, Vector b) { return _mm256_sub_epi32(a, b); }
    static Vector multiplyDwords(Vector a, Vector b) { return _mm256_mullo_epi32(a, b); }
    static Vector minDwords(Vector a, Vector b) { return _mm256_min_epi32(a, b); }
    static Vector maxDwords(Vector a, Vector b) { return _mm256_max_epi32(a, b); }
    template <int Bits>
    static Vector shiftLeftDwords(Vector a) {
        return _mm256_slli_epi32(a, Bits);
    }
    template <int Bits>
    static Vector shiftRightDwords(Vector a) {
        return _mm256_srai_epi32(a, Bits);
    }

    /// The lower words of two vectors' 32-bit lanes, of `high` as the upper ones.
    static Vector halves(Vector low, Vector high) {
        return _mm256_blend_epi16(low, shiftLeftDwords<16>(high), 0xAA);
    }

    /// Of unsigned bytes.
    static Vector minBytes(Vector a, Vector b) { return _mm256_min_epu8(a, b); }
    static Vector maxBytes(Vector a, Vector b) { return _mm256_max_epu8(a, b); }

    static Vector bitAnd(Vector a, Vector b) { return _mm256_and_si256(a, b); }
    static Vector bitOr(Vector a, Vector b) { return _mm256_or_si256(a, b); }

    /// These interleave and pack within 128 bits; what was interleaved is packed back in order.
    static Vector lowBytes(Vector a, Vector b) { return _mm256_unpacklo_epi8(a, b); }
    static Vector highBytes(Vector a, Vector b) { return _mm256_unpackhi_epi8(a, b); }
    static Vector lowWords(Vector a, Vector b) { return _mm256_unpacklo_epi16(a, b); }
    static Vector highWords(Vector a, Vector b) { return _mm256_unpackhi_epi16(a, b); }
    static Vector packWords(Vector low, Vector high) { return _mm256_packus_epi16(low, high); }
    static Vector packDwords(Vector low, Vector high) { return _mm256_packs_epi32(low, high); }
};

}  // namespace
}  // namespace vantor
