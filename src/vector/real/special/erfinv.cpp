// ErfInv, double and single, by the Halley iteration of erfinv_core.h:
// erfinv(y) = -CdfNorm^-1((1 - |y|)/2)/sqrt 2 with the sign of y, through
// the centre form (h = -|y|/2, exact) for |y| <= 1/2 and the tail form
// (q = (1 - |y|)/2, exact) above.
//
// Double HA: three steps (about 0.5 ulp); single HA: two, evaluated in
// double.  The LA and EP slots are the logarithm-and-polynomial routines
// of erfinv_log_poly.cpp, which take this path with two steps beside 1.
// Screen: |y| < 1.  The scalar routine: NaN gives NaN without a status,
// +-1 gives +-infinity with SING, |y| > 1 gives NaN with ERRDOM.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/special/erfinv_core.h"
#include "vector/real/special/group_driver.h"

namespace {

using namespace qlm::special;

template <typename Elem, int Steps, const char* Name>
struct erfinv_plan : abs_screen<Elem, 0x3FF00000u, 0x3F800000u, Name> {
    static Elem fast(Elem x) { return static_cast<Elem>(erf_inverse_value<Steps>(x)); }
    static Elem scalar(Elem x, int& status) { return unit_interval_poles(x, status); }
};

constexpr char kD[] = "vdErfInv";
constexpr char kS[] = "vsErfInv";

}  // namespace

QLM_UNARY_KERNEL(qlmk_dErfInv_HA, qlm::frame::kX87None, erfinv_plan<double, 3, kD>)
QLM_UNARY_KERNEL(qlmk_sErfInv_HA, qlm::frame::kX87None, erfinv_plan<float, 2, kS>)
