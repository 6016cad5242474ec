/*
 * A back end of the service: a board whose scaler picks samples. It stands for a simulation or a driver. Seat it, and
 * let clients run on it:
 *
 *   cc -std=c99 -shared -fPIC board.c -o board.so $(pkg-config --cflags vantor)
 *   vantor serve --backend ./board.so --socket /tmp/board.sock
 *   vantor scale photo.png -o small.png --size 50% --backend hardware --service /tmp/board.sock
 */
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <vantor/vantor_backend.h>

/* What one engine of the board keeps from request to request. */
struct board {
    unsigned long requests;
};

static int open_board(void **state, const char *options, char *message, size_t size) {
    if (*options) {
        snprintf(message, size, "options %s: expected none", options);
        return -EINVAL;
    }
    *state = calloc(1, sizeof(struct board));
    return *state ? 0 : -ENOMEM;
}

static void close_board(void *state) {
    fprintf(stderr, "board: %lu requests\n", ((struct board *)state)->requests);
    free(state);
}

/* One plane, whose samples are groups of `bytes`. The sizes are in samples. */
static void nearest(uint8_t *dst, ptrdiff_t dst_stride, int dst_width, int dst_height, const uint8_t *src,
                    ptrdiff_t src_stride, int src_width, int src_height, int bytes) {
    for (int y = 0; y < dst_height; ++y) {
        const uint8_t *row = src + (ptrdiff_t)y * src_height / dst_height * src_stride;
        for (int x = 0; x < dst_width; ++x)
            memcpy(dst + y * dst_stride + x * bytes, row + (ptrdiff_t)x * src_width / dst_width * bytes, (size_t)bytes);
    }
}

static int scale(void *state, const vantor_backend_picture *dst, const vantor_backend_picture *src) {
    const vantor_image *to = &dst->image, *from = &src->image;
    const vantor_rect *d = &dst->region, *s = &src->region;
    for (int plane = 0; plane < 2; ++plane) { /* luma, then pairs of chroma at half the size */
        nearest(to->plane[plane] + (d->y >> plane) * to->stride[plane] + d->x, to->stride[plane], d->width >> plane,
                d->height >> plane, from->plane[plane] + (s->y >> plane) * from->stride[plane] + s->x,
                from->stride[plane], s->width >> plane, s->height >> plane, plane + 1);
    }
    ++((struct board *)state)->requests;
    return 0;
}

static int warp(void *state, const vantor_backend_picture *dst, const vantor_backend_picture *src,
                const vantor_grid *grid) {
    (void)state, (void)dst, (void)src, (void)grid;
    return -ENOSYS; /* this board cannot warp: the client's request fails, and it falls back */
}

const vantor_backend_table vantor_backend = {
    sizeof(vantor_backend_table), VANTOR_BACKEND_ABI, scale, warp, open_board, close_board,
};
