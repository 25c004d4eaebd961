// The period condition of an MT2203 member, independent of the library.
//
// The recurrence x[k+69] = x[k+34] ^ (y >> 1) ^ (y odd ? A : 0), with
// y = (x[k] & 0xFFFFFFE0) | (x[k+1] & 0x1F), is a linear map on a state of
// 27 + 68 * 32 = 2203 bits.  Its period is 2^2203 - 1 exactly when its
// characteristic polynomial is primitive, and since 2^2203 - 1 is prime that
// is the same as irreducible.  The polynomial is found as the minimal
// polynomial of one output bit over 2 * 2203 steps (Berlekamp-Massey); when
// that has full degree it is the characteristic polynomial, and it is
// irreducible exactly when x^(2^2203) = x modulo it.  Tempering is a
// bijection of each output word and plays no part here.
#pragma once

#include <cstdint>
#include <vector>

#include "gf2_poly.h"

namespace qlm::mt2203 {

inline constexpr int kWords = 69;      // N
inline constexpr int kMiddle = 34;     // M
inline constexpr int kExponent = 2203; // 32 N - r, r = 5
inline constexpr uint32_t kUpperMask = 0xFFFFFFE0u;
inline constexpr uint32_t kLowerMask = 0x0000001Fu;

// Words x[kWords], x[kWords + 1], ... of the recurrence with matrix word a
// from the given first kWords words (whose x[0] contributes only its upper
// 27 bits).
inline std::vector<uint32_t> generate(uint32_t a, const uint32_t (&start)[kWords], int count) {
    std::vector<uint32_t> x(start, start + kWords);
    x.resize(kWords + count);
    for (int k = 0; k < count; ++k) {
        const uint32_t y = (x[k] & kUpperMask) | (x[k + 1] & kLowerMask);
        x[k + kWords] = x[k + kMiddle] ^ (y >> 1) ^ ((y & 1) ? a : 0u);
    }
    return std::vector<uint32_t>(x.begin() + kWords, x.end());
}

// A fixed state with no structure the recurrence could respect: a 32-bit
// linear congruential sequence, nonzero in the 2203 bits that matter.
inline void reference_state(uint32_t (&state)[kWords]) {
    uint32_t s = 0x9E3779B9u;
    for (uint32_t& w : state) {
        s = s * 1664525u + 1013904223u;
        w = s;
    }
}

// Minimal polynomial of the most significant bit of the outputs from the
// reference state.  Its degree is kExponent exactly when it is the
// characteristic polynomial of the recurrence; it is smaller otherwise.
inline int output_minimal_polynomial(uint32_t a, gf2::Poly& poly) {
    uint32_t state[kWords];
    reference_state(state);
    const std::vector<uint32_t> out = generate(a, state, 2 * kExponent);
    std::vector<uint8_t> bits(out.size());
    for (std::size_t i = 0; i < out.size(); ++i) bits[i] = static_cast<uint8_t>(out[i] >> 31);
    return gf2::minimal_polynomial(bits, poly);
}

// True when poly, of degree kExponent, is irreducible.
inline bool irreducible_of_prime_degree(const gf2::Poly& poly) {
    if (gf2::degree(poly) != kExponent || !gf2::coefficient(poly, 0)) return false;
    const gf2::MontgomeryRing ring(poly);
    return ring.frobenius_fixes_x(kExponent);
}

// True when the member with matrix word a has period 2^2203 - 1.
inline bool has_maximal_period(uint32_t a) {
    gf2::Poly poly;
    if (output_minimal_polynomial(a, poly) != kExponent) return false;
    return irreducible_of_prime_degree(poly);
}

}  // namespace qlm::mt2203
