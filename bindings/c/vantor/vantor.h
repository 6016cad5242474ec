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
 * The displacements of 33 x 33 nodes, which span the picture, row by row: a node's source lies that far from it, in
 * 1/256 sample of a virtual picture of 8192 x 6144 into which the picture is stretched. Zeros copy the picture exactly,
 * and every value is allowed. The layout is that of hardware::vantorClient::_GDCGrid.
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
