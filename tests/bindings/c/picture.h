// Pictures as callers of the C library have them, and what the device makes of the same samples.
#pragma once

#include <sys/mman.h>

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

/// Flush rows have a page without access directly before or directly behind them. Wide ones are 1 MB apart.
enum class Layout { Packed, Padded, FlushLeft, FlushRight, Wide };

class Plane {
public:
    Plane(int rowBytes, int rows, Layout layout) : rowBytes_(size_t(rowBytes)), rows_(size_t(rows)) {
        const auto page = size_t(sysconf(_SC_PAGESIZE));
        const auto pages = [=](size_t bytes) { return (bytes + page - 1) / page * page; };
        isGuarded_ = layout >= Layout::FlushLeft;
        room_ = isGuarded_ ? pages(rowBytes_) : layout == Layout::Padded ? rowBytes_ + 21 : rowBytes_;
        stride_ = layout == Layout::Wide ? size_t{1} << 20 : isGuarded_ ? room_ + page : room_;
        offset_ = layout >= Layout::FlushRight ? room_ - rowBytes_ : 0;
        mapped_ = page + pages(rows_ * stride_);
        const int flags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE;
        base_ = static_cast<uint8_t*>(mmap(nullptr, mapped_, PROT_NONE, flags, -1, 0));
        if (base_ == MAP_FAILED) std::abort();
        first_ = base_ + page;
        protect(PROT_READ | PROT_WRITE);
        for (size_t y = 0; y < rows_; ++y) std::memset(first_ + y * stride_, kCanary, room_);
    }
    ~Plane() { munmap(base_, mapped_); }
    Plane(const Plane&) = delete;
    Plane& operator=(const Plane&) = delete;

    uint8_t* row(size_t y) const { return first_ + y * stride_ + offset_; }
    ptrdiff_t stride() const { return ptrdiff_t(stride_); }
    size_t rowBytes() const { return rowBytes_; }
    size_t rows() const { return rows_; }

    void protect(int access) {
        if (!isGuarded_ && mprotect(first_, mapped_ - size_t(first_ - base_), access) != 0) std::abort();
        for (size_t y = 0; y < rows_ && isGuarded_; ++y)
            if (mprotect(first_ + y * stride_, room_, access) != 0) std::abort();
    }
    bool areGapsIntact() const {
        const auto isCanary = [](uint8_t byte) { return byte == kCanary; };
        for (size_t y = 0; y < rows_; ++y) {
            uint8_t* const area = first_ + y * stride_;
            if (!std::all_of(area, row(y), isCanary)) return false;
            if (!std::all_of(row(y) + rowBytes_, area + room_, isCanary)) return false;
        }
        return true;
    }

private:
    size_t rowBytes_, rows_, room_, stride_, offset_, mapped_;
    bool isGuarded_;
    uint8_t* base_;
    uint8_t* first_;
};

/// A picture full of canaries. What its format does not have is what no call may look at.
class Picture {
public:
    Picture(int format, int width, int height, Layout layout) : view{format, width, height, {}, {}} {
        std::fill_n(view.plane, 3, reinterpret_cast<uint8_t*>(1));
        std::fill_n(view.stride, 3, PTRDIFF_MAX);
        const int chromaWidth = format == VANTOR_I420 ? width / 2 : width;
        planes_.push_back(std::make_unique<Plane>(width, height, layout));
        for (int i = 1; i < (format == VANTOR_GRAY8 ? 1 : format == VANTOR_I420 ? 3 : 2); ++i)
            planes_.push_back(std::make_unique<Plane>(chromaWidth, height / 2, layout));
        for (size_t i = 0; i < planes_.size(); ++i)
            view.plane[i] = planes_[i]->row(0), view.stride[i] = planes_[i]->stride();
    }

    /// From, and to, packed luma and pairs of chroma. What is filled can no longer be written.
    void fill(const Bytes& bytes) {
        forSamples([&](uint8_t& sample, size_t i) { sample = bytes[i]; });
        for (const auto& plane : planes_) plane->protect(PROT_READ);
    }
    Bytes bytes() const {
        Bytes all(Size{view.width, view.height}.bytes(view.format));
        forSamples([&](uint8_t& sample, size_t i) { all[i] = sample; });
        return all;
    }
    bool areGapsIntact() const {
        return std::all_of(planes_.begin(), planes_.end(), [](const auto& plane) { return plane->areGapsIntact(); });
    }

    vantor_image view;

private:
    template <typename Visit>
    void forSamples(const Visit& visit) const {
        const bool isPlanar = view.format == VANTOR_I420;
        size_t first = 0;
        for (size_t p = 0; p < planes_.size(); ++p) {
            const Plane& plane = *planes_[p];
            const size_t step = isPlanar && p > 0 ? 2 : 1;
            for (size_t y = 0; y < plane.rows(); ++y)
                for (size_t x = 0; x < plane.rowBytes(); ++x)
                    visit(plane.row(y)[x], first + (y * plane.rowBytes() + x) * step);
            first += isPlanar && p > 0 ? 1 : plane.rows() * plane.rowBytes();
        }
    }

    std::vector<std::unique_ptr<Plane>> planes_;
};

inline Bytes deviceScale(Bytes source, Size from, Size to, bool isGray) {
    // Reductions of gray pictures touch chroma as well.
    source.resize(from.samples() * 3 / 2 + 1);
    Bytes made(to.samples() * 3 / 2 + 1);
    const hardware::vantorClient::BufferData src{source.data(), nullptr, -1, -1, from.width, from.height, 0, 0, 0, 0},
        dst{made.data(), nullptr, -1, -1, to.width, to.height, 0, 0, 0, 0};
    EXPECT_EQ(0, hardware::vantorClient::runInterpBicubic(dst, src, isGray ? 0 : 1));
    made.resize(to.bytes(isGray ? VANTOR_GRAY8 : VANTOR_NV12));
    return made;
}

/// Where a sample of a part of a packed picture is.
template <typename Visit>
void forPart(Size size, const vantor_rect& part, bool isGray, const Visit& visit) {
    for (int half = 0; half < (isGray ? 1 : 2); ++half)
        for (int y = part.y >> half; y < (part.y + part.height) >> half; ++y)
            for (int x = part.x; x < part.x + part.width; ++x)
                visit(size_t(half) * size.samples() + size_t(y) * size_t(size.width) + size_t(x));
}

/// On the model; pictures that it does not take are extended.
inline Bytes deviceWarp(const Bytes& source, Size size, const vantor_grid& grid, bool isGray) {
    const Size whole{std::max(96, (size.width + 15) / 16 * 16), std::max(64, (size.height + 1) / 2 * 2)};
    Bytes from, to;
    auto src = wholePicture(from, whole.width, whole.height), dst = wholePicture(to, whole.width, whole.height);
    const auto extend = [&](size_t first, size_t target, int rows, int wholeRows, int unit) {
        for (int y = 0; y < wholeRows; ++y)
            for (int x = 0; x < whole.width; ++x) {
                const int column = x < size.width ? x : size.width - unit + x % unit;
                from[target + size_t(y * whole.width + x)] =
                    source[first + size_t(std::min(y, rows - 1) * size.width + column)];
            }
    };
    extend(0, 0, size.height, whole.height, 1);
    if (!isGray) extend(size.samples(), whole.samples(), size.height / 2, whole.height / 2, 2);
    hardware::vantorClient::_GDCGrid nodes;
    static_assert(sizeof nodes == sizeof grid);
    std::memcpy(&nodes, &grid, sizeof nodes);
    EXPECT_EQ(0, hardware::vantorClient::runGDCGrid(dst, src, nodes, isGray ? 0 : 1, hardware::GDC_C_MODEL));
    Bytes made;
    forPart(whole, {0, 0, size.width, size.height}, isGray, [&](size_t i) { made.push_back(to[i]); });
    return made;
}

enum class Grid { Zero, Mild, Strong, Wild };

inline vantor_grid gridOf(Random& random, Grid kind) {
    const int turn = random.between(-3, 3);
    const auto node = [&](int i) {
        const int column = i % 33 - 16, row = i / 33 - 16;
        if (kind == Grid::Mild) return turn * 40 * (column * column - row * row) + random.between(-900, 900);
        if (kind == Grid::Strong) return turn * 60000 * (column + row) / 2 + random.between(-200000, 200000);
        return kind == Grid::Zero ? 0 : random.between(-32768, 32767) * 65536 + random.between(0, 65535);
    };
    vantor_grid grid;
    for (int i = 0; i < VANTOR_GRID_NODES; ++i) grid.dx[i] = node(i), grid.dy[i] = node(i);
    return grid;
}

inline vantor_rect partOf(Random& random, Size size, int unit) {
    const auto range = [&](int32_t& first, int32_t& count, int limit) {
        first = random.between(0, limit / unit - 1) * unit;
        count = random.between(1, (limit - first) / unit) * unit;
    };
    vantor_rect part;
    range(part.x, part.width, size.width), range(part.y, part.height, size.height);
    return part;
}

}  // namespace vantor::test
