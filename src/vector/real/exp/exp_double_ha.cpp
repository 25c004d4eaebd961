// Double exponential, HA slot.
//
// Method: n = round(x 64/ln 2); r = x - n ln2/64 in two pieces; e^r - 1 =
// r + r^2 (c2 + r (c3 + r (c4 + r c5))) fitted on |r| <= ln2/128;
// 2^(j/64) as a split pair whose high part has 15 low zero bits, so that
// e^x = (p (Thi + Tlo) + Tlo + Thi) 2^m adds the large term last and the
// rounding error stays near half an ulp.  Screen, group recompute and
// special results are those of exp_double.h.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_double.h"

extern "C" void qlmk_dExp_HA(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    if (n <= 0) return;
    qlm::vector::run_double_groups<qlm::vector::exp_double::kernel<qlm::vector::exp_double::ha>>(n, a, y);
}
