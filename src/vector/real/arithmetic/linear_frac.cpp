// LinearFrac, y[i] = (scalea·a[i] + shifta) / (scaleb·b[i] + shiftb).
//
// Three paths, chosen once per call from the scalars (a NaN scalar counts
// as nonzero):
//   scaleb != 0, scalea != 0: the formula as stated, one division;
//   scaleb != 0, scalea == 0: shifta / (scaleb·b + shiftb), a is not read;
//   scaleb == 0:              (scalea·a + shifta)·r with r = 1/shiftb taken
//                             once, b is not read and the loop divides not.
// Each operation is one IEEE rounding under round to nearest, so the
// general path is within 1.5 ulp of the exact ratio of the rounded
// numerator and denominator, and the third path adds the rounding of r.
// No status: a zero denominator yields what the arithmetic gives.  Whole
// registers a turn (two elements in double, four in single: each element's
// arithmetic is independent, so the lane count changes no result), then the
// same arithmetic one element at a time.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/common/sse_lanes.h"

namespace {

enum class path { general, constant_numerator, constant_denominator };

template <path P, typename T>
void linear_frac_loop(int32_t n, const T* a, const T* b, T sa, T ha, T sb, T hb, T* y) {
    using L = qlm::vector::lanes<T>;
    const T r = P == path::constant_denominator ? T(1) / hb : T(0);
    const auto vsa = L::set1(sa), vha = L::set1(ha), vsb = L::set1(sb), vhb = L::set1(hb), vr = L::set1(r);
    int32_t i = 0;
    for (; i + L::width <= n; i += L::width) {
        typename L::vec q;
        if constexpr (P == path::general)
            q = L::div(L::add(L::mul(vsa, L::loadu(a + i)), vha), L::add(L::mul(vsb, L::loadu(b + i)), vhb));
        else if constexpr (P == path::constant_numerator)
            q = L::div(vha, L::add(L::mul(vsb, L::loadu(b + i)), vhb));
        else
            q = L::mul(L::add(L::mul(vsa, L::loadu(a + i)), vha), vr);
        L::storeu(y + i, q);
    }
    for (; i < n; ++i) {
        if constexpr (P == path::general) y[i] = (sa * a[i] + ha) / (sb * b[i] + hb);
        else if constexpr (P == path::constant_numerator) y[i] = ha / (sb * b[i] + hb);
        else y[i] = (sa * a[i] + ha) * r;
    }
}

template <typename T>
void linear_frac(int32_t n, const T* a, const T* b, T sa, T ha, T sb, T hb, T* y) {
    if (n <= 0) return;
    if (!(sb == T(0))) {
        if (!(sa == T(0))) linear_frac_loop<path::general>(n, a, b, sa, ha, sb, hb, y);
        else linear_frac_loop<path::constant_numerator>(n, a, b, sa, ha, sb, hb, y);
    } else {
        linear_frac_loop<path::constant_denominator>(n, a, b, sa, ha, sb, hb, y);
    }
}

}  // namespace

extern "C" void qlmk_dLinearFrac_HA(int32_t n, const double* a, const double* b, double scalea,
                                    double shifta, double scaleb, double shiftb, double* y) {
    qlm::frame::kernel_frame frame;
    linear_frac(n, a, b, scalea, shifta, scaleb, shiftb, y);
}

extern "C" void qlmk_sLinearFrac_HA(int32_t n, const float* a, const float* b, float scalea,
                                    float shifta, float scaleb, float shiftb, float* y) {
    qlm::frame::kernel_frame frame;
    linear_frac(n, a, b, scalea, shifta, scaleb, shiftb, y);
}
