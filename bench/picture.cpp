#include "bench/picture.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "published/generator.h"

namespace vantor::bench {
namespace {

size_t aligned(size_t value, size_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

/// One row or column of the scene: waves that get shorter along the picture.
std::vector<int> chirp(int length, double shortest) {
    std::vector<int> levels(static_cast<size_t>(length));
    for (int i = 0; i < length; ++i) {
        const double along = static_cast<double>(i) / length;
        levels[static_cast<size_t>(i)] =
            static_cast<int>(std::lround(40 * std::sin(3.14159 * along * along * length / shortest)));
    }
    return levels;
}

class Noise {
public:
    /// -8 to 7.
    int next() {
        state_ = generatorStep(state_);
        return static_cast<int>(state_ >> 28) - 8;
    }

private:
    uint32_t state_ = 1;
};

uint8_t level(int value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

}  // namespace

Picture::Picture(Size size, int rowAlignment)
    : size_(size),
      stride_(static_cast<int>(aligned(static_cast<size_t>(size.width), static_cast<size_t>(rowAlignment)))),
      chroma_(aligned(static_cast<size_t>(stride_) * static_cast<size_t>(size.height), kAlignment) +
              kAlignment) {
    const size_t bytes = aligned(chroma_ * 3 / 2, kAlignment) + kAlignment;
    bytes_.reset(static_cast<uint8_t*>(std::aligned_alloc(kAlignment, bytes)));
    if (!bytes_) throw std::bad_alloc();
    std::memset(bytes_.get(), 0, bytes);
}

Picture makeScene(Size size) {
    Picture scene(size);
    const std::vector<int> across = chirp(size.width, 5);
    const std::vector<int> down = chirp(size.height, 7);
    Noise noise;
    for (int y = 0; y < size.height; ++y) {
        uint8_t* row = scene.y() + static_cast<ptrdiff_t>(y) * scene.stride();
        for (int x = 0; x < size.width; ++x) {
            const int tile = ((x >> 6) + (y >> 6)) % 2 == 0 ? 30 : -30;
            row[x] = level(128 + across[static_cast<size_t>(x)] + down[static_cast<size_t>(y)] + tile +
                           noise.next());
        }
    }
    for (int y = 0; y < size.height / 2; ++y) {
        uint8_t* row = scene.uv() + static_cast<ptrdiff_t>(y) * scene.stride();
        for (int x = 0; x < size.width; ++x) {
            row[x] = level(
                (x % 2 == 0 ? 128 + across[static_cast<size_t>(x)] : 128 + down[static_cast<size_t>(y)]) +
                noise.next());
        }
    }
    return scene;
}

double psnr(const Picture& a, const Picture& b) {
    const Size size = a.size();
    double sum = 0;
    for (int y = 0; y < size.height; ++y) {
        const uint8_t* rowA = a.y() + static_cast<ptrdiff_t>(y) * a.stride();
        const uint8_t* rowB = b.y() + static_cast<ptrdiff_t>(y) * b.stride();
        for (int x = 0; x < size.width; ++x) sum += (rowA[x] - rowB[x]) * (rowA[x] - rowB[x]);
    }
    const double mean = sum / static_cast<double>(size.pixels());
    return mean == 0 ? 99 : std::min(99.0, 10 * std::log10(255 * 255 / mean));
}

}  // namespace vantor::bench
