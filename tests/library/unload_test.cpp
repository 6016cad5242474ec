// Whether dlclose really unloads the libraries, beside each other and after work on threads, and releases what they
// hold; and leaves the service's, which is in use.
#include <dlfcn.h>
#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "vantor/vantor.h"

namespace {

bool isLoaded(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("/" + name + ".so") != std::string::npos) return true;
    }
    return false;
}

/// Whether the C library scales a picture on four threads, says what is wrong, and goes.
bool worksAndGoes(const char* path) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    const auto create = reinterpret_cast<decltype(&vantor_engine_new)>(dlsym(library, "vantor_engine_new"));
    const auto scale = reinterpret_cast<decltype(&vantor_scale)>(dlsym(library, "vantor_scale"));
    const auto release = reinterpret_cast<decltype(&vantor_engine_free)>(dlsym(library, "vantor_engine_free"));
    std::vector<uint8_t> from(2048 * 1024, 7), to(1024 * 1024);
    const vantor_image src{VANTOR_GRAY8, 2048, 1024, {from.data()}, {2048}};
    const vantor_image dst{VANTOR_GRAY8, 1024, 1024, {to.data()}, {1024}};
    vantor_engine* const engine = create(4);
    const bool works = scale(engine, &dst, &src) == 0 && scale(nullptr, &dst, nullptr) == -1 && isLoaded("libvantor");
    release(engine);
    dlclose(library);
    return works && to == std::vector<uint8_t>(1024 * 1024, 7) && !isLoaded("libvantor");
}

}  // namespace

int main(int, char** argv) {
    void* provider = dlopen(argv[2], RTLD_NOW | RTLD_LOCAL);
    reinterpret_cast<void (*)()>(dlsym(provider, "_ZN6vantor20startSoftwareServiceEv"))();
    dlclose(provider);
    const auto service = vendor::norlake::hardware::vantorService::V1_0::IVantorService::getService("default", false);
    const int before = service->getStrongCount();
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    const auto init = reinterpret_cast<int (*)()>(dlsym(library, "_ZN8hardware12vantorClient4initEv"));
    const bool connected =
        init != nullptr && init() == 0 && service->getStrongCount() == before + 1 && isLoaded("libVantor10");
    const bool works = worksAndGoes(argv[3]);
    dlclose(library);
    const bool released = service->getStrongCount() == before && !isLoaded("libVantor10");
    const bool serves = service->ping().isOk();
    std::printf("connected: %d, the C library's: %d, released and unloaded: %d, serves: %d\n", connected, works,
                released, serves);
    return connected && works && released && serves ? 0 : 1;
}
