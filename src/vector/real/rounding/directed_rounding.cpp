// Ceil, Floor and Trunc, single and double: a[i] rounded upward, downward
// and toward zero.
//
// The SSE4.1 rounding instruction with immediate 2, 1 and 3, inexact not
// suppressed, in the loop that aligns to the input (rounding_plan.h).  The
// immediate fixes the direction, so MXCSR's rounding does not change the
// result; double runs under round to nearest, while single also sets MXCSR
// to the matching direction.  Exact for every input: zeros keep their sign,
// infinities come back as themselves and NaN quieted, with no status.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/rounding/rounding_plan.h"

namespace {

template <int Imm, typename T>
void directed(int32_t n, const T* a, T* y) {
    using L = qlm::vector::lanes<T>;
    qlm::vector::rounding::aligned_to_input(n, a, y, [](typename L::vec v) { return L::template round<Imm>(v); });
}

}  // namespace

#define QLM_DIRECTED_KERNELS(Name, imm, single_rounding)                    \
    extern "C" void qlmk_d##Name##_HA(int32_t n, const double* a, double* y) { \
        qlm::frame::kernel_frame frame;                                     \
        directed<imm>(n, a, y);                                             \
    }                                                                       \
    extern "C" void qlmk_s##Name##_HA(int32_t n, const float* a, float* y) {   \
        qlm::frame::kernel_frame frame(qlm::frame::single_rounding);        \
        directed<imm>(n, a, y);                                             \
    }

QLM_DIRECTED_KERNELS(Ceil, _MM_FROUND_TO_POS_INF, kRoundUp)
QLM_DIRECTED_KERNELS(Floor, _MM_FROUND_TO_NEG_INF, kRoundDown)
QLM_DIRECTED_KERNELS(Trunc, _MM_FROUND_TO_ZERO, kRoundTowardZero)
