/* Argument shapes of the vector functions and the macros that expand a
 * registry line of qlm_vxm_functions.def into declarations.  Included by
 * qlm_vxm.h; also used by the library to define tables and wrappers, so the
 * prototypes a caller sees and the routines the library defines come from
 * one text. */
#ifndef QLM_VXM_SHAPES_H
#define QLM_VXM_SHAPES_H

#include <stdint.h>

#define QLM_VXM_CAT_(a, b) a##b
#define QLM_VXM_CAT(a, b) QLM_VXM_CAT_(a, b)
#define QLM_VXM_STR_(a) #a
#define QLM_VXM_STR(a) QLM_VXM_STR_(a)

/* A registry line's last column: ON expands, OFF expands to nothing. */
#define QLM_VXM_WHEN(state, ...) QLM_VXM_WHEN_##state(__VA_ARGS__)
#define QLM_VXM_WHEN_ON(...) __VA_ARGS__
#define QLM_VXM_WHEN_OFF(...)

/* Element type by type letter, and the real type that goes with it. */
#define QLM_VXM_ELEM_s float
#define QLM_VXM_ELEM_d double
#define QLM_VXM_ELEM_c qlm_complex8
#define QLM_VXM_ELEM_z qlm_complex16
#define QLM_VXM_REAL_s float
#define QLM_VXM_REAL_d double
#define QLM_VXM_REAL_c float
#define QLM_VXM_REAL_z double

/* Suffixes of the LA and EP wrappers by type letter. */
#define QLM_VXM_LASFX_s _21
#define QLM_VXM_LASFX_c _21
#define QLM_VXM_LASFX_d _50
#define QLM_VXM_LASFX_z _50
#define QLM_VXM_EPSFX_s _11
#define QLM_VXM_EPSFX_c _11
#define QLM_VXM_EPSFX_d _26
#define QLM_VXM_EPSFX_z _26

/* Kernel parameter lists: QLM_VXM_PARAMS_<shape>(element, real).  The
 * names are part of the macro so that a wrapper can forward them. */
#define QLM_VXM_PARAMS_A_Y(E, R)     int32_t n, const E *a, E *y
#define QLM_VXM_ARGS_A_Y             n, a, y
#define QLM_VXM_PARAMS_CA_RY(E, R)   int32_t n, const E *a, R *y
#define QLM_VXM_ARGS_CA_RY           n, a, y
#define QLM_VXM_PARAMS_RA_CY(E, R)   int32_t n, const R *a, E *y
#define QLM_VXM_ARGS_RA_CY           n, a, y
#define QLM_VXM_PARAMS_AB_Y(E, R)    int32_t n, const E *a, const E *b, E *y
#define QLM_VXM_ARGS_AB_Y            n, a, b, y
#define QLM_VXM_PARAMS_A_YZ(E, R)    int32_t n, const E *a, E *y, E *z
#define QLM_VXM_ARGS_A_YZ            n, a, y, z
#define QLM_VXM_PARAMS_A_S_Y(E, R)   int32_t n, const E *a, E b, E *y
#define QLM_VXM_ARGS_A_S_Y           n, a, b, y
#define QLM_VXM_PARAMS_LINFRAC(E, R) int32_t n, const E *a, const E *b, E scalea, E shifta, E scaleb, E shiftb, E *y
#define QLM_VXM_ARGS_LINFRAC         n, a, b, scalea, shifta, scaleb, shiftb, y
/* Pack and unpack kernels take a 64-bit count and a last width flag: 1 reads
 * the count's low word, 32-bit strides and 32-bit index and mask entries;
 * any other value the 64-bit forms. */
#define QLM_VXM_PARAMS_PACKI(E, R)   int64_t n, const E *a, int64_t inca, E *y, int32_t width
#define QLM_VXM_PARAMS_PACKV(E, R)   int64_t n, const E *a, const void *ia, E *y, int32_t width
#define QLM_VXM_PARAMS_PACKM(E, R)   int64_t n, const E *a, const void *ma, E *y, int32_t width
#define QLM_VXM_PARAMS_UNPACKI(E, R) int64_t n, const E *a, E *y, int64_t incy, int32_t width
#define QLM_VXM_PARAMS_UNPACKV(E, R) int64_t n, const E *a, E *y, const void *iy, int32_t width
#define QLM_VXM_PARAMS_UNPACKM(E, R) int64_t n, const E *a, E *y, const void *my, int32_t width

/* Wrapper parameter lists and forwarded arguments: the same as the kernel's,
 * except that pack and unpack wrappers take no width flag and pass 1. */
#define QLM_VXM_WPARAMS_A_Y(E, R)     QLM_VXM_PARAMS_A_Y(E, R)
#define QLM_VXM_WARGS_A_Y             QLM_VXM_ARGS_A_Y
#define QLM_VXM_WPARAMS_CA_RY(E, R)   QLM_VXM_PARAMS_CA_RY(E, R)
#define QLM_VXM_WARGS_CA_RY           QLM_VXM_ARGS_CA_RY
#define QLM_VXM_WPARAMS_RA_CY(E, R)   QLM_VXM_PARAMS_RA_CY(E, R)
#define QLM_VXM_WARGS_RA_CY           QLM_VXM_ARGS_RA_CY
#define QLM_VXM_WPARAMS_AB_Y(E, R)    QLM_VXM_PARAMS_AB_Y(E, R)
#define QLM_VXM_WARGS_AB_Y            QLM_VXM_ARGS_AB_Y
#define QLM_VXM_WPARAMS_A_YZ(E, R)    QLM_VXM_PARAMS_A_YZ(E, R)
#define QLM_VXM_WARGS_A_YZ            QLM_VXM_ARGS_A_YZ
#define QLM_VXM_WPARAMS_A_S_Y(E, R)   QLM_VXM_PARAMS_A_S_Y(E, R)
#define QLM_VXM_WARGS_A_S_Y           QLM_VXM_ARGS_A_S_Y
#define QLM_VXM_WPARAMS_LINFRAC(E, R) QLM_VXM_PARAMS_LINFRAC(E, R)
#define QLM_VXM_WARGS_LINFRAC         QLM_VXM_ARGS_LINFRAC
#define QLM_VXM_WPARAMS_PACKI(E, R)   int64_t n, const E *a, int64_t inca, E *y
#define QLM_VXM_WARGS_PACKI           n, a, inca, y, 1
#define QLM_VXM_WPARAMS_PACKV(E, R)   int64_t n, const E *a, const int32_t *ia, E *y
#define QLM_VXM_WARGS_PACKV           n, a, ia, y, 1
#define QLM_VXM_WPARAMS_PACKM(E, R)   int64_t n, const E *a, const int32_t *ma, E *y
#define QLM_VXM_WARGS_PACKM           n, a, ma, y, 1
#define QLM_VXM_WPARAMS_UNPACKI(E, R) int64_t n, const E *a, E *y, int64_t incy
#define QLM_VXM_WARGS_UNPACKI         n, a, y, incy, 1
#define QLM_VXM_WPARAMS_UNPACKV(E, R) int64_t n, const E *a, E *y, const int32_t *iy
#define QLM_VXM_WARGS_UNPACKV         n, a, y, iy, 1
#define QLM_VXM_WPARAMS_UNPACKM(E, R) int64_t n, const E *a, E *y, const int32_t *my
#define QLM_VXM_WARGS_UNPACKM         n, a, y, my, 1

#define QLM_VXM_KPARAMS(t, shape) QLM_VXM_PARAMS_##shape(QLM_VXM_ELEM_##t, QLM_VXM_REAL_##t)
#define QLM_VXM_WPARAMS(t, shape) QLM_VXM_WPARAMS_##shape(QLM_VXM_ELEM_##t, QLM_VXM_REAL_##t)

/* Names generated for a function. */
#define QLM_VXM_TTAB(t, f)    qlm_vxm_kernel_##t##f##_ttab
#define QLM_VXM_CTAB(t, f)    qlm_vxm_kernel_##t##f##_ctab
#define QLM_VXM_KTYPE(t, f)   qlm_vxm_kernel_##t##f##_fn
#define QLM_VXM_W_HA(t, f)    _vxm##t##f##_HA
#define QLM_VXM_W_PLAIN(t, f) _vxm##t##f
#define QLM_VXM_W_LA(t, f)    QLM_VXM_CAT(_vxm##t##f, QLM_VXM_LASFX_##t)
#define QLM_VXM_W_EP(t, f)    QLM_VXM_CAT(_vxm##t##f, QLM_VXM_EPSFX_##t)

/* Public declarations of one function. */
#define QLM_VXM_DECLARE(t, f, shape)                                   \
    typedef void (*QLM_VXM_KTYPE(t, f))(QLM_VXM_KPARAMS(t, shape));    \
    extern QLM_VXM_KTYPE(t, f) QLM_VXM_TTAB(t, f)[3];                  \
    extern float QLM_VXM_CTAB(t, f)[3];                                \
    void QLM_VXM_W_LA(t, f)(QLM_VXM_WPARAMS(t, shape));                \
    void QLM_VXM_W_HA(t, f)(QLM_VXM_WPARAMS(t, shape));                \
    void QLM_VXM_W_PLAIN(t, f)(QLM_VXM_WPARAMS(t, shape));             \
    void QLM_VXM_W_EP(t, f)(QLM_VXM_WPARAMS(t, shape));

#endif /* QLM_VXM_SHAPES_H */
