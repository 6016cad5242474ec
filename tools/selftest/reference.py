#!/usr/bin/env python3
"""What vantor selftest compares with, from slow programs that share no code with the library.

  reference.py > hashes.h       compute the published results
  reference.py --check FILE     compare the file with them; exit status 1 if it differs

Samples are computed one at a time, with Python's unbounded integers; where the engine's 32-bit registers wrap,
int32() says so. Planes are (bytes, offset of the first sample, stride). published/requests.h has the requests' fields.
"""
import argparse
import difflib
import math
import multiprocessing
import struct
import sys

# The requests. Pictures are NV12, tightly packed, chroma behind the luma.

GRAY, NV12 = 0, 1
RANDOM, EXTREME = 0, 1

# runInterpBicubic: source size, destination size, format, contents.
ENTRY = [
    (64, 48, 64, 48, NV12, RANDOM),
    (33, 21, 33, 21, GRAY, RANDOM),
    (96, 72, 64, 48, NV12, RANDOM),
    (128, 96, 64, 48, NV12, EXTREME),
    (180, 150, 48, 40, NV12, RANDOM),
    (157, 113, 101, 67, NV12, RANDOM),
    (157, 113, 101, 67, GRAY, EXTREME),
    (40, 37, 40, 23, NV12, RANDOM),
    (37, 24, 23, 24, NV12, EXTREME),
    (40, 30, 23, 17, NV12, RANDOM),
    (31, 14, 12, 7, NV12, EXTREME),
    (40, 9, 12, 5, GRAY, RANDOM),
    (6, 6, 5, 3, NV12, RANDOM),
    (17, 12, 4, 6, NV12, EXTREME),
    (6, 8, 4, 1, NV12, RANDOM),
    (9, 10, 5, 2, GRAY, EXTREME),
    (4, 4, 9, 7, NV12, RANDOM),
    (4, 4, 9, 7, GRAY, EXTREME),
    (6, 6, 12, 3, NV12, RANDOM),
    (6, 4, 23, 1, NV12, EXTREME),
    (64, 48, 96, 72, NV12, RANDOM),
    (32, 24, 64, 48, NV12, EXTREME),
    (50, 34, 127, 93, NV12, EXTREME),
    (60, 80, 120, 31, NV12, RANDOM),
    (90, 40, 37, 111, NV12, EXTREME),
    (8, 6, 8, 13, GRAY, RANDOM),
    (160, 8, 181, 11, NV12, EXTREME),
    (94, 20, 189, 27, NV12, RANDOM),
    # Rows of several strips, 768 columns or pairs and fewer each, or 512 of interp4's luma.
    (1700, 11, 1600, 8, NV12, RANDOM),
    (800, 8, 1601, 17, NV12, EXTREME),
    # Steps of whole samples, in both directions or in one.
    (960, 36, 320, 12, NV12, EXTREME),
    (96, 40, 64, 20, NV12, RANDOM),
    (192, 40, 96, 27, NV12, RANDOM),
    (200, 20, 300, 20, NV12, EXTREME),
    # Taps far apart, and close together.
    (904, 30, 130, 17, NV12, RANDOM),
    (1400, 18, 128, 5, NV12, EXTREME),
    (900, 12, 130, 31, NV12, RANDOM),
    (1400, 6, 64, 13, NV12, EXTREME),
    (12, 8, 300, 21, NV12, EXTREME),
    # Odd sources.
    (33, 21, 70, 50, GRAY, RANDOM),
    (37, 22, 75, 9, NV12, RANDOM),
    (36, 23, 80, 9, NV12, EXTREME),
    (3, 9, 2, 5, NV12, RANDOM),
]

# The luma variants that no request uses: source size, destination size, fraction bits of a position (6 for
# interpolateBCY, 5 for interpolateBCY_1 and _2), contents.
LUMA = [
    (60, 44, 37, 29, 6, RANDOM),
    (24, 18, 41, 31, 6, EXTREME),
    (60, 44, 37, 29, 5, RANDOM),
    (24, 18, 41, 31, 5, EXTREME),
    (1000, 9, 900, 7, 6, EXTREME),
    (1000, 9, 900, 7, 5, RANDOM),
]

RAW = -1  # an amplitude: nodes are the generator's numbers themselves

WHOLE = (0, 0, 0, 0)

# runGDCGrid in the model: size, seed and amplitude of the nodes, format, region: left, top, width, height.
GRID_WARPS = [
    (96, 64, 1, 0, NV12, WHOLE),
    (96, 64, 2, 300, NV12, WHOLE),
    (96, 64, 3, 20000, NV12, WHOLE),
    (112, 66, 4, 20000, NV12, WHOLE),
    (112, 66, 5, 2000000, NV12, WHOLE),
    (96, 200, 6, 20000, NV12, WHOLE),
    (160, 90, 7, 300, NV12, WHOLE),
    (160, 90, 8, 2000000, NV12, WHOLE),
    (96, 64, 9, 536870911, NV12, WHOLE),
    (112, 66, 10, RAW, NV12, WHOLE),
    (160, 90, 11, RAW, NV12, WHOLE),
    (272, 66, 12, 300, GRAY, WHOLE),
    (528, 130, 13, 20000, NV12, WHOLE),  # several tiles of 64 rows of 256 columns
    (288, 140, 14, 300, NV12, (8, 2, 278, 134)),
    (96, 64, 15, 20000, NV12, (3, 5, 41, 33)),
    (4112, 64, 16, 400000, NV12, WHOLE),  # scales that take seven shifts
    (96, 3074, 17, 20000, NV12, (0, 2700, 96, 374)),
]

# runGDCMatrix in the model, whole pictures: size, matrix.
MATRIX_WARPS = [
    (96, 64, (4096, 0, 0, 0, 4096, 0)),
    (96, 64, (4034, -711, 201, 711, 4034, -251)),
    (112, 66, (4096, 0, 336, 0, 4096, -170)),
    (112, 66, (-4096, 37, 3551, -91, -4096, 2087)),
    (160, 90, (2048, 0, 1280, 0, 2048, 720)),
    (96, 64, (32767, -32768, 32767, -32768, 32767, -32768)),
    (272, 272, (0, -4096, 8672, 4096, 0, 0)),
    (528, 66, (16384, 0, -25344, 0, 16384, -3168)),
]

# GDCRunnerCModel: size, matrix, size of the whole output, region of it, whether points are kept in the picture.
MODEL_RUNS = [
    (98, 66, (4034, -711, 201, 711, 4034, -251), (98, 66), (0, 0, 98, 66), 0),
    (98, 66, (4034, -711, 201, 711, 4034, -251), (196, 150), (0, 0, 196, 150), 1),
    (240, 136, (3900, 60, 300, -50, 4200, -170), (100, 46), (10, 4, 80, 30), 0),
    (32, 24, (4096, 0, 0, 0, 4096, 0), (400, 300), (7, 3, 390, 282), 1),
]

# getGridSet: size, matrix, whether points are kept in the picture.
GRID_SETS = [
    (1920, 1080, (1.0, 0.0, 0.0, 0.0, 1.0, 0.0), 1),
    (1920, 1080, (0.9, 0.3, -165.7, 0.2, 1.05, 68.1), 0),
    (8192, 6144, (1.3, -0.1, -304.7, -0.2, 0.9, 23.3), 0),
    (97, 65, (0.9, 0.3, 4.1, 0.2, 0.7, 1.3), 1),
    (8192, 6144, (1.3, -0.1, -304.7, -0.2, 0.9, 23.3), 1),
    (1, 1, (0.5, 2.5, -1.5, 1.0, 0.0, 2.5), 0),
    (4097, 3073, (0.9, -0.05, -201.5, 0.15, 1.3, -72.1), 0),
    (0, 0, (1.0, 0.0, 0.0, 0.0, 1.0, 0.0), 1),
    (8192, 6144, (1e9, -3e5, 0.5, 3e38, -3e38, 0.0), 0),
]

# Numbers.


def int32(value):
    """The value in a 32-bit register."""
    return (value + 2**31) % 2**32 - 2**31


def clamp(value, low, high):
    return low if value < low else high if value > high else value


def quotient(a, b):
    """Signed division toward zero; 0 for a zero divisor."""
    if b == 0:
        return 0
    return a // b if (a < 0) == (b < 0) else -(-a // b)


def hwround(value, shift):
    """The value / 2^shift to the nearest, ties upward."""
    return (value + (2**shift >> 1)) >> shift


def f32(value):
    """The value in single precision. Sums, products and quotients of singles round the same through doubles."""
    try:
        return struct.unpack("f", struct.pack("f", value))[0]
    except OverflowError:
        return math.copysign(math.inf, value)


def saturated(value):
    """A floating-point number toward zero in 32 bits, as the target's instruction converts: NaN is 0."""
    if math.isnan(value):
        return 0
    return -(2**31) if value <= -(2**31) else 2**31 - 1 if value >= 2**31 - 1 else int(value)


def round_half_away(value):
    if not math.isfinite(value):
        return value
    return math.copysign(math.floor(abs(value) + 0.5), value)


# Reduction: bicubic luma, bilinear chroma.


def cubic(p0, p1, p2, p3, t):
    """Cubic convolution (a = -0.5) at t / 32 between p1 and p2."""
    slope = 2 * p0 - 5 * p1 + 4 * p2 - p3 + ((t * (3 * (p1 - p2) + p3 - p0)) >> 5)
    return clamp(p1 + ((t * (p2 - p0 + ((t * slope) >> 5))) >> 6), 0, 255)


def positions(src_size, dst_size, fraction_bits, phase_bits):
    """The index and the phase of each destination sample in the source."""
    step = quotient(src_size << fraction_bits, dst_size)
    dropped = fraction_bits - phase_bits
    return [
        (x * step >> fraction_bits, (x * step >> dropped) & (2**phase_bits - 1)) for x in range(dst_size)
    ]


def cubic_columns(i, width):
    if i + 1 >= width - 1:
        c2 = i if i + 1 == width else i + 1
        return i - 1, i, c2, width - 1 if c2 == width - 1 else i + 2
    return (0, 0, 1, 2) if i == 0 else (i - 1, i, i + 1, i + 2)


def cubic_rows(i, height):
    r2 = i if i + 1 == height else i + 1
    return (i if i == 0 else i - 1), i, r2, (r2 if r2 == height - 1 else i + 2)


def reduce_luma(src, dst, src_width, src_height, dst_width, dst_height, fraction_bits=13, phase_bits=5):
    samples, start, stride = src
    out, out_start, out_stride = dst
    columns = [
        (cubic_columns(i, src_width), t) for i, t in positions(src_width, dst_width, fraction_bits, phase_bits)
    ]
    for y, (i, t) in enumerate(positions(src_height, dst_height, fraction_bits, phase_bits)):
        rows = [start + r * stride for r in cubic_rows(i, src_height)]
        for x, (taps, tx) in enumerate(columns):
            across = [cubic(*(samples[row + c] for c in taps), tx) for row in rows]
            out[out_start + y * out_stride + x] = cubic(*across, t)


def reduce_chroma(src, dst, src_width, src_height, dst_width, dst_height):
    """Sizes are in pairs of U and V."""
    samples, start, stride = src
    out, out_start, out_stride = dst
    columns = positions(src_width, dst_width, 13, 5)
    for y, (iy, ty) in enumerate(positions(src_height, dst_height, 13, 5)):
        row0 = start + iy * stride
        row1 = row0 if iy + 1 == src_height else row0 + stride
        for x, (ix, tx) in enumerate(columns):
            left, right = 2 * ix, 2 * min(ix + 1, src_width - 1)
            for c in (0, 1):
                h0, h1 = (
                    ((32 - tx) * samples[row + left + c] + tx * samples[row + right + c]) >> 5
                    for row in (row0, row1)
                )
                out[out_start + y * out_stride + 2 * x + c] = ((32 - ty) * h0 + ty * h1) >> 5


# Enlargement: four taps from a table, bilinear chroma with 64 levels.

# Weights in 1/4096 of phases 0 to 16 in 1/32 of a pixel; phase 32 - p has those of phase p, reversed.
HALF_TABLE = [
    (0, 4096, 0, 0),
    (-60, 4086, 72, -2),
    (-113, 4058, 159, -8),
    (-158, 4011, 259, -16),
    (-196, 3948, 372, -28),
    (-228, 3869, 497, -42),
    (-254, 3777, 632, -59),
    (-273, 3670, 776, -77),
    (-288, 3552, 928, -96),
    (-298, 3423, 1087, -116),
    (-303, 3284, 1253, -138),
    (-303, 3136, 1422, -159),
    (-300, 2980, 1596, -180),
    (-293, 2818, 1772, -201),
    (-284, 2651, 1950, -221),
    (-271, 2479, 2127, -239),
    (-256, 2304, 2304, -256),
]
TAP_TABLE = HALF_TABLE + [HALF_TABLE[p][::-1] for p in range(15, 0, -1)]


def tap_positions(src_size, dst_size):
    """Positions in 1/32 pixel, kept where all four taps are in the picture."""
    step = int(262144 / f32(f32(dst_size) / f32(src_size)) + 0.5)
    return [clamp((i * step + 4096) >> 13, 32, 32 * src_size - 65) for i in range(dst_size)]


def enlarge_luma(src, dst, src_width, src_height, dst_width, dst_height):
    samples, start, stride = src
    out, out_start, out_stride = dst
    columns = tap_positions(src_width, dst_width)

    def across(row):
        begin = start + row * stride
        for p in columns:
            first = begin + (p >> 5) - 1
            total = sum(w * s for w, s in zip(TAP_TABLE[p & 31], samples[first : first + 4]))
            yield clamp((total + 128) >> 8, -(2**15), 2**15 - 1)

    filtered = [list(across(row)) for row in range(src_height)]
    for y, p in enumerate(tap_positions(src_height, dst_height)):
        weights = TAP_TABLE[p & 31]
        rows = filtered[(p >> 5) - 1 : (p >> 5) + 3]
        for x in range(dst_width):
            total = sum(w * row[x] for w, row in zip(weights, rows))
            out[out_start + y * out_stride + x] = clamp((total + 32768) >> 16, 0, 255)


def enlarge_chroma(src, dst, src_width, src_height, dst_width, dst_height):
    """Sizes are those of the luma, whose even columns and rows give the positions."""
    samples, start, stride = src
    out, out_start, out_stride = dst
    columns = tap_positions(src_width, dst_width)
    rows = tap_positions(src_height, dst_height)
    for y in range(dst_height // 2):
        iy, fy = rows[2 * y] >> 6, rows[2 * y] & 63
        for x in range(dst_width // 2):
            ix, fx = columns[2 * x] >> 6, columns[2 * x] & 63
            for c in (0, 1):
                at = start + iy * stride + 2 * ix + c
                h0, h1 = (
                    clamp(((64 - fx) * samples[a] + fx * samples[a + 2] + 32) >> 6, 0, 255)
                    for a in (at, at + stride)
                )
                value = ((64 - fy) * h0 + fy * h1 + 32) >> 6
                out[out_start + y * out_stride + 2 * x + c] = clamp(value, 0, 255)


def scale(samples, out, src_width, src_height, dst_width, dst_height, image_format):
    across, down = f32(dst_width / src_width), f32(dst_height / src_height)
    src_luma, dst_luma = src_width * src_height, dst_width * dst_height
    if across == 1.0 and down == 1.0:
        size = dst_luma if image_format == GRAY else dst_luma + dst_luma // 2
        out[:size] = samples[:size]
        return
    luma = (samples, 0, src_width), (out, 0, dst_width)
    chroma = (samples, src_luma, src_width), (out, dst_luma, dst_width)
    sizes = src_width, src_height, dst_width, dst_height
    if across > 1.0 or down > 1.0:
        enlarge_luma(*luma, *sizes)
        if image_format == NV12:
            enlarge_chroma(*chroma, *sizes)
    else:  # a reduction writes chroma in either format
        reduce_luma(*luma, *sizes)
        reduce_chroma(*chroma, *(size // 2 for size in sizes))


# The warping engine.


def kernel(x):
    """Cubic convolution, a = -0.5."""
    return 1.5 * x**3 - 2.5 * x**2 + 1 if x <= 1 else -0.5 * x**3 + 2.5 * x**2 - 4 * x + 2 if x < 2 else 0


WEIGHTS = [
    [int(round_half_away(256 * kernel(d))) for d in (1 + p / 256, p / 256, 1 - p / 256, 2 - p / 256)]
    for p in range(256)
]

VIRTUAL_WIDTH, VIRTUAL_HEIGHT = 16384, 12288  # of the grid's frame, in half units: 32 cells of 512, of 384


def third(value):
    return int(value / 3.0)


def displacement_limits(value):
    return clamp(value, -4194304, 4194303)


def end_slopes(delta, s0, s1, cell):
    """An end cell is a parabola."""
    if cell == 1:
        s0 = int32(4 * delta - s1)
    if cell == 32:
        s1 = int32(4 * delta - s0)
    return s0, s1


def column_value(grid, vy, column):
    """A column of nodes interpolated at vy, at half the nodes' scale."""
    cell = int((vy >> 7) / 3.0 + 1.0)
    a, b, c, d = (grid[row * 33 + column] if 0 <= row <= 32 else 0 for row in range(cell - 2, cell + 2))
    t = vy - 384 * (cell - 1)
    bow = third((64 + t * (384 - t)) >> 7)
    delta, s0, s1 = int32(c - b), int32(c - a), int32(d - b)
    s0, s1 = end_slopes(delta, s0, s1, cell)
    e = third(hwround((384 - 2 * t) * int32(4 * delta - s0 - s1), 8))
    f = int32(e + (int32(s1 - s0) >> 1))
    g = third(hwround(f * bow, 9))
    line = third(hwround(delta * t, 8))
    return displacement_limits(int32(line + (b >> 1) - g))


def displacement(values, vx):
    """The columns' values interpolated at vx."""
    cell = (vx >> 9) + 1
    a, b, c, d = (values[column] if 0 <= column <= 32 else 0 for column in range(cell - 2, cell + 2))
    u = vx - 512 * (cell - 1)
    bow = (256 + u * (512 - u)) >> 9
    delta, s0, s1 = c - b, c - a, d - b
    s0, s1 = end_slopes(delta, s0, s1, cell)
    bend = hwround((4 * delta - s0 - s1) * (512 - 2 * u), 9) + s1 - s0
    return displacement_limits(b + hwround(delta * u, 9) - hwround(bend * bow, 11))


def shift_of(size, limit):
    """The fraction bits that keep a scale below 65536; limit is half of 8192 or of 6144."""
    if size > limit:
        return 7
    return next((6 - i for i in range(7) if size << i > limit // 2), 0)


def virtual_coordinate(i, scale_, shift, out_scale, end):
    step = out_scale * scale_ >> 7
    return clamp(((2 * i + 1) * step + 2 ** (shift + 7)) >> (shift + 8), 0, end)


def folded(i, size):
    """The four taps around i; those beyond a border come from inside."""
    c0 = i - 2 if i >= 2 else i
    c1 = 1 if i == 0 else i - 1
    return (
        c0 - 2 if c0 >= size else c0,
        c1 - 2 if c1 >= size else c1,
        i if i < size else i - 2,
        i + 1 if i + 1 < size else i - 1,
    )


def folded_chroma(i, size):
    left = 0 if i == 0 else i - 1
    return (left - 1 if left >= size else left), (i - 1 if i >= size else i)


def warped_luma(block, fx, fy):
    """Bicubic over 4 x 4 samples, normalised, kept between the inner four."""
    total, weight_sum = 0, 0
    for wy, row in zip(WEIGHTS[fy], block):
        for wx, sample in zip(WEIGHTS[fx], row):
            product = wy * wx
            weight = (product + 128) >> 8 if product >= 0 else -((128 - product) >> 8)
            total += weight * sample
            weight_sum += weight
    y = min(max((total + hwround(total * (256 - weight_sum), 8) + 128) >> 8, 0), 255)
    inner = block[1][1:3] + block[2][1:3]
    return clamp(y, min(inner), max(inner))


def warped_chroma(lt, rt, lb, rb, fx, fy, xi, yi):
    """Bilinear between chroma samples, which are two luma pixels apart."""
    left = fx + (0 if xi & 1 else 256)
    top = fy + (0 if yi & 1 else 256)
    from_right, from_bottom = 512 - left, 512 - top
    right_top = (from_bottom * left + 256) >> 9
    left_top = (from_right * from_bottom + 256) >> 9
    value = (from_right - left_top) * lb + left_top * lt + right_top * rt + (left - right_top) * rb
    return min((value + 256) >> 9, 255)


def run_engine(samples, out, width, height, nodes, scales, out_scale_x, out_scale_y, region):
    """A region's three planes, one behind the other. The output's step is in 1/128 source sample."""
    shift_x, shift_y, scale_x, scale_y, inverse_x, inverse_y = scales
    left, top, out_width, out_height = region
    u_plane, v_plane = out_width * out_height, out_width * out_height * 5 // 4
    for oy in range(top, top + out_height):
        vy = virtual_coordinate(oy, scale_y, shift_y, out_scale_y, VIRTUAL_HEIGHT)
        columns_x, columns_y = ([column_value(nodes[i::2], vy, c) for c in range(33)] for i in (0, 1))
        for ox in range(left, left + out_width):
            vx = virtual_coordinate(ox, scale_x, shift_x, out_scale_x, VIRTUAL_WIDTH)
            sx = int32(hwround(inverse_x * displacement(columns_x, vx), 13) + out_scale_x * (2 * ox + 1))
            sy = int32(hwround(inverse_y * displacement(columns_y, vx), 13) + out_scale_y * (2 * oy + 1))
            is_inside = 0 <= sx < 256 * width and 0 <= sy < 256 * height
            luma, u, v = sample(samples, width, height, sx, sy) if is_inside else (0, 128, 128)
            out[(oy - top) * out_width + ox - left] = luma
            if ox % 2 == 0 and oy % 2 == 0:
                at = out_width * ((oy - top) // 2) // 2 + (ox - left) // 2
                out[u_plane + at] = u
                out[v_plane + at] = v


def sample(samples, width, height, sx, sy):
    """Luma, U and V at a position inside, in 1/256 pixel."""
    xi, yi, fx, fy = (sx + 128) >> 8, (sy + 128) >> 8, (sx + 128) & 255, (sy + 128) & 255
    columns = folded(xi, width)
    luma = warped_luma([[samples[r * width + c] for c in columns] for r in folded(yi, height)], fx, fy)
    columns = folded_chroma((xi & 1) + ((sx + 128) >> 9), width // 2)
    rows = folded_chroma((yi & 1) + ((sy + 128) >> 9), height // 2)
    uv = (
        warped_chroma(*(samples[(height + r) * width + 2 * c + k] for r in rows for c in columns), fx, fy, xi, yi)
        for k in (0, 1)
    )
    return luma, *uv


def interleave(planes, out, luma):
    """Three planes as two."""
    out[:luma] = planes[:luma]
    out[luma::2] = planes[luma : luma + luma // 4]
    out[luma + 1 :: 2] = planes[luma + luma // 4 :]


def warp(samples, out, width, height, nodes, image_format, region):
    shift_x, shift_y = shift_of(width, 4096), shift_of(height, 3072)
    scale_x = min(65535, ((8192 << (shift_x + 8)) + width // 2) // width)
    scale_y = min(65535, ((6144 << (shift_y + 8)) + height // 2) // height)
    scales = shift_x, shift_y, scale_x, scale_y, width, (8 * height + 3) // 6
    region = (0, 0, width, height) if region == WHOLE else region
    planes = bytearray(len(out))
    run_engine(samples, planes, width, height, nodes, scales, 128, 128, region)
    if image_format == NV12:
        interleave(planes, out, width * height)
    else:
        out[: width * height] = planes[: width * height]


# Grids of a matrix.


def grid_set(width, height, matrix, is_clamped):
    """The points, x and y in turn, and the shifts, scales and inverse scales, across and down."""
    step_x, step_y = (int(round_half_away(f32(size * 0.03125))) for size in (width, height))
    a, b, c, d, e, f = (f32(value) for value in matrix)

    def mapped(x, y, by_x, by_y, offset, size):
        value = f32(f32(f32(by_y * y) + f32(by_x * x)) + offset)
        i = saturated(round_half_away(value))
        return min(max(i, 0), size - 1) if is_clamped else i

    shift_x = 7 if width > 4096 else next((6 - i for i in range(6) if width << i > 2048), 0)
    shift_y = 7 if height > 3072 else next((6 - i for i in range(6) if height << i > 1536), 0)

    def scale_of(size, shift, virtual):
        dividend = float(size // 2) + 2.0 ** (shift + 8) * virtual
        return saturated(dividend / size if size else math.inf)

    scale_x, scale_y = scale_of(width, shift_x, 8192.0), scale_of(height, shift_y, 6144.0)

    def virtual(value, scale_, shift):
        product = int32(int32(int32(2 * value + 1) * scale_) + (1 << (shift + 7)))
        return int32(quotient(product, 1 << (shift + 8)) * 256)

    points = []
    for row in range(33):
        y = min(row * step_y, height)
        for column in range(33):
            x = min(column * step_x, width)
            points.append(virtual(int32(mapped(x, y, a, b, c, width) - x), scale_x, shift_x))
            points.append(virtual(int32(mapped(x, y, d, e, f, height) - y), scale_y, shift_y))
    return points, (shift_x, shift_y, scale_x, scale_y, width, quotient(8 * height + 3, 6))


def fixed_point(matrix):
    unit = (1 / 4096, 1 / 4096, 1 / 32)
    return [m * u for m, u in zip(matrix, unit + unit)]


# Generators, hashes and results.


def generator(x):
    while True:
        x = (1664525 * x + 1013904223) % 2**32
        yield x


def picture(width, height, contents=RANDOM):
    numbers = generator(65536 * width + height)
    size = width * height * 3 // 2
    if contents == EXTREME:
        return bytes(255 * (next(numbers) >> 31) for _ in range(size))
    return bytes(next(numbers) >> 24 for _ in range(size))


def untouched(width, height):
    return bytearray(b"\xa5" * (width * height * 3 // 2))


def hash_of(data):
    """32-bit FNV-1a."""
    value = 2166136261
    for byte in data:
        value = ((value ^ byte) * 16777619) % 2**32
    return value


def entry_result(src_width, src_height, dst_width, dst_height, image_format, contents):
    out = untouched(dst_width, dst_height)
    scale(picture(src_width, src_height, contents), out, src_width, src_height, dst_width, dst_height, image_format)
    return hash_of(out)


def luma_result(src_width, src_height, dst_width, dst_height, bits, contents):
    out = untouched(dst_width, dst_height)
    src = picture(src_width, src_height, contents), 0, src_width
    reduce_luma(src, (out, 0, dst_width), src_width, src_height, dst_width, dst_height, bits, bits)
    return hash_of(out[: dst_width * dst_height])


def warp_result(width, height, nodes, image_format, region):
    out = untouched(width, height)
    warp(picture(width, height), out, width, height, nodes, image_format, region)
    return hash_of(out)


def grid_result(width, height, seed, amplitude, image_format, region):
    numbers = generator(seed)
    nodes = [next(numbers) for _ in range(2 * 1089)]
    if amplitude == RAW:
        nodes = [int32(x) for x in nodes]
    else:
        nodes = [(x >> 8) % (2 * amplitude + 1) - amplitude for x in nodes]
    return warp_result(width, height, nodes, image_format, region)


def matrix_result(width, height, matrix):
    points, _ = grid_set(width, height, fixed_point(matrix), True)
    return warp_result(width, height, points, NV12, WHOLE)


def model_result(width, height, matrix, whole, region, is_clamped):
    points, scales = grid_set(width, height, fixed_point(matrix), is_clamped)
    out_scales = width * 128 // whole[0], height * 128 // whole[1]
    out = untouched(*region[2:])
    planes = bytearray(len(out))
    run_engine(picture(width, height), planes, width, height, points, scales, *out_scales, region)
    interleave(planes, out, region[2] * region[3])
    return hash_of(out)


def grid_set_result(width, height, matrix, is_clamped):
    points, scales = grid_set(width, height, matrix, is_clamped)
    return scales, hash_of(struct.pack(f"<{len(points)}i", *points))


TABLES = [
    ("Scaling", "kEntry", ENTRY, entry_result),
    ("LumaScaling", "kLuma", LUMA, luma_result),
    ("GridWarp", "kGridWarps", GRID_WARPS, grid_result),
    ("MatrixWarp", "kMatrixWarps", MATRIX_WARPS, matrix_result),
    ("ModelRun", "kModelRuns", MODEL_RUNS, model_result),
    ("GridSet", "kGridSets", GRID_SETS, grid_set_result),
]


def row_of(table, index):
    """A request with its result."""
    _, _, requests, result = table
    values = result(*requests[index])
    return *requests[index], *(values if isinstance(values, tuple) else (values,))


def initializer(values):
    return "{" + ", ".join(initializer(v) if isinstance(v, tuple) else str(v) for v in values) + "}"


def header():
    jobs = [(table, i) for table in TABLES for i in range(len(table[2]))]
    with multiprocessing.Pool() as pool:
        rows = pool.starmap(row_of, jobs, chunksize=1)
    hash_over_all = hash_of(struct.pack(f"<{len(rows)}I", *(row[-1] for row in rows)))
    lines = [
        "// Made by reference.py: what vantor selftest computes, and the hashes.",
        "#pragma once",
        "",
        '#include "published/requests.h"',
        "",
        "namespace vantor::selftest {",
        "",
        "// clang-format off",
    ]
    for table in TABLES:
        lines.append(f"constexpr {table[0]} {table[1]}[] = {{")
        for (owner, _), row in zip(jobs, rows):
            if owner is table:
                lines.append(f"    {initializer(row[:-1] + (f'{row[-1]:#010x}',))},")
        lines += ["};", ""]
    lines += [f"constexpr uint32_t kHashOverAll = {hash_over_all:#010x};", "// clang-format on", ""]
    return "\n".join(lines + ["}  // namespace vantor::selftest", ""])


def check(path):
    with open(path) as file:
        published = file.read()
    expected = header()
    sys.stdout.writelines(difflib.unified_diff(published.splitlines(True), expected.splitlines(True), path, "expected"))
    return 0 if published == expected else 1


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", metavar="FILE")
    path = parser.parse_args().check
    sys.exit(check(path) if path else print(header(), end=""))
