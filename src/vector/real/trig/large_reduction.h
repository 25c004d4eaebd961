// Reduction of a trigonometric argument of any finite size.
#pragma once

#include <cstdint>

namespace qlm::trig {

// x = n*pi/32 + (r_hi + r_lo) with |r_hi + r_lo| <= pi/64 (a hair more at
// the rounding boundary), for every finite x; n is returned modulo 64.  The
// reduced value carries more than 100 correct bits relative to pi/32 and at
// least 60 relative to itself, for every double.
int64_t reduce_large_argument(double x, double& r_hi, double& r_lo);

}  // namespace qlm::trig
