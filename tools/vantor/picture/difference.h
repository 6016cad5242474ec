// Where and by how much two pictures differ.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <vector>

#include "tools/vantor/picture/planes.h"

namespace vantor::tool {

/// Of one component, in a picture or in all of a clip's.
struct Difference {
    const char* component;
    size_t samples;
    size_t differing = 0;  ///< samples that differ at all
    int largest = 0;
    double squares = 0;
    uintmax_t firstFrame = 0;  ///< of a clip
    int firstX = 0;
    int firstY = 0;
    int firstA = 0;
    int firstB = 0;

    /// Takes in that of a later frame.
    void add(const Difference& later, uintmax_t frame);

    /// In decibels; only where anything differs.
    double psnr() const { return 10 * std::log10(255.0 * 255.0 * static_cast<double>(samples) / squares); }
};

/// Whether frames have one size and the same components.
bool areComparable(const FrameShape& a, const FrameShape& b);

/// Component by component, of comparable pictures.
std::vector<Difference> measure(const Picture& a, const Picture& b);

/// For `--json`.
nlohmann::ordered_json toJson(const std::vector<Difference>& differences, bool isOfClip = false);

/// A line for each on standard output.
void print(const std::vector<Difference>& differences, bool isOfClip = false);

}  // namespace vantor::tool
