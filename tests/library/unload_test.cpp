// Whether dlclose really unloads the library, and releases what it holds; and leaves the service's, which is in use.
#include <dlfcn.h>
#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include <cstdio>
#include <fstream>
#include <string>

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
    void* provider = dlopen(argv[2], RTLD_NOW | RTLD_LOCAL);
    reinterpret_cast<void (*)()>(dlsym(provider, "_ZN6vantor20startSoftwareServiceEv"))();
    dlclose(provider);
    const auto service = vendor::norlake::hardware::vantorService::V1_0::IVantorService::getService("default", false);
    const int before = service->getStrongCount();
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    const auto init = reinterpret_cast<int (*)()>(dlsym(library, "_ZN8hardware12vantorClient4initEv"));
    const bool connected = init != nullptr && init() == 0 && service->getStrongCount() == before + 1 && isLoaded();
    dlclose(library);
    const bool released = service->getStrongCount() == before && !isLoaded();
    const bool serves = service->ping().isOk();
    std::printf("connected: %d, released and unloaded: %d, serves: %d\n", connected, released, serves);
    return connected && released && serves ? 0 : 1;
}
