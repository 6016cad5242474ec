#include "scaler/bands.h"

#include <pthread.h>

namespace vantor {

RowRange quarterBand(int band, int height) {
    const auto edge = [height](long long quarters) { return static_cast<int>(quarters * height / 4); };
    return {edge(band - 1), edge(band) - edge(band - 1), band % 2 == 1};
}

void runBands(const BandTask (&tasks)[kBands]) {
    constexpr int kThreads = kBands - 1;
    pthread_t threads[kThreads];
    bool created[kThreads];
    for (int i = 0; i < kThreads; ++i) {
        created[i] = pthread_create(&threads[i], nullptr, tasks[i].entry, tasks[i].record) == 0;
    }
    tasks[kThreads].entry(tasks[kThreads].record);
    for (int i = 0; i < kThreads; ++i) {
        if (created[i]) {
            pthread_join(threads[i], nullptr);
        } else {
            tasks[i].entry(tasks[i].record);
        }
    }
}

}  // namespace vantor
