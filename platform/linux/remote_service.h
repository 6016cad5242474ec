// The service in another process, as a client sees it.
#pragma once

#include <utils/StrongPointer.h>
#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

namespace vantor::remote {

/// The environment's variable that says where the service is that getService("default") leads to: unix:PATH,
/// a socket of the file system.
constexpr char kServiceVariable[] = "VANTOR_SERVICE";

/// Its value; null if it is not set, or if the program runs with more privileges than its caller has.
const char* serviceAddress();

/// Connects to the service at an address. Null, after one line in the log, unless it answers within
/// VANTOR_SERVICE_TIMEOUT, in seconds, 5 by default. A request takes no longer either; whatever goes wrong
/// with it is a status, either the service's own or a negative error number, and one line in the log. Each
/// request finds an idle connection or makes one, in forked children too, so any number of threads may make
/// requests at a time. debug() writes to its descriptor what answers, as one line.
::android::sp<::vendor::norlake::hardware::vantorService::V1_0::IVantorService> connectToService(
    const char* address);

}  // namespace vantor::remote
