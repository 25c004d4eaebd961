// Double division, LA and EP slots: one x87 division shared by four
// elements.
//
// Method: on the x87 unit with its 64-bit significand (control 0x300; MXCSR
// is not touched), a group of four denominators forms the pair products
// b0·b1, b2·b3 and their product P, takes the one division R = 1/P, and
// recovers each reciprocal from R and the other three factors through the
// pair products, 1/b0 = R·(b2·b3)·b1 and so on; each is multiplied by its
// numerator and stored as a double.  Error: five roundings at 2^-64 before
// the final one to double, so at most about 0.5 + 2^-8 ulp.
// Screen: P is also stored as a single-precision value, a cheap image of
// its magnitude.  A zero image (P below the single range: some denominator
// zero, or the product tiny), or an image whose exponent is all ones (P
// beyond the single range, infinite or NaN), takes the group apart: each
// element then goes through the plain x87 division with the HA routine's
// check, so a zero denominator reports VXM_STATUS_SING for that element
// alone.  The ragged end (n mod 4) runs the same plain division.
#include <cmath>
#include <cstdint>
#include <cstring>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"

namespace {

void plain_division(int32_t i, const double* a, const double* b, double* y) {
    const long double num = a[i], den = b[i];
    y[i] = static_cast<double>(num / den);
    if (den == 0 && std::isfinite(num))
        qlm::frame::raise_status_d(VXM_STATUS_SING, i, a, b, y, y, "vdDiv");
}

uint32_t single_image_bits(long double p) {
    const float image = static_cast<float>(p);  // an x87 store to 32 bits
    uint32_t bits;
    std::memcpy(&bits, &image, sizeof bits);
    return bits;
}

}  // namespace

extern "C" void qlmk_dDiv_LA(int32_t n, const double* a, const double* b, double* y) {
    qlm::frame::x87_frame frame(qlm::frame::kX87Extended);
    if (n <= 0) return;
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const long double b0 = b[i], b1 = b[i + 1], b2 = b[i + 2], b3 = b[i + 3];
        const long double b01 = b0 * b1, b23 = b2 * b3, p = b01 * b23;
        const uint32_t image = single_image_bits(p);
        bool apart = (image & 0x7FFFFFFFu) == 0;
        long double r = 0;
        if (!apart) {
            r = 1.0L / p;
            apart = (image & 0x7F800000u) == 0x7F800000u;
        }
        if (apart) {
            for (int32_t j = i; j < i + 4; ++j) plain_division(j, a, b, y);
            continue;
        }
        const long double r23 = r * b23, r01 = r * b01;
        const long double q0 = a[i] * (r23 * b1), q1 = a[i + 1] * (r23 * b0);
        const long double q2 = a[i + 2] * (r01 * b3), q3 = a[i + 3] * (r01 * b2);
        y[i] = static_cast<double>(q0);
        y[i + 1] = static_cast<double>(q1);
        y[i + 2] = static_cast<double>(q2);
        y[i + 3] = static_cast<double>(q3);
    }
    for (; i < n; ++i) plain_division(i, a, b, y);
}
