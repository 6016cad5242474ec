// Plain bilinear steps over interleaved UV pairs, for both weight scales in use.
#pragma once

#include <cstdint>

namespace vantor {

/// Between a and b at t / 2^Bits of the way; `Bias` is added before the shift that drops the fraction.
template <int Bits, int Bias>
inline uint8_t between(int a, int b, int t) {
    return static_cast<uint8_t>((((1 << Bits) - t) * a + t * b + Bias) >> Bits);
}

/// Pair i lies between the pair at row[tap[i]] and the next one, at weight[i].
template <int Bits, int Bias>
void filterPairs(const uint8_t* row, const uint32_t* tap, const uint8_t* weight, uint8_t* out, int pairs) {
    for (int i = 0; i < pairs; ++i) {
        const uint8_t* p = row + tap[i];
        out[2 * i] = between<Bits, Bias>(p[0], p[2], weight[i]);
        out[2 * i + 1] = between<Bits, Bias>(p[1], p[3], weight[i]);
    }
}

template <int Bits, int Bias>
void blendPairs(const uint8_t* row0, const uint8_t* row1, int weight, uint8_t* out, int pairs) {
    for (int i = 0; i < 2 * pairs; ++i) out[i] = between<Bits, Bias>(row0[i], row1[i], weight);
}

}  // namespace vantor
