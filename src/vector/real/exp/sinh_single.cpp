// Single Sinh in its three slots; method, accuracy and special results are
// described in hyperbolic_single.h.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/hyperbolic_single.h"

QLM_HYPERBOLIC_SINGLE_SLOT(Sinh, sinh, HA, 6)
QLM_HYPERBOLIC_SINGLE_SLOT(Sinh, sinh, LA, 4)
QLM_HYPERBOLIC_SINGLE_SLOT(Sinh, sinh, EP, 3)
