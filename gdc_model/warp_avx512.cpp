#include "gdc_model/warp_kernels.h"

#if defined(__x86_64__)

#include "gdc_model/warp_x86.h"
#include "processor/lanes_avx512.h"

namespace vantor {
namespace {

using V = Avx512Lanes;
using Vector = V::Vector;

constexpr int kWindow = 32;  // bytes of a row that one permutation reaches
constexpr int kReach = kWindow - 4;

/// Lanes where luma has all its taps along one axis: index 2 to size - 2.
__mmask16 hasAllTaps(Vector position, int size) {
    return _mm512_cmplt_epu32_mask(V::subtract32(position, V::broadcast32(384)),
                                   V::broadcast32((size - 3) * 256));
}

Vector tapBytes(Vector within) {
    const Vector fourTimes = _mm512_broadcast_i32x4(_mm_setr_epi32(0, 0x04040404, 0x08080808, 0x0C0C0C0C));
    return _mm512_add_epi8(_mm512_shuffle_epi8(within, fourTimes), V::broadcast32(0x03020100));
}

Vector window(const uint8_t* from) {
    return _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
}

/// From the offsets of the pixels' first bytes. Where pixels follow each other from left to right in one row
/// or two, a window at the first and one at the last hold all their taps. The plane's last window reaches its
/// last pixel.
template <int rows>
Samples<V, rows> gather(const uint8_t* plane, int stride, int lastWindow, Vector offsets) {
    Samples<V, rows> samples;
    const int first = _mm_cvtsi128_si32(_mm512_castsi512_si128(offsets));
    const int last = _mm_extract_epi32(_mm512_extracti32x4_epi32(offsets, 3), 3);
    const int starts[2] = {first < lastWindow ? first : lastWindow, last < kReach ? 0 : last - kReach};
    const Vector fromFirst = V::subtract32(offsets, V::broadcast32(starts[0]));
    const Vector fromLast = V::subtract32(offsets, V::broadcast32(starts[1]));
    const __mmask16 byFirst = _mm512_cmple_epu32_mask(fromFirst, V::broadcast32(kReach));
    const __mmask16 byLast = _mm512_cmple_epu32_mask(fromLast, V::broadcast32(kReach));
    const bool isWithin = (byFirst | byLast) == 0xFFFF;
    const Vector taps = tapBytes(fromFirst);
    const Vector otherTaps = tapBytes(fromLast);
    for (Vector& row : samples.row) {
        if (isWithin) {
            const Vector permuted = _mm512_permutexvar_epi8(taps, window(plane + starts[0]));
            row = _mm512_mask_mov_epi32(_mm512_permutexvar_epi8(otherTaps, window(plane + starts[1])),
                                        byFirst, permuted);
        } else {
            row = _mm512_i32gather_epi32(offsets, plane, 1);
        }
        plane += stride;
    }
    return samples;
}

int lastWindow(const WarpSource& src, int planeRows, int rows) {
    return static_cast<int>(src.yStride) * (planeRows - rows + 1) - kWindow;
}

/// Sixteen pixels, and what of their positions is needed later.
struct Pixels {
    __mmask16 interior;
    Vector fractionX;
    Vector fractionY;
    Vector offsets;  // of their first taps; 0 where not all taps lie inside

    Pixels(const WarpSource& src, const int32_t* x, const int32_t* y) {
        const Vector atX = V::load(x);
        const Vector atY = V::load(y);
        interior = hasAllTaps(atX, src.width) & hasAllTaps(atY, src.height);
        // Shifted by two samples, so that the index is that of the first tap.
        const Vector firstX = V::subtract32(atX, V::broadcast32(384));
        const Vector firstY = V::subtract32(atY, V::broadcast32(384));
        fractionX = V::bitAnd(firstX, V::broadcast32(255));
        fractionY = V::bitAnd(firstY, V::broadcast32(255));
        const Vector row =
            V::multiply32(V::shiftRightSigned32<8>(firstY), V::broadcast32(static_cast<int>(src.yStride)));
        offsets = _mm512_maskz_add_epi32(interior, row, V::shiftRightSigned32<8>(firstX));
    }
};

/// The first `count` bytes; those outside `chosen` are 0.
void storeSome(uint8_t* out, __m128i bytes, __mmask16 chosen, int count) {
    const auto stored = static_cast<__mmask16>(count >= V::kLanes32 ? 0xFFFF : (1 << count) - 1);
    _mm_mask_storeu_epi8(out, stored, _mm_maskz_mov_epi8(chosen, bytes));
}

/// 32 pixels.
void blend(const WarpSource& src, const Pixels& left, const Pixels& right, uint8_t* out, int count) {
    const int last = lastWindow(src, src.height, 4);
    const LumaValues<V> values =
        filterLuma<V>(gather<4>(src.y, static_cast<int>(src.yStride), last, left.offsets),
                      gather<4>(src.y, static_cast<int>(src.yStride), last, right.offsets),
                      {_mm512_packus_epi32(left.fractionX, right.fractionX),
                       _mm512_packus_epi32(left.fractionY, right.fractionY)});
    storeSome(out, _mm512_cvtepi32_epi8(values.left), left.interior, count);
    if (count <= V::kLanes32) return;
    storeSome(out + V::kLanes32, _mm512_cvtepi32_epi8(values.right), right.interior, count - V::kLanes32);
}

bool luma(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    unsigned someOutside = 0;
    for (int i = 0; i < count; i += 2 * V::kLanes32) {
        const Pixels left(src, x + i, y + i);
        const Pixels right(src, x + i + V::kLanes32, y + i + V::kLanes32);
        someOutside |= 0xFFFFU & ~static_cast<unsigned>(left.interior & right.interior);
        if ((left.interior | right.interior) == 0) {
            const __m128i zero = _mm_setzero_si128();
            storeSome(out + i, zero, 0, count - i);
            if (count - i > V::kLanes32) storeSome(out + i + V::kLanes32, zero, 0, count - i - V::kLanes32);
        } else {
            blend(src, left, right, out + i, count - i);
        }
    }
    return someOutside == 0;
}

/// The even ones of 32 positions.
Vector evenLanes(const int32_t* from) {
    const Vector evens = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    return _mm512_permutex2var_epi32(V::load(from), evens, V::load(from + V::kLanes32));
}

/// Sixteen pairs. Chroma samples lie two luma samples apart; the first lies between luma samples 0 and 1.
void chromaGroup(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    const Vector atX = evenLanes(x);
    const Vector atY = evenLanes(y);
    const __mmask16 interior = hasAllTaps(atX, src.width) & hasAllTaps(atY, src.height);
    const Vector fromX = V::subtract32(atX, V::broadcast32(128));
    const Vector fromY = V::subtract32(atY, V::broadcast32(128));
    const Vector row =
        V::multiply32(V::shiftRightSigned32<9>(fromY), V::broadcast32(static_cast<int>(src.yStride)));
    const Vector column = V::shiftLeft32<1>(V::shiftRightSigned32<9>(fromX));
    const Samples<V, 2> samples =
        gather<2>(src.u, static_cast<int>(src.uStride), lastWindow(src, src.height / 2, 2),
                  _mm512_maskz_add_epi32(interior, row, column));
    const Vector pairs = mixPairs<V>(samples, fromX, fromY);
    const Vector chosen = _mm512_mask_mov_epi32(V::broadcast32(0x8080), interior, pairs);
    const auto stored = static_cast<__mmask16>(count >= V::kLanes32 ? 0xFFFF : (1 << count) - 1);
    _mm512_mask_cvtepi32_storeu_epi16(out, stored, chosen);
}

void chroma(const WarpSource& src, const int32_t* x, const int32_t* y, int pairs, uint8_t* out) {
    for (int i = 0; i < pairs; i += V::kLanes32)
        chromaGroup(src, x + 2 * i, y + 2 * i, pairs - i, out + 2 * i);
}

}  // namespace

const WarpKernels kWarpAvx512 = {InstructionSet::Avx512, positions<V>, luma, chroma};

}  // namespace vantor

#endif
