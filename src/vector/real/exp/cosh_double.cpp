// Double hyperbolic cosine, three slots on the core of exp_split.h.
//
//   HA  e^|x| and e^-|x| from one reduction of |x| (the accurate pair
//       core of exp_split.h, 2^-68), their exact heads summed exactly and
//       the low parts added to the error term, so only the last rounding
//       counts: 0.5 + 2^-15 ulp, no division.
//   LA  Taylor degree 5; e/2 + 1/(2e) from the rounded e = e^|x|: about
//       1.1 ulp, cheaper than the pair (one gather and a division).
//   EP  e from the EP exponential (one-piece reduction, r + r^2/2, about
//       28 bits); the same sum.
// Screen: |x| < 708.396.  Special results: NaN -> x + x, +-inf -> +inf,
// |x| from 708 on -> e^|x|/2 by the split scale, +inf with OVERFLOW once
// that is not finite (|x| > 710.4758600739439).
#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_split.h"

namespace {

using namespace qlm::vector;

template <int Slot>  // 0 LA, 1 HA, 2 EP
struct cosh_value : exp_split::exp_screen {
    static __m128d value(__m128d x) {
        const __m128d ax = exp_split::magnitude(x), half = _mm_set1_pd(0.5);
        if constexpr (Slot == 1) {
            return exp_split::half_exp_pair<true>(ax);
        } else {
            __m128d e;
            if constexpr (Slot == 0) e = exp_split::exp_of(exp_split::split<5>(ax));
            else e = exp_double::kernel<exp_double::ep>::fast(ax);
            return _mm_add_pd(_mm_mul_pd(half, e), _mm_div_pd(half, e));
        }
    }
    static bool special(int32_t i, const double* a, double* y) {
        const double x = a[i], ax = x < 0 ? -x : x;
        if (x != x) y[i] = x + x;
        else if (ax < 708.0) return false;
        else {
            y[i] = ax < 711.0 ? exp_split::large_half_exp(ax) : bits_to_double(0x7FF0000000000000ull);
            if (ax != y[i] && y[i] == bits_to_double(0x7FF0000000000000ull))
                qlm::frame::raise_status(VXM_STATUS_OVERFLOW, i, a, a, y, y, "vdCosh");
        }
        return true;
    }
};

}  // namespace

QLM_DOUBLE_VALUE_SLOTS(Cosh, cosh_value)
