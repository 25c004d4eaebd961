// Multiplication, y[i] = a[i] * b[i].
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

struct mul_op {
    static double scalar(double a, double b) { return a * b; }
    static float scalar(float a, float b) { return a * b; }
    static __m128d wide(__m128d a, __m128d b) { return _mm_mul_pd(a, b); }
    static __m128 wide(__m128 a, __m128 b) { return _mm_mul_ps(a, b); }
};

}  // namespace

extern "C" void qlmk_dMul_HA(int32_t n, const double* a, const double* b, double* y) {
    qlm::frame::kernel_frame frame;
    qlm::vector::elementwise::run(n, a, b, y, mul_op{});
}

extern "C" void qlmk_sMul_HA(int32_t n, const float* a, const float* b, float* y) {
    qlm::frame::kernel_frame frame;
    qlm::vector::elementwise::run(n, a, b, y, mul_op{});
}
