// Descriptors with an owner.
#pragma once

namespace vantor {

/// A descriptor that is closed at the end.
class OwnedDescriptor {
public:
    explicit OwnedDescriptor(int descriptor = -1) : descriptor_(descriptor) {}
    OwnedDescriptor(OwnedDescriptor&& other) noexcept : descriptor_(other.release()) {}
    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept;
    ~OwnedDescriptor();

    int get() const { return descriptor_; }
    int release();

private:
    int descriptor_;
};

}  // namespace vantor
