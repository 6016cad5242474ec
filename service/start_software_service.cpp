#include "service/start_software_service.h"

#include <android/log.h>

#include "platform/linux/remote_service.h"
#include "service/software_service.h"

namespace vantor {

void startSoftwareService() {
    using ::vendor::norlake::hardware::vantorService::V1_0::IVantorService;
    if (remote::serviceAddress() != nullptr) return;
    if (IVantorService::getService("default", false) != nullptr) return;
    const ::android::sp<SoftwareService> service = new SoftwareService;
    if (service->registerAsService("default") != ::android::OK) {
        __android_log_print(ANDROID_LOG_ERROR, "VANTOR_SERVICE", "registerAsService() failed");
    }
}

}  // namespace vantor
