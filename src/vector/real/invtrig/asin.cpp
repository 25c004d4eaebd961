// Asin, double and single: the wide arcsine reduction of invtrig_wide.h on
// whole groups, slots as arcsine_kernels.h tells.
// Screen: |x| < 1.  The per-element routine (asin_core.h, in double): NaN
// gives NaN without a status, +-1 gives +-pi/2, |x| > 1 (infinities
// included) gives NaN with ERRDOM.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/invtrig/arcsine_kernels.h"

namespace {

constexpr char kD[] = "vdAsin";
constexpr char kS[] = "vsAsin";

}  // namespace

QLM_ARCSINE_KERNELS(Asin, false, kD, kS)
