// Truncation, y[i] = a[i] rounded toward zero.
//
// The SSE4.1 rounding instruction with immediate 3, inexact not
// suppressed, in the loop that aligns to the input (rounding_plan.h).  The
// immediate fixes the direction, so MXCSR's rounding does not change the
// result; double runs under round to nearest, while single also sets MXCSR
// to the matching direction.  Exact for every input: zeros, infinities and
// NaN (quieted) come back as themselves, with no status.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/rounding/rounding_plan.h"

namespace {

template <typename T>
void trunc_body(int32_t n, const T* a, T* y) {
    using L = qlm::vector::lanes<T>;
    qlm::vector::rounding::aligned_to_input(n, a, y, [](typename L::vec v) { return L::template round<3>(v); });
}

}  // namespace

extern "C" void qlmk_dTrunc_HA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    trunc_body(n, a, y);
}

extern "C" void qlmk_sTrunc_HA(int32_t n, const float* a, float* y) {
    qlm::frame::kernel_frame frame(qlm::frame::kRoundTowardZero);
    trunc_body(n, a, y);
}
