#include <sched.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <thread>

#include "bench/contender.h"
#include "bindings/c/grid_view.h"
#include "hardware/vantorClient/vantor_client.h"
#include "scaler/interp4.h"
#include "scaler/interpolate.h"
#include "vantor/vantor.h"

namespace vantor::bench {
namespace {

using hardware::vantorClient;

/// The entries take planes that they only read as writable.
uint8_t* writable(const uint8_t* plane) {
    return const_cast<uint8_t*>(plane);
}

void reduce(const Picture& src, Picture& dst) {
    const auto [srcWidth, srcHeight] = src.size();
    const auto [dstWidth, dstHeight] = dst.size();
    Interpolate_process(writable(src.y()), writable(src.uv()), dst.y(), dst.uv(), srcWidth, srcHeight,
                        src.stride(), dstWidth, dstHeight, dst.stride(), 0, 0, srcWidth, srcHeight, 0, 0,
                        dstWidth, dstHeight, false);
}

void enlarge(const Picture& src, Picture& dst) {
    const auto [srcWidth, srcHeight] = src.size();
    const auto [dstWidth, dstHeight] = dst.size();
    Interp4_process(writable(src.y()), writable(src.uv()), dst.y(), dst.uv(), srcWidth, srcHeight,
                    src.stride(), dstWidth, dstHeight, dst.stride(), 0, 0, srcWidth, srcHeight, false);
}

vantorClient::BufferData record(const Picture& picture) {
    vantorClient::BufferData record;
    record.y = writable(picture.y());
    record.uv = writable(picture.uv());
    record.width = picture.size().width;
    record.height = picture.size().height;
    record.cropRight = record.width - 1;
    record.cropBottom = record.height - 1;
    return record;
}

vantorClient::_GDCGrid record(const Grid& grid) {
    vantorClient::_GDCGrid record;
    std::copy(std::begin(grid.dX), std::end(grid.dX), record.dX);
    std::copy(std::begin(grid.dY), std::end(grid.dY), record.dY);
    return record;
}

void warp(const vantorClient::_GDCGrid& grid, const Picture& src, Picture& dst) {
    const int32_t status = vantorClient::runGDCGrid(record(dst), record(src), grid,
                                                    hardware::IMAGE_FORMAT_NV12, hardware::GDC_C_MODEL);
    if (status != 0) throw std::runtime_error("runGDCGrid failed");
}

using Engine = std::shared_ptr<vantor_engine>;

Engine makeEngine(int threads) {
    Engine engine(vantor_engine_new(threads), vantor_engine_free);
    if (!engine) throw std::runtime_error(vantor_message(nullptr));
    return engine;
}

void check(const Engine& engine, int status) {
    if (status != VANTOR_OK) throw std::runtime_error(vantor_message(engine.get()));
}

vantor_image view(const Picture& picture) {
    return {VANTOR_NV12,
            picture.size().width,
            picture.size().height,
            {writable(picture.y()), writable(picture.uv()), nullptr},
            {picture.stride(), picture.stride(), 0}};
}

Work scaleOn(const Engine& engine, const Picture& src, const Picture& dst) {
    return
        [engine, from = view(src), to = view(dst)] { check(engine, vantor_scale(engine.get(), &to, &from)); };
}

Work warpOn(const Engine& engine, const vantor_grid& grid, const Picture& src, const Picture& dst) {
    return [engine, grid, from = view(src), to = view(dst)] {
        check(engine, vantor_warp(engine.get(), &to, &from, &grid));
    };
}

vantor_grid nodes(const Grid& grid) {
    vantor_grid nodes;
    c::store(grid, nodes);
    return nodes;
}

/// So many pictures each that starting the threads is nothing.
constexpr int kPicturesSideBySide = 8;

/// What `prepare` makes of pictures of these sizes, on a thread per CPU. The first writes `dst`.
template <typename Prepare>
Work sideBySide(const Picture& src, Picture& dst, const Prepare& prepare) {
    std::vector<Work> works = {prepare(makeEngine(1), src, dst)};
    std::vector<std::shared_ptr<Picture>> pictures;
    for (int i = 1; i < usableCpus(); ++i) {
        pictures.push_back(std::make_shared<Picture>(makeScene(src.size())));
        pictures.push_back(std::make_shared<Picture>(dst.size()));
        works.push_back(prepare(makeEngine(1), *pictures.end()[-2], *pictures.back()));
    }
    return [works, pictures] {
        std::vector<std::thread> threads;
        for (const Work& work : works) {
            threads.emplace_back([&work] {
                for (int i = 0; i < kPicturesSideBySide; ++i) work();
            });
        }
        for (std::thread& thread : threads) thread.join();
    };
}

void addEngine(Contender& contender, const std::string& name, int threads) {
    contender.scalers.push_back({name, Filter::FourTaps, [threads](const Picture& src, Picture& dst) -> Work {
                                     return scaleOn(makeEngine(threads), src, dst);
                                 }});
    contender.warpers.push_back(
        {name, Filter::FourTaps, [threads](const Grid& grid, const Picture& src, Picture& dst) -> Work {
             return warpOn(makeEngine(threads), nodes(grid), src, dst);
         }});
}

void addSideBySide(Contender& contender) {
    constexpr char kName[] = "engines side by side";
    const int pictures = kPicturesSideBySide * usableCpus();
    contender.scalers.push_back(
        {kName, Filter::FourTaps,
         [](const Picture& src, Picture& dst) { return sideBySide(src, dst, scaleOn); }, pictures});
    contender.warpers.push_back(
        {kName, Filter::FourTaps,
         [](const Grid& grid, const Picture& src, Picture& dst) {
             return sideBySide(src, dst, [&](const Engine& engine, const Picture& from, Picture& to) {
                 return warpOn(engine, nodes(grid), from, to);
             });
         },
         pictures});
}

}  // namespace

int usableCpus() {
    cpu_set_t processors;
    return sched_getaffinity(0, sizeof processors, &processors) == 0 ? CPU_COUNT(&processors) : 1;
}

Contender engines() {
    Contender contender{"libvantor", vantor_version(), {}, {}};
    addEngine(contender, "engine, 1 thread", 1);
    if (usableCpus() > 1) {
        addEngine(contender, "engine, all threads", 0);
        addSideBySide(contender);
    }
    return contender;
}

Scaler ownScaler() {
    return {"Vantor10", Filter::FourTaps, [](const Picture& src, Picture& dst) -> Work {
                const bool grows =
                    dst.size().width > src.size().width || dst.size().height > src.size().height;
                return [&src, &dst, grows] { (grows ? enlarge : reduce)(src, dst); };
            }};
}

Warper ownWarper() {
    return {"Vantor10", Filter::FourTaps, [](const Grid& grid, const Picture& src, Picture& dst) -> Work {
                return [nodes = record(grid), &src, &dst] { warp(nodes, src, dst); };
            }};
}

}  // namespace vantor::bench
