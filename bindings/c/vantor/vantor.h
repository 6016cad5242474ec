/**
 * @file
 * Scaling and warping of 8-bit pictures with the bytes of the device's engine, for any language that can call C.
 *
 * Pictures. A vantor_image is a view of memory that stays the caller's; no call keeps it. Sizes are in luma samples.
 * Formats with chroma have it at half the size in both directions, so their sizes are even. Samples are 8 bits of any
 * range, and no colour is converted. No alignment is needed. A crop is a view as well: the address of its first sample
 * and the stride of the whole picture, at even offsets where there is chroma.
 *
 * Memory. Only the samples of the rows are touched, never the gaps between rows. Sources are only read, and may lie in
 * read-only memory. The rows of a destination share no byte with each other or with the source; views side by side in
 * one buffer do not overlap.
 *
 * Errors. Functions that return int return VANTOR_OK or a negative status. They check everything first, and a call that
 * fails has written nothing. Nothing is printed, and errno, signals, the locale and the floating-point environment stay
 * as they are. Null pointers are VANTOR_INVALID where nothing else is said. vantor_message() says what was wrong.
 *
 * Threads. All functions are thread-safe. An engine serves one call at a time; any number of engines work side by side.
 * The bytes of a result do not depend on the number of threads, nor on the processor.
 *
 * Fork. An engine that was not in a call during fork() works in the child too, with threads of its own.
 *
 * Stability. As long as the library is libvantor.so.1, nothing declared here changes its size, layout, value or
 * meaning.
 */
#ifndef VANTOR_VANTOR_H
#define VANTOR_VANTOR_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __GNUC__
#pragma GCC visibility push(default)
#endif

/** What functions return. */
enum {
    VANTOR_OK = 0,
    VANTOR_INVALID = -1,  /**< an argument; the message names it, its value and the limit */
    VANTOR_NO_MEMORY = -2 /**< for the call's work; the same call may succeed later */
};

/** The layouts of pictures. */
enum {
    VANTOR_GRAY8 = 0, /**< plane 0: luma */
    VANTOR_NV12 = 1,  /**< plane 0: luma; plane 1: pairs of U and V */
    VANTOR_NV21 = 2,  /**< plane 0: luma; plane 1: pairs of V and U */
    VANTOR_I420 = 3   /**< plane 0: luma; plane 1: U; plane 2: V */
};

/** A view of a picture. Planes that the format does not have are not looked at. */
typedef struct vantor_image {
    int32_t format;      /**< VANTOR_GRAY8 to VANTOR_I420 */
    int32_t width;       /**< in luma samples; even where there is chroma */
    int32_t height;      /**< likewise */
    uint8_t *plane[3];   /**< the first sample of the top row; only read in sources */
    ptrdiff_t stride[3]; /**< bytes from one row to the next, at least those of a row */
} vantor_image;

/** The nodes of a grid: 33 rows of 33. */
#define VANTOR_GRID_NODES 1089

/**
 * The displacements of 33 x 33 nodes, which span the picture, row by row: a node's source lies half that far from it,
 * in 1/256 sample of a virtual picture of 8192 x 6144 into which the picture is stretched, so that 512 x 8192 / width
 * are one pixel to the right. Zeros copy the picture exactly, and every value is allowed. The layout is that of
 * hardware::vantorClient::_GDCGrid.
 */
typedef struct vantor_grid {
    int32_t dx[VANTOR_GRID_NODES]; /**< to the right */
    int32_t dy[VANTOR_GRID_NODES]; /**< down */
} vantor_grid;

/** A part of a picture, in luma samples. */
typedef struct vantor_rect {
    int32_t x;      /**< the leftmost column */
    int32_t y;      /**< the topmost row */
    int32_t width;  /**< how many columns */
    int32_t height; /**< how many rows */
} vantor_rect;

/** @name Engines
 * Threads and working memory, which are kept from call to call.
 * @{ */

/** Belongs to the caller until vantor_engine_free(). */
typedef struct vantor_engine vantor_engine;

/**
 * An engine for which `threads` threads work on a picture, one of them the caller's: 1 to 256, or 0 for as many as this
 * process may use processors. The others are started by the first call that has work for them; they block all signals,
 * sleep between calls and end with the engine. Where one cannot be started the rest do its share. Calls on pictures no
 * larger than those before allocate nothing. Returns null where there is no memory or `threads` is out of range:
 * vantor_message(NULL) says which.
 */
vantor_engine *vantor_engine_new(int threads);

/** One share of the work. */
typedef void vantor_task(void *job, int index);

/**
 * Runs task(job, i) once for every i from 0 to count - 1, in any order and on any threads, and returns when all of them
 * have returned: 0, or another value if it has run none of them, whereupon the caller of the engine does the work.
 */
typedef int vantor_runner(void *opaque, vantor_task *task, void *job, int count);

/**
 * An engine that makes no threads and lets `run` do the work instead; it is called with `opaque` and a count of
 * `threads` (1 to 256) at most. Returns null as vantor_engine_new() does.
 */
vantor_engine *vantor_engine_new_with_runner(vantor_runner *run, void *opaque, int threads);

/** Ends an engine that is not in a call, and its threads. Null is ignored. */
void vantor_engine_free(vantor_engine *engine);

/** How many threads work on a picture, at most; 1 for null. */
int vantor_engine_threads(const vantor_engine *engine);

/** @}
 * @name Pictures
 * With a null engine these run on the caller's thread, with working memory for one call.
 * @{ */

/**
 * Scales all of `src` to all of `dst`, by any factor. Both have one format and sizes from 1 x 1 (2 x 2 with chroma) to
 * 16384 x 16384. The bytes are those of runInterpBicubic for the same planes without gaps: a copy at one size, the
 * four-tap filter where a side grows, else bicubic luma and bilinear chroma. Gray pictures are luma alone. In sources
 * one or two columns wide the tap to the left of a row, for which the device reads the byte before the row, is the
 * row's first sample.
 */
int vantor_scale(vantor_engine *engine, const vantor_image *dst, const vantor_image *src);

/**
 * Warps `src` to `dst`, which have one format and size, up to 8192 x 6144. The bytes are those of runGDCGrid on the
 * model. Sizes that the device does not take (a width that is not a multiple of 16, an odd height, less than 96 x 64)
 * are warped as `vantor warp` does: as if the last column and row were repeated until the device took the picture, with
 * the grid's nodes spread over that.
 */
int vantor_warp(vantor_engine *engine, const vantor_image *dst, const vantor_image *src, const vantor_grid *grid);

/**
 * The same, of which only `part` is computed and written: at least one sample, within the picture, and with chroma of
 * even position and size. `dst` is the view of the whole picture.
 */
int vantor_warp_part(vantor_engine *engine, const vantor_image *dst, const vantor_image *src, const vantor_grid *grid,
                     const vantor_rect *part);

/** @}
 * @name Grids
 * Nodes are spread over the picture; over the extended picture, for sizes that the device does not take, as by
 * vantor_warp(). Sizes are from 1 x 1 to 8192 x 6144. Maps and positions are arrays of width x height, row by row
 * without gaps: for each pixel of the result the position in the source that it comes from, the centre of the first
 * pixel being at 0, 0, as for OpenCV's remap. Displacements too large for a node are clamped to its range. A call that
 * fails leaves what it would have written as it was, and vantor_message(NULL) says why it failed.
 * @{ */

/**
 * The grid with which the device warps by a matrix a, b, c, d, e, f: pixel x, y of the result comes from a x + b y + c,
 * d x + e y + f, with a, b, d and e in 1/4096 and c and f in 1/32 pixel. Nodes that it leads out of the picture are
 * moved to its border. As on the device, sources of nodes are rounded to whole pixels and then lie half a pixel too far
 * to the right and below.
 */
int vantor_grid_from_matrix(vantor_grid *grid, const int16_t matrix[6], int width, int height);

/**
 * The grid whose nodes are displaced as the map is there: between pixels bilinear, and beyond the outermost pixels,
 * where the outermost nodes are, continued straight on. Positions that are not finite are VANTOR_INVALID.
 */
int vantor_grid_from_map(vantor_grid *grid, const float *map_x, const float *map_y, int width, int height);

/** A warp in parts, in the order in which they lead from a pixel of the result to its source. */
typedef struct vantor_transform {
    double rotate;      /**< degrees, counter-clockwise as seen */
    double zoom;        /**< above 0; above 1 enlarges */
    double shear_x;     /**< pixels to the right per pixel down */
    double shear_y;     /**< pixels down per pixel to the right; shear_x times shear_y is not 1 */
    double shift_x;     /**< pixels to the right */
    double shift_y;     /**< pixels down */
    double lens[5];     /**< k1, k2, k3, p1, p2 as for vantor_grid_from_lens() */
    double center_x;    /**< of all parts: pixels from the picture's left edge */
    double center_y;    /**< pixels from its upper edge */
    int32_t has_center; /**< 0: the picture's centre instead */
} vantor_transform;

/** The grid of rotation, zoom, shear, shift and lens; the one that `vantor grid` makes of options of these names. */
int vantor_grid_from_transform(vantor_grid *grid, const vantor_transform *transform, int width, int height);

/**
 * The grid that takes out the distortion of a lens: k1, k2, k3, p1, p2 of the usual polynomial, for radii in units of
 * half the picture's diagonal.
 */
int vantor_grid_from_lens(vantor_grid *grid, const double lens[5], int width, int height);

/** The numbers of a camera's calibration, as OpenCV gives them. */
typedef struct vantor_calibration {
    double camera_matrix[9];   /**< fx, skew, cx; 0, fy, cy; 0, 0, 1: in pixels, the centre of the first at 0, 0 */
    double coefficients[14];   /**< k1, k2, p1, p2, k3 to k6, s1 to s4, and two zeros; of a fisheye k1 to k4 */
    int32_t coefficient_count; /**< 4, 5, 8, 12 or 14; 4 for a fisheye */
    int32_t is_fisheye;        /**< not 0: equidistant, as of OpenCV's fisheye functions */
    int32_t width;             /**< of the pictures that it was made with, 1 to 1000000 */
    int32_t height;            /**< the same */
    int32_t has_alpha;         /**< 0: the result has the camera matrix of the calibration */
    double alpha;              /**< else: 0 shows only what the source has, 1 all that it has, between is a blend */
} vantor_calibration;

/**
 * The grid that straightens pictures of a calibrated camera, which are scaled to width x height. Where `straight` is
 * not null, it gets the camera matrix of the result.
 */
int vantor_grid_from_calibration(vantor_grid *grid, const vantor_calibration *calibration, int width, int height,
                                 double straight[9]);

/**
 * The same for another view, as cv::initUndistortRectifyMap() makes it of R and P, or a null for either: `rotation` has
 * 3 x 3 numbers, from before the camera to before the result, and `projection` 3 x 4, the camera matrix of the result
 * and a column that does not move pictures. With has_alpha `projection` is not used.
 */
int vantor_grid_from_rectification(vantor_grid *grid, const vantor_calibration *calibration, const double rotation[9],
                                   const double projection[12], int width, int height, double straight[9]);

/** Where the engine takes each pixel from, exactly, in 1/256 pixel. */
int vantor_grid_positions(const vantor_grid *grid, int width, int height, int32_t *x, int32_t *y);

/**
 * How far the engine's positions are from those of a map, in pixels: the RMS and the largest distance over the pixels
 * that the map takes from inside the picture, and the first pixel where it is largest; all 0 if there is no such pixel.
 * Null for what is not asked for.
 */
int vantor_grid_error(const vantor_grid *grid, const float *map_x, const float *map_y, int width, int height,
                      double *rms, double *largest, int32_t *at_x, int32_t *at_y);

/** The forms of grid files. */
enum {
    VANTOR_GRID_BINARY = 0, /**< 8712 bytes: dx, then dy, each value in four bytes, the lowest first */
    VANTOR_GRID_TEXT = 1    /**< a line "dX", 33 lines of 33 numbers, a line "dY", 33 more; comments begin with # */
};

/** Reads the `size` bytes of a grid file in either form. */
int vantor_grid_parse(vantor_grid *grid, const void *bytes, size_t size);

/**
 * Writes the bytes of a grid file to `bytes`, which has room for `size` of them, and how many they are to `needed`.
 * With null for `bytes` it writes the latter only; too little room is VANTOR_INVALID, and writes it as well. `comment`
 * is a line of printable text for the text form, or null.
 */
int vantor_grid_format(const vantor_grid *grid, int form, const char *comment, void *bytes, size_t size,
                       size_t *needed);

/** @}
 * @name RGB
 * @{ */

/** A view of 8-bit pixels: R, G, B. */
typedef struct vantor_rgb {
    int32_t width;    /**< 1 to 16384 */
    int32_t height;   /**< the same */
    uint8_t *pixels;  /**< the first of the top row; only read in sources */
    ptrdiff_t stride; /**< bytes from one row to the next, at least 3 x width */
} vantor_rgb;

/** Which YUV encodes RGB: the matrix, and whether luma is from 16 to 235 and chroma from 16 to 240, or both full. */
enum { VANTOR_BT601_LIMITED = 0, VANTOR_BT709_LIMITED = 1, VANTOR_BT601_FULL = 2, VANTOR_BT709_FULL = 3 };

/**
 * RGB to a picture as the command-line tool converts it. Without chroma `dst` has the size of `src`, with chroma that
 * rounded up to even numbers: the last column and row are then repeated. Chroma is that of the mean of four pixels.
 */
int vantor_from_rgb(const vantor_image *dst, const vantor_rgb *src, int encoding);

/**
 * A picture to RGB as the command-line tool converts it. The sizes are as for vantor_from_rgb(). Four pixels share the
 * chroma of `src`; without chroma the result is gray.
 */
int vantor_to_rgb(const vantor_rgb *dst, const vantor_image *src, int encoding);

/** @}
 * @name Looking at results
 * @{ */

/** A running hash: XXH64 with seed 0. It may be copied, and needs no end. */
typedef struct vantor_hash {
    uint64_t lanes[4]; /**< the state of whole blocks of 32 bytes */
    uint64_t length;   /**< bytes so far */
    uint8_t rest[32];  /**< those after the last whole block */
} vantor_hash;

/** Begins a hash. */
int vantor_hash_begin(vantor_hash *hash);

/** Adds bytes. */
int vantor_hash_bytes(vantor_hash *hash, const void *bytes, size_t size);

/**
 * Adds the samples of a picture, plane by plane, without the gaps between rows. That of one picture alone is the hash
 * that the command-line tool prints, and `xxh64sum` for a file of these planes.
 */
int vantor_hash_image(vantor_hash *hash, const vantor_image *image);

/** The hash of what was added, to which more may be added afterwards; 0 for null. */
uint64_t vantor_hash_value(const vantor_hash *hash);

/** How two pictures differ in one component. */
typedef struct vantor_difference {
    uint64_t samples;        /**< of the component */
    uint64_t differing;      /**< samples that differ at all; the rest means nothing where there are none */
    int32_t largest;         /**< difference, not negative; 0 where there is none */
    int32_t first_x;         /**< in samples of the component; the first in the order of rows */
    int32_t first_y;         /**< its row */
    int32_t first_a;         /**< the sample there in `a` */
    int32_t first_b;         /**< and in `b` */
    double squares;          /**< the sum of all squared differences */
    double psnr;             /**< in decibels; infinite where there is no difference */
    uint64_t histogram[256]; /**< how many samples differ by 0, 1, ... */
} vantor_difference;

/**
 * Compares two pictures of one size in luma, U and V, whatever the order in which they keep the latter; gray ones in
 * luma, whereupon the other two elements stay as they are. A gray picture and one with chroma are VANTOR_INVALID.
 */
int vantor_compare(const vantor_image *a, const vantor_image *b, vantor_difference differences[3]);

/**
 * Every step with which the engine computes one pixel of a warp, as JSON text: what `vantor explain --json` prints but
 * for the description of the warp. Writes the text and a zero to `json`, which has room for `size` bytes, and how many
 * they are to `needed`. With null for `json` it writes the latter only; too little room is VANTOR_INVALID, and writes
 * it as well.
 */
int vantor_explain(const vantor_image *src, const vantor_grid *grid, int x, int y, char *json, size_t size,
                   size_t *needed);

/**
 * Computes pictures by `engine` whose bytes are published, and returns how many are right, or a negative status. Where
 * `pictures` is not null, it gets how many there are.
 */
int vantor_selftest(vantor_engine *engine, int32_t *pictures);

/** @} */

/**
 * Why the last call that failed did: one line of printable text, empty before the first failure. Of `engine`, or, for
 * null, of this thread's last failure without an engine. Never null, and valid until the next failure there.
 */
const char *vantor_message(const vantor_engine *engine);

/** The version of the library, such as "1.2.0". */
const char *vantor_version(void);

#ifdef __GNUC__
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
