// Pow and Powx, double and single, every slot.
//
// Method: x^y = exp(y * log x) through the power core (pow_core.h).  The
// double HA and LA slots use the pair core (log as a double pair, y*log x as
// a pair, exp of the pair), within 0.52 ulp: the absolute error of y*log x is
// the result's relative error, so a plain log does not keep 4 ulps once
// y*log x is large.  The double EP slots use the plain core (more than 40
// bits).  Every single slot uses the lanes of pow_single_lanes.h, 2^(y log2 x)
// in double arithmetic from short tables, eight elements a turn, rounded
// once (within 0.5 + 2^-5 ulp); its per-element step is the plain core's.
//
// Double: four elements a turn in two pairs.  The group stays on the wide lane when
// every x is a positive finite number (positive normal in double) and every
// y finite (|y| < 2^993 in double, so that its splitting cannot overflow),
// and when every |y log x| is below 708, so that the result
// is a normal number; otherwise each element is recomputed through the
// per-element step:
//   y = 0 or x = 1: 1, also for NaN; other NaN: NaN
//   |y| = inf: 1 for |x| = 1, else +inf or +0 by whether |x| < 1 and y < 0 agree
//   x = ±0, y < 0: ±inf (sign kept for odd integer y), VXM_STATUS_SING
//   x = ±0, y > 0: ±0 likewise; x = ±inf: inf or 0 with the odd-integer sign
//   x < 0: y not an integer gives NaN with VXM_STATUS_ERRDOM, else ±|x|^y
//   a finite result too large for the type: inf, VXM_STATUS_OVERFLOW
//   results below the normal range underflow gradually without a status.
// Powx takes its exponent as a scalar; an element that raises a status is
// reported with the base vector in both argument places.
#include <smmintrin.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/power/group_loop.h"
#include "vector/real/power/pow_core.h"
#include "vector/real/power/pow_single_lanes.h"

namespace {

using namespace qlm::lanes;
namespace pw = qlm::power;
using qlm::frame::kernel_frame;

// pair: the accurate pair core; light: the lighter pair core of pow_la (the
// double LA slots; its per-element step takes the pair core); plain: the
// plain core.
enum class core { pair, light, plain };

constexpr double kInf = std::numeric_limits<double>::infinity();

// 0: not an integer, 1: odd integer, 2: even integer (y finite).
inline int integer_kind(double y) {
    if (!(abs(y) < 0x1p53)) return 2;
    const double t = std::trunc(y);
    if (t != y) return 0;
    return (static_cast<int64_t>(t) & 1) ? 1 : 2;
}

// |x|^y for x positive and finite, any finite y, on one element.
template <core Core>
inline double positive_power(double x, double y) {
    if constexpr (Core != core::plain) {
        double lh, ll, th, tl;
        pw::log_pair_any(x, lh, ll);
        const double t = y * lh;
        if (!(abs(t) < 800.0)) return pw::exp_pair_any(t, 0.0);  // certain overflow or underflow
        pw::scale_pair(y, 0.0, lh, ll, th, tl);
        return pw::exp_pair_any(th, tl);
    } else {
        const double l = x < 0x1p-1022 ? pw::log_plain(x * 0x1p64) - 64 * 0x1.62e42fefa39efp-1
                                       : pw::log_plain(x);
        const double t = y * l;
        return abs(t) < 708.0 ? pw::exp_plain(t) : pw::exp_pair_any(t, 0.0);
    }
}

// The per-element step in double; the status, if any, in `status`.
template <core Core>
double pow_special(double x, double y, int32_t& status) {
    if (y == 0.0 || x == 1.0) return 1.0;
    if (x != x || y != y) return x + y;
    const double ax = abs(x);
    if (abs(y) == kInf) {
        if (ax == 1.0) return 1.0;
        return (ax < 1.0) == (y < 0.0) ? kInf : 0.0;
    }
    const int kind = integer_kind(y);
    if (x == 0.0) {
        if (y < 0.0) {
            status = VXM_STATUS_SING;
            return kind == 1 ? std::copysign(kInf, x) : kInf;
        }
        return kind == 1 ? x : 0.0;
    }
    if (ax == kInf) {
        const double v = y < 0.0 ? 0.0 : kInf;
        return x < 0.0 && kind == 1 ? -v : v;
    }
    if (x < 0.0 && kind == 0) {
        status = VXM_STATUS_ERRDOM;
        return from_bits(static_cast<int64_t>(0xFFF8000000000000));
    }
    const double v = positive_power<Core>(ax, y);
    return x < 0.0 && kind == 1 ? -v : v;
}

// Forced inline: a call would pass th through memory.
template <core Core, typename V>
[[gnu::always_inline]] inline V pow_lane(V x, V y, V& th) {
    if constexpr (Core == core::pair) {
        V lh, ll, tl;
        pw::log_pair(x, lh, ll);
        pw::scale_pair(y, splat<V>(0.0), lh, ll, th, tl);
        return pw::exp_pair(th, tl);
    } else if constexpr (Core == core::light) {
        return pw::pow_la(x, y, th);
    } else {
        th = y * pw::log_plain(x);
        return pw::exp_plain(th);
    }
}

// The wide lane's domain, one element.
inline bool in_window(double x, double y) {
    const uint32_t hx = static_cast<uint32_t>(bits(x) >> 32);
    return (hx - 0x00100000u < 0x7FE00000u) & (high_word(y) < 0x7E000000u);
}
inline bool in_window(float x, float y) {
    return (std::bit_cast<uint32_t>(x) - 1u < 0x7F7FFFFFu) & (abs_bits(y) < 0x7F800000u);
}
// The same test for four doubles at once, on their high words in 32-bit
// lanes (unsigned comparisons by the sign-bit bias): one branch a group.
inline bool in_window(v2df x0, v2df x1, v2df y0, v2df y1) {
    auto high = [](v2df p, v2df q) {
        return _mm_castps_si128(_mm_shuffle_ps(_mm_castpd_ps(p), _mm_castpd_ps(q), _MM_SHUFFLE(3, 1, 3, 1)));
    };
    const __m128i bias = _mm_set1_epi32(INT32_MIN);
    const __m128i hx = _mm_xor_si128(_mm_sub_epi32(high(x0, x1), _mm_set1_epi32(0x00100000)), bias);
    const __m128i hy = _mm_and_si128(high(y0, y1), _mm_set1_epi32(INT32_MAX));
    const __m128i ok = _mm_and_si128(_mm_cmplt_epi32(hx, _mm_set1_epi32(static_cast<int32_t>(0x7FE00000u ^ 0x80000000u))),
                                     _mm_cmplt_epi32(hy, _mm_set1_epi32(0x7E000000)));
    return _mm_movemask_ps(_mm_castsi128_ps(ok)) == 0xF;
}
template <typename T> constexpr double kExponentLimit = sizeof(T) == 8 ? 708.0 : 87.0;

// b_at(i) gives the exponent of element i: b[i] for Pow, the scalar for Powx.
template <core Core, typename T, typename Exponent>
void pow_kernel(int32_t n, const T* a, const T* b2, Exponent b_at, T* y, const char* name) {
    auto element = [&](int32_t i) {
        const T x = a[i], e = b_at(i);
        if (in_window(x, e)) {
            double th;
            const double v = pow_lane<Core>(static_cast<double>(x), static_cast<double>(e), th);
            if (abs(th) < kExponentLimit<T>) {
                y[i] = static_cast<T>(v);
                return;
            }
        }
        int32_t status = 0;
        const T r = static_cast<T>(pow_special<Core>(x, e, status));
        if (status == 0 && std::isinf(r) && std::isfinite(x) && std::isfinite(e))
            status = VXM_STATUS_OVERFLOW;
        y[i] = r;
        if (status != 0) qlm::frame::raise_status(status, i, a, b2, y, y, name);
    };
    auto fast = [&](int32_t i) {
        v2df x0, x1, t0, t1;
        load_pairs(a + i, x0, x1);
        // Built lane by lane from b_at, not through an array on the stack,
        // whose two 8-byte stores could not forward to one 16-byte load.
        const v2df e0 = {static_cast<double>(b_at(i)), static_cast<double>(b_at(i + 1))};
        const v2df e1 = {static_cast<double>(b_at(i + 2)), static_cast<double>(b_at(i + 3))};
        if constexpr (sizeof(T) == 8) {
            if (!in_window(x0, x1, e0, e1)) return false;
        } else if (!(in_window(a[i], b_at(i)) & in_window(a[i + 1], b_at(i + 1)) &
                     in_window(a[i + 2], b_at(i + 2)) & in_window(a[i + 3], b_at(i + 3)))) {
            return false;
        }
        const v2df r0 = pow_lane<Core>(x0, e0, t0), r1 = pow_lane<Core>(x1, e1, t1);
        const v2di ok = (abs(t0) < kExponentLimit<T>) & (abs(t1) < kExponentLimit<T>);
        if (_mm_movemask_pd(reinterpret_cast<__m128d>(ok)) != 3) return false;
        store_pairs(y + i, r0, r1);
        return true;
    };
    run_groups<4>(n, fast, element);
}

template <core Core, typename T>
void pow_vectors(int32_t n, const T* a, const T* b, T* y, const char* name) {
    pow_kernel<Core>(n, a, b, [b](int32_t i) { return b[i]; }, y, name);
}
template <core Core, typename T>
void pow_scalar(int32_t n, const T* a, T b, T* y, const char* name) {
    pow_kernel<Core>(n, a, a, [b](int32_t) { return b; }, y, name);
}

// Single Pow and Powx: the float lanes of pow_single_lanes.h, eight
// elements a turn in two fours.  A group with an element outside the
// window (x not a positive normal float, y not finite) or with |y log2 x|
// at or beyond 126 is recomputed element by element: an element inside
// both runs the same lanes alone, the others take the per-element step of
// the plain core (specials, statuses, overflow and gradual underflow).
template <bool ScalarExponent>
void pow_single(int32_t n, const float* a, const float* b, float b_scalar, float* y, const char* name) {
    namespace sl = pw::single_lanes;
    auto exponents = [&](int32_t i) {
        if constexpr (ScalarExponent) return _mm_set1_ps(b_scalar);
        else return _mm_loadu_ps(b + i);
    };
    auto element = [&](int32_t i) {
        const float x = a[i], e = ScalarExponent ? b_scalar : b[i];
        const __m128 xv = _mm_set1_ps(x), ev = _mm_set1_ps(e);
        if (sl::in_window(xv, ev)) {
            __m128d t_lo, t_hi, ok = sl::all_true();
            sl::log_stage(xv, ev, t_lo, t_hi, ok);
            if (sl::all_set(ok)) {
                _mm_store_ss(y + i, sl::exp_stage(t_lo, t_hi));
                return;
            }
        }
        int32_t status = 0;
        const float r = static_cast<float>(pow_special<core::plain>(x, e, status));
        if (status == 0 && std::isinf(r) && std::isfinite(x) && std::isfinite(e)) status = VXM_STATUS_OVERFLOW;
        y[i] = r;
        if (status != 0) qlm::frame::raise_status(status, i, a, ScalarExponent ? a : b, y, y, name);
    };
    int32_t i = 0;
    for (; n - i >= 8; i += 8) {
        const __m128 x0 = _mm_loadu_ps(a + i), x1 = _mm_loadu_ps(a + i + 4);
        const __m128 e0 = exponents(i), e1 = exponents(i + 4);
        if (sl::in_window(x0, e0) && sl::in_window(x1, e1)) {
            __m128d t0, t1, t2, t3, ok = sl::all_true();
            sl::log_stage(x0, e0, t0, t1, ok);
            sl::log_stage(x1, e1, t2, t3, ok);
            if (sl::all_set(ok)) {
                const __m128 v0 = sl::exp_stage(t0, t1), v1 = sl::exp_stage(t2, t3);
                _mm_storeu_ps(y + i, v0);
                _mm_storeu_ps(y + i + 4, v1);
                continue;
            }
        }
        for (int32_t k = 0; k < 8; ++k) element(i + k);
    }
    for (; i < n; ++i) element(i);
}

}  // namespace

extern "C" {

void qlmk_dPow_HA(int32_t n, const double* a, const double* b, double* y) {
    kernel_frame frame;
    if (n > 0) pow_vectors<core::pair>(n, a, b, y, "vdPow");
}
void qlmk_dPow_LA(int32_t n, const double* a, const double* b, double* y) {
    kernel_frame frame;
    if (n > 0) pow_vectors<core::light>(n, a, b, y, "vdPow");
}
void qlmk_dPow_EP(int32_t n, const double* a, const double* b, double* y) {
    kernel_frame frame;
    if (n > 0) pow_vectors<core::plain>(n, a, b, y, "vdPow");
}
void qlmk_dPowx_HA(int32_t n, const double* a, double b, double* y) {
    kernel_frame frame;
    if (n > 0) pow_scalar<core::pair>(n, a, b, y, "vdPowx");
}
void qlmk_dPowx_LA(int32_t n, const double* a, double b, double* y) {
    kernel_frame frame;
    if (n > 0) pow_scalar<core::light>(n, a, b, y, "vdPowx");
}
void qlmk_dPowx_EP(int32_t n, const double* a, double b, double* y) {
    kernel_frame frame;
    if (n > 0) pow_scalar<core::plain>(n, a, b, y, "vdPowx");
}

// Single LA and HA share one routine; both run under the x87 control value
// 0x200 that the single Pow and Powx routines of those slots keep.  The
// float lanes serve them (within 0.5 + 2^-8 ulp) and EP alike: nothing
// cheaper keeps even EP's 11 bits over the whole exponent range, since the
// absolute error of y log2 x is the result's relative error.  The per-element
// step's plain core is within 0.5 + 2^-21 ulp.
void qlmk_sPow_LA(int32_t n, const float* a, const float* b, float* y) {
    kernel_frame frame(qlm::frame::kRoundNearest, qlm::frame::kX87Double);
    if (n > 0) pow_single<false>(n, a, b, 0.0f, y, "vsPow");
}
void qlmk_sPow_EP(int32_t n, const float* a, const float* b, float* y) {
    kernel_frame frame;
    if (n > 0) pow_single<false>(n, a, b, 0.0f, y, "vsPow");
}
void qlmk_sPowx_LA(int32_t n, const float* a, float b, float* y) {
    kernel_frame frame(qlm::frame::kRoundNearest, qlm::frame::kX87Double);
    if (n > 0) pow_single<true>(n, a, nullptr, b, y, "vsPowx");
}
void qlmk_sPowx_EP(int32_t n, const float* a, float b, float* y) {
    kernel_frame frame;
    if (n > 0) pow_single<true>(n, a, nullptr, b, y, "vsPowx");
}

}  // extern "C"
