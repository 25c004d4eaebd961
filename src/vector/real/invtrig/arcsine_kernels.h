// The six kernel routines of Asin or Acos on the wide arcsine reduction of
// invtrig_wide.h, each in front of the per-element plan of asin_core.h.
//
// Double HA: the careful form, root as a pair and the constant added
// exactly (about 0.6 ulp).  Double LA: the plain form with the 2^-51 fit
// (about 1.1 ulp).  Double EP: the plain form with the 2^-30 fit.  Single
// HA: the plain double form with the 2^-30 fit in double pairs (0.5 ulp and
// a hair).  Single LA: the lean float form (arcsine_lean) with the 2^-18
// fit, about 1.5 ulp.  Single EP: the plain form in float lanes with the
// 2^-12 fit.
// Screen: |x| < 1.  The per-element routine takes NaN, +-1 and the domain
// errors, with their statuses.
#pragma once

#include "vector/real/invtrig/asin_core.h"
#include "vector/real/invtrig/invtrig_wide.h"
#include "vector/real/invtrig/wide_groups.h"

namespace qlm::invtrig {

template <bool Acos>
struct arcsine_careful_d {
    QLM_WIDE static __m128d value(__m128d x) { return arcsine<Acos, true>(x, asin_tail_d); }
};
template <bool Acos, const auto& Tail>
struct arcsine_plain_of {
    template <class V>
    QLM_WIDE static V value(V x) { return arcsine<Acos, false>(x, Tail); }
};
template <bool Acos>
struct arcsine_lean_f {
    QLM_WIDE static __m128 value(__m128 x) { return arcsine_lean<Acos>(x, asin_tail_f); }
};
template <bool Acos>
struct arcsine_in_double_pairs {
    QLM_WIDE static __m128 value(__m128 x) {
        return in_double_pairs(x, [](__m128d v) { return arcsine<Acos, false>(v, asin_tail_m); });
    }
};

}  // namespace qlm::invtrig

// Func: Asin or Acos; acos: false or true; dname, sname: the display names.
#define QLM_ARCSINE_KERNELS(Func, acos, dname, sname)                                                        \
    namespace {                                                                                              \
    namespace it = qlm::invtrig;                                                                             \
    namespace sp = qlm::special;                                                                             \
    template <class F, class Old>                                                                            \
    using d_slot = it::double_unary<F, 0x3FF00000u, Old>;                                                    \
    template <class F, class Old>                                                                            \
    using s_slot = it::single_unary<F, 0x3F800000u, Old>;                                                    \
    }                                                                                                        \
    QLM_INVTRIG_DOUBLE_UNARY(qlmk_d##Func##_HA, qlm::frame::kX87None,                                        \
                             d_slot<it::arcsine_careful_d<acos>,                                             \
                                    sp::arcsine_plan<double, sp::asin_tail_d, sp::kFitD, true, acos, dname>>) \
    QLM_INVTRIG_DOUBLE_UNARY(qlmk_d##Func##_LA, qlm::frame::kX87None,                                        \
                             d_slot<it::arcsine_plain_of<acos, it::asin_tail_d>,                             \
                                    sp::arcsine_plan<double, sp::asin_tail_d, sp::kFitD, false, acos, dname>>) \
    QLM_INVTRIG_DOUBLE_UNARY(qlmk_d##Func##_EP, qlm::frame::kX87None,                                        \
                             d_slot<it::arcsine_plain_of<acos, it::asin_tail_m>,                             \
                                    sp::arcsine_plan<double, sp::asin_tail_f, sp::kFitF, false, acos, dname>>) \
    QLM_INVTRIG_SINGLE_UNARY(qlmk_s##Func##_HA, qlm::frame::kX87None,                                        \
                             s_slot<it::arcsine_in_double_pairs<acos>,                                       \
                                    sp::arcsine_plan<float, sp::asin_tail_f, sp::kFitF, false, acos, sname>>) \
    QLM_INVTRIG_SINGLE_UNARY(qlmk_s##Func##_LA, qlm::frame::kX87None,                                        \
                             s_slot<it::arcsine_lean_f<acos>,                                                \
                                    sp::arcsine_plan<float, sp::asin_tail_f, sp::kFitF, false, acos, sname>>) \
    QLM_INVTRIG_SINGLE_UNARY(qlmk_s##Func##_EP, qlm::frame::kX87None,                                        \
                             s_slot<it::arcsine_plain_of<acos, it::asin_tail_e>,                             \
                                    sp::arcsine_plan<float, sp::asin_tail_e, sp::kFitE, false, acos, sname>>)
