// vantor-bench: times this library and its peers, in CPU time of the whole process, threads included, and in
// elapsed time. Google Benchmark's options choose what runs; names are GROUP/CASE/CONTENDER.
#include <benchmark/benchmark.h>
#include <pthread.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/cases.h"
#include "bench/contender.h"
#include "gdc_model/warp_kernels.h"
#include "processor/instruction_set.h"
#include "scaler/bicubic_luma_kernels.h"
#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/interp4_kernels.h"

namespace vantor::bench {
namespace {

using benchmark::State;

template <typename Body>
void add(const std::string& name, Body body) {
    benchmark::RegisterBenchmark(name.c_str(), body)->MeasureProcessCPUTime();
}

/// The pictures of one case, and what this library makes of them.
struct Pictures {
    Picture src;
    Picture own;

    /// The PSNR of a contender's result against this library's, which shows that both have done the same
    /// work.
    double psnrAgainst(const Picture& result) const { return psnr(own, result); }
};

/// Keeps only the pictures of the last case: all together would not fit in memory.
class Stage {
public:
    template <typename Prepare>
    const Pictures& pictures(const std::string& name, Size src, Size dst, Prepare&& prepareOwn) {
        if (name_ != name) {
            pictures_ = nullptr;
            pictures_.reset(new Pictures{makeScene(src), Picture(dst)});
            prepareOwn(pictures_->src, pictures_->own)();
            name_ = name;
        }
        return *pictures_;
    }

private:
    std::string name_;
    std::unique_ptr<Pictures> pictures_;
};

Stage stage;

/// Of a Scaler or a Warper.
template <typename Measured>
void measure(State& state, const Work& work, const Measured& measured, const Picture& result,
             const Pictures& pictures) {
    work();  // warm-up: caches, page faults and one-time initialisation
    for (auto _ : state) work();
    state.SetLabel(measured.filter == Filter::FourTaps ? "four taps" : "");
    state.counters["pixels"] = static_cast<double>(result.size().pixels()) * measured.pictures;
    state.counters["psnr"] = pictures.psnrAgainst(result);
}

void addScaling(const std::string& group, const ScaleCase& scaling, const Scaler& scaler, int rowAlignment) {
    add(group + '/' + scaling.name + '/' + scaler.name, [=](State& state) {
        const Pictures& pictures =
            stage.pictures(group + scaling.name, scaling.src, scaling.dst, ownScaler().prepare);
        Picture dst(scaling.dst, rowAlignment);
        measure(state, scaler.prepare(pictures.src, dst), scaler, dst, pictures);
    });
}

void addWarp(const std::string& group, const WarpCase& warp, const Warper& warper) {
    add(group + '/' + warp.name + '/' + warper.name, [=](State& state) {
        const Grid grid = warp.makeGrid(warp.size);
        const auto prepareOwn = [&](const Picture& src, Picture& dst) {
            return ownWarper().prepare(grid, src, dst);
        };
        const Pictures& pictures = stage.pictures(group + warp.name, warp.size, warp.size, prepareOwn);
        Picture dst(warp.size);
        measure(state, warper.prepare(grid, pictures.src, dst), warper, dst, pictures);
    });
}

/// The rows of both planes that a reduction to `dst` takes, each once, from the top.
std::vector<const uint8_t*> filteredRows(const Picture& src, Size dst) {
    std::vector<const uint8_t*> rows;
    const auto addPlane = [&](const uint8_t* plane, int srcRows, int dstRows, int before, int after) {
        int next = 0;
        for (int y = 0; y < dstRows; ++y) {
            const int row = static_cast<int>(int64_t{y} * srcRows / dstRows);
            const bool isBetween = int64_t{y} * srcRows % dstRows != 0;
            const int last = isBetween ? std::min(row + after, srcRows - 1) : row;
            for (next = std::max(next, isBetween ? row - before : row); next <= last; ++next)
                rows.push_back(plane + static_cast<ptrdiff_t>(next) * src.stride());
        }
    };
    addPlane(src.y(), src.size().height, dst.height, 1, 2);
    addPlane(src.uv(), src.chromaSize().height, dst.height / 2, 0, 1);
    return rows;
}

/// Copies as many bytes as make reads and writes together as large as source and destination together.
void addCopy(const std::string& group, const std::string& name, Size src, Size dst) {
    add(group + '/' + name + "/memory copy", [=](State& state) {
        const size_t bytes = (nv12Bytes(src) + nv12Bytes(dst)) / 2;
        const std::vector<uint8_t> from(bytes, 1);
        std::vector<uint8_t> to(bytes);
        for (auto _ : state) {
            std::memcpy(to.data(), from.data(), bytes);
            benchmark::ClobberMemory();
        }
        state.counters["pixels"] = static_cast<double>(dst.pixels());
    });
}

/// Fetches, from each cache line of the rows that a reduction filters, one byte.
void addRead(const std::string& group, const ScaleCase& scaling) {
    add(group + '/' + scaling.name + "/memory read", [=](State& state) {
        const Picture src = makeScene(scaling.src);
        const std::vector<const uint8_t*> rows = filteredRows(src, scaling.dst);
        for (auto _ : state) {
            unsigned sum = 0;
            for (const uint8_t* row : rows) {
                for (int x = 0; x < src.stride(); x += 64) sum += row[x];
            }
            benchmark::DoNotOptimize(sum);
        }
        state.counters["pixels"] = static_cast<double>(scaling.dst.pixels());
    });
}

/// What the scalers' threads cost when there is nothing to do: `rounds` times three created and joined.
void addThreads(int rounds) {
    add("threads/" + std::to_string(3 * rounds) + "/create and join", [rounds](State& state) {
        for (auto _ : state) {
            for (int round = 0; round < rounds; ++round) {
                pthread_t threads[3];
                for (pthread_t& thread : threads) {
                    if (pthread_create(
                            &thread, nullptr, [](void* p) { return p; }, nullptr) != 0)
                        std::abort();
                }
                for (pthread_t thread : threads) pthread_join(thread, nullptr);
            }
        }
    });
}

void addAll(std::vector<Contender> contenders) {
    addThreads(1);
    addThreads(2);
    contenders.insert(contenders.begin(), engines());
    for (const ScaleCase& scaling : scaleCases()) {
        addScaling("scale", scaling, ownScaler(), 1);
        for (const Contender& contender : contenders) {
            for (const Scaler& scaler : contender.scalers) addScaling("scale", scaling, scaler, kAlignment);
        }
        addCopy("scale", scaling.name, scaling.src, scaling.dst);
        if (scaling.dst.height < scaling.src.height) addRead("scale", scaling);
    }
    for (const WarpCase& warp : warpCases()) {
        addWarp("warp", warp, ownWarper());
        for (const Contender& contender : contenders) {
            for (const Warper& warper : contender.warpers) addWarp("warp", warp, warper);
        }
        addCopy("warp", warp.name, warp.size, warp.size);
    }
    const Contender engine = engines();
    for (const ScaleCase& scaling : scaleSweep()) {
        addScaling("sweep", scaling, ownScaler(), 1);
        addScaling("sweep", scaling, engine.scalers.front(), 1);
    }
    for (const WarpCase& warp : warpSweep()) {
        addWarp("sweep", warp, ownWarper());
        addWarp("sweep", warp, engine.warpers.front());
    }
}

template <typename Kernels, int Count>
void nameTable(const char* family, const Kernels* const (&tables)[Count]) {
    benchmark::AddCustomContext(std::string("kernels of ") + family,
                                instructionSetName(bestTable(tables).set));
}

void describe(const std::vector<Contender>& peers) {
    nameTable("bicubic luma", kBicubicLumaTables);
    nameTable("bilinear chroma", kBilinearChromaTruncatedTables);
    nameTable("interp4", kInterp4Tables);
    nameTable("warp", kWarpTables);
    const char* limit = std::getenv("VANTOR_CPU");
    benchmark::AddCustomContext("limit", limit ? limit : "none");
    benchmark::AddCustomContext("processors", std::to_string(usableCpus()));
    benchmark::AddCustomContext("compiler", VANTOR_COMPILER);
    for (const Contender& peer : peers) benchmark::AddCustomContext("peer " + peer.library, peer.version);
}

}  // namespace
}  // namespace vantor::bench

int main(int argc, char** argv) {
    const char* limit = std::getenv("VANTOR_CPU");
    if (!vantor::isInstructionSetLimit(limit)) {
        std::fprintf(stderr, "vantor-bench: VANTOR_CPU is '%s', which is none of plain, avx2 and avx512\n",
                     limit);
        return 2;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    const std::vector<vantor::bench::Contender> peers = vantor::bench::peers();
    vantor::bench::describe(peers);
    vantor::bench::addAll(peers);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
