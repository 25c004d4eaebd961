// Double hyperbolic tangent: one routine for the LA and EP slots, one for HA.
//
//   LA  E = e^(2|x|) - 1 by the core of exp_split.h (Taylor degree 6),
//       tanh = E/(E + 2) with the sign of x, |x| clamped at 20 where the
//       quotient is 1 in double; about two ulps from the roundings.
//   HA  the same formula in x87 extended precision, lane by lane:
//       2|x| log2 e split into an integer i and |f| <= 1/2, E = 2^f - 1 by
//       F2XM1 (kept alone when i = 0, so small x keep their relative
//       accuracy) or scaled by FSCALE, then E/(E + 2).  Eleven spare bits
//       leave the one rounding to double: about half an ulp.  The frame
//       sets the x87 unit to extended precision for the call.
// Screen: finite inputs.  Special results: NaN -> x + x, +-inf -> +-1.
// No status is raised.
#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_split.h"

namespace {

using namespace qlm::vector;

// e^y - 1 for 0 <= y <= 40 in extended precision.
long double x87_expm1(long double y) {
    long double log2e;
    asm("fldl2e" : "=t"(log2e));
    const long double t = y * log2e;
    long double i = t;
    asm("frndint" : "+t"(i));
    long double f = t - i;
    asm("f2xm1" : "+t"(f));
    if (i == 0) return f;
    long double scaled = f + 1.0L;
    asm("fscale" : "+t"(scaled) : "u"(i));
    return scaled - 1.0L;
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
            alignas(16) double lanes[2];
            _mm_store_pd(lanes, ax);
            for (double& v : lanes) {
                const long double e = x87_expm1(2.0L * v);
                v = static_cast<double>(e / (e + 2.0L));
            }
            return exp_split::with_sign_of(x, _mm_load_pd(lanes));
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

}  // namespace

extern "C" void qlmk_dTanh_LA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    if (n > 0) run_double_groups<saved_value_kernel<tanh_value<false>>>(n, a, y);
}
extern "C" void qlmk_dTanh_HA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame(qlm::frame::kRoundNearest, qlm::frame::kX87Extended);
    if (n > 0) run_double_groups<saved_value_kernel<tanh_value<true>>>(n, a, y);
}
