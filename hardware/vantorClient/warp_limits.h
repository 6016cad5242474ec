// Sizes that the engine warps.
#pragma once

namespace hardware {

constexpr int kMinWarpWidth = 96;
constexpr int kMinWarpHeight = 64;
constexpr int kMaxWarpWidth = 8192;
constexpr int kMaxWarpHeight = 6144;
constexpr int kWarpWidthAlignment = 16;
constexpr int kWarpHeightAlignment = 2;

}  // namespace hardware
