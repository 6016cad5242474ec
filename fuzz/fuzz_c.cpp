// The C library: views of any layout and stride, whose gaps are poisoned, against the device's entries on packed
// planes; and views that are none.
#include "fuzz/policy.h"
#include "hardware/vantorClient/vantor_client.h"
#include "vantor/vantor.h"

namespace vantor::fuzz {
namespace {

using hardware::vantorClient;

/// A view whose rows alone may be touched.
class View {
public:
    View(Input& input, int32_t format, int width, int height) : image_{format, width, height, {}, {}} {
        for (int i = 0; i < planes(); ++i) {
            image_.stride[i] = rowBytes(i) + input.seldom(kMaxStridePadding);
            memory_[i].assign(static_cast<size_t>(image_.stride[i] * rows(i) + kMaxStridePadding), kCanary);
            image_.plane[i] = memory_[i].data() + input.between(0, kMaxStridePadding);
        }
    }
    ~View() {
        guard(false);
        for (int i = 0; i < planes(); ++i) {
            size_t canaries = 0;
            for (uint8_t byte : memory_[i]) canaries += byte == kCanary;
            FUZZ_EXPECT(canaries >= memory_[i].size() - static_cast<size_t>(rows(i) * rowBytes(i)));
        }
    }
    View(const View&) = delete;
    View& operator=(const View&) = delete;

    vantor_image& image() { return image_; }

    /// Poisons everything but the rows, or makes all of it readable again.
    void guard(bool isOn) {
        for (int i = 0; i < planes(); ++i) {
            ASAN_UNPOISON_MEMORY_REGION(memory_[i].data(), memory_[i].size());
            if (!isOn) continue;
            const uint8_t* at = memory_[i].data();
            for (int y = 0; y < rows(i); ++y) {
                const uint8_t* row = image_.plane[i] + y * image_.stride[i];
                ASAN_POISON_MEMORY_REGION(at, static_cast<size_t>(row - at));
                at = row + rowBytes(i);
            }
            ASAN_POISON_MEMORY_REGION(at, static_cast<size_t>(memory_[i].data() + memory_[i].size() - at));
        }
    }

    /// Samples from and to a packed luma plane and pairs of chroma.
    void read(const Bytes& packed) {
        forEachSample([&](uint8_t& sample, size_t at) { sample = packed[at]; });
    }
    Bytes packed() {
        Bytes bytes(packedBytes());
        forEachSample([&](uint8_t& sample, size_t at) { bytes[at] = sample; });
        return bytes;
    }
    size_t packedBytes() const {
        const size_t luma = static_cast<size_t>(image_.width) * static_cast<size_t>(image_.height);
        return planes() == 1 ? luma : luma * 3 / 2;
    }

private:
    int planes() const { return image_.format == VANTOR_GRAY8 ? 1 : image_.format == VANTOR_I420 ? 3 : 2; }
    int rows(int plane) const { return plane == 0 ? image_.height : image_.height / 2; }
    int rowBytes(int plane) const { return plane > 0 && planes() == 3 ? image_.width / 2 : image_.width; }

    template <typename Use>
    void forEachSample(Use&& use) {
        const size_t luma = static_cast<size_t>(image_.width) * static_cast<size_t>(image_.height);
        for (int i = 0; i < planes(); ++i) {
            size_t at = i == 0 ? 0 : luma;
            for (int y = 0; y < rows(i); ++y) {
                for (int x = 0; x < rowBytes(i); ++x, ++at) {
                    const bool isPlanar = planes() == 3 && i > 0;
                    const size_t place = isPlanar ? 2 * at - luma + static_cast<size_t>(i - 1) : at;
                    use(image_.plane[i][y * image_.stride[i] + x], place);
                }
            }
        }
    }

    vantor_image image_;
    Bytes memory_[3];
};

vantor_engine* anyEngine(Input& input) {
    static vantor_engine* const engines[] = {nullptr, vantor_engine_new(1), vantor_engine_new(3)};
    return input.PickValueInArray(engines);
}

vantorClient::BufferData record(Bytes& packed, int width, int height) {
    vantorClient::BufferData data;
    data.y = packed.data();
    data.width = width;
    data.height = height;
    data.cropRight = width - 1;
    data.cropBottom = height - 1;
    return data;
}

int deviceFormat(const vantor_image& image) {
    return image.format == VANTOR_GRAY8 ? hardware::IMAGE_FORMAT_GRAYSCALE : hardware::IMAGE_FORMAT_NV12;
}

int side(Input& input, bool isEven, int limit) {
    const int value = input.between(1, limit);
    return isEven ? 2 * ((value + 1) / 2) : value;
}

void scale(Input& input) {
    const int format = input.between(VANTOR_GRAY8, VANTOR_I420);
    const bool isEven = format != VANTOR_GRAY8;
    // The device reads before the rows of sources narrower than this.
    const auto sides = [&] { return side(input, isEven, input.between(0, 9) == 0 ? kMaxWideSide : kMaxSide); };
    const int srcWidth = std::max(sides(), 4), srcHeight = side(input, isEven, 64);
    View src(input, format, srcWidth, srcHeight), dst(input, format, sides(), side(input, isEven, 64));
    Bytes from = input.content(src.packedBytes()), expected(dst.packedBytes() * 2);
    src.read(from);
    src.guard(true);
    dst.guard(true);
    FUZZ_EXPECT(vantor_scale(anyEngine(input), &dst.image(), &src.image()) == VANTOR_OK);
    from.resize(from.size() * 2);  // gray reductions of the device read and write chroma
    vantorClient::runInterpBicubic(record(expected, dst.image().width, dst.image().height),
                                   record(from, srcWidth, srcHeight), deviceFormat(src.image()));
    dst.guard(false);
    const Bytes actual = dst.packed();
    expectSame(actual.data(), expected.data(), actual.size());
}

void warp(Input& input) {
    const int format = input.between(VANTOR_GRAY8, VANTOR_I420);
    const bool isEven = format != VANTOR_GRAY8;
    const int width = side(input, isEven, kMaxWarpWidth), height = side(input, isEven, kMaxWarpHeight);
    View src(input, format, width, height), dst(input, format, width, height);
    const Bytes content = input.content(src.packedBytes());
    src.read(content);
    static vantor_grid grid;
    static vantorClient::_GDCGrid nodes;
    const int shift = input.between(0, 28);
    const Bytes noise = input.content(sizeof grid);
    std::memcpy(&grid, noise.data(), sizeof grid);
    for (int k = 0; k < VANTOR_GRID_NODES; ++k) {
        nodes.dX[k] = grid.dx[k] >>= shift;
        nodes.dY[k] = grid.dy[k] >>= shift;
    }
    // As if the last column and row were repeated.
    const int fullWidth = std::max(96, (width + 15) / 16 * 16), fullHeight = std::max(64, (height + 1) / 2 * 2);
    Bytes from(static_cast<size_t>(fullWidth * fullHeight) * 3 / 2), expected(from.size());
    for (int y = 0; y < fullHeight * 3 / 2; ++y) {
        const bool isLuma = y < fullHeight;
        if (!isLuma && !isEven) break;
        const int row = isLuma ? std::min(y, height - 1) : height + std::min(y - fullHeight, height / 2 - 1);
        for (int x = 0; x < fullWidth; ++x) {
            const int column = isLuma ? std::min(x, width - 1) : std::min(x, width - 2 + x % 2);
            from[static_cast<size_t>(y * fullWidth + x)] = content[static_cast<size_t>(row * width + column)];
        }
    }
    vantorClient::runGDCGrid(record(expected, fullWidth, fullHeight), record(from, fullWidth, fullHeight), nodes,
                             deviceFormat(src.image()), hardware::GDC_C_MODEL);
    const int step = isEven ? 2 : 1;
    const auto range = [&](int size, int32_t& first, int32_t& count) {
        first = input.between(0, size / step - 1) * step;
        count = input.between(1, (size - first) / step) * step;
    };
    vantor_rect part{0, 0, width, height};
    if (input.ConsumeBool()) range(width, part.x, part.width), range(height, part.y, part.height);
    src.guard(true);
    dst.guard(true);
    FUZZ_EXPECT(vantor_warp_part(anyEngine(input), &dst.image(), &src.image(), &grid, &part) == VANTOR_OK);
    dst.guard(false);
    const Bytes actual = dst.packed();
    for (int y = 0; y < (isEven ? height * 3 / 2 : height); ++y) {
        const bool isLuma = y < height;
        const int luma = isLuma ? y : 2 * (y - height);
        for (int x = 0; x < width; ++x) {
            const bool isPart = luma >= part.y && luma < part.y + part.height && x >= part.x && x < part.x + part.width;
            const int row = isLuma ? y : fullHeight + y - height;
            FUZZ_EXPECT(actual[static_cast<size_t>(y * width + x)] ==
                        (isPart ? expected[static_cast<size_t>(row * fullWidth + x)] : kCanary));
        }
    }
}

/// Whatever is wrong with a view is said in printable text.
void refuse(Input& input) {
    const int format = input.between(VANTOR_GRAY8, VANTOR_I420);
    View src(input, format, 16, 16), dst(input, format, 16, 16);
    vantor_image from = src.image(), to = dst.image();
    vantor_image& broken = input.ConsumeBool() ? from : to;
    const int lastPlane = format == VANTOR_GRAY8 ? 0 : format == VANTOR_I420 ? 2 : 1;
    const int plane = input.between(0, lastPlane);
    switch (input.between(0, 4)) {
        case 0:
            broken.plane[plane] = nullptr;
            break;
        case 1:
            broken.stride[plane] = input.ConsumeBool() ? input.between(0, 7) : -input.between(1, INT32_MAX);
            break;
        case 2:
            broken.width = input.ConsumeBool() ? -input.between(0, INT32_MAX) : input.between(16385, INT32_MAX);
            break;
        case 3:
            broken.format = input.between(4, INT32_MAX);
            break;
        default:
            to.plane[plane] = from.plane[plane] + input.between(0, 15);
    }
    vantor_engine* const engine = anyEngine(input);
    FUZZ_EXPECT(vantor_scale(engine, &to, &from) == VANTOR_INVALID);
    const char* const text = vantor_message(engine);
    FUZZ_EXPECT(*text != '\0' &&
                std::all_of(text, text + std::strlen(text), [](char c) { return c >= 32 && c < 127; }));
}

}  // namespace
}  // namespace vantor::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    using namespace vantor::fuzz;
    Input input(bytes, size);
    constexpr void (*kTargets[])(Input&) = {scale, scale, warp, warp, refuse};
    input.PickValueInArray(kTargets)(input);
    return 0;
}
