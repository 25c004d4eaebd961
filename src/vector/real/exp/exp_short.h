// The table-free exponential core of the single EP routines.
//
// n = round(x/ln 2) by adding a shifter whose sum keeps n + bias in its
// low bits (the exponent bias is folded into the shifter, so the scale
// 2^n is those bits shifted into the exponent field with no addition);
// r = x - n ln 2, |r| <= ln2/2, in two pieces, the first of 15
// significant bits so that n times it is exact, or in one where the
// routine's error budget has room for ln 2 rounded to float.
// e^r - 1 = r + r^2 P(r), P interpolating (e^r - 1 - r)/r^2 at Chebyshev
// nodes of [-ln2/2, ln2/2] (tools/exp_fits, errors in exp_fits.h).
// No table loads: a group's eight lanes never leave the registers.
//
// Range: the scale must be a normal number, |n| <= 126; the kernels'
// screens keep it there.
#pragma once

#include <smmintrin.h>

#include <bit>
#include <cstdint>

#include "vector/real/common/sse_lanes.h"
#include "vector/real/exp/exp_fits.h"

namespace qlm::vector::exp_short {

template <typename T>
struct format;

template <>
struct format<float> {
    // 1.5 * 2^23 + 127
    static constexpr uint32_t shifter = 0x4B40007Fu;
    static constexpr uint32_t inv_ln2 = 0x3FB8AA3Bu;
    static constexpr uint32_t ln2_hi = 0x3F317200u;
    static constexpr uint32_t ln2_lo = 0x35BFBE8Eu;
    static constexpr uint32_t ln2 = 0x3F317218u;  // ln 2 rounded, for one piece
    static __m128 scale(__m128 t) { return _mm_castsi128_ps(_mm_slli_epi32(_mm_castps_si128(t), 23)); }
};

// A constant in every lane.  The empty asm hides the value once the
// register holds it, so the compiler loads the whole 16-byte constant from
// memory where it needs it again, instead of rebuilding it from a scalar
// with a load and a shuffle, which takes a slot of the arithmetic pipes.
template <typename T>
[[gnu::always_inline]] inline typename lanes<T>::vec splat(T v) {
    typename lanes<T>::vec r = lanes<T>::set1_bits(std::bit_cast<typename lanes<T>::bits>(v));
    asm("" : "+x"(r));
    return r;
}
// The same from a bit pattern.
[[gnu::always_inline]] inline __m128 splat_bits(uint32_t u) { return splat(std::bit_cast<float>(u)); }

// Two pieces of e^x: the scale 2^n and p = e^r - 1, so that
// e^x = scale + scale p and e^x - 1 = scale p + (scale - 1).
template <typename T>
struct parts {
    typename lanes<T>::vec scale, p;
};

// `OnePiece` reduces with ln 2 rounded to float in one step, for the
// enhanced-performance routines whose error budget has room for it.
template <typename T, const auto& Coefficients, bool OnePiece = false>
inline parts<T> split(typename lanes<T>::vec x) {
    using L = lanes<T>;
    using F = format<T>;
    const auto shifter = L::set1_bits(F::shifter);
    const auto t = L::add(L::mul(x, L::set1_bits(F::inv_ln2)), shifter);
    const auto n = L::sub(t, shifter);
    typename L::vec r;
    if constexpr (OnePiece) r = L::sub(x, L::mul(n, L::set1_bits(F::ln2)));
    else r = L::sub(L::sub(x, L::mul(n, L::set1_bits(F::ln2_hi))), L::mul(n, L::set1_bits(F::ln2_lo)));
    constexpr int last = sizeof(Coefficients) / sizeof(Coefficients[0]) - 1;
    auto q = splat<T>(Coefficients[last]);
    for (int k = last - 1; k >= 0; --k) q = L::add(splat<T>(Coefficients[k]), L::mul(r, q));
    return {F::scale(t), L::add(r, L::mul(L::mul(r, r), q))};
}

// e^x = 2^n (1 + r Q(r)) with r in one piece: the shortest form, for
// the enhanced-performance routines; e^0 is still exactly 1.
template <typename T, const auto& Coefficients>
inline typename lanes<T>::vec exp_short_form(typename lanes<T>::vec x, typename lanes<T>::vec& scale) {
    using L = lanes<T>;
    using F = format<T>;
    const auto shifter = L::set1_bits(F::shifter);
    const auto t = L::add(L::mul(x, L::set1_bits(F::inv_ln2)), shifter);
    const auto r = L::sub(x, L::mul(L::sub(t, shifter), L::set1_bits(F::ln2)));
    constexpr int last = sizeof(Coefficients) / sizeof(Coefficients[0]) - 1;
    auto q = splat<T>(Coefficients[last]);
    for (int k = last - 1; k >= 0; --k) q = L::add(splat<T>(Coefficients[k]), L::mul(r, q));
    scale = F::scale(t);
    return L::add(splat(T(1)), L::mul(r, q));
}

template <typename T>
inline typename lanes<T>::vec exp_of(const parts<T>& s) {
    using L = lanes<T>;
    return L::mul(s.scale, L::add(splat(T(1)), s.p));
}

}  // namespace qlm::vector::exp_short
