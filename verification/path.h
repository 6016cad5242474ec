// The ways through the arithmetic: which units a pixel of the output passes, and what feeds each of them.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "gdc_model/gdc_frame.h"
#include "verification/arithmetic.h"
#include "verification/coverage.h"
#include "verification/ranges.h"

namespace vantor::verification {

/// A unit in its place, once or several times side by side.
struct Stage {
    std::string name;
    const Unit* unit;
    Direction direction;
    int instances;
    size_t offset;  ///< of its first instance's slots in a state
};

/// The slots of all stages for one pixel.
struct PathState {
    std::vector<int64_t> slots;
    std::vector<uint32_t> versions;  ///< of stages: how often they were evaluated
    int x;
    int y;
};

/// What one pixel of one kind of request passes. Samples beyond a picture's border, which only faulty
/// hardware reads, are those from its other end, as in a ring of line buffers.
class Path {
public:
    virtual ~Path() = default;

    const std::string& name() const { return name_; }
    const std::vector<Stage>& stages() const { return stages_; }
    PathState fresh() const;

    int64_t* slots(PathState& state, size_t stage, int instance) const {
        const Stage& s = stages_[stage];
        return state.slots.data() + s.offset + static_cast<size_t>(instance) * s.unit->fresh.size();
    }

    /// Size of the output plane, of samples or pairs; none if such requests do not take this path.
    virtual Size output() const = 0;
    virtual bool isActive(PathState& /*state*/, size_t /*stage*/) const { return true; }

    /// Evaluates the stages from `first` to before `end` for the state's pixel, but for those whose operands
    /// are what they were.
    void evaluate(PathState& state, size_t first = 0, size_t end = SIZE_MAX) const;

    /// Turns an evaluated stage into that of faulty hardware.
    void damage(PathState& state, size_t stage, const Fault& fault) const;

    /// Luma pixels from one of the output's samples to the next.
    virtual int pixelStep() const { return 1; }

    /// Samples of the output: one, or with chroma up to three.
    virtual std::array<int, 3> samples(PathState& state) const = 0;

protected:
    /// A register of a stage.
    struct Register {
        size_t stage;
        size_t slot;
    };

    explicit Path(std::string name) : name_(std::move(name)) {}

    size_t addStage(const std::string& name, const char* unit, Direction direction = Direction::Both,
                    int instances = 1);
    Register find(size_t stage, const char* quantity) const;
    int64_t value(PathState& state, Register from, int instance = 0) const {
        return slots(state, from.stage, instance)[from.slot];
    }

    /// Sets the operands of an instance from the pixel's place and earlier stages.
    virtual void feed(PathState& state, size_t stage, int instance, int64_t* operands) const = 0;

private:
    std::string name_;
    std::vector<Stage> stages_;
    size_t slots_ = 0;
};

/// The scaling of a picture's luma or chroma.
class ScalePath : public Path {
public:
    ScalePath(bool isReduction, bool isChroma);

    void setRequest(const PictureView& source, Size target);

    Size output() const override { return output_; }
    int pixelStep() const override { return isChroma_ ? 2 : 1; }
    std::array<int, 3> samples(PathState& state) const override;

protected:
    void feed(PathState& state, size_t stage, int instance, int64_t* operands) const override;

private:
    /// Along one axis.
    struct Axis {
        size_t position;
        Register index;
        Register phase;
        size_t folding;  ///< the stage that folds taps: of reductions
        std::array<Register, 4> tap;
        int64_t source;       ///< samples, or pairs
        int64_t operands[2];  ///< of the position, before the output sample
    };

    Axis addAxis(const std::string& name, Direction direction);
    void setAxis(Axis& axis, int source, int target) const;
    bool feedAxis(PathState& state, const Axis& axis, size_t stage, int i, int64_t* operands) const;
    int64_t tap(PathState& state, const Axis& axis, int i) const;

    bool isReduction_;
    bool isChroma_;
    int taps_;
    Axis column_;
    Axis row_;
    size_t colourStage_ = 0;
    Register colour_{};
    size_t across_;
    size_t down_;
    Register acrossValue_{};
    Register downValue_{};
    PictureView source_{};
    Size output_{0, 0};
};

/// The warp of a picture.
class WarpPath : public Path {
public:
    WarpPath();

    void setRequest(const PictureView& source, const Grid& grid);

    Size output() const override { return source_.size; }
    bool isActive(PathState& state, size_t stage) const override;
    std::array<int, 3> samples(PathState& state) const override;

protected:
    void feed(PathState& state, size_t stage, int instance, int64_t* operands) const override;

private:
    struct Axis {
        Direction direction;
        size_t position;
        size_t gridRow;
        size_t gridCurve;
        size_t sourcePosition;
        size_t taps;
        size_t chromaTaps;
        Register cell;
        Register within;
        Register node;
        Register displacement;
        Register side;
        Register index;
        Register fraction;
        Register centre;
        Register distance;
        std::array<Register, 4> tap;
        std::array<Register, 2> chromaTap;
        int cellSize;
        GdcAxis frame;
        const int32_t* nodes;
    };

    /// Stages are in the order of their evaluation, axis after axis.
    void addPosition(Axis& axis, const char* name, int cellSize);
    void addGrid(Axis& axis, const std::string& name);
    void addTaps(Axis& axis, const std::string& name);

    bool isInside(PathState& state) const;
    bool feedAxis(PathState& state, const Axis& axis, size_t stage, int instance, int64_t position,
                  int64_t* operands) const;
    int64_t node(const Axis& axis, int64_t row, int64_t column) const;

    Axis x_;
    Axis y_;
    size_t luma_;
    size_t colourStage_;
    size_t chroma_;
    Register colour_;
    Register lumaValue_;
    Register chromaValue_;
    PictureView source_{};
    Grid grid_{};
};

/// The unit of a stage of any path.
const Unit& unitOfStage(const std::string& name);

}  // namespace vantor::verification
