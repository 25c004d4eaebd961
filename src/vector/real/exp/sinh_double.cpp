// Double hyperbolic sine: one routine for the LA and EP slots, one for HA.
//
//   LA  E = e^|x| - 1 by the core of exp_split.h (Taylor degree 6),
//       sinh = (E + E/(E + 1))/2 with the sign of x: no cancellation near
//       0, about two ulps from the four roundings.
//   HA  |x| < 1/4: x + x x^2 P(x^2), P the Taylor series of
//       (sinh x - x)/x^3 to x^8 (truncation below 2^-57), the added term
//       under 0.011 of the result; |x| >= 1/4: (e^|x| - e^-|x|)/2 from
//       two evaluations of the core, exact heads subtracted exactly
//       (exp_split.h), about half an ulp.  Both are computed and the lane
//       picks one.
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
            const __m128d e = exp_split::expm1_of(exp_split::split<6>(ax));
            const __m128d s = _mm_mul_pd(half, _mm_add_pd(e, _mm_div_pd(e, _mm_add_pd(e, one))));
            return exp_split::with_sign_of(x, s);
        } else {
            // 1/3!, 1/5!, ..., 1/11!
            constexpr double c[] = {1.0 / 6, 1.0 / 120, 1.0 / 5040, 1.0 / 362880, 1.0 / 39916800};
            const __m128d x2 = _mm_mul_pd(ax, ax);
            __m128d q = _mm_set1_pd(c[4]);
            for (int k = 3; k >= 0; --k) q = _mm_add_pd(_mm_set1_pd(c[k]), _mm_mul_pd(x2, q));
            const __m128d small = _mm_add_pd(ax, _mm_mul_pd(_mm_mul_pd(ax, x2), q));
            const __m128d large = exp_split::half_exp_pair<false>(ax);
            return exp_split::with_sign_of(x, _mm_blendv_pd(large, small, _mm_cmplt_pd(ax, _mm_set1_pd(0.25))));
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
