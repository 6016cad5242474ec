// The list of the arithmetic against the engines. VANTOR_PIXELS=10000000 compares as many pixels.
#include <gtest/gtest.h>

#include <cstdlib>

#include "bindings/c/grid_view.h"
#include "bindings/c/vantor/vantor.h"
#include "tests/support.h"
#include "verification/model_values.h"
#include "verification/path.h"
#include "verification/stimulus.h"

namespace vantor::verification {
namespace {

constexpr Size kSmallest{4, 4};

vantor_image viewOf(StimulusPicture& picture) {
    const auto [width, height] = picture.size;
    uint8_t* const bytes = picture.bytes.data();
    return {VANTOR_NV12, width, height, {bytes, bytes + picture.size.pixels(), nullptr}, {width, width, 0}};
}

class Arithmetic : public testing::Test {
protected:
    StimulusPicture picture(Size size) { return {size, random_.content(size.pixels() / 2 * 3)}; }

    Size size(Size least) {
        return {2 * random_.between(least.width / 2, 60), 2 * random_.between(least.height / 2, 60)};
    }

    /// All registers that the model names, and the result, at every place of a request.
    void compare(Model& model, Path& path, StimulusPicture& result) {
        PathState state = path.fresh();
        for (const Model::Domain& domain : model.domains()) {
            using D = Model::Domain;
            const bool isOfPairs = domain.kind >= D::PairColumns;
            if (path.pixelStep() == (isOfPairs ? 1 : 2) && path.name() != "warp") continue;
            Values values;
            for (int i = 0; i < domain.size.width * domain.size.height; ++i) {
                const int x = i % domain.size.width;
                const int y = i / domain.size.width;
                const int step = isOfPairs && path.name() == "warp" ? 2 : 1;
                state.x = step * x;
                state.y = step * y;
                // The second of the four nodes around a cell.
                if (domain.kind == D::Nodes)
                    state.x = ((2 * x + 1) * std::max(96, (result.size.width + 15) & ~15)) / 64;
                if (state.x >= std::max(result.size.width, 96)) continue;
                path.evaluate(state);
                values.restart();
                model.describe(domain.kind, x, y, values);
                expectSame(path, state, values, domain.kind == D::Nodes);
                if (domain.kind == D::Pixels || domain.kind == D::Pairs) expectResult(path, state, result);
                if (HasFatalFailure()) return;
                ++pixels_;
            }
        }
    }

    void expectSame(Path& path, PathState& state, const Values& values, bool isNode) {
        for (size_t i = 0; i < values.names().size(); ++i) {
            const auto& [stageName, quantity, instance] = values.names()[i];
            size_t stage = 0;
            while (path.stages()[stage].name != stageName) ASSERT_LT(++stage, path.stages().size()) << stageName;
            if (!path.isActive(state, stage)) continue;
            const int slot = path.stages()[stage].unit->slot(quantity);
            ASSERT_EQ(path.slots(state, stage, isNode ? 1 : instance)[slot], values.values()[i])
                << stageName << "." << quantity << " " << instance << " at (" << state.x << ", " << state.y << ")";
        }
    }

    static void expectResult(Path& path, PathState& state, const StimulusPicture& result) {
        const auto samples = path.samples(state);
        const auto [width, height] = result.size;
        const bool isChroma = path.pixelStep() == 2;
        const uint8_t* const pairs = result.bytes.data() + result.size.pixels();
        if (!isChroma) { ASSERT_EQ(samples[0], result.bytes[static_cast<size_t>(state.y * width + state.x)]); }
        const bool hasPair = isChroma || (path.name() == "warp" && state.x % 2 == 0 && state.y % 2 == 0);
        if (!hasPair) return;
        const uint8_t* const pair = pairs + (isChroma ? state.y * width + 2 * state.x : state.y / 2 * width + state.x);
        for (size_t i = 0; i < 2; ++i) ASSERT_EQ(samples[isChroma ? i : i + 1], pair[i]);
    }

    test::Random random_{test::seed()};
    int64_t pixels_ = 0;
};

TEST_F(Arithmetic, IsThatOfTheEngines) {
    SCOPED_TRACE(testing::Message() << "VANTOR_SEED=" << test::seed());
    const char* const wanted = std::getenv("VANTOR_PIXELS");
    ScalePath scale[2][2] = {{{false, false}, {false, true}}, {{true, false}, {true, true}}};
    WarpPath warp;
    vantor_engine* const engine = vantor_engine_new(1);
    while (pixels_ < (wanted ? std::atoll(wanted) : 30000) && !HasFatalFailure()) {
        StimulusPicture source = picture(size(kSmallest));
        const Size target = size(kSmallest);
        StimulusPicture result = picture(target);
        vantor_image from = viewOf(source);
        vantor_image to = viewOf(result);
        if (!(target == source.size)) {
            ASSERT_EQ(vantor_scale(engine, &to, &from), 0);
            const bool isReduction = target.width <= source.size.width && target.height <= source.size.height;
            const auto model = makeScaleModel(source.view(), target);
            for (ScalePath& path : scale[isReduction]) {
                path.setRequest(source.view(), target);
                compare(*model, path, result);
            }
        }
        Grid grid;
        const int magnitude = 1 << random_.between(4, 23);
        for (int32_t* nodes : {grid.dX, grid.dY}) {
            for (int i = 0; i < kGridNodes * kGridNodes; ++i) nodes[i] = random_.between(-magnitude, magnitude - 1);
        }
        vantor_grid view;
        c::store(grid, view);
        result = picture(source.size);
        to = viewOf(result);
        ASSERT_EQ(vantor_warp(engine, &to, &from, &view), 0);
        warp.setRequest(source.view(), grid);
        compare(*makeWarpModel(source.view(), grid), warp, result);
    }
    vantor_engine_free(engine);
}

TEST_F(Arithmetic, HasTheWidthsThatItsRangesNeed) {
    for (const Unit& unit : arithmetic()) {
        const std::vector<Range> ranges = rangesOf(unit, {});
        for (size_t i = 0; i < ranges.size(); ++i) {
            const Format& format = unit.quantities[i].format;
            const std::string name = unit.name + "." + unit.quantities[i].name;
            EXPECT_TRUE(ranges[i].isDecided()) << name << ": from " << ranges[i].low << " to " << ranges[i].high
                                               << ", seen " << ranges[i].least << " to " << ranges[i].most;
            EXPECT_EQ(toString(Format{format.isSigned, format.bits, 0}), toString(ranges[i].bound())) << name;
        }
    }
}

}  // namespace
}  // namespace vantor::verification
