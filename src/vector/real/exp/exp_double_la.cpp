// Double exponential, LA slot.
//
// Method: n = round(x 128/ln 2); r = x - n ln2/128 in two pieces, the first
// (0x3F762E42FEE00000) short enough that n times it is exact; e^r - 1 =
// r + r^2 (c2 + r (c3 + r c4)) with coefficients fitted near 1/2, 1/6,
// 1/24 on |r| <= ln2/256; 2^(j/128) from the low table.  Measured error
// below 1 ulp over the range (tests/vector/exp).  Screen, group recompute
// and special results are those of exp_double.h.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_double.h"

extern "C" void qlmk_dExp_LA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    if (n <= 0) return;
    qlm::vector::run_double_groups<qlm::vector::exp_double::kernel<qlm::vector::exp_double::la>>(n, a, y);
}
