#include "service/call.h"

#include <cstdio>
#include <exception>

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

void compute(const Call& call, const std::function<Seat&()>& takeSeat,
             const std::function<bool()>& isWanted) {
    expectWanted(isWanted);
    const ClientPicture src("src", ClientPicture::Access::Read, call.srcGeometry, call.srcBuffers);
    const ClientPicture dst("dst", ClientPicture::Access::Write, call.dstGeometry, call.dstBuffers);
    if (call.grid) checkSizes(dst, src);
    Seat& seat = takeSeat();
    const BackendPicture from{seat.memory.src.picture(src.width(), src.height()), src.region()};
    const BackendPicture to{seat.memory.dst.picture(dst.width(), dst.height()), dst.region()};
    src.read(call.grid ? src.whole() : src.region(), from.image);
    const int32_t status =
        call.grid ? seat.backend->warp(to, from, *call.grid) : seat.backend->scale(to, from);
    if (status != 0) throw Failed{status};
    expectWanted(isWanted);
    dst.writeRegion(to.image);
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
        compute(call, takeSeat, isWanted);
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
