// Single e^x - 1: one routine in all three slots, evaluated in double
// (hyperbolic_single.h), which costs little more than a cheaper variant.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/hyperbolic_single.h"

QLM_HYPERBOLIC_SINGLE_SLOT(Expm1, expm1, HA, 6)
