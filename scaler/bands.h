// How the destination rows of a picture are divided into bands, and who works on them.
#pragma once

#include <pthread.h>

namespace vantor {

/// Consecutive destination rows, walked downward from `first`, or upward to it.
struct RowRange {
    int first;
    int count;
    bool upward;

    int row(int i) const { return upward ? first + count - 1 - i : first + i; }
};

/// Band 1 to 4 of `height` rows; the four partition the rows. Bands 1 and 3 run upward: the worker of the
/// band above a shared edge starts at that edge, while its source rows are warm in the shared cache.
inline RowRange quarterBand(int band, int height) {
    const auto edge = [height](long long quarters) { return static_cast<int>(quarters * height / 4); };
    return {edge(band - 1), edge(band) - edge(band - 1), band % 2 == 1};
}

constexpr int kBandThreads = 3;

/// What one created thread works on.
struct BandTask {
    void* (*entry)(void*);
    void* record;
};

/// Runs the tasks on three newly created threads and `ownBand()` on the caller, then joins in order of
/// creation. A task whose thread could not be created runs on the caller, after its own band.
template <typename OwnBand>
void runBands(const BandTask (&tasks)[kBandThreads], OwnBand&& ownBand) {
    pthread_t threads[kBandThreads];
    bool created[kBandThreads];
    for (int i = 0; i < kBandThreads; ++i) {
        created[i] = pthread_create(&threads[i], nullptr, tasks[i].entry, tasks[i].record) == 0;
    }
    ownBand();
    for (int i = 0; i < kBandThreads; ++i) {
        if (created[i]) {
            pthread_join(threads[i], nullptr);
        } else {
            tasks[i].entry(tasks[i].record);
        }
    }
}

}  // namespace vantor
