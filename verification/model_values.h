// What the engines' own functions compute on the way to a pixel, under the names of the list.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "gdc_model/grid.h"
#include "verification/coverage.h"

namespace vantor::verification {

/// Registers in a fixed order. Their names are kept the first time, their values every time.
class Values {
public:
    struct Name {
        std::string stage;  ///< of a path, such as "warp.x_curve"
        std::string quantity;
        int instance;
    };

    void restart() {
        isNamed_ = !names_.empty();
        values_.clear();
    }
    void add(const char* stage, const char* quantity, int64_t value, int instance = 0) {
        if (!isNamed_) names_.push_back({stage, quantity, instance});
        values_.push_back(value);
    }

    const std::vector<Name>& names() const { return names_; }
    const std::vector<int64_t>& values() const { return values_; }

private:
    bool isNamed_ = false;
    std::vector<Name> names_;
    std::vector<int64_t> values_;
};

/// One request, place by place. Not thread-safe.
class Model {
public:
    virtual ~Model() = default;

    /// Where there is something to say: `across` and `down` count output samples, or pairs of chroma, or
    /// nodes of the grid.
    struct Domain {
        enum Kind { Columns, Rows, Nodes, Pixels, PairColumns, PairRows, Pairs };
        Kind kind;
        const char* name;
        Size size;
    };
    virtual std::vector<Domain> domains() const = 0;

    /// Appends all registers of one place.
    virtual void describe(Domain::Kind domain, int across, int down, Values& values) = 0;
};

std::unique_ptr<Model> makeScaleModel(const PictureView& source, Size target);
std::unique_ptr<Model> makeWarpModel(const PictureView& source, const Grid& grid);

}  // namespace vantor::verification
