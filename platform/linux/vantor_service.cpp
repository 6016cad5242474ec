#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include <map>
#include <mutex>

#include "platform/linux/remote_service.h"

namespace vendor::norlake::hardware::vantorService::V1_0 {

using android::sp;
using android::hardware::hidl_array;
using android::hardware::hidl_death_recipient;
using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using android::hardware::Void;
using android::hidl::base::V1_0::IBase;
using android::hidl::manager::V1_0::IServiceNotification;

namespace {

/// The services of this process by their names.
class Registry {
public:
    void set(const std::string& name, sp<IVantorService> service) {
        const std::lock_guard<std::mutex> lock(mutex_);
        std::swap(services_[name], service);
    }

    sp<IVantorService> get(const std::string& name) {
        const std::lock_guard<std::mutex> lock(mutex_);
        const auto found = services_.find(name);
        return found == services_.end() ? nullptr : found->second;
    }

private:
    std::mutex mutex_;
    std::map<std::string, sp<IVantorService>> services_;
};

Registry& registry() {
    static Registry services;
    return services;
}

}  // namespace

const char* IVantorService::descriptor = "vendor.norlake.hardware.vantorService@1.0::IVantorService";

sp<IVantorService> IVantorService::getService(const std::string& serviceName, bool) {
    const char* address = vantor::remote::serviceAddress();
    return address && serviceName == "default" ? vantor::remote::connectToService(address)
                                               : registry().get(serviceName);
}

sp<IVantorService> IVantorService::tryGetService(const std::string& serviceName, bool) {
    return getService(serviceName, false);
}

android::status_t IVantorService::registerAsService(const std::string& serviceName) {
    registry().set(serviceName, this);
    return android::OK;
}

bool IVantorService::registerForNotifications(const std::string&, const sp<IServiceNotification>&) {
    return false;
}

Return<sp<IVantorService>> IVantorService::castFrom(const sp<IVantorService>& parent, bool) {
    return parent;
}

Return<sp<IVantorService>> IVantorService::castFrom(const sp<IBase>& parent, bool) {
    return dynamic_cast<IVantorService*>(parent.get());
}

Return<void> IVantorService::interfaceChain(interfaceChain_cb callback) {
    callback({IVantorService::descriptor, IBase::descriptor});
    return Void();
}

Return<void> IVantorService::interfaceDescriptor(interfaceDescriptor_cb callback) {
    callback(IVantorService::descriptor);
    return Void();
}

Return<void> IVantorService::getHashChain(getHashChain_cb callback) {
    callback(std::vector<hidl_array<uint8_t, 32>>(2));
    return Void();
}

Return<void> IVantorService::debug(const hidl_handle& fd, const hidl_vec<hidl_string>& options) {
    return IBase::debug(fd, options);
}

Return<void> IVantorService::setHALInstrumentation() {
    return IBase::setHALInstrumentation();
}

Return<bool> IVantorService::linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t cookie) {
    return IBase::linkToDeath(recipient, cookie);
}

Return<bool> IVantorService::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return IBase::unlinkToDeath(recipient);
}

Return<void> IVantorService::ping() {
    return IBase::ping();
}

Return<void> IVantorService::getDebugInfo(getDebugInfo_cb callback) {
    return IBase::getDebugInfo(callback);
}

Return<void> IVantorService::notifySyspropsChanged() {
    return IBase::notifySyspropsChanged();
}

}  // namespace vendor::norlake::hardware::vantorService::V1_0
