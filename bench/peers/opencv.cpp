#include <memory>
#include <opencv2/imgproc.hpp>

#include "bench/peers/peers.h"

namespace vantor::bench {
namespace {

cv::Mat plane(const uint8_t* samples, Size size, int stride, int type) {
    return {size.height, size.width, type, const_cast<uint8_t*>(samples), static_cast<size_t>(stride)};
}

/// The two planes of an NV12 picture, which keeps the samples.
struct Planes {
    cv::Mat luma;
    cv::Mat chroma;

    explicit Planes(const Picture& picture)
        : luma(plane(picture.y(), picture.size(), picture.stride(), CV_8UC1)),
          chroma(plane(picture.uv(), picture.chromaSize(), picture.stride(), CV_8UC2)) {}
};

Scaler scaler(const char* name, Filter filter, int luma, int chroma) {
    return {name, filter, [luma, chroma](const Picture& src, Picture& dst) -> Work {
                const Planes from(src);
                const Planes to(dst);
                return [from, to, luma, chroma] {
                    cv::resize(from.luma, to.luma, to.luma.size(), 0, 0, luma);
                    cv::resize(from.chroma, to.chroma, to.chroma.size(), 0, 0, chroma);
                };
            }};
}

/// Makes the map of one plane from the source positions of a grid's nodes. cv::resize interpolates linearly,
/// so no identity needs to be added.
class PlaneMap {
public:
    /// `size` is the plane's, `picture` that of the luma.
    PlaneMap(const Grid& grid, Size picture, cv::Size size)
        : positions_(33, 33, CV_32FC2),
          // Node k is at k / 32 of the picture, and for cv::resize in the centre of the k-th of 33 cells.
          canvas_(cvRound(size.width * 33 / 32.0), cvRound(size.height * 33 / 32.0)),
          frame_(cv::Point(cvRound(size.width / 64.0), cvRound(size.height / 64.0)), size) {
        const double samplesPerPixel = static_cast<double>(size.width) / picture.width;
        for (int row = 0; row < 33; ++row) {
            for (int column = 0; column < 33; ++column) {
                const Point displacement = nodeDisplacement(grid, row, column, picture);
                positions_.at<cv::Vec2f>(row, column) =
                    cv::Vec2d(place(column, canvas_.width, frame_.x) + displacement.x * samplesPerPixel,
                              place(row, canvas_.height, frame_.y) + displacement.y * samplesPerPixel);
            }
        }
    }

    cv::Mat make() {
        cv::resize(positions_, map_, canvas_, 0, 0, cv::INTER_LINEAR);
        return map_(frame_);
    }

private:
    static double place(int node, int canvas, int offset) {
        return (node + 0.5) * canvas / 33 - 0.5 - offset;
    }

    cv::Mat positions_;
    cv::Size canvas_;
    cv::Rect frame_;
    cv::Mat map_;
};

void remap(const cv::Mat& src, const cv::Mat& dst, const cv::Mat& map1, const cv::Mat& map2, int filter) {
    const cv::Scalar outside = src.channels() == 1 ? cv::Scalar(0) : cv::Scalar(128, 128);
    cv::remap(src, dst, map1, map2, filter, cv::BORDER_CONSTANT, outside);
}

struct Maps {
    Planes from;
    Planes to;
    PlaneMap luma;
    PlaneMap chroma;

    Maps(const Grid& grid, const Picture& src, const Picture& dst)
        : from(src),
          to(dst),
          luma(grid, src.size(), to.luma.size()),
          chroma(grid, src.size(), to.chroma.size()) {}
};

Warper warper(const char* name, Filter filter, int luma, int chroma) {
    return {name, filter, [luma, chroma](const Grid& grid, const Picture& src, Picture& dst) -> Work {
                auto maps = std::make_shared<Maps>(grid, src, dst);
                return [maps, luma, chroma] {
                    remap(maps->from.luma, maps->to.luma, maps->luma.make(), {}, luma);
                    remap(maps->from.chroma, maps->to.chroma, maps->chroma.make(), {}, chroma);
                };
            }};
}

/// In the form that cv::remap is fastest with: whole samples, and an index into its table of weights.
struct FixedPointMap {
    cv::Mat whole;
    cv::Mat weights;

    explicit FixedPointMap(const cv::Mat& map) { cv::convertMaps(map, {}, whole, weights, CV_16SC2); }
};

Warper warperWithMaps(const char* name, Filter filter, int luma, int chroma) {
    return {name, filter, [luma, chroma](const Grid& grid, const Picture& src, Picture& dst) -> Work {
                Maps maps(grid, src, dst);
                return [from = maps.from, to = maps.to, lumaMap = FixedPointMap(maps.luma.make()),
                        chromaMap = FixedPointMap(maps.chroma.make()), luma, chroma] {
                    remap(from.luma, to.luma, lumaMap.whole, lumaMap.weights, luma);
                    remap(from.chroma, to.chroma, chromaMap.whole, chromaMap.weights, chroma);
                };
            }};
}

}  // namespace

Contender opencvContender() {
    cv::setNumThreads(1);
    using cv::INTER_AREA;
    using cv::INTER_CUBIC;
    using cv::INTER_LINEAR;
    return {"OpenCV",
            CV_VERSION,
            {scaler("OpenCV linear", Filter::FewerTaps, INTER_LINEAR, INTER_LINEAR),
             scaler("OpenCV area", Filter::FewerTaps, INTER_AREA, INTER_AREA),
             scaler("OpenCV cubic", Filter::FourTaps, INTER_CUBIC, INTER_CUBIC),
             scaler("OpenCV cubic, linear chroma", Filter::FourTaps, INTER_CUBIC, INTER_LINEAR)},
            {warper("OpenCV linear", Filter::FewerTaps, INTER_LINEAR, INTER_LINEAR),
             warper("OpenCV cubic", Filter::FourTaps, INTER_CUBIC, INTER_CUBIC),
             warper("OpenCV cubic, linear chroma", Filter::FourTaps, INTER_CUBIC, INTER_LINEAR),
             warperWithMaps("OpenCV linear, maps kept", Filter::FewerTaps, INTER_LINEAR, INTER_LINEAR),
             warperWithMaps("OpenCV cubic, linear chroma, maps kept", Filter::FourTaps, INTER_CUBIC,
                            INTER_LINEAR)}};
}

}  // namespace vantor::bench
