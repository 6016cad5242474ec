// Pictures as callers of the C library have them, and what the device makes of the same samples.
#pragma once

#include <deque>

#include "tests/support.h"
#include "vantor/vantor.h"

namespace vantor::test {

using Bytes = std::vector<uint8_t>;
constexpr uint8_t kCanary = 0xA5;

struct Size {
    int width, height;

    bool isEven() const { return width % 2 == 0 && height % 2 == 0; }
    size_t samples() const { return size_t(width) * size_t(height); }
    size_t bytes(int format) const { return format == VANTOR_GRAY8 ? samples() : samples() * 3 / 2; }
};

/// From FlushLeft on each row has pages of its own, with a page without access directly before or directly behind
/// its samples. Wide rows are 1 MB apart.
enum class Layout { Packed, Padded, FlushLeft, FlushRight, Wide };

class Plane {
public:
    Plane(int width, int height, Layout layout) : rowBytes(size_t(width)), rows(size_t(height)) {
        const auto page = size_t(sysconf(_SC_PAGESIZE));
        const auto pages = [=](size_t bytes) { return (bytes + page - 1) / page * page; };
        isFlush_ = layout >= Layout::FlushLeft;
        room_ = isFlush_ ? pages(rowBytes) : rowBytes + (layout == Layout::Padded ? 21 : 0);
        stride = layout == Layout::Wide ? size_t{1} << 20 : isFlush_ ? room_ + page : room_;
        offset_ = layout >= Layout::FlushRight ? room_ - rowBytes : 0;
        mapped_ = page + pages(rows * stride);
        const int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
        base_ = static_cast<uint8_t*>(mmap(nullptr, mapped_, PROT_NONE, flags, -1, 0));
        if (base_ == MAP_FAILED) std::abort();
        first_ = base_ + page;
        protect(PROT_READ | PROT_WRITE);
        for (size_t y = 0; y < rows; ++y) std::memset(first_ + y * stride, kCanary, room_);
    }
    ~Plane() { munmap(base_, mapped_); }
    Plane(const Plane&) = delete;
    Plane& operator=(const Plane&) = delete;

    uint8_t* row(size_t y) const { return first_ + y * stride + offset_; }
    void protect(int access) {
        const size_t bytes = isFlush_ ? room_ : mapped_ - size_t(first_ - base_);
        for (size_t y = 0; y < (isFlush_ ? rows : 1); ++y)
            if (mprotect(first_ + y * stride, bytes, access) != 0) std::abort();
    }
    bool areGapsIntact() const {
        for (size_t y = 0; y < rows; ++y) {
            Bytes room(first_ + y * stride, first_ + y * stride + room_);
            std::fill_n(&room[offset_], rowBytes, kCanary);
            if (room != Bytes(room_, kCanary)) return false;
        }
        return true;
    }

    size_t rowBytes, rows, stride;

private:
    size_t room_, offset_, mapped_;
    bool isFlush_;
    uint8_t *base_, *first_;
};

/// A picture full of canaries. The planes that its format does not have are such that no call may look at them.
class Picture {
public:
    Picture(int format, Size size, Layout layout = Layout::Packed) : view{format, size.width, size.height, {}, {}} {
        const int planes = format == VANTOR_GRAY8 ? 1 : format == VANTOR_I420 ? 3 : 2;
        for (int i = 0; i < 3; ++i) {
            view.plane[i] = reinterpret_cast<uint8_t*>(1), view.stride[i] = PTRDIFF_MAX;
            if (i >= planes) continue;
            planes_.emplace_back(planes == 3 && i > 0 ? size.width / 2 : size.width, size.height >> (i > 0), layout);
            view.plane[i] = planes_[size_t(i)].row(0), view.stride[i] = ptrdiff_t(planes_[size_t(i)].stride);
        }
    }

    /// From, and to, packed luma and pairs of chroma. What is filled can no longer be written.
    void fill(const Bytes& bytes) {
        forSamples([&](uint8_t& sample, size_t i) { sample = bytes[i]; });
        for (Plane& plane : planes_) plane.protect(PROT_READ);
    }
    Bytes bytes() const {
        Bytes all(Size{view.width, view.height}.bytes(view.format));
        forSamples([&](uint8_t& sample, size_t i) { all[i] = sample; });
        return all;
    }
    bool has(const Bytes& expected) const {
        const auto isIntact = [](const Plane& plane) { return plane.areGapsIntact(); };
        return bytes() == expected && std::all_of(planes_.begin(), planes_.end(), isIntact);
    }

    vantor_image view;

private:
    template <typename Visit>
    void forSamples(const Visit& visit) const {
        size_t first = 0;
        for (const Plane& plane : planes_) {
            const bool isOfPairs = planes_.size() == 3 && first > 0;
            for (size_t y = 0; y < plane.rows; ++y)
                for (size_t x = 0; x < plane.rowBytes; ++x)
                    visit(plane.row(y)[x], first + ((y * plane.rowBytes + x) << isOfPairs));
            first += isOfPairs ? 1 : plane.rows * plane.rowBytes;
        }
    }

    std::deque<Plane> planes_;
};

inline Bytes deviceScale(Bytes source, Size from, Size to, bool isGray) {
    Bytes made;
    auto src = wholePicture(source, from.width, from.height), dst = wholePicture(made, to.width, to.height);
    EXPECT_EQ(0, hardware::vantorClient::runInterpBicubic(dst, src, isGray ? 0 : 1));
    made.resize(to.bytes(isGray ? VANTOR_GRAY8 : VANTOR_NV12));
    return made;
}

/// Calls `visit` with the index of each sample of a part of a packed picture, and its row and column in its plane.
template <typename Visit>
void forPart(Size size, const vantor_rect& part, bool isGray, const Visit& visit) {
    for (int half = 0; half < (isGray ? 1 : 2); ++half)
        for (int y = part.y >> half; y < (part.y + part.height) >> half; ++y)
            for (int x = part.x; x < part.x + part.width; ++x)
                visit(size_t(half) * size.samples() + size_t(y * size.width + x), half, y, x);
}

/// On the model. Pictures that it does not take are extended.
inline Bytes deviceWarp(const Bytes& source, Size size, const vantor_grid& grid, bool isGray) {
    const Size whole{std::max(96, (size.width + 15) / 16 * 16), std::max(64, (size.height + 1) / 2 * 2)};
    Bytes from, to, made;
    auto src = wholePicture(from, whole.width, whole.height), dst = wholePicture(to, whole.width, whole.height);
    forPart(whole, {0, 0, whole.width, whole.height}, isGray, [&](size_t i, int half, int y, int x) {
        const int column = x < size.width ? x : size.width - 1 - half + (x & half);
        const int row = std::min(y, (size.height >> half) - 1);
        from[i] = source[size_t(half) * size.samples() + size_t(row * size.width + column)];
    });
    hardware::vantorClient::_GDCGrid nodes;
    std::memcpy(&nodes, &grid, sizeof nodes);
    EXPECT_EQ(0, hardware::vantorClient::runGDCGrid(dst, src, nodes, isGray ? 0 : 1, hardware::GDC_C_MODEL));
    const vantor_rect inside{0, 0, size.width, size.height};
    forPart(whole, inside, isGray, [&](size_t i, int, int, int) { made.push_back(to[i]); });
    return made;
}

enum class Grid { Zero, Mild, Strong, Wild };

inline vantor_grid gridOf(Random& random, Grid kind) {
    const int turn = random.between(-3, 3);
    const auto node = [&](int i) {
        const int column = i % 33 - 16, row = i / 33 - 16;
        if (kind == Grid::Mild) return turn * 40 * (column * column - row * row) + random.between(-900, 900);
        if (kind == Grid::Strong) return turn * 30000 * (column + row) + random.between(-200000, 200000);
        return kind == Grid::Zero ? 0 : random.between(-32768, 32767) * 65536 + random.between(0, 65535);
    };
    vantor_grid grid;
    for (int i = 0; i < VANTOR_GRID_NODES; ++i) grid.dx[i] = node(i), grid.dy[i] = node(i);
    return grid;
}

inline vantor_rect partOf(Random& random, Size size, int unit) {
    const int x = random.between(0, size.width / unit - 1) * unit, y = random.between(0, size.height / unit - 1) * unit;
    return {x, y, random.between(1, (size.width - x) / unit) * unit,
            random.between(1, (size.height - y) / unit) * unit};
}

}  // namespace vantor::test
