// Single exponential, EP slot.  The method, reduction, polynomial, error
// bound and special results are described in exp_single.h.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/exp_single.h"

extern "C" void qlmk_sExp_EP(int32_t n, const float* a, float* y) {
    qlm::frame::kernel_frame frame;
    if (n <= 0) return;
    qlm::vector::run_single_groups<qlm::vector::exp_single::kernel<qlm::vector::exp_single::ep_short>>(n, a, y);
}
