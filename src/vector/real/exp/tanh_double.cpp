// Double hyperbolic tangent: one routine for the LA and EP slots, one for HA.
//
//   LA  E = e^(2|x|) - 1 by the core of exp_split.h (Taylor degree 6),
//       tanh = E/(E + 2) with the sign of x, |x| clamped at 20 where the
//       quotient is 1 in double; about two ulps from the roundings.
//   HA  |x| < 0.55: x + x w P(w), w = x^2, P of degree 10 interpolated at
//       Chebyshev nodes in w on (0, 0.3025], 2^-57.4 relative with its
//       double coefficients; the addition of x rounds last.
//       |x| >= 0.55: 1 - 2/(D + d), e^(2|x|) + 1 = D + d exactly from the
//       core's scale hi + 1 (exact while the scale is below 2^53) and
//       scale tail (Fast2Sum); q = 2/D, then 1 - q split exactly
//       (Fast2Sum) and q^2 d/2 added to its error term.  The quotient's rounding is at most a quarter ulp
//       of the result, so the sum stays below 0.8 ulp.
// Screen: finite inputs.  Special results: NaN -> x + x, +-inf -> +-1.
// No status is raised.
#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_split.h"

namespace {

using namespace qlm::vector;

__m128d small_tanh(__m128d y) {
    static constexpr double p[] = {-0.3333333333333333,     0.13333333333332714,    -0.053968253967434016,
                                   0.021869488493666944,    -0.008863234397814355,  0.003592110378689024,
                                   -0.001455661830100716,   0.0005889360520074057,  -0.0002346347410887237,
                                   8.511313685577672e-05,   -2.060276537636634e-05};
    const __m128d w = _mm_mul_pd(y, y);
    __m128d q = _mm_set1_pd(p[10]);
    for (int k = 9; k >= 0; --k) q = _mm_add_pd(_mm_set1_pd(p[k]), _mm_mul_pd(w, q));
    return _mm_add_pd(y, _mm_mul_pd(_mm_mul_pd(y, w), q));
}

__m128d large_tanh(__m128d y) {
    const auto p = exp_split::split<6>(_mm_add_pd(y, y));
    const __m128d one = _mm_set1_pd(1.0);
    // D = e + 1 as big + rest exactly: scale hi + 1 is exact, and the tail
    // joins it by Fast2Sum.
    const __m128d head = _mm_add_pd(_mm_mul_pd(p.scale, p.hi), one);
    const __m128d tail = _mm_mul_pd(p.scale, p.tail);
    const __m128d big = _mm_add_pd(head, tail);
    const __m128d rest = _mm_sub_pd(tail, _mm_sub_pd(big, head));
    const __m128d q = _mm_div_pd(_mm_set1_pd(2.0), big);
    const __m128d s = _mm_sub_pd(one, q);
    const __m128d err = _mm_sub_pd(_mm_sub_pd(one, s), q);
    const __m128d correction = _mm_mul_pd(_mm_mul_pd(_mm_mul_pd(q, q), _mm_set1_pd(0.5)), rest);
    return _mm_add_pd(s, _mm_add_pd(err, correction));
}

template <bool High>
struct tanh_value {
    static bool screen(__m128d x0, __m128d x1) { return all_magnitudes_below(high_words(x0, x1), 0x7FF00000, 0xF); }
    static bool screen_one(__m128d x) { return all_magnitudes_below(high_words(x, x), 0x7FF00000, 0x1); }
    static __m128d value(__m128d x) {
        const __m128d ax = _mm_min_pd(exp_split::magnitude(x), _mm_set1_pd(20.0));
        if constexpr (!High) {
            const __m128d e = exp_split::expm1_of(exp_split::split<6>(_mm_add_pd(ax, ax)));
            return exp_split::with_sign_of(x, _mm_div_pd(e, _mm_add_pd(e, _mm_set1_pd(2.0))));
        } else {
            const __m128d small = _mm_cmplt_pd(ax, _mm_set1_pd(0.55));
            return exp_split::with_sign_of(x, _mm_blendv_pd(large_tanh(ax), small_tanh(ax), small));
        }
    }
    static bool special(int32_t i, const double* a, double* y) {
        const double x = a[i];
        if (x != x) y[i] = x + x;
        else if (double_to_bits(x) == 0x7FF0000000000000ull) y[i] = 1.0;
        else if (double_to_bits(x) == 0xFFF0000000000000ull) y[i] = -1.0;
        else return false;
        return true;
    }
};

using tanh_la = tanh_value<false>;
using tanh_ha = tanh_value<true>;

}  // namespace

QLM_DOUBLE_VALUE_SLOT(Tanh, LA, tanh_la)
QLM_DOUBLE_VALUE_SLOT(Tanh, HA, tanh_ha)
