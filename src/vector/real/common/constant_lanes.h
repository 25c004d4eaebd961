// Constants of the float-lane kernels as whole 16-byte registers in memory.
//
// A splatted float constant that the compiler can see is rebuilt inside
// the loop by a scalar load and a shuffle each time the register
// allocator runs short, two instructions where a memory operand costs
// none.  Keeping the constants in an aligned table whose address is
// hidden from constant folding makes every use a plain 16-byte load, which
// folds into the arithmetic instruction.
#pragma once

#include <smmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>

namespace qlm::vector {

template <std::size_t N>
struct constant_lanes {
    alignas(16) float v[N][4];
};

template <std::size_t N>
constexpr constant_lanes<N> make_constant_lanes(const float (&c)[N]) {
    constant_lanes<N> t{};
    for (std::size_t i = 0; i < N; ++i)
        for (float& lane : t.v[i]) lane = c[i];
    return t;
}

// Row i of the table as a register.  The empty asm makes the address
// opaque; being neither volatile nor clobbering memory, it is hoisted out
// of the loop with the address.
template <std::size_t N>
[[gnu::always_inline]] inline __m128 constant_lane(const constant_lanes<N>& table, std::size_t i) {
    const constant_lanes<N>* p = &table;
    asm("" : "+r"(p));
    return _mm_load_ps(p->v[i]);
}

template <std::size_t N>
[[gnu::always_inline]] inline __m128i constant_lane_bits(const constant_lanes<N>& table, std::size_t i) {
    return _mm_castps_si128(constant_lane(table, i));
}

constexpr float float_of_bits(uint32_t u) { return std::bit_cast<float>(u); }

// One constant as a register from its own 16-byte row: lane_of<0.5f>().
template <float V>
inline constexpr constant_lanes<1> kLaneOf = make_constant_lanes<1>({V});
template <float V>
[[gnu::always_inline]] inline __m128 lane_of() {
    return constant_lane(kLaneOf<V>, 0);
}

}  // namespace qlm::vector
