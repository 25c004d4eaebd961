// Double hyperbolic sine: one routine for the LA and EP slots, one for HA.
//
//   LA  E = e^|x| - 1 by the core of exp_split.h (Taylor degree 6), kept
//       as Eh + El with Eh = scale hi - 1 exact (up to |x| = 36) and
//       El = scale tail; sinh = (Eh + (El + E/(E + 1)))/2 with the sign
//       of x.  The quotient is at most half of the sum and carries about
//       1.5 ulp of itself: measured 1.17 ulp on [-5, 5] and up to 1.96
//       next to x = 0.007, where the tail is a third of the result (the
//       rounded E in place of Eh + El measured 2.2); no cancellation
//       near 0.
//   HA  |x| < 1/16: x + x w P(w), w = x^2, P the Taylor series of
//       (sinh x - x)/x^3 to w^4/11!; the added term is under 0.00065 of
//       the result, so its own roundings count for little and the
//       addition of x rounds last.  |x| >= 1/16: (e^|x| - e^-|x|)/2 from
//       one reduction of |x| (the accurate pair core of exp_split.h,
//       2^-68), exact heads subtracted exactly, the low parts added to the
//       error term, one rounding at the end; the core's error grows by
//       coth |x| <= 16.  Both branches stay within 0.5 + 0.001 ulp, and
//       the lane picks one.
// Screen: |x| < 708.396.  Special results: NaN -> x + x, +-inf -> +-inf,
// |x| from 708 on -> +-e^|x|/2 by the split scale, +-inf with OVERFLOW
// once that is not finite.
#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_split.h"

namespace {

using namespace qlm::vector;

template <bool High>
struct sinh_value : exp_split::exp_screen {
    static __m128d value(__m128d x) {
        const __m128d ax = exp_split::magnitude(x), half = _mm_set1_pd(0.5), one = _mm_set1_pd(1.0);
        if constexpr (!High) {
            const auto p = exp_split::split<6>(ax);
            const __m128d eh = _mm_sub_pd(_mm_mul_pd(p.scale, p.hi), one), el = _mm_mul_pd(p.scale, p.tail);
            const __m128d e = _mm_add_pd(eh, el);
            const __m128d s = _mm_mul_pd(half, _mm_add_pd(eh, _mm_add_pd(el, _mm_div_pd(e, _mm_add_pd(e, one)))));
            return exp_split::with_sign_of(x, s);
        } else {
            // 1/3!, 1/5!, 1/7!, 1/9!
            constexpr double c[] = {1.0 / 6, 1.0 / 120, 1.0 / 5040, 1.0 / 362880};
            const __m128d x2 = _mm_mul_pd(ax, ax);
            __m128d q = _mm_set1_pd(c[3]);
            for (int k = 2; k >= 0; --k) q = _mm_add_pd(_mm_set1_pd(c[k]), _mm_mul_pd(x2, q));
            const __m128d small = _mm_add_pd(ax, _mm_mul_pd(_mm_mul_pd(ax, x2), q));
            const __m128d large = exp_split::half_exp_pair<false>(ax);
            return exp_split::with_sign_of(x, _mm_blendv_pd(large, small, _mm_cmplt_pd(ax, _mm_set1_pd(0.0625))));
        }
    }
    static bool special(int32_t i, const double* a, double* y) {
        const double x = a[i], ax = x < 0 ? -x : x;
        if (x != x) y[i] = x + x;
        else if (ax < 708.0) return false;
        else {
            const double v = ax < 711.0 ? exp_split::large_half_exp(ax) : bits_to_double(0x7FF0000000000000ull);
            y[i] = x < 0 ? -v : v;
            if (ax != v && v == bits_to_double(0x7FF0000000000000ull))
                qlm::frame::raise_status(VXM_STATUS_OVERFLOW, i, a, a, y, y, "vdSinh");
        }
        return true;
    }
};

using sinh_la = sinh_value<false>;
using sinh_ha = sinh_value<true>;

}  // namespace

QLM_DOUBLE_VALUE_SLOT(Sinh, LA, sinh_la)
QLM_DOUBLE_VALUE_SLOT(Sinh, HA, sinh_ha)
