// vantor-selftest: the program for the device.
#include <cstdio>

#include "tools/selftest/selftest.h"

int main(int argc, char**) {
    using namespace vantor::selftest;
    if (argc > 1) {
        std::fprintf(stderr, "vantor-selftest: expected no arguments\n");
        return 2;
    }
    const Result all = compute(print);
    print(all);
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::fprintf(stderr, "vantor-selftest: cannot write to standard output\n");
        return 2;
    }
    return all.isSame() ? 0 : 1;
}
