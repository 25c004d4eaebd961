// Single e^x - 1: one routine in all three slots.
//
// Each four is widened to two double pairs and run through the table-free
// core of exp_short.h: n = round(x/ln 2), r = x - n ln 2 (|r| <= ln2/2),
// e^r - 1 = r + r^2 P(r) with P of degree 6 fitted by tools/exp_fits
// (2^-36.5 relative), and e^x - 1 = 2^n p + (2^n - 1), where 2^n - 1 is
// exact for the n that decide the result's relative accuracy (|n| <= 53).
// Near 0 (n = 0) the result is p itself, so no cancellation arises.  The
// double value is within 2^-36 relative of e^x - 1, and its one rounding
// to float is the result's error: at most 0.5 + 2^-12 ulp.
// Screen: |x| below 88.72283935546875, where e^x leaves the float range.
// Rejected inputs take the scalar routine of hyperbolic_single.h: NaN ->
// x + x, +inf -> +inf, -inf -> -1, x up to -100 -> -1 (its value), a
// positive x whose result is not finite -> +inf with OVERFLOW.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_short.h"
#include "vector/real/exp/hyperbolic_single.h"

namespace {

using namespace qlm::vector;

struct expm1_single {
    using wide = hyperbolic_single::kernel<hyperbolic_single::function::expm1, 5>;
    static bool screen(__m128 x) { return wide::screen(x); }
    static bool screen_one(__m128 x) { return screen(x); }
    static __m128d pair(__m128d x) {
        return exp_short::expm1_of<double>(exp_short::split<double, exp_fits::expm1_double_half_ln2>(x));
    }
    static __m128 fast(__m128 x) {
        const __m128 lo = _mm_cvtpd_ps(pair(_mm_cvtps_pd(x)));
        const __m128 hi = _mm_cvtpd_ps(pair(_mm_cvtps_pd(_mm_movehl_ps(x, x))));
        return _mm_movelh_ps(lo, hi);
    }
    static void scalar(int32_t i, const float* a, float* y) { single_scalar_or_wide<expm1_single, wide>(i, a, y); }
};

}  // namespace

QLM_HYPERBOLIC_SINGLE_SLOT(Expm1, HA, expm1_single)
