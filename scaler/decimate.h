// Reduction by a whole number: every output sample is a source sample.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "scaler/planes.h"

namespace vantor {

/// Copies every `Step`-th of the units of `Bytes` bytes.
template <int Bytes, int Step>
void decimateBy(const uint8_t* src, uint8_t* dst, int units) {
    for (std::ptrdiff_t i = 0; i < units; ++i) std::memcpy(dst + i * Bytes, src + i * Step * Bytes, Bytes);
}

/// The same for any step. The common ones are loops that compilers turn into vector code.
template <int Bytes>
void decimate(const uint8_t* src, std::ptrdiff_t step, uint8_t* dst, int units) {
    if (step == 1) {
        std::memcpy(dst, src, static_cast<size_t>(units) * Bytes);
    } else if (step == 2) {
        decimateBy<Bytes, 2>(src, dst, units);
    } else {
        for (std::ptrdiff_t i = 0; i < units; ++i)
            std::memcpy(dst + i * Bytes, src + i * step * Bytes, Bytes);
    }
}

/// Rows whose output samples all are source samples, `columnStep` and `rowStep` apart, from column 0 on.
template <int Bytes>
void decimateRows(const SourcePlane& src, const Target& dst, int columnStep, int rowStep) {
    for (int i = 0; i < dst.rows.count; ++i) {
        const int y = dst.rows.row(i);
        decimate<Bytes>(src.row(y * rowStep), columnStep, dst.row(y), dst.endColumn);
    }
}

}  // namespace vantor
