// The float-lane exponential core of single Exp LA and EP.
//
// Reduction: n = round(x/ln 2) by adding the shifter 1.5 * 2^23 + 127, so
// the sum t holds n + 127 in its low bits and 2^n is those bits shifted
// into the exponent field; r = (x - n ln2hi) - n ln2lo with ln2hi of 15
// bits, so n ln2hi and the first difference are exact.  |r| <= ln2/2.
// Polynomial: e^r = 1 + r + r^2 P(r), P from tools/exp_fits (exp_fits.h),
// interpolating at Chebyshev nodes: degree 4 (e^r within 2^-26.6), in its
// even and odd halves.
// Coefficients are memory operands (constant_lanes.h).  No table: the
// lanes never leave the registers.
//
// Exp: 2^n (1 + (r + r^2 P)), about 1 ulp.
//
// Range: 2^n must be a normal float, |n| <= 127: the routines' screens
// keep x there.
#pragma once

#include <smmintrin.h>

#include <cstddef>
#include <cstdint>

#include "vector/real/common/constant_lanes.h"
#include "vector/real/exp/exp_fits.h"

namespace qlm::vector::exp_single_core {

enum constant : std::size_t {
    kShifter, kInvLn2, kLn2Hi, kLn2Lo, kOne,
    kExp,  // exp_single_la, 5 rows
    kCount = kExp + 5,
};

inline constexpr constant_lanes<kCount> kLanes = [] {
    float c[kCount] = {
        12583039.0f,                // 1.5 * 2^23 + 127
        float_of_bits(0x3FB8AA3Bu),  // 1/ln 2
        float_of_bits(0x3F317200u),  // ln 2, 15 bits
        float_of_bits(0x35BFBE8Eu),  // ln 2 - ln2hi
        1.0f,
    };
    for (std::size_t i = 0; i < 5; ++i) c[kExp + i] = exp_fits::exp_single_la[i];
    return make_constant_lanes(c);
}();

[[gnu::always_inline]] inline __m128 k(std::size_t i) { return constant_lane(kLanes, i); }

// All-ones lanes where |x| is below the threshold row (NaN never is), by
// one float compare of the magnitude with the threshold, both memory
// operands: for numbers the order of the magnitudes is the order of their
// bits, so this is the unsigned compare of the bits in fewer instructions
// (a denormal read as 0 under DAZ is below every threshold, as its bits).
enum screen : std::size_t { kExpScreen, kExpm1Screen, kCoshScreen, kFinite, kMagnitude, kScreenCount };
inline constexpr constant_lanes<kScreenCount> kScreens = make_constant_lanes<kScreenCount>({
    float_of_bits(0x42AEAC50u),  // 87.3365478515625, the single exponential's
    float_of_bits(0x42B00000u),  // 88.0, Expm1's screen
    float_of_bits(0x42B2D4FCu),  // 89.41598510742188, Sinh and Cosh
    float_of_bits(0x7F800000u),  // infinity: finite inputs pass
    float_of_bits(0x7FFFFFFFu),
});
template <screen Threshold>
[[gnu::always_inline]] inline __m128 magnitude_below(__m128 x) {
    return _mm_cmplt_ps(_mm_and_ps(x, constant_lane(kScreens, kMagnitude)), constant_lane(kScreens, Threshold));
}

struct reduced {
    __m128 t;  // shifter + n: (n + 127) in the low bits
    __m128 r;  // x - n ln 2, rounded
};

[[gnu::always_inline]] inline reduced reduce(__m128 x) {
    const __m128 t = _mm_add_ps(_mm_mul_ps(x, k(kInvLn2)), k(kShifter));
    const __m128 n = _mm_sub_ps(t, k(kShifter));
    return {t, _mm_sub_ps(_mm_sub_ps(x, _mm_mul_ps(n, k(kLn2Hi))), _mm_mul_ps(n, k(kLn2Lo)))};
}

// (n + 127) << 23, the bits of 2^n.
[[gnu::always_inline]] inline __m128i scale_bits(__m128 t) { return _mm_slli_epi32(_mm_castps_si128(t), 23); }

// r^2 P(r) for the degree-4 P of Exp, in its even and odd halves.
[[gnu::always_inline]] inline __m128 p_term(__m128 r) {
    const __m128 r2 = _mm_mul_ps(r, r);
    const __m128 ev = _mm_add_ps(k(kExp), _mm_mul_ps(r2, _mm_add_ps(k(kExp + 2), _mm_mul_ps(r2, k(kExp + 4)))));
    const __m128 od = _mm_add_ps(k(kExp + 1), _mm_mul_ps(r2, k(kExp + 3)));
    return _mm_mul_ps(r2, _mm_add_ps(ev, _mm_mul_ps(r, od)));
}

[[gnu::always_inline]] inline __m128 exp(__m128 x) {
    const reduced v = reduce(x);
    const __m128 scale = _mm_castsi128_ps(scale_bits(v.t));
    return _mm_mul_ps(scale, _mm_add_ps(k(kOne), _mm_add_ps(v.r, p_term(v.r))));
}

}  // namespace qlm::vector::exp_single_core
