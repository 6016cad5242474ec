// The platform's reference-counted base class. Weak references, which nothing here uses, are left out.
#pragma once

#include <utils/StrongPointer.h>

#include <atomic>
#include <cstdint>

namespace android {

/// Counts its strong references and deletes itself with the last one.
class RefBase {
public:
    void incStrong(const void* id) const;
    void decStrong(const void* id) const;

    /// The number of strong references; a large number as long as there has been none.
    int32_t getStrongCount() const;

    RefBase(const RefBase&) = delete;
    RefBase& operator=(const RefBase&) = delete;

protected:
    RefBase();
    virtual ~RefBase();

    enum { FIRST_INC_STRONG = 0x0001 };

    /// Called after the first reference is taken.
    virtual void onFirstRef();
    /// Called after the last reference is released, before the object is deleted.
    virtual void onLastStrongRef(const void* id);
    /// Only for weak references: never called.
    virtual bool onIncStrongAttempted(uint32_t flags, const void* id);
    /// Only for weak references: never called.
    virtual void onLastWeakRef(const void* id);

private:
    mutable std::atomic<int32_t> strong_;
};

}  // namespace android
