// What a client's process and the service's say to each other. They are connected by a Unix socket of type
// SOCK_SEQPACKET, on which one packet is one of the structures below, in the machine's byte order and
// without padding: there are no half messages. A connection begins with Hello, which is answered by Welcome
// or by a Reply that says why not; then each request is answered by one Reply, whose sequence is the
// request's.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantor::remote {

constexpr uint32_t kMagic = 0x524e5456;  // "VTNR" in memory, where the lowest byte is first
constexpr uint16_t kVersion = 1;
constexpr size_t kMaxPacketBytes = 16384;
constexpr int kMaxDescriptors = 4;

enum class Kind : uint16_t { Hello = 1, Welcome = 2, Scale = 3, Warp = 4, Reply = 5 };

struct Header {
    uint32_t magic;     ///< kMagic
    uint16_t version;   ///< kVersion
    uint16_t kind;      ///< Kind
    uint32_t size;      ///< of the whole packet, in bytes
    uint32_t sequence;  ///< the client's count; a reply repeats its request's
};

/// From the client, first.
struct Hello {
    static constexpr Kind kKind = Kind::Hello;
    Header header;
};

/// From the service.
struct Welcome {
    static constexpr Kind kKind = Kind::Welcome;
    Header header;
    char release[16];  ///< of the service; ends with a zero
    char backend[96];  ///< what computes; ends with a zero
};

/// A picture's size, and the inclusive edges of its region of interest.
struct Geometry {
    int32_t width;
    int32_t height;
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};

/// Scales the source's region to the destination's. With the packet come the descriptors of the pictures'
/// buffers, the destination's first: per picture one buffer of luma and chroma, or two.
struct ScaleRequest {
    static constexpr Kind kKind = Kind::Scale;
    Header header;
    Geometry dst;
    Geometry src;
    uint32_t dstBuffers;  ///< descriptors of the destination
    uint32_t srcBuffers;  ///< of the source, behind those
};

/// Warps the source; descriptors come as for scaling.
struct WarpRequest {
    static constexpr Kind kKind = Kind::Warp;
    Header header;
    Geometry dst;
    Geometry src;
    uint32_t dstBuffers;
    uint32_t srcBuffers;
    int32_t dx[33 * 33];  ///< displacements of nodes, row by row, in 1/256 of a virtual unit
    int32_t dy[33 * 33];
};

/// Answers a request.
struct Reply {
    static constexpr Kind kKind = Kind::Reply;
    Header header;
    int32_t status;  ///< 0: done
    char text[236];  ///< why not; ends with a zero
};

static_assert(sizeof(Header) == 16 && sizeof(Hello) == 16 && sizeof(Welcome) == 128);
static_assert(sizeof(ScaleRequest) == 72 && sizeof(WarpRequest) == 72 + 8 * 1089 && sizeof(Reply) == 256);
static_assert(sizeof(WarpRequest) <= kMaxPacketBytes);

}  // namespace vantor::remote
