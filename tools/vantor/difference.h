// Where and by how much two pictures differ.
#pragma once

#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <vector>

#include "tools/vantor/io/picture.h"

namespace vantor::tool {

/// Of one component.
struct Difference {
    const char* component;
    size_t samples;
    size_t differing = 0;  ///< samples that differ at all
    int largest = 0;
    double squares = 0;
    int firstX = 0;
    int firstY = 0;
    int firstA = 0;
    int firstB = 0;

    /// In decibels; only where anything differs.
    double psnr() const { return 10 * std::log10(255.0 * 255.0 * static_cast<double>(samples) / squares); }
};

/// Whether two pictures have one size and the same components.
bool areComparable(const Picture& a, const Picture& b);

/// Component by component, of comparable pictures.
std::vector<Difference> measure(const Picture& a, const Picture& b);

/// What `--json` says of them.
nlohmann::ordered_json toJson(const std::vector<Difference>& differences);

/// One line on standard output.
void print(const Difference& difference);

}  // namespace vantor::tool
