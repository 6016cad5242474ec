#include <algorithm>

#include "scaler/axis.h"
#include "scaler/cubic.h"
#include "scaler/interp4_axis.h"
#include "scaler/interp4_filter.h"
#include "scaler/linear.h"
#include "verification/model_values.h"
#include "verification/sample.h"

namespace vantor::verification {
namespace {

constexpr Interp4Filter kFilter = makeInterp4Filter();

bool hasChroma(const PictureView& source) {
    return source.chroma != nullptr;
}

Size halved(Size size) {
    return {size.width / 2, size.height / 2};
}

std::vector<Model::Domain> domainsOf(Size target, bool isColor) {
    using D = Model::Domain;
    std::vector<D> domains{{D::Columns, "columns", {target.width, 1}},
                           {D::Rows, "rows", {1, target.height}},
                           {D::Pixels, "pixels", target}};
    if (!isColor) return domains;
    const Size pairs = halved(target);
    domains.push_back({D::PairColumns, "pair columns", {pairs.width, 1}});
    domains.push_back({D::PairRows, "pair rows", {1, pairs.height}});
    domains.push_back({D::Pairs, "pairs", pairs});
    return domains;
}

class ReductionModel : public Model {
public:
    ReductionModel(const PictureView& source, Size target)
        : source_(source),
          target_(target),
          columns_(source.size.width, target.width, kPosition8192),
          rows_(source.size.height, target.height, kPosition8192),
          pairColumns_(source.size.width / 2, std::max(target.width / 2, 1), kPosition8192),
          pairRows_(source.size.height / 2, std::max(target.height / 2, 1), kPosition8192) {}

    std::vector<Domain> domains() const override { return domainsOf(target_, hasChroma(source_)); }

    void describe(Domain::Kind domain, int x, int y, Values& values) override {
        switch (domain) {
            case Domain::Columns:
                return describeAxis("reduce.luma.column", columns_, x, values);
            case Domain::Rows:
                return describeAxis("reduce.luma.row", rows_, y, values);
            case Domain::PairColumns:
                return describeAxis("reduce.chroma.column", pairColumns_, x, values);
            case Domain::PairRows:
                return describeAxis("reduce.chroma.row", pairRows_, y, values);
            case Domain::Pixels:
                return describeLuma(x, y, values);
            case Domain::Pairs:
                return describeChroma(x, y, values);
            case Domain::Nodes:
                return;
        }
    }

private:
    static void describeAxis(const char* stage, const Axis& axis, int i, Values& values) {
        values.add(stage, "index", axis.index(i));
        values.add(stage, "phase", axis.phase(i));
    }

    static void describeCubic(const char* stage, int instance, const int (&p)[4], int t, const Cubic& cubic,
                              Values& values) {
        constexpr const char* kOperands[] = {"p0", "p1", "p2", "p3"};
        for (int i = 0; i < 4; ++i) values.add(stage, kOperands[i], p[i], instance);
        values.add(stage, "t", t, instance);
        values.add(stage, "third", cubic.third, instance);
        values.add(stage, "second", cubic.second, instance);
        values.add(stage, "sum", cubic.sum, instance);
        values.add(stage, "value", cubic.value, instance);
    }

    void describeLuma(int x, int y, Values& values) const {
        const auto tap = [](int index, int i, int size) { return std::clamp(index + i - 1, 0, size - 1); };
        int filtered[4];
        for (int j = 0; j < 4; ++j) {
            const int row = tap(rows_.index(y), j, source_.size.height);
            int p[4];
            for (int i = 0; i < 4; ++i) {
                p[i] =
                    static_cast<int>(lumaSample(source_, tap(columns_.index(x), i, source_.size.width), row));
            }
            const Cubic across(p[0], p[1], p[2], p[3], columns_.phase(x));
            describeCubic("reduce.luma.across", j, p, columns_.phase(x), across, values);
            filtered[j] = across.value;
        }
        const Cubic down(filtered[0], filtered[1], filtered[2], filtered[3], rows_.phase(y));
        describeCubic("reduce.luma.down", 0, filtered, rows_.phase(y), down, values);
    }

    void describeChroma(int x, int y, Values& values) const {
        const Size size = halved(source_.size);
        const int left = pairColumns_.index(x);
        const int top = pairRows_.index(y);
        for (int channel = 0; channel < 2; ++channel) {
            int filtered[2];
            for (int j = 0; j < 2; ++j) {
                const auto sample = [&](int column) {
                    return static_cast<int>(chromaSample(source_, std::min(column, size.width - 1),
                                                         std::min(top + j, size.height - 1), channel));
                };
                const int a = sample(left);
                const int b = sample(left + 1);
                filtered[j] = linear<5, 0>(a, b, pairColumns_.phase(x));
                const int instance = 2 * channel + j;
                values.add("reduce.chroma.across", "a", a, instance);
                values.add("reduce.chroma.across", "b", b, instance);
                values.add("reduce.chroma.across", "value", filtered[j], instance);
            }
            values.add("reduce.chroma.down", "value",
                       linear<5, 0>(filtered[0], filtered[1], pairRows_.phase(y)), channel);
        }
    }

    PictureView source_;
    Size target_;
    Axis columns_;
    Axis rows_;
    Axis pairColumns_;
    Axis pairRows_;
};

class EnlargementModel : public Model {
public:
    EnlargementModel(const PictureView& source, Size target)
        : source_(source),
          target_(target),
          columns_(source.size.width, 0, source.size.width, target.width),
          rows_(source.size.height, 0, source.size.height, target.height) {}

    std::vector<Domain> domains() const override { return domainsOf(target_, hasChroma(source_)); }

    void describe(Domain::Kind domain, int x, int y, Values& values) override {
        switch (domain) {
            case Domain::Columns:
                return describeAxis("enlarge.luma.column", columns_.position(x), 5, values);
            case Domain::Rows:
                return describeAxis("enlarge.luma.row", rows_.position(y), 5, values);
            case Domain::PairColumns:
                return describeAxis("enlarge.chroma.column", columns_.position(2 * x), 6, values);
            case Domain::PairRows:
                return describeAxis("enlarge.chroma.row", rows_.position(2 * y), 6, values);
            case Domain::Pixels:
                return describeLuma(x, y, values);
            case Domain::Pairs:
                return describeChroma(x, y, values);
            case Domain::Nodes:
                return;
        }
    }

private:
    static void describeAxis(const char* stage, int64_t position, int phaseBits, Values& values) {
        values.add(stage, "position", position);
        values.add(stage, "index", position >> phaseBits);
        values.add(stage, "phase", position & ((1 << phaseBits) - 1));
    }

    void describeLuma(int x, int y, Values& values) const {
        constexpr const char* kSamples[] = {"s0", "s1", "s2", "s3"};
        constexpr const char* kWeights[] = {"weight0", "weight1", "weight2", "weight3"};
        const int64_t column = columns_.position(x);
        const int64_t row = rows_.position(y);
        const int16_t* const across = kFilter.data() + 4 * (column & 31);
        const int16_t* const down = kFilter.data() + 4 * (row & 31);
        int rows[4];
        for (int j = 0; j < 4; ++j) {
            uint8_t samples[4];
            for (int i = 0; i < 4; ++i) {
                samples[i] =
                    static_cast<uint8_t>(lumaSample(source_, (column >> 5) + i - 1, (row >> 5) + j - 1));
                values.add("enlarge.luma.across", kSamples[i], samples[i], j);
            }
            rows[j] = interp4Across(samples, across);
            values.add("enlarge.luma.across", "row", rows[j], j);
        }
        for (int i = 0; i < 4; ++i) {
            values.add("enlarge.luma.across", kWeights[i], across[i]);
            values.add("enlarge.luma.down", kWeights[i], down[i]);
        }
        values.add("enlarge.luma.down", "value", interp4Down(rows[0], rows[1], rows[2], rows[3], down));
    }

    void describeChroma(int x, int y, Values& values) const {
        const int64_t column = columns_.position(2 * x);
        const int64_t row = rows_.position(2 * y);
        for (int channel = 0; channel < 2; ++channel) {
            int filtered[2];
            for (int j = 0; j < 2; ++j) {
                const int instance = 2 * channel + j;
                const auto a = static_cast<int>(chromaSample(source_, column >> 6, (row >> 6) + j, channel));
                const auto b =
                    static_cast<int>(chromaSample(source_, (column >> 6) + 1, (row >> 6) + j, channel));
                filtered[j] = linear<6, 32>(a, b, static_cast<int>(column & 63));
                values.add("enlarge.chroma.across", "a", a, instance);
                values.add("enlarge.chroma.across", "b", b, instance);
                values.add("enlarge.chroma.across", "value", filtered[j], instance);
            }
            values.add("enlarge.chroma.down", "value",
                       linear<6, 32>(filtered[0], filtered[1], static_cast<int>(row & 63)), channel);
        }
    }

    PictureView source_;
    Size target_;
    Interp4Axis columns_;
    Interp4Axis rows_;
};

}  // namespace

std::unique_ptr<Model> makeScaleModel(const PictureView& source, Size target) {
    if (target.width <= source.size.width && target.height <= source.size.height) {
        return std::make_unique<ReductionModel>(source, target);
    }
    return std::make_unique<EnlargementModel>(source, target);
}

}  // namespace vantor::verification
