// Single Cosh in its three slots; method, accuracy and special results are
// described in hyperbolic_single.h.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/hyperbolic_single.h"

namespace hs = qlm::vector::hyperbolic_single;
using cosh_ha = hs::kernel<hs::function::cosh, 5>;
using cosh_la = hs::native<hs::function::cosh, false>;
using cosh_ep = hs::native<hs::function::cosh, true>;

QLM_HYPERBOLIC_SINGLE_SLOT(Cosh, HA, cosh_ha)
QLM_HYPERBOLIC_SINGLE_SLOT(Cosh, LA, cosh_la)
QLM_HYPERBOLIC_SINGLE_SLOT(Cosh, EP, cosh_ep)
