// Sizes that the engine warps.
#pragma once

namespace hardware {

constexpr int kSmallestWarpWidth = 96;
constexpr int kSmallestWarpHeight = 64;
constexpr int kLargestWarpWidth = 8192;
constexpr int kLargestWarpHeight = 6144;
constexpr int kWarpWidthAlignment = 16;
constexpr int kWarpHeightAlignment = 2;

}  // namespace hardware
