// Ceiling, y[i] = the least integer not below a[i].
//
// The SSE4.1 rounding instruction with immediate 2, inexact not
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
void ceil_body(int32_t n, const T* a, T* y) {
    using L = qlm::vector::lanes<T>;
    qlm::vector::rounding::aligned_to_input(n, a, y, [](typename L::vec v) { return L::template round<2>(v); });
}

}  // namespace

extern "C" void qlmk_dCeil_HA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    ceil_body(n, a, y);
}

extern "C" void qlmk_sCeil_HA(int32_t n, const float* a, float* y) {
    qlm::frame::kernel_frame frame(qlm::frame::kRoundUp);
    ceil_body(n, a, y);
}
