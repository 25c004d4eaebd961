// Double reciprocal, LA and EP slots: one two-lane division shared by
// eight elements.
//
// Method: with the pairs x0x1, x2x3, x4x5, x6x7 held as registers A, B, C,
// D, form p = A·B and q = C·D, then pq = p·q, and take w = 1/pq, the one
// division, in both lanes.  Then 1/p = q·w and 1/q = p·w, and the
// reciprocals are B·(1/p) for A's elements, A·(1/p) for B's, D·(1/q) for
// C's and C·(1/q) for D's.  Error: six roundings in double, at most about
// 3 ulp, in practice below 2.
// Screen: every element's high word without sign must be at least
// 0x2FF6A09F (|x| about 2^-255.5) and below 0x4FEFFFFF (about 2^255), so
// that a product of four stays far from overflow and underflow.  A group
// that fails goes element by element through the plain division, which
// reports a zero as VXM_STATUS_SING; infinities, NaN, denormals and huge or
// tiny values take that path without a status.  Groups of eight run while
// eight remain; the rest runs the plain division.
#include <emmintrin.h>

#include <cstdint>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"

namespace {

constexpr int32_t kLow = 0x2FF6A09F;
constexpr int32_t kHigh = 0x4FEFFFFF;

void plain_reciprocal(int32_t i, const double* a, double* y) {
    const double x = a[i];
    y[i] = 1.0 / x;
    if (x == 0) qlm::frame::raise_status_d(VXM_STATUS_SING, i, a, a, y, y, "vdInv");
}

// All lanes' |high word| - kLow in [0, kHigh - kLow): one signed test each
// way on the four high words of two registers.
bool in_range(__m128d u, __m128d v) {
    const __m128i high = _mm_castps_si128(
        _mm_shuffle_ps(_mm_castpd_ps(u), _mm_castpd_ps(v), _MM_SHUFFLE(3, 1, 3, 1)));
    const __m128i d = _mm_sub_epi32(_mm_and_si128(high, _mm_set1_epi32(0x7FFFFFFF)), _mm_set1_epi32(kLow));
    const __m128i ok = _mm_and_si128(_mm_cmpgt_epi32(_mm_set1_epi32(kHigh - kLow), d),
                                     _mm_cmpgt_epi32(d, _mm_set1_epi32(-1)));
    return _mm_movemask_epi8(ok) == 0xFFFF;
}

}  // namespace

extern "C" void qlmk_dInv_LA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    if (n <= 0) return;
    int32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m128d A = _mm_loadu_pd(a + i), B = _mm_loadu_pd(a + i + 2);
        const __m128d C = _mm_loadu_pd(a + i + 4), D = _mm_loadu_pd(a + i + 6);
        if (!(in_range(A, B) && in_range(C, D))) {
            for (int32_t j = i; j < i + 8; ++j) plain_reciprocal(j, a, y);
            continue;
        }
        const __m128d p = _mm_mul_pd(A, B), q = _mm_mul_pd(C, D);
        const __m128d w = _mm_div_pd(_mm_set1_pd(1.0), _mm_mul_pd(p, q));
        const __m128d inv_p = _mm_mul_pd(q, w), inv_q = _mm_mul_pd(p, w);
        _mm_storeu_pd(y + i, _mm_mul_pd(B, inv_p));
        _mm_storeu_pd(y + i + 2, _mm_mul_pd(A, inv_p));
        _mm_storeu_pd(y + i + 4, _mm_mul_pd(D, inv_q));
        _mm_storeu_pd(y + i + 6, _mm_mul_pd(C, inv_q));
    }
    for (; i < n; ++i) plain_reciprocal(i, a, y);
}
