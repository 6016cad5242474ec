#include "scaler/gather_windows.h"

#include <algorithm>

#include "scaler/planned_columns.h"

namespace vantor {

bool placeWindows(const ColumnTaps& taps, int perWindow, uint32_t windowBytes, uint32_t* start,
                  uint8_t* offset) {
    const uint32_t spanEnd = taps.tap[taps.columns - 1] + kElementBytes;
    if (spanEnd - taps.tap[0] < windowBytes) return false;
    const uint32_t lastStart = spanEnd - windowBytes;
    const uint32_t* const end = taps.tap + paddedColumns(taps.columns);
    for (const uint32_t* tap = taps.tap; tap != end; tap += perWindow) {
        const uint32_t from = std::min(tap[0], lastStart);
        if (tap[perWindow - 1] + kElementBytes - from > windowBytes) return false;
        *start++ = from;
        for (int i = 0; i < perWindow; ++i) *offset++ = static_cast<uint8_t>(tap[i] - from);
    }
    return true;
}

}  // namespace vantor
