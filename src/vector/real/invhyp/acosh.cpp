// Acosh, double and single.
//
// Vector path (invhyp_pairs.h): log(x + sqrt((x - 1)(x + 1))) on pairs of
// doubles, x - 1 exact.  Double HA carries the argument as double-double
// with the HA logarithm (about 0.501 ulp); double LA (also the EP slot)
// takes the plain root (about 1 ulp).  Single LA (also the HA slot) runs
// the plain plan in double with the single HA logarithm (2^-38) and rounds
// once; single EP keeps log1p(r) = r - r^2/2 (2^-19.5).
// Screen: 1 <= x < 2^28 in double, 1 <= x < infinity in single: one
// unsigned range test of the high word (the float's bits) with its sign.
// Per element (formulas of invhyp_core.h): x >= 2^28 in double, and the
// specials: NaN gives NaN and +infinity itself without a status; x < 1
// (-infinity included) gives NaN with ERRDOM.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invhyp/invhyp_core.h"
#include "vector/real/invhyp/invhyp_groups.h"

namespace {

using namespace qlm::special;
using namespace qlm::invhyp;

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

template <class PerElement, class Set>
using acosh_kernel =
    vector_kernel<PerElement, acosh_pair<Set>, false, 0x3FF00000u, 0x01C00000u, 0x3F800000u, 0x40000000u>;

}  // namespace

QLM_INVHYP_KERNEL(qlmk_dAcosh_HA, qlm::frame::kX87Extended, acosh_kernel<acosh_plan<double, acosh_x87, kD>, ha_set>)
QLM_INVHYP_KERNEL(qlmk_dAcosh_LA, qlm::frame::kX87None, acosh_kernel<acosh_plan<double, acosh_double, kD>, la_set>)
QLM_INVHYP_KERNEL(qlmk_sAcosh_LA, qlm::frame::kX87None, acosh_kernel<acosh_plan<float, acosh_double, kS>, single_set>)
QLM_INVHYP_KERNEL(qlmk_sAcosh_EP, qlm::frame::kX87None, acosh_kernel<acosh_plan<float, acosh_plain, kS>, ep_set>)
