#include "scaler/interpolate.h"

#include <pthread.h>

#include <cstddef>
#include <cstdint>

#include "scaler/bands.h"
#include "scaler/bicubic_luma.h"
#include "scaler/bilinear_chroma.h"
#include "scaler/interp4.h"
#include "scaler/interp4_filter.h"

namespace vantor {
namespace {

/// The work on one band.
struct BandTask {
    void* (*entry)(void*);
    void* record;
};

/// Runs each task but the last on a newly created thread and the last on the caller, then joins in order of
/// creation. A task whose thread could not be created runs on the caller, after the last.
void runBands(const BandTask (&tasks)[kBands]) {
    constexpr int kThreads = kBands - 1;
    pthread_t threads[kThreads];
    bool created[kThreads];
    for (int i = 0; i < kThreads; ++i) {
        created[i] = pthread_create(&threads[i], nullptr, tasks[i].entry, tasks[i].record) == 0;
    }
    tasks[kThreads].entry(tasks[kThreads].record);
    for (int i = 0; i < kThreads; ++i) {
        if (created[i]) {
            pthread_join(threads[i], nullptr);
        } else {
            tasks[i].entry(tasks[i].record);
        }
    }
}

using BandKernel = int(unsigned char*, unsigned char*, int, int, int, int, int, int);

void run(BandKernel* kernel, const ScaleSliceArgs& a) {
    kernel(a.src, a.dst, a.srcWidth, a.srcHeight, a.srcStride, a.dstWidth, a.dstHeight, a.dstStride);
}

void* runBothPlanes(BandKernel* luma, BandKernel* chroma, void* args) {
    const auto* slice = static_cast<const LumaSliceArgs*>(args);
    run(luma, slice->luma);
    run(chroma, *slice->chroma);
    return args;
}

void* runChroma(BandKernel* chroma, void* args) {
    run(chroma, *static_cast<const ScaleSliceArgs*>(args));
    return args;
}

/// interpolateBLUV_neon_thread4 works on band 3.
void* runLastChromaBand(void* args) {
    return runChroma(interpolateBLUV_neon_4, args);
}

struct Corner {
    int x;
    int y;
    int stride;

    std::ptrdiff_t lumaOffset() const { return std::ptrdiff_t{y} * stride + x; }
    std::ptrdiff_t chromaOffset() const { return ((std::ptrdiff_t{y} * stride) >> 1) + (x & ~1); }
};

constexpr Interp4Filter kFilter = makeInterp4Filter();

/// The arguments of one NV12_Interp4_Interpolate call, in their order.
struct Interp4Band {
    unsigned char* srcY;
    unsigned char* srcUV;
    unsigned char* dstY;
    unsigned char* dstUV;
    short* coefficients;
    int srcWidth;
    int srcHeight;
    int srcCropX;
    int srcCropY;
    int srcCropWidth;
    int srcCropHeight;
    int dstWidth;
    int dstHeight;
    int bandX;
    int bandY;
    int bandWidth;
    int bandHeight;
    bool lumaOnly;
};

void* runBand(void* record) {
    const auto& b = *static_cast<const Interp4Band*>(record);
    NV12_Interp4_Interpolate(b.srcY, b.srcUV, b.dstY, b.dstUV, b.coefficients, b.srcWidth, b.srcHeight,
                             b.srcCropX, b.srcCropY, b.srcCropWidth, b.srcCropHeight, b.dstWidth, b.dstHeight,
                             b.bandX, b.bandY, b.bandWidth, b.bandHeight, b.lumaOnly);
    return nullptr;
}

}  // namespace
}  // namespace vantor

using namespace vantor;

void* interpolateBCY_neon_thread1(void* args) {
    return runBothPlanes(interpolateBCY_neon_1, interpolateBLUV_neon_1, args);
}

void* interpolateBCY_neon_thread2(void* args) {
    return runBothPlanes(interpolateBCY_neon_2, interpolateBLUV_neon_2, args);
}

void* interpolateBCY_neon_thread3(void* args) {
    return runBothPlanes(interpolateBCY_neon_3, interpolateBLUV_neon_3, args);
}

void* interpolateBCY_neon_thread4(void* args) {
    return runBothPlanes(interpolateBCY_neon_4, interpolateBLUV_neon_4, args);
}

void* interpolateBLUV_neon_thread1(void* args) {
    return runChroma(interpolateBLUV_neon_1, args);
}

void* interpolateBLUV_neon_thread2(void* args) {
    return runChroma(interpolateBLUV_neon_2, args);
}

void* interpolateBLUV_neon_thread3(void* args) {
    return runChroma(interpolateBLUV_neon_3, args);
}

void* interpolateBLUV_neon_thread4(void* args) {
    return runChroma(interpolateBLUV_neon_3, args);
}

void Interpolate_process(unsigned char* srcY, unsigned char* srcUV, unsigned char* dstY, unsigned char* dstUV,
                         int /*srcWidth*/, int /*srcHeight*/, int srcStride, int /*dstWidth*/,
                         int /*dstHeight*/, int dstStride, int srcCropX, int srcCropY, int srcCropWidth,
                         int srcCropHeight, int dstCropX, int dstCropY, int dstCropWidth, int dstCropHeight,
                         bool singlePass) {
    const Corner src{srcCropX, srcCropY, srcStride};
    const Corner dst{dstCropX, dstCropY, dstStride};
    const ScaleSliceArgs luma{srcY + src.lumaOffset(),
                              dstY + dst.lumaOffset(),
                              srcCropWidth,
                              srcCropHeight,
                              srcStride,
                              dstCropWidth,
                              dstCropHeight,
                              dstStride};
    const ScaleSliceArgs chroma{srcUV + src.chromaOffset(),
                                dstUV + dst.chromaOffset(),
                                srcCropWidth >> 1,
                                srcCropHeight >> 1,
                                srcStride,
                                dstCropWidth >> 1,
                                dstCropHeight >> 1,
                                dstStride};

    ScaleSliceArgs chromaBands[kBands] = {chroma, chroma, chroma, chroma};
    LumaSliceArgs bands[kBands] = {
        {luma, &chromaBands[0]}, {luma, &chromaBands[1]}, {luma, &chromaBands[2]}, {luma, &chromaBands[3]}};
    runBands({{interpolateBCY_neon_thread1, &bands[0]},
              {interpolateBCY_neon_thread2, &bands[1]},
              {interpolateBCY_neon_thread3, &bands[2]},
              {interpolateBCY_neon_thread4, &bands[3]}});
    if (singlePass) return;

    for (LumaSliceArgs& band : bands) band.luma = chroma;
    runBands({{interpolateBLUV_neon_thread1, &bands[0]},
              {interpolateBLUV_neon_thread2, &bands[1]},
              {interpolateBLUV_neon_thread3, &bands[2]},
              {runLastChromaBand, &bands[3]}});
}

void Interp4_process(unsigned char* srcY, unsigned char* srcUV, unsigned char* dstY, unsigned char* dstUV,
                     int srcWidth, int srcHeight, int /*srcStride*/, int dstWidth, int dstHeight,
                     int /*dstStride*/, int srcCropX, int srcCropY, int srcCropWidth, int srcCropHeight,
                     bool lumaOnly) {
    Interp4Filter filter = kFilter;
    const int quarter = dstHeight / 4;
    const auto band = [&](int index, int rows) {
        return Interp4Band{srcY,          srcUV,     dstY,      dstUV,    filter.data(),
                           srcWidth,      srcHeight, srcCropX,  srcCropY, srcCropWidth,
                           srcCropHeight, dstWidth,  dstHeight, 0,        index * quarter,
                           dstWidth,      rows,      lumaOnly};
    };
    Interp4Band bands[kBands] = {band(0, quarter), band(1, quarter), band(2, quarter),
                                 band(3, dstHeight - 3 * quarter)};
    runBands({{runBand, &bands[0]}, {runBand, &bands[1]}, {runBand, &bands[2]}, {runBand, &bands[3]}});
}
