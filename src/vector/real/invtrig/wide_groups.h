// The group loops of the wide inverse trigonometric kernels, and the glue
// that ties a wide formula to the per-element routine it stands in front of.
//
// Groups of four doubles (two pairs) or eight floats (two fours) pass an
// integer screen on the inputs' bits: the wide formula is trusted only
// inside it.  A group with a lane outside goes through the group
// recompute: lanes inside the screen keep the wide result (the double
// groups save it, the float ones recompute it on one lane), the others go
// through the existing accurate per-element routine `Old`
// (group_driver.h's scalar_element), which keeps every special result and
// status.  Elements after the last whole group take the same road one at a
// time.  Unary kernels run on lane_loops.h; the two-argument loops, which it
// lacks, are here in its shape.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "frame/kernel_frame.h"
#include "vector/real/lane_loops.h"
#include "vector/real/special/group_driver.h"

namespace qlm::invtrig {

using qlm::vector::all_magnitudes_below;
using qlm::vector::all_unsigned_in_range;
using qlm::vector::high_words;
using qlm::vector::load_halves;
using qlm::vector::store_halves;

// A unary double formula F (static __m128d value(__m128d)) for |x| below
// the high word Limit, standing in front of Old.
template <class F, uint32_t Limit, class Old>
struct double_unary {
    static bool screen(__m128d x0, __m128d x1) { return all_magnitudes_below(high_words(x0, x1), Limit, 0xF); }
    static bool screen_one(__m128d x) { return all_magnitudes_below(high_words(x, x), Limit, 0x1); }
    QLM_WIDE static __m128d value(__m128d x) { return F::value(x); }
    static bool special(int32_t i, const double* a, double* y) {
        if (screen_one(_mm_set1_pd(a[i]))) return false;
        qlm::special::scalar_element<Old>(i, a, y);
        return true;
    }
};

// A unary float formula on four lanes for |x|'s bits below Limit.
template <class F, uint32_t Limit, class Old>
struct single_unary {
    static bool screen(__m128 x) { return all_magnitudes_below(_mm_castps_si128(x), Limit, 0xF); }
    static bool screen_one(__m128 x) { return all_magnitudes_below(_mm_castps_si128(x), Limit, 0x1); }
    QLM_WIDE static __m128 fast(__m128 x) { return F::value(x); }
    static void scalar(int32_t i, const float* a, float* y) {
        const __m128 x = _mm_set1_ps(a[i]);
        if (screen_one(x)) _mm_store_ss(y + i, F::value(x));
        else qlm::special::scalar_element<Old>(i, a, y);
    }
};

// Both arguments' magnitudes, as high words (double) or bits (float),
// within [Low, Low + Width): the binary screen.
template <uint32_t Low, uint32_t Width>
inline bool both_in_range(__m128i wa, __m128i wb, int lanes) {
    const __m128i m = _mm_set1_epi32(0x7FFFFFFF);
    return all_unsigned_in_range(_mm_and_si128(wa, m), Low, Width, lanes) &&
           all_unsigned_in_range(_mm_and_si128(wb, m), Low, Width, lanes);
}

template <class F, uint32_t Low, uint32_t Width, class Old>
void run_double_binary(int32_t n, const double* a, const double* b, double* y) {
    int32_t i = 0;
    for (; n - i >= 4; i += 4) {
        const __m128d a0 = load_halves(a + i), a1 = load_halves(a + i + 2);
        const __m128d b0 = load_halves(b + i), b1 = load_halves(b + i + 2);
        const __m128d y0 = F::value(a0, b0), y1 = F::value(a1, b1);
        if (both_in_range<Low, Width>(high_words(a0, a1), high_words(b0, b1), 0xF)) {
            store_halves(y + i, y0);
            store_halves(y + i + 2, y1);
            continue;
        }
        double saved[4];
        store_halves(saved, y0);
        store_halves(saved + 2, y1);
        for (int k = 0; k < 4; ++k) {
            const __m128d ak = _mm_set1_pd(a[i + k]), bk = _mm_set1_pd(b[i + k]);
            if (both_in_range<Low, Width>(high_words(ak, ak), high_words(bk, bk), 0x1)) y[i + k] = saved[k];
            else qlm::special::scalar_element2<Old>(i + k, a, b, y);
        }
    }
    for (; i < n; ++i) {
        const __m128d ak = _mm_set1_pd(a[i]), bk = _mm_set1_pd(b[i]);
        if (both_in_range<Low, Width>(high_words(ak, ak), high_words(bk, bk), 0x1)) _mm_storel_pd(y + i, F::value(ak, bk));
        else qlm::special::scalar_element2<Old>(i, a, b, y);
    }
}

template <class F, uint32_t Low, uint32_t Width, class Old>
void run_single_binary(int32_t n, const float* a, const float* b, float* y) {
    auto one = [](int32_t i, const float* a, const float* b, float* y) {
        const __m128 ak = _mm_set1_ps(a[i]), bk = _mm_set1_ps(b[i]);
        if (both_in_range<Low, Width>(_mm_castps_si128(ak), _mm_castps_si128(bk), 0x1)) _mm_store_ss(y + i, F::value(ak, bk));
        else qlm::special::scalar_element2<Old>(i, a, b, y);
    };
    int32_t i = 0;
    for (; n - i >= 8; i += 8) {
        const __m128 a0 = _mm_loadu_ps(a + i), a1 = _mm_loadu_ps(a + i + 4);
        const __m128 b0 = _mm_loadu_ps(b + i), b1 = _mm_loadu_ps(b + i + 4);
        if (both_in_range<Low, Width>(_mm_castps_si128(a0), _mm_castps_si128(b0), 0xF) &&
            both_in_range<Low, Width>(_mm_castps_si128(a1), _mm_castps_si128(b1), 0xF)) {
            const __m128 y0 = F::value(a0, b0), y1 = F::value(a1, b1);
            _mm_storeu_ps(y + i, y0);
            _mm_storeu_ps(y + i + 4, y1);
            continue;
        }
        for (int k = 0; k < 8; ++k) one(i + k, a, b, y);
    }
    for (; i < n; ++i) one(i, a, b, y);
}

}  // namespace qlm::invtrig

// Kernel routines of the wide plans, under the frame with round to nearest
// and the x87 stage `x87` (which the per-element routine may need).
#define QLM_INVTRIG_DOUBLE_UNARY(routine, x87, ...)                                           \
    extern "C" void routine(int32_t n, const double* a, double* y) {                          \
        qlm::frame::kernel_frame frame{qlm::frame::kRoundNearest, x87};                       \
        if (n > 0) qlm::vector::run_double_groups<qlm::vector::saved_value_kernel<__VA_ARGS__>>(n, a, y); \
    }
#define QLM_INVTRIG_SINGLE_UNARY(routine, x87, ...)                     \
    extern "C" void routine(int32_t n, const float* a, float* y) {      \
        qlm::frame::kernel_frame frame{qlm::frame::kRoundNearest, x87}; \
        if (n > 0) qlm::vector::run_single_groups<__VA_ARGS__>(n, a, y); \
    }
#define QLM_INVTRIG_BINARY(routine, T, x87, runner)                                 \
    extern "C" void routine(int32_t n, const T* a, const T* b, T* y) {              \
        qlm::frame::kernel_frame frame{qlm::frame::kRoundNearest, x87};             \
        if (n > 0) runner(n, a, b, y);                                              \
    }
