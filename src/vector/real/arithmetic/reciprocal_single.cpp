// Single division and reciprocal, LA and EP slots: the hardware reciprocal
// estimate at two depths.
//
// Method: EP takes rcpps alone (12-bit estimate, relative error below
// 1.5·2^-12, so at least 11 correct bits after the multiply by a); LA
// refines it by one Newton step r(2 - br), which squares the error and
// leaves four roundings in single: 3.78 ulp at most over every denominator
// significand against 48 numerators, inside the 4 ulp of the class.  Eight
// elements a turn in two fours.
// Screen on the denominator bits: subtract 0x800000, clear the sign and
// compare signed with 0x7E000000.  A lane above it (zero, denormal, |b|
// above 2^126, infinity, NaN) sends the whole group to the per-element
// step, which applies the same screen to each element: one that passes
// takes one Newton step on the scalar estimate, even under EP, and
// the multiply; one that fails takes a full x87 division, and a zero
// denominator under a numerator that is not NaN reports VXM_STATUS_SING.
// The ragged end runs the per-element step.  Inv is Div with numerator 1.
#include <smmintrin.h>

#include <cstdint>
#include <cstring>

#include "frame/error_path.h"
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"

namespace {

constexpr int32_t kScreen = 0x7E000000;

bool passes_screen(float b) {
    uint32_t bits;
    std::memcpy(&bits, &b, sizeof bits);
    return static_cast<int32_t>((bits - 0x800000u) & 0x7FFFFFFFu) <= kScreen;
}

// Nonzero when a lane of either register of denominators fails the screen:
// the screened values of the two are merged by a signed maximum, so one
// compare serves eight lanes.
int group_fails(__m128 b0, __m128 b1) {
    const __m128i bias = _mm_set1_epi32(0x800000), magnitude = _mm_set1_epi32(0x7FFFFFFF);
    const __m128i d0 = _mm_and_si128(_mm_sub_epi32(_mm_castps_si128(b0), bias), magnitude);
    const __m128i d1 = _mm_and_si128(_mm_sub_epi32(_mm_castps_si128(b1), bias), magnitude);
    return _mm_movemask_epi8(_mm_cmpgt_epi32(_mm_max_epi32(d0, d1), _mm_set1_epi32(kScreen)));
}

__m128 newton_step(__m128 b, __m128 r) {
    return _mm_mul_ps(r, _mm_sub_ps(_mm_set1_ps(2.0f), _mm_mul_ps(b, r)));
}

// Inv has no numerator vector.
template <bool Newton, bool Inv>
__m128 quotient(const float* a, int32_t i, __m128 b) {
    __m128 r = _mm_rcp_ps(b);
    if constexpr (Newton) r = newton_step(b, r);
    if constexpr (Inv) return r;
    else return _mm_mul_ps(_mm_loadu_ps(a + i), r);
}

void per_element(int32_t i, const float* a, const float* b, float* y, const char* name) {
    const float num = a != nullptr ? a[i] : 1.0f, den = b[i];
    if (passes_screen(den)) {
        const __m128 d = _mm_set_ss(den);
        const __m128 r = newton_step(d, _mm_rcp_ss(d));
        y[i] = _mm_cvtss_f32(_mm_mul_ss(_mm_set_ss(num), r));
        return;
    }
    y[i] = static_cast<float>(static_cast<long double>(num) / den);  // x87 division
    uint32_t num_bits;
    std::memcpy(&num_bits, &num, sizeof num_bits);
    if (den == 0.0f && (num_bits & 0x7FFFFFFFu) <= 0x7F800000u)
        qlm::frame::raise_status_s(VXM_STATUS_SING, i, a != nullptr ? a : b, b, y, y, name);
}

template <bool Newton, bool Inv>
void reciprocal_body(int32_t n, const float* a, const float* b, float* y, const char* name) {
    if (n <= 0) return;
    int32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        const __m128 b0 = _mm_loadu_ps(b + i), b1 = _mm_loadu_ps(b + i + 4);
        // A failing group skips the wide stores, which the per-element step
        // would overwrite anyway: an output aliasing an input then still
        // reads the inputs, not the wide results.
        if (group_fails(b0, b1) != 0) {
            for (int32_t j = i; j < i + 8; ++j) per_element(j, a, b, y, name);
            continue;
        }
        const __m128 q0 = quotient<Newton, Inv>(a, i, b0), q1 = quotient<Newton, Inv>(a, i + 4, b1);
        _mm_storeu_ps(y + i, q0);
        _mm_storeu_ps(y + i + 4, q1);
    }
    for (; i < n; ++i) per_element(i, a, b, y, name);
}

}  // namespace

extern "C" void qlmk_sDiv_LA(int32_t n, const float* a, const float* b, float* y) {
    qlm::frame::kernel_frame frame;
    reciprocal_body<true, false>(n, a, b, y, "vsDiv");
}

extern "C" void qlmk_sDiv_EP(int32_t n, const float* a, const float* b, float* y) {
    qlm::frame::kernel_frame frame;
    reciprocal_body<false, false>(n, a, b, y, "vsDiv");
}

extern "C" void qlmk_sInv_LA(int32_t n, const float* a, float* y) {
    qlm::frame::kernel_frame frame;
    reciprocal_body<true, true>(n, nullptr, a, y, "vsInv");
}

extern "C" void qlmk_sInv_EP(int32_t n, const float* a, float* y) {
    qlm::frame::kernel_frame frame;
    reciprocal_body<false, true>(n, nullptr, a, y, "vsInv");
}
