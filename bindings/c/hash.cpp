#include <algorithm>
#include <cstring>

#include "bindings/c/failure.h"
#include "bindings/c/picture_view.h"

namespace vantor::c {
namespace {

/// The algorithm is XXH64.
constexpr uint64_t kPrimes[] = {11400714785074694791U, 14029467366897019727U, 1609587929392839161U,
                                9650029242287828579U, 2870177450012600261U};

uint64_t rotated(uint64_t value, int bits) {
    return value << bits | value >> (64 - bits);
}

template <typename Word>
Word littleEndian(const uint8_t* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof word);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
    word = sizeof word == 8 ? static_cast<Word>(__builtin_bswap64(word))
                            : static_cast<Word>(__builtin_bswap32(static_cast<uint32_t>(word)));
#endif
    return word;
}

uint64_t round(uint64_t lane, uint64_t input) {
    return rotated(lane + input * kPrimes[1], 31) * kPrimes[0];
}

/// As many whole blocks of 32 bytes as there are. Returns how many bytes they have.
size_t addBlocks(uint64_t (&lanes)[4], const uint8_t* bytes, size_t size) {
    uint64_t a = lanes[0], b = lanes[1], c = lanes[2], d = lanes[3];
    size_t done = 0;
    for (; size - done >= 32; done += 32, bytes += 32) {
        a = round(a, littleEndian<uint64_t>(bytes));
        b = round(b, littleEndian<uint64_t>(bytes + 8));
        c = round(c, littleEndian<uint64_t>(bytes + 16));
        d = round(d, littleEndian<uint64_t>(bytes + 24));
    }
    lanes[0] = a;
    lanes[1] = b;
    lanes[2] = c;
    lanes[3] = d;
    return done;
}

/// Of `rest`, which wait for more.
size_t keptBytes(const vantor_hash& hash) {
    return static_cast<size_t>(hash.length % sizeof hash.rest);
}

void addBytes(vantor_hash& hash, const uint8_t* bytes, size_t size) {
    const size_t kept = keptBytes(hash);
    hash.length += size;
    if (kept != 0) {
        const size_t taken = std::min(size, sizeof hash.rest - kept);
        std::memcpy(hash.rest + kept, bytes, taken);
        if (kept + taken < sizeof hash.rest) return;
        addBlocks(hash.lanes, hash.rest, sizeof hash.rest);
        bytes += taken;
        size -= taken;
    }
    const size_t done = addBlocks(hash.lanes, bytes, size);
    if (size > done) std::memcpy(hash.rest, bytes + done, size - done);
}

uint64_t merged(const vantor_hash& hash) {
    if (hash.length < sizeof hash.rest) return kPrimes[4];
    const auto& [a, b, c, d] = hash.lanes;
    uint64_t value = rotated(a, 1) + rotated(b, 7) + rotated(c, 12) + rotated(d, 18);
    for (const uint64_t lane : hash.lanes) value = (value ^ round(0, lane)) * kPrimes[0] + kPrimes[3];
    return value;
}

uint64_t withRest(uint64_t value, const uint8_t* at, const uint8_t* end) {
    for (; end - at >= 8; at += 8)
        value = rotated(value ^ round(0, littleEndian<uint64_t>(at)), 27) * kPrimes[0] + kPrimes[3];
    if (end - at >= 4) {
        value = rotated(value ^ littleEndian<uint32_t>(at) * kPrimes[0], 23) * kPrimes[1] + kPrimes[2];
        at += 4;
    }
    for (; at < end; ++at) value = rotated(value ^ *at * kPrimes[4], 11) * kPrimes[0];
    return value;
}

uint64_t mixed(uint64_t value) {
    value = (value ^ value >> 33) * kPrimes[1];
    value = (value ^ value >> 29) * kPrimes[2];
    return value ^ value >> 32;
}

}  // namespace
}  // namespace vantor::c

using namespace vantor::c;

int vantor_hash_begin(vantor_hash* hash) {
    return guarded(nullptr, [&] {
        checkPointer("hash", hash);
        *hash = {{kPrimes[0] + kPrimes[1], kPrimes[1], 0, 0 - kPrimes[0]}, 0, {}};
    });
}

int vantor_hash_bytes(vantor_hash* hash, const void* bytes, size_t size) {
    return guarded(nullptr, [&] {
        checkPointer("hash", hash);
        if (size == 0) return;
        checkPointer("bytes", bytes);
        addBytes(*hash, static_cast<const uint8_t*>(bytes), size);
    });
}

int vantor_hash_image(vantor_hash* hash, const vantor_image* image) {
    return guarded(nullptr, [&] {
        checkPointer("hash", hash);
        checkImage("image", image, kScaleLimit);
        for (int i = 0; i < planeCount(*image); ++i) {
            const PlaneView plane = planeView(*image, i);
            for (int row = 0; row < plane.rows; ++row)
                addBytes(*hash, plane.data + row * plane.stride, static_cast<size_t>(plane.rowBytes));
        }
    });
}

uint64_t vantor_hash_value(const vantor_hash* hash) {
    if (!hash) return 0;
    const size_t kept = keptBytes(*hash);
    return mixed(withRest(merged(*hash) + hash->length, hash->rest, hash->rest + kept));
}
