#include "verification/stimulus.h"

#include <algorithm>
#include <functional>
#include <map>
#include <random>

#include "gdc_model/grid_interp.h"
#include "verification/items.h"

namespace vantor::verification {
namespace {

constexpr int kMinSide = 4;
constexpr int kNone = StimulusRequest::kNone;

/// Draws each random number in a statement of its own: the order of a call's arguments is the compiler's.
class Builder {
public:
    Builder(const Limits& limits, uint32_t seed) : limits_(limits), coverage_(limits, 0), random_(seed) {}

    Stimulus build() {
        addLongRows();
        scaleLongRows();
        scaleTies();
        warpTies();
        repeat(10, [this] { warpLongRows(); });
        repeat(4, [this] { search(); });
        stimulus_.isComplete = coverage_.isComplete();
        dropSuperfluousRequests();
        dropUnused(stimulus_.pictures, &StimulusRequest::picture);
        dropUnused(stimulus_.grids, &StimulusRequest::grid);
        return std::move(stimulus_);
    }

private:
    void search() {
        repeat(300, [this] { scaleSmall(); });
        repeat(60, [this] { warpSmall(); });
        plantGrids();
        repeat(40, [this] { warpLongRows(); });
        repeat(150, [this] { warpShifted(); });
    }

    /// Until so many in a row brought nothing, or nothing is left.
    void repeat(int patience, const std::function<void()>& attempt) {
        for (int vain = 0; vain < patience && !coverage_.isComplete(); ++vain) {
            const size_t before = stimulus_.requests.size();
            attempt();
            if (stimulus_.requests.size() > before) vain = 0;
        }
    }

    int between(int low, int high) {
        return low + static_cast<int>(random_() % static_cast<uint32_t>(high - low + 1));
    }

    int addPicture(Size size, int mostExtreme = 2) {
        StimulusPicture picture{size, std::vector<uint8_t>(size.pixels() / 2 * 3)};
        const int kind = between(0, mostExtreme);
        for (uint8_t& sample : picture.bytes) {
            const auto any = static_cast<uint8_t>(random_());
            const auto extreme = static_cast<uint8_t>(any & 1 ? 255 : 0);
            sample = kind == 0 ? any : kind == 1 || between(0, 3) > 0 ? extreme : any;
        }
        stimulus_.pictures.push_back(std::move(picture));
        return static_cast<int>(stimulus_.pictures.size()) - 1;
    }

    void scale(int picture, Size target) {
        const Size source = stimulus_.pictures[static_cast<size_t>(picture)].size;
        if (target.width > limits_.scaled.width || target.height > limits_.scaled.height) return;
        if (!limits_.takes(source.width, target.width) || !limits_.takes(source.height, target.height))
            return;
        attempt({picture, target});
    }

    void warp(int picture, const Grid& grid) {
        const int index = static_cast<int>(stimulus_.grids.size());
        stimulus_.grids.push_back(grid);
        attempt({picture, stimulus_.pictures[static_cast<size_t>(picture)].size, index});
    }

    void attempt(const StimulusRequest& request) {
        if (sees(coverage_, request)) stimulus_.requests.push_back(request);
    }

    /// Whether a request sees something for the first time.
    bool sees(Coverage& coverage, const StimulusRequest& request) const {
        const PictureView source = stimulus_.pictures[static_cast<size_t>(request.picture)].view();
        if (request.grid == kNone) return coverage.scaled(source, request.target, {}) > 0;
        return coverage.warped(source, stimulus_.grids[static_cast<size_t>(request.grid)], {}) > 0;
    }

    /// Registers of positions need the largest sizes and ratios.
    void scaleLongRows() {
        const auto [width, height] = limits_.scaled;
        for (const int side : {width & ~1, limits_.longestReduced(width)}) {
            const int wide = addPicture({side, kMinSide});
            for (const int target : {limits_.shortestTarget(side), side - 2}) scale(wide, {target, kMinSide});
            scale(wide, {side, kMinSide + 2});
        }
        for (const int side : {height & ~1, limits_.longestReduced(height)}) {
            const int tall = addPicture({kMinSide, side});
            for (const int target : {limits_.shortestTarget(side), side - 2}) scale(tall, {kMinSide, target});
            scale(tall, {kMinSide + 2, side});
        }
    }

    /// Only some ratios put positions half way between two phases, of luma and of chroma.
    void scaleTies() {
        constexpr int kSource = 130;
        constexpr int kTarget = 256;
        scale(addPicture({kSource, 16}), {kTarget, 16});
        scale(addPicture({16, kSource}), {16, kTarget});
    }

    void scaleSmall() {
        const Size size{2 * between(4, 40), 2 * between(4, 40)};
        const auto side = [&](int source) {
            return between(0, 1) == 0 ? 2 * between(2, 60) : std::max(source + 2 * between(-3, 3), kMinSide);
        };
        const Size target{side(size.width), side(size.height)};
        scale(addPicture(size), target);
    }

    void addLongRows() {
        const auto [width, height] = limits_.warped;
        longRows_[0] = addPicture({width & ~1, kMinSide});
        longRows_[1] = addPicture({kMinSide, height & ~1});
    }

    void warpLongRows() {
        const Grid grid = makeGrid();
        warp(longRows_[random_() % 2], grid);
    }

    /// There is one height at which rows lie half way between two virtual ones.
    void warpTies() {
        constexpr int kHeight = 4096;
        if (limits_.warped.height < kHeight) return;
        const Grid grid = makeGrid();
        warp(addPicture({kMinSide, kHeight}), grid);
    }

    void warpSmall() {
        if (between(0, 3) == 0 || smallWarps_.empty())
            smallWarps_.push_back(addPicture({2 * between(8, 32), 2 * between(8, 32)}));
        const auto picture =
            smallWarps_[static_cast<size_t>(between(0, static_cast<int>(smallWarps_.size()) - 1))];
        warp(picture, makeGrid());
    }

    /// With the same fractions everywhere, and samples that clamps leave alone.
    void warpShifted() {
        if (shifted_ == kNone) shifted_ = addPicture({64, 64}, 0);
        Grid grid;
        for (int32_t* nodes : {grid.dX, grid.dY}) std::fill_n(nodes, kGridNodes * kGridNodes, node(1 << 15));
        warp(shifted_, grid);
    }

    /// The last bits of a grid's rows rarely show: what is left of their items is searched for node by node.
    void plantGrids() {
        const WarpPath path;
        std::map<std::string, bool> isOpen;
        for (const CoverageItem& item : coverage_.items())
            isOpen[item.name] = !item.isSeen && item.proof.empty();
        for (const Item& item : itemsOf(path, limits_)) {
            if (!isOpen[item.name] || path.stages()[item.stage].unit->name != "grid_row") continue;
            repeatPlanting(item);
        }
    }

    /// Until it brings something, or turns out to be in vain.
    void repeatPlanting(const Item& item) {
        constexpr int kAttempts = 10;
        const size_t before = stimulus_.requests.size();
        for (int i = 0; i < kAttempts && stimulus_.requests.size() == before; ++i) {
            if (!plantGrid(item)) return;
        }
    }

    /// Whether there were nodes to plant.
    bool plantGrid(const Item& item) {
        const Size size{std::min(128, limits_.warped.width & ~15),
                        std::min(2 * between(34, 60), limits_.warped.height & ~1)};
        const GdcFrame frame = requestFrame(size.width, size.height, {0, 0, size.width - 1, size.height - 1});
        Grid grid = makeGrid(4);
        bool isPlanted = false;
        for (int i = 0; i < kGridCells / 2; ++i) {
            const int row = between(0, size.height - 1);
            const VirtualPosition at = virtualPosition(frame.y, row, kVirtualCellHeight);
            for (int column = 0; column < kGridNodes; ++column)
                isPlanted |= plantNodes(item, at, column, grid);
        }
        if (isPlanted) warp(addPicture(size), grid);
        return isPlanted;
    }

    /// Sets the nodes of one column around a row so that the fault changes its value there, if there are
    /// such.
    bool plantNodes(const Item& item, const VirtualPosition& at, int column, Grid& grid) {
        constexpr int kTries = 300;
        const Unit& unit = unitNamed("grid_row");
        std::vector<int64_t> good = unit.fresh;
        std::vector<int64_t> bad;
        good[4] = at.cell;
        good[5] = at.within;
        for (int tries = 0; tries < kTries; ++tries) {
            for (size_t i = 0; i < 4; ++i) good[i] = node(4096);
            if (at.cell == 1) good[0] = 0;
            if (at.cell == kGridCells) good[3] = 0;
            unit.evaluate(good.data());
            const auto quantity = static_cast<size_t>(item.fault.quantity);
            if (!item.isReached(unit.quantities[quantity], good.data(), unit.slotOf(quantity))) continue;
            bad = good;
            unit.damage(bad.data(), item.fault);
            if (good[*unit.result] == bad[*unit.result]) continue;
            for (int i = std::max(0, 2 - at.cell); i < 4 && at.cell - 2 + i < kGridNodes; ++i) {
                const int place = kGridNodes * (at.cell - 2 + i) + column;
                grid.dX[place] = grid.dY[place] = static_cast<int32_t>(good[static_cast<size_t>(i)]);
            }
            return true;
        }
        return false;
    }

    int node(int magnitude) {
        const int limit = std::min(magnitude, limits_.node);
        return between(-limit, limit - 1);
    }

    /// Of nodes at random, of one magnitude or of several; or of the largest that follow each other with
    /// alternating signs, but for some.
    Grid makeGrid(int firstKind = 0) {
        Grid grid;
        for (int32_t* nodes : {grid.dX, grid.dY}) {
            const int kind = between(firstKind, 6);
            const int bits = between(7, 24);
            const int changes = between(2, 12);
            const int common = node(1 << between(7, 15));
            for (int row = 0; row < kGridNodes; ++row) {
                for (int column = 0; column < kGridNodes; ++column) {
                    int32_t& node = nodes[kGridNodes * row + column];
                    const bool isHigh = (kind == 0 ? row : kind == 1 ? column : row + column) % 2 == 0;
                    if (kind == 6) {
                        node = common;
                    } else if (kind > 2) {
                        node = this->node(1 << (kind == 3 ? between(7, 24) : bits));
                    } else if (between(0, changes) == 0) {
                        node = this->node(limits_.node);
                    } else {
                        node = isHigh == (between(0, changes) > 0) ? limits_.node - 1 : -limits_.node;
                    }
                }
            }
        }
        return grid;
    }

    /// Those that see nothing that later ones do not see.
    void dropSuperfluousRequests() {
        Coverage coverage(limits_, 0);
        std::vector<StimulusRequest> kept;
        for (size_t i = stimulus_.requests.size(); i-- > 0;) {
            if (sees(coverage, stimulus_.requests[i])) kept.push_back(stimulus_.requests[i]);
        }
        stimulus_.requests = std::move(kept);
    }

    /// Keeps what requests name, in the order in which they do.
    template <typename Named>
    void dropUnused(std::vector<Named>& all, int StimulusRequest::*index) {
        std::vector<Named> used;
        std::vector<int> places(all.size(), kNone);
        for (StimulusRequest& request : stimulus_.requests) {
            if (request.*index == kNone) continue;
            const auto old = static_cast<size_t>(request.*index);
            if (places[old] == kNone) {
                places[old] = static_cast<int>(used.size());
                used.push_back(std::move(all[old]));
            }
            request.*index = places[old];
        }
        all = std::move(used);
    }

    const Limits& limits_;
    Coverage coverage_;
    std::mt19937 random_;
    Stimulus stimulus_;
    std::vector<int> smallWarps_;
    int longRows_[2] = {};
    int shifted_ = kNone;
};

}  // namespace

PictureView StimulusPicture::view() const {
    return {bytes.data(), size.width, bytes.data() + size.pixels(), size.width, size};
}

size_t Stimulus::samples() const {
    size_t count = 0;
    for (const StimulusPicture& picture : pictures) count += picture.bytes.size();
    for (const StimulusRequest& request : requests) count += request.target.pixels() / 2 * 3;
    return count;
}

Stimulus makeStimulus(const Limits& limits, uint32_t seed) {
    return Builder(limits, seed).build();
}

}  // namespace vantor::verification
