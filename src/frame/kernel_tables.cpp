// Kernel tables, cost tables and wrappers of every function whose registry
// line is ON.  A wrapper reads its fixed slot at call time and forwards its
// arguments; it never looks at the mode word.  The plain name is an alias
// of the _HA wrapper: one routine under two exports.
#include "frame/kernel_tables.h"

#include "frame/export.h"

#define QLM_EXPORT_DATA __attribute__((visibility("default")))

#define QLM_VXM_DEFINE(t, f, shape, sharing, cla, cha, cep)                                      \
    static_assert((cla) > 0 && (cha) > 0 && (cep) > 0,                                           \
                  "a function with kernels publishes measured cost figures");                   \
    QLM_EXPORT_DATA QLM_VXM_KTYPE(t, f) QLM_VXM_TTAB(t, f)[3] = {                                \
        QLM_KERNEL_IN_SLOT(t, f, LA, sharing), QLM_KERNEL_IN_SLOT(t, f, HA, sharing),            \
        QLM_KERNEL_IN_SLOT(t, f, EP, sharing)};                                                  \
    QLM_EXPORT_DATA float QLM_VXM_CTAB(t, f)[3] = {cla, cha, cep};                               \
    QLM_EXPORT void QLM_VXM_W_LA(t, f)(QLM_VXM_WPARAMS(t, shape)) {                              \
        QLM_VXM_TTAB(t, f)[0](QLM_VXM_WARGS_##shape);                                            \
    }                                                                                            \
    QLM_EXPORT void QLM_VXM_W_HA(t, f)(QLM_VXM_WPARAMS(t, shape)) {                              \
        QLM_VXM_TTAB(t, f)[1](QLM_VXM_WARGS_##shape);                                            \
    }                                                                                            \
    QLM_EXPORT void QLM_VXM_W_PLAIN(t, f)(QLM_VXM_WPARAMS(t, shape))                             \
        __attribute__((alias(QLM_VXM_STR(QLM_VXM_W_HA(t, f)))));                                 \
    QLM_EXPORT void QLM_VXM_W_EP(t, f)(QLM_VXM_WPARAMS(t, shape)) {                              \
        QLM_VXM_TTAB(t, f)[2](QLM_VXM_WARGS_##shape);                                            \
    }

#define QLM_VXM_FUNCTION(t, f, shape, sharing, cla, cha, cep, state) \
    QLM_VXM_WHEN(state, QLM_VXM_DEFINE(t, f, shape, sharing, cla, cha, cep))
#include "qlm/qlm_vxm_functions.def"
#undef QLM_VXM_FUNCTION
