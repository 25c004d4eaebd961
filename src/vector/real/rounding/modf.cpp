// Modf: y[i] the integer part and z[i] the fractional part of a[i], both
// with the sign of a[i].
//
// Runs under rounding toward zero, where t = (|x| + 2^52) - 2^52 is the
// truncation of |x| < 2^52 (2^23 and 0x4B000000 in single): the sum's
// rounding drops the fraction, the subtraction is exact.  The fraction
// |x| - t is exact too.  The sign is ORed back into both, so -3.75 gives
// -3 and -0.75, and -0 gives -0 twice.  Fast lane four elements a turn; a
// group with any magnitude at or above 2^52, or NaN, takes the per-element
// step: an infinity gives itself and a zero of its sign, a NaN gives x + x
// twice, a finite value at or above 2^52 is its own integer part with a
// zero of its sign as fraction.  The ragged end runs the per-element step.
// The group test compares |x| with 2^52 as a float, which is the same
// decision as testing the exponent bits of the high word, NaN included.
#include <cmath>

#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/common/sse_lanes.h"

namespace {

template <typename T>
constexpr T kTwoToPrecision = sizeof(T) == 8 ? T(0x1p52) : T(0x1p23);

template <typename T>
void modf_one(const T* a, T* y, T* z) {
    const T x = *a;
    if (std::isnan(x)) {
        *y = x + x;
        *z = x + x;
        return;
    }
    const T t = std::fabs(x);
    if (t >= kTwoToPrecision<T>) {  // infinities included
        *y = x;
        *z = std::copysign(T(0), x);
        return;
    }
    // The sum's rounding toward zero under the frame drops the fraction.
    const T whole = (t + kTwoToPrecision<T>) - kTwoToPrecision<T>;
    *y = std::copysign(whole, x);
    *z = std::copysign(t - whole, x);
}

template <typename T>
void modf_body(int32_t n, const T* a, T* y, T* z) {
    using L = qlm::vector::lanes<T>;
    constexpr int32_t kGroup = 4;
    if (n <= 0) return;
    const auto sign_mask = L::set1_bits(L::sign_bit);
    const auto big = L::set1(kTwoToPrecision<T>);
    int32_t i = 0;
    for (; i + kGroup <= n; i += kGroup) {
        typename L::vec x[kGroup / L::width], t[kGroup / L::width];
        int large = 0;
        for (int j = 0; j < kGroup / L::width; ++j) {
            x[j] = L::loadu(a + i + j * L::width);
            t[j] = L::andnot(sign_mask, x[j]);
            large |= L::movemask(L::cmpnlt(t[j], big));
        }
        if (large != 0) {
            for (int32_t j = i; j < i + kGroup; ++j) modf_one(a + j, y + j, z + j);
            continue;
        }
        for (int j = 0; j < kGroup / L::width; ++j) {
            const auto whole = L::sub(L::add(t[j], big), big);
            const auto frac = L::sub(t[j], whole);
            const auto sign = L::and_(x[j], sign_mask);
            L::storeu(y + i + j * L::width, L::or_(whole, sign));
            L::storeu(z + i + j * L::width, L::or_(frac, sign));
        }
    }
    for (; i < n; ++i) modf_one(a + i, y + i, z + i);
}

}  // namespace

extern "C" void qlmk_dModf_HA(int32_t n, const double* a, double* y, double* z) {
    qlm::frame::kernel_frame frame(qlm::frame::kRoundTowardZero);
    modf_body(n, a, y, z);
}

extern "C" void qlmk_sModf_HA(int32_t n, const float* a, float* y, float* z) {
    qlm::frame::kernel_frame frame(qlm::frame::kRoundTowardZero);
    modf_body(n, a, y, z);
}
