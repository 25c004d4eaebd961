// Atanh, double and single, by the formulas of invhyp_core.h.
//
// Double HA: x87 extended precision.  Double LA (also the EP slot): the
// 2^-53 series below 1/2, the double-double quotient and logarithm above.
// Single HA and LA: the double formulas with the 2^-28 series (LA shares
// the HA plan: double evaluation is already the cheapest that keeps 4 ulp);
// single EP: the 2^-14 series.
// Screen: |x| < 1.  The scalar routine: NaN gives NaN without a status,
// +-1 gives +-infinity with SING, |x| > 1 gives NaN with ERRDOM.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invhyp/invhyp_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

template <typename Elem, double (*Value)(double), const char* Name>
struct atanh_plan : abs_screen<Elem, 0x3FF00000u, 0x3F800000u, Name> {
    static Elem fast(Elem x) { return static_cast<Elem>(Value(x)); }
    static Elem scalar(Elem x, int& status) { return unit_interval_poles(x, status); }
};

constexpr char kD[] = "vdAtanh";
constexpr char kS[] = "vsAtanh";
constexpr int kD_ = sizeof(atanh_tail_d) / 8, kF_ = sizeof(atanh_tail_f) / 8, kE_ = sizeof(atanh_tail_e) / 8;

}  // namespace

QLM_UNARY_KERNEL(qlmk_dAtanh_HA, qlm::frame::kX87Extended, atanh_plan<double, atanh_x87, kD>)
QLM_UNARY_KERNEL(qlmk_dAtanh_LA, qlm::frame::kX87None, atanh_plan<double, atanh_double<atanh_tail_d, kD_>, kD>)
QLM_UNARY_KERNEL(qlmk_sAtanh_HA, qlm::frame::kX87None, atanh_plan<float, atanh_double<atanh_tail_f, kF_>, kS>)
QLM_UNARY_KERNEL(qlmk_sAtanh_LA, qlm::frame::kX87None, atanh_plan<float, atanh_double<atanh_tail_f, kF_>, kS>)
QLM_UNARY_KERNEL(qlmk_sAtanh_EP, qlm::frame::kX87None, atanh_plan<float, atanh_double<atanh_tail_e, kE_>, kS>)
