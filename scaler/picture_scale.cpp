#include "scaler/picture_scale.h"

#include <algorithm>
#include <cstring>

#include "scaler/interp4_chroma.h"
#include "scaler/interp4_filter.h"
#include "scaler/interp4_luma.h"

namespace vantor {
namespace {

constexpr Interp4Filter kFilter = makeInterp4Filter();

/// Every band filters up to three source rows that its neighbour filters too.
constexpr int kMinBandRows = 16;
constexpr int kBandsPerWorker = 3;

int bandsOf(int rows, int workers) {
    if (workers == 1) return 1;
    return std::clamp(rows / kMinBandRows, 1, workers * kBandsPerWorker);
}

RowRange band(int index, int bands, int rows) {
    const auto edge = [=](int64_t i) { return static_cast<int>(i * rows / bands); };
    return {edge(index), edge(index + 1) - edge(index), false};
}

void copyRows(const SourcePlane& src, const Target& dst, int bytes) {
    for (int i = 0; i < dst.rows.count; ++i) {
        const int y = dst.rows.row(i);
        std::memcpy(dst.row(y), src.row(y), static_cast<size_t>(bytes));
    }
}

void copyChroma(const SourcePlane& src, const Target& dst) {
    if (!src.v) return copyRows(src, dst, 2 * src.columns);
    copyRows(src, dst, src.columns);
    copyRows(src.onlyV(), dst.onlyV(), src.columns);
}

}  // namespace

PictureScale::PictureScale(const Source& src, const Destination& dst, int workers)
    : src_(src),
      dst_(dst),
      method_(dst.width == src.width && dst.height == src.height ? Method::Copy
              : dst.width > src.width || dst.height > src.height ? Method::Enlarge
                                                                 : Method::Reduce),
      columnAxis_(src.width, 0, src.width, dst.width),
      rowAxis_(src.height, 0, src.height, dst.height),
      lumaBands_(bandsOf(dst.height, workers)),
      chromaBands_(dst.chroma ? bandsOf(dst.height / 2, workers) : 0) {}

void PictureScale::run(int tile) const {
    if (tile < lumaBands_) return runLuma(band(tile, lumaBands_, dst_.height));
    runChroma(band(tile - lumaBands_, chromaBands_, dst_.height / 2));
}

void PictureScale::runLuma(const RowRange& rows) const {
    const SourcePlane src{src_.luma, src_.lumaStride, src_.width, src_.height};
    const Target dst{dst_.luma, dst_.lumaStride, 0, dst_.width, rows, true};
    if (method_ == Method::Copy) return copyRows(src, dst, src.columns);
    if (method_ == Method::Reduce) return reduceLuma(src, dst, dst_.height);
    scaleInterp4Luma(src, dst, kFilter.data(), columnAxis_, rowAxis_);
}

void PictureScale::runChroma(const RowRange& rows) const {
    const SourcePlane src{src_.chroma, src_.chromaStride, src_.width / 2, src_.height / 2, 0,
                          src_.v,      src_.vStride};
    const Target dst{dst_.chroma, dst_.chromaStride, 0, dst_.width / 2, rows, true, dst_.v, dst_.vStride};
    if (method_ == Method::Copy) return copyChroma(src, dst);
    if (method_ == Method::Reduce) return reduceChroma(src, dst, dst_.height / 2);
    scaleInterp4Chroma(src, dst, columnAxis_, rowAxis_);
}

}  // namespace vantor
