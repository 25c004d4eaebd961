// InvSqrt: double (LA and EP share a routine, HA apart) and single (three).
//
// Double LA/EP, four elements a turn: the hardware's single-precision
// reciprocal square root estimate seeds the double computation without
// converting the input to single.  The image of x = m*2^(E-1023) is made
// from its bits: shifted right by 29 the top mantissa bits and the lowest
// exponent bit L stand in float position; masked to 24 bits, XORed with
// 0x00800000 and added to 0x3F800000 it is m*2^(1-L), a float in [1, 4) whose
// exponent absorbs the parity of x's.  The estimate's bits, moved to double
// position, get the exponent 512 - ((E + 1) >> 1) added, which makes
// y ~ 1/sqrt(x).  Then e = x*y*y - 1 (|e| < 2^-10.4) and y <- y * (1 - e/2 +
// 3e^2/8 - 5e^3/16 + 35e^4/128), the binomial series to e^4 (truncation
// 2^-54): within 2 ulps.
//
// Double HA: y = 1/sqrt(x), two roundings, then one correction for both,
// formed exactly (two_prod): within 0.51 ulp.
//
// Single: HA computes 1/sqrt in double and rounds once; LA and EP run under
// the x87 control value 0x200 and start from the packed estimate of the float
// input: LA takes two Newton steps in double (about 40 bits), EP one
// (about 21 bits).
//
// The wide lanes take positive normal inputs (the screen of Sqrt).  The
// per-element step: +0 and -0 give +inf and -inf with VXM_STATUS_SING; a
// negative number, -inf included, gives NaN with VXM_STATUS_ERRDOM; +inf
// gives +0; NaN gives NaN; a positive denormal gets 1/sqrt(x) in double.
#include <emmintrin.h>
#include <xmmintrin.h>

#include <bit>
#include <cstdint>
#include <limits>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/power/group_loop.h"
#include "vector/real/power/lanes.h"

namespace {

using namespace qlm::lanes;
using qlm::frame::kernel_frame;

inline bool positive_normal(double x) {
    return static_cast<uint32_t>(std::bit_cast<uint64_t>(x) >> 32) - 0x00100000u < 0x7FE00000u;
}
inline bool positive_normal(float x) { return std::bit_cast<uint32_t>(x) - 0x00800000u < 0x7F000000u; }

inline double hw_sqrt(double x) { return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_set_sd(x), _mm_set_sd(x))); }
inline v2df hw_sqrt(v2df x) { return _mm_sqrt_pd(x); }

// ---- double HA: the rounded root s and the rounded reciprocal y = RN(1/s),
// corrected by both roundings: 1/sqrt(x) = y (1 + e - d) to second order, with
// e = 1 - s*y and d = (x - s^2) / (2 s^2) formed exactly by two_prod.  d is
// formed on x and s scaled by 2^-2k and 2^-k (x's exponent halved), so that
// no square overflows near the top of the range.
template <typename V>
inline V corrected_inverse_sqrt(V x) {
    const V s = hw_sqrt(x);
    const V y = 1.0 / s;
    const ints_of<V> k = (((bits(x) >> 52) & 0x7FF) - 1023) >> 1;
    const V xs = x * from_bits((1023 - 2 * k) << 52);
    const V ss = s * from_bits((1023 - k) << 52);
    const V ys = y * from_bits((1023 + k) << 52);
    V q, qe, p, pe;
    two_prod(s, y, q, qe);
    two_prod(ss, ss, p, pe);
    const V e = (1.0 - q) - qe;
    const V d = ((xs - p) - pe) * (0.5 * ys * ys);
    return y + y * (e - d);
}

template <typename T>
T inv_sqrt_special(T x, int32_t& status) {
    constexpr T inf = std::numeric_limits<T>::infinity();
    if (x != x) return x + x;
    if (x == T(0)) {
        status = VXM_STATUS_SING;
        return std::bit_cast<uint64_t>(static_cast<double>(x)) >> 63 ? -inf : inf;
    }
    if (x < T(0)) {
        status = VXM_STATUS_ERRDOM;
        return std::numeric_limits<T>::quiet_NaN();
    }
    if (x == inf) return T(0);
    if constexpr (sizeof(T) == 8)  // a denormal, scaled into the normal range
        return corrected_inverse_sqrt(x * 0x1p54) * 0x1p27;
    else return static_cast<T>(1.0 / hw_sqrt(static_cast<double>(x)));
}

// ---- double LA/EP: the seeded estimate and its correction, on two pairs.
inline __m128i image_of(__m128i b) {
    const __m128i t = _mm_and_si128(_mm_srli_epi64(b, 29), _mm_set1_epi64x(0x00FFFFFF));
    return _mm_add_epi64(_mm_xor_si128(t, _mm_set1_epi64x(0x00800000)), _mm_set1_epi64x(0x3F800000));
}

// y = estimate * 2^(512 - ((E + 1) >> 1)), the float exponent rebased (+896).
inline __m128d seed_of(__m128i est_bits, __m128i b) {
    const __m128i biased = _mm_and_si128(_mm_srli_epi64(b, 52), _mm_set1_epi64x(0x7FF));
    const __m128i half = _mm_srli_epi64(_mm_add_epi64(biased, _mm_set1_epi64x(1)), 1);
    const __m128i exponent = _mm_slli_epi64(_mm_sub_epi64(_mm_set1_epi64x(896 + 512), half), 52);
    return _mm_castsi128_pd(_mm_add_epi64(_mm_slli_epi64(est_bits, 29), exponent));
}

inline __m128d refine(__m128d x, __m128d y) {
    const v2df r = y, e = v2df(x) * (r * r) - 1.0;
    return r * (1.0 + e * (-0.5 + e * (0.375 + e * (-0.3125 + e * 0x1.18p-2))));
}

inline void seeded_inverse_sqrt(const double* a, double* y) {
    const __m128d x0 = _mm_loadu_pd(a), x1 = _mm_loadu_pd(a + 2);
    const __m128i b0 = _mm_castpd_si128(x0), b1 = _mm_castpd_si128(x1);
    // The four 32-bit images side by side: the low halves of each pair's lanes.
    const __m128 images = _mm_shuffle_ps(_mm_castsi128_ps(image_of(b0)), _mm_castsi128_ps(image_of(b1)),
                                         _MM_SHUFFLE(2, 0, 2, 0));
    const __m128i est = _mm_castps_si128(_mm_rsqrt_ps(images));
    const __m128i zero = _mm_setzero_si128();
    _mm_storeu_pd(y, refine(x0, seed_of(_mm_unpacklo_epi32(est, zero), b0)));
    _mm_storeu_pd(y + 2, refine(x1, seed_of(_mm_unpackhi_epi32(est, zero), b1)));
}

template <typename T, typename Fast, typename One>
void inverse_sqrt_kernel(int32_t n, const T* a, T* y, const char* name, Fast fast4, One one) {
    auto element = [&](int32_t i) {
        if (positive_normal(a[i])) {
            y[i] = one(a[i]);
            return;
        }
        int32_t status = 0;
        y[i] = inv_sqrt_special(a[i], status);
        if (status != 0) qlm::frame::raise_status(status, i, a, a, y, y, name);
    };
    auto fast = [&](int32_t i) {
        if (!(positive_normal(a[i]) & positive_normal(a[i + 1]) & positive_normal(a[i + 2]) &
              positive_normal(a[i + 3])))
            return false;
        fast4(a + i, y + i);
        return true;
    };
    run_groups<4>(n, fast, element);
}

// ---- single LA/EP: the packed estimate of the float input, Newton in double.
template <int Steps>
inline void single_estimate(const float* a, float* y) {
    alignas(16) float est[4];
    _mm_store_ps(est, _mm_rsqrt_ps(_mm_loadu_ps(a)));
    v2df x[2], r[2];
    load_widened(a, x[0], x[1]);
    load_widened(est, r[0], r[1]);
    for (int k = 0; k < 2; ++k)
        for (int s = 0; s < Steps; ++s) r[k] = r[k] * (1.5 - 0.5 * x[k] * (r[k] * r[k]));
    store_narrowed(y, r[0], r[1]);
}

template <int Steps>
inline float single_estimate_one(float x) {
    double r = _mm_cvtss_f32(_mm_rsqrt_ss(_mm_set_ss(x)));
    for (int s = 0; s < Steps; ++s) r = r * (1.5 - 0.5 * x * (r * r));
    return static_cast<float>(r);
}

inline void single_exact(const float* a, float* y) {
    v2df x0, x1;
    load_widened(a, x0, x1);
    store_narrowed(y, 1.0 / hw_sqrt(x0), 1.0 / hw_sqrt(x1));
}

}  // namespace

extern "C" {

void qlmk_dInvSqrt_LA(int32_t n, const double* a, double* y) {
    kernel_frame frame;
    if (n <= 0) return;
    inverse_sqrt_kernel(n, a, y, "vdInvSqrt", seeded_inverse_sqrt, [](double x) {
        // The ragged end and the group recompute run the same seed on one lane.
        double in[4] = {x, 1.0, 1.0, 1.0}, out[4];
        seeded_inverse_sqrt(in, out);
        return out[0];
    });
}

void qlmk_dInvSqrt_HA(int32_t n, const double* a, double* y) {
    kernel_frame frame;
    if (n <= 0) return;
    inverse_sqrt_kernel(
        n, a, y, "vdInvSqrt",
        [](const double* in, double* out) {
            store2(out, corrected_inverse_sqrt(load2(in)));
            store2(out + 2, corrected_inverse_sqrt(load2(in + 2)));
        },
        [](double x) { return corrected_inverse_sqrt(x); });
}

void qlmk_sInvSqrt_HA(int32_t n, const float* a, float* y) {
    kernel_frame frame;
    if (n <= 0) return;
    inverse_sqrt_kernel(n, a, y, "vsInvSqrt", single_exact,
                        [](float x) { return static_cast<float>(1.0 / hw_sqrt(static_cast<double>(x))); });
}
void qlmk_sInvSqrt_LA(int32_t n, const float* a, float* y) {
    kernel_frame frame(qlm::frame::kRoundNearest, qlm::frame::kX87Double);
    if (n <= 0) return;
    inverse_sqrt_kernel(n, a, y, "vsInvSqrt", single_estimate<2>, single_estimate_one<2>);
}
void qlmk_sInvSqrt_EP(int32_t n, const float* a, float* y) {
    kernel_frame frame(qlm::frame::kRoundNearest, qlm::frame::kX87Double);
    if (n <= 0) return;
    inverse_sqrt_kernel(n, a, y, "vsInvSqrt", single_estimate<1>, single_estimate_one<1>);
}

}  // extern "C"
