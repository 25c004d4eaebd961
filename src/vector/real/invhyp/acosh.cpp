// Acosh, double and single, by the formulas of invhyp_core.h.
//
// Double HA: x87 extended precision.  Double LA (also the EP slot): the
// double-double argument and logarithm.  Single LA (also the HA slot) and
// single EP: the double formula; EP drops the low parts of the logarithm's
// argument, which single precision does not see.
// Screen: 1 <= x < infinity, one unsigned compare of the high word with its
// sign.  The scalar routine: NaN gives NaN and +infinity itself without a
// status; x < 1 (-infinity included) gives NaN with ERRDOM.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invhyp/invhyp_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

inline double acosh_plain(double x) {
    return log_dd(x + __builtin_sqrt((x - 1.0) * (x + 1.0))).hi;
}

template <typename Elem, double (*Value)(double), const char* Name>
struct acosh_plan : range_screen<Elem, 0x3FF00000u, 0x40000000u, 0x3F800000u, 0x40000000u, Name> {
    static Elem fast(Elem x) { return static_cast<Elem>(Value(x)); }
    static Elem scalar(Elem x, int& status) {
        if (std::isnan(x) || x == INFINITY) return x + x;
        status = VXM_STATUS_ERRDOM;
        return static_cast<Elem>(NAN);
    }
};

constexpr char kD[] = "vdAcosh";
constexpr char kS[] = "vsAcosh";

}  // namespace

QLM_UNARY_KERNEL(qlmk_dAcosh_HA, qlm::frame::kX87Extended, acosh_plan<double, acosh_x87, kD>)
QLM_UNARY_KERNEL(qlmk_dAcosh_LA, qlm::frame::kX87None, acosh_plan<double, acosh_double, kD>)
QLM_UNARY_KERNEL(qlmk_sAcosh_LA, qlm::frame::kX87None, acosh_plan<float, acosh_double, kS>)
QLM_UNARY_KERNEL(qlmk_sAcosh_EP, qlm::frame::kX87None, acosh_plan<float, acosh_plain, kS>)
