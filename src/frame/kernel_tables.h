// The kernel routines behind the tables, declared from the registry.
//
// A function's routines are named qlmk_<t><Name>_<LA|HA|EP>; the registry's
// sharing column says which of them exist and which slot each fills.  Kernel
// files include this header so that a routine whose signature strays from
// its shape fails to compile.
#pragma once

#include "qlm/qlm_vxm.h"

#define QLM_SLOT_LA_ALL HA
#define QLM_SLOT_HA_ALL HA
#define QLM_SLOT_EP_ALL HA
#define QLM_SLOT_LA_LAEP LA
#define QLM_SLOT_HA_LAEP HA
#define QLM_SLOT_EP_LAEP LA
#define QLM_SLOT_LA_LAHA LA
#define QLM_SLOT_HA_LAHA LA
#define QLM_SLOT_EP_LAHA EP
#define QLM_SLOT_LA_THREE LA
#define QLM_SLOT_HA_THREE HA
#define QLM_SLOT_EP_THREE EP

#define QLM_KERNEL(t, f, routine) QLM_VXM_CAT(qlmk_##t##f##_, routine)
#define QLM_KERNEL_IN_SLOT(t, f, slot, sharing) QLM_KERNEL(t, f, QLM_SLOT_##slot##_##sharing)

#define QLM_VXM_FUNCTION(t, f, shape, sharing, cla, cha, cep, state)                 \
    extern "C" void QLM_KERNEL_IN_SLOT(t, f, LA, sharing)(QLM_VXM_KPARAMS(t, shape)); \
    extern "C" void QLM_KERNEL_IN_SLOT(t, f, HA, sharing)(QLM_VXM_KPARAMS(t, shape)); \
    extern "C" void QLM_KERNEL_IN_SLOT(t, f, EP, sharing)(QLM_VXM_KPARAMS(t, shape));
#include "qlm/qlm_vxm_functions.def"
#undef QLM_VXM_FUNCTION
