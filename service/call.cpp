#include "service/call.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <thread>

namespace vantor {
namespace {

constexpr int32_t kRefused = -22;  // -EINVAL

/// What a back end answers.
struct Failed {
    int32_t status;
};

void checkSizes(const ClientPicture& dst, const ClientPicture& src) {
    if (src.width() == dst.width() && src.height() == dst.height()) return;
    const auto text = [](const ClientPicture& picture) {
        return std::to_string(picture.width()) + "x" + std::to_string(picture.height());
    };
    throw Refusal{"src of " + text(src) + ", dst of " + text(dst) + ", expected one size"};
}

void expectWanted(const std::function<bool()>& isWanted) {
    if (!isWanted()) throw Refusal{"the client has gone"};
}

/// Buffers whose descriptors were closed. Their numbers may be others' by now.
Buffers closed(const Buffers& buffers) {
    static constexpr int kNone[] = {-1, -1};
    return {kNone, std::min(buffers.count, 2)};
}

/// Returns early where the request is not wanted any more.
void wait(std::chrono::milliseconds time, const std::function<bool()>& isWanted) {
    using std::chrono::steady_clock;
    const auto end = steady_clock::now() + time;
    while (steady_clock::now() < end && isWanted()) {
        constexpr std::chrono::nanoseconds kStep = std::chrono::milliseconds(5);
        std::this_thread::sleep_for(std::min(kStep, end - steady_clock::now()));
    }
}

void compute(const Call& call, Seat& seat, const BackendPicture& to, const BackendPicture& from) {
    if (const int32_t status =
            call.grid ? seat.backend->warp(to, from, *call.grid) : seat.backend->scale(to, from))
        throw Failed{status};
    if (call.faults.corrupt) corruptRows(to, *call.faults.corrupt);
}

void write(const ClientPicture& dst, const vantor_image& result, const Faults& faults) {
    vantor_rect rest = dst.region();
    if (faults.isSplit()) {
        vantor_rect half = rest;
        half.height = rest.height / 4 * 2;
        dst.write(half, result);
        faults.dieAt(Faults::Death::During);
        std::this_thread::sleep_for(faults.delayDuring);
        rest.y += half.height;
        rest.height -= half.height;
    }
    dst.write(rest, result);
}

void serve(const Call& call, const std::function<Seat&()>& takeSeat, const std::function<bool()>& isWanted) {
    expectWanted(isWanted);
    const Faults& faults = call.faults;
    const auto buffersOf = [&](const Buffers& buffers) {
        return faults.areBuffersClosed ? closed(buffers) : buffers;
    };
    const ClientPicture src("src", ClientPicture::Access::Read, call.srcGeometry, buffersOf(call.srcBuffers));
    const ClientPicture dst("dst", ClientPicture::Access::Write, call.dstGeometry,
                            buffersOf(call.dstBuffers));
    if (call.grid) checkSizes(dst, src);
    faults.dieAt(Faults::Death::Before);
    wait(faults.delay, isWanted);
    if (faults.status.value_or(0) != 0) throw Failed{*faults.status};
    if (faults.status) return;
    Seat& seat = takeSeat();
    const BackendPicture from{seat.memory.src.picture(src.width(), src.height()), src.region()};
    const BackendPicture to{seat.memory.dst.picture(dst.width(), dst.height()), dst.region()};
    src.read(call.grid ? src.whole() : src.region(), from.image);
    compute(call, seat, to, from);
    expectWanted(isWanted);
    write(dst, to.image, faults);
    faults.dieAt(Faults::Death::After);
}

}  // namespace

Answer answer(const Call& call, const std::function<Seat&()>& takeSeat,
              const std::function<bool()>& isWanted) noexcept {
    Answer result;
    const auto fail = [&](int32_t status, const char* how, const char* why) {
        result.status = status;
        std::snprintf(result.text, sizeof result.text, "%s %s: %s", call.method(), how, why);
    };
    try {
        serve(call, takeSeat, isWanted);
    } catch (const Refusal& refusal) {
        fail(kRefused, "refused", refusal.text.c_str());
    } catch (const Failed& failed) {
        char why[40];
        std::snprintf(why, sizeof why, "back end's status %d", failed.status);
        fail(failed.status, "failed", why);
    } catch (const std::exception& error) {
        fail(kRefused, "failed", error.what());
    } catch (...) {
        fail(kRefused, "failed", "unknown exception");
    }
    return result;
}

}  // namespace vantor
