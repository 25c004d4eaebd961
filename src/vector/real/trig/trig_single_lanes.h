// The fast (LA) lanes of single Sin, Cos, SinCos and Tan: four floats a
// register, float arithmetic throughout.
//
// Screen: |x| below 6144 (sign-cleared bits below 0x45C00000); NaN and the
// infinities fail it.  Within it the reduction multipliers below have at
// most 12 bits.
// Reduction: x = j*c + r with the multiplier j = n (sine, c = pi, n =
// round(x/pi)), j = f + 1/2 (cosine, c = pi, f = floor(x/pi)) or j = k
// (tangent, c = pi/2, k = round(2x/pi)); r = x - j*p0 - j*p1 - j*p2 - j*p3
// with the pieces of pi from tools/trig_single_fits (the first three of 12
// bits, so j times each is exact, and the subtractions are exact where they
// cancel).  The pieces carry pi to 2^-62, which keeps r within 2^-48
// absolute: the floats below 6144 come no nearer than 2^-26.8 to a multiple
// of pi/2, so r keeps its relative accuracy beside them.
// Sine: sin r = r + r^3 S(r^2), S of degree 3 (Remez, 2^-26.5 relative on
// [-pi/2, pi/2]); sin x = (-1)^n sin r, cos x = (-1)^f sin(-r).
// Tangent: tan r = r P(r^2) / Q(r^2), degree 2 over 2 (2^-28.3 on
// [-pi/4, pi/4]); tan x = tan r for even k and -Q / (r P) for odd k: one
// division either way.
// Measured over every 101st float below the bound and the floats nearest
// the multiples of pi/2: sine and cosine within 2 ulps (1.9), tangent within
// 3.5 (3.45); the accuracy tests print their figures.
#pragma once

#include <smmintrin.h>

#include <cstdint>

#include "vector/real/trig/trig_single_fits.h"

namespace qlm::trig::single_la {

namespace fits = single_fits;

// The screen's bound on the sign-cleared bits: 6144.
inline constexpr int32_t kLimitBits = 0x45C00000;

constexpr __m128 four(float v) { return __m128{v, v, v, v}; }

// The constants of the lanes, one register image each.
struct constants {
    __m128 inv_pi = four(0x1.45f306p-2f), two_over_pi = four(0x1.45f306p-1f);
    __m128 shifter = four(0x1.8p23f), half = four(0.5f);
    __m128 pi[4] = {four(fits::pi_pieces[0]), four(fits::pi_pieces[1]), four(fits::pi_pieces[2]),
                    four(fits::pi_pieces[3])};
    __m128 half_pi[4] = {four(fits::pi_pieces[0] / 2), four(fits::pi_pieces[1] / 2),
                         four(fits::pi_pieces[2] / 2), four(fits::pi_pieces[3] / 2)};
    __m128 sine[4] = {four(fits::sine[0]), four(fits::sine[1]), four(fits::sine[2]), four(fits::sine[3])};
    __m128 tan_p[3] = {four(fits::tangent_p[0]), four(fits::tangent_p[1]), four(fits::tangent_p[2])};
    __m128 tan_q[3] = {four(fits::tangent_q[0]), four(fits::tangent_q[1]), four(fits::tangent_q[2])};
    __m128 sign = four(-0.0f);
};
inline constexpr constants kConstants{};

// The constants behind a pointer the compiler cannot see through, so that
// the arithmetic reads them from memory as operands: seen as constants, GCC
// rebuilds each register image with a load and a shuffle on every turn of
// the loop, which costs a third of the work.  Take it once per call.
inline const constants& opaque_constants() {
    const constants* p = &kConstants;
    asm("" : "+r"(p));
    return *p;
}

inline __m128i magnitude_bits(__m128 x) {
    return _mm_and_si128(_mm_castps_si128(x), _mm_set1_epi32(INT32_MAX));
}
// Whether the lowest lane passes the screen.
inline bool passes(__m128 x) { return _mm_cvtsi128_si32(magnitude_bits(x)) < kLimitBits; }
// Whether all eight lanes of two registers pass: the larger sign-cleared
// bits of each pair of lanes against the bound (the bits compare as
// non-negative integers), one mask for the group.
inline bool all_pass(__m128 x0, __m128 x1) {
    const __m128i m = _mm_max_epi32(magnitude_bits(x0), magnitude_bits(x1));
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(m, _mm_set1_epi32(kLimitBits)))) == 0xF;
}

// r = x - j*c, c = pi (the pieces in p) or pi/2 (their halves, as exact).
// Negate flips the order of every subtraction, giving -r with the same
// exactness.
template <bool Negate = false>
inline __m128 reduce(__m128 x, __m128 j, const __m128 (&p)[4]) {
    auto sub = [](__m128 a, __m128 b) { return Negate ? _mm_sub_ps(b, a) : _mm_sub_ps(a, b); };
    __m128 r = sub(x, _mm_mul_ps(j, p[0]));
    r = Negate ? _mm_add_ps(r, _mm_mul_ps(j, p[1])) : _mm_sub_ps(r, _mm_mul_ps(j, p[1]));
    r = Negate ? _mm_add_ps(r, _mm_mul_ps(j, p[2])) : _mm_sub_ps(r, _mm_mul_ps(j, p[2]));
    return Negate ? _mm_add_ps(r, _mm_mul_ps(j, p[3])) : _mm_sub_ps(r, _mm_mul_ps(j, p[3]));
}

// An integer-valued float's parity in the sign bit.
inline __m128 parity_sign(__m128 f) { return _mm_castsi128_ps(_mm_slli_epi32(_mm_cvtps_epi32(f), 31)); }

// u rounded to an integer by adding and subtracting 1.5 * 2^23; unlike the
// rounding instruction it gives +0 for u = -0, so that x - j*c keeps the
// sign of x = -0.  t holds j in its low bits, its parity in bit 0.
inline __m128 round_by_shifter(__m128 u, __m128& parity, const constants& k) {
    const __m128 t = _mm_add_ps(u, k.shifter);
    parity = _mm_castsi128_ps(_mm_slli_epi32(_mm_castps_si128(t), 31));
    return _mm_sub_ps(t, k.shifter);
}

// sin x (Cosine false) or cos x (Cosine true), |x| below 6144.
template <bool Cosine>
inline __m128 sine(__m128 x, const constants& k) {
    const __m128 u = _mm_mul_ps(x, k.inv_pi);
    __m128 r, parity;
    if constexpr (Cosine) {
        // The nearest odd multiple of pi/2 is (f + 1/2) pi with f = floor(x/pi),
        // and cos x = (-1)^(f+1) sin(x - (f + 1/2) pi) = (-1)^f sin(-r'): the
        // reduction runs negated instead of a sign flip.  The rounding of x/pi
        // only matters at a tie, where r lands a hair beyond pi/2, inside the fit.
        const __m128 f = _mm_round_ps(u, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC);
        parity = parity_sign(f);
        r = reduce<true>(x, _mm_add_ps(f, k.half), k.pi);
    } else {
        r = reduce(x, round_by_shifter(u, parity, k), k.pi);
    }
    // sin r = r + r^3 S(r^2), S in Horner's form (Estrin's, shorter in
    // latency, measured 0.17 ulp worse in float).
    const __m128 g = _mm_mul_ps(r, r);
    __m128 p = _mm_add_ps(_mm_mul_ps(g, k.sine[3]), k.sine[2]);
    p = _mm_add_ps(_mm_mul_ps(g, p), k.sine[1]);
    p = _mm_add_ps(_mm_mul_ps(g, p), k.sine[0]);
    __m128 s = _mm_add_ps(r, _mm_mul_ps(_mm_mul_ps(r, g), p));
    // The sum turns r = -0 (x = -0) into +0; sin r has r's sign anyway.
    if constexpr (!Cosine) s = _mm_or_ps(s, _mm_and_ps(r, k.sign));
    return _mm_xor_ps(s, parity);
}

// tan x, |x| below 6144.
inline __m128 tangent(__m128 x, const constants& k) {
    __m128 odd;
    const __m128 r = reduce(x, round_by_shifter(_mm_mul_ps(x, k.two_over_pi), odd, k), k.half_pi);
    const __m128 g = _mm_mul_ps(r, r);
    __m128 p = _mm_add_ps(_mm_mul_ps(g, k.tan_p[2]), k.tan_p[1]);
    p = _mm_mul_ps(r, _mm_add_ps(_mm_mul_ps(g, p), k.tan_p[0]));
    __m128 q = _mm_add_ps(_mm_mul_ps(g, k.tan_q[2]), k.tan_q[1]);
    q = _mm_add_ps(_mm_mul_ps(g, q), k.tan_q[0]);
    // Odd k: -Q / (r P); the blend reads the sign bit, which holds k's parity.
    return _mm_xor_ps(_mm_div_ps(_mm_blendv_ps(p, q, odd), _mm_blendv_ps(q, p, odd)), odd);
}

}  // namespace qlm::trig::single_la

// ---------------------------------------------------------------------------
// The fine lanes of single Sin and Cos HA: the floats widened to double, two
// a register.  Screen: |x| below 2^16 (sign-cleared bits below 0x47800000).
// Reduction: j = n = round(x/pi) for the sine, j = m + 1/2 with m =
// round(x/pi - 1/2) for the cosine; r = (x - j*p0) - j*p1 with p0 = pi
// truncated to 37 bits (j has at most 16 bits below the bound, so j*p0 is
// exact and so is the subtraction beside it) and p1 the rest rounded: r is
// good to about 2^-75 absolute, far below the 2^-27 that the floats come
// near a multiple of pi.  sin r = r + r^3 S(r^2), S with five coefficients
// (Remez, 2^-35.3 relative on [-pi/2, pi/2]); sin x = (-1)^n sin r,
// cos x = -(-1)^m sin r.  The double result is within 2^-35 relative before
// its one rounding to float: within 0.5 + 2^-11 ulp.
namespace qlm::trig::single_ha {

namespace fits = single_fits;

inline constexpr int32_t kLimitBits = 0x47800000;  // 2^16

template <bool Cosine>
inline __m128d sine(__m128d x) {
    const __m128d shifter = _mm_set1_pd(0x1.8p52);
    const __m128d u = _mm_mul_pd(x, _mm_set1_pd(0x1.45f306dc9c883p-2));
    __m128d t, j;
    if constexpr (Cosine) {
        t = _mm_add_pd(_mm_sub_pd(u, _mm_set1_pd(0.5)), shifter);
        j = _mm_add_pd(_mm_sub_pd(t, shifter), _mm_set1_pd(0.5));
    } else {
        t = _mm_add_pd(u, shifter);
        j = _mm_sub_pd(t, shifter);
    }
    const __m128d r = _mm_sub_pd(_mm_sub_pd(x, _mm_mul_pd(j, _mm_set1_pd(fits::pi_fine[0]))),
                                 _mm_mul_pd(j, _mm_set1_pd(fits::pi_fine[1])));
    const __m128d g = _mm_mul_pd(r, r);
    __m128d p = _mm_add_pd(_mm_mul_pd(g, _mm_set1_pd(fits::sine_fine[4])), _mm_set1_pd(fits::sine_fine[3]));
    p = _mm_add_pd(_mm_mul_pd(g, p), _mm_set1_pd(fits::sine_fine[2]));
    p = _mm_add_pd(_mm_mul_pd(g, p), _mm_set1_pd(fits::sine_fine[1]));
    p = _mm_add_pd(_mm_mul_pd(g, p), _mm_set1_pd(fits::sine_fine[0]));
    const __m128d s = _mm_add_pd(r, _mm_mul_pd(_mm_mul_pd(r, g), p));
    __m128i sign = _mm_slli_epi64(_mm_castpd_si128(t), 63);
    if constexpr (Cosine) sign = _mm_xor_si128(sign, _mm_set1_epi64x(INT64_MIN));
    return _mm_xor_pd(s, _mm_castsi128_pd(sign));
}

// Four floats through the double lanes, rounded once.  The sum r + r^3 S
// loses the sign of x = -0, which the sine keeps: put back by a blend.
template <bool Cosine>
inline __m128 sine4(__m128 x) {
    const __m128 v = _mm_movelh_ps(_mm_cvtpd_ps(sine<Cosine>(_mm_cvtps_pd(x))),
                                   _mm_cvtpd_ps(sine<Cosine>(_mm_cvtps_pd(_mm_movehl_ps(x, x)))));
    if constexpr (Cosine) return v;
    else return _mm_blendv_ps(v, x, _mm_cmpeq_ps(x, _mm_setzero_ps()));
}

inline bool passes(__m128 x) {
    return (_mm_cvtsi128_si32(_mm_castps_si128(x)) & INT32_MAX) < kLimitBits;
}
inline bool all_pass(__m128 x0, __m128 x1) {
    const __m128i m = _mm_max_epi32(_mm_and_si128(_mm_castps_si128(x0), _mm_set1_epi32(INT32_MAX)),
                                    _mm_and_si128(_mm_castps_si128(x1), _mm_set1_epi32(INT32_MAX)));
    return _mm_movemask_ps(_mm_castsi128_ps(_mm_cmplt_epi32(m, _mm_set1_epi32(kLimitBits)))) == 0xF;
}

}  // namespace qlm::trig::single_ha
