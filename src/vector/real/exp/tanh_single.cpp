// Single Tanh in its three slots; method, accuracy and special results are
// described in hyperbolic_single.h.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/hyperbolic_single.h"

QLM_HYPERBOLIC_SINGLE_SLOT(Tanh, tanh, HA, 6)
QLM_HYPERBOLIC_SINGLE_SLOT(Tanh, tanh, LA, 4)
QLM_HYPERBOLIC_SINGLE_SLOT(Tanh, tanh, EP, 3)
