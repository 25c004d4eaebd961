// ErfInv, double LA and EP, single LA and EP: a logarithm and a polynomial.
//
// Method (erfinv_lanes.h): w = -ln((1 - |x|)(1 + |x|)).  1 - |x| is exact
// for |x| >= 1/2, so w keeps its relative accuracy next to the poles; next
// to 0 only its absolute error counts.  erfinv(x) = x P(w) for |x| < 1 -
// 2^-9, sign(x) Q(sqrt w) above, up to 1 - 2^-21 in double and every float
// below 1 in single.
// EP plan (double EP, single LA and EP): the coarse logarithm and fit set
// p.  Measured: double above 30.6 correct bits; single, computed in double
// pairs and rounded once, 0.5 ulp on the tests' samples and at most 1 ulp
// from the HA result over 2 million.
// LA plan (double LA): the fine logarithm and fit set d.  Measured: at
// most 2 ulp from the HA result, 1.4 ulp from MPFR on the tests' samples.
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
#include "vector/real/special/erfinv_core.h"
#include "vector/real/special/erfinv_lanes.h"

namespace {

using namespace qlm::vector;
using qlm::special::erfinv_lanes::ep_plan;
using qlm::special::erfinv_lanes::erfinv_pair;
using qlm::special::erfinv_lanes::la_plan;

constexpr int32_t kFastHigh = 0x3FEFFFFF;  // |x| = 1 - 2^-21 (double)

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
        const __m128d r0 = erfinv_pair<ep_plan<>>(_mm_cvtps_pd(x)), r1 = erfinv_pair<ep_plan<>>(_mm_cvtps_pd(_mm_movehl_ps(x, x)));
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
    if (n > 0) run_double_groups<saved_value_kernel<double_erfinv<la_plan<>>>>(n, a, y);
}

extern "C" void qlmk_dErfInv_EP(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    if (n > 0) run_double_groups<saved_value_kernel<double_erfinv<ep_plan<>>>>(n, a, y);
}

// Single LA and EP share the plan: the double pairs already meet LA.
extern "C" void qlmk_sErfInv_LA(int32_t n, const float* a, float* y) { single_routine(n, a, y); }
extern "C" void qlmk_sErfInv_EP(int32_t n, const float* a, float* y) { single_routine(n, a, y); }
