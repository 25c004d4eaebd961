// Polynomial fits of the table-free exponential cores.  Generated, do not edit:
//   g++ -O2 -std=c++20 tools/exp_fits/exp_fits.cpp -lmpfr -lgmp -o /tmp/exp_fits && /tmp/exp_fits > src/vector/real/exp/exp_fits.h
// Each array holds p of e^r = 1 + r + r^2 p(r), lowest coefficient first,
// interpolating (e^r - 1 - r)/r^2 at the Chebyshev nodes of [-h, h].
#pragma once

namespace qlm::vector::exp_fits {

// e^r in float for |r| <= ln2/2 (single Exp LA); h = 0.34657359027997264, degree 4 of p.
// Relative error of 1 + r + r^2 p: 2^-26.6; of r + r^2 p against e^r - 1: 2^-25.3.
inline constexpr float exp_single_la[] = {0.5f, 0.166665778f, 0.0416665561f, 0.00836317334f, 0.00139261759f};

// e^r in float for |r| <= ln2/2 (single Exp EP and the hyperbolic EP routines); h = 0.34657359027997264, degree 2 of p.
// Relative error of 1 + r + r^2 p: 2^-16.1; of r + r^2 p against e^r - 1: 2^-14.9.
inline constexpr float exp_single_ep[] = {0.5f, 0.167418987f, 0.0417919867f};

// e^r - 1 in double for |r| <= ln2/2 (single Expm1 in double lanes); h = 0.34657359027997264, degree 6 of p.
// Relative error of 1 + r + r^2 p: 2^-37.8; of r + r^2 p against e^r - 1: 2^-36.5.
inline constexpr double expm1_single_wide[] = {0.5, 0.16666666718997508, 0.041666666718980845, 0.0083332984837548862, 0.001388885404961482, 0.00019899273958649361, 2.4859578222625295e-05};

// e^r = 1 + r Q(r) in float for |r| <= ln2/2 (single Exp EP), Q of degree 2
// interpolating (e^r - 1)/r at the Chebyshev nodes.  Relative error: 2^-12.3.
inline constexpr float exp_single_ep_short[] = {1.000000000e+00f, 5.037648082e-01f, 1.674189866e-01f};

// tanh x = x + x^3 P(x^2) in float for |x| <= 0.55 (single Tanh LA); P of
// degree 4 interpolating (tanh x - x)/x^3 at the Chebyshev nodes of
// x^2 in [0, 0.3025].  Relative error of x + x^3 P: 2^-27.5.
inline constexpr float tanh_single_la[] = {-0.333333313f, 0.133331135f, -0.0539094284f, 0.0213093888f, -0.00661022775f};

}  // namespace qlm::vector::exp_fits
