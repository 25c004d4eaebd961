// ErfInv, double LA and EP, single LA and EP: a logarithm and a polynomial.
//
// Method: w = -ln((1 - |x|)(1 + |x|)).  1 - |x| is exact for |x| >= 1/2,
// so w keeps its relative accuracy next to the poles; next to 0 only its
// absolute error counts.
//   centre, |x| < 1 - 2^-9 (w < 5.545): erfinv(x) = x P(w); d ln P/dw < 0.3,
//     so an absolute error in w costs at most a third of it relative, and
//     x P keeps the sign of zero and serves denormals exactly.
//   outer, 1 - 2^-9 <= |x| < 1 - 2^-21 in double (every float below 1 in
//     single): erfinv(x) = sign(x) Q(sqrt w).
// EP plan (double EP, single LA and EP): the coarse logarithm of
// log_double.h (ln(1 + r) = r + c2 r^2, absolute error below 2^-28.5) and
// fit set p (P of degree 12 in w - 2.78125, Q of degree 9 in s - 3.1875, 2^-31
// relative).  Measured: double above 30.6 correct bits; single, computed
// in double pairs and rounded once, 0.5 ulp on the tests' samples and at
// most 1 ulp from the HA result over 2 million.
// LA plan (double LA): the fine logarithm of the Ln LA routine (about 1.5
// ulp) and fit set d to 2^-55 (P split at w = 2.78 into degrees 17 and 15,
// Q of degree 19), constant terms as hi + lo.  Measured: at most 2 ulp
// from the HA result, 1.4 ulp from MPFR on the tests' samples.
// All fits come from tools/special_fits (erfinv_tables.h).
// Loop: the group loops of lane_loops.h, four doubles in two pairs or eight
// floats in two fours (each four widened to two double pairs).  A pair
// whose lanes are both central skips the outer polynomial and the root; a
// mixed pair computes both and blends, which happens for about one uniform
// group in a hundred.
// Screen: double |x| high word below 0x3FEFFFFF (|x| < 1 - 2^-21), single
// |x| < 1.  Lanes that fail take the scalar routine: 1 - 2^-21 <= |x| < 1
// the accurate Halley path of erfinv_core.h, NaN gives NaN without a
// status, +-1 gives +-infinity with SING, |x| > 1 NaN with ERRDOM.
#include <cstddef>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/lane_loops.h"
#include "vector/real/log/log_double.h"
#include "vector/real/special/erfinv_core.h"
#include "vector/real/special/erfinv_tables.h"

namespace {

using namespace qlm::vector;
using qlm::special::erfinv_centre_p;
using qlm::special::erfinv_outer_p;
using qlm::special::erfinv_centre_low_d;
using qlm::special::erfinv_centre_high_d;
using qlm::special::erfinv_outer_d;

constexpr int32_t kCentreHigh = 0x3FEFF000;  // |x| = 1 - 2^-9
constexpr int32_t kFastHigh = 0x3FEFFFFF;    // |x| = 1 - 2^-21 (double)
constexpr double kCentreLimit = 1.0 - 0x1p-9;

// The fit's polynomial in t.  The EP plan drops the last entry (the low
// part of the constant term), which is below the accuracy it keeps; the LA
// plan adds it before the constant.
template <std::size_t N>
inline __m128d polynomial(const double (&k)[N], __m128d t) {
    __m128d p = _mm_set1_pd(k[N - 2]);
    for (int j = static_cast<int>(N) - 3; j >= 0; --j) p = _mm_add_pd(_mm_set1_pd(k[j]), _mm_mul_pd(p, t));
    return p;
}
template <std::size_t N>
inline __m128d polynomial_with_low(const double (&k)[N], __m128d t) {
    __m128d p = _mm_set1_pd(k[N - 2]);
    for (int j = static_cast<int>(N) - 3; j >= 1; --j) p = _mm_add_pd(_mm_set1_pd(k[j]), _mm_mul_pd(p, t));
    return _mm_add_pd(_mm_set1_pd(k[0]), _mm_add_pd(_mm_set1_pd(k[N - 1]), _mm_mul_pd(p, t)));
}

inline __m128d sign_mask() { return splat_bits(0x8000000000000000ull); }

// Double EP, single LA and EP: the coarse logarithm and fit set p.
struct ep_plan {
    static __m128d w(__m128d v) { return _mm_xor_pd(log_double::coarse<2, false>(v), sign_mask()); }
    static __m128d centre(__m128d w) { return polynomial(erfinv_centre_p, _mm_sub_pd(w, _mm_set1_pd(2.78125))); }
    static __m128d outer(__m128d s) { return polynomial(erfinv_outer_p, _mm_sub_pd(s, _mm_set1_pd(3.1875))); }
};

// Double LA: the fine logarithm of the Ln LA routine (about 1.5 ulp) and
// fit set d, whose centre is split at w = 2.78: a pair on one side runs one
// polynomial, a pair across the split both, blended.
struct la_plan {
    static __m128d w(__m128d v) { return _mm_xor_pd(log_double::fine_sum(log_double::fine(v)), sign_mask()); }
    static __m128d centre(__m128d w) {
        const __m128d low_side = _mm_cmplt_pd(w, _mm_set1_pd(2.78));
        const int m = _mm_movemask_pd(low_side);
        if (m == 3) return polynomial_with_low(erfinv_centre_low_d, _mm_sub_pd(w, _mm_set1_pd(1.4)));
        const __m128d high = polynomial_with_low(erfinv_centre_high_d, _mm_sub_pd(w, _mm_set1_pd(4.15625)));
        if (m == 0) return high;
        const __m128d low = polynomial_with_low(erfinv_centre_low_d, _mm_sub_pd(w, _mm_set1_pd(1.4)));
        return _mm_blendv_pd(high, low, low_side);
    }
    static __m128d outer(__m128d s) { return polynomial_with_low(erfinv_outer_d, _mm_sub_pd(s, _mm_set1_pd(3.05))); }
};

// erfinv of a pair with |x| < 1 - 2^-21 (floats widened: below 1).
template <class Plan>
inline __m128d erfinv_pair(__m128d x) {
    const __m128d one = _mm_set1_pd(1.0);
    const __m128d ax = _mm_andnot_pd(sign_mask(), x);
    const __m128d w = Plan::w(_mm_mul_pd(_mm_sub_pd(one, ax), _mm_add_pd(one, ax)));
    const __m128d centre = _mm_mul_pd(x, Plan::centre(w));
    if (all_magnitudes_below(log_double::pair_high_words(x), kCentreHigh, 0x3)) return centre;
    const __m128d outer = _mm_or_pd(_mm_and_pd(sign_mask(), x), Plan::outer(_mm_sqrt_pd(w)));
    return _mm_blendv_pd(outer, centre, _mm_cmplt_pd(ax, _mm_set1_pd(kCentreLimit)));
}

// The scalar routine of every lane outside the fast range.
template <typename Elem>
Elem outside_fast_range(Elem x, int& status) {
    if (x > Elem(-1) && x < Elem(1)) return static_cast<Elem>(qlm::special::erf_inverse_value<2>(x));
    return qlm::special::unit_interval_poles(x, status);
}

template <class Plan>
struct double_erfinv {
    static bool screen(__m128d x0, __m128d x1) { return all_magnitudes_below(high_words(x0, x1), kFastHigh, 0xF); }
    static bool screen_one(__m128d x) { return all_magnitudes_below(high_words(x, x), kFastHigh, 0x1); }
    static __m128d value(__m128d x) { return erfinv_pair<Plan>(x); }
    static bool special(int32_t i, const double* a, double* y) {
        if (screen_one(_mm_set1_pd(a[i]))) return false;
        int status = 0;
        y[i] = outside_fast_range(a[i], status);
        if (status != 0) qlm::frame::raise_status(status, i, a, a, y, y, "vdErfInv");
        return true;
    }
};

struct single_erfinv {
    static bool screen(__m128 x) { return all_magnitudes_below(_mm_castps_si128(x), 0x3F800000, 0xF); }
    static bool screen_one(__m128 x) { return all_magnitudes_below(_mm_castps_si128(x), 0x3F800000, 0x1); }
    static __m128 fast(__m128 x) {
        const __m128d r0 = erfinv_pair<ep_plan>(_mm_cvtps_pd(x)), r1 = erfinv_pair<ep_plan>(_mm_cvtps_pd(_mm_movehl_ps(x, x)));
        return _mm_movelh_ps(_mm_cvtpd_ps(r0), _mm_cvtpd_ps(r1));
    }
    // A recomputed group: lanes below 1 run the same formula on one lane.
    static void scalar(int32_t i, const float* a, float* y) {
        const __m128 x = _mm_set1_ps(a[i]);
        if (screen_one(x)) {
            _mm_store_ss(y + i, fast(x));
            return;
        }
        int status = 0;
        y[i] = outside_fast_range(a[i], status);
        if (status != 0) qlm::frame::raise_status(status, i, a, a, y, y, "vsErfInv");
    }
};

void single_routine(int32_t n, const float* a, float* y) {
    qlm::frame::kernel_frame frame;
    if (n > 0) run_single_groups<single_erfinv>(n, a, y);
}

}  // namespace

extern "C" void qlmk_dErfInv_LA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    if (n > 0) run_double_groups<saved_value_kernel<double_erfinv<la_plan>>>(n, a, y);
}

extern "C" void qlmk_dErfInv_EP(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    if (n > 0) run_double_groups<saved_value_kernel<double_erfinv<ep_plan>>>(n, a, y);
}

// Single LA and EP share the plan: the double pairs already meet LA.
extern "C" void qlmk_sErfInv_LA(int32_t n, const float* a, float* y) { single_routine(n, a, y); }
extern "C" void qlmk_sErfInv_EP(int32_t n, const float* a, float* y) { single_routine(n, a, y); }
