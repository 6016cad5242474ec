/*
 * half_loaded WIDTH HEIGHT: halves a raw NV12 picture, from standard input to standard output, with a library
 * that is loaded at run time: the program starts without it, too.
 */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <vantor/vantor.h>

static void* library;

static int fail(const char* reason) {
    fprintf(stderr, "half_loaded: %s\n", reason);
    return 1;
}

/* Sets a function pointer. */
static int load(void* function, const char* name) {
    *(void**)function = dlsym(library, name);
    return *(void**)function ? 0 : fail(dlerror());
}

static vantor_image nv12(uint8_t* bytes, int width, int height) {
    vantor_image view = {VANTOR_NV12, width, height, {bytes}, {width, width}};
    view.plane[1] = bytes + (size_t)width * (size_t)height;
    return view;
}

int main(int argc, char** argv) {
    int (*scale)(vantor_engine*, const vantor_image*, const vantor_image*);
    const char* (*message)(const vantor_engine*);
    const int width = argc == 3 ? atoi(argv[1]) : 0, height = argc == 3 ? atoi(argv[2]) : 0;
    if (width < 4 || width > 16384 || width % 4 != 0 || height < 4 || height > 16384 || height % 4 != 0)
        return fail("usage: half_loaded WIDTH HEIGHT <FROM >TO, both 4 to 16384 and multiples of 4");
    library = dlopen("libvantor.so.1", RTLD_NOW | RTLD_LOCAL);
    if (!library) return fail(dlerror());
    if (load(&scale, "vantor_scale") || load(&message, "vantor_message")) return 1;

    const size_t bytes = (size_t)width * (size_t)height * 3 / 2;
    uint8_t *const from = malloc(bytes), *const to = malloc(bytes / 4);
    if (!from || !to) return fail("out of memory");
    if (fread(from, 1, bytes, stdin) != bytes) return fail("standard input is truncated");
    const vantor_image src = nv12(from, width, height), dst = nv12(to, width / 2, height / 2);
    if (scale(NULL, &dst, &src) != VANTOR_OK) return fail(message(NULL));
    if (fwrite(to, 1, bytes / 4, stdout) != bytes / 4 || fflush(stdout) != 0)
        return fail("cannot write to standard output");
    free(from);
    free(to);
    dlclose(library);
    return 0;
}
