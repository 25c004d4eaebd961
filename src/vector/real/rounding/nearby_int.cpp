// NearbyInt, y[i] = a[i] rounded in the caller's rounding direction, with
// the inexact exception suppressed.
//
// The same loop as Rint with immediate 12 (direction from MXCSR, no
// precision exception); that flag is the only difference between the two.
// Neither the mode word nor MXCSR is touched.  Exact; NaN comes back
// quieted, no status.
#include "frame/kernel_tables.h"
#include "vector/real/rounding/rounding_plan.h"

extern "C" void qlmk_dNearbyInt_HA(int32_t n, const double* a, double* y) {
    qlm::vector::rounding::four_then_scalar<_MM_FROUND_CUR_DIRECTION | _MM_FROUND_NO_EXC>(n, a, y);
}

extern "C" void qlmk_sNearbyInt_HA(int32_t n, const float* a, float* y) {
    qlm::vector::rounding::four_then_scalar<_MM_FROUND_CUR_DIRECTION | _MM_FROUND_NO_EXC>(n, a, y);
}
