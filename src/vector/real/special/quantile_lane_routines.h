// The LA and EP routines of ErfcInv and CdfNormInv on vector lanes: the
// group loops of lane_loops.h (four doubles in two pairs, eight floats in
// two fours, each four widened to two double pairs) around erfcinv_pair of
// erfinv_lanes.h.
//
// Screen, one unsigned range test of the high word (double) or the bits
// (single), the sign included so that negative inputs fail:
//   ErfcInv     double 2^-20 <= z < 2 - 2^-20, single 2^-23 <= z < 2
//   CdfNormInv  double 2^-21 <= p < 1 - 2^-21, single 2^-24 <= p < 1
// so that w = -ln(z (2 - z)) stays within the outer fits (sqrt w below
// 3.75 in double, 4 in single).  A lane that fails takes the routine's
// accurate scalar path (Scalar, a quantile_plan of erfinv_core.h): the
// deep tails by the Halley iteration, with full relative accuracy down to
// the least denormal, and the poles, NaN and the domain errors with their
// statuses.  In a recomputed group the lanes that pass keep the values the
// fast lane gives them.
// Like the Halley routines, these leave the mode and MXCSR alone at entry.
#pragma once

#include <cstdint>

#include "frame/error_path.h"
#include "vector/real/lane_loops.h"
#include "vector/real/special/erfinv_lanes.h"

namespace qlm::special::erfinv_lanes {

template <bool Cdf>
struct quantile_screen {
    static constexpr uint32_t kDoubleLow = Cdf ? 0x3EA00000u : 0x3EB00000u;
    static constexpr uint32_t kDoubleWidth = (Cdf ? 0x3FEFFFFFu : 0x3FFFFFFFu) - kDoubleLow;
    static constexpr uint32_t kSingleLow = Cdf ? 0x33800000u : 0x34000000u;
    static constexpr uint32_t kSingleWidth = (Cdf ? 0x3F800000u : 0x40000000u) - kSingleLow;
};

template <template <bool, bool> class Plan, bool Cdf, class Scalar>
struct double_quantile {
    using S = quantile_screen<Cdf>;
    static bool screen(__m128d x0, __m128d x1) {
        return qlm::vector::all_unsigned_in_range(qlm::vector::high_words(x0, x1), S::kDoubleLow, S::kDoubleWidth, 0xF);
    }
    static bool screen_one(__m128d x) {
        return qlm::vector::all_unsigned_in_range(qlm::vector::high_words(x, x), S::kDoubleLow, S::kDoubleWidth, 0x1);
    }
    static __m128d value(__m128d x) { return erfcinv_pair<Plan, Cdf>(x); }
    static bool special(int32_t i, const double* a, double* y) {
        if (screen_one(_mm_set1_pd(a[i]))) return false;
        int status = 0;
        y[i] = Scalar::scalar(a[i], status);
        if (status != 0) qlm::frame::raise_status(status, i, a, a, y, y, Scalar::name);
        return true;
    }
};

template <bool Cdf, class Scalar>
struct single_quantile {
    using S = quantile_screen<Cdf>;
    static bool screen(__m128 x) {
        return qlm::vector::all_unsigned_in_range(_mm_castps_si128(x), S::kSingleLow, S::kSingleWidth, 0xF);
    }
    static bool screen_one(__m128 x) {
        return qlm::vector::all_unsigned_in_range(_mm_castps_si128(x), S::kSingleLow, S::kSingleWidth, 0x1);
    }
    static __m128 fast(__m128 x) {
        const __m128d r0 = erfcinv_pair<ep_plan, Cdf>(_mm_cvtps_pd(x));
        const __m128d r1 = erfcinv_pair<ep_plan, Cdf>(_mm_cvtps_pd(_mm_movehl_ps(x, x)));
        return _mm_movelh_ps(_mm_cvtpd_ps(r0), _mm_cvtpd_ps(r1));
    }
    // A recomputed group: lanes that pass run the same formula on one lane.
    static void scalar(int32_t i, const float* a, float* y) {
        const __m128 x = _mm_set1_ps(a[i]);
        if (screen_one(x)) {
            _mm_store_ss(y + i, fast(x));
            return;
        }
        int status = 0;
        y[i] = Scalar::scalar(a[i], status);
        if (status != 0) qlm::frame::raise_status(status, i, a, a, y, y, Scalar::name);
    }
};

template <template <bool, bool> class Plan, bool Cdf, class Scalar>
void run_double_quantile(int32_t n, const double* a, double* y) {
    if (n > 0)
        qlm::vector::run_double_groups<qlm::vector::saved_value_kernel<double_quantile<Plan, Cdf, Scalar>>>(n, a, y);
}

template <bool Cdf, class Scalar>
void run_single_quantile(int32_t n, const float* a, float* y) {
    if (n > 0) qlm::vector::run_single_groups<single_quantile<Cdf, Scalar>>(n, a, y);
}

}  // namespace qlm::special::erfinv_lanes
