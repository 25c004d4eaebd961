// Double hyperbolic tangent: one routine for the LA and EP slots, one for HA.
//
//   LA  E = e^(2|x|) - 1 by the core of exp_split.h (Taylor degree 6),
//       tanh = E/(E + 2) with the sign of x, |x| clamped at 20 where the
//       quotient is 1 in double; about two ulps from the roundings.
//   HA  |x| < 1/16: x + x w P(w), w = x^2, P the Taylor series of
//       (tanh x - x)/x^3 to w^5 (truncation 2^-57 relative); the added
//       term is under x^2/3 of the result and the addition of x rounds
//       last.  |x| >= 1/16: 1 - q with q = 2/(e^(2|x|) + 1) in
//       double-double: e^(2|x|) from the accurate pair core of
//       exp_split.h (2^-68), D = e^(2|x|) + 1 as Dh + Dl by Fast2Sum
//       (twice: the core's low part is not yet below an ulp of its head),
//       qh = 2/Dh, its residual 2 - qh Dh exact by Dekker's product
//       (operands cut into 26-bit halves by masks, no FMA on this tier),
//       ql = (residual - qh Dl) qh/2; then 1 - qh split exactly
//       (Fast2Sum) and ql joined to its error term.  The result is rounded
//       once in effect: 0.5 + about 0.001 ulp.
// Screen: finite inputs.  Special results: NaN -> x + x, +-inf -> +-1.
// No status is raised.
#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_split.h"

namespace {

using namespace qlm::vector;

__m128d small_tanh(__m128d y) {
    // -1/3, 2/15, -17/315, 62/2835, -1382/155925, 21844/6081075
    static constexpr double p[] = {-1.0 / 3,           2.0 / 15,        -17.0 / 315,
                                   62.0 / 2835,        -1382.0 / 155925, 21844.0 / 6081075};
    const __m128d w = _mm_mul_pd(y, y);
    __m128d q = _mm_set1_pd(p[5]);
    for (int k = 4; k >= 0; --k) q = _mm_add_pd(_mm_set1_pd(p[k]), _mm_mul_pd(w, q));
    return _mm_add_pd(y, _mm_mul_pd(_mm_mul_pd(y, w), q));
}

// a b = p + e exactly (up to the product of the two low halves, 2^-104
// relative), a and b cut by masks into a 26-bit head and a 27-bit rest.
inline void exact_product(__m128d a, __m128d b, __m128d& p, __m128d& e) {
    const __m128d mask = splat_bits(0xFFFFFFFFF8000000ull);
    const __m128d ah = _mm_and_pd(a, mask), bh = _mm_and_pd(b, mask);
    const __m128d al = _mm_sub_pd(a, ah), bl = _mm_sub_pd(b, bh);
    p = _mm_mul_pd(a, b);
    e = _mm_add_pd(_mm_add_pd(_mm_add_pd(_mm_sub_pd(_mm_mul_pd(ah, bh), p), _mm_mul_pd(ah, bl)), _mm_mul_pd(al, bh)),
                   _mm_mul_pd(al, bl));
}

__m128d large_tanh(__m128d y) {
    exp_split::exp_dd e, unused;
    exp_split::exp_pair<false>(_mm_add_pd(y, y), e, unused);
    const __m128d one = _mm_set1_pd(1.0), two = _mm_set1_pd(2.0);
    // D = e + 1 = dh + dl: scale hi >= 1 here, so Fast2Sum splits the sum;
    // the core's low part can be 2^-15 of its head, so the pair is
    // renormalised (Fast2Sum again) before the division uses dh alone.
    const __m128d head = _mm_mul_pd(e.scale, e.hi);
    const __m128d d0 = _mm_add_pd(head, one);
    const __m128d d1 = _mm_add_pd(_mm_sub_pd(one, _mm_sub_pd(d0, head)), _mm_mul_pd(e.scale, e.lo));
    const __m128d dh = _mm_add_pd(d0, d1);
    const __m128d dl = _mm_sub_pd(d1, _mm_sub_pd(dh, d0));
    const __m128d qh = _mm_div_pd(two, dh);
    __m128d p, pe;
    exact_product(qh, dh, p, pe);
    // 2 - p is exact (p is within an ulp of 2).
    const __m128d residual = _mm_sub_pd(_mm_sub_pd(_mm_sub_pd(two, p), pe), _mm_mul_pd(qh, dl));
    const __m128d ql = _mm_mul_pd(residual, _mm_mul_pd(qh, _mm_set1_pd(0.5)));
    const __m128d s = _mm_sub_pd(one, qh);
    const __m128d err = _mm_sub_pd(_mm_sub_pd(one, s), qh);
    return _mm_add_pd(s, _mm_sub_pd(err, ql));
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
            const __m128d small = _mm_cmplt_pd(ax, _mm_set1_pd(0.0625));
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
