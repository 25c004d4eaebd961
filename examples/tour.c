/* A tour of what the library computes, one subsystem at a time, printing
 * what each call gave.  Build and run it with `bash scripts/tour.sh`. */
#include <stdio.h>

#include "qlm/qlm_vxm.h"

static void tour_mode_word(void) {
    printf("== per-thread mode word\n");
    printf("mode on first use: 0x%X (HA, errno + exception + callback)\n", _vxmGetMode());
    unsigned old = _vxmSetMode(VXM_EP | VXM_ERRMODE_ERRNO);
    printf("after SetMode(EP | ERRNO): 0x%X (was 0x%X), table slot %d\n", _vxmGetMode(), old,
           qlm_vxm_kernel_GetTTableIndex());
    _vxmSetMode(old);
}

static void tour_vector_add(void) {
    double a[10], b[10], y[10];
    float fa[40], fb[40], fy[40];
    for (int i = 0; i < 10; ++i) { a[i] = i; b[i] = 0.5 * i; }
    for (int i = 0; i < 40; ++i) { fa[i] = (float)i; fb[i] = 1.0f / (i + 1); }
    printf("== vector arithmetic\n");
    _vxmdAdd(10, a, b, y);
    printf("vdAdd  y[0..9]  =");
    for (int i = 0; i < 10; ++i) printf(" %g", y[i]);
    printf("\n");
    _vxmsAdd_21(40, fa, fb, fy);
    printf("vsAdd  y[39]    = %.7g  (39 + 1/40)\n", fy[39]);
    printf("cost per element of vdAdd: %.2f, vsAdd: %.2f\n", qlm_vxm_kernel_dAdd_ctab[1],
           qlm_vxm_kernel_sAdd_ctab[1]);
}

int main(void) {
    tour_mode_word();
    tour_vector_add();
    return 0;
}
