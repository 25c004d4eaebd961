// Atan2(a, b), the angle of the point (b, a), double and single.
//
// Method: with the smaller of |a|, |b| over the larger as z in [0, 1],
// atan(z) by the eighths reduction of atan_core.h, then pi/2 - that when
// |a| > |b|, pi - that when b < 0, and the sign of a.  Double LA and HA run
// in x87 extended precision (the frame sets 64-bit precision): the ratio,
// the reduction and the quadrant constants carry 11 bits beyond double, so
// that only the final rounding counts; HA keeps 8 series terms (2^-72), LA 6
// (2^-56).  Double EP and the single routines work in double on the same
// plan, with the series shortened to their class.
// Screen: both arguments finite and nonzero, and the exponent of a not
// more than 1000 below that of b, so that the result cannot underflow.
// The scalar routine gives the IEEE values at zeros and infinities, NaN
// for NaN, and UNDERFLOW when finite nonzero arguments give a result below
// the least normal number.
#include <cfloat>
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invtrig/atan_core.h"
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

QLM_BINARY_KERNEL(qlmk_dAtan2_HA, qlm::frame::kX87Extended, atan2_double_x87_plan<8, kD>)
QLM_BINARY_KERNEL(qlmk_dAtan2_LA, qlm::frame::kX87Extended, atan2_double_x87_plan<6, kD>)
QLM_BINARY_KERNEL(qlmk_dAtan2_EP, qlm::frame::kX87None, atan2_plan<double, 3, kD>)
QLM_BINARY_KERNEL(qlmk_sAtan2_HA, qlm::frame::kX87None, atan2_plan<float, 3, kS>)
QLM_BINARY_KERNEL(qlmk_sAtan2_LA, qlm::frame::kX87None, atan2_plan<float, 2, kS>)
QLM_BINARY_KERNEL(qlmk_sAtan2_EP, qlm::frame::kX87None, atan2_plan<float, 1, kS>)
