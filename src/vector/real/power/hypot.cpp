// Hypot, sqrt(a^2 + b^2), double and single, every slot.
//
// Double HA: one element at a time on the x87 unit under the
// extended-precision control value 0x300: the squares and their sum keep 64
// bits and the extended exponent range, so nothing overflows or underflows
// before the root, and the one rounding to double dominates (within
// 0.51 ulp).
// Double LA and EP (one routine body): four elements a turn in two pairs,
// sqrt(a*a + b*b) in double when both |a| and |b| lie in [2^-500, 2^500)
// (within 1 ulp); other elements are scaled by a power of two that brings
// the larger to 1 before squaring.
// Single (all slots): the sum of squares in double, rounded once; four
// elements a turn, any finite inputs on the wide lane.
// Per-element step: an infinite argument gives +inf, even beside a NaN; else
// a NaN gives NaN; a finite result too large gives +inf with
// VXM_STATUS_OVERFLOW.
#include <emmintrin.h>

#include <bit>
#include <cmath>
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

inline double hw_sqrt(double x) { return _mm_cvtsd_f64(_mm_sqrt_sd(_mm_set_sd(x), _mm_set_sd(x))); }
inline v2df hw_sqrt(v2df x) { return _mm_sqrt_pd(x); }

// Infinities first: hypot(inf, NaN) is inf.  Returns true when handled.
template <typename T>
inline bool hypot_nonfinite(T x, T z, T& r) {
    constexpr T inf = std::numeric_limits<T>::infinity();
    if (std::isinf(x) || std::isinf(z)) {
        r = inf;
        return true;
    }
    if (x != x || z != z) {
        r = x + z;
        return true;
    }
    return false;
}

template <typename T>
inline void store_with_overflow(int32_t i, const T* a, const T* b, T* y, T r, const char* name) {
    y[i] = r;
    if (std::isinf(r)) qlm::frame::raise_status(VXM_STATUS_OVERFLOW, i, a, b, y, y, name);
}

inline double hypot_extended(double x, double z) {
    const long double lx = x, lz = z;
    long double s = lx * lx + lz * lz;
    long double r;
    asm("fsqrt" : "=t"(r) : "0"(s));
    return static_cast<double>(r);
}

// Scaled form for any finite inputs.
inline double hypot_scaled(double x, double z) {
    const double ax = abs(x), az = abs(z);
    const double big = ax > az ? ax : az;
    if (big == 0.0) return 0.0;
    const int64_t e = ((bits(big) >> 52) & 0x7FF) - 1023;
    // Kept within ±1000 so that both scale factors are normal numbers.
    const int64_t shift = e < -1000 ? -1000 : e > 1000 ? 1000 : e;
    const double down = from_bits((1023 - shift) << 52), up = from_bits((1023 + shift) << 52);
    const double sx = ax * down, sz = az * down;
    return hw_sqrt(sx * sx + sz * sz) * up;
}

template <typename V>
inline V hypot_plain(V x, V z) {
    return hw_sqrt(x * x + z * z);
}

inline bool in_range(double x) { return high_word(x) - 0x20B00000u < 0x3E800000u; }  // [2^-500, 2^500)

}  // namespace

extern "C" {

void qlmk_dHypot_HA(int32_t n, const double* a, const double* b, double* y) {
    kernel_frame frame(qlm::frame::kRoundNearest, qlm::frame::kX87Extended);
    for (int32_t i = 0; i < n; ++i) {
        double r;
        if (hypot_nonfinite(a[i], b[i], r)) y[i] = r;
        else store_with_overflow(i, a, b, y, hypot_extended(a[i], b[i]), "vdHypot");
    }
}

static void hypot_double_fast(int32_t n, const double* a, const double* b, double* y) {
    auto element = [&](int32_t i) {
        double r;
        if (in_range(a[i]) & in_range(b[i])) y[i] = hypot_plain(a[i], b[i]);
        else if (hypot_nonfinite(a[i], b[i], r)) y[i] = r;
        else store_with_overflow(i, a, b, y, hypot_scaled(a[i], b[i]), "vdHypot");
    };
    auto fast = [&](int32_t i) {
        bool ok = true;
        for (int k = 0; k < 4; ++k) ok &= in_range(a[i + k]) & in_range(b[i + k]);
        if (!ok) return false;
        store2(y + i, hypot_plain(load2(a + i), load2(b + i)));
        store2(y + i + 2, hypot_plain(load2(a + i + 2), load2(b + i + 2)));
        return true;
    };
    run_groups<4>(n, fast, element);
}

void qlmk_dHypot_LA(int32_t n, const double* a, const double* b, double* y) {
    kernel_frame frame;
    if (n > 0) hypot_double_fast(n, a, b, y);
}
void qlmk_dHypot_EP(int32_t n, const double* a, const double* b, double* y) {
    kernel_frame frame;
    if (n > 0) hypot_double_fast(n, a, b, y);
}

static void hypot_single(int32_t n, const float* a, const float* b, float* y) {
    auto finite = [](float v) { return abs_bits(v) < 0x7F800000u; };
    auto element = [&](int32_t i) {
        float r;
        if (hypot_nonfinite(a[i], b[i], r)) y[i] = r;
        else store_with_overflow(i, a, b, y, static_cast<float>(hypot_plain<double>(a[i], b[i])), "vsHypot");
    };
    auto fast = [&](int32_t i) {
        bool ok = true;
        for (int k = 0; k < 4; ++k) ok &= finite(a[i + k]) & finite(b[i + k]);
        if (!ok) return false;
        v2df x0, x1, z0, z1;
        load_widened(a + i, x0, x1);
        load_widened(b + i, z0, z1);
        const v2df r0 = hypot_plain(x0, z0), r1 = hypot_plain(x1, z1);
        // A result beyond the single range must raise its status.
        const v2di big = (r0 > 0x1.fffffefffffffp127) | (r1 > 0x1.fffffefffffffp127);
        if (big[0] | big[1]) return false;
        store_narrowed(y + i, r0, r1);
        return true;
    };
    run_groups<4>(n, fast, element);
}

void qlmk_sHypot_HA(int32_t n, const float* a, const float* b, float* y) {
    kernel_frame frame;
    if (n > 0) hypot_single(n, a, b, y);
}
void qlmk_sHypot_LA(int32_t n, const float* a, const float* b, float* y) {
    kernel_frame frame;
    if (n > 0) hypot_single(n, a, b, y);
}
void qlmk_sHypot_EP(int32_t n, const float* a, const float* b, float* y) {
    kernel_frame frame;
    if (n > 0) hypot_single(n, a, b, y);
}

}  // extern "C"
