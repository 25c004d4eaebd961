// Modular arithmetic shared by the congruential generators.
#pragma once

#include <cstdint>

namespace qlm::random {

// x y mod 2^31 - 1 by folding the 62-bit product: 2^31 = 1 mod 2^31 - 1.
uint32_t mul_mod_2p31m1(uint32_t x, uint32_t y);

}  // namespace qlm::random
