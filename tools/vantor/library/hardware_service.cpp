#include "tools/vantor/library/hardware_service.h"

#include <cutils/native_handle.h>
#include <sys/resource.h>

#include <cstdlib>

#include "hardware/vantorClient/connection.h"
#include "hardware/vantorClient/vantor_client.h"
#include "platform/linux/remote_service.h"
#include "service/start_software_service.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/library/log_watch.h"
#include "tools/vantor/library/shared_buffer.h"

namespace vantor::tool {
namespace {

std::string givenAddress;

/// Raises the limit on descriptors: the library leaves one or two open with each request of gray pictures.
void allowDescriptors() {
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

}  // namespace

void useService(const std::string& address) {
    constexpr char kScheme[] = "unix:";
    const std::string whole = address.rfind(kScheme, 0) == 0 ? address : kScheme + address;
    if (isServiceGiven() && whole != givenAddress)
        throw UserError("--service " + givenAddress + " and " + whole + ": expected one");
    givenAddress = whole;
    setenv(remote::kServiceVariable, whole.c_str(), 1);
}

bool isServiceGiven() {
    return !givenAddress.empty();
}

void connectToService() {
    static bool isConnected = false;
    if (isConnected) return;
    allowDescriptors();
    startSoftwareService();
    if (hardware::vantorClient::init() != 0) throw UserError("no hardware service: " + firstErrorLine());
    isConnected = true;
}

std::string serviceName() {
    constexpr size_t kMaxAnswer = 4096;
    const SharedBuffer answer(kMaxAnswer);
    native_handle_t* handle = native_handle_create(1, 0);
    if (!handle) throw std::bad_alloc();
    handle->data[0] = answer.descriptor();
    hardware::vantorService->debug(handle, {});
    native_handle_delete(handle);
    const std::string text(reinterpret_cast<const char*>(answer.bytes()));
    return text.empty() ? "software service" : text;
}

}  // namespace vantor::tool
