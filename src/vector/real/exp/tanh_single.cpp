// Single Tanh in its three slots; method, accuracy and special results are
// described in hyperbolic_single.h.
#include "frame/kernel_frame.h"
#include "frame/kernel_tables.h"
#include "vector/real/exp/hyperbolic_single.h"

namespace hs = qlm::vector::hyperbolic_single;
using tanh_ha = hs::kernel<hs::function::tanh, 5>;
using tanh_la = hs::native<hs::function::tanh, false>;
using tanh_ep = hs::native<hs::function::tanh, true>;

QLM_HYPERBOLIC_SINGLE_SLOT(Tanh, HA, tanh_ha)
QLM_HYPERBOLIC_SINGLE_SLOT(Tanh, LA, tanh_la)
QLM_HYPERBOLIC_SINGLE_SLOT(Tanh, EP, tanh_ep)
