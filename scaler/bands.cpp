#include "scaler/bands.h"

namespace vantor {

RowRange quarterBand(int band, int height) {
    const auto edge = [height](long long quarters) { return static_cast<int>(quarters * height / 4); };
    return {edge(band - 1), edge(band) - edge(band - 1), band % 2 == 1};
}

}  // namespace vantor
