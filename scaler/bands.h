// How the destination rows of a picture are divided into bands, and who works on them.
#pragma once

#include "scaler/planes.h"

namespace vantor {

constexpr int kBands = 4;

/// Band 1 to 4 of `height` rows; the four partition the rows. Bands 1 and 3 run upward: the worker of the
/// band above a shared edge starts at that edge, while its source rows are warm in the shared cache.
RowRange quarterBand(int band, int height);

/// The work on one band.
struct BandTask {
    void* (*entry)(void*);
    void* record;
};

/// Runs each task but the last on a newly created thread and the last on the caller, then joins in order of
/// creation. A task whose thread could not be created runs on the caller, after the last.
void runBands(const BandTask (&tasks)[kBands]);

}  // namespace vantor
