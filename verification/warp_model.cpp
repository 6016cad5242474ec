#include <optional>

#include "bindings/c/warp_size.h"
#include "gdc_model/grid_interp.h"
#include "gdc_model/source_samples.h"
#include "verification/model_values.h"

namespace vantor::verification {
namespace {

/// The names of one axis' stages.
struct AxisNames {
    const char* nodes;
    const char* curve;
    const char* source;
    const char* taps;
    const char* pairTaps;
};

constexpr AxisNames kAcross{"warp.x_row", "warp.x_curve", "warp.x_source", "warp.column_taps",
                            "warp.column_pair_taps"};
constexpr AxisNames kDown{"warp.y_row", "warp.y_curve", "warp.y_source", "warp.row_taps",
                          "warp.row_pair_taps"};

class WarpModel : public Model {
public:
    WarpModel(const PictureView& source, const Grid& grid)
        : source_(source),
          frame_(frameOf(c::extendedSize(source.size))),
          grids_(grid),
          planes_{source.luma,
                  source.chroma,
                  source.chroma ? source.chroma + 1 : nullptr,
                  source.lumaStride,
                  2 * source.chromaStride,
                  2 * source.chromaStride,
                  2,
                  source.size.width,
                  source.size.height} {}

    std::vector<Domain> domains() const override {
        const auto [width, height] = source_.size;
        std::vector<Domain> domains{{Domain::Columns, "columns", {width, 1}},
                                    {Domain::Rows, "rows", {1, height}},
                                    {Domain::Nodes, "node columns on rows", {kGridNodes, height}},
                                    {Domain::Pixels, "pixels", {width, height}}};
        if (source_.chroma) domains.push_back({Domain::Pairs, "pairs", {width / 2, height / 2}});
        return domains;
    }

    void describe(Domain::Kind domain, int x, int y, Values& values) override {
        switch (domain) {
            case Domain::Columns:
                return describePosition("warp.column", virtualPosition(frame_.x, x, kVirtualCellWidth),
                                        values);
            case Domain::Rows:
                return describePosition("warp.row", virtualPosition(frame_.y, y, kVirtualCellHeight), values);
            case Domain::Nodes:
                describeNode(kAcross, grids_.x, x, y, values);
                return describeNode(kDown, grids_.y, x, y, values);
            case Domain::Pixels:
                return describePixel(x, y, values);
            case Domain::Pairs:
                return describePair(2 * x, 2 * y, values);
            default:
                return;
        }
    }

private:
    /// Both grids along the row that was asked for last.
    struct Row {
        int y;
        GridRow x;
        GridRow down;
    };

    static GdcFrame frameOf(Size size) {
        return requestFrame(size.width, size.height, {0, 0, size.width - 1, size.height - 1});
    }

    static void describePosition(const char* stage, const VirtualPosition& at, Values& values) {
        values.add(stage, "coordinate", at.coordinate);
        values.add(stage, "cell", at.cell);
        values.add(stage, "within", at.within);
    }

    void describeNode(const AxisNames& names, const GdcGrid& grid, int column, int y, Values& values) const {
        const VirtualPosition at = virtualPosition(frame_.y, y, kVirtualCellHeight);
        const NodeColumn nodes(grid, at.cell, column);
        const HermiteCell hermite = nodes.hermite(at.cell);
        const RowNode node(hermite, nodes.top, at.within, rowBulgeThird(at.within));
        describeHermite(names.nodes, hermite, values);
        values.add(names.nodes, "e", node.e);
        values.add(names.nodes, "f", node.f);
        values.add(names.nodes, "g", node.g);
        values.add(names.nodes, "linear", node.linear);
        values.add(names.nodes, "value", node.value);
    }

    template <typename Hermite>
    static void describeHermite(const char* stage, const Hermite& hermite, Values& values) {
        values.add(stage, "difference", hermite.difference);
        values.add(stage, "slope_change", hermite.slopeChange);
        values.add(stage, "excess", hermite.excess);
    }

    static int32_t describeCurve(const AxisNames& names, const GridRow& row, const VirtualPosition& x,
                                 Values* values) {
        const CellCurve curve = row.curve(x.cell);
        const int32_t bulge = cellBulge(x.within);
        const CellCurve::Point point = curve.at(x.within, bulge);
        if (!values) return point.displacement;
        describeHermite(names.curve, curve, *values);
        values->add(names.curve, "bulge", bulge);
        values->add(names.curve, "e", point.e);
        values->add(names.curve, "g", point.g);
        values->add(names.curve, "linear", point.linear);
        values->add(names.curve, "displacement", point.displacement);
        return point.displacement;
    }

    static void describeSource(const char* stage, const GdcAxis& axis, int32_t displacement,
                               const SourcePosition& at, Values& values) {
        values.add(stage, "moved", sourceDisplacement(axis.invScale, axis.mirror, displacement));
        values.add(stage, "coordinate", at.coordinate);
        values.add(stage, "fraction", at.fraction);
    }

    const Row& row(int y) {
        if (!row_ || row_->y != y) {
            const VirtualPosition at = virtualPosition(frame_.y, y, kVirtualCellHeight);
            row_ = Row{y, GridRow(grids_.x, at), GridRow(grids_.y, at)};
        }
        return *row_;
    }

    /// Lists the values on the way, but for null.
    PixelSource sourceOf(int x, int y, Values* values) {
        const VirtualPosition at = virtualPosition(frame_.x, x, kVirtualCellWidth);
        const int32_t dx = describeCurve(kAcross, row(y).x, at, values);
        const int32_t dy = describeCurve(kDown, row(y).down, at, values);
        const PixelSource source =
            pixelSource(frame_, sourceCoordinate(frame_.x, x, dx), sourceCoordinate(frame_.y, y, dy));
        if (values) {
            describeSource(kAcross.source, frame_.x, dx, source.x, *values);
            describeSource(kDown.source, frame_.y, dy, source.y, *values);
        }
        return source;
    }

    void describePixel(int x, int y, Values& values) {
        constexpr const char* kTaps[] = {"tap0", "tap1", "tap2", "tap3"};
        constexpr const char* kSamples[] = {"s00", "s01", "s02", "s03", "s10", "s11", "s12", "s13",
                                            "s20", "s21", "s22", "s23", "s30", "s31", "s32", "s33"};
        constexpr const char* kWeights[] = {
            "weight00", "weight01", "weight02", "weight03", "weight10", "weight11", "weight12", "weight13",
            "weight20", "weight21", "weight22", "weight23", "weight30", "weight31", "weight32", "weight33"};
        const PixelSource at = sourceOf(x, y, &values);
        const auto columns = at.inside ? lumaTaps(at.x.index, frame_.x.sourceSize) : std::array<int, 4>{};
        const auto rows = at.inside ? lumaTaps(at.y.index, frame_.y.sourceSize) : std::array<int, 4>{};
        for (size_t i = 0; i < 4; ++i) {
            values.add(kAcross.taps, kTaps[i], columns[i]);
            values.add(kDown.taps, kTaps[i], rows[i]);
        }
        const LumaBlock samples = lumaBlock(frame_, planes_, at);
        const Bicubic luma(samples, at.x.fraction, at.y.fraction, frame_.settings);
        for (size_t i = 0; i < 16; ++i) {
            values.add("warp.luma", kSamples[i], samples[i / 4][i % 4]);
            values.add("warp.luma", kWeights[i], luma.weights[i / 4][i % 4]);
        }
        values.add("warp.luma", "weight_sum", luma.weightSum);
        values.add("warp.luma", "sum", luma.sum);
        values.add("warp.luma", "correction", luma.correction);
        values.add("warp.luma", "low", luma.low);
        values.add("warp.luma", "high", luma.high);
        values.add("warp.luma", "value", luma.value);
    }

    void describePair(int x, int y, Values& values) {
        const PixelSource at = sourceOf(x, y, nullptr);
        const auto taps = [&](const AxisNames& names, const SourcePosition& position, int size) {
            const ChromaTaps pair = at.inside ? chromaTaps(position, size) : ChromaTaps{0, 0};
            values.add(names.pairTaps, "tap0", pair.first);
            values.add(names.pairTaps, "tap1", pair.second);
        };
        taps(kAcross, at.x, frame_.x.sourceSize);
        taps(kDown, at.y, frame_.y.sourceSize);
        const ChromaQuads quads = chromaQuads(frame_, planes_, at);
        describeBilinear(Bilinear(quads.u, at.x, at.y, frame_.settings), 0, values);
        describeBilinear(Bilinear(quads.v, at.x, at.y, frame_.settings), 1, values);
    }

    static void describeBilinear(const Bilinear& chroma, int channel, Values& values) {
        const auto add = [&](const char* name, int64_t value) {
            values.add("warp.chroma", name, value, channel);
        };
        add("left_top", chroma.samples.leftTop);
        add("right_top", chroma.samples.rightTop);
        add("left_bottom", chroma.samples.leftBottom);
        add("right_bottom", chroma.samples.rightBottom);
        add("x", chroma.fractionX);
        add("y", chroma.fractionY);
        add("left_top_weight", chroma.leftTopWeight);
        add("right_top_weight", chroma.rightTopWeight);
        add("left_bottom_weight", chroma.leftBottomWeight);
        add("right_bottom_weight", chroma.rightBottomWeight);
        add("value", chroma.value);
    }

    PictureView source_;
    GdcFrame frame_;
    GridTables grids_;
    GdcPlanes<const uint8_t> planes_;
    std::optional<Row> row_;
};

}  // namespace

std::unique_ptr<Model> makeWarpModel(const PictureView& source, const Grid& grid) {
    return std::make_unique<WarpModel>(source, grid);
}

}  // namespace vantor::verification
