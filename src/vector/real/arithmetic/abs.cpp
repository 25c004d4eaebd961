// Absolute value, y[i] = |a[i]|.
//
// An AND with the sign-clearing mask, four elements a turn (two pairs in
// double, one quad in single) with unaligned accesses, then one element at
// a time on the same lane.  It does no arithmetic, so it reads neither the
// mode word nor MXCSR, raises no flag, keeps NaN payloads (signalling ones
// too) and serves denormals whatever the mode's denormal field says.
#include <emmintrin.h>

#include <cstdint>

#include "frame/kernel_tables.h"

namespace {

void abs_body(int32_t n, const double* a, double* y) {
    const __m128d mask = _mm_castsi128_pd(_mm_set1_epi64x(0x7FFFFFFFFFFFFFFF));
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const __m128d r0 = _mm_and_pd(_mm_loadu_pd(a + i), mask);
        const __m128d r1 = _mm_and_pd(_mm_loadu_pd(a + i + 2), mask);
        _mm_storeu_pd(y + i, r0);
        _mm_storeu_pd(y + i + 2, r1);
    }
    for (; i < n; ++i) _mm_store_sd(y + i, _mm_and_pd(_mm_load_sd(a + i), mask));
}

void abs_body(int32_t n, const float* a, float* y) {
    const __m128 mask = _mm_castsi128_ps(_mm_set1_epi32(0x7FFFFFFF));
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) _mm_storeu_ps(y + i, _mm_and_ps(_mm_loadu_ps(a + i), mask));
    for (; i < n; ++i) _mm_store_ss(y + i, _mm_and_ps(_mm_load_ss(a + i), mask));
}

}  // namespace

extern "C" void qlmk_dAbs_HA(int32_t n, const double* a, double* y) { abs_body(n, a, y); }
extern "C" void qlmk_sAbs_HA(int32_t n, const float* a, float* y) { abs_body(n, a, y); }
