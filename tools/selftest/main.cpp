// vantor-selftest: the program for the device.
#include <cstdio>
#include <exception>

#include "tools/selftest/selftest.h"

namespace {

int trouble(const char* text) {
    std::fprintf(stderr, "vantor-selftest: %s\n", text);
    return 2;
}

int run() {
    const vantor::selftest::Result all = vantor::selftest::compute(vantor::selftest::print);
    vantor::selftest::print(all);
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) return trouble("cannot write to standard output");
    return all.isSame() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1) {
        std::fprintf(stderr, "vantor-selftest: %s: it takes no arguments\n", argv[1]);
        return 2;
    }
    try {
        return run();
    } catch (const std::exception& error) {
        return trouble(error.what());
    }
}
