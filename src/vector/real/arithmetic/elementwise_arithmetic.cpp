// Add, Sub, Mul and Sqr, single and double: y[i] = a[i] + b[i], a[i] - b[i],
// a[i] · b[i] and a[i] · a[i].  Addition is the worked member of the frame.
//
// One SSE operation an element on the fast lane, correctly rounded under
// the frame's round to nearest; the loop plans (overlap test and scalar
// cut in double, output alignment peel, groups of 8 in double and 32 in
// single) are the ones every compiled element-wise routine shares, in
// elementwise_plan.h.  No special value raises a status: infinities and NaN
// take the IEEE result.  Sqr hands its one input to the plan as both a and
// b and reads only b, so it is loaded as b is (aligned where it can be) and
// the plan's loads of a are dead.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/arithmetic/elementwise_plan.h"

namespace {

#define QLM_ELEMENTWISE_OP(name, scalar_expr, wide_d, wide_s)                   \
    struct name {                                                             \
        static double scalar(double a, double b) { return scalar_expr; }      \
        static float scalar(float a, float b) { return scalar_expr; }         \
        static __m128d wide(__m128d a, __m128d b) { return wide_d; }          \
        static __m128 wide(__m128 a, __m128 b) { return wide_s; }             \
    };

QLM_ELEMENTWISE_OP(add_op, a + b, _mm_add_pd(a, b), _mm_add_ps(a, b))
QLM_ELEMENTWISE_OP(sub_op, a - b, _mm_sub_pd(a, b), _mm_sub_ps(a, b))
QLM_ELEMENTWISE_OP(mul_op, a * b, _mm_mul_pd(a, b), _mm_mul_ps(a, b))
QLM_ELEMENTWISE_OP(sqr_op, ((void)a, b * b), ((void)a, _mm_mul_pd(b, b)), ((void)a, _mm_mul_ps(b, b)))

template <typename Op, typename T>
void run_in_frame(int32_t n, const T* a, const T* b, T* y) {
    qlm::frame::kernel_frame frame;
    qlm::vector::elementwise::run(n, a, b, y, Op{});
}

}  // namespace

#define QLM_BINARY_KERNELS(Name, op)                                                           \
    extern "C" void qlmk_d##Name##_HA(int32_t n, const double* a, const double* b, double* y) { \
        run_in_frame<op>(n, a, b, y);                                                          \
    }                                                                                          \
    extern "C" void qlmk_s##Name##_HA(int32_t n, const float* a, const float* b, float* y) {   \
        run_in_frame<op>(n, a, b, y);                                                          \
    }

QLM_BINARY_KERNELS(Add, add_op)
QLM_BINARY_KERNELS(Sub, sub_op)
QLM_BINARY_KERNELS(Mul, mul_op)

extern "C" void qlmk_dSqr_HA(int32_t n, const double* a, double* y) { run_in_frame<sqr_op>(n, a, a, y); }
extern "C" void qlmk_sSqr_HA(int32_t n, const float* a, float* y) { run_in_frame<sqr_op>(n, a, a, y); }
