/* A tour of what the library computes, one subsystem at a time, printing
 * what each call gave.  Build and run it with `bash scripts/tour.sh`. */
#include <stdio.h>
#include <stdlib.h>

#include "qlm/qlm_vxm.h"
#include "qlm/qlm_vxs.h"

static void tour_mode_word(void) {
    printf("== per-thread mode word\n");
    printf("mode on first use: 0x%X (HA, errno + exception + callback)\n", _vxmGetMode());
    unsigned old = _vxmSetMode(VXM_EP | VXM_ERRMODE_ERRNO);
    printf("after SetMode(EP | ERRNO): 0x%X (was 0x%X), table slot %d\n", _vxmGetMode(), old,
           qlm_vxm_kernel_GetTTableIndex());
    _vxmSetMode(old);
}

static void print_vector(const char* label, int n, const double* y) {
    printf("%-28s", label);
    for (int i = 0; i < n; ++i) printf(" %.10g", y[i]);
    printf("\n");
}

static int32_t report_special(qlm_vxm_error_record* r) {
    printf("  callback: %s element %d, status %d, arg %g, result %g\n", r->name, r->index, r->status,
           r->arg1, r->res1);
    return 0;
}

static void tour_vector_arithmetic(void) {
    double a[8] = {0.5, 1.5, 2.5, -2.5, -0.3, 3.75, 10, 1e-3}, b[8] = {2, 4, 8, 16, 32, 64, 128, 256}, y[8], z[8];
    printf("== vector arithmetic and rounding\n");
    _vxmdAdd(8, a, b, y);
    print_vector("vdAdd(a, b)", 8, y);
    _vxmdDiv_50(8, a, b, y);
    print_vector("vdDiv LA(a, b)", 8, y);
    _vxmdRound(8, a, y);
    print_vector("vdRound(a)  (ties away)", 8, y);
    _vxmdModf(8, a, y, z);
    print_vector("vdModf(a) integral", 8, y);
    print_vector("vdModf(a) fraction", 8, z);
    int32_t index[3] = {7, 0, 3};
    _vxmdPackV(3, a, index, y);
    print_vector("vdPackV(a, {7, 0, 3})", 3, y);
    printf("cost per element of vdAdd: %.2f, vdDiv HA: %.2f\n", qlm_vxm_kernel_dAdd_ctab[1],
           qlm_vxm_kernel_dDiv_ctab[1]);
}

static void tour_vector_transcendental(void) {
    double x[6] = {-1, 0, 0.5, 1, 709.78, 1e300}, y[6], c[6];
    printf("== elementary and special functions (HA unless named)\n");
    _vxmdExp(6, x, y);
    print_vector("vdExp", 6, y);
    _vxmdLn(6, x, y);
    print_vector("vdLn (status stays)", 6, y);
    printf("  last status: %d\n", _vxmClearErrStatus());
    _vxmdSinCos(6, x, y, c);
    print_vector("vdSinCos sine", 6, y);
    _vxmdPow(6, x, x, y);
    print_vector("vdPow(x, x)", 6, y);
    _vxmdErf_26(6, x, y);
    print_vector("vdErf EP", 6, y);
    _vxmdCdfNormInv(6, x, y);
    print_vector("vdCdfNormInv", 6, y);
    qlm_vxm_error_callback old = _vxmSetErrorCallBack(report_special);
    _vxmdLn(6, x, y);
    _vxmSetErrorCallBack(old);
    _vxmClearErrStatus();
}

static void tour_random(void) {
    void* stream = NULL;
    double u[5], g[5];
    uint32_t seed[6] = {12345, 12345, 12345, 12345, 12345, 12345};
    printf("== random streams and distributions\n");
    __vxsNewStreamEx(&stream, VXS_BRNG_MRG32K3A, 6, seed);
    _vxsdRngUniform(0, stream, 5, u, 0.0, 1.0);
    print_vector("MRG32K3A uniforms", 5, u);
    __vxsDeleteStream(&stream);
    uint32_t one = 1, words[4];
    __vxsNewStreamEx(&stream, VXS_BRNG_MT19937, 1, &one);
    _vxsiRngUniformBits32(0, stream, 4, words);
    printf("%-28s %08x %08x %08x %08x\n", "MT19937 words, key {1}", words[0], words[1], words[2], words[3]);
    _vxsdRngGaussian(VXS_RNG_METHOD_GAUSSIAN_BOXMULLER2, stream, 5, g, 0.0, 1.0);
    print_vector("Gaussian, Box-Muller pairs", 5, g);

    /* An image in memory carries the state and the pending sixth variate. */
    int32_t bytes = __vxsGetStreamSize(stream);
    void* image = malloc((size_t)bytes);
    void* restored = NULL;
    __vxsSaveStreamM(stream, image);
    __vxsLoadStreamM(&restored, image);
    double next[2], restored_next[2];
    _vxsdRngGaussian(VXS_RNG_METHOD_GAUSSIAN_BOXMULLER2, stream, 2, next, 0.0, 1.0);
    _vxsdRngGaussian(VXS_RNG_METHOD_GAUSSIAN_BOXMULLER2, restored, 2, restored_next, 0.0, 1.0);
    printf("%-28s %d bytes; next %.6f %.6f, restored %.6f %.6f\n", "stream image", bytes, next[0], next[1],
           restored_next[0], restored_next[1]);
    free(image);
    __vxsDeleteStream(&restored);
    __vxsDeleteStream(&stream);
}

int main(void) {
    tour_mode_word();
    tour_vector_arithmetic();
    tour_vector_transcendental();
    tour_random();
    return 0;
}
