// Asinh, double and single, by the formulas of invhyp_core.h.
//
// Double HA: x87 extended precision.  Double LA (also the EP slot): double
// with the 2^-53 series below 1/2 and the double-double logarithm above.
// Single LA (also the HA slot): the double formulas with the 2^-28 series;
// single EP: the 2^-14 series.
// Screen: finite x.  The scalar routine: NaN gives NaN, +-infinity gives
// itself, without a status.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invhyp/invhyp_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

template <typename Elem, double (*Value)(double), const char* Name>
struct asinh_plan : abs_screen<Elem, 0x7FF00000u, 0x7F800000u, Name> {
    static Elem fast(Elem x) { return static_cast<Elem>(Value(x)); }
    static Elem scalar(Elem x, int&) { return x + x; }  // NaN, or twice an infinity
};

constexpr char kD[] = "vdAsinh";
constexpr char kS[] = "vsAsinh";
constexpr int kD_ = sizeof(asinh_tail_d) / 8, kF_ = sizeof(asinh_tail_f) / 8, kE_ = sizeof(asinh_tail_e) / 8;

}  // namespace

QLM_UNARY_KERNEL(qlmk_dAsinh_HA, qlm::frame::kX87Extended, asinh_plan<double, asinh_x87, kD>)
QLM_UNARY_KERNEL(qlmk_dAsinh_LA, qlm::frame::kX87None, asinh_plan<double, asinh_double<asinh_tail_d, kD_>, kD>)
QLM_UNARY_KERNEL(qlmk_sAsinh_LA, qlm::frame::kX87None, asinh_plan<float, asinh_double<asinh_tail_f, kF_>, kS>)
QLM_UNARY_KERNEL(qlmk_sAsinh_EP, qlm::frame::kX87None, asinh_plan<float, asinh_double<asinh_tail_e, kE_>, kS>)
