// Atan2(a, b), the angle of the point (b, a), double and single.
//
// Method: the octant reduction of invtrig_wide.h on whole groups in SSE
// registers: the smaller of |a|, |b| over the larger, one more step at
// tan(pi/8), the fit Q, and the quadrant folded into a multiple of pi/4.
// Double HA takes the careful form (quotient as a pair, constant added
// exactly: about 0.65 ulp), double LA the plain form with the 2^-51 fit
// (about 1.5 ulp), double EP the plain form with the 2^-30 fit.  Single HA
// runs the plain double form in double pairs (0.5 ulp and a hair), single
// EP the plain form in float lanes.  Single LA: no second reduction, t =
// min/max of the magnitudes and atan(t) = t Q(t^2) with the degree-8 fit on
// [0, 1] shared with Atan, joined to k = 0, pi/2 or pi by a plain sum with
// k's rounding error added back: about 1.8 ulp.
// Screen: both magnitudes within [2^-500, 2^500) in double, [2^-60, 2^60)
// in single, so that the ratio stays normal and the careful form's scaled
// products cannot overflow.  Everything else (zeros, infinities, NaN,
// denormals, far-apart magnitudes) goes to the per-element routines below,
// which give the IEEE values at zeros and infinities, NaN for NaN, and
// UNDERFLOW when finite nonzero arguments give a result below the least
// normal number.  Those double LA and HA routines run in x87 extended
// precision (the ratio, the reduction and the quadrant constants carry 11
// bits beyond double), which is why those kernels keep the x87 frame.
#include <cfloat>
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invtrig/atan_core.h"
#include "vector/real/invtrig/invtrig_wide.h"
#include "vector/real/invtrig/wide_groups.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

constexpr long double kPio2X87 = 0x1.921fb54442d1846ap+0L;
constexpr long double kPiX87 = 0x1.921fb54442d1846ap+1L;

template <typename Elem>
bool atan2_lane_ok(Elem a, Elem b) {
    if constexpr (sizeof(Elem) == 8) {
        const uint32_t ha = abs_high_word(a), hb = abs_high_word(b);
        // Nonzero (a zero has a zero high word only if it is a tiny denormal
        // too: those go the scalar way as well), finite, exponents close.
        return ha - 0x00100000u < 0x7FE00000u && hb - 0x00100000u < 0x7FE00000u &&
               static_cast<int32_t>(ha) - static_cast<int32_t>(hb) > -(1000 << 20);
    } else {
        const uint32_t ha = abs_bits(a), hb = abs_bits(b);
        return ha - 0x00800000u < 0x7F000000u && hb - 0x00800000u < 0x7F000000u &&
               static_cast<int32_t>(ha) - static_cast<int32_t>(hb) > -(100 << 23);
    }
}

// The IEEE values at zeros and infinities; NaN for NaN.  Returns false when
// the arguments are ordinary finite numbers.
template <typename Elem>
bool atan2_special(Elem a, Elem b, Elem& r) {
    if (std::isnan(a) || std::isnan(b)) { r = a + b; return true; }
    const double s = std::signbit(a) ? -1.0 : 1.0;
    if (std::isinf(a)) {
        const double q = std::isinf(b) ? (b > 0 ? 0.25 : 0.75) : 0.5;
        r = static_cast<Elem>(s * q * kPiHi);
        return true;
    }
    if (std::isinf(b) || a == 0) {
        r = static_cast<Elem>(std::signbit(b) ? s * kPiHi : s * 0.0);
        return true;
    }
    if (b == 0) { r = static_cast<Elem>(s * kPio2Hi); return true; }
    return false;
}

template <int Terms, const char* Name>
struct atan2_double_x87_plan {
    using T = double;
    static constexpr const char* name = Name;
    static constexpr int width = 4;
    static bool lane_ok(double a, double b) { return atan2_lane_ok(a, b); }
    static double fast(double a, double b) {
        const long double aa = std::fabs(a), ab = std::fabs(b);
        long double r = aa <= ab ? atan_unit_x87<Terms>(aa / ab) : kPio2X87 - atan_unit_x87<Terms>(ab / aa);
        if (b < 0) r = kPiX87 - r;
        const double d = static_cast<double>(r);
        return a < 0 ? -d : d;
    }
    static double scalar(double a, double b, int& status) {
        double r;
        if (atan2_special(a, b, r)) return r;
        r = fast(a, b);
        if (std::fabs(r) < DBL_MIN) status = VXM_STATUS_UNDERFLOW;
        return r;
    }
};

// Double EP and the single routines: double arithmetic.
template <typename Elem, int Terms, const char* Name>
struct atan2_plan {
    using T = Elem;
    static constexpr const char* name = Name;
    static constexpr int width = sizeof(Elem) == 8 ? 4 : 8;
    static bool lane_ok(Elem a, Elem b) { return atan2_lane_ok(a, b); }
    static double angle(double a, double b) {
        const double aa = std::fabs(a), ab = std::fabs(b);
        double r = aa <= ab ? atan_nonnegative<Terms, false>(aa / ab)
                            : kPio2Hi - atan_nonnegative<Terms, false>(ab / aa);
        if (b < 0) r = kPiHi - r;
        return a < 0 ? -r : r;
    }
    static Elem fast(Elem a, Elem b) { return static_cast<Elem>(angle(a, b)); }
    static Elem scalar(Elem a, Elem b, int& status) {
        Elem r;
        if (atan2_special(a, b, r)) return r;
        // A ratio below the double range is the angle itself.
        const double aa = std::fabs(static_cast<double>(a)), ab = std::fabs(static_cast<double>(b));
        double d = (b > 0 && aa < ab * 0x1p-60) ? aa / ab : angle(std::fabs(a), b);
        d = a < 0 ? -d : d;
        r = static_cast<Elem>(d);
        if (std::fabs(r) < (sizeof(Elem) == 8 ? DBL_MIN : FLT_MIN)) status = VXM_STATUS_UNDERFLOW;
        return r;
    }
};

constexpr char kD[] = "vdAtan2";
constexpr char kS[] = "vsAtan2";

}  // namespace

namespace {

using namespace qlm::invtrig;

template <typename T, std::size_t N>
QLM_WIDE vec_t<T> atan2_plain(vec_t<T> a, vec_t<T> b, const T (&tail)[N]) {
    const vec_t<T> sign = element<T>::sign();
    const vec_t<T> angle = angle_plain<true>(bandnot(sign, a), bandnot(sign, b), less(b, element<T>::zero()), tail);
    return bor(angle, band(a, sign));
}

struct atan2_careful_d {
    QLM_WIDE static __m128d value(__m128d a, __m128d b) {
        const __m128d sign = element<double>::sign();
        const __m128d angle = angle_careful(_mm_andnot_pd(sign, a), _mm_andnot_pd(sign, b), _mm_cmplt_pd(b, _mm_setzero_pd()));
        return _mm_or_pd(angle, _mm_and_pd(a, sign));
    }
};
template <const auto& Tail>
struct atan2_plain_of {
    template <class V>
    QLM_WIDE static V value(V a, V b) { return atan2_plain(a, b, Tail); }
};
struct atan2_lean_f {
    QLM_WIDE static __m128 value(__m128 a, __m128 b) {
        const __m128 sign = element<float>::sign();
        const __m128 aa = _mm_andnot_ps(sign, a), ab = _mm_andnot_ps(sign, b);
        const __m128 swap = _mm_cmplt_ps(ab, aa);
        const __m128 t = div(vmin(aa, ab), vmax(aa, ab));
        // The angle of (|b|, |a|) is t's angle, or pi/2 less it when swapped;
        // b < 0 mirrors it to pi less that.  So k is 0, pi/2 (swapped) or pi,
        // and t enters negated when exactly one of swap and b < 0 holds.
        constexpr float pio2 = 0x1.921fb6p+0f, pio2_rest = -0x1.777a5cp-25f;
        const __m128 flip = bxor(band(swap, sign), band(b, sign));
        const __m128 k = select(swap, splat<float>(pio2), band(less(b, element<float>::zero()), splat<float>(2 * pio2)));
        const __m128 v = mul(bxor(t, flip), polynomial(atan_unit_f, mul(t, t)));
        return bor(add(k, add(v, mul(k, splat<float>(pio2_rest / pio2)))), band(a, sign));
    }
};
struct atan2_in_double_pairs {
    QLM_WIDE static __m128 value(__m128 a, __m128 b) {
        return in_double_pairs(a, b, [](__m128d u, __m128d v) { return atan2_plain(u, v, atan_tail_m); });
    }
};

// Magnitudes within [2^-500, 2^500) (high words) and [2^-60, 2^60) (bits).
constexpr uint32_t kLowD = 0x20B00000u, kWidthD = 0x3E800000u;
constexpr uint32_t kLowS = 0x21800000u, kWidthS = 0x3C000000u;

void double_ha(int32_t n, const double* a, const double* b, double* y) {
    run_double_binary<atan2_careful_d, kLowD, kWidthD, atan2_double_x87_plan<8, kD>>(n, a, b, y);
}
void double_la(int32_t n, const double* a, const double* b, double* y) {
    run_double_binary<atan2_plain_of<atan_tail_d>, kLowD, kWidthD, atan2_double_x87_plan<6, kD>>(n, a, b, y);
}
void double_ep(int32_t n, const double* a, const double* b, double* y) {
    run_double_binary<atan2_plain_of<atan_tail_m>, kLowD, kWidthD, atan2_plan<double, 3, kD>>(n, a, b, y);
}
void single_ha(int32_t n, const float* a, const float* b, float* y) {
    run_single_binary<atan2_in_double_pairs, kLowS, kWidthS, atan2_plan<float, 3, kS>>(n, a, b, y);
}
void single_la(int32_t n, const float* a, const float* b, float* y) {
    run_single_binary<atan2_lean_f, kLowS, kWidthS, atan2_plan<float, 2, kS>>(n, a, b, y);
}
void single_ep(int32_t n, const float* a, const float* b, float* y) {
    run_single_binary<atan2_plain_of<atan_tail_e>, kLowS, kWidthS, atan2_plan<float, 1, kS>>(n, a, b, y);
}

}  // namespace

QLM_INVTRIG_BINARY(qlmk_dAtan2_HA, double, qlm::frame::kX87Extended, double_ha)
QLM_INVTRIG_BINARY(qlmk_dAtan2_LA, double, qlm::frame::kX87Extended, double_la)
QLM_INVTRIG_BINARY(qlmk_dAtan2_EP, double, qlm::frame::kX87None, double_ep)
QLM_INVTRIG_BINARY(qlmk_sAtan2_HA, float, qlm::frame::kX87None, single_ha)
QLM_INVTRIG_BINARY(qlmk_sAtan2_LA, float, qlm::frame::kX87None, single_la)
QLM_INVTRIG_BINARY(qlmk_sAtan2_EP, float, qlm::frame::kX87None, single_ep)
