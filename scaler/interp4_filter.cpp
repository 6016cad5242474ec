#include "scaler/interp4_filter.h"

#include <cstdlib>

namespace vantor {

bool fitBytes(const int16_t* coefficients) {
    for (const int16_t* row = coefficients; row != coefficients + 4 * kInterp4Phases; row += 4) {
        int sum = 0;
        for (int tap = 0; tap < 4; ++tap) sum += std::abs((row[tap] + 32) >> 6);
        if (sum > 126) return false;
    }
    return true;
}

}  // namespace vantor
