// Sqrt: double (one routine in all slots) and single (HA, LA, EP).
//
// Double: two elements a turn.  The pair is loaded without an alignment
// demand and its full-width root taken at once; each input's high word is
// screened (subtract 0x80100000, compare signed with 0xFFDFFFFF: at or below
// means a positive normal number).  If both pass both roots are stored;
// otherwise both elements go through the per-element step.  A last odd
// element takes the scalar root and the same screen.  The hardware root is
// correctly rounded.
//
// Single HA: four a turn by the full-width root, screened for positive
// normal inputs.  Single LA and EP start from the packed reciprocal square
// root estimate (12 bits) of the positive normal inputs: one Newton step on
// the reciprocal, in single, gives about 22 bits and x times it the root
// (EP, within 3 ulps); LA adds the correction s + y(x - s^2)/2 (within
// 1 ulp).
//
// Per-element step: a positive number (denormals too) gets the scalar root;
// ±0 gives itself; +inf gives +inf; NaN gives x * 1 (quieted); a negative
// number, -inf included, gives the NaN 0xFFF8000000000000 (0xFFC00000 in
// single) with VXM_STATUS_ERRDOM.  -0 is not negative.
#include <emmintrin.h>
#include <xmmintrin.h>

#include <bit>
#include <cstdint>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"

namespace {

using qlm::frame::kernel_frame;

inline bool positive_normal(double x) {
    const int32_t d = static_cast<int32_t>(static_cast<uint32_t>(std::bit_cast<uint64_t>(x) >> 32) -
                                           0x80100000u);
    return d <= static_cast<int32_t>(0xFFDFFFFF);
}
inline bool positive_normal(float x) { return std::bit_cast<uint32_t>(x) - 0x00800000u < 0x7F000000u; }

inline double hw_sqrt(double x) { return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_set_sd(x), _mm_set_sd(x))); }
inline float hw_sqrt(float x) { return _mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss(x))); }

template <typename T> struct bits_of;
template <> struct bits_of<double> { using type = uint64_t; static constexpr uint64_t nan = 0xFFF8000000000000u, inf = 0x7FF0000000000000u; };
template <> struct bits_of<float> { using type = uint32_t; static constexpr uint32_t nan = 0xFFC00000u, inf = 0x7F800000u; };

// The per-element step, shared by every routine of both types.
template <typename T>
void sqrt_element(int32_t i, const T* a, T* y, const char* name) {
    const T x = a[i];
    using B = bits_of<T>;
    const auto u = std::bit_cast<typename B::type>(x);
    if (x != x) {
        y[i] = x * T(1);
    } else if (x == T(0)) {
        y[i] = x;
    } else if (u == B::inf) {
        y[i] = std::bit_cast<T>(B::inf);
    } else if (x < T(0)) {
        y[i] = std::bit_cast<T>(B::nan);
        qlm::frame::raise_status(VXM_STATUS_ERRDOM, i, a, a, y, y, name);
    } else {
        y[i] = hw_sqrt(x);
    }
}

// The single LA and EP root from the reciprocal estimate.
template <bool Corrected>
inline __m128 estimated_sqrt(__m128 x) {
    const __m128 half = _mm_set1_ps(0.5f), three_halves = _mm_set1_ps(1.5f);
    __m128 r = _mm_rsqrt_ps(x);
    r = _mm_mul_ps(r, _mm_sub_ps(three_halves, _mm_mul_ps(_mm_mul_ps(half, x), _mm_mul_ps(r, r))));
    __m128 s = _mm_mul_ps(x, r);
    if constexpr (Corrected)
        s = _mm_add_ps(s, _mm_mul_ps(_mm_mul_ps(half, r), _mm_sub_ps(x, _mm_mul_ps(s, s))));
    return s;
}

enum class single_method { hardware, estimate, corrected };

template <single_method Method>
inline __m128 single_root(__m128 x) {
    if constexpr (Method == single_method::hardware) return _mm_sqrt_ps(x);
    else return estimated_sqrt<Method == single_method::corrected>(x);
}

template <single_method Method>
void single_sqrt(int32_t n, const float* a, float* y, const char* name) {
    int32_t i = 0;
    for (; n - i >= 4; i += 4) {
        if (positive_normal(a[i]) & positive_normal(a[i + 1]) & positive_normal(a[i + 2]) &
            positive_normal(a[i + 3])) {
            _mm_storeu_ps(y + i, single_root<Method>(_mm_loadu_ps(a + i)));
        } else {
            for (int32_t j = i; j < i + 4; ++j) {
                if (positive_normal(a[j])) y[j] = _mm_cvtss_f32(single_root<Method>(_mm_set_ss(a[j])));
                else sqrt_element(j, a, y, name);
            }
        }
    }
    for (; i < n; ++i) {
        if (positive_normal(a[i])) y[i] = _mm_cvtss_f32(single_root<Method>(_mm_set_ss(a[i])));
        else sqrt_element(i, a, y, name);
    }
}

}  // namespace

extern "C" {

void qlmk_dSqrt_HA(int32_t n, const double* a, double* y) {
    kernel_frame frame;
    int32_t i = 0;
    for (; n - i >= 2; i += 2) {
        const __m128d r = _mm_sqrt_pd(_mm_loadu_pd(a + i));
        if (positive_normal(a[i]) & positive_normal(a[i + 1])) {
            _mm_storeu_pd(y + i, r);
        } else {
            sqrt_element(i, a, y, "vdSqrt");
            sqrt_element(i + 1, a, y, "vdSqrt");
        }
    }
    if (i < n) {
        if (positive_normal(a[i])) y[i] = hw_sqrt(a[i]);
        else sqrt_element(i, a, y, "vdSqrt");
    }
}

void qlmk_sSqrt_HA(int32_t n, const float* a, float* y) {
    kernel_frame frame;
    single_sqrt<single_method::hardware>(n, a, y, "vsSqrt");
}
void qlmk_sSqrt_LA(int32_t n, const float* a, float* y) {
    kernel_frame frame;
    single_sqrt<single_method::corrected>(n, a, y, "vsSqrt");
}
void qlmk_sSqrt_EP(int32_t n, const float* a, float* y) {
    kernel_frame frame;
    single_sqrt<single_method::estimate>(n, a, y, "vsSqrt");
}

}  // extern "C"
