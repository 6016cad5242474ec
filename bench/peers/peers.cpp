#include "bench/peers/peers.h"

namespace vantor::bench {

std::vector<Contender> peers() {
    std::vector<Contender> found;
#ifdef VANTOR_BENCH_LIBYUV
    found.push_back(libyuvContender());
#endif
#ifdef VANTOR_BENCH_SWSCALE
    found.push_back(swscaleContender());
#endif
#ifdef VANTOR_BENCH_ZIMG
    found.push_back(zimgContender());
#endif
#ifdef VANTOR_BENCH_OPENCV
    found.push_back(opencvContender());
#endif
    return found;
}

}  // namespace vantor::bench
