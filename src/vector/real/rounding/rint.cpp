// Rint, y[i] = a[i] rounded in the caller's rounding direction, raising
// inexact where the value changes.
//
// The SSE4.1 rounding instruction with immediate 4 (direction from MXCSR,
// exceptions not suppressed), four elements a turn, then its scalar form.
// The routine touches neither the mode word nor MXCSR: the caller's
// rounding is the point of the function, and so the denormal field of the
// mode is not obeyed either.  Exact; NaN comes back quieted, no status.
#include "frame/kernel_tables.h"
#include "vector/real/rounding/rounding_plan.h"

extern "C" void qlmk_dRint_HA(int32_t n, const double* a, double* y) {
    qlm::vector::rounding::four_then_scalar<_MM_FROUND_CUR_DIRECTION>(n, a, y);
}

extern "C" void qlmk_sRint_HA(int32_t n, const float* a, float* y) {
    qlm::vector::rounding::four_then_scalar<_MM_FROUND_CUR_DIRECTION>(n, a, y);
}
