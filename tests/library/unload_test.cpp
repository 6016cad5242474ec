// Whether dlclose really unloads the library, and releases what it holds.
#include <dlfcn.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "service/start_software_service.h"

namespace {

bool isLoaded() {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("libVantor10.so") != std::string::npos) return true;
    }
    return false;
}

}  // namespace

int main(int, char** argv) {
    vantor::startSoftwareService();
    const auto service = vendor::norlake::hardware::vantorService::V1_0::IVantorService::getService("default", false);
    const int before = service->getStrongCount();
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    const auto init = reinterpret_cast<int (*)()>(dlsym(library, "_ZN8hardware12vantorClient4initEv"));
    const bool connected = init != nullptr && init() == 0 && service->getStrongCount() == before + 1 && isLoaded();
    dlclose(library);
    const bool released = service->getStrongCount() == before && !isLoaded();
    std::printf("connected: %d, released and unloaded: %d\n", connected, released);
    return connected && released ? 0 : 1;
}
