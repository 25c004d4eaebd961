// Double ln(1 + x), three slots on the logarithm cores.
//
// u = 1 + x is rounded; the part it lost, (1 - (u - (u - 1))) + (x - (u - 1)),
// is exact (two-sum), and ln(1 + x) = ln u + lost/u up to (lost/u)^2/2,
// below 2^-106 relative.  Tiny x give u = 1, ln u = 0 and the result x.
//   HA  fine core in double-double (fine_double_double): hi + (lo + lost/u)
//   LA  the same without the error term of the double-double's hi: about
//       an ulp where hi rounds, half an ulp elsewhere
//   EP  coarse core with Taylor degree 3 + lost/u: about 29 bits
// The screen tests u: positive normal finite, which is x finite above -1.
// Special results: x = -1 -> -inf with SING, x < -1 -> NaN with ERRDOM,
// NaN -> x + x, +inf -> +inf.  A rejected group takes each ordinary lane's
// value from the stack.
#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/log/log_double.h"

namespace {

using namespace qlm::vector;

template <int Slot>  // 0 LA, 1 HA, 2 EP
struct log1p_value {
    static __m128d one_plus(__m128d x) { return _mm_add_pd(_mm_set1_pd(1.0), x); }
    static bool screen(__m128d x0, __m128d x1) { return log_double::pair_in_domain(one_plus(x0), one_plus(x1)); }
    static bool screen_one(__m128d x) { return log_double::one_in_domain(one_plus(x)); }
    static __m128d value(__m128d x) {
        const __m128d one = _mm_set1_pd(1.0);
        const __m128d u = _mm_add_pd(one, x);
        const __m128d xpart = _mm_sub_pd(u, one);
        const __m128d onepart = _mm_sub_pd(u, xpart);
        const __m128d lost = _mm_add_pd(_mm_sub_pd(one, onepart), _mm_sub_pd(x, xpart));
        const __m128d correction = _mm_div_pd(lost, u);
        if constexpr (Slot == 2) return _mm_add_pd(log_double::coarse<3, false>(u), correction);
        const auto pieces = log_double::fine(u);
        if constexpr (Slot == 0)
            return _mm_add_pd(_mm_add_pd(log_double::fine_head(pieces), pieces.r2),
                              _mm_add_pd(_mm_add_pd(pieces.low, pieces.poly), correction));
        __m128d hi, lo;
        log_double::fine_double_double(pieces, hi, lo);
        return _mm_add_pd(hi, _mm_add_pd(lo, correction));
    }
    static bool special(int32_t i, const double* a, double* y) {
        const double x = a[i];
        if (x != x) y[i] = x + x;
        else if (x == -1.0) {
            y[i] = bits_to_double(0xFFF0000000000000ull);
            qlm::frame::raise_status(VXM_STATUS_SING, i, a, a, y, y, "vdLog1p");
        } else if (x < -1.0) {
            y[i] = bits_to_double(0xFFF8000000000000ull);
            qlm::frame::raise_status(VXM_STATUS_ERRDOM, i, a, a, y, y, "vdLog1p");
        } else if (double_to_bits(x) == 0x7FF0000000000000ull) {
            y[i] = x;
        } else {
            return false;
        }
        return true;
    }
};

}  // namespace

QLM_DOUBLE_VALUE_SLOTS(Log1p, log1p_value)
