// Single e^x - 1: one routine in all three slots.
//
// Float lanes on the core of exp_single_core.h: n = round(x/ln 2),
// x = n ln 2 + r + dr with r's rounding error dr recovered, and
// e^r - 1 = r + r^2/2 + r^3 P1(r), P1 of degree 4 (the Expm1 fit of
// tools/exp_fits without its constant 1/2; 2^-29.2 relative).  Then
//   e^x - 1 = (2^n - 1) + 2^n r + 2^(n-1) r^2 + 2^n (r^3 P1 + dr)
// with the first two sums split exactly (Fast2Sum: each leading term is
// the larger), so that only terms well below the result round before the
// last sum: measured under 0.71 ulp.  2^n - 1 is exact up to n = 24; above,
// it rounds to 2^n and the lost 1 joins the low part.  Near 0 (n = 0) r is
// x itself and the sums keep its relative accuracy.  x is clamped at -30
// (the result is -1 in float from about -17.4 on) so that 2^n stays
// normal.
// Screen: |x| below 88.0, where n <= 127 keeps 2^n a float.  Rejected
// inputs take the scalar routine of hyperbolic_single.h: NaN -> x + x,
// +inf -> +inf, -inf -> -1, x up to -100 -> -1 (its value), a positive x
// whose result is not finite -> +inf with OVERFLOW, others evaluated in
// double and rounded once.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_single_core.h"
#include "vector/real/exp/hyperbolic_single.h"

namespace {

using namespace qlm::vector;

struct expm1_single {
    using wide = hyperbolic_single::kernel<hyperbolic_single::function::expm1, 5>;
    static __m128 screen_lanes(__m128 x) { return exp_single_core::magnitude_below<exp_single_core::kExpm1Screen>(x); }
    static bool screen(__m128 x) { return _mm_movemask_ps(screen_lanes(x)) == 0xF; }
    static bool screen_one(__m128 x) { return screen(x); }
    [[gnu::always_inline]] static __m128 fast(__m128 x) { return exp_single_core::expm1(x); }
    static void scalar(int32_t i, const float* a, float* y) { single_scalar_or_wide<expm1_single, wide>(i, a, y); }
};

}  // namespace

QLM_HYPERBOLIC_SINGLE_SLOT(Expm1, HA, expm1_single)
