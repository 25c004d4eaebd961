// Single Sinh in its three slots; method, accuracy and special results are
// described in hyperbolic_single.h.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/hyperbolic_single.h"

namespace hs = qlm::vector::hyperbolic_single;
using sinh_ha = hs::kernel<hs::function::sinh, 5>;
using sinh_la = hs::native<hs::function::sinh, false>;
using sinh_ep = hs::native<hs::function::sinh, true>;

QLM_HYPERBOLIC_SINGLE_SLOT(Sinh, HA, sinh_ha)
QLM_HYPERBOLIC_SINGLE_SLOT(Sinh, LA, sinh_la)
QLM_HYPERBOLIC_SINGLE_SLOT(Sinh, EP, sinh_ep)
