// Sizes and internal operations of the uniform and bit generators.
#pragma once

#include <cstdint>

#include "qlm/qlm_vxs.h"

namespace qlm::random {

// Doubles drawn per pass by the integer uniform.
inline constexpr int32_t integer_uniform_block = 1024;

// Elements drawn per pass when MCG59 serves 32-bit words.
inline constexpr int32_t mcg59_bits_block = 2048;

// 32-bit and 64-bit words from a generator of 128-bit elements, with the
// unused words of the last element carried in a chunk (keys 11 and 12).
int32_t carried_bits32(const vxs_brng_record& record, void* stream, int32_t n, uint32_t* r);
int32_t carried_bits64(const vxs_brng_record& record, void* stream, int32_t n, uint64_t* r);

}  // namespace qlm::random
