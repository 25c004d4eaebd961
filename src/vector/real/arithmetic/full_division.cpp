// Div and Inv in the HA slot, double and single: full-width division,
// correctly rounded under the frame's round to nearest.
//
// One register of quotients a turn (two in double, four in single), stored
// first; then the register's denominators are tested, and for a zero
// denominator under a numerator that is neither infinity nor NaN the
// element is reported as VXM_STATUS_SING with the quotient as the division
// made it (an infinity of the right sign).  0/0 and NaN numerators give NaN
// without a status.  The ragged end runs the same test one element at a
// time.  Inv is the same routine with the numerator 1.0.  Single HA uses
// the double routine's test as it is: one rule for both precisions of the
// correctly rounded slot.
#include <cmath>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/common/sse_lanes.h"

namespace {

// The test reads the operands as they were before the store, so that an
// output aliasing an input still reports the right elements.
template <typename T>
void report_if_singular(int32_t i, T numerator, T denominator, const T* a, const T* b, T* y,
                        const char* name) {
    if (denominator == T(0) && std::isfinite(numerator))
        qlm::frame::raise_status(VXM_STATUS_SING, i, a != nullptr ? a : b, b, y, y, name);
}

// a is null for Inv.  The status path gets the input twice for Inv, as
// every one-input routine passes it.
template <typename T>
void full_division(int32_t n, const T* a, const T* b, T* y, const char* name) {
    using L = qlm::vector::lanes<T>;
    if (n <= 0) return;
    const auto zero = L::set1(T(0));
    const auto one = L::set1(T(1));
    int32_t i = 0;
    for (; i + L::width <= n; i += L::width) {
        const auto num = a != nullptr ? L::loadu(a + i) : one;
        const auto den = L::loadu(b + i);
        L::storeu(y + i, L::div(num, den));
        if (L::movemask(L::cmpeq(den, zero)) != 0) {
            alignas(16) T nums[L::width], dens[L::width];
            L::storeu(nums, num);
            L::storeu(dens, den);
            for (int j = 0; j < L::width; ++j) report_if_singular(i + j, nums[j], dens[j], a, b, y, name);
        }
    }
    for (; i < n; ++i) {
        const T num = a != nullptr ? a[i] : T(1), den = b[i];
        y[i] = num / den;
        report_if_singular(i, num, den, a, b, y, name);
    }
}

}  // namespace

extern "C" void qlmk_dDiv_HA(int32_t n, const double* a, const double* b, double* y) {
    qlm::frame::kernel_frame frame;
    full_division(n, a, b, y, "vdDiv");
}

extern "C" void qlmk_sDiv_HA(int32_t n, const float* a, const float* b, float* y) {
    qlm::frame::kernel_frame frame;
    full_division(n, a, b, y, "vsDiv");
}

extern "C" void qlmk_dInv_HA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    full_division<double>(n, nullptr, a, y, "vdInv");
}

extern "C" void qlmk_sInv_HA(int32_t n, const float* a, float* y) {
    qlm::frame::kernel_frame frame;
    full_division<float>(n, nullptr, a, y, "vsInv");
}
