#include <utils/RefBase.h>

#include <cstdio>
#include <cstdlib>

#include "fatal.h"

namespace android {

namespace {

// Tells the first reference from one that follows a last one.
constexpr int32_t kNeverReferenced = 1 << 28;

}  // namespace

RefBase::RefBase() : strong_(kNeverReferenced) {}

RefBase::~RefBase() = default;

void RefBase::incStrong(const void*) const {
    if (strong_.fetch_add(1, std::memory_order_relaxed) != kNeverReferenced) return;
    strong_.fetch_sub(kNeverReferenced, std::memory_order_relaxed);
    const_cast<RefBase*>(this)->onFirstRef();
}

void RefBase::decStrong(const void* id) const {
    if (strong_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    const_cast<RefBase*>(this)->onLastStrongRef(id);
    delete this;
}

int32_t RefBase::getStrongCount() const {
    return strong_.load(std::memory_order_relaxed);
}

void RefBase::onFirstRef() {}

void RefBase::onLastStrongRef(const void*) {}

bool RefBase::onIncStrongAttempted(uint32_t flags, const void*) {
    return (flags & FIRST_INC_STRONG) != 0;
}

void RefBase::onLastWeakRef(const void*) {}

void sp_report_race() {
    vantorPlatformFatal("sp",
                        "a strong pointer was changed while it was assigned to: two threads use it at once");
}

void sp_report_null() {
    std::fputs(
        "sp: a null strong pointer was dereferenced (a service's is null until the service is found)\n",
        stderr);
    std::abort();
}

}  // namespace android
