"""Golden results for the software scaler, worked out one sample at a time.

The threaded, vectorised scaler is tested against hashes of whole destination pictures. This script computes
these hashes without bands, tables, rings or vector groups, so that a mistake in any of them shows up.
What it prints (python3 golden_scaler.py > golden_scaler.txt) is what golden_test.cpp reads; the test repeats
`source_planes`, fills its destination with 0xA5 and hashes luma, then chroma, with `fnv1a`.
Sources: at least 3 wide to shrink, even and at least 4x4 to enlarge; others read outside the picture.
"""
import struct

WEIGHTS = [  # taps i - 1 to i + 2 in 1/4096, one row per 1/32 pixel; rows 17 to 31 mirror rows 15 to 1
    (0, 4096, 0, 0), (-60, 4086, 72, -2), (-113, 4058, 159, -8), (-158, 4011, 259, -16),
    (-196, 3948, 372, -28), (-228, 3869, 497, -42), (-254, 3777, 632, -59), (-273, 3670, 776, -77),
    (-288, 3552, 928, -96), (-298, 3423, 1087, -116), (-303, 3284, 1253, -138), (-303, 3136, 1422, -159),
    (-300, 2980, 1596, -180), (-293, 2818, 1772, -201), (-284, 2651, 1950, -221), (-271, 2479, 2127, -239),
    (-256, 2304, 2304, -256)]
WEIGHTS += [WEIGHTS[32 - phase][::-1] for phase in range(17, 32)]

# Source width and height, destination width and height, format (0 grayscale, 1 NV12), extremes.
CASES = [
    (64, 48, 64, 48, 1, 0), (33, 21, 33, 21, 0, 0), (96, 72, 64, 48, 1, 0), (128, 96, 64, 48, 1, 1),
    (180, 150, 48, 40, 1, 0), (157, 113, 101, 67, 1, 0), (157, 113, 101, 67, 0, 1), (40, 37, 40, 23, 1, 0),
    (37, 24, 23, 24, 1, 1), (40, 30, 23, 17, 1, 0), (31, 14, 12, 7, 1, 1), (40, 9, 12, 5, 0, 0),
    (6, 6, 5, 3, 1, 0), (17, 12, 4, 6, 1, 1), (6, 8, 4, 1, 1, 0), (9, 10, 5, 2, 0, 1),
    (4, 4, 9, 7, 1, 0), (4, 4, 9, 7, 0, 1), (6, 6, 12, 3, 1, 0), (6, 4, 23, 1, 1, 1),
    (64, 48, 96, 72, 1, 0), (32, 24, 64, 48, 1, 1), (50, 34, 127, 93, 1, 1), (60, 80, 120, 31, 1, 0),
    (90, 40, 37, 111, 1, 1), (8, 6, 8, 13, 0, 0),
    (160, 8, 181, 11, 1, 1), (94, 20, 189, 27, 1, 0)]  # a double precision ratio gives other steps here
# Source and destination sizes, position bits (6: 1/64 with phases to 63, 5: 1/32), extremes.
VARIANTS = [(60, 44, 37, 29, 6, 0), (24, 18, 41, 31, 6, 1), (60, 44, 37, 29, 5, 0), (24, 18, 41, 31, 5, 1)]

def source_planes(width, height, extremes):
    x, data, luma_size = (width * 65536 + height) % 2**32, bytearray(), width * height
    for _ in range(luma_size + (luma_size >> 1)):
        x = (x * 1664525 + 1013904223) % 2**32
        data.append((x >> 31) * 255 if extremes else x >> 24)
    return data[:luma_size], data[luma_size:]

def fnv1a(data):
    value = 2166136261
    for byte in data:
        value = ((value ^ byte) * 16777619) % 2**32
    return value

def single(value):
    return struct.unpack("f", struct.pack("f", value))[0]

def clamp(value, low, high):
    return min(max(value, low), high)

def cubic(p0, p1, p2, p3, t):
    """Cubic through four samples; every shift rounds toward minus infinity and nothing is added before it."""
    inner = 2 * p0 - 5 * p1 + 4 * p2 - p3 + ((t * (3 * (p1 - p2) + p3 - p0)) >> 5)
    return clamp(p1 + ((t * (p2 - p0 + ((t * inner) >> 5))) >> 6), 0, 255)

def cubic_position(index, src_size, dst_size, bits, phase_bits):
    """Four taps, held inside the picture, and the phase of a column or row; position in 1 / 2**bits."""
    pos = index * ((src_size << bits) // dst_size)
    taps = [clamp((pos >> bits) + k, 0, src_size - 1) for k in (-1, 0, 1, 2)]
    return taps, (pos >> (bits - phase_bits)) % 2**phase_bits

def bicubic_luma(src, src_w, src_h, dst_w, dst_h, bits=13, phase_bits=5):
    out = bytearray()
    for y in range(dst_h):
        rows, ty = cubic_position(y, src_h, dst_h, bits, phase_bits)
        for x in range(dst_w):
            columns, tx = cubic_position(x, src_w, dst_w, bits, phase_bits)
            out.append(cubic(*[cubic(*[src[r * src_w + c] for c in columns], tx) for r in rows], ty))
    return out

def shrink_pair(index, src_size, dst_size):
    """Chroma pair (or row), its neighbour and the weight of the neighbour in 1/32."""
    pos = index * (((src_size >> 1) << 13) // (dst_size >> 1))
    return pos >> 13, min((pos >> 13) + 1, (src_size >> 1) - 1), (pos >> 8) % 32

def grow_pair(index, src_size, dst_size):
    """The same at the clamped position of the even luma column or row, with the weight in 1/64."""
    pos = four_tap_position(2 * index, src_size, dst_size)
    return pos >> 6, (pos >> 6) + 1, pos % 64

def blend(first, second, weight, levels, bias):
    return ((levels - weight) * first + weight * second + bias) // levels

def bilinear_chroma(src, dst, src_w, src_h, dst_w, dst_h, position, levels, bias):
    """Rows are a luma width apart; the last byte of an odd width and the rest of an odd height stay as is."""
    for y in range(dst_h >> 1):
        row, below, fy = position(y, src_h, dst_h)
        for at in range(dst_w >> 1 << 1):  # even bytes are U, odd bytes are V
            left, right, fx = position(at >> 1, src_w, dst_w)
            left, right = 2 * left + at % 2, 2 * right + at % 2
            h = [blend(src[r * src_w + left], src[r * src_w + right], fx, levels, bias) for r in (row, below)]
            dst[y * dst_w + at] = blend(*h, fy, levels, bias)

def four_tap_position(index, src_size, dst_size):
    """Position in 1/32 pixel, held so far inside that all four taps exist.

    The step is in 1/262144 pixel; only the ratio is single precision, which moves some steps by one or more.
    """
    step = int(262144 / single(dst_size / src_size) + 0.5)
    return min(max((index * step + 4096) >> 13, 32), 32 * src_size - 65)

def four_tap_sum(samples, pos, bias, shift):
    total = sum(w * s for w, s in zip(WEIGHTS[pos % 32], samples))
    return clamp((total + bias) >> shift, -32768, 32767)

def four_tap_luma(src, dst, src_w, src_h, dst_w, dst_h):
    """Sums across are kept in 1/16 of a level and saturate at 16 bits only."""
    columns = [four_tap_position(x, src_w, dst_w) for x in range(dst_w)]
    for y in range(dst_h):
        py = four_tap_position(y, src_h, dst_h)
        for x, px in enumerate(columns):
            starts = [((py >> 5) + k) * src_w + (px >> 5) - 1 for k in (-1, 0, 1, 2)]
            across = [four_tap_sum(src[at:at + 4], px, 128, 8) for at in starts]
            dst[y * dst_w + x] = clamp(four_tap_sum(across, py, 32768, 16), 0, 255)

def entry(src_luma, src_chroma, src_w, src_h, dst_w, dst_h, gray):
    """Scale one picture; returns the destination luma and chroma bytes (both start out as 0xA5)."""
    sizes, dst_size = (src_w, src_h, dst_w, dst_h), dst_w * dst_h
    luma, chroma = bytearray(b"\xa5" * dst_size), bytearray(b"\xa5" * (dst_size >> 1))
    scale_w, scale_h = single(dst_w / src_w), single(dst_h / src_h)
    if scale_w == 1.0 and scale_h == 1.0:
        luma, chroma = src_luma, chroma if gray else src_chroma
    elif scale_w > 1.0 or scale_h > 1.0:
        four_tap_luma(src_luma, luma, *sizes)
        if not gray:
            bilinear_chroma(src_chroma, chroma, *sizes, grow_pair, 64, 32)
    else:  # shrinking writes chroma for grayscale pictures too
        luma = bicubic_luma(src_luma, *sizes)
        bilinear_chroma(src_chroma, chroma, *sizes, shrink_pair, 32, 0)
    return bytes(luma), bytes(chroma)

if __name__ == "__main__":
    for *sizes, color, extremes in CASES:
        planes = entry(*source_planes(*sizes[:2], extremes), *sizes, not color)
        print("entry %d %d %d %d %d %d %08x" % (*sizes, color, extremes, fnv1a(b"".join(planes))))
    for *sizes, bits, extremes in VARIANTS:
        plane = bicubic_luma(source_planes(*sizes[:2], extremes)[0], *sizes, bits, bits)
        print("luma %d %d %d %d %d %d %08x" % (*sizes, bits, extremes, fnv1a(plane)))
