// Which of the arithmetic pictures have exercised: items that were reached, and seen, as the matching fault
// of hardware changes a byte of the output. Re-entrant; knows no files and no options.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "gdc_model/grid.h"
#include "geometry/size.h"
#include "verification/ranges.h"

namespace vantor::verification {

/// A picture in memory: luma, and pairs of chroma at half the size in both directions or null.
struct PictureView {
    const uint8_t* luma;
    std::ptrdiff_t lumaStride;
    const uint8_t* chroma;
    std::ptrdiff_t chromaStride;
    Size size;
};

/// One item of coverage, such as "reduce.luma.across.third.round.zero".
struct CoverageItem {
    std::string name;
    std::string reason;   ///< in one sentence
    std::string example;  ///< where it was reached, or seen if it was: a picture and a pixel of the output
    bool isReached;
    bool isSeen;
    std::string proof;  ///< why it cannot be reached or seen, or empty
};

/// Accounts for the pictures that a design under test was given. Not thread-safe.
class Coverage {
public:
    /// Faults that are proven to change nothing are tried nevertheless, each in so many places.
    explicit Coverage(const Limits& limits = {}, int triesOfProven = 100);
    ~Coverage();
    Coverage(const Coverage&) = delete;
    Coverage& operator=(const Coverage&) = delete;

    /// A picture that was scaled to `target`; `name` is what examples call the request. A reduction where no
    /// side grows, else an enlargement; of the same size nothing is computed.
    int scaled(const PictureView& source, Size target, const std::string& name);

    /// A picture that was warped; likewise.
    int warped(const PictureView& source, const Grid& grid, const std::string& name);

    /// A report as json() gives it: what it reached and saw counts here too. Throws std::runtime_error where
    /// it is no such report.
    void add(const std::string& json);

    std::vector<CoverageItem> items() const;
    bool isComplete() const;  ///< whether every item is seen or has a proof

    std::string json() const;
    std::string report() const;  ///< counts, and what is missing, line by line

private:
    class Accounts;
    std::unique_ptr<Accounts> accounts_;
};

}  // namespace vantor::verification
