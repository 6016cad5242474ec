#include <android/hidl/base/1.0/IBase.h>
#include <unistd.h>

namespace android::hidl::base::V1_0 {

using hardware::hidl_array;
using hardware::hidl_death_recipient;
using hardware::hidl_handle;
using hardware::hidl_string;
using hardware::hidl_vec;
using hardware::Return;
using hardware::Void;

const char* IBase::descriptor = "android.hidl.base@1.0::IBase";

Return<sp<IBase>> IBase::castFrom(const sp<IBase>& parent, bool) {
    return parent;
}

Return<void> IBase::interfaceChain(interfaceChain_cb callback) {
    callback({IBase::descriptor});
    return Void();
}

Return<void> IBase::debug(const hidl_handle&, const hidl_vec<hidl_string>&) {
    return Void();
}

Return<void> IBase::interfaceDescriptor(interfaceDescriptor_cb callback) {
    callback(IBase::descriptor);
    return Void();
}

// Zeros stand for an interface that is not frozen.
Return<void> IBase::getHashChain(getHashChain_cb callback) {
    callback(std::vector<hidl_array<uint8_t, 32>>(1));
    return Void();
}

Return<void> IBase::setHALInstrumentation() {
    return Void();
}

// Objects of the own process cannot die before their callers.
Return<bool> IBase::linkToDeath(const sp<hidl_death_recipient>& recipient, uint64_t) {
    return recipient != nullptr;
}

Return<bool> IBase::unlinkToDeath(const sp<hidl_death_recipient>& recipient) {
    return recipient != nullptr;
}

Return<void> IBase::ping() {
    return Void();
}

Return<void> IBase::getDebugInfo(getDebugInfo_cb callback) {
    DebugInfo info{};
    info.pid = getpid();
    info.ptr = reinterpret_cast<uintptr_t>(this);
    info.arch = sizeof(void*) == 8 ? DebugInfo::Architecture::IS_64BIT : DebugInfo::Architecture::IS_32BIT;
    callback(info);
    return Void();
}

Return<void> IBase::notifySyspropsChanged() {
    return Void();
}

}  // namespace android::hidl::base::V1_0
