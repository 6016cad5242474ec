// Closes what clients send.
#pragma once

#include <memory>

#include "platform/linux/packet_channel.h"

namespace vantor {

/// Memory files are closed at once. A file system of a client's own (FUSE) can let close() wait for ever, so
/// a thread that nobody waits for closes all others. Thread-safe.
class DescriptorCloser {
public:
    DescriptorCloser();
    ~DescriptorCloser();
    DescriptorCloser(const DescriptorCloser&) = delete;
    DescriptorCloser& operator=(const DescriptorCloser&) = delete;

    void close(remote::Descriptors& descriptors);

private:
    struct Queue;

    std::shared_ptr<Queue> queue_;
};

}  // namespace vantor
