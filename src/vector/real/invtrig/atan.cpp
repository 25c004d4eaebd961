// Atan, double and single.
//
// Method: the eighths reduction of atan_core.h.  Double LA (which also
// serves HA) forms 1 - c x exactly and adds atan(k/8) as hi + lo: about 0.6
// ulp.  Double EP keeps 3 series terms and plain arithmetic (2^-30).  The
// single routines evaluate the same reduction in double, with 3, 2 and 1
// series terms for HA, LA and EP (relative errors 2^-32, 2^-24, 2^-16 before
// the final rounding to float).
// Screen: finite inputs; the scalar routine returns NaN for NaN and
// +-pi/2 for +-infinity, without a status.  atan(x) of a denormal is x
// itself (correctly rounded), so no status either.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invtrig/atan_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

template <typename Elem, int Terms, bool Extra, const char* Name>
struct atan_plan : abs_screen<Elem, 0x7FF00000u, 0x7F800000u, Name> {
    using T = Elem;
    static T fast(T x) {
        const double r = atan_nonnegative<Terms, Extra>(std::fabs(static_cast<double>(x)));
        return static_cast<T>(std::copysign(r, static_cast<double>(x)));
    }
    static T scalar(T x, int&) {
        if (std::isnan(x)) return x + x;
        if (std::isinf(x)) return static_cast<T>(std::copysign(kPio2Hi, static_cast<double>(x)));
        return fast(x);
    }
};

constexpr char kD[] = "vdAtan";
constexpr char kS[] = "vsAtan";

}  // namespace

QLM_UNARY_KERNEL(qlmk_dAtan_LA, qlm::frame::kX87None, atan_plan<double, 7, true, kD>)
QLM_UNARY_KERNEL(qlmk_dAtan_EP, qlm::frame::kX87None, atan_plan<double, 3, false, kD>)
QLM_UNARY_KERNEL(qlmk_sAtan_HA, qlm::frame::kX87None, atan_plan<float, 3, false, kS>)
QLM_UNARY_KERNEL(qlmk_sAtan_LA, qlm::frame::kX87None, atan_plan<float, 2, false, kS>)
QLM_UNARY_KERNEL(qlmk_sAtan_EP, qlm::frame::kX87None, atan_plan<float, 1, false, kS>)
