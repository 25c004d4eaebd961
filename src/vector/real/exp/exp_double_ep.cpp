// Double exponential, EP slot.
//
// Method: n = round(x 128/ln 2); r = x - n ln2/128 in one piece
// (0x3F762E42FEFA39EF); e^x = 2^(n/128) (1 + r + r^2/2), with 2^(j/128)
// made from the low table's 52 mantissa bits and an exponent word built
// from the sum's integer bits.  |r| <= ln2/256, so the dropped r^3/6 keeps
// about 28 correct bits.  Screen, group recompute and special results are
// those of exp_double.h.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_double.h"

extern "C" void qlmk_dExp_EP(int32_t n, const double* a, double* y) {
    qlm::frame::kernel_frame frame;
    if (n <= 0) return;
    qlm::vector::run_double_groups<qlm::vector::exp_double::kernel<qlm::vector::exp_double::ep>>(n, a, y);
}
