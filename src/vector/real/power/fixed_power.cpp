// Cbrt, InvCbrt, Pow2o3 and Pow3o2: x raised to a fixed rational power, in
// double and single, every slot.
//
// Methods (pow_core.h for the first two):
//   pair    |x|^p = exp(p * log|x|) with log|x| and p as double pairs: within
//           0.52 ulp in double (the HA routines of double).
//   plain   the plain core, more than 40 bits: the single HA routines (the
//           one rounding to single dominates) and the double EP routines of
//           Pow2o3 and Pow3o2.
//   direct  the cube root by a degree-3 fit on [1, 8) (6 bits, Chebyshev
//           nodes) and two Halley steps, y <- y (y^3 + 2z) / (2y^3 + z),
//           6 -> 18 -> 54 bits, the last in additive form, after splitting
//           off the exponent modulo 3;
//           InvCbrt as its reciprocal, Pow2o3 as its square; Pow3o2 as
//           x * sqrt(x).  Within 2.5 ulps in double: double Pow2o3 LA and
//           Pow3o2 LA, and the single LA and EP routines but Cbrt LA.
//   la      the cube root of cbrt_la_lanes.h: a 192-row table and a short
//           polynomial for (1 + r)^(1/3) in packed SSE arithmetic, within
//           1.25 ulp in double Cbrt LA/EP (one routine).  Single Cbrt LA runs
//           the float lanes of cbrt_single_lanes.h on the same table
//           without its tails, eight elements a turn, within 1.32 ulps.
// Four elements a turn in two pairs; the wide lane takes |x| finite and
// nonzero (normal in double), and for Pow3o2 positive x whose result is
// normal.  The per-element step: NaN gives NaN; ±0 gives ±0 (Cbrt), +0
// (Pow2o3, Pow3o2) or ±inf with VXM_STATUS_SING (InvCbrt); ±inf gives ±inf,
// +inf or ±0; negative x in Pow3o2 gives NaN with VXM_STATUS_ERRDOM (-0 is
// not negative); a finite result too large gives inf with
// VXM_STATUS_OVERFLOW.  Cbrt and InvCbrt are odd, Pow2o3 even.
#include <smmintrin.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/power/cbrt_la_lanes.h"
#include "vector/real/power/cbrt_single_lanes.h"
#include "vector/real/power/group_loop.h"
#include "vector/real/power/pow_core.h"

namespace {

using namespace qlm::lanes;
namespace pw = qlm::power;
using qlm::frame::kernel_frame;

constexpr double kInf = std::numeric_limits<double>::infinity();

enum class method { pair, plain, direct };
enum class parity { odd, even, positive };

inline double sqrt_lane(double x) { return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_set_sd(x), _mm_set_sd(x))); }
inline v2df sqrt_lane(v2df x) { return _mm_sqrt_pd(x); }
inline double floor_lane(double x) { return _mm_cvtsd_f64(_mm_floor_sd(_mm_set_sd(x), _mm_set_sd(x))); }
inline v2df floor_lane(v2df x) { return _mm_floor_pd(x); }

// Cube root of z positive and normal, by the fit and two Halley steps.
template <typename V>
inline V cube_root(V z) {
    const ints_of<V> b = bits(z);
    const ints_of<V> e = ((b >> 52) & 0x7FF) - 1023;
    // q = floor(e/3) in double: e/3 rounds just below an integer when 3
    // divides e, which the 2^-20 lifts back; no integer division in SSE.
    const V qf = floor_lane(pw::to_double<V>(e) * 0x1.5555555555555p-2 + 0x1p-20);
    const ints_of<V> q = bits(qf + pw::kShifter) - bits(splat<V>(pw::kShifter));
    const ints_of<V> s = e - (q + q + q);  // 0, 1 or 2
    const V m = from_bits((b & 0xFFFFFFFFFFFFF) | ((1023 + s) << 52));  // [1, 8)
    V y = 0x1.6ef7d7cd66d80p-1 +
          m * (0x1.50ba80e69b758p-2 + m * (-0x1.16bdce74d65fap-5 + m * 0x1.aaa35d014647bp-10));
    V y3 = y * y * y;
    y = y * (y3 + 2.0 * m) / (2.0 * y3 + m);
    // The last step in additive form: its correction is 2^-18 of y, so its
    // own roundings vanish and the residual m - y^3 sets the error.
    y3 = y * y * y;
    y = y + y * (m - y3) / (2.0 * y3 + m);
    return from_bits(bits(y) + (q << 52));
}

struct cbrt_spec {
    static constexpr double hi = 0x1.5555555555555p-2, lo = 0x1.5555555555555p-56;  // 1/3
    static constexpr parity kind = parity::odd;
    static constexpr bool pole = false;
    template <typename V> static V direct(V ax) { return cube_root(ax); }
};
struct inv_cbrt_spec {
    static constexpr double hi = -0x1.5555555555555p-2, lo = -0x1.5555555555555p-56;
    static constexpr parity kind = parity::odd;
    static constexpr bool pole = true;
    template <typename V> static V direct(V ax) { return 1.0 / cube_root(ax); }
};
struct pow2o3_spec {
    static constexpr double hi = 0x1.5555555555555p-1, lo = 0x1.5555555555555p-55;  // 2/3
    static constexpr parity kind = parity::even;
    static constexpr bool pole = false;
    template <typename V> static V direct(V ax) {
        const V c = cube_root(ax);
        return c * c;
    }
};
struct pow3o2_spec {
    static constexpr double hi = 1.5, lo = 0.0;
    static constexpr parity kind = parity::positive;
    static constexpr bool pole = false;
    template <typename V> static V direct(V ax) { return ax * sqrt_lane(ax); }
};

// The wide lane's domain, one element.
template <typename Exponent>
inline bool in_window(double x) {
    if constexpr (Exponent::kind == parity::positive)  // the result stays normal: 2^-680 < x < 2^681
        return static_cast<uint32_t>(bits(x) >> 32) - 0x15700000u < 0x55000000u;
    else return high_word(x) - 0x00100000u < 0x7FE00000u;
}
template <typename Exponent>
inline bool in_window(float x) {
    const uint32_t u = std::bit_cast<uint32_t>(x);
    if constexpr (Exponent::kind == parity::positive) return u - 1u < 0x6A000000u - 1u;  // below 2^85
    else return abs_bits(x) - 1u < 0x7F7FFFFFu;
}

template <typename Exponent, method Method, typename V>
inline V power_lane(V x) {
    const V ax = abs(x);
    V v;
    if constexpr (Method == method::pair) {
        V lh, ll, th, tl;
        pw::log_pair(ax, lh, ll);
        pw::scale_pair(splat<V>(Exponent::hi), splat<V>(Exponent::lo), lh, ll, th, tl);
        v = pw::exp_pair(th, tl);
    } else if constexpr (Method == method::plain) {
        v = pw::exp_plain(pw::log_plain(ax) * (Exponent::hi + Exponent::lo));
    } else {
        v = Exponent::template direct<V>(ax);
    }
    if constexpr (Exponent::kind == parity::odd) v = from_bits(bits(v) | (bits(x) & INT64_MIN));
    return v;
}

template <typename Exponent>
double power_special(double x, int32_t& status) {
    if (x != x) return x + x;
    if (Exponent::kind == parity::positive && x < 0.0) {
        status = VXM_STATUS_ERRDOM;
        return from_bits(static_cast<int64_t>(0xFFF8000000000000));
    }
    const bool odd = Exponent::kind == parity::odd;
    const double ax = abs(x);
    if (ax == 0.0) {
        if (!Exponent::pole) return odd ? x : 0.0;
        status = VXM_STATUS_SING;
        return odd ? std::copysign(kInf, x) : kInf;
    }
    if (ax == kInf) {
        const double v = Exponent::hi > 0 ? kInf : 0.0;
        return odd ? std::copysign(v, x) : v;
    }
    double lh, ll, th, tl;
    pw::log_pair_any(ax, lh, ll);
    pw::scale_pair(Exponent::hi, Exponent::lo, lh, ll, th, tl);
    const double v = pw::exp_pair_any(th, tl);
    return odd ? std::copysign(v, x) : v;
}

template <typename Exponent, method Method, typename T>
void power_kernel(int32_t n, const T* a, T* y, const char* name) {
    auto element = [&](int32_t i) {
        const T x = a[i];
        if (in_window<Exponent>(x)) {
            y[i] = static_cast<T>(power_lane<Exponent, Method>(static_cast<double>(x)));
            return;
        }
        int32_t status = 0;
        const T r = static_cast<T>(power_special<Exponent>(x, status));
        if (status == 0 && std::isinf(r) && std::isfinite(x)) status = VXM_STATUS_OVERFLOW;
        y[i] = r;
        if (status != 0) qlm::frame::raise_status(status, i, a, a, y, y, name);
    };
    auto fast = [&](int32_t i) {
        if (!(in_window<Exponent>(a[i]) & in_window<Exponent>(a[i + 1]) & in_window<Exponent>(a[i + 2]) &
              in_window<Exponent>(a[i + 3])))
            return false;
        v2df x0, x1;
        load_pairs(a + i, x0, x1);
        store_pairs(y + i, power_lane<Exponent, Method>(x0), power_lane<Exponent, Method>(x1));
        return true;
    };
    run_groups<4>(n, fast, element);
}

// Double Cbrt LA: the packed lanes of cbrt_la_lanes.h, four elements a turn
// in two pairs.  The fast lane takes normal finite nonzero x; a group with
// any other input is recomputed element by element, its ordinary lanes by
// the same arithmetic on one lane, the others through the per-element step.
inline bool la_window(double x) { return high_word(x) - 0x00100000u < 0x7FE00000u; }
inline bool la_window(float x) { return abs_bits(x) - 0x00800000u < 0x7F000000u; }

void cbrt_double_la_kernel(int32_t n, const double* a, double* y) {
    namespace la = qlm::power::la;
    auto element = [&](int32_t i) {
        const double x = a[i];
        if (la_window(x)) {
            y[i] = la::cube_root(x);
            return;
        }
        int32_t status = 0;  // stays 0: the cube root has no status
        y[i] = power_special<cbrt_spec>(x, status);
    };
    auto fast = [&](int32_t i) {
        const __m128d x0 = _mm_loadu_pd(a + i), x1 = _mm_loadu_pd(a + i + 2);
        const __m128i high = la::high_words(x0, x1);
        if (!la::all_normal(high)) return false;
        __m128d y0, y1;
        la::cube_roots(x0, x1, high, y0, y1);
        _mm_storeu_pd(y + i, y0);
        _mm_storeu_pd(y + i + 2, y1);
        return true;
    };
    run_groups<4>(n, fast, element);
}

// Single Cbrt LA: the float lanes of cbrt_single_lanes.h, eight elements
// a turn in two fours; a group with an element that is zero, denormal, not
// finite is recomputed element by element, its ordinary elements by the
// same arithmetic on one lane, the others through the per-element step.
void cbrt_single_la_kernel(int32_t n, const float* a, float* y) {
    namespace sl = qlm::power::single_la;
    auto element = [&](int32_t i) {
        const float x = a[i];
        const __m128 v = _mm_set_ss(x);
        if (la_window(x)) {
            _mm_store_ss(y + i, sl::cube_root(v));
            return;
        }
        int32_t status = 0;  // stays 0: the cube root has no status
        y[i] = static_cast<float>(power_special<cbrt_spec>(x, status));
    };
    int32_t i = 0;
    for (; n - i >= 8; i += 8) {
        const __m128 x0 = _mm_loadu_ps(a + i), x1 = _mm_loadu_ps(a + i + 4);
        if (sl::all_normal(x0, x1)) {
            const __m128 y0 = sl::cube_root(x0), y1 = sl::cube_root(x1);
            _mm_storeu_ps(y + i, y0);
            _mm_storeu_ps(y + i + 4, y1);
            continue;
        }
        for (int32_t k = 0; k < 8; ++k) element(i + k);
    }
    for (; i < n; ++i) element(i);
}

}  // namespace

#define QLM_FIXED_POWER(routine, exponent, method_, type, name, x87)                     \
    extern "C" void routine(int32_t n, const type* a, type* y) {                     \
        kernel_frame frame(qlm::frame::kRoundNearest, x87);                           \
        if (n > 0) power_kernel<exponent, method::method_>(n, a, y, name);               \
    }

using qlm::frame::kX87None;

// Double.
QLM_FIXED_POWER(qlmk_dCbrt_HA, cbrt_spec, pair, double, "vdCbrt", kX87None)
extern "C" void qlmk_dCbrt_LA(int32_t n, const double* a, double* y) {
    kernel_frame frame;
    if (n > 0) cbrt_double_la_kernel(n, a, y);
}
QLM_FIXED_POWER(qlmk_dInvCbrt_HA, inv_cbrt_spec, pair, double, "vdInvCbrt", kX87None)
QLM_FIXED_POWER(qlmk_dPow2o3_HA, pow2o3_spec, pair, double, "vdPow2o3", kX87None)
QLM_FIXED_POWER(qlmk_dPow2o3_LA, pow2o3_spec, direct, double, "vdPow2o3", kX87None)
QLM_FIXED_POWER(qlmk_dPow2o3_EP, pow2o3_spec, plain, double, "vdPow2o3", kX87None)
QLM_FIXED_POWER(qlmk_dPow3o2_HA, pow3o2_spec, pair, double, "vdPow3o2", kX87None)
QLM_FIXED_POWER(qlmk_dPow3o2_LA, pow3o2_spec, direct, double, "vdPow3o2", kX87None)
QLM_FIXED_POWER(qlmk_dPow3o2_EP, pow3o2_spec, plain, double, "vdPow3o2", kX87None)

// Single: HA by the plain core, Cbrt LA by its float lanes, the other LA and
// the EP routines by the direct method.
QLM_FIXED_POWER(qlmk_sCbrt_HA, cbrt_spec, plain, float, "vsCbrt", kX87None)
extern "C" void qlmk_sCbrt_LA(int32_t n, const float* a, float* y) {
    kernel_frame frame;
    if (n > 0) cbrt_single_la_kernel(n, a, y);
}
QLM_FIXED_POWER(qlmk_sCbrt_EP, cbrt_spec, direct, float, "vsCbrt", kX87None)
QLM_FIXED_POWER(qlmk_sInvCbrt_HA, inv_cbrt_spec, plain, float, "vsInvCbrt", kX87None)
QLM_FIXED_POWER(qlmk_sInvCbrt_LA, inv_cbrt_spec, direct, float, "vsInvCbrt", kX87None)
QLM_FIXED_POWER(qlmk_sInvCbrt_EP, inv_cbrt_spec, direct, float, "vsInvCbrt", kX87None)
QLM_FIXED_POWER(qlmk_sPow2o3_HA, pow2o3_spec, plain, float, "vsPow2o3", kX87None)
QLM_FIXED_POWER(qlmk_sPow2o3_LA, pow2o3_spec, direct, float, "vsPow2o3", kX87None)
QLM_FIXED_POWER(qlmk_sPow2o3_EP, pow2o3_spec, direct, float, "vsPow2o3", kX87None)
QLM_FIXED_POWER(qlmk_sPow3o2_HA, pow3o2_spec, plain, float, "vsPow3o2", kX87None)
QLM_FIXED_POWER(qlmk_sPow3o2_LA, pow3o2_spec, direct, float, "vsPow3o2", kX87None)
QLM_FIXED_POWER(qlmk_sPow3o2_EP, pow3o2_spec, direct, float, "vsPow3o2", kX87None)
