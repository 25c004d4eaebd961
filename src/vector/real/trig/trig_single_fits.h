// Constants of the single-precision fast trigonometric lanes.  Generated, do not edit:
//   g++ -O2 -std=c++20 tools/trig_single_fits/trig_single_fits.cpp -lmpfr -lgmp -o /tmp/trig_single_fits
//   /tmp/trig_single_fits > src/vector/real/trig/trig_single_fits.h
// Errors are worst relative errors of the approximations with the rounded
// coefficients in exact arithmetic, over 20001 points of the interval.
#pragma once

namespace qlm::trig::single_fits {

// pi as three truncated pieces of 12 bits and a rounded rest; pi - sum = 1.67e-19.
inline constexpr float pi_pieces[4] = {0x1.92p+1, 0x1.fb4p-11, 0x1.444p-23, 0x1.68c234p-38};

// pi as a truncated piece of 37 bits and a rounded rest; pi - sum = -2.27e-28.
inline constexpr double pi_fine[2] = {0x1.921fb5444p+1, 0x1.68c234c4c6629p-38};

// sin r = r + r^3 S(r^2), |r| <= pi/2 (and a little beyond): error 1.04e-08 (2^-26.5).
inline constexpr float sine[4] = {-0x1.55554cp-3, 0x1.110ed2p-7, -0x1.9f6f9p-13, 0x1.5db766p-19};

// The same in double with five coefficients, for the double lanes of Sin HA:
// error 2.37e-11 (2^-35.3).
inline constexpr double sine_fine[5] = {-0x1.555555475216ap-3, 0x1.11110c43a5128p-7, -0x1.a017d77c983f2p-13, 0x1.71703810ac9aep-19, -0x1.9a6208848cef9p-26};

// tan r = r P(r^2) / Q(r^2), |r| <= pi/4 (and a little beyond): error 3.1e-09 (2^-28.3).
inline constexpr float tangent_p[3] = {0x1p+0, -0x1.c81e9ap-4, 0x1.19c544p-10};
inline constexpr float tangent_q[3] = {0x1p+0, -0x1.c75cfcp-2, 0x1.05ae4cp-6};

}  // namespace qlm::trig::single_fits
