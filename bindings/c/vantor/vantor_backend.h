/**
 * @file
 * The hardware's seat in the service: an RTL simulation, a board or another model that answers requests of the device's
 * clients in other processes.
 *
 * A shared object that exports `vantor_backend` is seated by `vantor serve --backend ./NAME.so`. A program of one's own
 * serves with the functions below, which are in libvantor10_service.
 *
 * A back end never sees a client's memory, and need not trust what it gets: sizes, regions and addresses are checked,
 * and nothing changes during a call. Its operations return 0, or another status, with which the client's request fails
 * and the result is dropped.
 */
#ifndef VANTOR_VANTOR_BACKEND_H
#define VANTOR_VANTOR_BACKEND_H

#include <stddef.h>
#include <stdint.h>

#include "vantor/vantor.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __GNUC__
#pragma GCC visibility push(default)
#endif

/** The layout of the structures below. New members are only added at the end, with the sizes telling. */
#define VANTOR_BACKEND_ABI 1

/**
 * One picture of a request, in the service's memory. `image` is a view of the whole picture, in NV12, with even sides
 * of 4 to 8192. `region` lies in it, with even position and sides of at least 4.
 */
typedef struct vantor_backend_picture {
    vantor_image image; /**< the whole picture */
    vantor_rect region; /**< the part of it that counts */
} vantor_backend_picture;

/**
 * A back end. A service with several engines opens as many states, whose operations run side by side. One state serves
 * one request at a time; open() and close() may be called by other threads than the operations.
 */
typedef struct vantor_backend_table {
    uint32_t size; /**< of this structure, as it was compiled */
    uint32_t abi;  /**< VANTOR_BACKEND_ABI */

    /**
     * Scales the source's region to all of the destination's. Only the source's region holds samples. Of the
     * destination, only the region is used. Neither operation may be null.
     */
    int (*scale)(void *state, const vantor_backend_picture *dst, const vantor_backend_picture *src);

    /**
     * Warps the whole source, of the destination's size, to the destination's region. The source's region says
     * nothing.
     */
    int (*warp)(void *state, const vantor_backend_picture *dst, const vantor_backend_picture *src,
                const vantor_grid *grid);

    /**
     * Makes a state for one request at a time, from the text that `vantor serve --backend-options` got, or an empty
     * one. Returns 0, or another value with a text in `message`, which has `size` bytes. May be null: states are null
     * then.
     */
    int (*open)(void **state, const char *options, char *message, size_t size);

    /** Ends a state that open() made; not called where that failed. May be null. */
    void (*close)(void *state);
} vantor_backend_table;

/** What a shared object defines to be seated; the service does not. */
extern const vantor_backend_table vantor_backend;

/** @name Serving from a program of one's own
 * @{ */

/** How to serve. All members may be zero. */
typedef struct vantor_server_options {
    uint32_t size;               /**< of this structure, as it was compiled */
    int32_t engines;             /**< requests computed at once, 1 to 64; 0: 1 */
    const char *socket;          /**< its path; null: vantor.sock in $XDG_RUNTIME_DIR */
    const char *backend_options; /**< for open(); null: none */
    int32_t allow_group;         /**< not 0: users of this process's group may connect, too */
} vantor_server_options;

/** A service on a socket. Belongs to the caller until vantor_server_free(). */
typedef struct vantor_server vantor_server;

/**
 * Opens a socket and the back end, whose table is kept until the end; null is the software model. Returns null and a
 * text in `message`, which has `size` bytes, where that fails: options out of range, a service that listens there
 * already, a back end that refuses.
 */
vantor_server *vantor_server_new(const vantor_backend_table *backend, const vantor_server_options *options,
                                 char *message, size_t size);

/** Serves until vantor_server_stop(). Called once. Returns 0, or -1 where threads or waiting failed. */
int vantor_server_run(vantor_server *server);

/** Ends vantor_server_run(), after the requests that are computed now. May be called by any thread, and signal
 * handlers. */
void vantor_server_stop(vantor_server *server);

/** Closes the socket and the back end. The server does not run any more. Null is ignored. */
void vantor_server_free(vantor_server *server);

/** @} */

#ifdef __GNUC__
#pragma GCC visibility pop
#endif

#ifdef __cplusplus
}
#endif

#endif
