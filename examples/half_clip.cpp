// half_clip WIDTH HEIGHT: halves raw NV12 frames, from standard input to standard output, each on all
// processors.
#include <vantor/vantor.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

/// An engine keeps its threads and its memory from frame to frame.
using Engine = std::unique_ptr<vantor_engine, decltype(&vantor_engine_free)>;

struct Frame {
    std::vector<uint8_t> bytes;
    vantor_image view;

    Frame(int width, int height)
        : bytes(static_cast<size_t>(width) * static_cast<size_t>(height) * 3 / 2),
          view{VANTOR_NV12,
               width,
               height,
               {bytes.data(), bytes.data() + bytes.size() / 3 * 2, nullptr},
               {width, width, 0}} {}
};

int fail(const char* reason) {
    std::fprintf(stderr, "half_clip: %s\n", reason);
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    const int width = argc == 3 ? std::atoi(argv[1]) : 0;
    const int height = argc == 3 ? std::atoi(argv[2]) : 0;
    if (width < 4 || width > 16384 || width % 4 != 0 || height < 4 || height > 16384 || height % 4 != 0)
        return fail("usage: half_clip WIDTH HEIGHT <FROM >TO, both 4 to 16384 and multiples of 4");
    const Engine engine(vantor_engine_new(0), vantor_engine_free);
    if (!engine) return fail(vantor_message(nullptr));
    Frame from(width, height), to(width / 2, height / 2);
    size_t read;
    while ((read = std::fread(from.bytes.data(), 1, from.bytes.size(), stdin)) == from.bytes.size()) {
        if (vantor_scale(engine.get(), &to.view, &from.view) != VANTOR_OK)
            return fail(vantor_message(engine.get()));
        if (std::fwrite(to.bytes.data(), 1, to.bytes.size(), stdout) != to.bytes.size())
            return fail("cannot write to standard output");
    }
    if (read != 0 || std::ferror(stdin)) return fail("standard input is truncated");
    return std::fflush(stdout) == 0 ? 0 : fail("cannot write to standard output");
}
