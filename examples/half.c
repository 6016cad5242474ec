/* half: halves a raw NV12 picture of 1280x720, from standard input to standard output. */
#include <stdio.h>
#include <vantor/vantor.h>

int main(void) {
    static uint8_t from[1280 * 720 * 3 / 2], to[640 * 360 * 3 / 2];
    const vantor_image src = {VANTOR_NV12, 1280, 720, {from, from + 1280 * 720}, {1280, 1280}};
    const vantor_image dst = {VANTOR_NV12, 640, 360, {to, to + 640 * 360}, {640, 640}};
    if (fread(from, sizeof from, 1, stdin) != 1) return 2;
    if (vantor_scale(NULL, &dst, &src) != VANTOR_OK) return fprintf(stderr, "%s\n", vantor_message(NULL)), 1;
    return fwrite(to, sizeof to, 1, stdout) == 1 && fflush(stdout) == 0 ? 0 : 2;
}
