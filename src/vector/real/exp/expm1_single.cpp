// Single e^x - 1: one routine in all three slots, evaluated in double
// (hyperbolic_single.h), which costs little more than a cheaper variant.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/hyperbolic_single.h"

namespace hs = qlm::vector::hyperbolic_single;
using expm1_ha = hs::kernel<hs::function::expm1, 5>;

QLM_HYPERBOLIC_SINGLE_SLOT(Expm1, HA, expm1_ha)
