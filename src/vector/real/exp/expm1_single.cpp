// Single e^x - 1: one routine in all three slots.
//
// Double lanes: each four of a group is widened to two double pairs, so
// that the value before the one rounding to float is accurate far beyond
// a float ulp and the result is within 0.5 ulp plus about 2^-12 ulp.
// Reduction: n = round(x/ln 2) by adding the shifter 1.5 * 2^52 + 1023,
// whose low bits then hold n + 1023, so 2^n is those bits shifted into
// the exponent field; r = x - n ln 2 in one piece (|n| <= 127: the
// product's rounding is below 2^-46 absolute, and for n = 0, r is x).
// Polynomial: e^r - 1 = r (1 + r p(r)), p of degree 6 interpolating at
// Chebyshev nodes of [-ln2/2, ln2/2] (tools/exp_fits, 2^-36.5 relative),
// 1 + r p by Estrin's scheme.  Then e^x - 1 = 2^n (e^r - 1) - (1 - 2^n): the
// second term is exact in double and 2^n r is exact, so the sum keeps the
// polynomial's accuracy, also next to 0 (n = 0) and where the two terms
// have opposite signs (n < 0 and r > 0, or n > 0 and r < 0,
// where e^r - 1 is at most 0.41 of 1 - 2^-n or of 2^n - 1 and nothing
// cancels).
// A float-lane form (the core of single Exp with a degree-5 fit) was a
// fifth cheaper but left 0.7 ulp: its leading sums were exact, but the
// rounded r^2 and the float polynomial weighed up to 0.2 ulp.
// Screen: |x| below 88.0.  Rejected inputs
// take the scalar routine of hyperbolic_single.h: NaN -> x + x, +inf ->
// +inf, -inf -> -1, x up to -100 -> -1 (its value), a positive x whose
// result is not finite -> +inf with OVERFLOW, others evaluated in double
// and rounded once.
#include <smmintrin.h>

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_fits.h"
#include "vector/real/exp/exp_single_core.h"
#include "vector/real/exp/hyperbolic_single.h"

namespace {

using namespace qlm::vector;

// Splatted double constants: GCC loads each with one MOVDDUP from memory,
// a single load, so no table of whole rows is needed here.
constexpr double kShifter = 0x1.8p52 + 1023.0;  // 1.5 * 2^52, plus the exponent bias
[[gnu::always_inline]] inline __m128d c(double v) { return _mm_set1_pd(v); }
[[gnu::always_inline]] inline __m128d p(std::size_t i) { return c(exp_fits::expm1_single_wide[i]); }
static_assert(std::size(exp_fits::expm1_single_wide) == 7);

[[gnu::always_inline]] inline __m128d expm1_pair(__m128d x) {
    // n from the shifted sum, not by ROUNDPD: ROUNDPD keeps -0 for x = -0,
    // and x - (-0) ln 2 is +0, which would lose the sign of the result.
    const __m128d t = _mm_add_pd(_mm_mul_pd(x, c(1.4426950408889634)), c(kShifter));
    const __m128d n = _mm_sub_pd(t, c(kShifter));
    const __m128d r = _mm_sub_pd(x, _mm_mul_pd(n, c(0.6931471805599453)));
    // (e^r - 1)/r = 1 + r p(r) = Q(r) of degree 7 by Estrin's scheme,
    // then e^x - 1 = (2^n r) Q - (1 - 2^n): 2^n r is exact and waits
    // beside the polynomial, so the chain after Q is one product and one
    // difference.  The product form also keeps expm1(-0) = -0, where a sum
    // with r last would give -0 + 0 = +0.
    const __m128d r2 = _mm_mul_pd(r, r), r4 = _mm_mul_pd(r2, r2);
    const __m128d a = _mm_add_pd(c(1.0), _mm_mul_pd(r, p(0)));
    const __m128d b = _mm_add_pd(p(1), _mm_mul_pd(r, p(2)));
    const __m128d d = _mm_add_pd(p(3), _mm_mul_pd(r, p(4)));
    const __m128d e = _mm_add_pd(p(5), _mm_mul_pd(r, p(6)));
    const __m128d q = _mm_add_pd(_mm_add_pd(a, _mm_mul_pd(r2, b)), _mm_mul_pd(r4, _mm_add_pd(d, _mm_mul_pd(r2, e))));
    const __m128d scale = _mm_castsi128_pd(_mm_slli_epi64(_mm_castpd_si128(t), 52));
    return _mm_sub_pd(_mm_mul_pd(_mm_mul_pd(scale, r), q), _mm_sub_pd(c(1.0), scale));
}

struct expm1_single {
    using wide = hyperbolic_single::kernel<hyperbolic_single::function::expm1, 5>;
    static __m128 screen_lanes(__m128 x) { return exp_single_core::magnitude_below<exp_single_core::kExpm1Screen>(x); }
    static bool screen(__m128 x) { return _mm_movemask_ps(screen_lanes(x)) == 0xF; }
    static bool screen_one(__m128 x) { return screen(x); }
    [[gnu::always_inline]] static __m128 fast(__m128 x) {
        const __m128 lo = _mm_cvtpd_ps(expm1_pair(_mm_cvtps_pd(x)));
        const __m128 hi = _mm_cvtpd_ps(expm1_pair(_mm_cvtps_pd(_mm_movehl_ps(x, x))));
        return _mm_movelh_ps(lo, hi);
    }
    static void scalar(int32_t i, const float* a, float* y) { single_scalar_or_wide<expm1_single, wide>(i, a, y); }
};

}  // namespace

QLM_HYPERBOLIC_SINGLE_SLOT(Expm1, HA, expm1_single)
