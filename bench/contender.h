// What is measured: this library, and others that do the same work.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench/picture.h"
#include "geometry/warp_map.h"

namespace vantor::bench {

/// One call of what is measured. What comes before it, such as contexts and tables that a program would keep,
/// is not measured.
using Work = std::function<void()>;

/// How the luma is filtered. Peers whose filter has four taps do work like this library's own.
enum class Filter { FewerTaps, FourTaps };

/// Scales the whole of one NV12 picture to the whole of another. Both outlive the work.
struct Scaler {
    std::string name;
    Filter filter;
    std::function<Work(const Picture& src, Picture& dst)> prepare;
    int pictures = 1;  ///< that one call makes
};

/// Warps one NV12 picture to another of the same size.
struct Warper {
    std::string name;
    Filter filter;
    std::function<Work(const Grid& grid, const Picture& src, Picture& dst)> prepare;
    int pictures = 1;
};

struct Contender {
    std::string library;
    std::string version;
    std::vector<Scaler> scalers;
    std::vector<Warper> warpers;
};

/// How many CPUs this process may run on.
int usableCpus();

/// This library, by the entries that the device's client calls. Pictures are packed.
Scaler ownScaler();
Warper ownWarper();

/// The C entries: an engine of one thread and, where this process may run on several CPUs, an engine that
/// uses all of them, and as many engines of one thread side by side, each with pictures of its own, to
/// compare that with.
Contender engines();

/// The other libraries that were found when this was built, on one thread each. Rows of the pictures that
/// they write are to lie a multiple of kAlignment bytes apart.
std::vector<Contender> peers();

}  // namespace vantor::bench
