// Square, y[i] = a[i] * a[i].  The one input stands in the plan's b role
// (loaded aligned where it can be), so the plan's loads of a are dead.
//
// One SSE operation an element on the fast lane, correctly rounded under
// the frame's round to nearest; the loop plans (overlap test, output
// alignment peel, group widths 8 in double and 32 in single) are the ones
// every compiled element-wise routine shares, in elementwise_plan.h.  No
// special value raises a status: infinities and NaN take the IEEE result.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/arithmetic/elementwise_plan.h"

namespace {

struct sqr_op {
    static double scalar(double, double b) { return b * b; }
    static float scalar(float, float b) { return b * b; }
    static __m128d wide(__m128d, __m128d b) { return _mm_mul_pd(b, b); }
    static __m128 wide(__m128, __m128 b) { return _mm_mul_ps(b, b); }
};

}  // namespace

extern "C" void qlmk_dSqr_HA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    qlm::vector::elementwise::run(n, a, a, y, sqr_op{});
}

extern "C" void qlmk_sSqr_HA(int32_t n, const float* a, float* y) {
    qlm::frame::kernel_frame frame;
    qlm::vector::elementwise::run(n, a, a, y, sqr_op{});
}
